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

}  // namespace
