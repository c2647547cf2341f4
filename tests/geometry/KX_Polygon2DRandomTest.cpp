// Random simple polygons of both windings against computations in doubles:
// orientation, convexity, triangulation area and containment.
#include <gtest/gtest.h>

#include "PolygonTestSupport.h"

namespace {

struct RandomPolygons : ::testing::Test {
  std::mt19937 random{20261123};

  // Calls check on a star-shaped polygon and on its reverse, for convex
  // (equal radii) and concave ones of 4 to 60 vertices; `minRadius` sets how
  // deep the concave ones may be.
  template <class Check>
  void forEachPolygon(int polygons, float minRadius, Check&& check) {
    std::uniform_int_distribution<int> vertexCount(4, 60);
    for (int i = 0; i < polygons; ++i) {
      bool convex = i % 4 == 0;
      KX_Polygon2D polygon;
      makeStarPolygon(polygon, random, vertexCount(random), 10, -5, convex ? 8.0f : minRadius, 8.0f);
      check(polygon, convex, i);
      polygon.reverse();
      check(polygon, convex, i);
    }
  }
};

// Sum of the corner turns in doubles, the two that wrap around included.
double cornerTurnSum(const KX_Polygon2D& polygon) {
  double sum = 0;
  int n = polygon.getCount();
  for (int k = 0; k < n; ++k) {
    const KX_Point2D& p = polygon.at(k);
    const KX_Point2D& q = polygon.at((k + 1) % n);
    const KX_Point2D& r = polygon.at((k + 2) % n);
    sum += (double(q.x) - p.x) * (double(r.y) - p.y) - (double(q.y) - p.y) * (double(r.x) - p.x);
  }
  return sum;
}

TEST_F(RandomPolygons, OrientationFollowsTheCornerTurnsAndConvexityTheirSigns) {
  int disagreeWithArea = 0;
  forEachPolygon(400, 1.0f, [&](KX_Polygon2D& polygon, bool convex, int i) {
    double turns = cornerTurnSum(polygon);
    if (std::fabs(turns) > 1e-3) {
      EXPECT_EQ(polygon.isCounterClockwise(), turns >= 0) << i;
    }
    double area = signedArea(polygon);
    if (convex) {
      EXPECT_EQ(polygon.isCounterClockwise(), area >= 0) << i;
    }
    disagreeWithArea += polygon.isCounterClockwise() != (area >= 0);
    int n = polygon.getCount();
    bool left = false, right = false;
    for (int k = 0; k < n; ++k) {
      const KX_Point2D& p = polygon.at(k);
      const KX_Point2D& q = polygon.at((k + 1) % n);
      const KX_Point2D& r = polygon.at((k + 2) % n);
      double turn = (double(q.x) - p.x) * (double(r.y) - p.y) - (double(q.y) - p.y) * (double(r.x) - p.x);
      left = left || turn > 1e-9;
      right = right || turn < -1e-9;
    }
    EXPECT_EQ(polygon.isConvex(), !(left && right)) << i;
    if (convex) {
      EXPECT_TRUE(polygon.isConvex()) << i;
    }
  });
  // Deep concave outlines are where the turn sum and the area part ways.
  EXPECT_GT(disagreeWithArea, 0);
}

// True when the polygon's triangles cover exactly its area.
bool trianglesCoverTheArea(KX_Polygon2D& polygon) {
  polygon.triangulate(polygon.triangles);
  double area = std::fabs(signedArea(polygon));
  return std::fabs(triangleArea(polygon, polygon.triangles) - area) <= 1e-4 * area;
}

// Concave outlines can defeat the ear test (a neighbour of the diagonal's
// ends may dip into the ear), so the full property is asked of convex ones;
// the named concave outlines are checked one by one elsewhere.
TEST_F(RandomPolygons, TriangulationOfConvexOutlinesCoversThemWithTrianglesOfTheirWinding) {
  forEachPolygon(400, 6.0f, [](KX_Polygon2D& polygon, bool convex, int i) {
    KX_IntArray triangles;
    polygon.triangulate(triangles);
    int n = polygon.getCount();
    for (int t = 0; t < triangles.getCount(); ++t) ASSERT_TRUE(triangles.at(t) >= 0 && triangles.at(t) < n) << i;
    if (!convex) return;
    ASSERT_EQ(triangles.getCount(), 3 * (n - 2)) << i;
    EXPECT_TRUE(trianglesCoverTheArea(polygon)) << i;
    for (int t = 0; t < triangles.getCount(); t += 3) {
      const KX_Point2D& a = polygon.at(triangles.at(t));
      const KX_Point2D& b = polygon.at(triangles.at(t + 1));
      const KX_Point2D& c = polygon.at(triangles.at(t + 2));
      double turn = (double(b.x) - a.x) * (double(c.y) - a.y) - (double(b.y) - a.y) * (double(c.x) - a.x);
      EXPECT_GE(signedArea(polygon) >= 0 ? turn : -turn, 0.0) << i << " triangle " << t / 3;
    }
  });
}

// Containment answers from the triangles; wherever they cover the outline
// exactly it must agree with an independent crossing-number test.
TEST_F(RandomPolygons, ContainmentAwayFromEdgesMatchesTheCrossingNumber) {
  std::uniform_real_distribution<float> coordinate(-0.5f, 1.0f);
  std::mt19937& pointRandom = random;
  int inside = 0, outside = 0, concaveCompared = 0;
  forEachPolygon(300, 6.0f, [&](KX_Polygon2D& polygon, bool convex, int i) {
    if (!trianglesCoverTheArea(polygon)) return;
    concaveCompared += !convex;
    for (int k = 0; k < 100; ++k) {
      KX_Point2D point{10 + 18 * coordinate(pointRandom), -5 + 18 * coordinate(pointRandom)};
      if (distanceToOutline(polygon, point.x, point.y) < 1e-3) continue;
      bool expected = crossingNumberContains(polygon, point.x, point.y);
      ASSERT_EQ(polygon.contains(point), expected) << i << " at " << point.x << ", " << point.y;
      (expected ? inside : outside) += 1;
    }
  });
  // Both answers, and concave outlines, were asked for often enough to matter.
  EXPECT_GT(concaveCompared, 20);
  EXPECT_GT(inside, 5000);
  EXPECT_GT(outside, 5000);
}

// The side rule of the triangles, written out: a vertex belongs; a point
// whose cross product with a side is exactly 0 and that lies between the
// side's ends (its directions to them nearly opposite) belongs; else the
// point must lie strictly on the polygon's inner side of all three sides.
bool sideRuleContains(KX_Polygon2D& polygon, const KX_Point2D& p) {
  int n = polygon.getCount();
  if (n < 3) return false;
  for (int i = 0; i < n; ++i) {
    if (polygon.at(i) == p) return true;
  }
  bool counterClockwise = polygon.isCounterClockwise();
  KX_IntArray corners;
  if (n == 3) {
    for (int i = 0; i < 3; ++i) corners.append(i);
  } else {
    polygon.triangulate(corners);
  }
  for (int t = 0; t + 2 < corners.getCount(); t += 3) {
    int inner = 0;
    for (int side = 0; side < 3; ++side) {
      const KX_Point2D& s = polygon.at(corners.at(t + side));
      const KX_Point2D& e = polygon.at(corners.at(t + (side + 1) % 3));
      float value = (e.x - s.x) * (p.y - s.y) - (e.y - s.y) * (p.x - s.x);
      if (value == 0.0f) {
        float sx = p.x - s.x, sy = p.y - s.y, ex = p.x - e.x, ey = p.y - e.y;
        float sl = std::sqrt(sx * sx + sy * sy), el = std::sqrt(ex * ex + ey * ey);
        if ((sx / sl) * (ex / el) + (sy / sl) * (ey / el) < -0.9f) return true;
      }
      inner += counterClockwise ? value > 0.0f : value < 0.0f;
    }
    if (inner == 3) return true;
  }
  return false;
}

// Points on the outline, on its edges' lines beyond them, on the diagonals
// of the triangles and anywhere: containment answers by the side rule.
TEST_F(RandomPolygons, ContainmentFollowsTheSideRuleOfTheTriangles) {
  std::uniform_real_distribution<float> unit(0.0f, 1.0f);
  std::mt19937& pointRandom = random;
  int onOutline = 0, contained = 0, total = 0;
  forEachPolygon(120, 3.0f, [&](KX_Polygon2D& polygon, bool, int i) {
    int n = polygon.getCount();
    KX_IntArray corners;
    polygon.triangulate(corners);
    for (int k = 0; k < 120; ++k) {
      const KX_Point2D& a = polygon.at(int(pointRandom() % unsigned(n)));
      const KX_Point2D& b = k % 4 == 3 && corners.getCount() >= 3
                                ? polygon.at(corners.at(int(pointRandom() % unsigned(corners.getCount()))))
                                : polygon.at(int(pointRandom() % unsigned(n)));
      float t;
      switch (k % 4) {
        case 0:
          t = 0.5f;
          break;  // middle
        case 1:
          t = float(pointRandom() % 8) / 8.0f;
          break;  // exact eighths
        case 2:
          t = 1.0f + unit(pointRandom);
          break;  // beyond the end
        default:
          t = unit(pointRandom);
          break;
      }
      KX_Point2D point{a.x + (b.x - a.x) * t, a.y + (b.y - a.y) * t};
      if (k % 10 == 9) point = {10 + 18 * (unit(pointRandom) - 0.5f), -5 + 18 * (unit(pointRandom) - 0.5f)};
      bool expected = sideRuleContains(polygon, point);
      ASSERT_EQ(polygon.contains(point), expected) << i << " at " << point.x << ", " << point.y;
      onOutline += distanceToOutline(polygon, point.x, point.y) < 1e-5;
      contained += expected;
      ++total;
    }
  });
  EXPECT_GT(onOutline, 1000);
  EXPECT_GT(contained, total / 5);
  EXPECT_LT(contained, total - total / 5);
}

}  // namespace
