// The exported queries against a brute-force oracle: the same shape tests on
// every object, sorted into the tree's order (level, row, column, address).
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <limits>
#include <random>
#include <tuple>
#include <vector>

#include "geometry/KX_Polygon2D.h"
#include "quadtree/KX_AABox2D.h"
#include "quadtree/KX_Circle.h"
#include "qv_helper/qv_helper.h"
#include "support/LiveBlockGuard.h"

namespace {

struct Held {
  void* object;
  float x, y, w, h;
};

std::vector<std::pair<void*, int>> filterCalls;
bool recordAndRejectEveryThird(void* object, int data) {
  filterCalls.emplace_back(object, data);
  return (reinterpret_cast<std::uintptr_t>(object) / 8) % 3 != 0;
}

// Level, row and column by dividing at each level, the deepest first: the
// corners of the clamped box must fall into one cell.
std::tuple<int, int, int> oracleCell(float width, float height, int levels, const Held& o) {
  auto clampAxis = [](float p, float s, float extent, float& lo, float& len) {
    lo = std::max(0.0f, p);
    if (lo > extent) lo = extent - s;
    len = lo + s > extent ? extent - lo : s;
  };
  float x, w, y, h;
  clampAxis(o.x, o.w, width, x, w);
  clampAxis(o.y, o.h, height, y, h);
  for (int level = levels - 1; level > 0; --level) {
    float side = float(1 << level);
    int c0 = int(x * side / width), c1 = int((x + w) * side / width);
    int r0 = int(y * side / height), r1 = int((y + h) * side / height);
    if (c0 == c1 && r0 == r1) return {level, std::min(r0, (1 << level) - 1), std::min(c0, (1 << level) - 1)};
  }
  return {0, 0, 0};
}

struct Oracle {
  float width, height;
  int levels;
  std::vector<Held> held;

  template <class Shape>
  std::vector<void*> inOrder(Shape shape, const std::vector<void*>& exclude, bool filtered, int data) const {
    std::vector<std::tuple<int, int, int, std::uintptr_t, void*>> found;
    for (const Held& o : held) {
      if (!shape(o)) continue;
      if (std::find(exclude.begin(), exclude.end(), o.object) != exclude.end()) continue;
      auto [level, row, column] = oracleCell(width, height, levels, o);
      found.emplace_back(level, row, column, reinterpret_cast<std::uintptr_t>(o.object), o.object);
    }
    std::sort(found.begin(), found.end());
    std::vector<void*> result;
    for (auto& entry : found) {
      void* object = std::get<4>(entry);
      if (!filtered || recordAndRejectEveryThird(object, data)) result.push_back(object);
    }
    return result;
  }

  void* nearest(const std::vector<void*>& candidates, float px, float py) const {
    void* best = nullptr;
    float bestDistance = 0;
    for (void* object : candidates) {
      const Held& o = *std::find_if(held.begin(), held.end(), [&](const Held& h) { return h.object == object; });
      float dx = o.x + o.w / 2.0f - px, dy = o.y + o.h / 2.0f - py;
      if (best == nullptr || dx * dx + dy * dy < bestDistance) best = object, bestDistance = dx * dx + dy * dy;
    }
    return best;
  }
};

KX_AABox2D boxOf(const Held& o) {
  return KX_AABox2D(o.x, o.y, o.w, o.h);
}

bool circleMeets(const KX_Circle& c, const Held& o) {
  KX_AABox2D box = boxOf(o);
  KX_LineSegment2D edges[4] = {{{o.x, o.y}, {o.x, o.y + o.h}},
                               {{o.x + o.w, o.y}, {o.x + o.w, o.y + o.h}},
                               {{o.x, o.y}, {o.x + o.w, o.y}},
                               {{o.x, o.y + o.h}, {o.x + o.w, o.y + o.h}}};
  if (box.containsCircle(c) || c.containsBox(box)) return true;
  return std::any_of(edges, edges + 4, [&](const KX_LineSegment2D& e) { return c.intersectsSegment(e, true); });
}

// The view triangle by its closed form: the sides reach the far side after
// 1 / cos(halfAngle) of the rotated direction.
void viewTriangle(float x, float y, float dx, float dy, float a, KX_Polygon2D& triangle) {
  float reach = 1.0f / std::cos(a);
  triangle.append(KX_Point2D{x, y});
  triangle.append(
      KX_Point2D{x + reach * (dx * std::cos(a) - dy * std::sin(a)), y + reach * (dx * std::sin(a) + dy * std::cos(a))});
  triangle.append(KX_Point2D{x + reach * (dx * std::cos(a) + dy * std::sin(a)),
                             y + reach * (-dx * std::sin(a) + dy * std::cos(a))});
}

bool triangleMeets(KX_Polygon2D& t, const Held& o, bool edgesCross) {
  KX_Point2D corners[4] = {{o.x, o.y}, {o.x + o.w, o.y + o.h}, {o.x + o.w, o.y}, {o.x, o.y + o.h}};
  for (auto& corner : corners) {
    if (t.contains(corner)) return true;
  }
  bool all = true;
  for (int i = 0; i < 3; ++i) {
    float vx = t.at(i).x - o.x, vy = t.at(i).y - o.y;
    all = all && vx >= 0 && vx <= o.w && vy >= 0 && vy <= o.h;
  }
  return all || (edgesCross && t.intersectsBox(boxOf(o)));
}

char objects[400];

class QuadTreeQueryTest : public LiveBlockTest {
 protected:
  void SetUp() override {
    LiveBlockTest::SetUp();
    QuadTree_init();
    filterCalls.clear();
  }
  void TearDown() override {
    QuadTree_exit();
    LiveBlockTest::TearDown();
  }
};

}  // namespace

TEST_F(QuadTreeQueryTest, EdgeCasesOfAreasLimitsAndExclusion) {
  void* tree = QuadTree_create(100, 100, 3);
  void* result[8];
  EXPECT_EQ(QuadTree_findNearestObject(tree, 5, 5, nullptr, 0, nullptr, 0), nullptr) << "empty tree";
  EXPECT_EQ(QuadTree_getObjectListFromCircle(tree, result, 8, 50, 50, 80, nullptr, 0, nullptr, 0), 0);

  void *a = &objects[8], *b = &objects[16], *c = &objects[24], *outside = &objects[32];
  QuadTree_addObject(tree, b, 10, 10, 4, 4);    // deepest level, centre (12, 12)
  QuadTree_addObject(tree, a, 20, 20, 10, 10);  // level 1, centre (25, 25)
  QuadTree_addObject(tree, c, 30, 30, 4, 4);    // deepest level, centre (32, 32)
  QuadTree_addObject(tree, outside, 120, 50, 5, 5);
  QuadTree_addObject(tree, &objects[40], 100, 60, 0, 0);  // zero width on the right edge

  EXPECT_EQ(QuadTree_findNearestObject(tree, 18.5f, 18.5f, nullptr, 0, nullptr, 0), a) << "a tie: lower level first";
  EXPECT_EQ(QuadTree_findNearestObject(tree, 125, 52, nullptr, 0, nullptr, 0), &objects[40])
      << "a box wholly outside the tree fails the test with its bounds";
  EXPECT_EQ(QuadTree_findNearestObjectInAABox(tree, 125, 52, 110, 40, 20, 20, nullptr, 0, nullptr, 0), outside);
  EXPECT_EQ(QuadTree_getObjectListFromAABox(tree, result, 8, 95, 55, 10, 10, nullptr, 0, nullptr, 0), 1);
  EXPECT_EQ(result[0], &objects[40]) << "the right-edge object is found";

  // Zero-size areas: lists are empty without asking the filter, nearest finds touching boxes.
  EXPECT_EQ(QuadTree_getObjectListFromAABox(tree, result, 8, 12, 0, 0, 50, recordAndRejectEveryThird, 1, nullptr, 0),
            0);
  EXPECT_EQ(QuadTree_getObjectListFromCircle(tree, result, 8, 12, 12, 0, recordAndRejectEveryThird, 1, nullptr, 0), 0);
  EXPECT_TRUE(filterCalls.empty());
  EXPECT_EQ(QuadTree_findNearestObjectInAABox(tree, 0, 0, 14, 0, 0, 50, nullptr, 0, nullptr, 0), b);
  EXPECT_EQ(QuadTree_findNearestObjectInCircle(tree, 0, 0, 32, 33, 0, nullptr, 0, nullptr, 0), c);

  // A limit cuts the end of the tree's order; the filter still sees every object.
  void* guarded[4] = {nullptr, nullptr, nullptr, nullptr};
  EXPECT_EQ(QuadTree_getObjectListFromAABox(tree, guarded, 2, 0, 0, 50, 50, nullptr, 0, nullptr, 0), 2);
  EXPECT_EQ(guarded[0], a);
  EXPECT_EQ(guarded[1], b);
  EXPECT_EQ(guarded[2], nullptr);
  EXPECT_EQ(
      QuadTree_getObjectListFromAABox(tree, guarded + 2, 0, 0, 0, 50, 50, recordAndRejectEveryThird, 9, nullptr, 0), 0);
  EXPECT_EQ(guarded[2], nullptr);
  EXPECT_EQ(filterCalls.size(), 3u);
  EXPECT_EQ(QuadTree_getObjectListFromAABox(tree, guarded, -1, 0, 0, 50, 50, nullptr, 0, nullptr, 0), 0);

  // Exclusion: a count of 0 or a null list excludes nothing; the list is left as it was.
  void* exclude[3] = {c, a, a};
  EXPECT_EQ(QuadTree_findNearestObject(tree, 25, 25, nullptr, 0, exclude, 0), a);
  EXPECT_EQ(QuadTree_findNearestObject(tree, 25, 25, nullptr, 0, nullptr, 3), a);
  EXPECT_EQ(QuadTree_findNearestObject(tree, 25, 25, nullptr, 0, exclude, 3), b);
  EXPECT_EQ(exclude[0], c);
  EXPECT_EQ(exclude[1], a);
  EXPECT_EQ(exclude[2], a);
}

TEST_F(QuadTreeQueryTest, ViewTriangleNearestIgnoresBoxesOnlyCrossedByAnEdge) {
  void* tree = QuadTree_create(100, 100, 4);
  void* result[4];
  // The triangle from (10, 50) looks right, 40 deep, 45 degrees each side:
  // its far side runs from (50, 10) to (50, 90). This box holds the corner
  // (50, 90) but none of its own corners lies in the triangle.
  QuadTree_addObject(tree, &objects[8], 45, 88, 10, 10);
  EXPECT_EQ(QuadTree_getObjectListFromSegment(tree, result, 4, 10, 50, 40, 0, 0.785398f, nullptr, 0, nullptr, 0), 1);
  EXPECT_EQ(QuadTree_findNearestObjectInSegment(tree, 10, 50, 40, 0, 0.785398f, nullptr, 0, nullptr, 0), nullptr);
  QuadTree_addObject(tree, &objects[16], 45, 60, 2, 2);
  EXPECT_EQ(QuadTree_findNearestObjectInSegment(tree, 10, 50, 40, 0, 0.785398f, nullptr, 0, nullptr, 0), &objects[16]);
  // A right angle or a zero direction gives no triangle.
  EXPECT_EQ(QuadTree_getObjectListFromSegment(tree, result, 4, 10, 50, 40, 0, 1.5708f, nullptr, 0, nullptr, 0), 0);
  EXPECT_EQ(QuadTree_findNearestObjectInSegment(tree, 10, 50, 0, 0, 0.5f, nullptr, 0, nullptr, 0), nullptr);
}

TEST_F(QuadTreeQueryTest, RandomQueriesMatchTheBruteForceOracle) {
  std::mt19937 random(11);
  auto quarter = [&](int lo, int hi) { return float(lo * 4 + int(random() % ((hi - lo) * 4 + 1))) / 4; };
  int compared = 0;
  for (int round = 0; round < 150; ++round) {
    int levels = 1 + round % 6;
    Oracle oracle{128, 64, levels, {}};
    void* tree = QuadTree_create(128, 64, levels);
    int count = 20 + int(random() % 300);
    for (int i = 0; i < count; ++i) {
      // Corners on cell borders (multiples of 4) often, some zero sizes, some outside.
      bool onBorder = random() % 3 == 0;
      float x = onBorder ? float(4 * int(random() % 36) - 8) : quarter(-10, 140);
      float y = onBorder ? float(4 * int(random() % 20) - 8) : quarter(-10, 75);
      float w = random() % 5 == 0 ? 0 : quarter(0, 24), h = random() % 5 == 0 ? 0 : quarter(0, 16);
      oracle.held.push_back(Held{&objects[i], x, y, w, h});
      QuadTree_addObject(tree, &objects[i], x, y, w, h);
    }
    for (int q = 0; q < 40; ++q) {
      filterCalls.clear();
      std::vector<void*> exclude;
      for (int e = int(random() % 4); e > 0; --e) exclude.push_back(&objects[random() % count]);
      std::vector<void*> excludeCopy = exclude;
      bool filtered = random() % 2 == 0;
      auto filter = filtered ? recordAndRejectEveryThird : nullptr;
      int data = q;
      float px = quarter(-10, 140), py = quarter(-10, 75);
      std::vector<void*> expected;
      void* expectedNearest;
      void* result[400];
      int n = 0;
      void* nearest = nullptr;
      int kind = q % 3;
      if (kind == 0) {
        KX_AABox2D box(quarter(-20, 140), quarter(-20, 70), quarter(0, 40), quarter(0, 30));
        expected = oracle.inOrder([&](const Held& o) { return box.intersectsBox(boxOf(o)); }, exclude, filtered, data);
        expectedNearest = oracle.nearest(expected, px, py);
        if (box.width <= 0 || box.height <= 0) expected.clear();
        std::vector<std::pair<void*, int>> oracleCalls = filterCalls;
        filterCalls.clear();
        n = QuadTree_getObjectListFromAABox(tree, result, 400, box.x, box.y, box.width, box.height, filter, data,
                                            exclude.data(), int(exclude.size()));
        if (box.width <= 0 || box.height <= 0) oracleCalls.clear();
        EXPECT_EQ(filterCalls, oracleCalls) << "filter calls and arguments";
        nearest = QuadTree_findNearestObjectInAABox(tree, px, py, box.x, box.y, box.width, box.height, filter, data,
                                                    exclude.data(), int(exclude.size()));
      } else if (kind == 1) {
        KX_Circle circle(quarter(-20, 140), quarter(-20, 70), quarter(0, 30));
        expected = oracle.inOrder([&](const Held& o) { return circleMeets(circle, o); }, exclude, filtered, data);
        expectedNearest = oracle.nearest(expected, px, py);
        if (circle.radius <= 0) expected.clear();
        n = QuadTree_getObjectListFromCircle(tree, result, 400, circle.x, circle.y, circle.radius, filter, data,
                                             exclude.data(), int(exclude.size()));
        nearest = QuadTree_findNearestObjectInCircle(tree, px, py, circle.x, circle.y, circle.radius, filter, data,
                                                     exclude.data(), int(exclude.size()));
      } else {
        float angle = float(random() % 628) / 100, length = quarter(1, 60), half = quarter(0, 5) / 4 + 0.05f;
        float dx = length * std::cos(angle), dy = length * std::sin(angle);
        KX_Polygon2D triangle;
        viewTriangle(px, py, dx, dy, half, triangle);
        expected =
            oracle.inOrder([&](const Held& o) { return triangleMeets(triangle, o, true); }, exclude, filtered, data);
        expectedNearest = oracle.nearest(
            oracle.inOrder([&](const Held& o) { return triangleMeets(triangle, o, false); }, exclude, filtered, data),
            px, py);
        n = QuadTree_getObjectListFromSegment(tree, result, 400, px, py, dx, dy, half, filter, data, exclude.data(),
                                              int(exclude.size()));
        nearest = QuadTree_findNearestObjectInSegment(tree, px, py, dx, dy, half, filter, data, exclude.data(),
                                                      int(exclude.size()));
      }
      ASSERT_EQ(std::vector<void*>(result, result + n), expected) << "round " << round << " query " << q;
      ASSERT_EQ(nearest, expectedNearest) << "round " << round << " query " << q;
      ASSERT_EQ(exclude, excludeCopy) << "the exclusion list is only read";
      compared += n;
    }
    QuadTree_delete(tree);
  }
  EXPECT_GT(compared, 10000) << "the random cases find objects";
}

// Circles and boxes at every scale, and boxes that lie just inside or just
// outside the circle: the cheap test before the exact one must never pass
// over an object the exact test accepts, so the list is the brute force's.
TEST_F(QuadTreeQueryTest, CircleQueriesAtEveryScaleMatchTheExactTest) {
  std::mt19937 random(23);
  std::uniform_real_distribution<float> unit(-1.0f, 1.0f);
  const float nan = std::numeric_limits<float>::quiet_NaN();
  int found = 0;
  for (float scale : {1e-30f, 1e-19f, 1e-6f, 1.0f, 1e4f, 1e12f, 1e17f, 3e19f}) {
    void* tree = QuadTree_create(scale, scale, 1);  // one cell: the order is by address
    std::vector<Held> held;
    KX_Circle circle(unit(random) * scale, unit(random) * scale, std::fabs(unit(random)) * scale / 256);
    for (int i = 0; i < 300; ++i) {
      // A box whose left or lower side lies a few units of 2^-20 of the
      // radius from the circle's right or top, or anywhere about it.
      float w = std::fabs(unit(random)) * scale / 4, h = std::fabs(unit(random)) * scale / 4;
      float x = (unit(random) * 2) * scale, y = (unit(random) * 2) * scale;
      float nudge = 1.0f + float(int(random() % 9) - 4) * 5.9605e-8f;
      if (i % 3 == 0) x = circle.x + circle.radius * nudge, y = circle.y - h * 4, h *= 8;
      if (i % 3 == 1) y = circle.y + circle.radius * nudge, x = circle.x - w / 2;
      if (i % 50 == 7) x = nan;  // a box with NaN corners is in every circle by the corner test
      if (i % 40 == 9) w = -w;
      held.push_back(Held{&objects[i], x, y, w, h});
      QuadTree_addObject(tree, &objects[i], x, y, w, h);
    }
    std::vector<void*> expected;
    for (const Held& o : held) {
      if (circleMeets(circle, o)) expected.push_back(o.object);
    }
    void* result[300];
    int n =
        QuadTree_getObjectListFromCircle(tree, result, 300, circle.x, circle.y, circle.radius, nullptr, 0, nullptr, 0);
    EXPECT_EQ(std::vector<void*>(result, result + n), expected) << "scale " << scale;
    float px = circle.x, py = circle.y;
    Oracle oracle{scale, scale, 1, held};
    EXPECT_EQ(
        QuadTree_findNearestObjectInCircle(tree, px, py, circle.x, circle.y, circle.radius, nullptr, 0, nullptr, 0),
        oracle.nearest(expected, px, py))
        << "scale " << scale;
    found += n;
    QuadTree_delete(tree);
  }
  EXPECT_GT(found, 200) << "the circles find objects";
}
