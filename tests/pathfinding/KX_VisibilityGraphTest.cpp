// The cache of shortest-path trees (hits, eviction by use count, capacity
// changes) and the consistency check of a visibility graph.
#include <gtest/gtest.h>

#include <cmath>
#include <vector>

#include "pathfinding/KX_PathTree.h"
#include "pathfinding/KX_VisibilityGraph.h"
#include "support/LiveBlockGuard.h"

namespace {

using KX_VisibilityGraphTest = LiveBlockTest;

// n corners on a circle of radius 10, each joined to its neighbours and to the one opposite.
void buildRing(KX_VisibilityGraph& graph, int n) {
  graph.setNodeCount(n);
  for (int i = 0; i < n; ++i) {
    graph.vertices.append({float(10 * std::cos(2 * M_PI * i / n)), float(10 * std::sin(2 * M_PI * i / n))});
  }
  for (int i = 0; i < n; ++i) {
    for (int j : {(i + 1) % n, (i + n / 2) % n}) {
      float dx = graph.vertices.at(j).x - graph.vertices.at(i).x, dy = graph.vertices.at(j).y - graph.vertices.at(i).y;
      graph.addEdge(i, j, std::sqrt(dx * dx + dy * dy));
    }
  }
  graph.sortedVertices.copyFrom(&graph.vertices);
  graph.sortedToNode.resize(n);
  graph.sortedVertices.sort(graph.sortedToNode.getBuffer());
}

// Source and use count of each cached tree, in cache order.
std::vector<std::pair<int, int>> cache(const KX_VisibilityGraph& graph) {
  std::vector<std::pair<int, int>> trees;
  for (int i = 0; i < graph.pathCache.getCount(); ++i) {
    auto* tree = static_cast<KX_PathTree*>(graph.pathCache.at(i));
    trees.push_back({tree->source, tree->useCount});
  }
  return trees;
}

using Trees = std::vector<std::pair<int, int>>;

TEST_F(KX_VisibilityGraphTest, CacheEvictsTheLeastUsedTreeAndTheLowestSourceAmongEquals) {
  KX_VisibilityGraph graph;
  buildRing(graph, 12);
  graph.setPathCacheCapacity(3);
  KX_IntArray path, fresh;
  for (int source : {7, 2, 2, 9}) graph.findCachedPath(path, source, 5);
  EXPECT_EQ(cache(graph), (Trees{{2, 2}, {7, 1}, {9, 1}}));
  graph.findCachedPath(path, 4, 5);  // full: of 7 and 9, used once each, 7 goes
  EXPECT_EQ(cache(graph), (Trees{{2, 2}, {4, 1}, {9, 1}}));
  // A hit counts the use, keeps the order and gives the path that a fresh run gives.
  EXPECT_EQ(graph.findCachedPath(path, 9, 3), graph.findShortestPath(fresh, 9, 3));
  EXPECT_EQ(cache(graph), (Trees{{2, 2}, {4, 1}, {9, 2}}));
  ASSERT_EQ(path.getCount(), fresh.getCount());
  for (int k = 0; k < path.getCount(); ++k) EXPECT_EQ(path.at(k), fresh.at(k));
  graph.setPathCacheCapacity(2);
  EXPECT_EQ(cache(graph), (Trees{{2, 2}, {9, 2}}));
  graph.setPathCacheCapacity(1);
  EXPECT_EQ(cache(graph), (Trees{{9, 2}}));
  graph.setPathCacheCapacity(0);
  EXPECT_EQ(graph.findCachedPath(path, 0, 6), 20.0f);  // straight across, without a cache
  EXPECT_EQ(graph.pathCache.getCount(), 0);
}

TEST_F(KX_VisibilityGraphTest, ValidateNamesEachBrokenProperty) {
  KX_VisibilityGraph graph, copy;
  buildRing(graph, 8);
  const char* problem = "unset";
  ASSERT_TRUE(graph.validate(&problem));
  EXPECT_EQ(problem, nullptr);
  auto expectProblem = [&copy](const char* expected) {
    const char* found = nullptr;
    EXPECT_FALSE(copy.validate(&found));
    EXPECT_STREQ(found, expected);
  };
  copy.copyFrom(&graph);
  copy.edgeWeights.set(1, 0, copy.edgeWeights.at(1, 0) + 0.5f);
  expectProblem("weights are not symmetric");
  copy.edgeWeights.set(0, 1, copy.edgeWeights.at(1, 0));
  expectProblem("a weight is not its corners' distance");
  copy.copyFrom(&graph);
  copy.adjacency.setBit(4, 0, false);  // 0 to 4 goes, 4 to 0 stays
  expectProblem("adjacency is not symmetric");
  copy.copyFrom(&graph);
  copy.sortedToNode.set(0, copy.sortedToNode.at(1));
  expectProblem("sortedToNode doesn't map sortedVertices to vertices");
  copy.copyFrom(&graph);
  copy.setNodeCount(9);
  copy.vertices.append({50, 50});
  copy.sortedVertices.append({50, 50});
  copy.sortedToNode.append(8);
  expectProblem("a node has no edge");
  copy.copyFrom(&graph);
  for (KX_Point2D corner : {KX_Point2D{-5, -20}, {20, -20}, {20, 20}, {-5, 20}}) copy.border.append(corner);
  expectProblem("a node lies outside the border");
  copy.border.set(0, {-20, -20});
  copy.border.set(3, {-20, 20});
  EXPECT_TRUE(copy.validate());
}

}  // namespace
