// Offsetting a polygon: every edge moves sideways by the same distance, and
// each vertex goes to where its two moved edges meet. Corners stay sharp
// however far they move; an outline that turns inside out is cut back by
// splitSelfIntersections.
#include <cmath>

#include "geometry/KX_Polygon2D.h"

namespace {

// The edge from `from` to `to`, moved by `distance` to its left side
// (`toLeft`) or to its right. A zero-length edge has no direction: its
// coordinates become NaN, and the vertices next to it with them.
KX_LineSegment2D shiftedEdge(const KX_Point2D& from, const KX_Point2D& to, float distance, bool toLeft) {
  float dx = to.x - from.x;
  float dy = to.y - from.y;
  float length = std::sqrt(dx * dx + dy * dy);
  dx /= length;
  dy /= length;
  float sx = toLeft ? -dy : dy;
  float sy = toLeft ? dx : -dx;
  return KX_LineSegment2D{{from.x + distance * sx, from.y + distance * sy},
                          {to.x + distance * sx, to.y + distance * sy}};
}

}  // namespace

void KX_Polygon2D::shrink(float distance) {
  if (count < 3) return;
  KX_Polygon2D copy;
  copy.copyFrom(this);
  // The inside lies to the left of a counter-clockwise outline, to the right
  // of a clockwise one.
  bool inwardIsLeft = isCounterClockwise();
  int n = copy.count;
  for (int i = 0; i < n; ++i) {
    const KX_Point2D& previous = copy.at(i > 0 ? i - 1 : n - 1);
    const KX_Point2D& vertex = copy.at(i);
    const KX_Point2D& next = copy.at(i + 1 < n ? i + 1 : 0);
    KX_LineSegment2D first = shiftedEdge(previous, vertex, distance, inwardIsLeft);
    KX_LineSegment2D second = shiftedEdge(vertex, next, distance, inwardIsLeft);
    // Parallel edges apart keep the vertex where it was; collinear ones give
    // the middle of their common extent.
    KX_Point2D moved;
    if (first.intersect(second, moved, false)) set(i, moved);
  }
  splitSelfIntersections(nullptr);
}
