// Where the objects of one quad tree cell reach, so that a query can pass over
// a cell none of whose objects it can meet without touching the cell itself:
// the tree keeps these records in one small block beside its cells, and a
// query reads a cell's arrays only where its record lets the area in.
//
// The objects of a cell above the deepest level cross one of its middle
// lines; those that cross the vertical one lie in a narrow upright strip, the
// others mostly in a flat one, so each of the two groups keeps its own
// bounds: together they exclude far more of the cell than one box would.
#pragma once

#include <limits>

#include "quadtree/QV_QuadTreeCell.h"

struct QV_QuadTreeCellReach {
  // Lowest and highest coordinate over both ends of each box of a group
  // (`x` and `x + width` as the float sum, likewise on y), so negative sizes
  // are covered too. An empty group has lows of +inf and highs of -inf; a box
  // with a NaN end makes its group reach everywhere.
  struct Box {
    float minX;
    float minY;
    float maxX;
    float maxY;
  };

  // Bounds of group 0 and group 1 (see `groupOf`).
  Box group[2];
  // The x of the cell's vertical middle line.
  float middleX;
  // A box on the bounds has left since they were set.
  bool stale;

  // Empty groups.
  void reset(float middle);

  // Group 0 holds the boxes that reach across `middleX`, group 1 the others.
  // Any fixed rule would keep the bounds right; this one makes them narrow.
  int groupOf(const KX_Point2D& position, const KX_Point2D& size) const {
    float end = position.x + size.x;
    bool across = (position.x <= middleX && middleX <= end) || (end <= middleX && middleX <= position.x);
    return across ? 0 : 1;
  }
  // Widens the bounds of the box's group to take in the box.
  void include(const KX_Point2D& position, const KX_Point2D& size) {
    widen(group[groupOf(position, size)], position, size);
  }
  // Called before the box at `index` of the cell leaves or changes. If it lies
  // on a bound of its group (or has a NaN end), the bounds may shrink: they
  // are marked stale and worked out anew by the next query that comes to the
  // cell, so a burst of moves costs one pass over the cell, and only where a
  // query asks.
  void boxLeaving(const QV_QuadTreeCell& cell, int index) {
    if (!stale && touches(cell.positions.at(index), cell.sizes.at(index))) stale = true;
  }
  // The bounds, worked out anew from the cell first if they are stale.
  const Box* get(const QV_QuadTreeCell& cell) {
    if (stale) recompute(cell);
    return group;
  }
  // Sets both groups' bounds from the cell's boxes.
  void recompute(const QV_QuadTreeCell& cell);
  // Not stale, and the bounds are exactly those of the cell's boxes.
  bool isExact(const QV_QuadTreeCell& cell) const;

 private:
  bool touches(const KX_Point2D& position, const KX_Point2D& size) const {
    const Box& bounds = group[groupOf(position, size)];
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
  static void widen(Box& bounds, const KX_Point2D& position, const KX_Point2D& size) {
    float lowX, highX, lowY, highY;
    if (!endsOf(position.x, size.x, lowX, highX) || !endsOf(position.y, size.y, lowY, highY)) {
      constexpr float kInfinity = std::numeric_limits<float>::infinity();
      bounds = Box{-kInfinity, -kInfinity, kInfinity, kInfinity};
      return;
    }
    if (lowX < bounds.minX) bounds.minX = lowX;
    if (lowY < bounds.minY) bounds.minY = lowY;
    if (highX > bounds.maxX) bounds.maxX = highX;
    if (highY > bounds.maxY) bounds.maxY = highY;
  }
};
