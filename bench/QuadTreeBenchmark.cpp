// The quad tree against a brute-force scan and, where Boost's headers are
// installed (bench/install-bench-dependencies.sh), Boost.Geometry's R* R-tree: adding,
// moving and removing 10^5 objects, and box, circle and view-triangle list and
// nearest queries over small and medium areas, through the exported functions
// as a host calls them. The R-tree and the scan apply the same shape tests to
// the same boxes, so all three find the same objects ("found" per query).
#include <benchmark/benchmark.h>

#include <cmath>
#include <cstdio>
#include <map>
#include <random>
#include <string>
#include <vector>

#include "geometry/KX_Polygon2D.h"
#include "quadtree/KX_AABox2D.h"
#include "quadtree/KX_Circle.h"
#include "qv_helper/qv_helper.h"

#ifdef QV_HAVE_BOOST_RTREE
#include <boost/geometry.hpp>
#include <boost/geometry/index/rtree.hpp>
#endif

namespace {

constexpr float kWorld = 1024.0f;
constexpr int kLevels = 7;  // deepest cells of 8 x 8 units
constexpr int kQueriesPerIteration = 256;
constexpr float kHalfAngle = 0.5f;

struct Item {
  float x, y, w, h;
};

// Objects of 0.5 to 3 units, spread over the world; the host's pointers are
// addresses into `tags`, one byte per object.
struct Scene {
  std::vector<Item> items;
  std::vector<Item> moved;  // each item shifted by up to 2 units
  std::vector<char> tags;

  explicit Scene(int n) : tags(static_cast<size_t>(n)) {
    std::mt19937 random(static_cast<unsigned>(n));
    std::uniform_real_distribution<float> position(0.0f, kWorld - 3.0f), size(0.5f, 3.0f), shift(-2.0f, 2.0f);
    for (int i = 0; i < n; ++i) {
      Item item{position(random), position(random), size(random), size(random)};
      items.push_back(item);
      moved.push_back(
          Item{std::fmax(0.0f, item.x + shift(random)), std::fmax(0.0f, item.y + shift(random)), item.w, item.h});
    }
  }
  void* object(size_t i) { return &tags[i]; }
};

Scene& sceneOf(int n) {
  static std::map<int, Scene*> scenes;
  Scene*& scene = scenes[n];
  if (scene == nullptr) scene = new Scene(n);
  return *scene;
}

struct Query {
  float x, y;
  float directionX, directionY;
};

std::vector<Query> makeQueries(float side) {
  std::mt19937 random(99);
  std::uniform_real_distribution<float> position(0.0f, kWorld), angle(0.0f, 6.2831853f);
  std::vector<Query> queries;
  for (int i = 0; i < kQueriesPerIteration; ++i) {
    float a = angle(random);
    queries.push_back(Query{position(random), position(random), side * std::cos(a), side * std::sin(a)});
  }
  return queries;
}

enum Shape { kBox, kCircle, kTriangle };
const char* kShapeNames[] = {"Box", "Circle", "Triangle"};

// The view triangle of a query and its bounding box.
void viewTriangle(const Query& q, KX_Polygon2D& triangle, KX_AABox2D& area) {
  float reach = 1.0f / std::cos(kHalfAngle);
  float c = std::cos(kHalfAngle), s = std::sin(kHalfAngle);
  KX_Point2D p1{q.x + reach * (q.directionX * c - q.directionY * s),
                q.y + reach * (q.directionX * s + q.directionY * c)};
  KX_Point2D p2{q.x + reach * (q.directionX * c + q.directionY * s),
                q.y + reach * (-q.directionX * s + q.directionY * c)};
  triangle.clear();
  triangle.append(KX_Point2D{q.x, q.y});
  triangle.append(p1);
  triangle.append(p2);
  float minX = std::fmin(q.x, std::fmin(p1.x, p2.x)), minY = std::fmin(q.y, std::fmin(p1.y, p2.y));
  float maxX = std::fmax(q.x, std::fmax(p1.x, p2.x)), maxY = std::fmax(q.y, std::fmax(p1.y, p2.y));
  area = KX_AABox2D(minX, minY, maxX - minX, maxY - minY);
}

// The shape tests of the tree's queries, for the scan and the R-tree.
bool circleMeets(const KX_Circle& circle, const Item& o) {
  KX_AABox2D box(o.x, o.y, o.w, o.h);
  if (box.containsCircle(circle) || circle.containsBox(box)) return true;
  const KX_LineSegment2D edges[4] = {{{o.x, o.y}, {o.x, o.y + o.h}},
                                     {{o.x + o.w, o.y}, {o.x + o.w, o.y + o.h}},
                                     {{o.x, o.y}, {o.x + o.w, o.y}},
                                     {{o.x, o.y + o.h}, {o.x + o.w, o.y + o.h}}};
  for (const KX_LineSegment2D& edge : edges) {
    if (circle.intersectsSegment(edge, true)) return true;
  }
  return false;
}

bool triangleMeets(KX_Polygon2D& triangle, const Item& o, bool edgesCross) {
  const KX_Point2D corners[4] = {{o.x, o.y}, {o.x + o.w, o.y + o.h}, {o.x + o.w, o.y}, {o.x, o.y + o.h}};
  for (const KX_Point2D& corner : corners) {
    if (triangle.contains(corner)) return true;
  }
  bool all = true;
  for (int i = 0; i < 3; ++i) {
    float vx = triangle.at(i).x - o.x, vy = triangle.at(i).y - o.y;
    all = all && vx >= 0 && vx <= o.w && vy >= 0 && vy <= o.h;
  }
  return all || (edgesCross && triangle.intersectsBox(KX_AABox2D(o.x, o.y, o.w, o.h)));
}

// One query's area and shape test, shared by the scan and the R-tree.
struct Area {
  Shape shape;
  bool list;
  KX_AABox2D box;
  KX_Circle circle;
  KX_Polygon2D triangle;

  void set(const Query& q, float side) {
    if (shape == kBox) box = KX_AABox2D(q.x - side / 2, q.y - side / 2, side, side);
    if (shape == kCircle) {
      circle = KX_Circle(q.x, q.y, side / 2);
      box = KX_AABox2D(q.x - side / 2, q.y - side / 2, side, side);
    }
    if (shape == kTriangle) viewTriangle(q, triangle, box);
  }
  bool meets(const Item& o) {
    if (shape == kBox) return box.intersectsBox(KX_AABox2D(o.x, o.y, o.w, o.h));
    if (shape == kCircle) return circleMeets(circle, o);
    return triangleMeets(triangle, o, list);
  }
};

// Squared distance from the query point to the box centre, as the tree measures it.
float centreDistance(const Query& q, const Item& o) {
  float dx = o.x + o.w / 2.0f - q.x, dy = o.y + o.h / 2.0f - q.y;
  return dx * dx + dy * dy;
}

void quadTreeQuery(benchmark::State& state, Shape shape, bool list, float side) {
  int n = static_cast<int>(state.range(0));
  Scene& scene = sceneOf(n);
  void* tree = QuadTree_create(kWorld, kWorld, kLevels);
  for (int i = 0; i < n; ++i) {
    const Item& o = scene.items[static_cast<size_t>(i)];
    QuadTree_addObject(tree, scene.object(static_cast<size_t>(i)), o.x, o.y, o.w, o.h);
  }
  std::vector<Query> queries = makeQueries(side);
  std::vector<void*> result(static_cast<size_t>(n));
  long long found = 0;
  for (auto _ : state) {
    found = 0;
    for (const Query& q : queries) {
      float h = side / 2;
      if (list) {
        int count = 0;
        if (shape == kBox)
          count = QuadTree_getObjectListFromAABox(tree, result.data(), n, q.x - h, q.y - h, side, side, nullptr, 0,
                                                  nullptr, 0);
        if (shape == kCircle)
          count = QuadTree_getObjectListFromCircle(tree, result.data(), n, q.x, q.y, h, nullptr, 0, nullptr, 0);
        if (shape == kTriangle)
          count = QuadTree_getObjectListFromSegment(tree, result.data(), n, q.x, q.y, q.directionX, q.directionY,
                                                    kHalfAngle, nullptr, 0, nullptr, 0);
        found += count;
      } else {
        void* nearest = nullptr;
        if (shape == kBox)
          nearest =
              QuadTree_findNearestObjectInAABox(tree, q.x, q.y, q.x - h, q.y - h, side, side, nullptr, 0, nullptr, 0);
        if (shape == kCircle)
          nearest = QuadTree_findNearestObjectInCircle(tree, q.x, q.y, q.x, q.y, h, nullptr, 0, nullptr, 0);
        if (shape == kTriangle)
          nearest = QuadTree_findNearestObjectInSegment(tree, q.x, q.y, q.directionX, q.directionY, kHalfAngle, nullptr,
                                                        0, nullptr, 0);
        found += nearest != nullptr;
        benchmark::DoNotOptimize(nearest);
      }
    }
  }
  state.counters["found"] = double(found) / kQueriesPerIteration;
  state.SetItemsProcessed(state.iterations() * kQueriesPerIteration);
  QuadTree_delete(tree);
}

void bruteForceQuery(benchmark::State& state, Shape shape, bool list, float side) {
  Scene& scene = sceneOf(static_cast<int>(state.range(0)));
  std::vector<Query> queries = makeQueries(side);
  Area area{shape, list, {}, {}, {}};
  std::vector<void*> result;
  long long found = 0;
  for (auto _ : state) {
    found = 0;
    for (const Query& q : queries) {
      area.set(q, side);
      result.clear();
      void* nearest = nullptr;
      float best = 0;
      for (size_t i = 0; i < scene.items.size(); ++i) {
        const Item& o = scene.items[i];
        if (!area.meets(o)) continue;
        if (list) {
          result.push_back(scene.object(i));
        } else if (nearest == nullptr || centreDistance(q, o) < best) {
          nearest = scene.object(i);
          best = centreDistance(q, o);
        }
      }
      found += list ? static_cast<long long>(result.size()) : nearest != nullptr;
      benchmark::DoNotOptimize(nearest);
    }
  }
  state.counters["found"] = double(found) / kQueriesPerIteration;
  state.SetItemsProcessed(state.iterations() * kQueriesPerIteration);
}

void quadTreeAdd(benchmark::State& state) {
  Scene& scene = sceneOf(static_cast<int>(state.range(0)));
  for (auto _ : state) {
    state.PauseTiming();
    void* tree = QuadTree_create(kWorld, kWorld, kLevels);
    state.ResumeTiming();
    for (size_t i = 0; i < scene.items.size(); ++i) {
      const Item& o = scene.items[i];
      QuadTree_addObject(tree, scene.object(i), o.x, o.y, o.w, o.h);
    }
    state.PauseTiming();
    QuadTree_delete(tree);
    state.ResumeTiming();
  }
  state.SetItemsProcessed(state.iterations() * state.range(0));
}

void quadTreeMove(benchmark::State& state) {
  Scene& scene = sceneOf(static_cast<int>(state.range(0)));
  void* tree = QuadTree_create(kWorld, kWorld, kLevels);
  for (size_t i = 0; i < scene.items.size(); ++i) {
    const Item& o = scene.items[i];
    QuadTree_addObject(tree, scene.object(i), o.x, o.y, o.w, o.h);
  }
  bool forth = true;
  for (auto _ : state) {
    const std::vector<Item>& from = forth ? scene.items : scene.moved;
    const std::vector<Item>& to = forth ? scene.moved : scene.items;
    for (size_t i = 0; i < from.size(); ++i) {
      QuadTree_moveObject(tree, scene.object(i), from[i].x, from[i].y, from[i].w, from[i].h, to[i].x, to[i].y, to[i].w,
                          to[i].h);
    }
    forth = !forth;
  }
  state.SetItemsProcessed(state.iterations() * state.range(0));
  QuadTree_delete(tree);
}

// A frame of a game: every object moves a little, then a batch of small box
// queries runs. The queries pay for bringing up to date the cell bounds that
// the moves left stale, so this shows the whole cost of keeping them.
void quadTreeMoveThenQuery(benchmark::State& state) {
  int n = static_cast<int>(state.range(0));
  Scene& scene = sceneOf(n);
  void* tree = QuadTree_create(kWorld, kWorld, kLevels);
  for (size_t i = 0; i < scene.items.size(); ++i) {
    const Item& o = scene.items[i];
    QuadTree_addObject(tree, scene.object(i), o.x, o.y, o.w, o.h);
  }
  std::vector<Query> queries = makeQueries(16.0f);
  std::vector<void*> result(static_cast<size_t>(n));
  bool forth = true;
  for (auto _ : state) {
    const std::vector<Item>& from = forth ? scene.items : scene.moved;
    const std::vector<Item>& to = forth ? scene.moved : scene.items;
    for (size_t i = 0; i < from.size(); ++i) {
      QuadTree_moveObject(tree, scene.object(i), from[i].x, from[i].y, from[i].w, from[i].h, to[i].x, to[i].y, to[i].w,
                          to[i].h);
    }
    for (const Query& q : queries) {
      benchmark::DoNotOptimize(
          QuadTree_getObjectListFromAABox(tree, result.data(), n, q.x - 8, q.y - 8, 16, 16, nullptr, 0, nullptr, 0));
    }
    forth = !forth;
  }
  state.SetItemsProcessed(state.iterations() * state.range(0));
  QuadTree_delete(tree);
}

void quadTreeRemove(benchmark::State& state) {
  Scene& scene = sceneOf(static_cast<int>(state.range(0)));
  void* tree = QuadTree_create(kWorld, kWorld, kLevels);
  auto addAll = [&] {
    for (size_t i = 0; i < scene.items.size(); ++i) {
      const Item& o = scene.items[i];
      QuadTree_addObject(tree, scene.object(i), o.x, o.y, o.w, o.h);
    }
  };
  for (auto _ : state) {
    state.PauseTiming();
    addAll();
    state.ResumeTiming();
    for (size_t i = 0; i < scene.items.size(); ++i) {
      const Item& o = scene.items[i];
      QuadTree_removeObject(tree, scene.object(i), o.x, o.y, o.w, o.h);
    }
  }
  state.SetItemsProcessed(state.iterations() * state.range(0));
  QuadTree_delete(tree);
}

#ifdef QV_HAVE_BOOST_RTREE
namespace bg = boost::geometry;
namespace bgi = boost::geometry::index;
using RPoint = bg::model::point<float, 2, bg::cs::cartesian>;
using RBox = bg::model::box<RPoint>;
using RValue = std::pair<RBox, size_t>;
using RTree = bgi::rtree<RValue, bgi::rstar<16>>;

RValue valueOf(const Item& o, size_t i) {
  return RValue(RBox(RPoint(o.x, o.y), RPoint(o.x + o.w, o.y + o.h)), i);
}

void rtreeQuery(benchmark::State& state, Shape shape, bool list, float side) {
  Scene& scene = sceneOf(static_cast<int>(state.range(0)));
  std::vector<RValue> values;
  for (size_t i = 0; i < scene.items.size(); ++i) values.push_back(valueOf(scene.items[i], i));
  RTree rtree(values.begin(), values.end());  // packed: the R-tree's best query layout
  std::vector<Query> queries = makeQueries(side);
  Area area{shape, list, {}, {}, {}};
  std::vector<RValue> hits;
  std::vector<void*> result;
  long long found = 0;
  for (auto _ : state) {
    found = 0;
    for (const Query& q : queries) {
      area.set(q, side);
      RBox bounds(RPoint(area.box.x, area.box.y), RPoint(area.box.x + area.box.width, area.box.y + area.box.height));
      hits.clear();
      auto meets = [&](const RValue& v) { return area.meets(scene.items[v.second]); };
      rtree.query(bgi::intersects(bounds) && bgi::satisfies(meets), std::back_inserter(hits));
      if (list) {
        result.clear();
        for (const RValue& v : hits) result.push_back(scene.object(v.second));
        found += static_cast<long long>(result.size());
      } else {
        void* nearest = nullptr;
        float best = 0;
        for (const RValue& v : hits) {
          float d = centreDistance(q, scene.items[v.second]);
          if (nearest == nullptr || d < best) nearest = scene.object(v.second), best = d;
        }
        found += nearest != nullptr;
        benchmark::DoNotOptimize(nearest);
      }
    }
  }
  state.counters["found"] = double(found) / kQueriesPerIteration;
  state.SetItemsProcessed(state.iterations() * kQueriesPerIteration);
}

void rtreeInsert(benchmark::State& state) {
  Scene& scene = sceneOf(static_cast<int>(state.range(0)));
  for (auto _ : state) {
    RTree rtree;
    for (size_t i = 0; i < scene.items.size(); ++i) rtree.insert(valueOf(scene.items[i], i));
    state.PauseTiming();
    rtree.clear();
    state.ResumeTiming();
  }
  state.SetItemsProcessed(state.iterations() * state.range(0));
}

void rtreeMove(benchmark::State& state) {
  Scene& scene = sceneOf(static_cast<int>(state.range(0)));
  RTree rtree;
  for (size_t i = 0; i < scene.items.size(); ++i) rtree.insert(valueOf(scene.items[i], i));
  bool forth = true;
  for (auto _ : state) {
    const std::vector<Item>& from = forth ? scene.items : scene.moved;
    const std::vector<Item>& to = forth ? scene.moved : scene.items;
    for (size_t i = 0; i < from.size(); ++i) {
      rtree.remove(valueOf(from[i], i));
      rtree.insert(valueOf(to[i], i));
    }
    forth = !forth;
  }
  state.SetItemsProcessed(state.iterations() * state.range(0));
}

void rtreeRemove(benchmark::State& state) {
  Scene& scene = sceneOf(static_cast<int>(state.range(0)));
  for (auto _ : state) {
    state.PauseTiming();
    RTree rtree;
    for (size_t i = 0; i < scene.items.size(); ++i) rtree.insert(valueOf(scene.items[i], i));
    state.ResumeTiming();
    for (size_t i = 0; i < scene.items.size(); ++i) rtree.remove(valueOf(scene.items[i], i));
    state.PauseTiming();
    rtree.clear();
    state.ResumeTiming();
  }
  state.SetItemsProcessed(state.iterations() * state.range(0));
}
#endif

struct AreaSize {
  const char* name;
  float side;
};
const AreaSize kAreaSizes[] = {{"Small", 16.0f}, {"Medium", 64.0f}};

void registerAll() {
  benchmark::RegisterBenchmark("Maintenance/Add/QuadTree", quadTreeAdd)->Arg(100000)->Unit(benchmark::kMillisecond);
  benchmark::RegisterBenchmark("Maintenance/Move/QuadTree", quadTreeMove)->Arg(100000)->Unit(benchmark::kMillisecond);
  benchmark::RegisterBenchmark("Maintenance/Remove/QuadTree", quadTreeRemove)
      ->Arg(100000)
      ->Unit(benchmark::kMillisecond);
  benchmark::RegisterBenchmark("Maintenance/MoveThenQuery/QuadTree", quadTreeMoveThenQuery)
      ->Arg(100000)
      ->Unit(benchmark::kMillisecond);
#ifdef QV_HAVE_BOOST_RTREE
  benchmark::RegisterBenchmark("Maintenance/Add/RTree", rtreeInsert)->Arg(100000)->Unit(benchmark::kMillisecond);
  benchmark::RegisterBenchmark("Maintenance/Move/RTree", rtreeMove)->Arg(100000)->Unit(benchmark::kMillisecond);
  benchmark::RegisterBenchmark("Maintenance/Remove/RTree", rtreeRemove)->Arg(100000)->Unit(benchmark::kMillisecond);
#endif
  for (Shape shape : {kBox, kCircle, kTriangle}) {
    for (bool list : {true, false}) {
      for (const AreaSize& size : kAreaSizes) {
        std::string prefix = std::string(kShapeNames[shape]) + (list ? "/List/" : "/Nearest/") + size.name + "/";
        float side = size.side;
        benchmark::RegisterBenchmark((prefix + "QuadTree").c_str(),
                                     [=](benchmark::State& s) { quadTreeQuery(s, shape, list, side); })
            ->Arg(10000)
            ->Arg(100000)
            ->Unit(benchmark::kMicrosecond);
        benchmark::RegisterBenchmark((prefix + "BruteForce").c_str(),
                                     [=](benchmark::State& s) { bruteForceQuery(s, shape, list, side); })
            ->Arg(10000)
            ->Arg(100000)
            ->Unit(benchmark::kMicrosecond);
#ifdef QV_HAVE_BOOST_RTREE
        benchmark::RegisterBenchmark((prefix + "RTree").c_str(),
                                     [=](benchmark::State& s) { rtreeQuery(s, shape, list, side); })
            ->Arg(10000)
            ->Arg(100000)
            ->Unit(benchmark::kMicrosecond);
#endif
      }
    }
  }
}

// Collects the CPU time of each run (the machine may be shared; the benchmarks are single-threaded) and prints, per
// case, the times of the scan and the R-tree as multiples of the quad tree's.
class RatioReporter : public benchmark::ConsoleReporter {
 public:
  void ReportRuns(const std::vector<Run>& runs) override {
    for (const Run& run : runs) {
      if (run.run_type == Run::RT_Iteration) times[run.benchmark_name()] = run.GetAdjustedCPUTime();
    }
    ConsoleReporter::ReportRuns(runs);
  }

  void printRatios() const {
    std::printf("\nTime of the other structure divided by the quad tree's (above 1: the quad tree is faster)\n");
    std::printf("%-28s %8s %12s %12s\n", "case", "objects", "BruteForce", "RTree");
    for (const auto& [name, time] : times) {
      size_t at = name.find("/QuadTree");
      if (at == std::string::npos || time <= 0) continue;
      std::string tail = name.substr(at + 9);
      std::string head = name.substr(0, at);
      std::printf("%-28s %8s", head.c_str(), tail.empty() ? "" : tail.c_str() + 1);
      for (const char* other : {"BruteForce", "RTree"}) {
        auto found = times.find(head + "/" + other + tail);
        if (found == times.end()) {
          std::printf(" %12s", "-");
        } else {
          std::printf(" %12.2f", found->second / time);
        }
      }
      std::printf("\n");
    }
  }

 private:
  std::map<std::string, double> times;
};

}  // namespace

int main(int argc, char** argv) {
  QuadTree_init();
  registerAll();
  benchmark::Initialize(&argc, argv);
  if (benchmark::ReportUnrecognizedArguments(argc, argv)) return 1;
  RatioReporter reporter;
  benchmark::RunSpecifiedBenchmarks(&reporter);
  reporter.printRatios();
  benchmark::Shutdown();
  QuadTree_exit();
  return 0;
}
