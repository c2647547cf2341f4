#include "quadtree/KX_Circle.h"

#include <cmath>

#include "quadtree/KX_AABox2D.h"

void KX_Circle::copyFrom(const KX_Base* source) {
  const KX_Circle* other = static_cast<const KX_Circle*>(source);
  x = other->x;
  y = other->y;
  radius = other->radius;
}

bool KX_Circle::containsBox(const KX_AABox2D& box) const {
  const float cornersX[4] = {box.x, box.x + box.width, box.x, box.x + box.width};
  const float cornersY[4] = {box.y, box.y, box.y + box.height, box.y + box.height};
  float radiusSquared = radius * radius;
  for (int i = 0; i < 4; ++i) {
    float dx = cornersX[i] - x;
    float dy = cornersY[i] - y;
    if (radiusSquared < dx * dx + dy * dy) return false;
  }
  return true;
}

bool KX_Circle::intersectsSegment(const KX_LineSegment2D& segment, bool clipToSegment) const {
  float dx = segment.end.x - segment.start.x;
  float dy = segment.end.y - segment.start.y;
  float sx = segment.start.x - x;
  float sy = segment.start.y - y;
  // Points start + t * d on the circle solve a * t^2 + b * t + c = 0.
  float a = dx * dx + dy * dy;
  float b = 2.0f * (sx * dx + sy * dy);
  float c = sx * sx + sy * sy - radius * radius;
  // A segment of zero length has no line and no parameter (t would be 0 / 0):
  // it is judged by its one point, which meets the circle if it lies in the
  // closed disc. Box edges of objects with zero width or height get here, and
  // a far-away point must not count as a hit.
  if (a == 0.0f) return c <= 0.0f;
  float d = b * b - 4.0f * a * c;
  if (d < 0.0f) return false;
  if (!clipToSegment) return true;
  if (d == 0.0f) {
    float t = -b / (2.0f * a);
    return !(t < 0.0f || t > 1.0f);
  }
  float root = std::sqrt(d);
  float t1 = (-b + root) / (2.0f * a);
  float t2 = (-b - root) / (2.0f * a);
  return (t1 >= 0.0f && t1 <= 1.0f) || (t2 >= 0.0f && t2 <= 1.0f);
}
