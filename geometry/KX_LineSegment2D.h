// A segment from `start` to `end`, a plain value. Its intersections with other
// segments and with rays give the hit point or the ray parameter.
#pragma once

#include "geometry/KX_Point2D.h"

struct KX_LineSegment2D {
  KX_Point2D start;
  KX_Point2D end;

  // Intersection with `other`. Collinear segments always intersect, even
  // apart; `hit` is then the middle of the box of the four end points. With
  // `clipToSegment` both parameters must lie in 0..1 (ends included), and a
  // miss leaves `hit` unwritten.
  bool intersect(const KX_LineSegment2D& other, KX_Point2D& hit, bool clipToSegment) const;
  // Intersection with the ray from `origin` along `direction`: the ray
  // parameter must be at least 0; with `clipToSegment` the parameter on this
  // segment must lie in 0..1. A ray along the segment's line gives `origin`.
  bool intersectRay(const KX_Point2D& origin, const KX_Point2D& direction, KX_Point2D& hit, bool clipToSegment) const;
  // The same test; `parameter` receives the ray parameter in units of `direction`.
  bool intersectRayParameter(const KX_Point2D& origin, const KX_Point2D& direction, float& parameter,
                             bool clipToSegment) const;
};
