// Segment-segment and segment-ray intersections: crossings, touching ends,
// parallel and collinear segments, rays behind their origin.
#include <gtest/gtest.h>

#include "geometry/KX_LineSegment2D.h"

namespace {

const KX_Point2D kUnwritten{-99, -99};

TEST(KX_LineSegment2D, CrossingSegmentsGiveTheirCommonPoint) {
  KX_LineSegment2D a{{0, 0}, {4, 4}};
  KX_Point2D hit = kUnwritten;
  EXPECT_TRUE(a.intersect({{0, 4}, {4, 0}}, hit, true));
  EXPECT_EQ(hit, (KX_Point2D{2, 2}));  // exact in binary floats

  // Touching at an end counts: both parameter ranges include their ends.
  hit = kUnwritten;
  EXPECT_TRUE(a.intersect({{4, 4}, {8, 0}}, hit, true));
  EXPECT_EQ(hit, (KX_Point2D{4, 4}));
  EXPECT_TRUE(a.intersect({{1, 1}, {3, -5}}, hit, true));  // T: other starts on this one
  EXPECT_EQ(hit, (KX_Point2D{1, 1}));

  // The lines cross beyond this segment: only without clipping, and a miss leaves hit alone.
  hit = kUnwritten;
  EXPECT_FALSE(a.intersect({{6, 0}, {6, 10}}, hit, true));
  EXPECT_EQ(hit, kUnwritten);
  EXPECT_TRUE(a.intersect({{6, 0}, {6, 10}}, hit, false));
  EXPECT_EQ(hit, (KX_Point2D{6, 6}));
  // Beyond the other segment likewise.
  EXPECT_FALSE(a.intersect({{0, 2}, {1, 2}}, hit, true));
  EXPECT_TRUE(a.intersect({{0, 2}, {1, 2}}, hit, false));
  EXPECT_EQ(hit, (KX_Point2D{2, 2}));
}

TEST(KX_LineSegment2D, ParallelAndCollinearSegments) {
  KX_Point2D hit = kUnwritten;
  // Parallel apart: no hit, even without clipping.
  EXPECT_FALSE((KX_LineSegment2D{{0, 0}, {4, 2}}).intersect({{0, 1}, {4, 3}}, hit, false));
  EXPECT_FALSE((KX_LineSegment2D{{0, 0}, {0, 5}}).intersect({{1, 0}, {1, 5}}, hit, false));  // vertical
  EXPECT_FALSE((KX_LineSegment2D{{0, 0}, {5, 0}}).intersect({{0, 1}, {5, 1}}, hit, false));  // horizontal
  EXPECT_EQ(hit, kUnwritten);

  // Collinear segments that lie apart intersect, with the hit in the gap: the
  // middle of the extent of all four ends.
  EXPECT_TRUE((KX_LineSegment2D{{0, 0}, {2, 1}}).intersect({{6, 3}, {8, 4}}, hit, true));
  EXPECT_EQ(hit, (KX_Point2D{4, 2}));
  // Axis-parallel collinear segments get there through 0 / 0.
  EXPECT_TRUE((KX_LineSegment2D{{0, 5}, {1, 5}}).intersect({{3, 5}, {9, 5}}, hit, true));
  EXPECT_EQ(hit, (KX_Point2D{4.5f, 5}));
  EXPECT_TRUE((KX_LineSegment2D{{2, 0}, {2, 1}}).intersect({{2, 7}, {2, 3}}, hit, true));
  EXPECT_EQ(hit, (KX_Point2D{2, 3.5f}));
  // Overlapping collinear segments.
  EXPECT_TRUE((KX_LineSegment2D{{0, 0}, {4, 4}}).intersect({{2, 2}, {10, 10}}, hit, true));
  EXPECT_EQ(hit, (KX_Point2D{5, 5}));
}

TEST(KX_LineSegment2D, RaysHitForwardOnly) {
  KX_LineSegment2D wall{{4, -2}, {4, 2}};
  KX_Point2D hit = kUnwritten;
  float parameter = -1;

  EXPECT_TRUE(wall.intersectRay({0, 1}, {2, 0}, hit, true));
  EXPECT_EQ(hit, (KX_Point2D{4, 1}));
  EXPECT_TRUE(wall.intersectRayParameter({0, 1}, {2, 0}, parameter, true));
  EXPECT_FLOAT_EQ(parameter, 2.0f);  // in units of the direction, which is 2 long

  // A ray has no upper limit, but starts at its origin.
  EXPECT_TRUE(wall.intersectRayParameter({-100, 0}, {1, 0}, parameter, true));
  EXPECT_FLOAT_EQ(parameter, 104.0f);
  EXPECT_FALSE(wall.intersectRayParameter({5, 0}, {1, 0}, parameter, true));
  EXPECT_FALSE(wall.intersectRay({5, 0}, {1, 0}, hit, false));
  EXPECT_TRUE(wall.intersectRayParameter({4, 0}, {1, 0}, parameter, true));  // origin on the wall
  EXPECT_EQ(parameter, 0.0f);

  // Passing the wall's end: only without clipping to the wall.
  hit = kUnwritten;
  EXPECT_FALSE(wall.intersectRay({0, 3}, {1, 0}, hit, true));
  EXPECT_EQ(hit, kUnwritten);
  EXPECT_TRUE(wall.intersectRay({0, 3}, {1, 0}, hit, false));
  EXPECT_EQ(hit, (KX_Point2D{4, 3}));
}

TEST(KX_LineSegment2D, RayAlongTheSegmentLineHitsAtItsOrigin) {
  KX_LineSegment2D edge{{0, 0}, {4, 0}};
  KX_Point2D hit = kUnwritten;
  float parameter = -1;
  // Whether it points along the edge, away from it, or starts beyond it.
  EXPECT_TRUE(edge.intersectRay({-3, 0}, {1, 0}, hit, true));
  EXPECT_EQ(hit, (KX_Point2D{-3, 0}));
  EXPECT_TRUE(edge.intersectRay({9, 0}, {1, 0}, hit, true));
  EXPECT_EQ(hit, (KX_Point2D{9, 0}));
  EXPECT_TRUE(edge.intersectRayParameter({2, 0}, {-1, 0}, parameter, true));
  EXPECT_EQ(parameter, 0.0f);
  // Parallel but off the line: no hit.
  EXPECT_FALSE(edge.intersectRay({0, 1}, {1, 0}, hit, false));
  EXPECT_FALSE(edge.intersectRayParameter({0, 1}, {-1, 0}, parameter, false));
}

}  // namespace
