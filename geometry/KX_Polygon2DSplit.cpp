// Splitting an outline that crosses itself. At each crossing the loop that it
// closes off is cut out as a piece of its own and the crossing point takes
// its place; pieces are split in turn. The polygon keeps the piece with the
// longest outline.
#include "foundation/KX_FloatArray.h"
#include "foundation/KX_IntArray.h"
#include "geometry/KX_PolygonList2D.h"

void KX_Polygon2D::splitSelfIntersections(KX_PolygonList2D* pieces) {
  if (pieces != nullptr) {
    pieces->clear();
    pieces->elementsBorrowed = false;
  }

  // Each crossing takes the j - i >= 2 points i + 1 .. j out and puts one
  // point back, so the scan ends after at most count crossings, and every
  // piece is smaller than the outline it came from.
  KX_PolygonList2D loops;
  KX_Point2D hit;
  for (int i = 0; i < count - 1; ++i) {
    KX_LineSegment2D scanned = getEdge(i);
    for (int j = i + 2; j < count; ++j) {
      // Edge 0 and the closing edge meet at vertex 0.
      if (i == 0 && j == count - 1) continue;
      if (!scanned.intersect(getEdge(j), hit, true)) continue;
      KX_Polygon2D* loop = new KX_Polygon2D(getBuffer() + i + 1, j - i);
      loops.append(loop);
      KX_PointSet2D::removeRange(i + 1, j - i);
      KX_PointSet2D::insert(i + 1, hit);
      invalidate();
      j = i + 1;
    }
  }

  KX_PolygonList2D found;
  for (int k = 0; k < loops.getCount(); ++k) {
    KX_PolygonList2D subPieces;
    loops.getPolygon(k)->splitSelfIntersections(&subPieces);
    found.insertAll(found.getCount(), subPieces);
    subPieces.elementsBorrowed = true;
  }
  found.insertAll(found.getCount(), loops);
  loops.elementsBorrowed = true;
  if (found.getCount() == 0) return;

  KX_FloatArray perimeters;
  for (int k = 0; k < found.getCount(); ++k) perimeters.append(found.getPolygon(k)->getLength(true));
  KX_IntArray order;
  order.resize(perimeters.getCount());
  perimeters.sort(order.getBuffer());
  int longest = order.at(order.getCount() - 1);
  if (getLength(true) < perimeters.at(perimeters.getCount() - 1)) {
    KX_Polygon2D* kept = new KX_Polygon2D();
    kept->copyFrom(this);
    found.append(kept);
    copyFrom(found.getPolygon(longest));
    found.remove(longest);
  }

  if (pieces != nullptr) {
    pieces->insertAll(pieces->getCount(), found);
    found.elementsBorrowed = true;
  }
}
