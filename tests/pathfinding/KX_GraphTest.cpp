// KX_Graph: Dijkstra against independent computations on random graphs,
// equal routes, resizing, node removal, and node and edge objects.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <limits>
#include <random>
#include <tuple>
#include <vector>

#include "pathfinding/KX_Graph.h"
#include "pathfinding/KX_GraphObject.h"
#include "support/LiveBlockGuard.h"

namespace {

using KX_GraphTest = LiveBlockTest;

class CountedGraphObject : public KX_GraphObject {
 public:
  CountedGraphObject() { ++live; }
  ~CountedGraphObject() override { --live; }
  KX_Base* newInstance() const override { return new CountedGraphObject(); }
  static inline int live = 0;
};

// Small whole weights: sums are exact, and equal routes are common.
void fillRandomGraph(KX_Graph& graph, std::mt19937& random, int n, double density) {
  std::uniform_real_distribution<double> chance(0, 1);
  graph.setNodeCount(n);
  for (int from = 0; from < n; ++from) {
    for (int to = 0; to < n; ++to) {
      if (from != to && chance(random) < density) graph.addEdge(from, to, float(1 + random() % 3));
    }
  }
}

double weightOf(const KX_Graph& graph, int from, int to) {
  if (!graph.hasEdge(from, to)) return NAN;
  return (graph.flags & KX_Graph::kEdgeWeights) ? graph.edgeWeights.at(to, from) : 1.0;
}

// Dijkstra with a plain list as the open set: the smallest distance first,
// among equal ones the node put in (or put in again) earliest.
void listDijkstra(const KX_Graph& graph, int source, std::vector<double>& distance, std::vector<int>& previous) {
  int n = graph.nodeCount;
  distance.assign(n, INFINITY);
  previous.assign(n, -1);
  std::vector<long> putAt(n, -1);  // -1: not in the list
  std::vector<bool> settled(n, false);
  long clock = 0;
  distance[source] = 0;
  putAt[source] = clock++;
  for (int u = source; u >= 0;) {
    putAt[u] = -1;
    settled[u] = true;
    for (int v = 0; v < n; ++v) {
      double w = weightOf(graph, u, v);
      if (std::isnan(w) || !(distance[u] + w < distance[v])) continue;
      distance[v] = distance[u] + w;
      previous[v] = u;
      if (!settled[v]) putAt[v] = clock++;
    }
    u = -1;
    for (int v = 0; v < n; ++v) {
      if (putAt[v] >= 0 && (u < 0 || distance[v] < distance[u] || (distance[v] == distance[u] && putAt[v] < putAt[u])))
        u = v;
    }
  }
}

TEST_F(KX_GraphTest, DijkstraAgreesWithBellmanFordAndAListOfOpenNodes) {
  std::mt19937 random(11);
  for (int round = 0; round < 60; ++round) {
    KX_Graph graph(std::uint8_t((round % 3 ? KX_Graph::kEdgeWeights : 0) | (round % 2 ? KX_Graph::kDirected : 0)));
    int n = 1 + round % 23, source = round % n;
    fillRandomGraph(graph, random, n, round % 4 == 0 ? 0.08 : 0.3);
    KX_FloatArray distances;
    KX_IntArray previous, path;
    graph.computeShortestPaths(distances, previous, source);
    std::vector<double> bellmanFord(n, INFINITY), listDistance;
    std::vector<int> listPrevious;
    bellmanFord[source] = 0;
    for (int pass = 0; pass < n; ++pass) {
      for (int u = 0; u < n; ++u) {
        for (int v = 0; v < n; ++v) bellmanFord[v] = std::min(bellmanFord[v], bellmanFord[u] + weightOf(graph, u, v));
      }
    }
    listDijkstra(graph, source, listDistance, listPrevious);
    ASSERT_EQ(distances.getCount(), n);
    for (int v = 0; v < n; ++v) {
      bool reached = !std::isinf(bellmanFord[v]);
      EXPECT_EQ(distances.at(v), reached ? float(bellmanFord[v]) : std::numeric_limits<float>::max()) << round;
      EXPECT_EQ(previous.at(v), listPrevious[v]) << round << " node " << v;
      float length = graph.getPath(path, source, v, distances, previous);
      EXPECT_EQ(length, reached ? bellmanFord[v] : 0.0) << round;
      ASSERT_EQ(path.getCount() > 0, reached) << round;
      if (!reached) continue;
      double sum = 0;
      for (int k = 1; k < path.getCount(); ++k) sum += weightOf(graph, path.at(k - 1), path.at(k));
      EXPECT_EQ(sum, bellmanFord[v]) << round;
      EXPECT_TRUE(path.at(0) == source && path.at(path.getCount() - 1) == v) << round;
    }
  }
}

// The searches read a copy of the edges made by the first search after a
// change: every kind of change must reach the next search.
TEST_F(KX_GraphTest, SearchesSeeEveryChangeOfTheGraph) {
  std::mt19937 random(29);
  KX_Graph graph(KX_Graph::kEdgeWeights);
  fillRandomGraph(graph, random, 12, 0.25);
  auto agreesWithList = [&graph](int source) {
    KX_FloatArray distances;
    KX_IntArray previous;
    graph.computeShortestPaths(distances, previous, source);
    std::vector<double> listDistance;
    std::vector<int> listPrevious;
    listDijkstra(graph, source, listDistance, listPrevious);
    for (int v = 0; v < graph.nodeCount; ++v) {
      float expected = std::isinf(listDistance[v]) ? std::numeric_limits<float>::max() : float(listDistance[v]);
      if (distances.at(v) != expected || previous.at(v) != listPrevious[v]) return false;
    }
    return distances.getCount() == graph.nodeCount;
  };
  KX_IntArray path;
  ASSERT_TRUE(agreesWithList(0));
  float before = graph.findShortestPath(path, 0, 11);
  graph.addEdge(0, 11, 0.5f);  // a shortcut
  EXPECT_EQ(graph.findShortestPath(path, 0, 11), 0.5f);
  EXPECT_LT(0.5f, before == 0.0f ? 1.0f : before);
  EXPECT_TRUE(agreesWithList(0));
  graph.removeNode(3);
  EXPECT_TRUE(agreesWithList(0));
  EXPECT_TRUE(agreesWithList(5));
  graph.setNodeCount(14);  // two new nodes, joined to node 2
  graph.addEdge(2, 12, 1.0f);
  graph.addEdge(12, 13, 1.0f);
  EXPECT_TRUE(agreesWithList(2));
  EXPECT_EQ(graph.findShortestPath(path, 2, 13), 2.0f);
  graph.setNodeCount(6);  // down and up again: node 12 comes back without edges
  graph.setNodeCount(14);
  EXPECT_TRUE(agreesWithList(2));
  EXPECT_EQ(graph.findShortestPath(path, 2, 12), 0.0f);
  graph.setNodeCount(6);
  EXPECT_TRUE(agreesWithList(1));

  // A copy searches its own edges; a weight written into the matrix counts
  // once the copy of the edges is dropped.
  KX_Graph other(KX_Graph::kEdgeWeights);
  other.copyFrom(&graph);
  other.addEdge(0, 5, 4.0f);
  other.findShortestPath(path, 0, 5);
  other.edgeWeights.set(5, 0, 0.25f);
  other.edgeWeights.set(0, 5, 0.25f);
  other.dropSearchEdges();
  EXPECT_EQ(other.findShortestPath(path, 0, 5), 0.25f);
  EXPECT_TRUE(agreesWithList(0));
  EXPECT_NE(graph.findShortestPath(path, 0, 5), 0.25f);
  graph.copyFrom(&other);
  EXPECT_EQ(graph.findShortestPath(path, 0, 5), 0.25f);
  EXPECT_TRUE(agreesWithList(0));
  graph.setNodeCount(0);
  EXPECT_EQ(graph.findShortestPath(path, 0, 1), 0.0f);
}

TEST_F(KX_GraphTest, EqualRoutesKeepTheOneFoundFirstAndSettleByInsertionTime) {
  // 2 and 1 both lie 1 from 0, but 2 is put in when 0 settles and 1 only when
  // 3 does, so 2 settles first and becomes 4's predecessor.
  KX_Graph graph(KX_Graph::kEdgeWeights);
  graph.setNodeCount(5);
  for (auto [from, to, weight] : {std::tuple{0, 2, 1.0f}, {0, 3, 0.5f}, {3, 1, 0.5f}, {1, 4, 1.0f}, {2, 4, 1.0f}})
    graph.addEdge(from, to, weight);
  KX_IntArray path;
  EXPECT_EQ(graph.findShortestPath(path, 0, 4), 2.0f);
  ASSERT_EQ(path.getCount(), 3);
  EXPECT_EQ(path.at(1), 2);
  EXPECT_EQ(graph.findShortestPath(path, 2, 2), 0.0f);  // one node, length 0
  ASSERT_EQ(path.getCount(), 1);
  graph.setNodeCount(7);
  graph.addEdge(5, 6, 1);
  EXPECT_EQ(graph.findShortestPath(path, 0, 6), 0.0f);  // another component
  EXPECT_EQ(path.getCount(), 0);
}

TEST_F(KX_GraphTest, NodeCountChangesAndRemovalKeepCellsInPlace) {
  KX_Graph graph(KX_Graph::kEdgeWeights | KX_Graph::kNodeWeights);
  graph.setNodeCount(8);
  for (int r = 0; r < 8; ++r) {
    for (int c = r; c < 8; ++c) graph.addEdge(r, c, float(r * 8 + c));
  }
  graph.setNodeCount(5);
  graph.setNodeCount(11);  // the spare bits of the old last byte held edges to 5..7
  EXPECT_EQ(graph.nodeWeights.getCount(), 11);
  for (int r = 0; r < 11; ++r) {
    for (int c = 0; c < 11; ++c) {
      bool kept = r < 5 && c < 5;
      EXPECT_EQ(graph.hasEdge(r, c), kept) << r << ", " << c;
      float weight = graph.edgeWeights.at(c, r);
      EXPECT_TRUE(kept ? weight == std::min(r, c) * 8 + std::max(r, c) : std::isnan(weight)) << r << ", " << c;
    }
  }
  EXPECT_EQ(graph.getOutDegree(2), 4);  // not the diagonal
  EXPECT_EQ(graph.getInDegree(2), 4);
  graph.setNodeCount(0);
  EXPECT_TRUE(graph.edgeWeights.getElementCount() == 0 && graph.adjacency.getHeight() == 0);
  EXPECT_EQ(graph.nodeWeights.getCount(), 0);

  std::mt19937 random(4);
  for (int round = 0; round < 40; ++round) {
    KX_Graph graph(std::uint8_t(KX_Graph::kEdgeWeights | (round % 2 ? KX_Graph::kDirected : 0))), before(0);
    int n = 2 + round % 30, removed = round % n;
    fillRandomGraph(graph, random, n, 0.4);
    before.copyFrom(&graph);
    graph.removeNode(removed);
    ASSERT_EQ(graph.nodeCount, n - 1);
    for (int r = 0; r < n - 1; ++r) {
      for (int c = 0; c < n - 1; ++c) {
        int oldR = r + (r >= removed), oldC = c + (c >= removed);
        EXPECT_EQ(graph.hasEdge(r, c), before.hasEdge(oldR, oldC)) << round;
        float now = graph.edgeWeights.at(c, r), was = before.edgeWeights.at(oldC, oldR);
        EXPECT_TRUE(now == was || (std::isnan(now) && std::isnan(was))) << round;
      }
    }
  }
}

TEST_F(KX_GraphTest, NodeAndEdgeObjectsAreLetGoOfUnlessShared) {
  int liveBefore = CountedGraphObject::live;
  {
    KX_Graph graph(KX_Graph::kNodeObjects | KX_Graph::kEdgeObjects), copy(0);
    graph.setNodeCount(4);
    for (int node = 0; node < 4; ++node) graph.setNodeObject(node, new CountedGraphObject());
    CountedGraphObject* edge = new CountedGraphObject();
    graph.setEdgeObject(1, 3, edge);  // undirected: one object in both cells
    EXPECT_TRUE(graph.getEdgeObject(3, 1) == edge && edge->owner == &graph);
    graph.setEdgeObject(0, 1, new CountedGraphObject());
    copy.copyFrom(&graph);  // each edge cell is cloned apart
    EXPECT_EQ(CountedGraphObject::live, liveBefore + 6 + 8);
    EXPECT_EQ(copy.getNodeObject(2)->owner, &copy);
    graph.setNodeCount(3);  // node 3 and the edge 1-3 go
    graph.removeNode(0);    // node 0 and the edge 0-1 go
    EXPECT_EQ(CountedGraphObject::live, liveBefore + 10);
    graph.nodeObjectsShared = true;
    KX_GraphObject* kept = graph.getNodeObject(0);
    graph.removeNode(0);
    EXPECT_EQ(kept->owner, nullptr);
    EXPECT_EQ(CountedGraphObject::live, liveBefore + 10);
    delete kept;
    graph.nodeObjectsShared = false;  // the last node's object goes with the graph
  }
  EXPECT_EQ(CountedGraphObject::live, liveBefore);
}

}  // namespace
