// Relation, union, offset and splitting of polygons: named scenarios in both
// windings, and properties of random convex polygons checked in doubles.
#include <gtest/gtest.h>

#include <cmath>
#include <random>

#include "PolygonTestSupport.h"
#include "geometry/KX_PolygonList2D.h"
#include "support/LiveBlockGuard.h"

namespace {

using KX_PolygonOperations = LiveBlockTest;
// A few points by value, so that helpers can return them.
struct Points {
  Points() = default;
  Points(std::initializer_list<KX_Point2D> list) {
    for (KX_Point2D point : list) p[n++] = point;
  }
  const KX_Point2D* begin() const { return p; }
  const KX_Point2D* end() const { return p + n; }
  KX_Point2D p[10];
  int n = 0;
};

void set(KX_Polygon2D& polygon, const Points& points, bool reversed = false) {
  polygon.clear();
  for (KX_Point2D point : points) polygon.append(point);
  if (!reversed || polygon.getCount() < 2) return;
  polygon.reverse();  // the other winding, with the same first vertex
  KX_Point2D first = polygon.at(polygon.getCount() - 1);
  polygon.remove(polygon.getCount() - 1);
  polygon.insert(0, first);
}

Points square(float x0, float y0, float x1, float y1) {
  return {{x0, y0}, {x1, y0}, {x1, y1}, {x0, y1}};
}

// A U open at the top: arms 0..2 and 4..6 wide, the notch 2..4 down to y 1.
const Points kU = {{0, 0}, {6, 0}, {6, 4}, {4, 4}, {4, 1}, {2, 1}, {2, 4}, {0, 4}};

// Every point of `expected` is a vertex of the polygon, within 1e-4.
void expectVertices(const KX_Polygon2D& polygon, const Points& expected, int line) {
  for (KX_Point2D p : expected) {
    bool found = false;
    for (int i = 0; i < polygon.getCount(); ++i) {
      found |= std::fabs(polygon.at(i).x - p.x) < 1e-4f && std::fabs(polygon.at(i).y - p.y) < 1e-4f;
    }
    EXPECT_TRUE(found) << "line " << line << ": no vertex at " << p.x << ", " << p.y;
  }
}

void expectRelation(const Points& a, const Points& b, int expected, const char* name) {
  for (int winding = 0; winding < 4; ++winding) {
    KX_Polygon2D first, second;
    set(first, a, winding & 1);
    set(second, b, winding & 2);
    bool r[3] = {true, true, true};
    first.getRelation(second, r[0], r[1], r[2]);
    EXPECT_EQ(r[0] * 1 + r[1] * 2 + r[2] * 4, expected) << name << ", winding " << winding;
  }
}

TEST_F(KX_PolygonOperations, RelationOfNamedScenariosInBothWindings) {
  // 1: overlap, 2: this inside other, 4: other inside this.
  expectRelation(square(0, 0, 2, 2), square(0, 0, 2, 2), 2, "identical squares");
  expectRelation(square(0, 0, 2, 2), square(1, 1, 3, 3), 1, "squares overlapping at a corner");
  expectRelation(square(0, 0, 2, 2), square(5, 5, 6, 6), 0, "squares apart");
  // Collinear edges meet even where they lie apart: squares on one line overlap.
  expectRelation(square(0, 0, 2, 2), square(5, 0, 6, 1), 1, "squares apart on one line");
  expectRelation(square(-3, -1, 3, 1), square(-1, -3, 1, 3), 1, "plus sign");
  expectRelation(square(2.5f, 0.25f, 3.5f, 0.75f), kU, 2, "square in the base of the concave U");
  expectRelation(kU, square(2.5f, 0.25f, 3.5f, 0.75f), 4, "concave U around the square");
  expectRelation(square(0, 0, 10, 10), square(4, 4, 5, 5), 4, "convex square around a convex one");
  expectRelation(square(1, 2, 5, 3), kU, 1, "bar across the notch, its vertices in the arms");
  // For two convex polygons the other's first vertex decides, though the triangle pokes out.
  expectRelation(square(0, 0, 4, 4), {{2, 2}, {10, 1}, {10, 3}}, 4, "triangle poking out from its first vertex");
  expectRelation({}, square(0, 0, 4, 4), 0, "no vertices against a square");
  expectRelation(square(0, 0, 4, 4), {}, 4, "a square against no vertices: none of them lies outside");
}

TEST_F(KX_PolygonOperations, UnionTracesTheOuterOutline) {
  for (int winding = 0; winding < 4; ++winding) {
    KX_Polygon2D a, b, bBefore;
    set(a, square(0, 0, 2, 2), winding & 1);
    set(b, square(1, 1, 3, 3), winding & 2);
    bBefore.copyFrom(&b);
    a.unionWith(b);
    ASSERT_EQ(a.getCount(), 8) << winding;
    expectVertices(a, {{0, 0}, {2, 0}, {2, 1}, {3, 1}, {3, 3}, {1, 3}, {1, 2}, {0, 2}}, __LINE__);
    EXPECT_NEAR(std::fabs(signedArea(a)), 7.0, 1e-4) << winding;
    EXPECT_EQ(a.isCounterClockwise(), b.isCounterClockwise()) << winding;  // runs the way `other` does
    for (int i = 0; i < 4; ++i) EXPECT_TRUE(b.at(i) == bBefore.at(i)) << winding;
  }
  // Every vertex inside the other: the walk starts on the other, at a vertex outside this one.
  KX_Polygon2D inner, outer, bar, u, empty;
  set(inner, square(4, 4, 5, 5));
  set(outer, square(0, 0, 10, 10));
  inner.unionWith(outer);
  ASSERT_EQ(inner.getCount(), 4);
  for (int i = 0; i < 4; ++i) EXPECT_EQ(inner.at(i), outer.at(i));
  // The bar's vertices lie in the U's arms. The walk crosses to the bar at
  // (4, 3) and goes straight on to the bar's next vertex: the rest of the
  // crossed edge is not tested, so the left arm's inner side is crossed unseen.
  set(bar, square(1, 2, 5, 3));
  set(u, kU);
  bar.unionWith(u);
  KX_Point2D walked[] = {{0, 0}, {6, 0}, {6, 4}, {4, 4}, {4, 3}, {1, 3}, {1, 2}, {2, 2}, {2, 4}, {0, 4}};
  ASSERT_EQ(bar.getCount(), 10);
  for (int i = 0; i < 10; ++i) EXPECT_TRUE(bar.at(i) == walked[i]) << i;
  empty.unionWith(u);  // with nothing: the other polygon
  EXPECT_EQ(empty.getCount(), 8);
}

TEST_F(KX_PolygonOperations, WallsMeetingAtACornerUniteWithoutRepeatedPoints) {
  // Two walls in an L that share their corner at the origin: the walk crosses
  // over at that corner again and again, and must not leave zero-length edges.
  for (int winding = 0; winding < 4; ++winding) {
    KX_Polygon2D across, up, far;
    set(across, square(0, 0, 10, 1), winding & 1);
    set(up, square(0, 0, 1, 10), winding & 2);
    across.unionWith(up);
    const int n = across.getCount();
    for (int i = 0; i < n; ++i) {
      EXPECT_FALSE(across.at(i) == across.at((i + 1) % n)) << winding << ": point " << i << " repeats";
    }
    // With no zero-length edge, a square far off neither overlaps nor lies inside.
    set(far, square(40, 40, 45, 45));
    bool r[3] = {true, true, true};
    across.getRelation(far, r[0], r[1], r[2]);
    EXPECT_FALSE(r[0] || r[1] || r[2]) << winding;
    if (winding < 2) {
      EXPECT_NEAR(std::fabs(signedArea(across)), 19.0, 1e-4) << winding;
      expectVertices(across, {{0, 0}, {10, 0}, {10, 1}, {1, 1}, {1, 10}, {0, 10}}, __LINE__);
      EXPECT_TRUE(across.contains({0.5f, 5.0f})) << winding;
    }
  }
  // The walls share parts of two edges. Collinear edges meet at the middle of
  // their common extent, so with the upright wall wound the other way the walk
  // hands over at (5, 0) and closes early: the upright arm is lost.
  KX_Polygon2D across, up;
  set(across, square(0, 0, 10, 1));
  set(up, square(0, 0, 1, 10), true);
  across.unionWith(up);
  EXPECT_FALSE(across.contains({0.5f, 5.0f}));
  expectVertices(across, {{10, 1}, {10, 0}, {5, 0}, {0, 0}}, __LINE__);
}

TEST_F(KX_PolygonOperations, OffsetsKeepSharpCornersAndTurnInsideOutPastTheInradius) {
  for (int winding = 0; winding < 2; ++winding) {
    KX_Polygon2D polygon, straight, triangle, before;
    set(polygon, square(0, 0, 2, 2), winding);
    polygon.expand(1);
    ASSERT_EQ(polygon.getCount(), 4);
    expectVertices(polygon, square(-1, -1, 3, 3), __LINE__);
    // A vertex in a straight edge: the edges beside it are collinear, and it
    // goes to the middle of their extent.
    set(straight, {{0, 0}, {1, 0}, {4, 0}, {4, 4}, {0, 4}}, winding);
    straight.shrink(1);
    expectVertices(straight, {{2, 1}, {3, 1}, {3, 3}}, __LINE__);
    // Legs 4 and 3: inradius 1, incentre (1, 1). Shrunk by 2 each vertex goes
    // to its mirror image through the incentre: a half turn keeps the
    // winding, but every edge runs against its old direction.
    set(triangle, {{0, 0}, {4, 0}, {0, 3}}, winding);
    before.copyFrom(&triangle);
    triangle.shrink(2);
    ASSERT_EQ(triangle.getCount(), 3);
    expectVertices(triangle, {{2, 2}, {-2, 2}, {2, -1}}, __LINE__);
    for (int i = 0; i < 3; ++i) {
      KX_LineSegment2D now = triangle.getEdge(i), was = before.getEdge(i);
      EXPECT_LT(
          (now.end.x - now.start.x) * (was.end.x - was.start.x) + (now.end.y - now.start.y) * (was.end.y - was.start.y),
          0.0f);
    }
  }
}

TEST_F(KX_PolygonOperations, SplittingKeepsTheLongerOutlineAndCutsAtCollinearEdges) {
  for (int winding = 0; winding < 2; ++winding) {
    // Edges 0 and 2 cross at (2.4, 1.2). The piece cut out is the vertices
    // between the crossing edges, without the crossing point.
    KX_Polygon2D eight;
    set(eight, {{6, 3}, {0, 0}, {0, 2}, {6, 0}}, winding);
    KX_PolygonList2D pieces;
    pieces.append(new KX_Polygon2D());  // cleared first
    eight.splitSelfIntersections(&pieces);
    ASSERT_EQ(eight.getCount(), 3);
    expectVertices(eight, {{2.4f, 1.2f}, {6, 3}, {6, 0}}, __LINE__);
    ASSERT_EQ(pieces.getCount(), 1);
    EXPECT_EQ(pieces.getPolygon(0)->getCount(), 2);
    expectVertices(*pieces.getPolygon(0), {{0, 0}, {0, 2}}, __LINE__);
  }
  KX_Polygon2D u, expanded;
  // The U's two top edges lie on one line: the split cuts at the middle of
  // their extent and keeps the longer outline, so the notch is filled, also
  // when the U is expanded.
  set(u, kU);
  u.splitSelfIntersections(nullptr);
  KX_Point2D filled[] = {{0, 0}, {6, 0}, {6, 4}, {3, 4}, {0, 4}};
  ASSERT_EQ(u.getCount(), 5);
  for (int i = 0; i < 5; ++i) EXPECT_TRUE(u.at(i) == filled[i]) << i;
  set(expanded, kU);
  expanded.expand(0.5f);
  EXPECT_EQ(expanded.getCount(), 5);
  expectVertices(expanded, {{3, 4.5f}}, __LINE__);
}

TEST_F(KX_PolygonOperations, RandomConvexPolygonsAgreeWithBruteForce) {
  std::mt19937 random(5);
  std::uniform_real_distribution<float> place(-4, 4);
  int kinds[5] = {};
  for (int round = 0; round < 400; ++round) {
    KX_Polygon2D a, b, united, expanded;
    float ra = place(random) / 2 + 2.5f, rb = place(random) / 2 + 2.5f;
    makeStarPolygon(a, random, 5 + round % 4, place(random), place(random), ra, ra);
    makeStarPolygon(b, random, 4 + round % 5, place(random), place(random), rb, rb);
    if (round & 1) b.reverse();
    bool crossing = false, aInB = true, bInA = true, anyOfAInB = false;
    for (int i = 0; i < a.getCount(); ++i) {
      for (int j = 0; j < b.getCount(); ++j) {  // both edge parameters strictly inside 0..1
        KX_LineSegment2D e = a.getEdge(i), f = b.getEdge(j);
        double ex = e.end.x - e.start.x, ey = e.end.y - e.start.y, fx = f.end.x - f.start.x, fy = f.end.y - f.start.y;
        double gx = f.start.x - e.start.x, gy = f.start.y - e.start.y, d = ex * fy - ey * fx;
        double t = (gx * fy - gy * fx) / d, u = (gx * ey - gy * ex) / d;
        crossing |= t > 0 && t < 1 && u > 0 && u < 1;
      }
      bool in = crossingNumberContains(b, a.at(i).x, a.at(i).y);
      aInB &= in;
      anyOfAInB |= in;
    }
    for (int i = 0; i < b.getCount(); ++i) bInA &= crossingNumberContains(a, b.at(i).x, b.at(i).y);
    // Judged by b's first vertex alone (see the poking triangle): skipped.
    if (!anyOfAInB && crossingNumberContains(a, b.at(0).x, b.at(0).y) && !bInA) {
      kinds[4]++;
      continue;
    }
    bool r[3];
    a.getRelation(b, r[0], r[1], r[2]);
    EXPECT_EQ(r[0], crossing) << round;
    EXPECT_EQ(r[1], !crossing && aInB) << round;
    EXPECT_EQ(r[2], !crossing && bInA) << round;
    kinds[crossing ? 0 : aInB ? 1 : bInA ? 2 : 3]++;
    if (crossing) {  // the union holds exactly the points of either polygon
      united.copyFrom(&a);
      united.unionWith(b);
      for (int k = 0; k < 50; ++k) {
        double x = place(random) * 2, y = place(random) * 2;
        if (distanceToOutline(a, x, y) < 1e-3 || distanceToOutline(b, x, y) < 1e-3) continue;
        bool inEither = crossingNumberContains(a, x, y) || crossingNumberContains(b, x, y);
        EXPECT_EQ(crossingNumberContains(united, x, y), inEither) << round << ": " << x << ", " << y;
      }
    }
    // Expanded, vertex i lies at the distance from the lines of both edges at old vertex i.
    float distance = 0.25f + (round % 7) * 0.5f;
    expanded.copyFrom(&a);
    expanded.expand(distance);
    ASSERT_EQ(expanded.getCount(), a.getCount()) << round;
    for (int i = 0; i < a.getCount(); ++i) {
      for (int e : {i > 0 ? i - 1 : a.getCount() - 1, i}) {
        KX_LineSegment2D edge = a.getEdge(e);
        double dx = edge.end.x - edge.start.x, dy = edge.end.y - edge.start.y;
        double off = (expanded.at(i).x - edge.start.x) * dy - (expanded.at(i).y - edge.start.y) * dx;
        EXPECT_NEAR(std::fabs(off) / std::hypot(dx, dy), distance, 1e-3 * (1 + distance)) << round;
      }
    }
  }
  for (int kind = 0; kind < 5; ++kind) EXPECT_GT(kinds[kind], 5) << "too few random cases of kind " << kind;
}

TEST_F(KX_PolygonOperations, DegenerateOutlinesEndEveryOperation) {
  KX_Polygon2D b;
  set(b, square(1, 1, 3, 3));
  for (Points points : {Points{{0, 0}, {0, 0}, {2, 0}, {2, 0}, {2, 2}}, Points{{0, 0}, {1, 0}, {2, 0}, {3, 0}},
                        Points{{0, 0}, {NAN, 1}, {2, 2}, {0, 2}}}) {
    KX_Polygon2D work;
    bool r[3];
    set(work, points);
    work.getRelation(b, r[0], r[1], r[2]);
    EXPECT_LE(r[0] + r[1] + r[2], 1);
    work.unionWith(b);
    EXPECT_LE(work.getCount(), points.n * 2 + 5);
    set(work, points);
    work.shrink(0.5f);
    EXPECT_LE(work.getCount(), points.n);
  }
}

}  // namespace
