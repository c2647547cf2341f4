// Obstacles for the path finder's tests, as new polygons that the caller
// hands to a polygon list (which deletes them).
#pragma once

#include <initializer_list>

#include "geometry/KX_Polygon2D.h"

inline KX_Polygon2D* polygon(std::initializer_list<KX_Point2D> points) {
  KX_Polygon2D* result = new KX_Polygon2D();
  for (const KX_Point2D& point : points) result->append(point);
  return result;
}

inline KX_Polygon2D* box(float x, float y, float w, float h) {
  return polygon({{x, y}, {x + w, y}, {x + w, y + h}, {x, y + h}});
}
