// Graph builds: merging, the border, edges past and between obstacles,
// rebuilds and degenerate input, and on random box maps that no edge passes
// through an obstacle, by a segment test of its own.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <initializer_list>
#include <memory>
#include <random>
#include <set>
#include <utility>
#include <vector>

#include "pathfinding/KX_VisibilityGraph.h"
#include "support/LiveBlockGuard.h"
#include "support/ObstacleShapes.h"

namespace {

using KX_VisibilityGraphBuildTest = LiveBlockTest;
using Corners = std::set<std::pair<float, float>>;

void build(KX_VisibilityGraph& graph, std::initializer_list<KX_Polygon2D*> obstacles, float inflation = 0.0f,
           const KX_Polygon2D* border = nullptr, int levels = 4) {
  KX_PolygonList2D list;
  for (KX_Polygon2D* obstacle : obstacles) list.append(obstacle);
  graph.build(list, inflation, levels, border);
  const char* problem = nullptr;
  EXPECT_TRUE(graph.validate(&problem)) << problem;
  EXPECT_EQ(graph.buildState, KX_VisibilityGraph::kBuildDone);
}

Corners corners(const KX_VisibilityGraph& graph) {
  Corners result;
  for (int node = 0; node < graph.nodeCount; ++node)
    result.insert({graph.vertices.at(node).x, graph.vertices.at(node).y});
  return result;
}

int nodeAt(const KX_VisibilityGraph& graph, KX_Point2D point) {
  for (int node = 0; node < graph.nodeCount; ++node) {
    if (graph.vertices.at(node) == point) return node;
  }
  return -1;
}

bool joined(const KX_VisibilityGraph& graph, KX_Point2D a, KX_Point2D b) {
  int from = nodeAt(graph, a), to = nodeAt(graph, b);
  return from >= 0 && to >= 0 && graph.hasEdge(from, to);
}

TEST_F(KX_VisibilityGraphBuildTest, MergingKeepsTheOuterOutlineOfOverlappingObstacles) {
  const Corners square{{0, 0}, {4, 0}, {4, 4}, {0, 4}};
  struct Case {
    const char* name;
    std::vector<KX_Polygon2D*> obstacles;
    int obstaclesLeft;
    Corners expected;
  } cases[] = {
      {"identical squares", {box(0, 0, 4, 4), box(0, 0, 4, 4)}, 1, square},
      {"inner square first", {box(1, 1, 1, 1), box(0, 0, 4, 4)}, 1, square},
      {"inner square second", {box(0, 0, 4, 4), box(1, 1, 1, 1)}, 1, square},
      {"crossing squares",
       {box(0, 0, 4, 4), box(2, 1, 4, 4)},
       1,
       {{0, 0}, {4, 0}, {4, 1}, {6, 1}, {6, 5}, {2, 5}, {2, 4}, {0, 4}}},
      {"plus sign",
       {box(0, 2, 6, 2), box(2, 0, 2, 6)},
       1,
       {{0, 2}, {2, 2}, {2, 0}, {4, 0}, {4, 2}, {6, 2}, {6, 4}, {4, 4}, {4, 6}, {2, 6}, {2, 4}, {0, 4}}},
      {"apart",
       {box(0, 0, 1, 1), box(3, 2, 1, 1)},
       2,
       {{0, 0}, {1, 0}, {1, 1}, {0, 1}, {3, 2}, {4, 2}, {4, 3}, {3, 3}}},
  };
  for (Case& c : cases) {
    SCOPED_TRACE(c.name);
    KX_VisibilityGraph graph;
    KX_PolygonList2D list;
    for (KX_Polygon2D* obstacle : c.obstacles) list.append(obstacle);
    graph.build(list, 0.0f, 4, nullptr);
    EXPECT_TRUE(graph.validate());
    EXPECT_EQ(graph.obstacles.getCount(), c.obstaclesLeft);
    EXPECT_EQ(corners(graph), c.expected);
  }
  // Inflation moves every edge out; zero, negative and NaN inflation move nothing.
  for (float inflation : {1.0f, 0.0f, -1.0f, NAN}) {
    KX_VisibilityGraph graph;
    build(graph, {box(0, 0, 2, 2)}, inflation);
    float d = inflation > 0 ? inflation : 0;
    EXPECT_EQ(corners(graph), (Corners{{-d, -d}, {2 + d, -d}, {2 + d, 2 + d}, {-d, 2 + d}})) << inflation;
  }
}

TEST_F(KX_VisibilityGraphBuildTest, OneObstacleIsJoinedAlongItsOutlineOnly) {
  KX_VisibilityGraph graph;
  build(graph, {polygon({{0, 0}, {4, 0}, {4, 1}, {1, 1}, {1, 4}, {0, 4}})});  // an L: (4, 1) sees (1, 4)
  ASSERT_EQ(graph.nodeCount, 6);
  int edges = 0;
  for (int node = 0; node < 6; ++node) edges += graph.getOutDegree(node);
  EXPECT_EQ(edges, 2 * 6);
  EXPECT_TRUE(joined(graph, {4, 1}, {1, 1}) && joined(graph, {1, 1}, {1, 4}));
  EXPECT_FALSE(joined(graph, {4, 1}, {1, 4}));
}

TEST_F(KX_VisibilityGraphBuildTest, CornersOutsideTheBorderAndCornersNoLineReachesAreDropped) {
  KX_VisibilityGraph graph;
  std::unique_ptr<KX_Polygon2D> border(polygon({{-5, -5}, {10, -5}, {10, 10}, {-5, 10}}));
  // Two corners of the second box lie outside, one on a border edge and one
  // exactly on a border vertex: those two stay, joined to the first box.
  build(graph, {box(0, 0, 2, 2), box(8, 10, 2, 2)}, 0.0f, border.get());
  EXPECT_EQ(corners(graph), (Corners{{0, 0}, {2, 0}, {2, 2}, {0, 2}, {8, 10}, {10, 10}}));
  EXPECT_TRUE(joined(graph, {10, 10}, {2, 2}) && joined(graph, {10, 10}, {8, 10}));
  // Moved up by one, its last corner inside has edges only to corners
  // outside: once they are gone it has none, and goes too.
  build(graph, {box(0, 0, 2, 2), box(9, 9, 2, 2)}, 0.0f, border.get());
  EXPECT_EQ(corners(graph), (Corners{{0, 0}, {2, 0}, {2, 2}, {0, 2}}));

  // The middle one of three copies of a corner has only outline edges of no
  // length, which count as met by the other obstacle's edges, and every
  // line from it meets them too: it alone is dropped.
  build(graph, {box(5, 5, 1, 1), polygon({{0, 0}, {1, 0}, {1, 1}, {1, 1}, {1, 1}, {0, 1}})});
  EXPECT_EQ(graph.nodeCount, 9);
  EXPECT_EQ(corners(graph).size(), 8u);
}

TEST_F(KX_VisibilityGraphBuildTest, CornersAcrossACorridorSeeEachOtherUnlessAnObstacleIsInTheWay) {
  KX_VisibilityGraph graph;
  build(graph, {box(0, 0, 2, 10), box(4, 1, 2, 10)});
  EXPECT_TRUE(joined(graph, {2, 10}, {4, 1}));
  EXPECT_TRUE(joined(graph, {2, 0}, {4, 11}));
  EXPECT_TRUE(joined(graph, {2, 10}, {4, 11}));
  EXPECT_FALSE(joined(graph, {2, 0}, {4, 1}));  // the line would go on into the far box

  // A small box where the two diagonals cross.
  build(graph, {box(0, 0, 2, 10), box(4, 1, 2, 10), box(2.8f, 5.2f, 0.4f, 0.4f)});
  EXPECT_FALSE(joined(graph, {2, 10}, {4, 1}));
  EXPECT_FALSE(joined(graph, {2, 0}, {4, 11}));
  EXPECT_TRUE(joined(graph, {2, 10}, {4, 11}));
  EXPECT_TRUE(joined(graph, {2, 10}, {2.8f, 5.2f}));

  // A comb whose box holds the whole line between the two boxes: its middle
  // tooth is in the way, found by the queries at the line's ends.
  build(graph, {box(3, 5, 2, 2), box(15, 5.5f, 2, 2),
                polygon({{0, 0},
                         {20, 0},
                         {20, 20},
                         {19, 20},
                         {19, 1},
                         {11, 1},
                         {11, 15},
                         {9, 15},
                         {9, 1},
                         {1, 1},
                         {1, 20},
                         {0, 20}})});
  EXPECT_EQ(graph.obstacles.getCount(), 3);
  EXPECT_FALSE(joined(graph, {5, 7}, {15, 5.5f}));
  EXPECT_TRUE(joined(graph, {5, 7}, {9, 15}));
}

TEST_F(KX_VisibilityGraphBuildTest, ASecondBuildReplacesTheFirstAndNoObstacleLeavesNoGraph) {
  KX_VisibilityGraph graph, fresh;
  build(graph, {box(0, 0, 2, 2), box(5, 1, 2, 2), box(1, 6, 3, 1)});
  graph.setPathCacheCapacity(10);
  KX_IntArray path;
  graph.findCachedPath(path, 0, 5);
  graph.dynamicTree = new QV_QuadTree(KX_AABox2D(0, 0, 10, 10), 2, 0);
  build(graph, {box(0.5f, 0.5f, 1, 1), box(3, 3, 1, 2)});
  build(fresh, {box(0.5f, 0.5f, 1, 1), box(3, 3, 1, 2)});
  ASSERT_EQ(graph.nodeCount, fresh.nodeCount);
  for (int r = 0; r < graph.nodeCount; ++r) {
    EXPECT_EQ(graph.vertices.at(r), fresh.vertices.at(r));
    for (int c = 0; c < graph.nodeCount; ++c) {
      EXPECT_EQ(graph.hasEdge(r, c), fresh.hasEdge(r, c));
      EXPECT_TRUE(graph.edgeWeights.at(c, r) == fresh.edgeWeights.at(c, r) || !graph.hasEdge(r, c));
    }
  }
  EXPECT_EQ(graph.pathCache.getCount(), 0);
  EXPECT_EQ(graph.dynamicTree, nullptr);
  EXPECT_TRUE(graph.staticTree->validate());
  EXPECT_EQ(graph.staticTree->objectCount, 2);

  build(graph, {});
  EXPECT_EQ(graph.nodeCount, 0);
  EXPECT_EQ(graph.obstacles.getCount(), 0);
  EXPECT_EQ(graph.staticTree, nullptr);
}

TEST_F(KX_VisibilityGraphBuildTest, DegenerateInputEndsInAValidGraph) {
  std::unique_ptr<KX_Polygon2D> pointBorder(polygon({{1, 1}, {1, 1}, {1, 1}}));
  for (const KX_Polygon2D* border : {static_cast<KX_Polygon2D*>(nullptr), pointBorder.get()}) {
    for (float inflation : {0.0f, 1.0f}) {
      KX_VisibilityGraph graph;
      // Levels below 1 count as 1.
      build(graph,
            {polygon({{NAN, 0}, {20, 0}, {20, 3}, {INFINITY, 5}}), box(5, 5, 0, 3), polygon({{8, 8}}),
             polygon({{12, 12}, {14, 12}}), polygon({{2, 9}, {2, 9}, {2, 9}}), polygon({{NAN, NAN}}), box(10, 0, 2, 2)},
            inflation, border, 0);
      for (int node = 0; node < graph.nodeCount; ++node) {
        EXPECT_TRUE(std::isfinite(graph.vertices.at(node).x) && std::isfinite(graph.vertices.at(node).y));
      }
      EXPECT_TRUE(border != nullptr ? graph.nodeCount == 0 : graph.nodeCount > 4) << graph.nodeCount;
      EXPECT_EQ(graph.staticTree->getLevelCount(), 1);
    }
  }
}

// The segment from a to b passes through the open box, some way in from its
// outline: the middle of the part within the box's slabs lies inside.
bool passesThrough(KX_Point2D a, KX_Point2D b, double x0, double y0, double x1, double y1) {
  double t0 = 0, t1 = 1;
  double from[2] = {a.x, a.y}, along[2] = {double(b.x) - a.x, double(b.y) - a.y}, low[2] = {x0, y0}, high[2] = {x1, y1};
  for (int axis = 0; axis < 2; ++axis) {
    if (along[axis] == 0) {
      if (from[axis] <= low[axis] || from[axis] >= high[axis]) return false;
      continue;
    }
    double ta = (low[axis] - from[axis]) / along[axis], tb = (high[axis] - from[axis]) / along[axis];
    t0 = std::max(t0, std::min(ta, tb));
    t1 = std::min(t1, std::max(ta, tb));
  }
  if (t0 >= t1) return false;
  double t = (t0 + t1) / 2, mx = a.x + t * along[0], my = a.y + t * along[1];
  return mx > x0 + 1e-4 && mx < x1 - 1e-4 && my > y0 + 1e-4 && my < y1 - 1e-4;
}

// Maps of boxes that lie apart or cross in pairs, none with a side on the
// line of another's: there the merge and visibility rules are exact, and no
// edge may pass through an inflated box.
TEST_F(KX_VisibilityGraphBuildTest, NoEdgeOfARandomBoxMapPassesThroughAnObstacle) {
  std::mt19937 random(3);
  std::uniform_real_distribution<float> unit(0.0f, 1.0f);
  const float inflation = 1.0f;
  for (int map = 0; map < 12; ++map) {
    std::vector<std::vector<KX_AABox2D>> clusters;
    for (int attempt = 0; attempt < 200 && clusters.size() < 25; ++attempt) {
      std::vector<KX_AABox2D> cluster{
          KX_AABox2D(unit(random) * 180, unit(random) * 180, 3 + unit(random) * 15, 3 + unit(random) * 15)};
      const KX_AABox2D& b = cluster[0];
      if (attempt % 4 == 0) {
        cluster.push_back(KX_AABox2D(b.x + b.width * (0.2f + 0.6f * unit(random)), b.y - 2 - unit(random) * 3,
                                     1 + unit(random) * 3, b.height + 4 + unit(random) * 3));
      }
      bool apart = true;
      for (auto& other : clusters) {
        for (auto& o : other) {
          for (auto& c : cluster)
            apart = apart && !KX_AABox2D(o.x - 3, o.y - 3, o.width + 6, o.height + 6).intersectsBox(c);
        }
      }
      if (apart) clusters.push_back(cluster);
    }
    KX_PolygonList2D list;
    std::vector<KX_AABox2D> inflated;
    for (auto& cluster : clusters) {
      for (auto& c : cluster) {
        list.append(box(c.x, c.y, c.width, c.height));
        inflated.push_back(
            KX_AABox2D(c.x - inflation, c.y - inflation, c.width + 2 * inflation, c.height + 2 * inflation));
      }
    }
    KX_VisibilityGraph graph;
    graph.build(list, inflation, 1 + map % 6, nullptr);
    ASSERT_TRUE(graph.validate());
    int edges = 0;
    for (int u = 0; u < graph.nodeCount; ++u) {
      for (int v = u + 1; v < graph.nodeCount; ++v) {
        if (!graph.hasEdge(u, v)) continue;
        ++edges;
        for (const KX_AABox2D& o : inflated) {
          ASSERT_FALSE(
              passesThrough(graph.vertices.at(u), graph.vertices.at(v), o.x, o.y, o.x + o.width, o.y + o.height))
              << "map " << map << ", edge " << u << " - " << v;
        }
      }
    }
    EXPECT_GT(edges, graph.nodeCount) << "map " << map;
  }
}

}  // namespace
