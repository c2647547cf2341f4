// The free-segment check and the smoothing built on it, against the
// straightforward way: list every obstacle near a segment, try each, and
// take shortcuts by removing points from the path. Both must answer bit for
// bit alike on random maps, with dynamic obstacles, barriers and a border.
#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <memory>
#include <random>
#include <vector>

#include "pathfinding/KX_FreeSegmentCheck.h"
#include "pathfinding/KX_VisibilityGraph.h"
#include "qv_helper/qv_helper.h"
#include "support/LiveBlockGuard.h"
#include "support/ObstacleShapes.h"

namespace {

using KX_FreeSegmentCheckTest = LiveBlockTest;

// Free when no obstacle of the list query and the two point queries blocks.
bool listedSegmentIsFree(const QV_QuadTree* tree, const KX_LineSegment2D& segment) {
  if (tree == nullptr) return true;
  KX_ObjectArray candidates;
  KX_VisibilityGraph::getSegmentCandidates(*tree, segment, candidates);
  KX_PointSet2D points;
  for (int i = 0; i < candidates.getCount(); ++i) {
    if (KX_FreeSegmentCheck::blocks(*static_cast<KX_Polygon2D*>(candidates.at(i)), segment, points)) return false;
  }
  return true;
}

// Subdivision every `spacing`, then from each point the farthest later point
// a free line reaches, the points between removed.
void straightforwardSmoothing(KX_VisibilityGraph& graph, KX_Polygon2D& path, float spacing) {
  KX_Polygon2D dense;
  int n = path.getCount();
  for (int s = 0; s + 1 < n; ++s) {
    const KX_Point2D p = path.at(s);
    const KX_Point2D q = path.at(s + 1);
    dense.append(p);
    float dx = q.x - p.x;
    float dy = q.y - p.y;
    float length = std::sqrt(dx * dx + dy * dy);
    if (!(length > spacing) || !std::isfinite(length)) continue;
    KX_Point2D unit{(q.x - p.x) / length, (q.y - p.y) / length};
    for (float t = 0.0f; t < length && dense.getCount() < 16384; t += spacing) {
      dense.append(KX_Point2D{p.x + unit.x * t, p.y + unit.y * t});
    }
  }
  if (n > 0) dense.append(path.at(n - 1));
  for (int i = 0; i < dense.getCount() - 1; ++i) {
    for (int j = dense.getCount() - 1; j >= i + 2; --j) {
      KX_LineSegment2D shortcut{dense.at(i), dense.at(j)};
      if (listedSegmentIsFree(graph.staticTree, shortcut) && listedSegmentIsFree(graph.dynamicTree, shortcut)) {
        dense.removeRange(i + 1, j - i - 1);
        break;
      }
    }
  }
  dense.simplify(false);
  path.copyFrom(&dense);
}

std::vector<KX_Point2D> pointsOf(const KX_Polygon2D& path) {
  std::vector<KX_Point2D> result;
  for (int i = 0; i < path.getCount(); ++i) result.push_back(path.at(i));
  return result;
}

bool sameBits(const std::vector<KX_Point2D>& a, const std::vector<KX_Point2D>& b) {
  return a.size() == b.size() && (a.empty() || std::memcmp(a.data(), b.data(), a.size() * sizeof(KX_Point2D)) == 0);
}

// A map of `count` random boxes and triangles in a 300 x 300 world.
void buildRandomMap(KX_VisibilityGraph& graph, std::mt19937& random, int count, const KX_Polygon2D* border) {
  std::uniform_real_distribution<float> place(0.0f, 290.0f), side(3.0f, 25.0f);
  KX_PolygonList2D list;
  for (int i = 0; i < count; ++i) {
    float x = place(random), y = place(random), w = side(random), h = side(random);
    list.append(i % 3 ? box(x, y, w, h) : polygon({{x, y}, {x + w, y + h / 3}, {x + w / 3, y + h}}));
  }
  graph.build(list, 1.0f, 5, border);
  graph.setPathCacheCapacity(graph.nodeCount);
}

TEST_F(KX_FreeSegmentCheckTest, AgreesWithTryingEveryListedObstacle) {
  std::mt19937 random(31);
  std::uniform_real_distribution<float> place(-10.0f, 310.0f);
  KX_VisibilityGraph graph;
  buildRandomMap(graph, random, 60, nullptr);
  const KX_PolygonList2D& obstacles = graph.obstacles;
  // Ends on corners, on edges and anywhere; runs of ends from one start.
  auto pick = [&](int kind) {
    const KX_Polygon2D& p = *obstacles.getPolygon(int(random() % unsigned(obstacles.getCount())));
    KX_LineSegment2D edge = p.getEdge(int(random() % unsigned(p.getCount())));
    if (kind == 0) return edge.start;
    if (kind == 1) return KX_Point2D{(edge.start.x + edge.end.x) * 0.5f, (edge.start.y + edge.end.y) * 0.5f};
    return KX_Point2D{place(random), place(random)};
  };
  int free = 0, blocked = 0;
  for (int run = 0; run < 60; ++run) {
    KX_FreeSegmentCheck check(graph.staticTree);
    KX_Point2D start = pick(run % 3);
    for (int k = 0; k < 40; ++k) {
      KX_LineSegment2D segment{k % 10 == 9 ? pick(2) : start, pick(k % 3)};
      bool expected = listedSegmentIsFree(graph.staticTree, segment);
      ASSERT_EQ(check.isFree(segment), expected) << "run " << run << ", segment " << k;
      ASSERT_EQ(KX_VisibilityGraph::isSegmentFree(graph.staticTree, segment), expected);
      (expected ? free : blocked)++;
    }
  }
  EXPECT_GT(free, 100);
  EXPECT_GT(blocked, 200);
  KX_FreeSegmentCheck withoutTree(nullptr);
  EXPECT_TRUE(withoutTree.isFree({{0, 0}, {300, 300}}));
}

TEST_F(KX_FreeSegmentCheckTest, QueriesAnswerAsWithTheStraightforwardSmoothing) {
  std::mt19937 random(47);
  std::uniform_real_distribution<float> place(-10.0f, 310.0f), side(3.0f, 20.0f);
  KX_Polygon2D border;
  for (KX_Point2D corner : {KX_Point2D{10, 5}, {290, 20}, {280, 160}, {170, 150}, {190, 295}, {15, 280}}) {
    border.append(corner);
  }
  int compared = 0, longPaths = 0;
  for (int map = 0; map < 3; ++map) {
    KX_VisibilityGraph graph;
    buildRandomMap(graph, random, 50, map == 2 ? &border : nullptr);
    if (map > 0) {
      // Dynamic obstacles, every third a barrier.
      for (int i = 0; i < 8; ++i) {
        float x = place(random), y = place(random), w = side(random), h = side(random);
        std::unique_ptr<KX_Polygon2D> obstacle(box(x, y, w, h));
        graph.addDynamicObstacle(*obstacle, nullptr, i % 3 == 2);
      }
    }
    for (int q = 0; q < 120; ++q) {
      KX_Point2D from{place(random), place(random)}, to{place(random), place(random)};
      float result[2 * 512];
      int n = FindPath_findPath(&graph, result, 512, from.x, from.y, to.x, to.y);
      std::vector<KX_Point2D> actual(size_t(n > 0 ? n : 0));
      if (n > 0) std::memcpy(actual.data(), result, sizeof(float) * 2 * size_t(n));

      // The same stages, with the straightforward smoothing.
      std::vector<KX_Point2D> expected;
      graph.moveEndsOutOfObstacles(from, to, 0.15f, true);
      KX_Polygon2D path;
      if (graph.findGraphPath(path, from, to) &&
          (graph.dynamicObstacles.getCount() == 0 || graph.avoidDynamicObstacles(path, 200))) {
        straightforwardSmoothing(graph, path, 2.0f);
        if (graph.confinePathToBorder(path)) expected = pointsOf(path);
      }
      EXPECT_TRUE(sameBits(actual, expected)) << "map " << map << ", query " << q;
      ++compared;
      longPaths += n >= 4;
    }
  }
  EXPECT_EQ(compared, 360);
  EXPECT_GT(longPaths, 40);
}

}  // namespace
