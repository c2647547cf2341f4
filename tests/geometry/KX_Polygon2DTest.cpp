// Orientation, convexity, caches, containment, triangulation, length,
// reverse, simplify and copies of KX_Polygon2D, scenario by scenario.
#include <gtest/gtest.h>

#include "PolygonTestSupport.h"
#include "support/LiveBlockGuard.h"

namespace {

using KX_Polygon2DScenario = LiveBlockTest;

TEST_F(KX_Polygon2DScenario, FewerThanThreeVerticesContainNothingAndAreCounterClockwiseAndConvex) {
  for (int n = 0; n < 3; ++n) {
    KX_Polygon2D polygon;
    for (int i = 0; i < n; ++i) polygon.append({float(i), float(2 * i)});
    EXPECT_FALSE(polygon.contains({0, 0})) << n;  // not even its own vertex
    EXPECT_TRUE(polygon.isCounterClockwise()) << n;
    EXPECT_TRUE(polygon.isConvex()) << n;
    KX_IntArray triangles;
    polygon.triangulate(triangles);
    EXPECT_EQ(triangles.getCount(), 0) << n;
  }
}

TEST(KX_Polygon2D, LengthCountsTheClosingEdgeOnlyWhenClosed) {
  KX_Polygon2D point;
  fillPolygon(point, {{3, 4}});
  EXPECT_EQ(point.getLength(true), 0.0f);
  EXPECT_EQ(point.getLength(false), 0.0f);
  KX_Polygon2D empty;
  EXPECT_EQ(empty.getLength(true), 0.0f);
  EXPECT_EQ(empty.getLength(false), 0.0f);

  KX_Polygon2D path;
  fillPolygon(path, {{0, 0}, {3, 4}, {3, 0}});
  EXPECT_EQ(path.getLength(false), 9.0f);  // 5 + 4
  EXPECT_EQ(path.getLength(true), 12.0f);  // + 3
}

TEST(KX_Polygon2D, OrientationAndConvexityOfNamedOutlines) {
  struct Case {
    const char* scenario;
    std::initializer_list<KX_Point2D> points;
    bool counterClockwise;
    bool convex;
  };
  const Case cases[] = {
      {"square, counter-clockwise", {{0, 0}, {4, 0}, {4, 4}, {0, 4}}, true, true},
      {"square, clockwise", {{0, 0}, {0, 4}, {4, 4}, {4, 0}}, false, true},
      {"L shape, counter-clockwise", {{0, 0}, {4, 0}, {4, 1}, {1, 1}, {1, 4}, {0, 4}}, true, false},
      {"L shape, clockwise", {{0, 0}, {0, 4}, {1, 4}, {1, 1}, {4, 1}, {4, 0}}, false, false},
      {"square with a straight corner", {{0, 0}, {2, 0}, {4, 0}, {4, 4}, {0, 4}}, true, true},
      {"square with a repeated corner", {{0, 0}, {4, 0}, {4, 0}, {4, 4}, {0, 4}}, true, true},
      {"collinear points, zero area", {{0, 0}, {1, 1}, {2, 2}}, true, true},
      {"triangle, clockwise", {{0, 0}, {0, 1}, {1, 0}}, false, true},
      // The orientation is the sign of the summed corner turns, which are
      // weighted by edge length: here they lean left although the area is
      // clockwise.
      {"concave clockwise outline with left-leaning corners",
       {{0, 3}, {0, 4}, {2, 4}, {4, 4}, {1, 3}, {2, 0}},
       true,
       false},
  };
  for (const Case& c : cases) {
    KX_Polygon2D polygon;
    fillPolygon(polygon, c.points);
    EXPECT_EQ(polygon.isCounterClockwise(), c.counterClockwise) << c.scenario;
    EXPECT_EQ(polygon.isConvex(), c.convex) << c.scenario;
    EXPECT_EQ(polygon.flags, KX_Polygon2D::kCounterClockwiseValid | KX_Polygon2D::kConvexValid) << c.scenario;
  }
}

TEST(KX_Polygon2D, CachedValuesStayUntilThePointsChange) {
  KX_Polygon2D polygon;
  fillPolygon(polygon, {{0, 0}, {4, 0}, {4, 4}, {0, 4}});
  EXPECT_TRUE(polygon.isCounterClockwise());
  EXPECT_TRUE(polygon.contains({1, 1}));
  EXPECT_EQ(polygon.flags, KX_Polygon2D::kCounterClockwiseValid | KX_Polygon2D::kTrianglesValid);

  // Writing through the buffer bypasses the caches until `invalidate`.
  KX_Point2D* points = polygon.getBuffer();
  points[1] = KX_Point2D{0, 4};
  points[3] = KX_Point2D{4, 0};
  EXPECT_TRUE(polygon.isCounterClockwise());
  polygon.invalidate();
  EXPECT_EQ(polygon.flags, 0);
  EXPECT_EQ(polygon.triangles.getCount(), 0);
  EXPECT_FALSE(polygon.isCounterClockwise());

  // Adding or moving points drops every cache.
  EXPECT_TRUE(polygon.isConvex());
  polygon.set(2, {1, 1});
  EXPECT_EQ(polygon.flags, 0);
  EXPECT_FALSE(polygon.isCounterClockwise());
  polygon.append({-1, -1});
  EXPECT_EQ(polygon.flags, 0);

  // Removing points keeps the orientation only.
  EXPECT_FALSE(polygon.isCounterClockwise());
  EXPECT_FALSE(polygon.isConvex());
  EXPECT_FALSE(polygon.contains({9, 9}));
  polygon.remove(4);
  EXPECT_EQ(polygon.flags, KX_Polygon2D::kCounterClockwiseValid);
  EXPECT_EQ(polygon.triangles.getCount(), 0);
}

TEST(KX_Polygon2D, ContainmentOnVerticesEdgesAndDiagonalsInBothWindings) {
  struct Probe {
    const char* scenario;
    KX_Point2D point;
    bool contained;
  };
  // A triangle needs no triangulation; a square is split along its diagonal 0-2.
  const Probe triangleProbes[] = {
      {"vertex", {4, 0}, true},
      {"other vertex", {0, 4}, true},
      {"on an axis edge", {2, 0}, true},
      {"on the slanted edge", {2, 2}, true},
      {"inside", {1, 1}, true},
      {"outside beyond the slanted edge", {3, 3}, false},
      {"on an edge's line beyond its end", {5, 0}, false},
      {"just outside an axis edge", {2, -0.001f}, false},
  };
  const Probe squareProbes[] = {
      {"vertex", {4, 4}, true},
      {"point on the shared diagonal", {2, 2}, true},
      {"inside the first triangle", {3, 1}, true},
      {"inside the second triangle", {1, 3}, true},
      {"on an edge", {4, 2}, true},
      {"outside", {5, 2}, false},
      {"on an edge's line beyond the corner", {4, 6}, false},
  };
  for (bool reversed : {false, true}) {
    KX_Polygon2D triangle;
    fillPolygon(triangle, {{0, 0}, {4, 0}, {0, 4}});
    KX_Polygon2D square;
    fillPolygon(square, {{0, 0}, {4, 0}, {4, 4}, {0, 4}});
    if (reversed) {
      triangle.reverse();
      square.reverse();
    }
    for (const Probe& p : triangleProbes) {
      EXPECT_EQ(triangle.contains(p.point), p.contained) << "triangle, " << p.scenario << (reversed ? ", cw" : ", ccw");
    }
    EXPECT_EQ(triangle.flags & KX_Polygon2D::kTrianglesValid, 0);  // a triangle is never triangulated
    for (const Probe& p : squareProbes) {
      EXPECT_EQ(square.contains(p.point), p.contained) << "square, " << p.scenario << (reversed ? ", cw" : ", ccw");
    }
  }
}

TEST(KX_Polygon2D, AnEarIsJudgedByCrossingsOfItsDiagonalOnly) {
  // Vertex 3 lies inside the triangle 0, 1, 2. The only edges that could
  // cross the diagonal 0-2 touch its ends and are left out, so the corner is
  // cut as an ear; 0, 2, 3 is what remains. The triangles cover 8 + 3 = 11,
  // more than the outline's area of 5.
  KX_Polygon2D polygon;
  fillPolygon(polygon, {{0, 0}, {4, 0}, {2, 4}, {2, 1}});
  ASSERT_TRUE(polygon.isCounterClockwise());
  KX_IntArray triangles;
  polygon.triangulate(triangles);
  ASSERT_EQ(triangles.getCount(), 6);
  const int expected[6] = {0, 1, 2, 0, 2, 3};
  for (int i = 0; i < 6; ++i) EXPECT_EQ(triangles.at(i), expected[i]) << i;
  EXPECT_NEAR(triangleArea(polygon, triangles), 11.0, 1e-6);
  EXPECT_TRUE(polygon.contains({1.5f, 2})) << "point in the notch, covered by the first ear";
  EXPECT_TRUE(polygon.contains({3, 1})) << "point in the body";
}

TEST(KX_Polygon2D, TriangulationCoversConvexAndConcaveOutlinesInBothWindings) {
  struct Case {
    const char* scenario;
    std::initializer_list<KX_Point2D> points;
  };
  const Case cases[] = {
      {"square", {{0, 0}, {4, 0}, {4, 4}, {0, 4}}},
      {"hexagon", {{2, 0}, {4, 1}, {4, 3}, {2, 4}, {0, 3}, {0, 1}}},
      {"L shape", {{0, 0}, {4, 0}, {4, 1}, {1, 1}, {1, 4}, {0, 4}}},
      {"U shape", {{0, 0}, {6, 0}, {6, 5}, {4, 5}, {4, 2}, {2, 2}, {2, 5}, {0, 5}}},
      {"comb", {{0, 0}, {7, 0}, {7, 3}, {6, 3}, {5, 1}, {4, 3}, {3, 1}, {2, 3}, {1, 1}, {0, 3}}},
      {"arrow", {{0, 0}, {3, 1}, {6, 0}, {3, 5}}},
  };
  for (const Case& c : cases) {
    for (bool reversed : {false, true}) {
      KX_Polygon2D polygon;
      fillPolygon(polygon, c.points);
      if (reversed) polygon.reverse();
      KX_IntArray result;
      polygon.triangulate(result);
      SCOPED_TRACE(std::string(c.scenario) + (reversed ? ", clockwise" : ", counter-clockwise"));
      EXPECT_EQ(result.getCount(), 3 * (polygon.getCount() - 2));
      EXPECT_NEAR(triangleArea(polygon, result), std::fabs(signedArea(polygon)), 1e-5);
      // The polygon keeps what it made; a second call copies it.
      EXPECT_TRUE(polygon.flags & KX_Polygon2D::kTrianglesValid);
      ASSERT_EQ(polygon.triangles.getCount(), result.getCount());
      KX_IntArray again;
      polygon.triangulate(again);
      for (int i = 0; i < result.getCount(); ++i) {
        EXPECT_EQ(polygon.triangles.at(i), result.at(i));
        EXPECT_EQ(again.at(i), result.at(i));
      }
    }
  }
}

TEST(KX_Polygon2D, SelfCrossingOutlineKeepsTheEarsFoundBeforeTheSearchFails) {
  // After cutting the ear 4, 5, 0 no corner of the rest is an ear.
  KX_Polygon2D polygon;
  fillPolygon(polygon, {{0, 1}, {2, 2}, {1, 2}, {2, 0}, {1, 1}, {1, 0}});
  polygon.triangulate(polygon.triangles);
  ASSERT_EQ(polygon.triangles.getCount(), 3);
  EXPECT_EQ(polygon.triangles.at(0), 4);
  EXPECT_EQ(polygon.triangles.at(1), 5);
  EXPECT_EQ(polygon.triangles.at(2), 0);
  EXPECT_TRUE(polygon.contains({0.8f, 0.8f}));   // in the ear
  EXPECT_FALSE(polygon.contains({1.6f, 1.2f}));  // inside the outline, but not covered
}

TEST(KX_Polygon2D, ReverseTurnsTheOutlineAroundAndDropsTheCaches) {
  for (int n : {4, 5}) {
    KX_Polygon2D polygon;
    fillPolygon(polygon, {{0, 0}, {4, 0}, {5, 2}, {4, 4}, {0, 4}});
    polygon.resize(n);
    polygon.set(n - 1, {0, 4});
    ASSERT_TRUE(polygon.isCounterClockwise());
    polygon.contains({1, 1});
    KX_Polygon2D original;
    original.copyFrom(&polygon);
    polygon.reverse();
    EXPECT_EQ(polygon.flags, 0);
    for (int i = 0; i < n; ++i) EXPECT_EQ(polygon.at(i), original.at(n - 1 - i));
    EXPECT_FALSE(polygon.isCounterClockwise());
    EXPECT_TRUE(polygon.contains({1, 1}));
  }
}

TEST(KX_Polygon2D, SimplifyRemovesRepeatedAndStraightPoints) {
  struct Case {
    const char* scenario;
    bool closed;
    std::initializer_list<KX_Point2D> points;
    std::initializer_list<KX_Point2D> expected;
  };
  const Case cases[] = {
      {"open, three collinear points", false, {{0, 0}, {1, 1}, {2, 2}}, {{0, 0}, {2, 2}}},
      {"closed, all collinear", true, {{0, 0}, {1, 0}, {2, 0}, {3, 0}}, {}},
      {"closed, two points apart", true, {{0, 0}, {1, 0}}, {{0, 0}, {1, 0}}},
      {"repeats and a closing repeat",
       true,
       {{0, 0}, {0, 0}, {1, 0}, {1, 1}, {1, 1}, {0, 0}},
       {{0, 0}, {1, 0}, {1, 1}}},
      {"single repeated point", true, {{2, 2}, {2, 2}, {2, 2}}, {{2, 2}}},
      {"closed, straight first point",
       true,
       {{2, 0}, {4, 0}, {4, 4}, {0, 4}, {0, 0}},
       {{4, 0}, {4, 4}, {0, 4}, {0, 0}}},
      {"open keeps its first point",
       false,
       {{2, 0}, {4, 0}, {4, 4}, {0, 4}, {0, 0}},
       {{2, 0}, {4, 0}, {4, 4}, {0, 4}, {0, 0}}},
      {"run of straight points measured from its start",
       false,
       {{0, 0}, {1, 0}, {2, 0}, {3, 0}, {3, 1}},
       {{0, 0}, {3, 0}, {3, 1}}},
      {"tiny turn between short edges counts as straight",
       false,
       {{0, 0}, {0.001f, 0}, {0.002f, 0.001f}},
       {{0, 0}, {0.002f, 0.001f}}},
      {"small turn between long edges stays", false, {{0, 0}, {1, 0}, {2, 0.0001f}}, {{0, 0}, {1, 0}, {2, 0.0001f}}},
  };
  for (const Case& c : cases) {
    KX_Polygon2D polygon;
    fillPolygon(polygon, c.points);
    polygon.simplify(c.closed);
    ASSERT_EQ(polygon.getCount(), int(c.expected.size())) << c.scenario;
    int i = 0;
    for (const KX_Point2D& point : c.expected) EXPECT_EQ(polygon.at(i++), point) << c.scenario;
  }
}

TEST(KX_Polygon2D, SimplifyKeepsTheOrientationCacheOnly) {
  KX_Polygon2D polygon;
  fillPolygon(polygon, {{0, 0}, {2, 0}, {4, 0}, {4, 4}, {0, 4}});
  polygon.isConvex();
  polygon.contains({1, 1});
  ASSERT_EQ(polygon.flags, 0x0b);
  polygon.simplify(true);
  EXPECT_EQ(polygon.getCount(), 4);
  EXPECT_EQ(polygon.flags, KX_Polygon2D::kCounterClockwiseValid);
  EXPECT_EQ(polygon.triangles.getCount(), 0);

  // Nothing removed: nothing forgotten.
  polygon.contains({1, 1});
  polygon.simplify(true);
  EXPECT_EQ(polygon.flags, KX_Polygon2D::kCounterClockwiseValid | KX_Polygon2D::kTrianglesValid);
}

TEST_F(KX_Polygon2DScenario, CopiesCarryTheCachesThatAreValid) {
  const KX_Point2D points[] = {{0, 0}, {4, 0}, {4, 4}, {0, 4}};
  KX_Polygon2D triangulated(points, 4);
  ASSERT_EQ(triangulated.getCount(), 4);
  EXPECT_EQ(triangulated.at(2), (KX_Point2D{4, 4}));
  triangulated.contains({1, 1});

  KX_Base* copy = triangulated.newInstance();
  KX_Polygon2D* polygon = static_cast<KX_Polygon2D*>(copy);
  EXPECT_EQ(polygon->getCount(), 0);
  EXPECT_EQ(polygon->flags, 0);
  EXPECT_EQ(polygon->getGrowStep(), 32);
  polygon->copyFrom(&triangulated);
  EXPECT_EQ(polygon->getCount(), 4);
  EXPECT_EQ(polygon->flags, triangulated.flags);
  EXPECT_EQ(polygon->triangles.getCount(), 6);

  // A source without triangles clears the target's stale ones.
  KX_Polygon2D oriented(points, 3);
  oriented.triangles.append(7);  // stale entries, not flagged valid
  oriented.isCounterClockwise();
  polygon->copyFrom(&oriented);
  EXPECT_EQ(polygon->getCount(), 3);
  EXPECT_EQ(polygon->flags, KX_Polygon2D::kCounterClockwiseValid);
  EXPECT_EQ(polygon->triangles.getCount(), 0);
  delete copy;
}

TEST_F(KX_Polygon2DScenario, UpTo23VerticesNeedNoSecondAllocation) {
  KX_Point2D points[24];
  for (int i = 0; i < 24; ++i) points[i] = KX_Point2D{float(i), float(i * i)};
  long long before = KX_getAllocationCount();
  {
    KX_Polygon2D polygon(points, 23);
    EXPECT_EQ(KX_getAllocationCount(), before);
  }
  {
    KX_Polygon2D polygon(points, 24);
    EXPECT_EQ(KX_getAllocationCount(), before + 1);
  }
}

}  // namespace
