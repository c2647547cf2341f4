// Dynamic obstacles: three parallel lists kept in the order of the polygons'
// addresses, and a quad tree of the static tree's shape that queries search.
// Nothing here touches the graph, so cached shortest-path trees stay valid.
#include "pathfinding/KX_VisibilityGraph.h"

int KX_VisibilityGraph::addDynamicObstacle(const KX_Polygon2D& polygon, void* data, bool barrier) {
  KX_Polygon2D* copy = new KX_Polygon2D();
  copy->copyFrom(&polygon);
  if (inflation > 0.0f) copy->expand(inflation);
  int index = dynamicObstacles.insert(dynamicObstacles.findInsertPosition(copy), copy);
  dynamicObstacleData.insert(index, data);
  dynamicObstacleBarriers.insertBit(index, barrier);
  if (dynamicTree == nullptr && staticTree != nullptr) {
    dynamicTree = static_cast<QV_QuadTree*>(staticTree->newInstance());
  }
  if (dynamicTree != nullptr) {
    KX_AABox2D box = getBoundingBox(*copy);
    dynamicTree->addObject(copy, KX_Point2D{box.x, box.y}, KX_Point2D{box.width, box.height});
  }
  return index;
}

void KX_VisibilityGraph::deleteDynamicObstacle(int index) {
  if (dynamicObstacles.getCount() == 1) {
    clearDynamicObstacles();
    return;
  }
  KX_Polygon2D* polygon = dynamicObstacles.getPolygon(index);
  if (dynamicTree != nullptr) {
    KX_AABox2D box = getBoundingBox(*polygon);
    dynamicTree->removeObject(polygon, KX_Point2D{box.x, box.y}, KX_Point2D{box.width, box.height});
  }
  dynamicObstacles.remove(index);
  dynamicObstacleData.remove(index);
  dynamicObstacleBarriers.removeBit(index);
}

void KX_VisibilityGraph::clearDynamicObstacles() {
  delete dynamicTree;
  dynamicTree = nullptr;
  dynamicObstacles.clear();
  dynamicObstacleData.clear();
  dynamicObstacleBarriers.clear();
  dynamicObstacleBarriers.bitCount = 0;
}
