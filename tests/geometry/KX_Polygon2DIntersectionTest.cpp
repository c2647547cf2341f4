// Rays, segments and boxes against a polygon's edges: hits through vertices,
// along edges, and the near-repeat rules.
#include <gtest/gtest.h>

#include "PolygonTestSupport.h"
#include "quadtree/KX_AABox2D.h"

namespace {

// Edges in order: bottom, right, top, left.
void makeSquare(KX_Polygon2D& square) {
  fillPolygon(square, {{0, 0}, {4, 0}, {4, 4}, {0, 4}});
}

void expectPoints(const KX_PointSet2D& points, std::initializer_list<KX_Point2D> expected, const char* scenario) {
  ASSERT_EQ(points.getCount(), int(expected.size())) << scenario;
  int i = 0;
  for (const KX_Point2D& point : expected) EXPECT_EQ(points.at(i++), point) << scenario;
}

TEST(KX_Polygon2D, RayHitsComeInEdgeOrderWithoutNearRepeats) {
  KX_Polygon2D square;
  makeSquare(square);
  KX_FloatArray parameters;
  parameters.append(99);  // cleared first

  // Right edge before left edge, though the left one is nearer.
  EXPECT_EQ(square.getRayHits({-2, 1}, {1, 0}, parameters), 2);
  EXPECT_EQ(parameters.at(0), 6.0f);
  EXPECT_EQ(parameters.at(1), 2.0f);

  // Along the diagonal through two corners: the hit at (4, 4) on the top edge
  // repeats the right edge's and is dropped; the one at (0, 0) on the left edge
  // only repeats a hit stored earlier, and stays.
  EXPECT_EQ(square.getRayHits({-2, -2}, {1, 1}, parameters), 3);
  EXPECT_EQ(parameters.at(0), 2.0f);
  EXPECT_EQ(parameters.at(1), 6.0f);
  EXPECT_EQ(parameters.at(2), 2.0f);

  // Pointing away: nothing.
  EXPECT_EQ(square.getRayHits({-2, 1}, {-1, 0}, parameters), 0);
  EXPECT_EQ(parameters.getCount(), 0);
}

TEST(KX_Polygon2D, RayIntersectionsCountAVertexOnce) {
  KX_Polygon2D square;
  makeSquare(square);
  KX_PointSet2D points;

  square.getRayIntersections({6, 2}, {-1, 1}, points);
  expectPoints(points, {{4, 4}}, "ray touching the corner between right and top edges");
  square.getRayIntersections({2, -2}, {1, 1}, points);
  expectPoints(points, {{4, 0}}, "ray touching the corner between bottom and right edges");
  square.getRayIntersections({-2, 2}, {1, 0}, points);
  expectPoints(points, {{4, 2}, {0, 2}}, "ray through the middle");
  // Vertex 0 is found on the first edge and, as the last stored point is
  // (4, 4), again on the last edge.
  square.getRayIntersections({-2, -2}, {1, 1}, points);
  expectPoints(points, {{0, 0}, {4, 4}, {0, 0}}, "ray through vertex 0 and the opposite corner");
  // The edge that the ray runs along gives the ray's origin.
  square.getRayIntersections({-1, 0}, {1, 0}, points);
  expectPoints(points, {{-1, 0}, {4, 0}, {0, 0}}, "ray along an edge");

  KX_Polygon2D clockwise;
  makeSquare(clockwise);
  clockwise.reverse();
  clockwise.getRayIntersections({6, 2}, {-1, 1}, points);
  expectPoints(points, {{4, 4}}, "ray touching a corner, clockwise");
}

TEST(KX_Polygon2D, SegmentIntersectionsAndTests) {
  KX_Polygon2D square;
  makeSquare(square);
  KX_PointSet2D points;

  EXPECT_EQ(square.getSegmentIntersections({{-1, 2}, {5, 2}}, points, true), 2);
  expectPoints(points, {{4, 2}, {0, 2}}, "segment across");
  EXPECT_EQ(square.getSegmentIntersections({{1, 2}, {3, 2}}, points, true), 0);
  EXPECT_EQ(square.getSegmentIntersections({{1, 2}, {3, 2}}, points, false), 2);
  expectPoints(points, {{4, 2}, {0, 2}}, "line of a segment inside");
  EXPECT_EQ(square.getSegmentIntersections({{2, 2}, {2, 6}}, points, true), 1);
  expectPoints(points, {{2, 4}}, "segment from inside out");

  EXPECT_TRUE(square.intersectsSegment({{2, 2}, {2, 6}}, true));
  EXPECT_FALSE(square.intersectsSegment({{1, 2}, {3, 2}}, true)) << "inside";
  EXPECT_TRUE(square.intersectsSegment({{1, 2}, {3, 2}}, false)) << "its line";
  EXPECT_FALSE(square.intersectsSegment({{5, 5}, {6, 7}}, true)) << "far";
  EXPECT_TRUE(square.intersectsSegment({{4, 4}, {6, 6}}, true)) << "touching a corner";
  // Collinear with the bottom edge, yet far from it: collinear segments always meet.
  EXPECT_TRUE(square.intersectsSegment({{10, 0}, {12, 0}}, true)) << "collinear with an edge";
}

TEST(KX_Polygon2D, BoxTestLooksAtTheOutlinesOnly) {
  KX_Polygon2D square;
  makeSquare(square);
  EXPECT_TRUE(square.intersectsBox(KX_AABox2D(3, 1, 2, 2))) << "box across an edge";
  EXPECT_TRUE(square.intersectsBox(KX_AABox2D(4, 4, 1, 1))) << "box touching a corner";
  EXPECT_FALSE(square.intersectsBox(KX_AABox2D(1, 1, 2, 2))) << "box inside the polygon";
  EXPECT_FALSE(square.intersectsBox(KX_AABox2D(-1, -1, 6, 6))) << "polygon inside the box";
  EXPECT_FALSE(square.intersectsBox(KX_AABox2D(5, 0, 1, 4))) << "box beside";
  KX_Polygon2D point;
  fillPolygon(point, {{1, 1}});
  EXPECT_FALSE(point.intersectsBox(KX_AABox2D(0, 0, 2, 2))) << "no edges";
}

}  // namespace
