// Cost of one Dijkstra run over a dense graph of corners in the plane (each
// pair joined with a chance of one in three, weighted by distance), and of a
// query answered from the cache of shortest-path trees, for 250 to 1000 nodes.
#include <benchmark/benchmark.h>

#include <cmath>
#include <random>

#include "pathfinding/KX_VisibilityGraph.h"

namespace {

void fillGraph(KX_VisibilityGraph& graph, int n) {
  std::mt19937 random(1);
  std::uniform_real_distribution<float> coordinate(0, 1000);
  std::uniform_int_distribution<int> chance(0, 2);
  graph.setNodeCount(n);
  for (int i = 0; i < n; ++i) graph.vertices.append({coordinate(random), coordinate(random)});
  for (int a = 0; a < n; ++a) {
    for (int b = a + 1; b < n; ++b) {
      if (chance(random) != 0) continue;
      float dx = graph.vertices.at(b).x - graph.vertices.at(a).x;
      float dy = graph.vertices.at(b).y - graph.vertices.at(a).y;
      graph.addEdge(a, b, std::sqrt(dx * dx + dy * dy));
    }
  }
}

void dijkstraRun(benchmark::State& state) {
  KX_VisibilityGraph graph;
  int n = int(state.range(0));
  fillGraph(graph, n);
  KX_FloatArray distances;
  KX_IntArray previous;
  int source = 0;
  for (auto _ : state) {
    graph.computeShortestPaths(distances, previous, source);
    benchmark::DoNotOptimize(distances.getBuffer());
    source = (source + 1) % n;
  }
}
BENCHMARK(dijkstraRun)->Arg(250)->Arg(500)->Arg(1000)->Unit(benchmark::kMicrosecond);

void cachedQuery(benchmark::State& state) {
  KX_VisibilityGraph graph;
  int n = int(state.range(0));
  fillGraph(graph, n);
  graph.setPathCacheCapacity(600);
  KX_IntArray path;
  graph.findCachedPath(path, 0, 1);
  int target = 1;
  for (auto _ : state) {
    benchmark::DoNotOptimize(graph.findCachedPath(path, 0, target));
    target = target % (n - 1) + 1;
  }
}
BENCHMARK(cachedQuery)->Arg(250)->Arg(500)->Arg(1000)->Unit(benchmark::kMicrosecond);

}  // namespace

BENCHMARK_MAIN();
