// The FindPath_ handles and both overloads of the graph build; and copies of
// a built graph, which need trees of their own.
#include <gtest/gtest.h>

#include "pathfinding/KX_VisibilityGraph.h"
#include "qv_helper/qv_helper.h"
#include "support/LiveBlockGuard.h"
#include "support/TemporaryDirectory.h"

namespace {

using FindPath_exportsTest = LiveBlockTest;

KX_VisibilityGraph& graphOf(void* handle) {
  return *static_cast<KX_VisibilityGraph*>(handle);
}

TEST_F(FindPath_exportsTest, BoxesAndPolygonsBuildTheSameGraphAndExitFreesEveryHandle) {
  TemporaryDirectory dumps;  // the polygon build leaves its debugging files there
  WorkingDirectoryScope scope(dumps.path);
  FindPath_init();
  void* fromBoxes = FindPath_create();
  void* fromPolygons = FindPath_create();
  void* unbuilt = FindPath_create();
  ASSERT_NE(fromBoxes, fromPolygons);
  EXPECT_EQ(graphOf(unbuilt).staticTree, nullptr);
  EXPECT_EQ(graphOf(unbuilt).nodeCount, 0);

  float boxes[] = {0, 0, 2, 2, 5, 1, 2, 3, 1, 6, 2.5f, 1};
  float coordinates[] = {0, 0, 2, 0, 2, 2, 0, 2, 5, 1, 7, 1, 7, 4, 5, 4, 1, 6, 3.5f, 6, 3.5f, 7, 1, 7};
  int pointCounts[] = {4, 4, 4};
  float border[] = {-1, -1, 6, -1, 6, 8, -1, 8};  // leaves out the two corners at x = 7.5
  FindPath_computeGraph(fromBoxes, boxes, 3, 0.5f, 3, border, 4);
  FindPath_computeGraph(fromPolygons, coordinates, pointCounts, 3, 0.5f, 3, border, 4);
  KX_VisibilityGraph& a = graphOf(fromBoxes);
  KX_VisibilityGraph& b = graphOf(fromPolygons);
  EXPECT_TRUE(a.validate());
  EXPECT_EQ(a.nodeCount, 10);
  ASSERT_EQ(a.nodeCount, b.nodeCount);
  for (int node = 0; node < a.nodeCount; ++node) EXPECT_EQ(a.vertices.at(node), b.vertices.at(node));
  EXPECT_EQ(a.pathCacheCapacity, 10);  // one tree per node, at most 600
  EXPECT_EQ(a.inflation, 0.5f);
  EXPECT_EQ(a.treeLevels, 3);

  FindPath_delete(fromPolygons);
  FindPath_delete(fromPolygons);  // no longer registered: ignored
  int local = 0;
  FindPath_delete(&local);  // never a handle: ignored, and not read
  FindPath_exit();          // deletes the other two; the fixture checks that nothing is left
  FindPath_exit();
}

TEST_F(FindPath_exportsTest, ACopyHoldsItsOwnPolygonsInItsOwnTrees) {
  KX_VisibilityGraph copy;
  {
    KX_VisibilityGraph original;
    KX_PolygonList2D list;
    for (float x : {0.0f, 4.0f}) {
      KX_Polygon2D* square = new KX_Polygon2D();
      for (KX_Point2D corner : {KX_Point2D{x, 0}, {x + 2, 0.5f}, {x + 2, 2 + x}, {x, 2 + x}}) square->append(corner);
      list.append(square);
    }
    original.build(list, 0.0f, 3, nullptr);
    original.dynamicObstacles.append(list.at(0)->newInstance());
    copy.copyFrom(&original);
  }
  ASSERT_TRUE(copy.validate());
  ASSERT_NE(copy.staticTree, nullptr);
  EXPECT_TRUE(copy.staticTree->validate());
  EXPECT_EQ(copy.dynamicTree, nullptr);  // the original had none
  KX_ObjectArray found;
  copy.staticTree->getObjectListFromPoint(found, {5, 1}, nullptr, 0, nullptr);
  ASSERT_EQ(found.getCount(), 1);
  EXPECT_EQ(found.at(0), copy.obstacles.at(1));
}

}  // namespace
