#include "pathfinding/KX_FreeSegmentCheck.h"

#include <initializer_list>

#include "geometry/KX_Epsilon.h"

namespace {

float squaredDistance(const KX_Point2D& a, const KX_Point2D& b) {
  float dx = b.x - a.x;
  float dy = b.y - a.y;
  return dx * dx + dy * dy;
}

// The middle or a quarter point of the piece from p to q lies inside.
bool pieceIsInside(KX_Polygon2D& polygon, const KX_Point2D& p, const KX_Point2D& q) {
  for (float t : {0.5f, 0.25f, 0.75f}) {
    if (polygon.contains(KX_Point2D{p.x + (q.x - p.x) * t, p.y + (q.y - p.y) * t})) return true;
  }
  return false;
}

}  // namespace

// Path points often lie on an obstacle's outline without being its corners
// (subdivision points along an edge, crossing points), and merged outlines
// have corners on the very line between two others. Rounding can then lose a
// crossing, or put a point on the outline a hair inside, and a segment through
// the inside would look free. So each piece of the segment that the rule
// decides by one point (an end, or the middle) is also sampled at its
// quarter points. With exact arithmetic nothing changes: no crossing lies
// inside such a piece, so all its points are on one side. The one difference
// is a piece that starts strictly inside and leaves, which counts as blocking;
// a path's points are never inside, except by rounding.
bool KX_FreeSegmentCheck::blocks(KX_Polygon2D& polygon, const KX_LineSegment2D& segment, KX_PointSet2D& points) {
  const KX_Point2D& a = segment.start;
  const KX_Point2D& b = segment.end;
  int n = polygon.getSegmentIntersections(segment, points, true);
  if (n > 2) return true;
  // The vertices that the segment's ends are.
  int aVertex = -1;
  int bVertex = -1;
  for (int v = 0; v < polygon.getCount(); ++v) {
    if (aVertex < 0 && squaredDistance(polygon.at(v), a) <= epsilon) aVertex = v;
    if (bVertex < 0 && squaredDistance(polygon.at(v), b) <= epsilon) bVertex = v;
  }
  if (n == 2) {
    if (aVertex < 0 || bVertex < 0) return true;
    int vertexCount = polygon.getCount();
    int gap = aVertex > bVertex ? aVertex - bVertex : bVertex - aVertex;
    bool neighbours = gap == 1 || gap == vertexCount - 1;
    return !neighbours && pieceIsInside(polygon, a, b);
  }
  if (n == 1 && (aVertex >= 0 || bVertex >= 0)) {
    // The corner end is the crossing; the other end decides.
    return polygon.contains(aVertex >= 0 ? b : a) || pieceIsInside(polygon, a, b);
  }
  if (n == 1) {
    // The piece behind the crossing lies on the side of b.
    const KX_Point2D& crossing = points.at(0);
    return polygon.contains(b) || pieceIsInside(polygon, crossing, b) || pieceIsInside(polygon, a, crossing);
  }
  // No crossing: the whole segment lies outside, unless crossings were lost.
  return pieceIsInside(polygon, a, b);
}

bool KX_FreeSegmentCheck::isFree(const KX_LineSegment2D& segment) {
  if (tree == nullptr) return true;
  current = &segment;
  if (!tree->visitObjectsOnLineSegment(segment, *this, nullptr, 0, nullptr, blockerLevel)) return false;
  // The obstacles whose box holds an end; most of them the walk has tried
  // already, which only costs a second try of a segment found free so far.
  // Equal points (0 and -0 alike) find the same boxes; NaN is never equal.
  if (!startKnown || !(segment.start == start)) {
    tree->getObjectListFromPoint(atStart, segment.start, nullptr, 0, nullptr);
    start = segment.start;
    startKnown = true;
  }
  if (blocksAny(atStart, segment)) return false;
  tree->getObjectListFromPoint(atEnd, segment.end, nullptr, 0, &atStart);
  return !blocksAny(atEnd, segment);
}

bool KX_FreeSegmentCheck::blocksAny(const KX_ObjectArray& obstacles, const KX_LineSegment2D& segment) {
  for (int i = 0; i < obstacles.getCount(); ++i) {
    if (blocks(*static_cast<KX_Polygon2D*>(obstacles.at(i)), segment, points)) return true;
  }
  return false;
}

bool KX_FreeSegmentCheck::visit(void* object, int level) {
  if (!blocks(*static_cast<KX_Polygon2D*>(object), *current, points)) return true;
  blockerLevel = level;
  return false;
}
