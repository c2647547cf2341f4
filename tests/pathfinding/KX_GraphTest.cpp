// KX_Graph: resizing, edges, degrees, node removal, node and edge objects, and
// Dijkstra against independent computations on random graphs.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <limits>
#include <random>
#include <vector>

#include "pathfinding/KX_Graph.h"
#include "pathfinding/KX_GraphObject.h"
#include "support/LiveBlockGuard.h"

namespace {

using KX_GraphTest = LiveBlockTest;

constexpr float kUnreached = std::numeric_limits<float>::max();

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
  std::uniform_int_distribution<int> weight(1, 3);
  graph.setNodeCount(n);
  for (int from = 0; from < n; ++from) {
    for (int to = 0; to < n; ++to) {
      if (from != to && chance(random) < density) graph.addEdge(from, to, float(weight(random)));
    }
  }
}

float weightOf(const KX_Graph& graph, int from, int to) {
  if (graph.flags & KX_Graph::kEdgeWeights) return graph.edgeWeights.at(to, from);
  return graph.hasEdge(from, to) ? 1.0f : NAN;
}

// Bellman-Ford in doubles.
std::vector<double> bellmanFord(const KX_Graph& graph, int source) {
  int n = graph.nodeCount;
  std::vector<double> distance(n, INFINITY);
  distance[source] = 0;
  for (int round = 0; round < n; ++round) {
    for (int u = 0; u < n; ++u) {
      for (int v = 0; v < n; ++v) {
        float w = weightOf(graph, u, v);
        if (!std::isnan(w) && distance[u] + w < distance[v]) distance[v] = distance[u] + w;
      }
    }
  }
  return distance;
}

// Dijkstra with a plain list as the open set: the smallest distance is taken,
// and among equal ones the node put in (or put in again) earliest.
std::vector<int> listDijkstraPrevious(const KX_Graph& graph, int source) {
  int n = graph.nodeCount;
  std::vector<double> distance(n, INFINITY);
  std::vector<int> previous(n, -1);
  std::vector<long> putAt(n, -1);  // -1: not in the list
  std::vector<bool> settled(n, false);
  long clock = 0;
  distance[source] = 0;
  putAt[source] = clock++;
  for (;;) {
    int u = -1;
    for (int v = 0; v < n; ++v) {
      if (putAt[v] < 0) continue;
      if (u < 0 || distance[v] < distance[u] || (distance[v] == distance[u] && putAt[v] < putAt[u])) u = v;
    }
    if (u < 0) break;
    putAt[u] = -1;
    settled[u] = true;
    for (int v = 0; v < n; ++v) {
      float w = weightOf(graph, u, v);
      if (std::isnan(w) || !(distance[u] + w < distance[v])) continue;
      distance[v] = distance[u] + w;
      previous[v] = u;
      if (!settled[v]) putAt[v] = clock++;
    }
  }
  return previous;
}

TEST_F(KX_GraphTest, DijkstraAgreesWithIndependentComputationsOnRandomGraphs) {
  std::mt19937 random(11);
  for (int round = 0; round < 60; ++round) {
    std::uint8_t flags = (round % 3 == 0) ? 0 : KX_Graph::kEdgeWeights;
    if (round % 2) flags |= KX_Graph::kDirected;
    KX_Graph graph(flags);
    int n = 1 + round % 23;
    fillRandomGraph(graph, random, n, round % 4 == 0 ? 0.08 : 0.3);
    int source = round % n;
    KX_FloatArray distances;
    KX_IntArray previous;
    graph.computeShortestPaths(distances, previous, source);
    std::vector<double> expected = bellmanFord(graph, source);
    std::vector<int> expectedPrevious = listDijkstraPrevious(graph, source);
    ASSERT_EQ(distances.getCount(), n);
    ASSERT_EQ(previous.getCount(), n);
    for (int v = 0; v < n; ++v) {
      if (std::isinf(expected[v])) {
        EXPECT_EQ(distances.at(v), kUnreached) << round << " node " << v;
      } else {
        EXPECT_EQ(distances.at(v), expected[v]) << round << " node " << v;
      }
      EXPECT_EQ(previous.at(v), expectedPrevious[v]) << round << " node " << v;
    }
    for (int target = 0; target < n; ++target) {
      KX_IntArray path;
      float length = graph.getPath(path, source, target, distances, previous);
      if (std::isinf(expected[target])) {
        EXPECT_EQ(path.getCount(), 0);
        EXPECT_EQ(length, 0.0f);
        continue;
      }
      ASSERT_GT(path.getCount(), 0) << round;
      EXPECT_EQ(path.at(0), source);
      EXPECT_EQ(path.at(path.getCount() - 1), target);
      double sum = 0;
      for (int k = 1; k < path.getCount(); ++k) sum += weightOf(graph, path.at(k - 1), path.at(k));
      EXPECT_EQ(sum, expected[target]) << round;
      EXPECT_EQ(length, expected[target]) << round;
    }
  }
}

TEST_F(KX_GraphTest, EqualRoutesKeepTheOneFoundFirstAndSettleByInsertionTime) {
  // 2 and 1 are both 1 away from 0, but 2 is put in when 0 settles and 1 only
  // when 3 does, so 2 settles first and gives 4 its predecessor; an open set
  // ordered by node index among equal distances would pick 1.
  KX_Graph graph(KX_Graph::kEdgeWeights);
  graph.setNodeCount(5);
  graph.addEdge(0, 2, 1);
  graph.addEdge(0, 3, 0.5f);
  graph.addEdge(3, 1, 0.5f);
  graph.addEdge(1, 4, 1);
  graph.addEdge(2, 4, 1);
  KX_IntArray path;
  EXPECT_EQ(graph.findShortestPath(path, 0, 4), 2.0f);
  ASSERT_EQ(path.getCount(), 3);
  EXPECT_EQ(path.at(1), 2);

  // A square 0-1-3 and 0-2-3: 1 is found first when 0 settles.
  KX_Graph square(0);
  square.setNodeCount(4);
  square.addEdge(0, 2, 0);
  square.addEdge(0, 1, 0);
  square.addEdge(1, 3, 0);
  square.addEdge(2, 3, 0);
  EXPECT_EQ(square.findShortestPath(path, 0, 3), 2.0f);
  ASSERT_EQ(path.getCount(), 3);
  EXPECT_EQ(path.at(1), 1);

  // Same node: the path is that node, the length 0. Other component: empty, 0.
  EXPECT_EQ(square.findShortestPath(path, 2, 2), 0.0f);
  ASSERT_EQ(path.getCount(), 1);
  EXPECT_EQ(path.at(0), 2);
  square.setNodeCount(6);
  square.addEdge(4, 5, 1);
  EXPECT_EQ(square.findShortestPath(path, 0, 5), 0.0f);
  EXPECT_EQ(path.getCount(), 0);
  EXPECT_EQ(square.findShortestPath(path, 9, 0), 0.0f);  // a source out of range reaches nothing
  EXPECT_EQ(path.getCount(), 0);
}

TEST_F(KX_GraphTest, NodeCountChangesKeepCellsAndClearWhatIsNew) {
  KX_Graph graph(KX_Graph::kEdgeWeights | KX_Graph::kNodeWeights);
  graph.setNodeCount(8);
  for (int r = 0; r < 8; ++r) {
    for (int c = 0; c < 8; ++c) graph.addEdge(r, c, float(r * 8 + c));
  }
  graph.setNodeCount(5);
  graph.setNodeCount(11);
  EXPECT_EQ(graph.nodeWeights.getCount(), 11);
  for (int r = 0; r < 11; ++r) {
    for (int c = 0; c < 11; ++c) {
      bool kept = r < 5 && c < 5;
      // The spare bits of the old last byte held edges to nodes 5 to 7.
      EXPECT_EQ(graph.hasEdge(r, c), kept) << r << ", " << c;
      if (kept) {
        // Undirected: the later addEdge of the pair wrote both cells.
        EXPECT_EQ(graph.edgeWeights.at(c, r), float(std::max(r, c) * 8 + std::min(r, c)));
      } else {
        EXPECT_TRUE(std::isnan(graph.edgeWeights.at(c, r))) << r << ", " << c;
      }
    }
  }
  // The diagonal bit doesn't count as a degree; undirected edges count both ways.
  EXPECT_EQ(graph.getOutDegree(2), 4);
  EXPECT_EQ(graph.getInDegree(2), 4);
  EXPECT_EQ(graph.getOutDegree(7), 0);
  graph.setNodeCount(0);
  EXPECT_EQ(graph.nodeCount, 0);
  EXPECT_EQ(graph.edgeWeights.getElementCount(), 0);
  EXPECT_EQ(graph.adjacency.getHeight(), 0);
  EXPECT_EQ(graph.nodeWeights.getCount(), 0);

  KX_Graph directed(KX_Graph::kDirected);
  directed.setNodeCount(3);
  directed.addEdge(0, 1, 5);
  directed.addEdge(2, 1, 5);
  EXPECT_EQ(directed.getOutDegree(0), 1);
  EXPECT_EQ(directed.getInDegree(0), 0);
  EXPECT_EQ(directed.getInDegree(1), 2);
  EXPECT_EQ(directed.edgeWeights.getElementCount(), 0);  // no weights selected
}

TEST_F(KX_GraphTest, RemoveNodeShiftsHigherIndicesAgainstACopy) {
  std::mt19937 random(4);
  for (int round = 0; round < 40; ++round) {
    KX_Graph graph(round % 2 ? KX_Graph::kEdgeWeights | KX_Graph::kDirected : KX_Graph::kEdgeWeights);
    int n = 2 + round % 30;
    fillRandomGraph(graph, random, n, 0.4);
    KX_Graph before(0);
    before.copyFrom(&graph);
    int removed = round % n;
    graph.removeNode(removed);
    ASSERT_EQ(graph.nodeCount, n - 1);
    for (int r = 0; r < n - 1; ++r) {
      int oldR = r < removed ? r : r + 1;
      for (int c = 0; c < n - 1; ++c) {
        int oldC = c < removed ? c : c + 1;
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
    KX_Graph graph(KX_Graph::kNodeObjects | KX_Graph::kEdgeObjects);
    graph.setNodeCount(4);
    for (int node = 0; node < 4; ++node) graph.setNodeObject(node, new CountedGraphObject());
    CountedGraphObject* edge = new CountedGraphObject();
    graph.setEdgeObject(1, 3, edge);  // undirected: one object in both cells
    EXPECT_EQ(graph.getEdgeObject(3, 1), edge);
    EXPECT_EQ(edge->owner, &graph);
    graph.setEdgeObject(0, 1, new CountedGraphObject());
    EXPECT_EQ(CountedGraphObject::live, liveBefore + 6);

    KX_Graph copy(0);
    copy.copyFrom(&graph);
    EXPECT_EQ(CountedGraphObject::live, liveBefore + 6 + 4 + 4);  // each edge cell cloned apart
    EXPECT_EQ(copy.getNodeObject(2)->owner, &copy);

    graph.setNodeCount(3);  // node 3 and the edge 1-3 go
    EXPECT_EQ(CountedGraphObject::live, liveBefore + 14 - 2);
    EXPECT_EQ(graph.getEdgeObject(1, 0)->owner, &graph);
    graph.removeNode(0);  // its object and the edge 0-1
    EXPECT_EQ(CountedGraphObject::live, liveBefore + 12 - 2);

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
