// The path finder's point and segment queries against a scan of all objects,
// on a tree whose bounds don't start at the origin.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <random>
#include <set>
#include <vector>

#include "quadtree/QV_QuadTree.h"
#include "support/LiveBlockGuard.h"

namespace {

using QV_QuadTreePathQueryTest = LiveBlockTest;

const KX_AABox2D kBounds(-50.0f, 20.0f, 400.0f, 300.0f);

struct Map {
  char objects[300];  // addresses only, never read
  std::vector<KX_AABox2D> boxes;
};

// n random boxes inside the bounds, of every size up to a third of them.
void fill(QV_QuadTree& tree, Map& map, std::mt19937& random, int n) {
  std::uniform_real_distribution<float> unit(0.0f, 1.0f);
  for (int i = 0; i < n; ++i) {
    float w = unit(random) * unit(random) * 130.0f, h = unit(random) * unit(random) * 100.0f;
    KX_AABox2D box(kBounds.x + unit(random) * (kBounds.width - w), kBounds.y + unit(random) * (kBounds.height - h), w,
                   h);
    map.boxes.push_back(box);
    tree.addObject(map.objects + i, {box.x, box.y}, {box.width, box.height});
  }
}

std::multiset<void*> listed(const KX_ObjectArray& result) {
  std::multiset<void*> objects;
  for (int i = 0; i < result.getCount(); ++i) objects.insert(result.at(i));
  return objects;
}

template <class Holds>
std::multiset<void*> scan(Map& map, const std::vector<void*>& exclude, Holds holds) {
  std::multiset<void*> objects;
  for (size_t i = 0; i < map.boxes.size(); ++i) {
    void* object = map.objects + i;
    if (holds(map.boxes[i]) && std::find(exclude.begin(), exclude.end(), object) == exclude.end()) {
      objects.insert(object);
    }
  }
  return objects;
}

bool outlineCrossed(const KX_AABox2D& box, const KX_LineSegment2D& segment) {
  KX_Point2D first, second;
  return box.getSegmentIntersections(segment, first, second, true) > 0;
}

TEST_F(QV_QuadTreePathQueryTest, NamedPointAndSegmentCases) {
  QV_QuadTree tree(kBounds, 4, 0);
  Map map;
  tree.addObject(map.objects, {0.0f, 100.0f}, {100.0f, 100.0f});    // a box around (50, 150)
  tree.addObject(map.objects + 1, {100.0f, 100.0f}, {0.0f, 0.0f});  // a point-sized box at a corner of the first
  KX_ObjectArray result, exclude;
  exclude.elementsBorrowed = true;
  tree.getObjectListFromPoint(result, {100.0f, 100.0f}, nullptr, 0, nullptr);
  EXPECT_EQ(listed(result), (std::multiset<void*>{map.objects, map.objects + 1}));  // sides and corners included
  exclude.append(static_cast<KX_Base*>(static_cast<void*>(map.objects)));
  tree.getObjectListFromPoint(result, {100.0f, 100.0f}, nullptr, 0, &exclude);
  EXPECT_EQ(listed(result), (std::multiset<void*>{map.objects + 1}));
  EXPECT_TRUE(result.elementsBorrowed);
  // On the right edge of the bounds a point lies one past every grid: nothing is found.
  tree.addObject(map.objects + 2, {300.0f, 50.0f}, {50.0f, 50.0f});
  tree.getObjectListFromPoint(result, {350.0f, 60.0f}, nullptr, 0, nullptr);
  EXPECT_EQ(result.getCount(), 0);
  tree.getObjectListFromPoint(result, {NAN, 60.0f}, nullptr, 0, nullptr);
  EXPECT_EQ(result.getCount(), 0);

  auto segmentList = [&](KX_Point2D a, KX_Point2D b) {
    tree.getObjectListFromLineSegment(result, {a, b}, nullptr, 0, nullptr);
    return listed(result);
  };
  EXPECT_EQ(segmentList({20, 120}, {80, 180}), std::multiset<void*>{});  // wholly inside the box
  EXPECT_EQ(segmentList({20, 120}, {180, 120}), std::multiset<void*>{map.objects});
  EXPECT_EQ(segmentList({-500, 150}, {500, 150}), std::multiset<void*>{map.objects});    // clipped at both ends
  EXPECT_EQ(segmentList({-500, 0}, {-60, 500}), std::multiset<void*>{});                 // misses the tree
  EXPECT_EQ(segmentList({320, 40}, {320, 500}), std::multiset<void*>{map.objects + 2});  // leaves through the top
  EXPECT_EQ(segmentList({100, 100}, {100, 100}), std::multiset<void*>{});                // no length, no crossing
  EXPECT_EQ(segmentList({NAN, 100}, {100, 100}), std::multiset<void*>{});
}

TEST_F(QV_QuadTreePathQueryTest, QueriesFindWhatAScanFinds) {
  std::mt19937 random(5);
  std::uniform_real_distribution<float> inBounds(0.0f, 1.0f), around(-0.3f, 1.3f);
  for (int levels : {1, 3, 6}) {
    QV_QuadTree tree(kBounds, levels, 0);
    Map map;
    fill(tree, map, random, 300);
    KX_ObjectArray result, exclude;
    exclude.elementsBorrowed = true;
    std::vector<void*> excluded;
    for (int i = 0; i < 300; i += 7) {
      excluded.push_back(map.objects + i);
      exclude.append(static_cast<KX_Base*>(static_cast<void*>(map.objects + i)));
    }
    for (int trial = 0; trial < 400; ++trial) {
      const std::vector<void*>& skip = trial % 2 ? excluded : std::vector<void*>{};
      const KX_ObjectArray* skipList = trial % 2 ? &exclude : nullptr;
      // Ends inside the bounds for the point query and for half the segments.
      auto pick = [&](bool inside) {
        std::uniform_real_distribution<float>& unit = inside ? inBounds : around;
        return KX_Point2D{kBounds.x + unit(random) * kBounds.width, kBounds.y + unit(random) * kBounds.height};
      };
      KX_Point2D p = pick(true);
      tree.getObjectListFromPoint(result, p, nullptr, 0, skipList);
      ASSERT_EQ(listed(result), scan(map, skip, [&](const KX_AABox2D& b) {
                  return p.x >= b.x && p.x <= b.x + b.width && p.y >= b.y && p.y <= b.y + b.height;
                }));
      KX_LineSegment2D segment{pick(trial % 3 != 0), pick(trial % 4 < 2)};
      tree.getObjectListFromLineSegment(result, segment, nullptr, 0, skipList);
      ASSERT_EQ(listed(result), scan(map, skip, [&](const KX_AABox2D& b) { return outlineCrossed(b, segment); }))
          << "levels " << levels << ", trial " << trial;
    }
  }
}

// Records what a walk hands over, and ends it at the `stopAt`-th object.
class Recorder : public QV_QuadTree::SegmentVisitor {
 public:
  bool visit(void* object, int level) override {
    objects.push_back(object);
    levels.push_back(level);
    return int(objects.size()) != stopAt;
  }
  std::vector<void*> objects;
  std::vector<int> levels;
  int stopAt = -1;
};

TEST_F(QV_QuadTreePathQueryTest, AVisitHandsOverTheListInOrderAndStopsWhenAsked) {
  std::mt19937 random(17);
  std::uniform_real_distribution<float> around(-0.2f, 1.2f);
  QV_QuadTree tree(kBounds, 6, 0);
  Map map;
  fill(tree, map, random, 300);
  KX_ObjectArray result;
  int longLists = 0;
  for (int trial = 0; trial < 300; ++trial) {
    auto pick = [&] {
      return KX_Point2D{kBounds.x + around(random) * kBounds.width, kBounds.y + around(random) * kBounds.height};
    };
    KX_LineSegment2D segment{pick(), pick()};
    tree.getObjectListFromLineSegment(result, segment, nullptr, 0, nullptr);
    std::vector<void*> list;
    for (int i = 0; i < result.getCount(); ++i) list.push_back(result.at(i));
    longLists += list.size() >= 3;

    Recorder all;
    EXPECT_TRUE(tree.visitObjectsOnLineSegment(segment, all, nullptr, 0, nullptr, -1));
    ASSERT_EQ(all.objects, list) << "trial " << trial;
    for (size_t i = 0; i < list.size(); ++i) {
      const KX_AABox2D& box = map.boxes[static_cast<char*>(list[i]) - map.objects];
      EXPECT_EQ(all.levels[i], tree.locateCell({box.x, box.y}, {box.width, box.height}).level);
    }

    // A first level: its objects, then the others, each part in list order.
    int first = trial % 6;
    std::vector<void*> expected;
    for (int pass = 0; pass < 2; ++pass) {
      for (size_t i = 0; i < list.size(); ++i) {
        if ((all.levels[i] == first) == (pass == 0)) expected.push_back(list[i]);
      }
    }
    Recorder reordered;
    EXPECT_TRUE(tree.visitObjectsOnLineSegment(segment, reordered, nullptr, 0, nullptr, first));
    EXPECT_EQ(reordered.objects, expected) << "trial " << trial;

    if (!list.empty()) {
      Recorder stopped;
      stopped.stopAt = int(list.size() + 1) / 2;
      EXPECT_FALSE(tree.visitObjectsOnLineSegment(segment, stopped, nullptr, 0, nullptr, -1));
      EXPECT_EQ(stopped.objects, std::vector<void*>(list.begin(), list.begin() + stopped.stopAt));
    }
  }
  EXPECT_GT(longLists, 30);
}

// The exact test works relative to each box, so a long segment's rounding
// can find the outline of a box that lies wholly beyond its end by less than
// a unit of rounding of its length. Such boxes, and boxes a little farther
// off, must be listed exactly as the exact test finds them.
TEST_F(QV_QuadTreePathQueryTest, BoxesBeyondTheSegmentWithinRoundingAreJudgedExactly) {
  const KX_AABox2D bounds(-1024.0f, -512.0f, 2048.0f, 1024.0f);
  QV_QuadTree tree(bounds, 5, 0);
  Map map;
  int n = 0;
  auto add = [&](float x, float y, float w, float h) {
    map.boxes.push_back(KX_AABox2D(x, y, w, h));
    tree.addObject(map.objects + n++, {x, y}, {w, h});
  };
  const KX_LineSegment2D segments[] = {{{-1000.0f, 1.0f}, {0.0f, 1.0f}}, {{-1000.0f, -300.0f}, {0.0f, 1.0f}}};
  // Boxes whose left side lies 1 to 64 hundred-thousandths beyond x = 0, and
  // boxes whose bottom lies as far above y = 1.
  for (int k = 1; k <= 64; k *= 2) {
    float gap = 1e-5f * static_cast<float>(k);
    add(gap, -4.0f, 10.0f, 10.0f);
    add(-5.0f, 1.0f + gap, 10.0f, 10.0f);
  }
  int beyondButFound = 0;
  for (const KX_LineSegment2D& segment : segments) {
    KX_ObjectArray result;
    tree.getObjectListFromLineSegment(result, segment, nullptr, 0, nullptr);
    std::multiset<void*> expected = scan(map, {}, [&](const KX_AABox2D& box) { return outlineCrossed(box, segment); });
    EXPECT_EQ(listed(result), expected);
    for (void* object : expected) {
      const KX_AABox2D& box = map.boxes[static_cast<char*>(object) - map.objects];
      beyondButFound += box.x > 0.0f || box.y > 1.0f;
    }
    EXPECT_LT(expected.size(), map.boxes.size());
  }
  EXPECT_GT(beyondButFound, 0);
}

}  // namespace
