// The maps of the path finder's benchmarks, in a 1000 x 1000 world with
// inflation 1: random boxes (sides 5 to 30) and random star-shaped polygons
// of 8 to 16 points (radii 10 to 40), each from a fixed seed.
#pragma once

#include <cmath>
#include <random>

#include "geometry/KX_PolygonList2D.h"
#include "pathfinding/KX_VisibilityGraph.h"

namespace {

constexpr float kWorld = 1000.0f;
constexpr float kInflation = 1.0f;
constexpr int kTreeLevels = 6;

void makeBoxes(KX_PolygonList2D& list, int count) {
  std::mt19937 random(7);
  std::uniform_real_distribution<float> side(5.0f, 30.0f);
  std::uniform_real_distribution<float> place(0.0f, kWorld - 30.0f);
  for (int i = 0; i < count; ++i) {
    float x = place(random), y = place(random), w = side(random), h = side(random);
    KX_Polygon2D* box = new KX_Polygon2D();
    for (KX_Point2D corner : {KX_Point2D{x, y}, {x + w, y}, {x + w, y + h}, {x, y + h}}) box->append(corner);
    list.append(box);
  }
}

// Star-shaped around a random centre: one point at a random angle in each of
// n equal sectors, at a random radius.
void makePolygons(KX_PolygonList2D& list, int count) {
  std::mt19937 random(11);
  std::uniform_int_distribution<int> points(8, 16);
  std::uniform_real_distribution<float> radius(10.0f, 40.0f);
  std::uniform_real_distribution<float> place(40.0f, kWorld - 40.0f);
  std::uniform_real_distribution<float> inSector(0.0f, 1.0f);
  for (int i = 0; i < count; ++i) {
    float cx = place(random), cy = place(random);
    int n = points(random);
    KX_Polygon2D* polygon = new KX_Polygon2D();
    for (int k = 0; k < n; ++k) {
      float angle = (k + inSector(random)) * 2.0f * float(M_PI) / n;
      float r = radius(random);
      polygon->append({cx + r * std::cos(angle), cy + r * std::sin(angle)});
    }
    list.append(polygon);
  }
}

// Builds the graph of a box or polygon map, with the path cache the export
// gives a built graph: one tree per node, at most 600.
inline void buildMap(KX_VisibilityGraph& graph, bool boxes, int count, const KX_Polygon2D* border = nullptr) {
  KX_PolygonList2D map;
  if (boxes) {
    makeBoxes(map, count);
  } else {
    makePolygons(map, count);
  }
  graph.build(map, kInflation, kTreeLevels, border);
  graph.setPathCacheCapacity(graph.nodeCount < 600 ? graph.nodeCount : 600);
}

}  // namespace
