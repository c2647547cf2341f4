// The tree's structure: where boxes land, add, remove, move, copies and the
// registry of the exported family.
#include <gtest/gtest.h>

#include <cstdint>
#include <limits>
#include <map>
#include <random>

#include "quadtree/KX_Circle.h"
#include "quadtree/QV_QuadTree.h"
#include "qv_helper/qv_helper.h"
#include "support/LiveBlockGuard.h"

namespace {

using Location = QV_QuadTree::Location;

Location locate(const QV_QuadTree& tree, float x, float y, float w, float h) {
  return tree.locateCell(KX_Point2D{x, y}, KX_Point2D{w, h});
}

void expectLocation(const Location& found, int level, int column, int row, const char* scenario) {
  EXPECT_EQ(found.level, level) << scenario;
  EXPECT_EQ(found.column, column) << scenario;
  EXPECT_EQ(found.row, row) << scenario;
}

char objects[64];

}  // namespace

class QuadTreeStructureTest : public LiveBlockTest {};

TEST_F(QuadTreeStructureTest, BoxesLandInTheSmallestCellThatHoldsThem) {
  QV_QuadTree tree(KX_AABox2D(0, 0, 100, 100), 3, 0);
  EXPECT_EQ(tree.cellCount, 21);
  EXPECT_EQ(tree.cells[0].objects.growStep, 64);
  expectLocation(locate(tree, 10, 10, 5, 5), 2, 0, 0, "inside one deepest cell");
  expectLocation(locate(tree, 20, 20, 10, 10), 1, 0, 0, "spans two deepest columns");
  expectLocation(locate(tree, 20, 40, 40, 20), 0, 0, 0, "x0 0, x1 2, y0 1, y1 2");
  expectLocation(locate(tree, 60, 80, 0, 0), 2, 2, 3, "zero size");
  expectLocation(locate(tree, 80, 10, 20, 5), 0, 0, 0, "reaches the right edge exactly");
  expectLocation(locate(tree, -30, -5, 10, 10), 2, 0, 0, "left of and below the tree: on its edges");
  expectLocation(locate(tree, 150, 10, 10, 10), 0, 0, 0, "right of the tree: far side on the right edge");
  expectLocation(locate(tree, 150, 10, 0, 0), 2, 3, 0, "zero width on the right edge stays in the grid");
  expectLocation(locate(tree, 10, 300, 0, 0), 2, 0, 3, "zero height on the top edge stays in the grid");
  expectLocation(locate(tree, 150, 10, 500, 5), 0, 0, 0, "wider than the tree, beyond its right edge");
  expectLocation(locate(tree, 30, 30, 500, 0), 0, 0, 0, "cut at the right edge");
  // The grid, level by level and row by row, numbers the cells.
  EXPECT_EQ(tree.getGrid(1).at(1, 0), 2);
  EXPECT_EQ(tree.getGrid(2).at(2, 3), 5 + 14);

  QV_QuadTree single(KX_AABox2D(0, 0, 10, 10), 1, 0);
  EXPECT_EQ(single.cellCount, 1);
  expectLocation(locate(single, 3, 3, 0, 0), 0, 0, 0, "one level");

  QV_QuadTree estimated(KX_AABox2D(0, 0, 10, 10), 2, 50 * 5);
  EXPECT_EQ(estimated.cells[4].sizes.growStep, 50);
  QV_QuadTree capped(KX_AABox2D(0, 0, 10, 10), 1, 100000);
  EXPECT_EQ(capped.cells[0].positions.growStep, 4096);
}

TEST_F(QuadTreeStructureTest, AddRemoveAndMoveKeepTheCellsInOrder) {
  QV_QuadTree tree(KX_AABox2D(0, 0, 100, 100), 3, 0);
  KX_Point2D at{10, 10}, size{5, 5};
  QV_QuadTreeCell& cell = tree.cellAt(tree.locateCell(at, size));
  for (int i : {5, 2, 9, 2}) tree.addObject(&objects[i], at, KX_Point2D{5, 5 + float(i) / 8});
  ASSERT_TRUE(tree.validate());
  ASSERT_EQ(cell.objects.getCount(), 4);
  EXPECT_EQ(cell.objects.at(0), &objects[2]);
  EXPECT_EQ(cell.objects.at(1), &objects[2]);
  EXPECT_EQ(cell.objects.at(3), &objects[9]);
  EXPECT_EQ(cell.sizes.at(3).y, 5 + 9.0f / 8);

  tree.removeObject(&objects[2], at, size);
  EXPECT_TRUE(tree.validate());
  EXPECT_EQ(tree.objectCount, 3);
  EXPECT_EQ(cell.objects.at(0), &objects[2]) << "one entry of a twice added object stays";
  tree.removeObject(&objects[5], KX_Point2D{60, 60}, size);
  tree.moveObject(&objects[5], KX_Point2D{60, 60}, size, KX_Point2D{0, 0}, size);
  EXPECT_EQ(tree.objectCount, 3) << "a box of another cell finds nothing";
  EXPECT_EQ(cell.objects.getCount(), 3);

  tree.moveObject(&objects[9], at, size, KX_Point2D{1, 2}, KX_Point2D{3, 4});
  EXPECT_EQ(cell.objects.at(2), &objects[9]) << "a move within the cell keeps the order";
  EXPECT_EQ(cell.positions.at(2), (KX_Point2D{1, 2}));
  EXPECT_EQ(cell.sizes.at(2), (KX_Point2D{3, 4}));
  tree.moveObject(&objects[9], KX_Point2D{1, 2}, size, KX_Point2D{40, 40}, KX_Point2D{20, 20});
  EXPECT_TRUE(tree.validate());
  EXPECT_EQ(cell.objects.getCount(), 2);
  EXPECT_EQ(tree.cells[0].objects.at(0), &objects[9]);
  EXPECT_EQ(tree.objectCount, 3);
}

TEST_F(QuadTreeStructureTest, CopiesHoldTheSameCellsAndNewInstancesNone) {
  QV_QuadTree tree(KX_AABox2D(0, 0, 64, 32), 4, 0);
  for (int i = 0; i < 40; ++i) tree.addObject(&objects[i], KX_Point2D{float(i), float(i % 7)}, KX_Point2D{2, 1});
  QV_QuadTree* copy = static_cast<QV_QuadTree*>(tree.newInstance());
  EXPECT_EQ(copy->objectCount, 0);
  EXPECT_EQ(copy->cellCount, tree.cellCount);
  EXPECT_EQ(copy->cellsPerUnitY, tree.cellsPerUnitY);
  copy->copyFrom(&tree);
  ASSERT_TRUE(copy->validate());
  EXPECT_EQ(copy->objectCount, 40);
  for (int i = 0; i < tree.cellCount; ++i) {
    ASSERT_EQ(copy->cells[i].objects.getCount(), tree.cells[i].objects.getCount());
    for (int j = 0; j < tree.cells[i].objects.getCount(); ++j) {
      EXPECT_EQ(copy->cells[i].objects.at(j), tree.cells[i].objects.at(j));
    }
  }
  delete copy;
}

TEST_F(QuadTreeStructureTest, RandomChangesKeepEveryInvariant) {
  std::mt19937 random(7);
  auto coordinate = [&](int range) { return float(int(random() % (4 * range)) - 40) / 4; };
  for (int round = 0; round < 30; ++round) {
    int levelCount = 1 + round % 6;
    QV_QuadTree tree(KX_AABox2D(0, 0, 128, 64), levelCount, int(random() % 2000));
    std::map<void*, std::pair<KX_Point2D, KX_Point2D>> held;
    for (int step = 0; step < 300; ++step) {
      void* object = &objects[random() % 64];
      KX_Point2D position{coordinate(170), coordinate(105)};
      KX_Point2D size{random() % 4 == 0 ? 0.0f : coordinate(50) + 10, coordinate(50) + 10};
      auto found = held.find(object);
      if (found == held.end()) {
        tree.addObject(object, position, size);
        held[object] = {position, size};
      } else if (random() % 3 == 0) {
        tree.removeObject(object, found->second.first, found->second.second);
        held.erase(found);
      } else {
        tree.moveObject(object, found->second.first, found->second.second, position, size);
        found->second = {position, size};
      }
      ASSERT_TRUE(tree.validate()) << "round " << round << " step " << step;
      ASSERT_EQ(tree.objectCount, int(held.size()));
    }
    for (auto& [object, box] : held) {
      QV_QuadTreeCell& cell = tree.cellAt(tree.locateCell(box.first, box.second));
      int index = cell.objects.findSorted(object);
      ASSERT_GE(index, 0);
      EXPECT_EQ(cell.positions.at(index), box.first) << "the host's box is stored unclamped";
      EXPECT_EQ(cell.sizes.at(index), box.second);
    }
  }
}

TEST_F(QuadTreeStructureTest, RegistryIgnoresUnknownHandlesAndExitDeletesTheRest) {
  QuadTree_init();
  EXPECT_EQ(QuadTree_create(10, 10, 0), nullptr);
  void* first = QuadTree_create(100, 50, 3);
  void* second = QuadTree_create(100, 50, 4);
  ASSERT_NE(first, nullptr);
  QuadTree_addObject(first, &objects[1], 10, 10, 5, 5);
  QuadTree_moveObject(first, &objects[1], 10, 10, 5, 5, 70, 30, 1, 1);
  EXPECT_EQ(QuadTree_findNearestObject(first, 70, 30, nullptr, 0, nullptr, 0), &objects[1]);
  QuadTree_removeObject(first, &objects[1], 70, 30, 1, 1);
  EXPECT_EQ(QuadTree_findNearestObject(first, 70, 30, nullptr, 0, nullptr, 0), nullptr);
  QuadTree_delete(first);
  QuadTree_delete(first);
  QuadTree_delete(&objects[0]);
  QuadTree_addObject(second, &objects[2], 1, 1, 1, 1);
  QuadTree_exit();
}

// The per-cell reach that lets queries pass over cells: exact after every
// change unless marked stale, and brought up to date by the queries.
TEST_F(QuadTreeStructureTest, CellReachStaysExactThroughChangesAndQueries) {
  QV_QuadTree tree(KX_AABox2D(0, 0, 64, 64), 3, 0);
  KX_Point2D size{2, 2};
  QV_QuadTreeCell& cell = tree.cellAt(tree.locateCell(KX_Point2D{1, 1}, size));
  QV_QuadTreeCellReach& reach = tree.reaches[&cell - tree.cells];
  for (int i : {1, 2, 3}) tree.addObject(&objects[i], KX_Point2D{float(2 * i - 1), float(i)}, size);
  ASSERT_TRUE(tree.validate());
  const QV_QuadTreeCellReach::Box& right = reach.group[reach.groupOf(KX_Point2D{5, 3}, size)];
  EXPECT_EQ(right.maxX, 7.0f);
  tree.removeObject(&objects[2], KX_Point2D{3, 2}, size);
  EXPECT_FALSE(reach.stale) << "a box inside the bounds leaves them as they are";
  EXPECT_TRUE(tree.validate());
  tree.moveObject(&objects[3], KX_Point2D{5, 3}, size, KX_Point2D{4, 3}, size);
  EXPECT_TRUE(reach.stale) << "the box that held the right bound moved inwards";
  KX_ObjectArray found;
  tree.getObjectListFromAABox(found, KX_AABox2D(6.5f, 0, 1, 10), nullptr, 0, nullptr);
  EXPECT_EQ(found.getCount(), 0) << "the box moved away from the area";
  EXPECT_FALSE(reach.stale) << "the query brought the bounds up to date";
  EXPECT_EQ(right.maxX, 6.0f);
  EXPECT_TRUE(tree.validate());
  reach.group[0].minY += 0.5f;
  reach.group[1].minY += 0.5f;
  EXPECT_FALSE(tree.validate()) << "bounds that are not those of the boxes";
  reach.recompute(cell);
  EXPECT_TRUE(tree.validate());

  // Random changes, NaN and negative sizes included: after a query over the
  // whole tree every cell's bounds are exact, and the query found every box
  // the brute force finds.
  std::mt19937 random(5);
  auto coordinate = [&](int range) { return float(int(random() % (4 * range)) - 40) / 4; };
  std::map<void*, std::pair<KX_Point2D, KX_Point2D>> held;
  int compared = 0;
  QV_QuadTree big(KX_AABox2D(0, 0, 128, 64), 5, 0);
  for (int step = 0; step < 3000; ++step) {
    void* object = &objects[random() % 64];
    float nan = std::numeric_limits<float>::quiet_NaN();
    KX_Point2D position{random() % 50 == 0 ? nan : coordinate(170), coordinate(105)};
    KX_Point2D extent{random() % 4 == 0 ? 0.0f : coordinate(30), random() % 9 == 0 ? -2.0f : coordinate(30)};
    auto known = held.find(object);
    if (known == held.end()) {
      big.addObject(object, position, extent);
      held[object] = {position, extent};
    } else if (random() % 3 == 0) {
      big.removeObject(object, known->second.first, known->second.second);
      held.erase(known);
    } else {
      big.moveObject(object, known->second.first, known->second.second, position, extent);
      known->second = {position, extent};
    }
    ASSERT_TRUE(big.validate()) << "step " << step;
    if (step % 50 != 0) continue;
    // The same tree with bounds that reach everywhere passes over no cell:
    // it gives what the traversal without bounds gives, in the same order.
    QV_QuadTree plain(KX_AABox2D(0, 0, 1, 1), 1, 0);
    plain.copyFrom(&big);
    constexpr float kInfinity = std::numeric_limits<float>::infinity();
    for (int i = 0; i < plain.cellCount; ++i) {
      plain.reaches[i].stale = false;
      for (QV_QuadTreeCellReach::Box& group : plain.reaches[i].group)
        group = {-kInfinity, -kInfinity, kInfinity, kInfinity};
    }
    KX_ObjectArray expected;
    for (int query = 0; query < 10; ++query) {
      KX_AABox2D area(coordinate(170), coordinate(105), float(random() % 60), float(random() % 40));
      KX_Circle circle(coordinate(170), coordinate(105), float(random() % 30) / 2);
      KX_Point2D point{coordinate(170), coordinate(105)};
      big.getObjectListFromAABox(found, area, nullptr, 0, nullptr);
      plain.getObjectListFromAABox(expected, area, nullptr, 0, nullptr);
      ASSERT_EQ(found.getCount(), expected.getCount()) << "step " << step;
      for (int i = 0; i < found.getCount(); ++i) ASSERT_EQ(found.at(i), expected.at(i));
      compared += found.getCount();
      big.getObjectListFromCircle(found, circle, nullptr, 0, nullptr);
      plain.getObjectListFromCircle(expected, circle, nullptr, 0, nullptr);
      ASSERT_EQ(found.getCount(), expected.getCount()) << "step " << step;
      for (int i = 0; i < found.getCount(); ++i) ASSERT_EQ(found.at(i), expected.at(i));
      EXPECT_EQ(big.findNearestObjectInAABox(point, area, nullptr, 0, nullptr),
                plain.findNearestObjectInAABox(point, area, nullptr, 0, nullptr));
      EXPECT_EQ(big.findNearestObjectInCircle(point, circle, nullptr, 0, nullptr),
                plain.findNearestObjectInCircle(point, circle, nullptr, 0, nullptr));
    }
    big.getObjectListFromAABox(found, KX_AABox2D(-1e30f, -1e30f, 2e30f, 2e30f), nullptr, 0, nullptr);
    for (int i = 0; i < big.cellCount; ++i) ASSERT_TRUE(big.reaches[i].isExact(big.cells[i])) << "cell " << i;
  }
  EXPECT_GT(compared, 500) << "the random areas find objects";
}
