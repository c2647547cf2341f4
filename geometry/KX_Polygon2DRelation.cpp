// How two polygons lie to each other: crossing outlines, one inside the other,
// or apart. Containment of vertices decides most cases cheaply; the edge test
// is only needed when all vertices of this polygon lie on one side.
#include "geometry/KX_Polygon2D.h"

namespace {

bool anyEdgesMeet(const KX_Polygon2D& a, const KX_Polygon2D& b) {
  KX_Point2D hit;
  for (int i = 0; i < a.getCount(); ++i) {
    KX_LineSegment2D edgeOfA = a.getEdge(i);
    for (int j = 0; j < b.getCount(); ++j) {
      if (edgeOfA.intersect(b.getEdge(j), hit, true)) return true;
    }
  }
  return false;
}

}  // namespace

void KX_Polygon2D::getRelation(KX_Polygon2D& other, bool& overlap, bool& insideOther, bool& otherInside) {
  overlap = false;
  insideOther = false;
  otherInside = false;
  bool anyIn = false;
  bool anyOut = false;
  for (int i = 0; i < count; ++i) {
    if (other.contains(at(i))) {
      anyIn = true;
    } else {
      anyOut = true;
    }
  }
  if (anyIn && anyOut) {
    overlap = true;
    return;
  }
  if (count > 0 && other.count > 0) {
    // A convex polygon that holds one vertex without losing another holds them all.
    if (anyIn && other.isConvex()) {
      insideOther = true;
      return;
    }
    if (anyOut && isConvex() && other.isConvex() && contains(other.at(0))) {
      otherInside = true;
      return;
    }
    // All vertices on one side, yet the outlines may cross, as in a plus sign.
    if (anyEdgesMeet(*this, other)) {
      overlap = true;
      return;
    }
  }
  if (anyIn) {
    insideOther = true;
    return;
  }
  if (count == 0) return;
  // Every vertex of this polygon is outside `other`. An `other` without
  // vertices has none outside this polygon either and so counts as inside.
  for (int i = 0; i < other.count; ++i) {
    if (!contains(other.at(i))) return;
  }
  otherInside = true;
}
