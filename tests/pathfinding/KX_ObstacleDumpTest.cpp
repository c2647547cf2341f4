// The debugging dumps of the graph build, byte for byte, in a working
// directory of their own.
#include <gtest/gtest.h>

#include <cstring>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

#include "pathfinding/KX_ObstacleDump.h"
#include "pathfinding/KX_VisibilityGraph.h"
#include "qv_helper/qv_helper.h"
#include "support/LiveBlockGuard.h"
#include "support/TemporaryDirectory.h"

namespace {

std::vector<unsigned char> fileBytes(const std::string& name) {
  std::ifstream in(name, std::ios::binary);
  return std::vector<unsigned char>(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
}

bool exists(const std::string& name) {
  return std::ifstream(name).good();
}

// The expected file: each value's bytes in little-endian order.
struct Bytes {
  std::vector<unsigned char> data;
  Bytes& i32(std::int32_t v) {
    for (int k = 0; k < 4; ++k) data.push_back(static_cast<unsigned char>(static_cast<std::uint32_t>(v) >> (8 * k)));
    return *this;
  }
  Bytes& f32(float f) {
    std::uint32_t v;
    std::memcpy(&v, &f, 4);
    return i32(static_cast<std::int32_t>(v));
  }
};

class ObstacleDumpTest : public LiveBlockTest {
 protected:
  void SetUp() override {
    LiveBlockTest::SetUp();
    ASSERT_TRUE(scope.entered);
    FindPath_init();
    handle = FindPath_create();
  }
  void TearDown() override {
    FindPath_exit();
    LiveBlockTest::TearDown();
  }
  TemporaryDirectory directory;
  WorkingDirectoryScope scope{directory.path};
  void* handle = nullptr;
};

TEST_F(ObstacleDumpTest, PolygonBuildWritesTheCallersObstaclesAndBorderBeforeInflation) {
  float coordinates[] = {0, 0, 2, 0, 2, 2, 0, 2, 5, 1, 7, 1, 6, 3.5f};
  int pointCounts[] = {4, 3};
  float border[] = {-1, -1, 9, -1, 9, 8};
  FindPath_computeGraph(handle, coordinates, pointCounts, 2, 0.75f, 3, border, 3);

  Bytes obstacles;
  obstacles.i32(2).i32(7).i32(4).i32(3);
  for (float c : coordinates) obstacles.f32(c);
  EXPECT_EQ(fileBytes("obstacles"), obstacles.data);
  Bytes outline;
  outline.i32(3);
  for (float c : border) outline.f32(c);
  EXPECT_EQ(fileBytes("obstacleborder"), outline.data);

  // A second build overwrites "obstacles"; without a border the earlier
  // "obstacleborder" stays as it was. A negative count is written as given
  // and reads no points, so the total counts only the points read.
  int secondCounts[] = {3, -2};
  FindPath_computeGraph(handle, coordinates, secondCounts, 2, 0.0f, 3, nullptr, 0);
  Bytes second;
  second.i32(2).i32(3).i32(3).i32(-2);
  for (int i = 0; i < 6; ++i) second.f32(coordinates[i]);
  EXPECT_EQ(fileBytes("obstacles"), second.data);
  EXPECT_EQ(fileBytes("obstacleborder"), outline.data);
}

TEST_F(ObstacleDumpTest, BoxBuildWritesNothingAndPointDumpsKeepTheirLayout) {
  float boxes[] = {0, 0, 2, 2};
  float border[] = {-1, -1, 6, -1, 6, 8};
  FindPath_computeGraph(handle, boxes, 1, 0.5f, 3, border, 3);
  EXPECT_FALSE(exists("obstacles"));
  EXPECT_FALSE(exists("obstacleborder"));

  float barrier[] = {1, 1, 2, 1, 2, 2, 1, 2};
  KX_writePointDump("dynobstacles", barrier, 4);
  EXPECT_EQ(fileBytes("dynobstacles").size(), 36u);
  KX_writePointDump("dynobstacles", barrier, -1);
  EXPECT_EQ(fileBytes("dynobstacles"), Bytes().i32(0).data);
}

TEST_F(ObstacleDumpTest, AWorkingDirectoryThatIsGoneChangesNothingButTheFiles) {
  ASSERT_EQ(rmdir(directory.path.c_str()), 0);
  float coordinates[] = {0, 0, 2, 0, 2, 2};
  int pointCounts[] = {3};
  FindPath_computeGraph(handle, coordinates, pointCounts, 1, 0.5f, 3, nullptr, 0);
  const KX_VisibilityGraph& graph = *static_cast<KX_VisibilityGraph*>(handle);
  EXPECT_EQ(graph.nodeCount, 3);
  EXPECT_TRUE(graph.validate());
}

}  // namespace
