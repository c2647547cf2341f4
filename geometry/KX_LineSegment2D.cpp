#include "geometry/KX_LineSegment2D.h"

#include <cmath>

#include "geometry/KX_Epsilon.h"

namespace {

// For parallel directions: is point c on the line through a along d? The two
// ratios agree on the line. A NaN difference (0 / 0, as for collinear
// axis-parallel lines) must not count as apart, hence `>` and not `<=`.
bool isOffLine(const KX_Point2D& a, const KX_Point2D& d, const KX_Point2D& c) {
  return std::fabs((c.x - a.x) / d.x - (c.y - a.y) / d.y) > epsilon;
}

bool isInUnitRange(float t) {
  return t >= 0.0f && t <= 1.0f;
}

// Where the line a + t * d1 meets the line c + u * d2, for a non-zero
// denominator d1.y * d2.x - d1.x * d2.y.
void solve(const KX_Point2D& a, const KX_Point2D& d1, const KX_Point2D& c, const KX_Point2D& d2, float denominator,
           float& t, float& u) {
  float cx = c.x - a.x;
  float cy = c.y - a.y;
  u = (cy * d1.x - cx * d1.y) / denominator;
  t = (cy * d2.x - cx * d2.y) / denominator;
}

// Common work of the two ray tests: true on a hit, with the parameter on the
// segment and the one on the ray. A ray along the segment's line hits at its
// origin, which `alongLine` tells.
bool intersectRayParameters(const KX_LineSegment2D& segment, const KX_Point2D& origin, const KX_Point2D& direction,
                            bool clipToSegment, float& segmentParameter, float& rayParameter, bool& alongLine) {
  KX_Point2D d1{segment.end.x - segment.start.x, segment.end.y - segment.start.y};
  float denominator = d1.y * direction.x - d1.x * direction.y;
  alongLine = denominator == 0.0f;
  if (alongLine) {
    if (isOffLine(segment.start, d1, origin)) return false;
    segmentParameter = 0.0f;
    rayParameter = 0.0f;
    return true;
  }
  solve(segment.start, d1, origin, direction, denominator, segmentParameter, rayParameter);
  // A ray has no upper limit; NaNs fail both tests.
  if (!(rayParameter >= 0.0f)) return false;
  if (clipToSegment && !isInUnitRange(segmentParameter)) return false;
  return true;
}

}  // namespace

bool KX_LineSegment2D::intersect(const KX_LineSegment2D& other, KX_Point2D& hit, bool clipToSegment) const {
  KX_Point2D d1{end.x - start.x, end.y - start.y};
  KX_Point2D d2{other.end.x - other.start.x, other.end.y - other.start.y};
  float denominator = d1.y * d2.x - d1.x * d2.y;
  if (denominator == 0.0f) {
    if (isOffLine(start, d1, other.start)) return false;
    float minX = std::fmin(std::fmin(start.x, end.x), std::fmin(other.start.x, other.end.x));
    float maxX = std::fmax(std::fmax(start.x, end.x), std::fmax(other.start.x, other.end.x));
    float minY = std::fmin(std::fmin(start.y, end.y), std::fmin(other.start.y, other.end.y));
    float maxY = std::fmax(std::fmax(start.y, end.y), std::fmax(other.start.y, other.end.y));
    hit = KX_Point2D{minX + (maxX - minX) * 0.5f, minY + (maxY - minY) * 0.5f};
    return true;
  }
  float t;
  float u;
  solve(start, d1, other.start, d2, denominator, t, u);
  if (clipToSegment && !(isInUnitRange(t) && isInUnitRange(u))) return false;
  hit = KX_Point2D{start.x + t * d1.x, start.y + t * d1.y};
  return true;
}

bool KX_LineSegment2D::intersectRay(const KX_Point2D& origin, const KX_Point2D& direction, KX_Point2D& hit,
                                    bool clipToSegment) const {
  float t;
  float u;
  bool alongLine;
  if (!intersectRayParameters(*this, origin, direction, clipToSegment, t, u, alongLine)) return false;
  hit = alongLine ? origin : KX_Point2D{start.x + t * (end.x - start.x), start.y + t * (end.y - start.y)};
  return true;
}

bool KX_LineSegment2D::intersectRayParameter(const KX_Point2D& origin, const KX_Point2D& direction, float& parameter,
                                             bool clipToSegment) const {
  float t;
  float u;
  bool alongLine;
  if (!intersectRayParameters(*this, origin, direction, clipToSegment, t, u, alongLine)) return false;
  parameter = u;
  return true;
}
