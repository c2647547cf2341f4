// A circle by its centre (x, y) and radius, with the containment and crossing
// tests the quad tree's circle queries need.
#pragma once

#include "foundation/KX_Base.h"
#include "geometry/KX_LineSegment2D.h"

class KX_AABox2D;

class KX_Circle : public KX_Base {
 public:
  // Leaves the fields unset, like a plain value.
  KX_Circle() {}
  KX_Circle(float x, float y, float radius) : x(x), y(y), radius(radius) {}
  ~KX_Circle() override = default;

  KX_Base* newInstance() const override { return new KX_Circle(); }
  void copyFrom(const KX_Base* source) override;

  // All four corners of the box lie in the closed disc.
  bool containsBox(const KX_AABox2D& box) const;
  // The segment, or without `clipToSegment` its whole line, meets the circle.
  // With clipping a segment must cross or touch the outline: one lying wholly
  // inside gives false.
  bool intersectsSegment(const KX_LineSegment2D& segment, bool clipToSegment) const;

  float x;
  float y;
  float radius;
};
