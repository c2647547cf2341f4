// Box containment and the segment quadratic of KX_Circle, with the segment
// test checked against distances computed in doubles.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <random>

#include "quadtree/KX_AABox2D.h"
#include "quadtree/KX_Circle.h"

namespace {

TEST(KX_Circle, ContainsBoxCountsCornersOnTheCircle) {
  KX_Circle circle(0, 0, 5);
  EXPECT_TRUE(circle.containsBox(KX_AABox2D(0, 0, 3, 4)));  // corner (3, 4) exactly on the circle
  EXPECT_FALSE(circle.containsBox(KX_AABox2D(0, 0, 3, 4.01f)));
  EXPECT_TRUE(circle.containsBox(KX_AABox2D(-3, -4, 6, 8)));  // all four corners on it
  EXPECT_FALSE(circle.containsBox(KX_AABox2D(-4, -4, 8, 8)));
  EXPECT_TRUE(circle.containsBox(KX_AABox2D(5, 0, 0, 0)));      // a point on the circle
  EXPECT_FALSE(circle.containsBox(KX_AABox2D(-1, -1, 20, 2)));  // box larger than the circle
}

TEST(KX_Circle, SegmentTestsFollowTheQuadratic) {
  KX_Circle circle(10, 10, 2);
  struct Case {
    const char* scenario;
    KX_LineSegment2D segment;
    bool clipped;
    bool unclipped;
  };
  const Case cases[] = {
      {"through the centre", {{0, 10}, {20, 10}}, true, true},
      {"ends inside", {{0, 10}, {10, 10}}, true, true},
      {"starts inside", {{10, 10}, {10, 0}}, true, true},
      {"wholly inside", {{9, 10}, {11, 10}}, false, true},
      {"short of the circle", {{0, 10}, {7, 10}}, false, true},
      {"past the circle", {{13, 10}, {20, 10}}, false, true},
      {"tangent, touch point on it", {{0, 12}, {20, 12}}, true, true},
      {"tangent, touch point beyond it", {{0, 12}, {5, 12}}, false, true},
      {"line misses", {{0, 12.5f}, {20, 12.5f}}, false, false},
      {"ends on the circle", {{0, 10}, {8, 10}}, true, true},
  };
  for (const Case& c : cases) {
    EXPECT_EQ(circle.intersectsSegment(c.segment, true), c.clipped) << c.scenario;
    EXPECT_EQ(circle.intersectsSegment(c.segment, false), c.unclipped) << c.scenario;
  }
}

TEST(KX_Circle, ZeroLengthSegmentIsJudgedByItsPoint) {
  KX_Circle circle(0, 0, 2);
  EXPECT_FALSE(circle.intersectsSegment({{50, 50}, {50, 50}}, true));
  EXPECT_FALSE(circle.intersectsSegment({{50, 50}, {50, 50}}, false));
  EXPECT_TRUE(circle.intersectsSegment({{2, 0}, {2, 0}}, true));
  EXPECT_TRUE(circle.intersectsSegment({{1, 1}, {1, 1}}, true));
}

// With clipping, a segment meets the circle when its nearest point is within
// the radius and its farthest point is not inside it.
TEST(KX_Circle, RandomSegmentsAgreeWithDistancesInDoubles) {
  std::mt19937 random(11);
  std::uniform_real_distribution<float> coordinate(-10.0f, 10.0f);
  KX_Circle circle(0.5f, -0.25f, 4.0f);
  int checked = 0;
  for (int i = 0; i < 5000; ++i) {
    KX_LineSegment2D s{{coordinate(random), coordinate(random)}, {coordinate(random), coordinate(random)}};
    double ax = double(s.start.x) - circle.x, ay = double(s.start.y) - circle.y;
    double dx = double(s.end.x) - s.start.x, dy = double(s.end.y) - s.start.y;
    double lengthSquared = dx * dx + dy * dy;
    double t = std::clamp(-(ax * dx + ay * dy) / lengthSquared, 0.0, 1.0);
    double nearest = std::hypot(ax + t * dx, ay + t * dy);
    double farthest = std::max(std::hypot(ax, ay), std::hypot(ax + dx, ay + dy));
    double lineDistance = std::fabs(ax * dy - ay * dx) / std::sqrt(lengthSquared);
    const double margin = 1e-3;
    if (std::fabs(nearest - circle.radius) < margin || std::fabs(farthest - circle.radius) < margin ||
        std::fabs(lineDistance - circle.radius) < margin)
      continue;
    bool expectedClipped = nearest <= circle.radius && farthest >= circle.radius;
    EXPECT_EQ(circle.intersectsSegment(s, true), expectedClipped) << i;
    EXPECT_EQ(circle.intersectsSegment(s, false), lineDistance <= circle.radius) << i;
    ++checked;
  }
  EXPECT_GT(checked, 4500);
}

}  // namespace
