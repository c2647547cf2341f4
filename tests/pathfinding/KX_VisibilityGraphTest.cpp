// The cache of shortest-path trees (hits, eviction by use count, capacity
// changes), path trees, and the consistency check of a visibility graph.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <random>

#include "pathfinding/KX_PathTree.h"
#include "pathfinding/KX_VisibilityGraph.h"
#include "support/LiveBlockGuard.h"

namespace {

using KX_VisibilityGraphTest = LiveBlockTest;

// Corners on a circle, each joined to its neighbours and to the one opposite.
void buildRing(KX_VisibilityGraph& graph, int n) {
  graph.setNodeCount(n);
  graph.vertices.clear();
  for (int i = 0; i < n; ++i) {
    double angle = 2 * M_PI * i / n;
    graph.vertices.append({float(10 * std::cos(angle)), float(10 * std::sin(angle))});
  }
  auto join = [&graph](int a, int b) {
    float dx = graph.vertices.at(b).x - graph.vertices.at(a).x;
    float dy = graph.vertices.at(b).y - graph.vertices.at(a).y;
    graph.addEdge(a, b, std::sqrt(dx * dx + dy * dy));
  };
  for (int i = 0; i < n; ++i) {
    join(i, (i + 1) % n);
    join(i, (i + n / 2) % n);
  }
  graph.sortedVertices.copyFrom(&graph.vertices);
  graph.sortedToNode.resize(n);
  graph.sortedVertices.sort(graph.sortedToNode.getBuffer());
}

std::vector<int> cachedSources(const KX_VisibilityGraph& graph) {
  std::vector<int> sources;
  for (int i = 0; i < graph.pathCache.getCount(); ++i) {
    sources.push_back(static_cast<KX_PathTree*>(graph.pathCache.at(i))->source);
  }
  return sources;
}

int useCountOf(const KX_VisibilityGraph& graph, int source) {
  for (int i = 0; i < graph.pathCache.getCount(); ++i) {
    auto* tree = static_cast<KX_PathTree*>(graph.pathCache.at(i));
    if (tree->source == source) return tree->useCount;
  }
  return -1;
}

TEST_F(KX_VisibilityGraphTest, CacheEvictsTheLeastUsedTreeAndTheLowestSourceAmongEquals) {
  KX_VisibilityGraph graph;
  buildRing(graph, 12);
  graph.setPathCacheCapacity(3);
  KX_IntArray path, fresh;
  for (int source : {7, 2, 2, 9}) graph.findCachedPath(path, source, 5);
  EXPECT_EQ(cachedSources(graph), (std::vector<int>{2, 7, 9}));
  EXPECT_EQ(useCountOf(graph, 2), 2);

  // Full: of the trees used once (7 and 9), the one at the lower index goes.
  graph.findCachedPath(path, 4, 5);
  EXPECT_EQ(cachedSources(graph), (std::vector<int>{2, 4, 9}));
  // A hit leaves the order alone and counts the use.
  float length = graph.findCachedPath(path, 9, 3);
  EXPECT_EQ(cachedSources(graph), (std::vector<int>{2, 4, 9}));
  EXPECT_EQ(useCountOf(graph, 9), 2);
  EXPECT_EQ(length, graph.findShortestPath(fresh, 9, 3));
  ASSERT_EQ(path.getCount(), fresh.getCount());
  for (int k = 0; k < path.getCount(); ++k) EXPECT_EQ(path.at(k), fresh.at(k));

  // Shrinking evicts the least used: 4 (once), then of 2 and 9 (twice each) 2.
  graph.setPathCacheCapacity(2);
  EXPECT_EQ(cachedSources(graph), (std::vector<int>{2, 9}));
  graph.setPathCacheCapacity(1);
  EXPECT_EQ(cachedSources(graph), (std::vector<int>{9}));
  graph.setPathCacheCapacity(0);
  EXPECT_EQ(graph.pathCache.getCount(), 0);
  EXPECT_EQ(graph.findCachedPath(path, 0, 6), 20.0f);  // straight across, no cache
  EXPECT_EQ(graph.pathCache.getCount(), 0);
}

TEST_F(KX_VisibilityGraphTest, CachedPathsEqualFreshOnesForEverySourceAndTarget) {
  KX_VisibilityGraph graph;
  buildRing(graph, 16);
  graph.setPathCacheCapacity(5);
  std::mt19937 random(2);
  std::uniform_int_distribution<int> node(0, 15);
  KX_IntArray path, fresh;
  for (int query = 0; query < 300; ++query) {
    int source = node(random), target = node(random);
    EXPECT_EQ(graph.findCachedPath(path, source, target), graph.findShortestPath(fresh, source, target));
    ASSERT_EQ(path.getCount(), fresh.getCount());
    for (int k = 0; k < path.getCount(); ++k) EXPECT_EQ(path.at(k), fresh.at(k));
    ASSERT_LE(graph.pathCache.getCount(), 5);
    std::vector<int> sources = cachedSources(graph);
    EXPECT_TRUE(std::is_sorted(sources.begin(), sources.end()));
  }
}

TEST_F(KX_VisibilityGraphTest, PathTreesOrderAndCopyBySource) {
  KX_PathTree a(3), b(-2);
  EXPECT_TRUE(b.isLess(&a));
  EXPECT_FALSE(a.isLess(&b));
  EXPECT_TRUE(a.isEqual(&a) && !a.isEqual(&b));
  a.distances.append(1.5f);
  a.previous.append(-1);
  a.useCount = 4;
  KX_Base* made = a.newInstance();
  auto* copy = static_cast<KX_PathTree*>(made);
  EXPECT_EQ(copy->source, 3);
  EXPECT_EQ(copy->distances.getCount(), 0);
  b.copyFrom(&a);
  EXPECT_EQ(b.source, 3);
  EXPECT_EQ(b.useCount, 4);
  EXPECT_EQ(b.distances.at(0), 1.5f);
  EXPECT_EQ(b.previous.at(0), -1);
  delete made;
}

TEST_F(KX_VisibilityGraphTest, ValidateNamesEachBrokenProperty) {
  KX_VisibilityGraph graph;
  buildRing(graph, 8);
  const char* problem = "unset";
  ASSERT_TRUE(graph.validate(&problem));
  EXPECT_EQ(problem, nullptr);
  EXPECT_EQ(graph.flags, KX_Graph::kEdgeWeights);

  auto expectProblem = [](KX_VisibilityGraph& broken, const char* expected) {
    const char* found = nullptr;
    EXPECT_FALSE(broken.validate(&found));
    EXPECT_STREQ(found, expected);
  };
  KX_VisibilityGraph copy;
  copy.copyFrom(&graph);
  EXPECT_TRUE(copy.validate());

  copy.edgeWeights.set(1, 0, copy.edgeWeights.at(1, 0) + 0.5f);
  expectProblem(copy, "weights are not symmetric");
  copy.edgeWeights.set(0, 1, copy.edgeWeights.at(1, 0));
  expectProblem(copy, "a weight is not its corners' distance");

  copy.copyFrom(&graph);
  copy.adjacency.setBit(4, 0, false);  // 0 to 4 goes, 4 to 0 stays
  expectProblem(copy, "adjacency is not symmetric");

  copy.copyFrom(&graph);
  copy.addEdge(0, 2, NAN);
  expectProblem(copy, "an edge without a weight, or a weight without an edge");

  copy.copyFrom(&graph);
  copy.sortedToNode.set(0, copy.sortedToNode.at(1));
  expectProblem(copy, "sortedToNode doesn't map sortedVertices to vertices");

  copy.copyFrom(&graph);
  copy.vertices.append({0, 0});
  expectProblem(copy, "vertex sets don't have one entry per node");

  copy.copyFrom(&graph);
  copy.setNodeCount(9);
  copy.vertices.append({50, 50});
  copy.sortedVertices.append({50, 50});
  copy.sortedToNode.append(8);
  expectProblem(copy, "a node has no edge");

  copy.copyFrom(&graph);
  copy.border.append({-5, -20});
  copy.border.append({20, -20});
  copy.border.append({20, 20});
  copy.border.append({-5, 20});
  expectProblem(copy, "a node lies outside the border");
  copy.border.set(0, {-20, -20});
  copy.border.set(3, {-20, 20});
  EXPECT_TRUE(copy.validate());
}

}  // namespace
