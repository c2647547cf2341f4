// The QuadTree_ family: the registry of live trees and thin wrappers that turn
// the host's floats into points, boxes and circles and call the tree.
#include "quadtree/QV_QuadTree.h"
#include "quadtree/QV_QuadTreeObjectFilter.h"
#include "qv_helper/qv_helper.h"

namespace {

// Every live tree, sorted by address; owns them.
KX_ObjectArray* treeRegistry = nullptr;

QV_QuadTree* asTree(void* handle) {
  return static_cast<QV_QuadTree*>(handle);
}

// The common tail of the queries: the host's callback behind a filter (none
// without a callback) and a read-only view of the host's exclusion list (none
// for a null list or a count of 0).
class QueryTail {
 public:
  QueryTail(bool (*callback)(void*, int), void** exclude, int excludeCount) : hostFilter(callback) {
    filter = callback != nullptr ? &hostFilter : nullptr;
    if (exclude != nullptr && excludeCount != 0) {
      excludedView.borrowBuffer(reinterpret_cast<KX_Base**>(exclude), excludeCount);
      excluded = &excludedView;
    }
  }

  QV_QuadTreeObjectFilter hostFilter;
  KX_ObjectFilter* filter = nullptr;
  // A borrowed buffer is neither written nor freed, and its elements are not deleted.
  KX_ObjectArray excludedView;
  const KX_ObjectArray* excluded = nullptr;
};

// The whole list is built first; then at most maxResults pointers are copied
// into the caller's array. A negative limit or a null array gets nothing.
int copyResults(const KX_ObjectArray& list, void** result, int maxResults) {
  int n = list.getCount() < maxResults ? list.getCount() : maxResults;
  if (n <= 0 || result == nullptr) return 0;
  for (int i = 0; i < n; ++i) result[i] = list.at(i);
  return n;
}

}  // namespace

void QuadTree_init() {
  treeRegistry = new KX_ObjectArray();
}

void QuadTree_exit() {
  delete treeRegistry;
}

// Fewer than one level would leave a tree without cells: no tree is made.
void* QuadTree_create(float width, float height, int levels) {
  if (levels < 1) return nullptr;
  QV_QuadTree* tree = new QV_QuadTree(KX_AABox2D(0.0f, 0.0f, width, height), levels, 0);
  if (tree == nullptr) return nullptr;
  treeRegistry->insert(treeRegistry->findInsertPosition(tree), tree);
  return tree;
}

void QuadTree_delete(void* tree) {
  int index = KX_findByAddress(*treeRegistry, tree);
  if (index >= 0) treeRegistry->remove(index);
}

void QuadTree_addObject(void* tree, void* object, float x, float y, float width, float height) {
  asTree(tree)->addObject(object, KX_Point2D{x, y}, KX_Point2D{width, height});
}

void QuadTree_removeObject(void* tree, void* object, float x, float y, float width, float height) {
  asTree(tree)->removeObject(object, KX_Point2D{x, y}, KX_Point2D{width, height});
}

void QuadTree_moveObject(void* tree, void* object, float oldX, float oldY, float oldWidth, float oldHeight, float newX,
                         float newY, float newWidth, float newHeight) {
  asTree(tree)->moveObject(object, KX_Point2D{oldX, oldY}, KX_Point2D{oldWidth, oldHeight}, KX_Point2D{newX, newY},
                           KX_Point2D{newWidth, newHeight});
}

void* QuadTree_findNearestObject(void* tree, float x, float y, bool (*filter)(void*, int), int filterData,
                                 void** exclude, int excludeCount) {
  QV_QuadTree* quadTree = asTree(tree);
  QueryTail tail(filter, exclude, excludeCount);
  return quadTree->findNearestObjectInAABox(KX_Point2D{x, y}, quadTree->bounds, tail.filter, filterData, tail.excluded);
}

void* QuadTree_findNearestObjectInAABox(void* tree, float x, float y, float boxX, float boxY, float boxWidth,
                                        float boxHeight, bool (*filter)(void*, int), int filterData, void** exclude,
                                        int excludeCount) {
  QueryTail tail(filter, exclude, excludeCount);
  return asTree(tree)->findNearestObjectInAABox(KX_Point2D{x, y}, KX_AABox2D(boxX, boxY, boxWidth, boxHeight),
                                                tail.filter, filterData, tail.excluded);
}

void* QuadTree_findNearestObjectInCircle(void* tree, float x, float y, float centreX, float centreY, float radius,
                                         bool (*filter)(void*, int), int filterData, void** exclude, int excludeCount) {
  QueryTail tail(filter, exclude, excludeCount);
  return asTree(tree)->findNearestObjectInCircle(KX_Point2D{x, y}, KX_Circle(centreX, centreY, radius), tail.filter,
                                                 filterData, tail.excluded);
}

void* QuadTree_findNearestObjectInSegment(void* tree, float x, float y, float directionX, float directionY,
                                          float halfAngle, bool (*filter)(void*, int), int filterData, void** exclude,
                                          int excludeCount) {
  QueryTail tail(filter, exclude, excludeCount);
  return asTree(tree)->findNearestObjectInSegment(KX_Point2D{x, y}, KX_Point2D{directionX, directionY}, halfAngle,
                                                  tail.filter, filterData, tail.excluded);
}

int QuadTree_getObjectListFromAABox(void* tree, void** result, int maxResults, float boxX, float boxY, float boxWidth,
                                    float boxHeight, bool (*filter)(void*, int), int filterData, void** exclude,
                                    int excludeCount) {
  QueryTail tail(filter, exclude, excludeCount);
  KX_ObjectArray list;
  asTree(tree)->getObjectListFromAABox(list, KX_AABox2D(boxX, boxY, boxWidth, boxHeight), tail.filter, filterData,
                                       tail.excluded);
  return copyResults(list, result, maxResults);
}

int QuadTree_getObjectListFromCircle(void* tree, void** result, int maxResults, float centreX, float centreY,
                                     float radius, bool (*filter)(void*, int), int filterData, void** exclude,
                                     int excludeCount) {
  QueryTail tail(filter, exclude, excludeCount);
  KX_ObjectArray list;
  asTree(tree)->getObjectListFromCircle(list, KX_Circle(centreX, centreY, radius), tail.filter, filterData,
                                        tail.excluded);
  return copyResults(list, result, maxResults);
}

int QuadTree_getObjectListFromSegment(void* tree, void** result, int maxResults, float x, float y, float directionX,
                                      float directionY, float halfAngle, bool (*filter)(void*, int), int filterData,
                                      void** exclude, int excludeCount) {
  QueryTail tail(filter, exclude, excludeCount);
  KX_ObjectArray list;
  asTree(tree)->getObjectListFromSegment(list, KX_Point2D{x, y}, KX_Point2D{directionX, directionY}, halfAngle,
                                         tail.filter, filterData, tail.excluded);
  return copyResults(list, result, maxResults);
}
