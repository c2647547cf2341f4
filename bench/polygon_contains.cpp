// Containment in a polygon, the path finder's hot query: the triangulation is
// made on the first call and reused, a triangle skips it.
#include <benchmark/benchmark.h>

#include <cmath>
#include <random>

#include "geometry/KX_Polygon2D.h"

namespace {

// A star-shaped concave outline of n vertices around (0, 0).
void makeStar(KX_Polygon2D& polygon, int n) {
  polygon.clear();
  for (int i = 0; i < n; ++i) {
    double angle = i * 2 * M_PI / n;
    float radius = i % 2 == 0 ? 10.0f : 6.0f;
    polygon.append({radius * float(std::cos(angle)), radius * float(std::sin(angle))});
  }
}

void containsCached(benchmark::State& state) {
  KX_Polygon2D polygon;
  makeStar(polygon, int(state.range(0)));
  std::mt19937 random(1);
  std::uniform_real_distribution<float> coordinate(-11, 11);
  KX_Point2D probes[1024];
  for (KX_Point2D& probe : probes) probe = {coordinate(random), coordinate(random)};
  polygon.contains({0, 0});
  int i = 0;
  for (auto _ : state) {
    benchmark::DoNotOptimize(polygon.contains(probes[i++ & 1023]));
  }
}
BENCHMARK(containsCached)->Arg(3)->Arg(8)->Arg(23)->Arg(64);

// The first call: triangulation included.
void triangulate(benchmark::State& state) {
  KX_Polygon2D polygon;
  makeStar(polygon, int(state.range(0)));
  KX_IntArray triangles;
  for (auto _ : state) {
    polygon.invalidate();
    polygon.triangulate(triangles);
    benchmark::DoNotOptimize(triangles.getBuffer());
  }
}
BENCHMARK(triangulate)->Arg(8)->Arg(23)->Arg(64)->Arg(256);

}  // namespace

BENCHMARK_MAIN();
