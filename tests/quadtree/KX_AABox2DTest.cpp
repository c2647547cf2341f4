// Closed-box overlap, circle containment and the outline crossings of a box,
// the last checked against a clipping computed in doubles.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <random>

#include "quadtree/KX_AABox2D.h"
#include "quadtree/KX_Circle.h"
#include "support/LiveBlockGuard.h"

namespace {

TEST(KX_AABox2D, ClosedBoxesOverlapWhenTheyShareOnlyAnEdgeOrACorner) {
  KX_AABox2D box(0, 0, 10, 10);
  struct Case {
    const char* scenario;
    KX_AABox2D other;
    bool overlaps;
  };
  const Case cases[] = {
      {"inside", {2, 2, 1, 1}, true},
      {"covering", {-5, -5, 20, 20}, true},
      {"shared right edge", {10, 3, 4, 4}, true},
      {"shared bottom edge", {3, -4, 4, 4}, true},
      {"shared corner", {10, 10, 1, 1}, true},
      {"shared opposite corner", {-1, -1, 1, 1}, true},
      {"gap on the right", {10.001f, 3, 4, 4}, false},
      {"gap above", {3, 10.001f, 4, 4}, false},
      {"overlap in x only", {2, 11, 3, 3}, false},
      {"zero width on its line", {5, -3, 0, 20}, true},
      {"zero width touching the edge", {10, 0, 0, 0}, true},
      {"zero width beside", {10.5f, 0, 0, 20}, false},
  };
  for (const Case& c : cases) {
    EXPECT_EQ(box.intersectsBox(c.other), c.overlaps) << c.scenario;
    EXPECT_EQ(c.other.intersectsBox(box), c.overlaps) << c.scenario << " (swapped)";
  }
}

TEST(KX_AABox2D, ContainsCircleCountsTouchingFromInside) {
  KX_AABox2D box(10, 20, 10, 6);
  EXPECT_TRUE(box.containsCircle(KX_Circle(15, 23, 3)));  // touches top and bottom
  EXPECT_FALSE(box.containsCircle(KX_Circle(15, 23, 3.01f)));
  EXPECT_TRUE(box.containsCircle(KX_Circle(10, 20, 0)));  // radius 0 at the corner
  EXPECT_TRUE(box.containsCircle(KX_Circle(20, 26, 0)));  // radius 0 at the far corner
  EXPECT_FALSE(box.containsCircle(KX_Circle(9.99f, 23, 0)));
  EXPECT_FALSE(box.containsCircle(KX_Circle(11, 23, 1.5f)));  // pokes out on the left
  EXPECT_FALSE(box.containsCircle(KX_Circle(19, 23, 1.5f)));  // and on the right
}

TEST(KX_AABox2D, SegmentCrossingsFollowTheSideOrder) {
  KX_AABox2D box(10, 20, 10, 10);
  KX_Point2D first{-1, -1};
  KX_Point2D second{-1, -1};

  // Horizontal through the box: only left and right sides, left first, in world coordinates.
  EXPECT_EQ(box.getSegmentIntersections({{25, 25}, {5, 25}}, first, second, true), 2);
  EXPECT_EQ(first, (KX_Point2D{10, 25}));
  EXPECT_EQ(second, (KX_Point2D{20, 25}));

  // Vertical: only bottom then top.
  EXPECT_EQ(box.getSegmentIntersections({{12, 40}, {12, 0}}, first, second, true), 2);
  EXPECT_EQ(first, (KX_Point2D{12, 20}));
  EXPECT_EQ(second, (KX_Point2D{12, 30}));

  // From inside to the right: one hit, `second` left untouched.
  second = KX_Point2D{-7, -7};
  EXPECT_EQ(box.getSegmentIntersections({{15, 22}, {30, 22}}, first, second, true), 1);
  EXPECT_EQ(first, (KX_Point2D{20, 22}));
  EXPECT_EQ(second, (KX_Point2D{-7, -7}));

  // Short of the box: nothing with clipping, both crossings of the line without.
  first = KX_Point2D{-7, -7};
  EXPECT_EQ(box.getSegmentIntersections({{0, 25}, {5, 25}}, first, second, true), 0);
  EXPECT_EQ(first, (KX_Point2D{-7, -7}));
  EXPECT_EQ(box.getSegmentIntersections({{0, 25}, {5, 25}}, first, second, false), 2);
  EXPECT_EQ(first, (KX_Point2D{10, 25}));
  EXPECT_EQ(second, (KX_Point2D{20, 25}));

  // A diagonal through two corners: the left side finds (10, 20), the right (20, 30).
  EXPECT_EQ(box.getSegmentIntersections({{5, 15}, {25, 35}}, first, second, true), 2);
  EXPECT_EQ(first, (KX_Point2D{10, 20}));
  EXPECT_EQ(second, (KX_Point2D{20, 30}));

  // Through one corner only: the left side and the top side both find it.
  EXPECT_EQ(box.getSegmentIntersections({{5, 25}, {15, 35}}, first, second, true), 2);
  EXPECT_EQ(first, (KX_Point2D{10, 30}));
  EXPECT_EQ(second, (KX_Point2D{10, 30}));

  // A point-sized segment tries no side.
  EXPECT_EQ(box.getSegmentIntersections({{10, 25}, {10, 25}}, first, second, false), 0);
}

// Crossings of a segment with the box outline by parameter, in doubles: the
// parameters where the segment passes a side line within the side's extent.
int countOutlineCrossings(const KX_AABox2D& box, const KX_LineSegment2D& segment) {
  double px = segment.start.x, py = segment.start.y;
  double dx = double(segment.end.x) - px, dy = double(segment.end.y) - py;
  int crossings = 0;
  const double sidesX[2] = {box.x, double(box.x) + box.width};
  const double sidesY[2] = {box.y, double(box.y) + box.height};
  for (double sx : sidesX) {
    double t = (sx - px) / dx;
    double y = py + dy * t;
    if (t >= 0 && t <= 1 && y >= sidesY[0] && y <= sidesY[1]) ++crossings;
  }
  for (double sy : sidesY) {
    double t = (sy - py) / dy;
    double x = px + dx * t;
    if (t >= 0 && t <= 1 && x >= sidesX[0] && x <= sidesX[1]) ++crossings;
  }
  return crossings;
}

double distanceToSegment(double x, double y, const KX_LineSegment2D& s) {
  double dx = double(s.end.x) - s.start.x, dy = double(s.end.y) - s.start.y;
  double t = std::clamp(((x - s.start.x) * dx + (y - s.start.y) * dy) / (dx * dx + dy * dy), 0.0, 1.0);
  return std::hypot(s.start.x + t * dx - x, s.start.y + t * dy - y);
}

TEST(KX_AABox2D, RandomSegmentCrossingsMatchAClippingInDoubles) {
  std::mt19937 random(7);
  std::uniform_real_distribution<float> coordinate(-20.0f, 120.0f);
  KX_AABox2D box(0, 0, 100, 60);
  auto nearOutline = [](KX_Point2D p) {
    return std::fabs(p.x) < 0.01f || std::fabs(p.x - 100) < 0.01f || std::fabs(p.y) < 0.01f ||
           std::fabs(p.y - 60) < 0.01f;
  };
  int checked = 0;
  for (int i = 0; i < 5000; ++i) {
    KX_LineSegment2D segment{{coordinate(random), coordinate(random)}, {coordinate(random), coordinate(random)}};
    // Ends on the outline and passages by a corner are decided by rounding: skip them.
    if (nearOutline(segment.start) || nearOutline(segment.end)) continue;
    bool nearCorner = false;
    for (double cx : {0.0, 100.0})
      for (double cy : {0.0, 60.0}) nearCorner = nearCorner || distanceToSegment(cx, cy, segment) < 0.01;
    if (nearCorner) continue;

    KX_Point2D first{}, second{};
    int found = box.getSegmentIntersections(segment, first, second, true);
    ASSERT_EQ(found, countOutlineCrossings(box, segment)) << i;
    // Every hit lies on the outline and on the segment.
    for (int h = 0; h < found; ++h) {
      KX_Point2D p = h == 0 ? first : second;
      EXPECT_TRUE(nearOutline(p)) << i;
      EXPECT_LT(distanceToSegment(p.x, p.y, segment), 1e-3) << i;
    }
    ++checked;
  }
  EXPECT_GT(checked, 4000);
}

using KX_ShapeCopies = LiveBlockTest;

TEST_F(KX_ShapeCopies, BoxesAndCirclesCopyTheirFieldsThroughNewInstance) {
  KX_AABox2D box(1, 2, 3, 4);
  KX_Base* boxCopy = box.newInstance();
  boxCopy->copyFrom(&box);
  const KX_AABox2D* copiedBox = static_cast<const KX_AABox2D*>(boxCopy);
  EXPECT_EQ(copiedBox->x, 1);
  EXPECT_EQ(copiedBox->y, 2);
  EXPECT_EQ(copiedBox->width, 3);
  EXPECT_EQ(copiedBox->height, 4);
  EXPECT_FALSE(boxCopy->isEqual(&box));  // identity stays by address
  delete boxCopy;

  KX_Circle circle(5, 6, 7);
  KX_Base* circleCopy = circle.newInstance();
  circleCopy->copyFrom(&circle);
  const KX_Circle* copiedCircle = static_cast<const KX_Circle*>(circleCopy);
  EXPECT_EQ(copiedCircle->x, 5);
  EXPECT_EQ(copiedCircle->y, 6);
  EXPECT_EQ(copiedCircle->radius, 7);
  delete circleCopy;
}

}  // namespace
