// Records every answer of the path query on fixed maps, bit for bit, so that
// a faster query can be shown to answer exactly as before:
//
//   build/release/bench/PathQueryGolden before.txt   (old code)
//   build/release/bench/PathQueryGolden after.txt    (new code)
//   cmp before.txt after.txt
//
// The maps are those of the query benchmark (50, 200 and 500 boxes, 100
// polygons), the 200 boxes again with dynamic obstacles and barriers added
// and deleted between queries, and the 100 polygons inside a border. Each map
// gets random queries, queries whose ends lie on obstacle corners and edges,
// and point tests and outward moves. Every line holds the returned count and
// the exact bits of every coordinate; the program prints one hash per map.
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <random>
#include <string>
#include <vector>

#include "BenchMaps.h"
#include "pathfinding/KX_VisibilityGraph.h"
#include "qv_helper/qv_helper.h"

namespace {

constexpr int kRandomQueries = 1000;
constexpr int kOutlineQueries = 200;
constexpr int kPointTests = 1000;
constexpr int kMaxPoints = 4096;

std::uint32_t bitsOf(float value) {
  std::uint32_t bits;
  std::memcpy(&bits, &value, sizeof bits);
  return bits;
}

// Lines of one map, and an FNV-1a hash over them.
class Recorder {
 public:
  explicit Recorder(FILE* out) : out(out) {}

  void begin(const char* name) {
    hash = 14695981039346656037ull;
    lines = 0;
    mapName = name;
    write("map %s\n", name);
  }
  void end() { std::printf("%-28s %6d lines  hash %016llx\n", mapName.c_str(), lines, (unsigned long long)hash); }

  void query(const float* points, int count) {
    std::string line = "path " + std::to_string(count);
    char word[16];
    for (int i = 0; i < 2 * count; ++i) {
      std::snprintf(word, sizeof word, " %08x", unsigned(bitsOf(points[i])));
      line += word;
    }
    write("%s\n", line.c_str());
  }
  void point(bool inside, float x, float y) {
    write("point %d %08x %08x\n", inside ? 1 : 0, unsigned(bitsOf(x)), unsigned(bitsOf(y)));
  }

 private:
  template <class... Args>
  void write(const char* format, Args... args) {
    char buffer[64];
    std::string text;
    int n = std::snprintf(buffer, sizeof buffer, format, args...);
    if (n >= int(sizeof buffer)) {
      text.resize(size_t(n) + 1);
      std::snprintf(&text[0], text.size(), format, args...);
      text.resize(size_t(n));
    } else {
      text = buffer;
    }
    for (unsigned char c : text) hash = (hash ^ c) * 1099511628211ull;
    if (out != nullptr) std::fputs(text.c_str(), out);
    ++lines;
  }

  FILE* out;
  std::uint64_t hash = 0;
  int lines = 0;
  std::string mapName;
};

void runQuery(KX_VisibilityGraph& graph, Recorder& recorder, KX_Point2D from, KX_Point2D to) {
  static float result[2 * kMaxPoints];
  int n = FindPath_findPath(&graph, result, kMaxPoints, from.x, from.y, to.x, to.y);
  recorder.query(result, n);
}

// A corner, or a point a fraction along an edge, of a random obstacle.
KX_Point2D outlinePoint(const KX_VisibilityGraph& graph, std::mt19937& random) {
  const KX_PolygonList2D& list = graph.obstacles;
  const KX_Polygon2D& polygon = *list.getPolygon(int(random() % unsigned(list.getCount())));
  int i = int(random() % unsigned(polygon.getCount()));
  KX_LineSegment2D edge = polygon.getEdge(i);
  switch (random() % 3) {
    case 0:
      return edge.start;
    case 1:
      return KX_Point2D{(edge.start.x + edge.end.x) * 0.5f, (edge.start.y + edge.end.y) * 0.5f};
    default: {
      float t = float(random() % 1000) / 1000.0f;
      return KX_Point2D{edge.start.x + (edge.end.x - edge.start.x) * t, edge.start.y + (edge.end.y - edge.start.y) * t};
    }
  }
}

// Random boxes and triangles as dynamic obstacles; every fourth a barrier.
// Each carries the next number of `tags` as its data: the lists are in the
// order of the copies' addresses, so obstacles are found by their data.
void addDynamicObstacles(KX_VisibilityGraph& graph, std::mt19937& random, int count, std::vector<int>& tags) {
  std::uniform_real_distribution<float> place(0.0f, kWorld - 40.0f);
  std::uniform_real_distribution<float> side(4.0f, 40.0f);
  for (int i = 0; i < count; ++i) {
    float x = place(random), y = place(random), w = side(random), h = side(random);
    KX_Polygon2D polygon;
    if (i % 2 == 0) {
      for (KX_Point2D corner : {KX_Point2D{x, y}, {x + w, y}, {x + w, y + h}, {x, y + h}}) polygon.append(corner);
    } else {
      for (KX_Point2D corner : {KX_Point2D{x, y}, {x + w, y + h / 3}, {x + w / 3, y + h}}) polygon.append(corner);
    }
    int tag = tags.empty() ? 1 : tags.back() + 1;
    tags.push_back(tag);
    graph.addDynamicObstacle(polygon, reinterpret_cast<void*>(static_cast<std::intptr_t>(tag)), i % 4 == 3);
  }
}

void recordMap(const char* name, KX_VisibilityGraph& graph, Recorder& recorder, unsigned seed, bool dynamic) {
  recorder.begin(name);
  std::mt19937 random(seed);
  std::uniform_real_distribution<float> place(-20.0f, kWorld + 20.0f);
  std::uniform_real_distribution<float> direction(-1.0f, 1.0f);
  std::vector<int> tags;
  if (dynamic) addDynamicObstacles(graph, random, 24, tags);
  for (int q = 0; q < kRandomQueries; ++q) {
    // Dynamic obstacles come and go between queries; the cache stays valid.
    if (dynamic && q % 100 == 99) {
      size_t k = random() % tags.size();
      void* data = reinterpret_cast<void*>(static_cast<std::intptr_t>(tags[k]));
      FindPath_deleteDynamicObstacle(&graph, FindPath_getDynamicObstacleByData(&graph, data));
      tags.erase(tags.begin() + std::ptrdiff_t(k));
      addDynamicObstacles(graph, random, 1, tags);
    }
    KX_Point2D from{place(random), place(random)};
    KX_Point2D to{place(random), place(random)};
    runQuery(graph, recorder, from, to);
  }
  for (int q = 0; q < kOutlineQueries; ++q) {
    KX_Point2D from = outlinePoint(graph, random);
    KX_Point2D to = q % 2 ? outlinePoint(graph, random) : KX_Point2D{place(random), place(random)};
    runQuery(graph, recorder, from, to);
  }
  for (int p = 0; p < kPointTests; ++p) {
    KX_Point2D point = p % 2 ? outlinePoint(graph, random) : KX_Point2D{place(random), place(random)};
    bool inside = FindPath_isPointInObstacle(&graph, point.x, point.y);
    float x = point.x, y = point.y;
    float dx = p % 50 == 0 ? 0.0f : direction(random), dy = p % 50 == 0 ? 0.0f : direction(random);
    FindPath_movePointOutsideObstacles(&graph, x, y, dx, dy);
    recorder.point(inside, x, y);
  }
  recorder.end();
}

}  // namespace

int main(int argc, char** argv) {
  FILE* out = nullptr;
  if (argc > 1) {
    out = std::fopen(argv[1], "w");
    if (out == nullptr) {
      std::fprintf(stderr, "cannot write %s\n", argv[1]);
      return 1;
    }
  }
  Recorder recorder(out);
  for (int count : {50, 200, 500}) {
    KX_VisibilityGraph graph;
    buildMap(graph, true, count, nullptr);
    std::string name = std::to_string(count) + " boxes";
    recordMap(name.c_str(), graph, recorder, 100u + unsigned(count), false);
  }
  {
    KX_VisibilityGraph graph;
    buildMap(graph, false, 100, nullptr);
    recordMap("100 polygons", graph, recorder, 300u, false);
  }
  {
    KX_VisibilityGraph graph;
    buildMap(graph, true, 200, nullptr);
    recordMap("200 boxes, dynamic", graph, recorder, 400u, true);
  }
  {
    // A concave border well inside the world: many ends lie outside it.
    KX_Polygon2D border;
    for (KX_Point2D corner : {KX_Point2D{60, 40}, {940, 80}, {900, 520}, {560, 480}, {600, 950}, {80, 900}}) {
      border.append(corner);
    }
    KX_VisibilityGraph graph;
    buildMap(graph, false, 100, &border);
    recordMap("100 polygons, border", graph, recorder, 500u, true);
  }
  if (out != nullptr) std::fclose(out);
  return 0;
}
