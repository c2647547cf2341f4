#include "DemoWorld.h"

#include <cmath>

#include "DemoOptions.h"
#include "qv_helper/qv_helper.h"

namespace {

constexpr int kTreeLevels = 6;  // 32 x 32 cells at the bottom
constexpr int kGraphTreeLevels = 5;
constexpr int kMaxPathPoints = 256;
constexpr float kDropAhead = 5.0f;
constexpr float kObstacleHalfSize = 2.5f;
constexpr float kBarrierHalfLength = 6.0f;
constexpr float kBarrierHalfWidth = 0.75f;
constexpr float kObstacleLifetime = 6.0f;
constexpr float kBarrierLifetime = 4.0f;
// Drops keep this far apart (centre to centre), more than two of the largest
// inflated shapes can span, so that they never overlap: where obstacles
// overlap, the path finder's answer can depend on its internal order, which
// follows heap addresses and so could differ between two runs.
constexpr float kDropSpacing = 16.0f;

}  // namespace

DemoWorld::DemoWorld(const DemoMap& map, DemoStats& stats) : map(map), stats(stats) {}

DemoWorld::~DemoWorld() {
  if (tree != nullptr) QuadTree_delete(tree);
  if (finder != nullptr) FindPath_delete(finder);
}

bool DemoWorld::build(std::string& error) {
  tree = QuadTree_create(map.width(), map.height(), kTreeLevels);
  finder = FindPath_create();
  if (tree == nullptr || finder == nullptr) {
    error = "out of memory";
    return false;
  }
  // The library reads these arrays but takes them as non-const.
  std::vector<float> points = map.points;
  std::vector<int> counts = map.pointCounts;
  std::vector<float> border = map.border;
  FindPath_computeGraph(finder, points.data(), counts.data(), static_cast<int>(counts.size()), map.inflation,
                        kGraphTreeLevels, border.data(), static_cast<int>(border.size() / 2));
  return true;
}

float DemoWorld::time() const {
  return static_cast<float>(frame) * kDemoStep;
}

bool DemoWorld::insideBorder(float x, float y) const {
  // Even-odd rule over the border's edges.
  bool inside = false;
  const std::vector<float>& b = map.border;
  const std::size_t n = b.size() / 2;
  for (std::size_t i = 0, j = n - 1; i < n; j = i++) {
    const float xi = b[2 * i], yi = b[2 * i + 1], xj = b[2 * j], yj = b[2 * j + 1];
    if ((yi > y) != (yj > y) && x < (xj - xi) * (y - yi) / (yj - yi) + xi) inside = !inside;
  }
  return inside;
}

bool DemoWorld::isFree(float x, float y) const {
  return insideBorder(x, y) && !FindPath_isPointInObstacle(finder, x, y);
}

bool DemoWorld::randomFreePoint(DemoRandom& random, float& x, float& y) const {
  for (int attempt = 0; attempt < 100; ++attempt) {
    x = random.between(0.0f, map.width());
    y = random.between(0.0f, map.height());
    if (isFree(x, y)) return true;
  }
  return false;
}

int DemoWorld::findPath(float fromX, float fromY, float toX, float toY, std::vector<float>& path) {
  path.resize(2 * kMaxPathPoints);
  const int count = timed(stats.pathSearches, [&] {
    return FindPath_findPath(finder, path.data(), kMaxPathPoints, fromX, fromY, toX, toY);
  });
  path.resize(2 * static_cast<std::size_t>(count));
  if (count < 2) ++stats.pathsNone;
  return count;
}

bool DemoWorld::drop(float x, float y, float directionX, float directionY, bool barrier) {
  float length = std::sqrt(directionX * directionX + directionY * directionY);
  if (!(length > 0.0f)) {
    directionX = 1.0f;
    directionY = 0.0f;
    length = 1.0f;
  }
  const float ux = directionX / length, uy = directionY / length;
  const float cx = x + ux * kDropAhead, cy = y + uy * kDropAhead;
  for (const DemoDrop& other : dropList) {
    if (!other.active) continue;
    float ox = 0.0f, oy = 0.0f;
    for (std::size_t i = 0; i < other.points.size(); i += 2) {
      ox += other.points[i];
      oy += other.points[i + 1];
    }
    const float corners = static_cast<float>(other.points.size() / 2);
    ox /= corners;
    oy /= corners;
    if ((ox - cx) * (ox - cx) + (oy - cy) * (oy - cy) < kDropSpacing * kDropSpacing) {
      ++stats.dropsRefused;
      return false;
    }
  }
  // Along the direction (a, across it b): a square, or a bar across the way.
  const float a = barrier ? kBarrierHalfWidth : kObstacleHalfSize;
  const float b = barrier ? kBarrierHalfLength : kObstacleHalfSize;
  DemoDrop d;
  const float corners[4][2] = {{-a, -b}, {a, -b}, {a, b}, {-a, b}};
  for (const auto& c : corners) {
    const float px = cx + ux * c[0] - uy * c[1];
    const float py = cy + uy * c[0] + ux * c[1];
    if (!insideBorder(px, py)) {
      ++stats.dropsRefused;
      return false;
    }
    d.points.push_back(px);
    d.points.push_back(py);
  }
  d.barrier = barrier;
  d.start = time();
  d.end = d.start + (barrier ? kBarrierLifetime : kObstacleLifetime);
  dropList.push_back(d);
  DemoDrop& stored = dropList.back();
  FindPath_addDynamicObstacle(finder, stored.points.data(), 4, &stored, barrier);
  ++(barrier ? stats.barriersDropped : stats.obstaclesDropped);
  return true;
}

void DemoWorld::expireDrops() {
  const float now = time();
  for (DemoDrop& d : dropList) {
    if (!d.active || d.end > now) continue;
    // Indexes change with every add and delete: ask for this one now.
    const int index = FindPath_getDynamicObstacleByData(finder, &d);
    if (index >= 0) FindPath_deleteDynamicObstacle(finder, index);
    d.active = false;
  }
}
