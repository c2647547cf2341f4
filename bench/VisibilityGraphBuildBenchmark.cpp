// Time of a whole visibility graph build in a 1000 x 1000 world with
// inflation 1: maps of 50, 200 and 500 random boxes (sides 5 to 30) and of
// 100 random star-shaped polygons of 8 to 16 points (radii 10 to 40). The
// counters give the obstacles left after merging, the nodes and the edges.
#include <benchmark/benchmark.h>

#include "BenchMaps.h"
#include "pathfinding/KX_VisibilityGraph.h"

namespace {

int countEdges(const KX_VisibilityGraph& graph) {
  int edges = 0;
  for (int node = 0; node < graph.nodeCount; ++node) edges += graph.getOutDegree(node);
  return edges / 2;
}

void runBuilds(benchmark::State& state, const KX_PolygonList2D& map) {
  KX_VisibilityGraph graph;
  for (auto _ : state) {
    graph.build(map, kInflation, kTreeLevels, nullptr);
    benchmark::DoNotOptimize(graph.nodeCount);
  }
  state.counters["obstacles"] = graph.obstacles.getCount();
  state.counters["nodes"] = graph.nodeCount;
  state.counters["edges"] = countEdges(graph);
}

void buildFromBoxes(benchmark::State& state) {
  KX_PolygonList2D map;
  makeBoxes(map, int(state.range(0)));
  runBuilds(state, map);
}
BENCHMARK(buildFromBoxes)->Arg(50)->Arg(200)->Arg(500)->Unit(benchmark::kMillisecond);

void buildFromPolygons(benchmark::State& state) {
  KX_PolygonList2D map;
  makePolygons(map, int(state.range(0)));
  runBuilds(state, map);
}
BENCHMARK(buildFromPolygons)->Arg(100)->Unit(benchmark::kMillisecond);

}  // namespace

BENCHMARK_MAIN();
