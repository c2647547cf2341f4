// Path queries on the maps of the graph build benchmark (50, 200 and 500
// boxes; 100 polygons), over 1000 random start and target pairs.
//
// Speed: each pair is timed alone, once with an empty path cache ("cold":
// every query runs a shortest-path search) and once after all pairs ran
// ("warm"). The counters give the median and the 95th percentile in
// microseconds, the shortest-path searches per 1000 queries, and the memory
// blocks a query takes on average.
//
// Quality: each path's length against the exact shortest path between the
// same (moved-out) ends around the same inflated obstacles, found here
// independently: a visibility graph over all obstacle corners and the two
// ends, its lines tested by the tests' own segment oracle in double
// precision, searched by Dijkstra. The counters give the median, the 95th
// percentile and the largest ratio over the queries that reached the target.
#include <benchmark/benchmark.h>

#include <algorithm>
#include <chrono>
#include <cmath>
#include <queue>
#include <random>
#include <utility>
#include <vector>

#include "BenchMaps.h"
#include "pathfinding/KX_VisibilityGraph.h"
#include "platform/kxsys.h"
#include "support/SegmentOracle.h"

namespace {

constexpr int kPairs = 1000;
constexpr float kEndStep = 0.15f;

struct Pair {
  KX_Point2D from, to;
};

std::vector<Pair> randomPairs() {
  std::mt19937 random(23);
  std::uniform_real_distribution<float> place(0.0f, kWorld);
  std::vector<Pair> pairs(kPairs);
  for (Pair& pair : pairs) pair = {{place(random), place(random)}, {place(random), place(random)}};
  return pairs;
}

// The query as the export runs it, into `path`; false if there is none.
bool runQuery(KX_VisibilityGraph& graph, KX_Point2D from, KX_Point2D to, KX_Polygon2D& path) {
  graph.moveEndsOutOfObstacles(from, to, kEndStep, true);
  if (!graph.findGraphPath(path, from, to)) return false;
  graph.smoothPath(path, 2.0f, true);
  return graph.confinePathToBorder(path);
}

double percentile(std::vector<double> values, double fraction) {
  if (values.empty()) return 0.0;
  std::sort(values.begin(), values.end());
  size_t index = size_t(fraction * double(values.size() - 1) + 0.5);
  return values[index];
}

// Times every pair once; `coldCache` empties the cache before each. Adds
// the blocks the queries took to `blocks`.
std::vector<double> timeQueries(KX_VisibilityGraph& graph, const std::vector<Pair>& pairs, bool coldCache,
                                long long& blocks) {
  std::vector<double> micros;
  for (const Pair& pair : pairs) {
    if (coldCache) graph.clearPathCache();
    long long blocksBefore = KX_getAllocationCount();
    auto start = std::chrono::steady_clock::now();
    KX_Polygon2D path;
    bool found = runQuery(graph, pair.from, pair.to, path);
    auto stop = std::chrono::steady_clock::now();
    blocks += KX_getAllocationCount() - blocksBefore;
    benchmark::DoNotOptimize(found);
    micros.push_back(std::chrono::duration<double, std::micro>(stop - start).count());
  }
  return micros;
}

void querySpeed(benchmark::State& state, bool boxes) {
  KX_VisibilityGraph graph;
  buildMap(graph, boxes, int(state.range(0)));
  const std::vector<Pair> pairs = randomPairs();
  std::vector<double> cold, warm;
  long long coldRuns = 0, warmRuns = 0, coldBlocks = 0, warmBlocks = 0, fillBlocks = 0;
  for (auto _ : state) {
    long long before = graph.shortestPathRuns;
    cold = timeQueries(graph, pairs, true, coldBlocks);
    coldRuns = graph.shortestPathRuns - before;
    timeQueries(graph, pairs, false, fillBlocks);  // fills the cache
    before = graph.shortestPathRuns;
    warm = timeQueries(graph, pairs, false, warmBlocks);
    warmRuns = graph.shortestPathRuns - before;
  }
  state.counters["nodes"] = graph.nodeCount;
  state.counters["cold_median_us"] = percentile(cold, 0.5);
  state.counters["cold_p95_us"] = percentile(cold, 0.95);
  state.counters["cold_searches"] = double(coldRuns);
  state.counters["warm_median_us"] = percentile(warm, 0.5);
  state.counters["warm_p95_us"] = percentile(warm, 0.95);
  state.counters["warm_searches"] = double(warmRuns);
  state.counters["cold_blocks"] = double(coldBlocks) / double(pairs.size());
  state.counters["warm_blocks"] = double(warmBlocks) / double(pairs.size());
}

void querySpeedBoxes(benchmark::State& state) {
  querySpeed(state, true);
}
void querySpeedPolygons(benchmark::State& state) {
  querySpeed(state, false);
}
BENCHMARK(querySpeedBoxes)->Arg(50)->Arg(200)->Arg(500)->Iterations(1)->Unit(benchmark::kMillisecond);
BENCHMARK(querySpeedPolygons)->Arg(100)->Iterations(1)->Unit(benchmark::kMillisecond);

// The exact shortest way around the obstacles, by a visibility graph of
// every corner; corner-to-corner lines are found once per map.
class ExactPaths {
 public:
  explicit ExactPaths(const KX_PolygonList2D& obstacles) : obstacles(obstacles) {
    for (int o = 0; o < obstacles.getCount(); ++o) {
      const KX_Polygon2D& polygon = *obstacles.getPolygon(o);
      for (int i = 0; i < polygon.getCount(); ++i) corners.push_back(polygon.at(i));
    }
    lines.resize(corners.size());
    for (size_t a = 0; a < corners.size(); ++a) {
      for (size_t b = a + 1; b < corners.size(); ++b) {
        if (!isFree(corners[a], corners[b])) continue;
        double d = distance(corners[a], corners[b]);
        lines[a].push_back({int(b), d});
        lines[b].push_back({int(a), d});
      }
    }
  }

  double shortest(const KX_Point2D& from, const KX_Point2D& to) const {
    if (isFree(from, to)) return distance(from, to);
    // Nodes: the corners, then from, then to.
    const int n = int(corners.size());
    std::vector<std::pair<int, double>> fromLines, toLines;
    for (int c = 0; c < n; ++c) {
      if (isFree(from, corners[c])) fromLines.push_back({c, distance(from, corners[c])});
      if (isFree(corners[c], to)) toLines.push_back({c, distance(corners[c], to)});
    }
    std::vector<double> toTarget(n, -1.0);
    for (auto [c, d] : toLines) toTarget[c] = d;
    std::vector<double> best(n, INFINITY);
    using Entry = std::pair<double, int>;
    std::priority_queue<Entry, std::vector<Entry>, std::greater<Entry>> queue;
    for (auto [c, d] : fromLines) {
      best[c] = d;
      queue.push({d, c});
    }
    double answer = INFINITY;
    while (!queue.empty()) {
      auto [d, c] = queue.top();
      queue.pop();
      if (d > best[c] || d >= answer) continue;
      if (toTarget[c] >= 0) answer = std::min(answer, d + toTarget[c]);
      for (auto [next, w] : lines[c]) {
        if (d + w < best[next]) {
          best[next] = d + w;
          queue.push({d + w, next});
        }
      }
    }
    return answer;
  }

 private:
  static double distance(const KX_Point2D& a, const KX_Point2D& b) {
    return std::hypot(double(b.x) - a.x, double(b.y) - a.y);
  }

  bool isFree(const KX_Point2D& a, const KX_Point2D& b) const {
    for (int o = 0; o < obstacles.getCount(); ++o) {
      const KX_Polygon2D& polygon = *obstacles.getPolygon(o);
      if (!boxMeets(polygon, a, b)) continue;
      if (cutsThrough(polygon, a, b, 1e-4)) return false;
    }
    return true;
  }

  static bool boxMeets(const KX_Polygon2D& polygon, const KX_Point2D& a, const KX_Point2D& b) {
    float minX = INFINITY, minY = INFINITY, maxX = -INFINITY, maxY = -INFINITY;
    for (int i = 0; i < polygon.getCount(); ++i) {
      minX = std::min(minX, polygon.at(i).x), maxX = std::max(maxX, polygon.at(i).x);
      minY = std::min(minY, polygon.at(i).y), maxY = std::max(maxY, polygon.at(i).y);
    }
    return std::max(a.x, b.x) >= minX && std::min(a.x, b.x) <= maxX && std::max(a.y, b.y) >= minY &&
           std::min(a.y, b.y) <= maxY;
  }

  const KX_PolygonList2D& obstacles;
  std::vector<KX_Point2D> corners;
  std::vector<std::vector<std::pair<int, double>>> lines;
};

double lengthOf(const KX_Polygon2D& path) {
  double length = 0.0;
  for (int i = 0; i + 1 < path.getCount(); ++i) {
    length += std::hypot(double(path.at(i + 1).x) - path.at(i).x, double(path.at(i + 1).y) - path.at(i).y);
  }
  return length;
}

void pathQuality(benchmark::State& state, bool boxes) {
  KX_VisibilityGraph graph;
  buildMap(graph, boxes, int(state.range(0)));
  const std::vector<Pair> pairs = randomPairs();
  std::vector<double> ratios;
  int unreached = 0;
  for (auto _ : state) {
    ExactPaths exact(graph.obstacles);
    ratios.clear();
    unreached = 0;
    KX_Polygon2D path;
    for (const Pair& pair : pairs) {
      KX_Point2D from = pair.from, to = pair.to;
      graph.moveEndsOutOfObstacles(from, to, kEndStep, true);
      if (!runQuery(graph, pair.from, pair.to, path) || !(path.at(path.getCount() - 1) == to)) {
        ++unreached;
        continue;
      }
      double best = exact.shortest(from, to);
      if (std::isfinite(best) && best > 0.0) ratios.push_back(lengthOf(path) / best);
    }
  }
  state.counters["median_ratio"] = percentile(ratios, 0.5);
  state.counters["p95_ratio"] = percentile(ratios, 0.95);
  state.counters["max_ratio"] = ratios.empty() ? 0.0 : *std::max_element(ratios.begin(), ratios.end());
  state.counters["compared"] = double(ratios.size());
  state.counters["no_path"] = unreached;
}

void pathQualityBoxes(benchmark::State& state) {
  pathQuality(state, true);
}
void pathQualityPolygons(benchmark::State& state) {
  pathQuality(state, false);
}
BENCHMARK(pathQualityBoxes)->Arg(50)->Arg(200)->Arg(500)->Iterations(1)->Unit(benchmark::kMillisecond);
BENCHMARK(pathQualityPolygons)->Arg(100)->Iterations(1)->Unit(benchmark::kMillisecond);

}  // namespace

BENCHMARK_MAIN();
