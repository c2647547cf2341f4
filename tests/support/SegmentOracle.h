// An independent test of whether a segment cuts through a polygon, in double
// precision and without the library's geometry: the check of the path
// finder's tests and the yardstick of its benchmark.
#pragma once

#include <algorithm>
#include <cmath>
#include <vector>

#include "geometry/KX_Polygon2D.h"

// Does the open segment a-b pass through the inside of the polygon? Every
// parameter where it meets an edge splits it; a piece whose middle lies
// inside, farther than `margin` from the outline, cuts through.
inline double distanceToSegment(double px, double py, double ax, double ay, double bx, double by) {
  double dx = bx - ax, dy = by - ay;
  double length2 = dx * dx + dy * dy;
  double t = length2 > 0 ? std::clamp(((px - ax) * dx + (py - ay) * dy) / length2, 0.0, 1.0) : 0.0;
  double ex = ax + t * dx - px, ey = ay + t * dy - py;
  return std::sqrt(ex * ex + ey * ey);
}

inline bool insideByMoreThan(const KX_Polygon2D& polygon, double x, double y, double margin) {
  bool inside = false;
  int n = polygon.getCount();
  for (int i = 0, j = n - 1; i < n; j = i++) {
    double xi = polygon.at(i).x, yi = polygon.at(i).y, xj = polygon.at(j).x, yj = polygon.at(j).y;
    if (distanceToSegment(x, y, xi, yi, xj, yj) <= margin) return false;
    if ((yi > y) != (yj > y) && x < (xj - xi) * (y - yi) / (yj - yi) + xi) inside = !inside;
  }
  return inside;
}

inline bool cutsThrough(const KX_Polygon2D& polygon, KX_Point2D a, KX_Point2D b, double margin) {
  std::vector<double> splits{0.0, 1.0};
  int n = polygon.getCount();
  double dx = double(b.x) - a.x, dy = double(b.y) - a.y;
  for (int i = 0; i < n; ++i) {
    KX_Point2D p = polygon.at(i), q = polygon.at((i + 1) % n);
    double ex = double(q.x) - p.x, ey = double(q.y) - p.y;
    double denominator = dx * ey - dy * ex;
    if (denominator == 0) continue;
    double t = ((double(p.x) - a.x) * ey - (double(p.y) - a.y) * ex) / denominator;
    if (t > 0 && t < 1) splits.push_back(t);
  }
  std::sort(splits.begin(), splits.end());
  for (size_t i = 0; i + 1 < splits.size(); ++i) {
    double t = (splits[i] + splits[i + 1]) / 2;
    if (insideByMoreThan(polygon, a.x + t * dx, a.y + t * dy, margin)) return true;
  }
  return false;
}
