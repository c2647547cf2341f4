// A fixed run of path queries to profile, and the memory blocks they take:
//
//   PathQueryProfile [boxes|polygons] [count] [cold|warm] [queries]
//
// (defaults: boxes 200 warm 1000). The map and the pairs are those of the
// query benchmark. "warm" runs every pair once to fill the path cache before
// the measured pass; "cold" empties the cache before each query. Only
// `measuredQueries` does the measured work, so that a profiler can count it
// alone:
//
//   valgrind --tool=callgrind --toggle-collect='*measuredQueries*'
//       build/release/bench/PathQueryProfile boxes 200 warm 200
//
// (one command line).
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <random>
#include <vector>

#include "BenchMaps.h"
#include "pathfinding/KX_VisibilityGraph.h"
#include "platform/kxsys.h"
#include "qv_helper/qv_helper.h"

namespace {

struct Pair {
  KX_Point2D from, to;
};

struct Totals {
  long long points = 0;
  long long allocations = 0;
};

// The benchmark's pairs: the same seed and the same draws.
std::vector<Pair> randomPairs(int count) {
  std::mt19937 random(23);
  std::uniform_real_distribution<float> place(0.0f, kWorld);
  std::vector<Pair> pairs(size_t(count > 0 ? count : 0));
  for (Pair& pair : pairs) pair = {{place(random), place(random)}, {place(random), place(random)}};
  return pairs;
}

__attribute__((noinline)) Totals runQueries(KX_VisibilityGraph& graph, const std::vector<Pair>& pairs, bool cold) {
  static float result[2 * 1024];
  Totals totals;
  for (const Pair& pair : pairs) {
    if (cold) graph.clearPathCache();
    long long before = KX_getAllocationCount();
    totals.points += FindPath_findPath(&graph, result, 1024, pair.from.x, pair.from.y, pair.to.x, pair.to.y);
    totals.allocations += KX_getAllocationCount() - before;
  }
  return totals;
}

// The pass a profiler counts; the warm-up pass calls runQueries directly.
__attribute__((noinline)) Totals measuredQueries(KX_VisibilityGraph& graph, const std::vector<Pair>& pairs, bool cold) {
  return runQueries(graph, pairs, cold);
}

}  // namespace

int main(int argc, char** argv) {
  bool boxes = argc <= 1 || std::strcmp(argv[1], "polygons") != 0;
  int count = argc > 2 ? std::atoi(argv[2]) : (boxes ? 200 : 100);
  bool cold = argc > 3 && std::strcmp(argv[3], "cold") == 0;
  int queries = argc > 4 ? std::atoi(argv[4]) : 1000;

  KX_VisibilityGraph graph;
  buildMap(graph, boxes, count);

  const std::vector<Pair> pairs = randomPairs(queries);
  // The warm run's cache is filled by the same pairs, and the polygons'
  // triangulations are made, outside the measured pass.
  runQueries(graph, pairs, false);
  long long searches = graph.shortestPathRuns;
  Totals totals = measuredQueries(graph, pairs, cold);
  searches = graph.shortestPathRuns - searches;
  std::printf("%s %d, %s cache, %d queries: %lld points, %lld shortest-path searches, %.1f blocks per query\n",
              boxes ? "boxes" : "polygons", count, cold ? "empty" : "warm", queries, totals.points, searches,
              queries > 0 ? double(totals.allocations) / queries : 0.0);
  return 0;
}
