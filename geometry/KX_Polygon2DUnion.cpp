// The union of two overlapping polygons by walking their outlines: follow one
// outline and hand over to the other at each crossing. Started outside the
// other polygon, with both running the same way, the walk traces the outer
// outline; holes between the two are not kept.
#include <cmath>

#include "foundation/KX_BitArray.h"
#include "geometry/KX_Polygon2D.h"

namespace {

// The first vertex of `polygon` that `other` doesn't contain, or -1.
int firstVertexOutside(const KX_Polygon2D& polygon, KX_Polygon2D& other) {
  for (int i = 0; i < polygon.getCount(); ++i) {
    if (!other.contains(polygon.at(i))) return i;
  }
  return -1;
}

void markAllClear(KX_BitArray& bits, int n) {
  for (int i = 0; i < n; ++i) bits.insertBit(i, false);
}

// Appends a point of the walk unless it repeats the last one. Outlines that
// meet at a vertex (two walls in an L, boxes sharing a corner) make the walk
// cross over at that very point, often several times; a repeated point would
// be a zero-length edge, and a zero-length edge lies on one line with every
// other edge, so later relation tests would find it crossing every obstacle.
void appendDistinct(KX_Polygon2D& outline, const KX_Point2D& point) {
  const int count = outline.getCount();
  if (count > 0 && outline.at(count - 1) == point) return;
  outline.append(point);
}

}  // namespace

void KX_Polygon2D::unionWith(KX_Polygon2D& other) {
  // The union with itself is the polygon itself; the walk below would empty it.
  if (&other == this) return;
  KX_Polygon2D copy;
  copy.copyFrom(this);
  clear();
  if (copy.isCounterClockwise() != other.isCounterClockwise()) {
    bool wasCounterClockwise = copy.counterClockwise;
    copy.reverse();
    copy.counterClockwise = !wasCounterClockwise;
    copy.flags |= kCounterClockwiseValid;
  }

  KX_Polygon2D* current = &copy;
  KX_Polygon2D* opposite = &other;
  int i = firstVertexOutside(copy, other);
  if (i < 0) {
    // Every vertex of this polygon lies in `other`, so the outer outline is
    // found by starting on `other`, at a vertex outside this polygon. If
    // there is none either, the two cover each other and `other`'s outline
    // is as good as any: the walk starts at its first vertex.
    current = &other;
    opposite = &copy;
    i = firstVertexOutside(other, copy);
    if (i < 0) i = 0;
  }
  if (current->count == 0) return;

  KX_BitArray copyVisited;
  KX_BitArray otherVisited;
  markAllClear(copyVisited, copy.count);
  markAllClear(otherVisited, other.count);

  // Every pass marks one more vertex or ends the walk, so it ends after at
  // most all vertices of both polygons.
  for (;;) {
    KX_BitArray& visited = current == &copy ? copyVisited : otherVisited;
    if (visited.getBit(i)) break;
    KX_Point2D vertex = current->at(i);
    appendDistinct(*this, vertex);
    visited.setBit(i, true);

    KX_LineSegment2D edge = current->getEdge(i);
    int crossedEdge = -1;
    KX_Point2D crossing{0.0f, 0.0f};
    float nearest = 0.0f;
    KX_Point2D hit;
    for (int j = 0; j < opposite->count; ++j) {
      if (!opposite->getEdge(j).intersect(edge, hit, true)) continue;
      float distance = std::hypot(hit.x - vertex.x, hit.y - vertex.y);
      if (crossedEdge < 0 || distance < nearest) {
        crossedEdge = j;
        crossing = hit;
        nearest = distance;
      }
    }

    if (crossedEdge < 0) {
      i = i + 1 < current->count ? i + 1 : 0;
      continue;
    }
    appendDistinct(*this, crossing);
    KX_Polygon2D* swap = current;
    current = opposite;
    opposite = swap;
    i = crossedEdge + 1 < current->count ? crossedEdge + 1 : 0;
  }
  // The outline closes on its first point: a last point equal to it goes too.
  if (count > 1 && at(count - 1) == at(0)) remove(count - 1);
  flags &= static_cast<std::uint8_t>(~(kCounterClockwiseValid | kConvexValid | kTrianglesValid));
}
