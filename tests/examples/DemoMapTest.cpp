// The scene format: what each statement gives, and the line and text of
// each refusal.
#include <gtest/gtest.h>

#include "DemoAssets.h"
#include "DemoMap.h"

namespace {

TEST(DemoMap, BoxesBecomePolygonsBesideTheGivenOnes) {
  DemoMap map;
  std::string error;
  ASSERT_TRUE(
      parseDemoMap("# a scene\nborder 0 0 50 0 50 40 5 40  # four points\n"
                   "box 10 12 4 3\n\ninflation 0.5\npolygon 20 20 30 20 25 28\n",
                   "s.map", map, error))
      << error;
  EXPECT_EQ(map.border, (std::vector<float>{0, 0, 50, 0, 50, 40, 5, 40}));
  EXPECT_FLOAT_EQ(map.inflation, 0.5f);
  EXPECT_EQ(map.points, (std::vector<float>{10, 12, 14, 12, 14, 15, 10, 15, 20, 20, 30, 20, 25, 28}));
  EXPECT_EQ(map.pointCounts, (std::vector<int>{4, 3}));
  EXPECT_EQ(map.isBox, (std::vector<bool>{true, false}));
  EXPECT_FLOAT_EQ(map.width(), 50.0f);
  EXPECT_FLOAT_EQ(map.height(), 40.0f);
}

TEST(DemoMap, TheBuiltInSceneReads) {
  DemoMap map;
  std::string error;
  ASSERT_TRUE(parseDemoMap(reinterpret_cast<const char*>(kDemoDefaultMap), "default.map", map, error)) << error;
  EXPECT_EQ(map.border.size(), 8u);
  EXPECT_GE(map.pointCounts.size(), 10u);
  EXPECT_EQ(kDemoDefaultMap[kDemoDefaultMapSize], 0);
}

TEST(DemoMap, RefusalsNameTheLine) {
  const struct {
    const char* text;
    const char* message;
  } cases[] = {
      {"", "m: no border"},
      {"box 1 1 2 2\n", "m: no border"},
      {"border 0 0 9 0\n", "m:1: border needs at least 3 x, y pairs"},
      {"border 0 0 9 0 9 9 0\n", "m:1: border needs at least 3 x, y pairs"},
      {"\nborder 0 0 9 0 9 -1\n", "m:2: border points need x, y >= 0"},
      {"border 0 0 9 0 9 9\nborder 0 0 9 0 9 9\n", "m:2: a second border"},
      {"border 0 0 9 0 9 9\nbox 1 1 2\n", "m:2: box needs x y width height"},
      {"border 0 0 9 0 9 9\nbox 1 1 0 2\n", "m:2: box needs a width and height above 0"},
      {"border 0 0 9 0 9 9\n\n\npolygon 1 1 2 2\n", "m:4: polygon needs at least 3 x, y pairs"},
      {"border 0 0 9 0 9 9\ninflation -1\n", "m:2: inflation needs one number >= 0"},
      {"border 0 0 9 0 9 9\ninflation 1 2\n", "m:2: inflation needs one number >= 0"},
      {"border 0 0 9 0 9 9\nbox 1 1 2 2y\n", "m:2: '2y' is not a number"},
      {"border 0 0 9 0 9 inf\n", "m:1: 'inf' is not a number"},
      {"border 0 0 9 0 9 9\ncircle 1 1 2\n", "m:2: unknown statement 'circle'"},
  };
  for (const auto& c : cases) {
    DemoMap map;
    std::string error;
    EXPECT_FALSE(parseDemoMap(c.text, "m", map, error)) << c.text;
    EXPECT_EQ(error, c.message) << c.text;
  }
}

}  // namespace
