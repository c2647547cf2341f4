// An axis-aligned box from (x, y) to (x + width, y + height), both ends
// included. Width and height may be zero or negative; callers that care test it.
#pragma once

#include "foundation/KX_Base.h"
#include "geometry/KX_LineSegment2D.h"
#include "geometry/KX_Point2D.h"

class KX_Circle;

class KX_AABox2D : public KX_Base {
 public:
  // Leaves the fields unset, like a plain value.
  KX_AABox2D() {}
  KX_AABox2D(float x, float y, float width, float height) : x(x), y(y), width(width), height(height) {}
  ~KX_AABox2D() override = default;

  KX_Base* newInstance() const override { return new KX_AABox2D(); }
  void copyFrom(const KX_Base* source) override;

  // The closed boxes overlap: a shared edge or corner counts.
  // Inline, and all four comparisons taken without a short cut: the quad
  // tree's box queries run it on every object of a cell, and one branch that
  // mostly fails is cheaper there than four unpredictable ones.
  bool intersectsBox(const KX_AABox2D& other) const {
    int overlap = int(other.x <= x + width) & int(x <= other.x + other.width) & int(other.y <= y + height) &
                  int(y <= other.y + other.height);
    return overlap != 0;
  }
  // The whole circle lies in the box; touching the outline from inside counts.
  bool containsCircle(const KX_Circle& circle) const;
  // Crossings of the segment (or, without `clipToSegment`, its line) with the
  // box outline, at most two: left and right sides first, then bottom and top.
  // Returns their number; `first` and `second` are written only for hits found.
  // A line through a corner gives that corner twice.
  int getSegmentIntersections(const KX_LineSegment2D& segment, KX_Point2D& first, KX_Point2D& second,
                              bool clipToSegment) const;

  float x;
  float y;
  float width;
  float height;
};
