// One cell of the quad tree's pyramid: the objects that lie in it, with the box
// of each beside it, so that queries read no host memory. The three arrays are
// parallel and sorted by object address.
//
// Beside them the cell keeps where its objects reach, so that a query can pass
// over a cell none of whose objects it can meet. The objects of a cell above
// the deepest level cross one of its middle lines; those that cross the
// vertical one lie in a narrow upright strip, the others mostly in a flat one,
// so each of the two groups keeps its own bounds: together they exclude far
// more of the cell than one box over all objects would.
#pragma once

#include <limits>

#include "foundation/KX_VoidPtrArray.h"
#include "geometry/KX_PointSet2D.h"

class QV_QuadTreeCell : public KX_Base {
 public:
  // Lowest and highest coordinate over both ends of each box of a group
  // (`x` and `x + width` as the float sum, likewise on y), so negative sizes
  // are covered too. An empty group has lows of +inf and highs of -inf; a box
  // with a NaN end makes its group reach everywhere.
  struct Reach {
    float minX;
    float minY;
    float maxX;
    float maxY;
  };

  explicit QV_QuadTreeCell(int growStep = 32);
  ~QV_QuadTreeCell() override = default;

  // An empty cell with this cell's growStep (unless that is 0) and middle.
  KX_Base* newInstance() const override;
  // Copies the three arrays with their growStep values, the middle and the reach.
  void copyFrom(const KX_Base* source) override;

  void setGrowStep(int growStep);

  // Group 0 holds the boxes that reach across `middleX`, group 1 the others.
  // Any fixed rule would keep the bounds right; this one makes them narrow.
  int groupOf(const KX_Point2D& position, const KX_Point2D& size) const {
    float end = position.x + size.x;
    bool across = (position.x <= middleX && middleX <= end) || (end <= middleX && middleX <= position.x);
    return across ? 0 : 1;
  }
  // Widens the bounds of the box's group to take in the box.
  void includeInReach(const KX_Point2D& position, const KX_Point2D& size) {
    widen(reach[groupOf(position, size)], position, size);
  }
  // Called before the box at `index` leaves or changes. If it lies on a bound
  // of its group (or has a NaN end), the bounds may shrink: they are marked
  // stale and worked out anew by the next query that comes to the cell, so a
  // burst of moves costs one pass over the cell, and only where it is asked.
  void boxLeaving(int index) {
    if (!reachStale && touchesReach(positions.at(index), sizes.at(index))) reachStale = true;
  }
  // The bounds, worked out anew first if they are stale.
  const Reach* getReach() const {
    if (reachStale) recomputeReach();
    return reach;
  }
  // Sets both groups' bounds from the boxes held now.
  void recomputeReach() const;
  // The bounds are exactly those of the boxes held now (stale ones are not).
  bool isReachExact() const;

  // The host's objects, ascending by address as unsigned numbers.
  KX_VoidPtrArray objects;
  // Box corner of the object at the same index, as the host gave it.
  KX_PointSet2D positions;
  // Width and height of the object's box at the same index.
  KX_PointSet2D sizes;
  // The x of the cell's vertical middle line, set by the tree at creation.
  float middleX = 0.0f;
  // Bounds of group 0 and group 1 (see `groupOf`), and whether a box on
  // them has left since they were set. Queries bring them up to date, which
  // is why they may change under a const tree (one thread at a time uses a tree).
  mutable Reach reach[2];
  mutable bool reachStale = false;

 private:
  bool touchesReach(const KX_Point2D& position, const KX_Point2D& size) const {
    const Reach& bounds = reach[groupOf(position, size)];
    float lowX, highX, lowY, highY;
    if (!endsOf(position.x, size.x, lowX, highX) || !endsOf(position.y, size.y, lowY, highY)) return true;
    return lowX == bounds.minX || lowY == bounds.minY || highX == bounds.maxX || highY == bounds.maxY;
  }
  // Both ends of a box on one axis, the lower first; false if one is NaN.
  static bool endsOf(float start, float size, float& low, float& high) {
    float end = start + size;
    if (start != start || end != end) return false;
    low = start < end ? start : end;
    high = start < end ? end : start;
    return true;
  }
  static void widen(Reach& bounds, const KX_Point2D& position, const KX_Point2D& size) {
    float lowX, highX, lowY, highY;
    if (!endsOf(position.x, size.x, lowX, highX) || !endsOf(position.y, size.y, lowY, highY)) {
      constexpr float kInfinity = std::numeric_limits<float>::infinity();
      bounds = Reach{-kInfinity, -kInfinity, kInfinity, kInfinity};
      return;
    }
    if (lowX < bounds.minX) bounds.minX = lowX;
    if (lowY < bounds.minY) bounds.minY = lowY;
    if (highX > bounds.maxX) bounds.maxX = highX;
    if (highY > bounds.maxY) bounds.maxY = highY;
  }
};
