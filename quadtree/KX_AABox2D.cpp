#include "quadtree/KX_AABox2D.h"

#include "quadtree/KX_Circle.h"

void KX_AABox2D::copyFrom(const KX_Base* source) {
  const KX_AABox2D* other = static_cast<const KX_AABox2D*>(source);
  x = other->x;
  y = other->y;
  width = other->width;
  height = other->height;
}

bool KX_AABox2D::containsCircle(const KX_Circle& circle) const {
  float dx = circle.x - x;
  float dy = circle.y - y;
  return dx - circle.radius >= 0.0f && dy - circle.radius >= 0.0f && dx + circle.radius <= width &&
         dy + circle.radius <= height;
}

int KX_AABox2D::getSegmentIntersections(const KX_LineSegment2D& segment, KX_Point2D& first, KX_Point2D& second,
                                        bool clipToSegment) const {
  // Everything relative to the box's corner, so the sides lie at 0, width and height.
  float px = segment.start.x - x;
  float py = segment.start.y - y;
  float dx = segment.end.x - segment.start.x;
  float dy = segment.end.y - segment.start.y;
  KX_Point2D hits[2];
  int hitCount = 0;
  auto skipped = [clipToSegment](float t) { return clipToSegment && (t < 0.0f || t > 1.0f); };
  auto tryVerticalSide = [&](float sideX) {
    float t = (sideX - px) / dx;
    if (skipped(t)) return;
    float hitY = py + dy * t;
    if (hitY >= 0.0f && hitY <= height) hits[hitCount++] = KX_Point2D{sideX, hitY};
  };
  auto tryHorizontalSide = [&](float sideY) {
    float t = (sideY - py) / dy;
    if (skipped(t)) return;
    float hitX = px + dx * t;
    if (hitX >= 0.0f && hitX <= width) hits[hitCount++] = KX_Point2D{hitX, sideY};
  };
  if (dx != 0.0f) {
    tryVerticalSide(0.0f);
    tryVerticalSide(width);
  }
  if (hitCount < 2 && dy != 0.0f) {
    tryHorizontalSide(0.0f);
    if (hitCount < 2) tryHorizontalSide(height);
  }
  // Both hits go back to world coordinates.
  if (hitCount >= 1) first = KX_Point2D{hits[0].x + x, hits[0].y + y};
  if (hitCount >= 2) second = KX_Point2D{hits[1].x + x, hits[1].y + y};
  return hitCount;
}
