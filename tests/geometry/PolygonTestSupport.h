// Independent computations in doubles that the polygon tests compare with:
// area, crossing-number containment, distance to the outline, and a maker of
// random simple polygons.
#pragma once

#include <algorithm>
#include <cmath>
#include <initializer_list>
#include <random>

#include "geometry/KX_Polygon2D.h"

inline void fillPolygon(KX_Polygon2D& polygon, std::initializer_list<KX_Point2D> points) {
  for (const KX_Point2D& point : points) polygon.append(point);
}

// Shoelace formula: positive for a counter-clockwise outline.
inline double signedArea(const KX_Polygon2D& polygon) {
  double sum = 0;
  int n = polygon.getCount();
  for (int i = 0; i < n; ++i) {
    const KX_Point2D& p = polygon.at(i);
    const KX_Point2D& q = polygon.at((i + 1) % n);
    sum += double(p.x) * q.y - double(q.x) * p.y;
  }
  return sum / 2;
}

// Sum of the unsigned areas of the triangles in `triangles`.
inline double triangleArea(const KX_Polygon2D& polygon, const KX_IntArray& triangles) {
  double sum = 0;
  for (int t = 0; t + 2 < triangles.getCount(); t += 3) {
    const KX_Point2D& a = polygon.at(triangles.at(t));
    const KX_Point2D& b = polygon.at(triangles.at(t + 1));
    const KX_Point2D& c = polygon.at(triangles.at(t + 2));
    sum += std::fabs((double(b.x) - a.x) * (double(c.y) - a.y) - (double(b.y) - a.y) * (double(c.x) - a.x)) / 2;
  }
  return sum;
}

// Crossing number: a horizontal ray to the right crosses the outline an odd
// number of times from inside.
inline bool crossingNumberContains(const KX_Polygon2D& polygon, double x, double y) {
  bool inside = false;
  int n = polygon.getCount();
  for (int i = 0, j = n - 1; i < n; j = i++) {
    double xi = polygon.at(i).x, yi = polygon.at(i).y, xj = polygon.at(j).x, yj = polygon.at(j).y;
    if ((yi > y) != (yj > y) && x < (xj - xi) * (y - yi) / (yj - yi) + xi) inside = !inside;
  }
  return inside;
}

inline double distanceToOutline(const KX_Polygon2D& polygon, double x, double y) {
  double best = INFINITY;
  int n = polygon.getCount();
  for (int i = 0; i < n; ++i) {
    double ax = polygon.at(i).x, ay = polygon.at(i).y;
    double dx = polygon.at((i + 1) % n).x - ax, dy = polygon.at((i + 1) % n).y - ay;
    double lengthSquared = dx * dx + dy * dy;
    double t = lengthSquared > 0 ? std::clamp(((x - ax) * dx + (y - ay) * dy) / lengthSquared, 0.0, 1.0) : 0.0;
    best = std::min(best, std::hypot(ax + t * dx - x, ay + t * dy - y));
  }
  return best;
}

// A simple polygon, star-shaped around (cx, cy), counter-clockwise: n >= 4
// points with random radii, one at a random angle in each of n equal sectors,
// so that no two neighbours are half a turn apart and the centre sees every
// edge. Equal radii give a convex polygon.
inline void makeStarPolygon(KX_Polygon2D& polygon, std::mt19937& random, int n, float cx, float cy, float minRadius,
                            float maxRadius) {
  std::uniform_real_distribution<double> inSector(0.0, 1.0);
  std::uniform_real_distribution<float> radiusDistribution(minRadius, maxRadius);
  polygon.clear();
  for (int i = 0; i < n; ++i) {
    double angle = (i + inSector(random)) * 2 * M_PI / n;
    float radius = radiusDistribution(random);
    polygon.append({cx + radius * float(std::cos(angle)), cy + radius * float(std::sin(angle))});
  }
}
