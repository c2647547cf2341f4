// The path query, point services and dynamic obstacles through the exports:
// their edge cases, degenerate input that must still end, and the lists and
// tree of dynamic obstacles with the path cache left alone.
#include <gtest/gtest.h>

#include <cmath>
#include <filesystem>
#include <vector>

#include "pathfinding/KX_VisibilityGraph.h"
#include "qv_helper/qv_helper.h"
#include "support/LiveBlockGuard.h"
#include "support/TemporaryDirectory.h"

namespace {

// Every test runs in a directory of its own, where builds and barriers leave
// their debugging files.
class FindPath_queryExportsTest : public LiveBlockTest {
 protected:
  void SetUp() override {
    LiveBlockTest::SetUp();
    FindPath_init();
    handle = FindPath_create();
  }
  void TearDown() override {
    FindPath_exit();  // deletes the handle
    LiveBlockTest::TearDown();
  }
  KX_VisibilityGraph& graph() { return *static_cast<KX_VisibilityGraph*>(handle); }

  // Boxes as x, y, width, height.
  void buildBoxes(std::vector<float> boxes, float inflation = 0.0f, std::vector<float> border = {}) {
    FindPath_computeGraph(handle, boxes.data(), int(boxes.size() / 4), inflation, 4, border.empty() ? nullptr : border.data(),
                          int(border.size() / 2));
  }
  std::vector<float> findPath(float fromX, float fromY, float toX, float toY, int maxPoints = 64) {
    std::vector<float> result(2 * 64 + 2, -1.0f);
    int n = FindPath_findPath(handle, result.data(), maxPoints, fromX, fromY, toX, toY);
    EXPECT_EQ(result[2 * n], -1.0f) << "wrote beyond the points it reports";
    result.resize(2 * n);
    return result;
  }
  int addObstacle(std::vector<float> points, void* data = nullptr, bool barrier = false) {
    return FindPath_addDynamicObstacle(handle, points.data(), int(points.size() / 2), data, barrier);
  }

  TemporaryDirectory directory;
  WorkingDirectoryScope scope{directory.path};
  void* handle = nullptr;
};

using Path = std::vector<float>;

TEST_F(FindPath_queryExportsTest, TheQueryAnswersItsSimpleCasesAsDocumented) {
  // No graph: the straight line, whatever lies between; no obstacles at all.
  EXPECT_EQ(findPath(0, 0, 10, 0), (Path{0, 0, 10, 0}));
  EXPECT_FALSE(FindPath_isPointInObstacle(handle, 5, 0));

  buildBoxes({4, -1, 2, 2});
  EXPECT_EQ(findPath(1, 1, 1, 1), (Path{1, 1}));            // the same point: one point
  EXPECT_EQ(findPath(0, 3, 20, 3), (Path{0, 3, 20, 3}));    // a free line: its two ends
  EXPECT_EQ(findPath(0, 0, 10, 0.5f, 1), (Path{0, 0}));     // room for one point: the start
  EXPECT_EQ(findPath(0, 0, 10, 0.5f, 0), Path{});           // room for none
  EXPECT_EQ(findPath(0, 0, 10, 0.5f).size(), 8u);           // round two corners
  for (float bad : {NAN, INFINITY, -INFINITY}) {
    EXPECT_EQ(findPath(bad, 0, 10, 0), Path{});
    EXPECT_EQ(findPath(0, 0, 10, bad), Path{});
  }

  // A start inside the box moves out first, 0.15 beyond the nearer side.
  Path path = findPath(4.1f, 0, 0, 0);
  ASSERT_EQ(path.size(), 4u);
  EXPECT_NEAR(path[0], 3.85f, 1e-5);
  EXPECT_EQ(path[1], 0.0f);
  // On an edge or a corner counts as inside: moved out as well.
  for (Path start : {Path{4, 0}, Path{4, 1}, Path{6, -1}}) {
    path = findPath(start[0], start[1], 0, 5);
    ASSERT_GE(path.size(), 4u);
    EXPECT_NE(Path(path.begin(), path.begin() + 2), start);
    EXPECT_FALSE(FindPath_isPointInObstacle(handle, path[0], path[1]));
  }
}

TEST_F(FindPath_queryExportsTest, WallsInAnLStayObstaclesAndLeaveTheOthersAlone) {
  // Two walls that meet at a corner merge into one L; a box far off must stay
  // an obstacle of its own, and a path must go round it.
  buildBoxes({150, 120, 70, 6, 150, 120, 6, 70, 400, 400, 50, 50}, 1.5f);
  for (Path inside : {Path{160, 123}, Path{153, 150}, Path{425, 425}}) {
    EXPECT_TRUE(FindPath_isPointInObstacle(handle, inside[0], inside[1])) << inside[0] << ", " << inside[1];
  }
  // The diagonal meets the L's upright wall, then the box: round a corner of each.
  EXPECT_EQ(findPath(100, 100, 500, 500), (Path{100, 100, 148.5f, 191.5f, 398.5f, 451.5f, 500, 500}));
}

TEST_F(FindPath_queryExportsTest, PointsMoveOutAlongTheirDirection) {
  buildBoxes({0, 0, 10, 4});
  EXPECT_TRUE(FindPath_isPointInObstacle(handle, 5, 2));
  EXPECT_TRUE(FindPath_isPointInObstacle(handle, 10, 4));  // the outline counts
  EXPECT_FALSE(FindPath_isPointInObstacle(handle, 10.01f, 2));
  EXPECT_FALSE(FindPath_isPointInObstacle(handle, NAN, 2));
  float x = 5, y = 2;
  FindPath_movePointOutsideObstacles(handle, x, y, 0, -3);  // straight down: 0.1 below
  EXPECT_EQ(x, 5.0f);
  EXPECT_NEAR(y, -0.1f, 1e-6);
  x = 5, y = 2;
  FindPath_movePointOutsideObstacles(handle, x, y, 0, 0);  // no direction: stays
  EXPECT_EQ(x, 5.0f);
  EXPECT_EQ(y, 2.0f);
  x = 20, y = 2;
  FindPath_movePointOutsideObstacles(handle, x, y, 1, 0);  // free: stays
  EXPECT_EQ(x, 20.0f);
  // Dynamic obstacles count too.
  addObstacle({15, 0, 17, 0, 17, 4, 15, 4});
  EXPECT_TRUE(FindPath_isPointInObstacle(handle, 16, 2));
  x = 16;
  FindPath_movePointOutsideObstacles(handle, x, y, 1, 0);
  EXPECT_NEAR(x, 17.1f, 1e-5);
  // Only within the trees' bounds, the static obstacles' box grown by 10.
  addObstacle({25, 0, 27, 0, 27, 4, 25, 4});
  EXPECT_FALSE(FindPath_isPointInObstacle(handle, 26, 2));
}

TEST_F(FindPath_queryExportsTest, DynamicObstaclesKeepSortedListsAndATreeOnlyWhileThereAreAny) {
  int a = 0, b = 0, c = 0;
  // Before any build there is no tree: listed, but without effect.
  addObstacle({4, -1, 6, -1, 6, 1, 4, 1}, &a);
  EXPECT_EQ(graph().dynamicTree, nullptr);
  EXPECT_EQ(findPath(0, 0, 10, 0), (Path{0, 0, 10, 0}));
  FindPath_clearDynamicObstacleList(handle);

  buildBoxes({-20, -20, 1, 1, 30, 20, 1, 1}, 0.5f);
  addObstacle({4, -1, 6, -1, 6, 1, 4, 1}, &a);
  ASSERT_NE(graph().dynamicTree, nullptr);
  // Inflated like the static obstacles.
  EXPECT_TRUE(FindPath_isPointInObstacle(handle, 3.6f, 0));
  addObstacle({4, 10, 6, 10, 5, 12}, &b, true);
  addObstacle({8, 10, 9, 10, 9, 11}, &a);  // the same data pointer again
  ASSERT_EQ(graph().dynamicObstacles.getCount(), 3);
  for (int i = 0; i + 1 < 3; ++i) EXPECT_LT(graph().dynamicObstacles.at(i), graph().dynamicObstacles.at(i + 1));
  // The lowest index bearing a data pointer; the parallel lists agree.
  int first = FindPath_getDynamicObstacleByData(handle, &a);
  for (int i = 0; i < first; ++i) EXPECT_NE(graph().dynamicObstacleData.at(i), &a);
  int barrier = FindPath_getDynamicObstacleByData(handle, &b);
  EXPECT_TRUE(FindPath_isDynamicObstacleBarrier(handle, barrier));
  EXPECT_FALSE(FindPath_isDynamicObstacleBarrier(handle, first));
  EXPECT_EQ(FindPath_getDynamicObstacleByData(handle, &c), -1);
  EXPECT_EQ(FindPath_getDynamicObstacleByData(handle, nullptr), -1);
  // Only the barrier wrote its count and points.
  EXPECT_EQ(std::filesystem::file_size(directory.file("dynobstacles")), 4 + 6 * sizeof(float));

  FindPath_deleteDynamicObstacle(handle, barrier);
  EXPECT_EQ(FindPath_getDynamicObstacleByData(handle, &b), -1);
  EXPECT_EQ(graph().dynamicObstacles.getCount(), 2);
  EXPECT_EQ(graph().dynamicObstacleBarriers.getBitCount(), 2);
  EXPECT_NE(graph().dynamicTree, nullptr);
  FindPath_deleteDynamicObstacle(handle, 0);
  // The last one goes whatever index is given, and the tree with it.
  FindPath_deleteDynamicObstacle(handle, 7);
  EXPECT_EQ(graph().dynamicObstacles.getCount(), 0);
  EXPECT_EQ(graph().dynamicTree, nullptr);

  // Without inflation the outline is the caller's, point for point.
  buildBoxes({-20, -20, 1, 1, 30, 20, 1, 1});
  std::vector<float> outline{4, -1, 6, -1, 6, 1, 4, 1};
  int index = addObstacle(outline, &c);
  const KX_Polygon2D& added = *graph().dynamicObstacles.getPolygon(index);
  ASSERT_EQ(added.getCount(), 4);
  for (int i = 0; i < 4; ++i) EXPECT_EQ(added.at(i), (KX_Point2D{outline[2 * i], outline[2 * i + 1]}));
  // A new build drops the tree, and the listed obstacle stops acting.
  buildBoxes({-20, -20, 1, 1, 30, 20, 1, 1});
  EXPECT_EQ(graph().dynamicObstacles.getCount(), 1);
  EXPECT_EQ(graph().dynamicTree, nullptr);
  EXPECT_FALSE(FindPath_isPointInObstacle(handle, 5, 0));
}

TEST_F(FindPath_queryExportsTest, DynamicObstaclesActOnPathsButLeaveTheGraphAndItsCacheAlone) {
  // (Not at the same heights: edges on one line count as meeting, and the
  // two boxes would merge across the gap.)
  buildBoxes({10, -5, 2, 10, 30, -4, 2, 9});
  Path around = findPath(0, 0, 40, 0.5f);
  ASSERT_GE(around.size(), 6u);
  const int cachedTrees = graph().pathCache.getCount();
  const int edges = graph().getOutDegree(0);
  ASSERT_GT(cachedTrees, 0);

  // A wall across the free stretch between the boxes is gone round.
  int wall = addObstacle({20, -8, 21, -8, 21, 8, 20, 8});
  Path detour = findPath(0, 0, 40, 0.5f);
  EXPECT_GT(detour.size(), around.size());
  EXPECT_EQ(detour[detour.size() - 2], 40.0f);
  EXPECT_EQ(graph().pathCache.getCount(), cachedTrees);
  EXPECT_EQ(graph().getOutDegree(0), edges);
  // As a barrier it cuts the path 0.001 before it.
  FindPath_deleteDynamicObstacle(handle, wall);
  addObstacle({20, -8, 21, -8, 21, 8, 20, 8}, nullptr, true);
  Path cut = findPath(14, 0, 25, 0);
  ASSERT_EQ(cut.size(), 4u);
  EXPECT_NEAR(cut[2], 20.0f - 0.001f, 1e-5);
  // Deleted again, the path is the first one, from the same cache.
  FindPath_clearDynamicObstacleList(handle);
  EXPECT_EQ(findPath(0, 0, 40, 0.5f), around);
  EXPECT_EQ(graph().pathCache.getCount(), cachedTrees);
}

TEST_F(FindPath_queryExportsTest, DegenerateObstaclesAndEndsStillGiveAnAnswer) {
  buildBoxes({10, -5, 2, 10}, 0.5f);
  // Collinear, repeated, too few, zero-area and NaN points as dynamic
  // obstacles across the way: every query ends, and any path it gives runs
  // from the start to the target.
  std::vector<std::vector<float>> shapes{
      {20, -3, 20, 0, 20, 3},                  // collinear
      {20, 0, 20, 0, 20, 0, 20, 0},            // one point four times
      {20, -3, 20, 3},                         // two points
      {},                                      // none
      {20, -3, 22, -3, NAN, 0, 22, 3, 20, 3},  // a NaN corner
      {20, -3, 22, 3, 22, -3, 20, 3},          // a bow tie
  };
  for (bool barrier : {false, true}) {
    for (const std::vector<float>& shape : shapes) {
      FindPath_clearDynamicObstacleList(handle);
      addObstacle(shape, nullptr, barrier);
      Path path = findPath(0, 0, 40, 0);
      if (path.empty()) continue;
      EXPECT_EQ(path[0], 0.0f);
      EXPECT_EQ(path[1], 0.0f);
      for (float value : path) EXPECT_TRUE(std::isfinite(value));
      if (!barrier) {
        EXPECT_EQ(path[path.size() - 2], 40.0f);
      }
    }
  }
  // Static obstacles of no area, with a border, and both ends on corners.
  float coordinates[] = {0, 0, 5, 0, 10, 0, 3, 3, 3, 3, 3, 3, 7, 7};
  int counts[] = {3, 3, 1};
  float border[] = {-20, -20, 20, -20, 20, 20, -20, 20};
  FindPath_computeGraph(handle, coordinates, counts, 3, 0.0f, 4, border, 4);
  for (Path ends : {Path{0, 0, 10, 0}, Path{3, 3, 7, 7}, Path{-30, 0, 30, 0}, Path{5, -10, 5, 10}}) {
    Path path = findPath(ends[0], ends[1], ends[2], ends[3]);
    for (float value : path) EXPECT_TRUE(std::isfinite(value) && std::fabs(value) <= 20.0f);
  }
}

}  // namespace
