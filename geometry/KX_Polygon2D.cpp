#include "geometry/KX_Polygon2D.h"

#include <cmath>
#include <cstring>

#include "geometry/KX_Epsilon.h"
#include "quadtree/KX_AABox2D.h"

namespace {

// cross(q - p, r - p): positive for a left turn at q.
float cross(const KX_Point2D& p, const KX_Point2D& q, const KX_Point2D& r) {
  return (q.x - p.x) * (r.y - p.y) - (q.y - p.y) * (r.x - p.x);
}

bool isNear(const KX_Point2D& a, const KX_Point2D& b) {
  return std::fabs(a.x - b.x) <= epsilon && std::fabs(a.y - b.y) <= epsilon;
}

}  // namespace

KX_Polygon2D::KX_Polygon2D(const KX_Point2D* points, int n) : KX_PointSet2D(32) {
  if (n <= 0) return;
  KX_PointSet2D::resize(n);
  std::memcpy(static_cast<void*>(getBuffer()), points, sizeof(KX_Point2D) * n);
}

void KX_Polygon2D::copyFrom(const KX_Base* source) {
  const KX_Polygon2D* other = static_cast<const KX_Polygon2D*>(source);
  if (other == this) return;
  KX_PointSet2D::copyFrom(source);
  flags = other->flags;
  counterClockwise = other->counterClockwise;
  convex = other->convex;
  if (flags & kTrianglesValid) {
    triangles.copyFrom(&other->triangles);
  } else {
    triangles.clear();
  }
}

void KX_Polygon2D::invalidate() {
  triangles.clear();
  flags = 0;
}

int KX_Polygon2D::insert(int position, KX_Point2D point) {
  flags = 0;
  return KX_PointSet2D::insert(position, point);
}

void KX_Polygon2D::set(int index, KX_Point2D point) {
  flags = 0;
  KX_PointSet2D::set(index, point);
}

void KX_Polygon2D::remove(int index) {
  KX_PointSet2D::remove(index);
  pointsRemoved();
}

void KX_Polygon2D::removeRange(int position, int n) {
  int before = count;
  KX_PointSet2D::removeRange(position, n);
  if (count != before) pointsRemoved();
}

void KX_Polygon2D::resize(int n) {
  int before = count;
  KX_PointSet2D::resize(n);
  if (count > before) {
    flags = 0;
  } else if (count < before) {
    pointsRemoved();
  }
}

// Nothing is left to describe, so every cache goes, orientation included.
void KX_Polygon2D::clear() {
  KX_PointSet2D::clear();
  invalidate();
}

// Removing points can't turn a simple outline around, but it can change its
// convexity and its triangles.
void KX_Polygon2D::pointsRemoved() {
  triangles.clear();
  flags &= static_cast<std::uint8_t>(~(kConvexValid | kTrianglesValid));
}

bool KX_Polygon2D::isCounterClockwise() {
  if (flags & kCounterClockwiseValid) return counterClockwise;
  bool result = true;
  if (count >= 3) {
    // The sum of the turns at all corners, the two that wrap around the end
    // included. On a concave outline this can differ from the sign of the
    // area; outlines of zero turn count as counter-clockwise.
    const KX_Point2D* points = getBuffer();
    float sum = 0.0f;
    for (int i = 0; i < count; ++i) sum += cross(points[i], points[(i + 1) % count], points[(i + 2) % count]);
    result = sum >= 0.0f;
  }
  counterClockwise = result;
  flags |= kCounterClockwiseValid;
  return result;
}

bool KX_Polygon2D::isConvex() {
  if (flags & kConvexValid) return convex;
  bool result = true;
  if (count >= 3) {
    const KX_Point2D* points = getBuffer();
    bool leftTurn = false;
    bool rightTurn = false;
    for (int i = 0; i < count && result; ++i) {
      float turn = cross(points[i], points[(i + 1) % count], points[(i + 2) % count]);
      if (turn > 0.0f) leftTurn = true;
      if (turn < 0.0f) rightTurn = true;
      result = !(leftTurn && rightTurn);
    }
  }
  convex = result;
  flags |= kConvexValid;
  return result;
}

float KX_Polygon2D::getLength(bool closed) const {
  float length = 0.0f;
  int edges = closed ? count : count - 1;
  for (int i = 0; i < edges; ++i) {
    KX_LineSegment2D edge = getEdge(i);
    float dx = edge.end.x - edge.start.x;
    float dy = edge.end.y - edge.start.y;
    length += std::sqrt(dx * dx + dy * dy);
  }
  return length;
}

// The side rule of `contains` for one triangle: a point exactly on a side (the
// cross product 0 and the point between the side's ends) belongs to it;
// otherwise the point must lie strictly on the inner side of all three, inner
// as the polygon, not the triangle, is oriented.
bool KX_Polygon2D::triangleClaims(int a, int b, int c, const KX_Point2D& point, bool counterClockwiseOrder) const {
  const KX_Point2D& pa = at(a);
  const KX_Point2D& pb = at(b);
  const KX_Point2D& pc = at(c);
  const float values[3] = {cross(pa, pb, point), cross(pb, pc, point), cross(pc, pa, point)};
  return sidesClaim(a, b, c, values, point, counterClockwiseOrder);
}

// The rule once the three cross products (sides a-b, b-c, c-a) are known.
bool KX_Polygon2D::sidesClaim(int a, int b, int c, const float* values, const KX_Point2D& point,
                              bool counterClockwiseOrder) const {
  const int corners[3] = {a, b, c};
  int positive = 0;
  int negative = 0;
  for (int side = 0; side < 3; ++side) {
    const KX_Point2D& s = at(corners[side]);
    const KX_Point2D& e = at(corners[(side + 1) % 3]);
    float value = values[side];
    if (value == 0.0f) {
      float fromStartX = point.x - s.x;
      float fromStartY = point.y - s.y;
      float fromEndX = point.x - e.x;
      float fromEndY = point.y - e.y;
      float startLength = std::sqrt(fromStartX * fromStartX + fromStartY * fromStartY);
      float endLength = std::sqrt(fromEndX * fromEndX + fromEndY * fromEndY);
      float dot =
          (fromStartX / startLength) * (fromEndX / endLength) + (fromStartY / startLength) * (fromEndY / endLength);
      if (dot < -0.9f) return true;
    }
    if (value > 0.0f) ++positive;
    if (value < 0.0f) ++negative;
  }
  return counterClockwiseOrder ? positive == 3 : negative == 3;
}

// The triangles are tried in a tight loop: the three cross products that the
// side rule starts with, and only where one of them is exactly zero the rule
// itself (with those same products), which then looks at the point's place
// on that side. Otherwise the rule's answer is that all three have the inner
// sign, so the answers agree.
bool KX_Polygon2D::contains(const KX_Point2D& point) {
  if (count < 3) return false;
  const KX_Point2D* points = getBuffer();
  for (int i = 0; i < count; ++i) {
    if (points[i] == point) return true;
  }
  bool counterClockwiseOrder = isCounterClockwise();
  if (count == 3) return triangleClaims(0, 1, 2, point, counterClockwiseOrder);
  if (!(flags & kTrianglesValid)) triangulate(triangles);
  const int* corners = triangles.getBuffer();
  for (int t = 0; t + 2 < triangles.getCount(); t += 3) {
    const KX_Point2D& a = points[corners[t]];
    const KX_Point2D& b = points[corners[t + 1]];
    const KX_Point2D& c = points[corners[t + 2]];
    const float values[3] = {cross(a, b, point), cross(b, c, point), cross(c, a, point)};
    if (values[0] == 0.0f || values[1] == 0.0f || values[2] == 0.0f) {
      if (sidesClaim(corners[t], corners[t + 1], corners[t + 2], values, point, counterClockwiseOrder)) return true;
      continue;
    }
    bool inside = counterClockwiseOrder ? values[0] > 0.0f && values[1] > 0.0f && values[2] > 0.0f
                                        : values[0] < 0.0f && values[1] < 0.0f && values[2] < 0.0f;
    if (inside) return true;
  }
  return false;
}

// The diagonal from the vertex at `aPosition` to the one at `cPosition` of the
// remaining outline must cross no edge of it, leaving out the edges that touch
// its ends (they meet the diagonal there by construction). Only crossings
// count: a neighbour of a or c that dips into the triangle a, b, c does not
// rule the ear out.
bool KX_Polygon2D::isEar(const KX_IntArray& remaining, int aPosition, int cPosition) const {
  int listCount = remaining.getCount();
  const int* list = remaining.getBuffer();
  KX_LineSegment2D diagonal{at(list[aPosition]), at(list[cPosition])};
  KX_Point2D hit;
  for (int j = (cPosition + 1) % listCount; (j + 1) % listCount != aPosition; j = (j + 1) % listCount) {
    KX_LineSegment2D edge{at(list[j]), at(list[(j + 1) % listCount])};
    if (diagonal.intersect(edge, hit, true)) return false;
  }
  return true;
}

void KX_Polygon2D::triangulate(KX_IntArray& result) {
  if (flags & kTrianglesValid) {
    if (&result != &triangles) result.copyFrom(&triangles);
    return;
  }
  bool counterClockwiseOrder = isCounterClockwise();
  result.clear();
  result.resize(3 * (count + 1));
  int* out = result.getBuffer();
  int used = 0;

  KX_IntArray remaining;
  remaining.resize(count);
  for (int i = 0; i < count; ++i) remaining.getBuffer()[i] = i;

  while (remaining.getCount() >= 4) {
    int listCount = remaining.getCount();
    const int* list = remaining.getBuffer();
    int a = list[0];
    int b = list[1];
    bool found = false;
    for (int i = 2; i <= listCount + 1 && !found; ++i) {
      int cPosition = i < listCount ? i : i - listCount;
      int c = list[cPosition];
      float turn = cross(at(a), at(b), at(c));
      bool convexCorner = counterClockwiseOrder ? turn > 0.0f : turn < 0.0f;
      if (convexCorner && isEar(remaining, i - 2, cPosition)) {
        out[used++] = a;
        out[used++] = b;
        out[used++] = c;
        remaining.remove((i - 1) % listCount);
        found = true;
      }
      a = b;
      b = c;
    }
    // No ear among the remaining vertices: the triangles found so far stay
    // and the rest of the outline stays uncovered.
    if (!found) break;
  }
  if (remaining.getCount() == 3) {
    for (int i = 0; i < 3; ++i) out[used++] = remaining.at(i);
  }
  result.resize(used);
  result.compact();
  if (&result != &triangles) triangles.copyFrom(&result);
  flags |= kTrianglesValid;
}

int KX_Polygon2D::getRayHits(const KX_Point2D& origin, const KX_Point2D& direction, KX_FloatArray& parameters) const {
  parameters.clear();
  int edges = count >= 2 ? count : 0;
  for (int i = 0; i < edges; ++i) {
    float parameter;
    if (!getEdge(i).intersectRayParameter(origin, direction, parameter, true)) continue;
    int stored = parameters.getCount();
    if (stored > 0 && std::fabs(parameter - parameters.at(stored - 1)) <= epsilon) continue;
    parameters.append(parameter);
  }
  return parameters.getCount();
}

// Stores each hit that isn't a near-repeat of the last stored one. A hit at
// an edge's end vertex skips the next edge, which starts there, so a line
// through a vertex counts once.
template <class HitOnEdge>
static int collectPointHits(const KX_Polygon2D& polygon, KX_PointSet2D& points, HitOnEdge&& hitOnEdge) {
  points.clear();
  int count = polygon.getCount();
  int edges = count >= 2 ? count : 0;
  for (int i = 0; i < edges; ++i) {
    KX_LineSegment2D edge = polygon.getEdge(i);
    KX_Point2D hit;
    if (!hitOnEdge(edge, hit)) continue;
    int stored = points.getCount();
    if (stored > 0 && isNear(hit, points.at(stored - 1))) continue;
    points.append(hit);
    if (isNear(hit, edge.end)) ++i;
  }
  return points.getCount();
}

int KX_Polygon2D::getRayIntersections(const KX_Point2D& origin, const KX_Point2D& direction,
                                      KX_PointSet2D& points) const {
  return collectPointHits(*this, points, [&](const KX_LineSegment2D& edge, KX_Point2D& hit) {
    return edge.intersectRay(origin, direction, hit, true);
  });
}

int KX_Polygon2D::getSegmentIntersections(const KX_LineSegment2D& segment, KX_PointSet2D& points,
                                          bool clipToSegment) const {
  return collectPointHits(*this, points, [&](const KX_LineSegment2D& edge, KX_Point2D& hit) {
    return segment.intersect(edge, hit, clipToSegment);
  });
}

bool KX_Polygon2D::intersectsSegment(const KX_LineSegment2D& segment, bool clipToSegment) const {
  int edges = count >= 2 ? count : 0;
  KX_Point2D hit;
  for (int i = 0; i < edges; ++i) {
    if (segment.intersect(getEdge(i), hit, clipToSegment)) return true;
  }
  return false;
}

bool KX_Polygon2D::intersectsBox(const KX_AABox2D& box) const {
  int edges = count >= 2 ? count : 0;
  KX_Point2D first;
  KX_Point2D second;
  for (int i = 0; i < edges; ++i) {
    if (box.getSegmentIntersections(getEdge(i), first, second, true) > 0) return true;
  }
  return false;
}

void KX_Polygon2D::reverse() {
  ownBuffer();
  KX_Point2D* points = getBuffer();
  for (int low = 0, high = count - 1; low < high; ++low, --high) {
    KX_Point2D kept = points[low];
    points[low] = points[high];
    points[high] = kept;
  }
  flags = 0;
}

void KX_Polygon2D::simplify(bool closed) {
  int original = count;
  ownBuffer();
  KX_Point2D* points = getBuffer();

  // Runs of equal points shrink to one, and a closing repeat of the first point goes.
  int kept = 0;
  for (int i = 0; i < count; ++i) {
    if (i + 1 < count && points[i] == points[i + 1]) continue;
    points[kept++] = points[i];
  }
  if (kept > 1 && points[kept - 1] == points[0]) --kept;

  // One pass over the corners p, q, r, written back in place: p is the last
  // point kept, so a run of collinear points is measured from its start.
  if (kept > 2) {
    int n = kept;
    int written = 0;
    if (closed) {
      KX_Point2D p = points[n - 1];
      for (int q = 0; q < n; ++q) {
        KX_Point2D current = points[q];
        // The corner at the last point wraps to the first point still kept,
        // or to itself if none is.
        KX_Point2D next = q + 1 < n ? points[q + 1] : (written > 0 ? points[0] : current);
        if (std::fabs(cross(p, current, next)) < epsilon) continue;
        points[written++] = current;
        p = current;
      }
    } else {
      KX_Point2D p = points[0];
      written = 1;
      for (int q = 1; q < n - 1; ++q) {
        KX_Point2D current = points[q];
        if (std::fabs(cross(p, current, points[q + 1])) < epsilon) continue;
        points[written++] = current;
        p = current;
      }
      points[written++] = points[n - 1];
    }
    kept = written;
  }

  KX_PointSet2D::resize(kept);
  if (count != original) pointsRemoved();
}
