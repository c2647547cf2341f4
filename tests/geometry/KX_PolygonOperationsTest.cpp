// Relation, union, offset and splitting of polygons: named scenarios in both
// windings, and properties on random convex polygons checked in doubles.
#include <gtest/gtest.h>

#include <cmath>
#include <random>

#include "PolygonTestSupport.h"
#include "geometry/KX_PolygonList2D.h"
#include "support/LiveBlockGuard.h"

namespace {

using KX_PolygonOperations = LiveBlockTest;

struct Relation {
  bool overlap;
  bool insideOther;
  bool otherInside;
};

Relation relationOf(KX_Polygon2D& a, KX_Polygon2D& b) {
  Relation r{true, true, true};
  a.getRelation(b, r.overlap, r.insideOther, r.otherInside);
  return r;
}

// The other winding, with the same first vertex.
void reverseKeepingFirst(KX_Polygon2D& polygon) {
  polygon.reverse();
  if (polygon.getCount() < 2) return;
  KX_Point2D first = polygon.at(polygon.getCount() - 1);
  polygon.remove(polygon.getCount() - 1);
  polygon.insert(0, first);
}

void expectRelation(KX_Polygon2D& a, KX_Polygon2D& b, Relation expected, const char* name) {
  for (int winding = 0; winding < 4; ++winding) {
    KX_Polygon2D first, second;
    first.copyFrom(&a);
    second.copyFrom(&b);
    if (winding & 1) reverseKeepingFirst(first);
    if (winding & 2) reverseKeepingFirst(second);
    Relation r = relationOf(first, second);
    EXPECT_EQ(r.overlap, expected.overlap) << name << " winding " << winding;
    EXPECT_EQ(r.insideOther, expected.insideOther) << name << " winding " << winding;
    EXPECT_EQ(r.otherInside, expected.otherInside) << name << " winding " << winding;
  }
}

void square(KX_Polygon2D& polygon, float x0, float y0, float x1, float y1) {
  polygon.clear();
  fillPolygon(polygon, {{x0, y0}, {x1, y0}, {x1, y1}, {x0, y1}});
}

// A U open at the top: arms 0..2 and 4..6 wide, the notch 2..4 down to y 1.
void uShape(KX_Polygon2D& polygon) {
  fillPolygon(polygon, {{0, 0}, {6, 0}, {6, 4}, {4, 4}, {4, 1}, {2, 1}, {2, 4}, {0, 4}});
}

bool hasPointNear(const KX_Polygon2D& polygon, float x, float y) {
  for (int i = 0; i < polygon.getCount(); ++i) {
    if (std::fabs(polygon.at(i).x - x) < 1e-4f && std::fabs(polygon.at(i).y - y) < 1e-4f) return true;
  }
  return false;
}

TEST_F(KX_PolygonOperations, RelationOfNamedScenariosInBothWindings) {
  KX_Polygon2D a, b;
  square(a, 0, 0, 2, 2);
  square(b, 0, 0, 2, 2);
  expectRelation(a, b, {false, true, false}, "identical squares");

  square(b, 1, 1, 3, 3);
  expectRelation(a, b, {true, false, false}, "squares overlapping at a corner");

  square(b, 5, 5, 6, 6);
  expectRelation(a, b, {false, false, false}, "squares apart");

  square(a, -3, -1, 3, 1);
  square(b, -1, -3, 1, 3);
  expectRelation(a, b, {true, false, false}, "plus sign");

  // The small square sits in the U's base, below the notch: the concave U
  // needs the edge test, which finds no crossing.
  KX_Polygon2D u;
  uShape(u);
  square(a, 2.5f, 0.25f, 3.5f, 0.75f);
  expectRelation(a, u, {false, true, false}, "square inside the concave U");
  expectRelation(u, a, {false, false, true}, "concave U around the square");

  square(a, 0, 0, 10, 10);
  square(b, 4, 4, 5, 5);
  expectRelation(a, b, {false, false, true}, "convex square around a convex one");

  // A bar across the notch: all its vertices lie in the U's arms, yet the outlines cross.
  square(a, 1, 2, 5, 3);
  expectRelation(a, u, {true, false, false}, "bar across the notch");

  // All of A's vertices lie outside the triangle, and the triangle's first
  // vertex lies in A: for two convex polygons that counts as the triangle
  // lying in A, although its other corners poke out.
  square(a, 0, 0, 4, 4);
  KX_Polygon2D poking;
  fillPolygon(poking, {{2, 2}, {10, 1}, {10, 3}});
  expectRelation(a, poking, {false, false, true}, "triangle poking out of a square from its first vertex");
  expectRelation(poking, a, {true, false, false}, "triangle with one vertex in the square");

  KX_Polygon2D empty;
  expectRelation(empty, a, {false, false, false}, "no vertices against a square");
  // Nothing of an empty polygon lies outside the square.
  expectRelation(a, empty, {false, false, true}, "a square against no vertices");
}

TEST_F(KX_PolygonOperations, UnionOfOverlappingSquaresTracesTheOuterOutline) {
  for (int winding = 0; winding < 4; ++winding) {
    KX_Polygon2D a, b;
    square(a, 0, 0, 2, 2);
    square(b, 1, 1, 3, 3);
    if (winding & 1) a.reverse();
    if (winding & 2) b.reverse();
    bool bCounterClockwise = b.isCounterClockwise();
    KX_Polygon2D bBefore;
    bBefore.copyFrom(&b);
    a.unionWith(b);
    ASSERT_EQ(a.getCount(), 8) << winding;
    for (KX_Point2D p : {KX_Point2D{0, 0}, {2, 0}, {2, 1}, {3, 1}, {3, 3}, {1, 3}, {1, 2}, {0, 2}}) {
      EXPECT_TRUE(hasPointNear(a, p.x, p.y)) << winding << ": " << p.x << ", " << p.y;
    }
    EXPECT_NEAR(std::fabs(signedArea(a)), 7.0, 1e-4) << winding;
    // The union runs the way `other` does, which stays as it was.
    EXPECT_EQ(a.isCounterClockwise(), bCounterClockwise) << winding;
    ASSERT_EQ(b.getCount(), 4);
    for (int i = 0; i < 4; ++i) EXPECT_TRUE(b.at(i) == bBefore.at(i)) << winding;
  }
}

TEST_F(KX_PolygonOperations, UnionStartsOnOtherWhenEveryVertexLiesInIt) {
  KX_Polygon2D inner, outer;
  square(inner, 4, 4, 5, 5);
  square(outer, 0, 0, 10, 10);
  inner.unionWith(outer);
  ASSERT_EQ(inner.getCount(), 4);
  for (int i = 0; i < 4; ++i) EXPECT_EQ(inner.at(i), outer.at(i)) << i;

  // The bar's vertices all lie in the U's arms. The walk starts at the U's
  // first vertex and crosses to the bar where the notch's right side meets
  // the bar's top. From there it goes straight on to the bar's next vertex,
  // without testing the rest of the crossed edge, so the left arm's inner
  // side is crossed unseen.
  KX_Polygon2D bar, u;
  square(bar, 1, 2, 5, 3);
  uShape(u);
  bar.unionWith(u);
  KX_Point2D expected[] = {{0, 0}, {6, 0}, {6, 4}, {4, 4}, {4, 3}, {1, 3}, {1, 2}, {2, 2}, {2, 4}, {0, 4}};
  ASSERT_EQ(bar.getCount(), 10);
  for (int i = 0; i < 10; ++i) EXPECT_TRUE(bar.at(i) == expected[i]) << i;

  // Empty polygons: the union is the other one.
  KX_Polygon2D empty, copy;
  square(copy, 0, 0, 1, 1);
  empty.unionWith(copy);
  EXPECT_EQ(empty.getCount(), 4);
  KX_Polygon2D nothing;
  copy.unionWith(nothing);
  EXPECT_EQ(copy.getCount(), 4);
  copy.unionWith(copy);
  EXPECT_EQ(copy.getCount(), 4);
}

TEST_F(KX_PolygonOperations, ExpandAndShrinkKeepSharpCornersInBothWindings) {
  for (int winding = 0; winding < 2; ++winding) {
    KX_Polygon2D polygon;
    square(polygon, 0, 0, 2, 2);
    if (winding) polygon.reverse();
    polygon.expand(1);
    ASSERT_EQ(polygon.getCount(), 4);
    EXPECT_NEAR(std::fabs(signedArea(polygon)), 16.0, 1e-4) << winding;
    for (KX_Point2D p : {KX_Point2D{-1, -1}, {3, -1}, {3, 3}, {-1, 3}}) {
      EXPECT_TRUE(hasPointNear(polygon, p.x, p.y)) << winding;
    }
    polygon.shrink(1.5f);
    for (KX_Point2D p : {KX_Point2D{0.5f, 0.5f}, {1.5f, 0.5f}, {1.5f, 1.5f}, {0.5f, 1.5f}}) {
      EXPECT_TRUE(hasPointNear(polygon, p.x, p.y)) << winding;
    }

    // A vertex in the middle of a straight edge moves with it: the edges on
    // both sides are collinear, and it goes to the middle of their extent.
    KX_Polygon2D straight;
    fillPolygon(straight, {{0, 0}, {1, 0}, {4, 0}, {4, 4}, {0, 4}});
    if (winding) straight.reverse();
    straight.shrink(1);
    EXPECT_TRUE(hasPointNear(straight, 2, 1)) << winding;
    EXPECT_TRUE(hasPointNear(straight, 3, 3)) << winding;

    KX_Polygon2D two;
    fillPolygon(two, {{0, 0}, {1, 0}});
    two.shrink(5);
    EXPECT_TRUE(two.at(1) == (KX_Point2D{1, 0}));
  }
}

TEST_F(KX_PolygonOperations, ShrinkPastTheInradiusTurnsATriangleInsideOut) {
  for (int winding = 0; winding < 2; ++winding) {
    // Legs 4 and 3: the inradius is 1, the incentre (1, 1). Shrunk by 2 each
    // vertex goes to its mirror image through the incentre.
    KX_Polygon2D triangle;
    fillPolygon(triangle, {{0, 0}, {4, 0}, {0, 3}});
    if (winding) triangle.reverse();
    KX_Polygon2D before;
    before.copyFrom(&triangle);
    triangle.shrink(2);
    ASSERT_EQ(triangle.getCount(), 3);
    for (KX_Point2D p : {KX_Point2D{2, 2}, {-2, 2}, {2, -1}}) {
      EXPECT_TRUE(hasPointNear(triangle, p.x, p.y)) << winding << ": " << p.x << ", " << p.y;
    }
    // A half turn keeps the winding, but every edge now runs against its
    // old direction: the outline is inside out, and nothing crossed to split.
    EXPECT_EQ(triangle.isCounterClockwise(), before.isCounterClockwise());
    for (int i = 0; i < 3; ++i) {
      KX_LineSegment2D now = triangle.getEdge(i), was = before.getEdge(i);
      float dot =
          (now.end.x - now.start.x) * (was.end.x - was.start.x) + (now.end.y - now.start.y) * (was.end.y - was.start.y);
      EXPECT_LT(dot, 0.0f) << winding << " edge " << i;
    }
  }
}

TEST_F(KX_PolygonOperations, SplittingAFigureEightKeepsTheLongerOutline) {
  // Edges 0 and 2 cross at (2.4, 1.2). The loop cut out is made of the
  // vertices between the crossing edges, without the crossing point.
  for (int winding = 0; winding < 2; ++winding) {
    KX_Polygon2D eight;
    fillPolygon(eight, {{6, 3}, {0, 0}, {0, 2}, {6, 0}});
    if (winding) eight.reverse();
    KX_PolygonList2D pieces;
    pieces.append(new KX_Polygon2D());  // cleared first
    eight.splitSelfIntersections(&pieces);
    ASSERT_EQ(eight.getCount(), 3) << winding;
    EXPECT_TRUE(hasPointNear(eight, 2.4f, 1.2f)) << winding;
    EXPECT_TRUE(hasPointNear(eight, 6, 3) && hasPointNear(eight, 6, 0)) << winding;
    ASSERT_EQ(pieces.getCount(), 1) << winding;
    EXPECT_EQ(pieces.getPolygon(0)->getCount(), 2) << winding;
    EXPECT_TRUE(hasPointNear(*pieces.getPolygon(0), 0, 0) && hasPointNear(*pieces.getPolygon(0), 0, 2));
  }

  // Scanned from the small loop: the piece cut out (the two far vertices,
  // perimeter 6) is shorter than what stays with the crossing point (7.2),
  // so the small loop is kept.
  KX_Polygon2D eight;
  fillPolygon(eight, {{0, 0}, {6, 3}, {6, 0}, {0, 2}});
  eight.splitSelfIntersections(nullptr);
  ASSERT_EQ(eight.getCount(), 3);
  EXPECT_TRUE(hasPointNear(eight, 0, 0) && hasPointNear(eight, 0, 2) && hasPointNear(eight, 2.4f, 1.2f));

  // A piece longer than the rest changes places with the polygon.
  KX_Polygon2D swapped;
  fillPolygon(swapped, {{0, 0}, {10, 5}, {10, 0}, {9, 4}, {0, 2}});
  KX_PolygonList2D pieces;
  swapped.splitSelfIntersections(&pieces);
  ASSERT_EQ(pieces.getCount(), 1);
  EXPECT_GT(swapped.getLength(true), pieces.getPolygon(0)->getLength(true));
}

TEST_F(KX_PolygonOperations, RandomConvexPairsAgreeWithABruteForceRelation) {
  std::mt19937 random(5);
  std::uniform_real_distribution<float> place(-4, 4);
  int counts[5] = {};
  for (int round = 0; round < 400; ++round) {
    KX_Polygon2D a, b;
    float ra = place(random) / 2 + 2.5f, rb = place(random) / 2 + 2.5f;
    makeStarPolygon(a, random, 5 + round % 4, place(random), place(random), ra, ra);
    makeStarPolygon(b, random, 4 + round % 5, place(random), place(random), rb, rb);
    if (round & 1) b.reverse();
    bool crossing = false;
    for (int i = 0; i < a.getCount(); ++i) {
      for (int j = 0; j < b.getCount(); ++j) {
        KX_LineSegment2D e = a.getEdge(i), f = b.getEdge(j);
        double d1x = e.end.x - e.start.x, d1y = e.end.y - e.start.y;
        double d2x = f.end.x - f.start.x, d2y = f.end.y - f.start.y;
        double den = d1x * d2y - d1y * d2x;
        double t = ((f.start.x - e.start.x) * d2y - (f.start.y - e.start.y) * d2x) / den;
        double u = ((f.start.x - e.start.x) * d1y - (f.start.y - e.start.y) * d1x) / den;
        if (t > 0 && t < 1 && u > 0 && u < 1) crossing = true;
      }
    }
    bool aInB = true, bInA = true, anyOfAInB = false;
    for (int i = 0; i < a.getCount(); ++i) {
      bool in = crossingNumberContains(b, a.at(i).x, a.at(i).y);
      aInB &= in;
      anyOfAInB |= in;
    }
    for (int i = 0; i < b.getCount(); ++i) bInA &= crossingNumberContains(a, b.at(i).x, b.at(i).y);
    // Judged by b's first vertex alone, see the poking triangle above.
    if (!anyOfAInB && crossingNumberContains(a, b.at(0).x, b.at(0).y) && !bInA) {
      counts[4]++;
      continue;
    }
    Relation r = relationOf(a, b);
    EXPECT_EQ(r.overlap, crossing) << round;
    EXPECT_EQ(r.insideOther, !crossing && aInB) << round;
    EXPECT_EQ(r.otherInside, !crossing && bInA) << round;
    counts[crossing ? 0 : aInB ? 1 : bInA ? 2 : 3]++;

    if (!crossing) continue;
    // The union's outline holds exactly the points of either polygon.
    KX_Polygon2D united;
    united.copyFrom(&a);
    united.unionWith(b);
    for (int k = 0; k < 50; ++k) {
      double x = place(random) * 2, y = place(random) * 2;
      if (distanceToOutline(a, x, y) < 1e-3 || distanceToOutline(b, x, y) < 1e-3) continue;
      bool inEither = crossingNumberContains(a, x, y) || crossingNumberContains(b, x, y);
      EXPECT_EQ(crossingNumberContains(united, x, y), inEither) << round << ": " << x << ", " << y;
    }
  }
  for (int kind = 0; kind < 5; ++kind) EXPECT_GT(counts[kind], 5) << "too few random cases of kind " << kind;
}

TEST_F(KX_PolygonOperations, ExpandedConvexPolygonsKeepEveryEdgeAtTheDistance) {
  std::mt19937 random(9);
  for (int round = 0; round < 200; ++round) {
    KX_Polygon2D original, expanded;
    makeStarPolygon(original, random, 4 + round % 6, 0, 0, 3, 3);
    if (round & 1) original.reverse();
    float distance = 0.25f + (round % 7) * 0.5f;
    expanded.copyFrom(&original);
    expanded.expand(distance);
    int n = original.getCount();
    ASSERT_EQ(expanded.getCount(), n) << round;
    for (int i = 0; i < n; ++i) {
      // New vertex i lies at the distance from the lines of both edges at old vertex i.
      for (int e : {i > 0 ? i - 1 : n - 1, i}) {
        KX_LineSegment2D edge = original.getEdge(e);
        double dx = edge.end.x - edge.start.x, dy = edge.end.y - edge.start.y;
        double off =
            ((expanded.at(i).x - edge.start.x) * dy - (expanded.at(i).y - edge.start.y) * dx) / std::hypot(dx, dy);
        EXPECT_NEAR(std::fabs(off), distance, 1e-3 * (1 + distance)) << round << " vertex " << i;
      }
      EXPECT_TRUE(crossingNumberContains(expanded, original.at(i).x, original.at(i).y)) << round;
    }
  }
}

TEST_F(KX_PolygonOperations, SimpleOutlinesAreNotSplitAndPolygonListsCloneTheirPolygons) {
  std::mt19937 random(3);
  for (int round = 0; round < 200; ++round) {
    KX_Polygon2D polygon, before;
    makeStarPolygon(polygon, random, 4 + round % 12, 1, 2, 0.5f, 4);
    before.copyFrom(&polygon);
    KX_PolygonList2D pieces;
    polygon.splitSelfIntersections(&pieces);
    EXPECT_EQ(pieces.getCount(), 0) << round;
    ASSERT_EQ(polygon.getCount(), before.getCount()) << round;
    for (int i = 0; i < polygon.getCount(); ++i) EXPECT_TRUE(polygon.at(i) == before.at(i)) << round;
  }

  KX_PolygonList2D list;
  KX_Polygon2D* first = new KX_Polygon2D();
  square(*first, 0, 0, 1, 1);
  list.append(first);
  KX_PolygonList2D copy;
  copy.copyFrom(&list);
  ASSERT_EQ(copy.getCount(), 1);
  EXPECT_NE(copy.getPolygon(0), first);
  EXPECT_EQ(copy.getPolygon(0)->getCount(), 4);
  KX_Base* made = list.newInstance();
  EXPECT_NE(dynamic_cast<KX_PolygonList2D*>(made), nullptr);
  delete made;
}

TEST_F(KX_PolygonOperations, DegenerateOutlinesEndEveryOperation) {
  KX_Polygon2D repeated, collinear, nan, b;
  fillPolygon(repeated, {{0, 0}, {0, 0}, {2, 0}, {2, 0}, {2, 2}});
  fillPolygon(collinear, {{0, 0}, {1, 0}, {2, 0}, {3, 0}});
  fillPolygon(nan, {{0, 0}, {NAN, 1}, {2, 2}, {0, 2}});
  square(b, 1, 1, 3, 3);
  for (KX_Polygon2D* p : {&repeated, &collinear, &nan}) {
    KX_Polygon2D work;
    work.copyFrom(p);
    bool o, i, a;
    work.getRelation(b, o, i, a);
    EXPECT_LE(int(o) + int(i) + int(a), 1);
    work.unionWith(b);
    EXPECT_LE(work.getCount(), p->getCount() * 2 + 5);
    work.copyFrom(p);
    work.shrink(0.5f);
    EXPECT_LE(work.getCount(), p->getCount());
    work.copyFrom(p);
    work.splitSelfIntersections(nullptr);
    EXPECT_LE(work.getCount(), p->getCount());
  }
}

}  // namespace
