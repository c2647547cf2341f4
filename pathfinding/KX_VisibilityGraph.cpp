#include "pathfinding/KX_VisibilityGraph.h"

#include <cmath>

#include "pathfinding/KX_PathTree.h"

KX_VisibilityGraph::KX_VisibilityGraph() : KX_Graph(kEdgeWeights) {}

// The trees only point at the polygons; the lists delete those afterwards.
KX_VisibilityGraph::~KX_VisibilityGraph() {
  delete staticTree;
  delete dynamicTree;
}

namespace {

// A tree of the same bounds and levels as `model` that holds the polygons of
// `copies` whose originals, at the same index of `originals`, `model` holds.
QV_QuadTree* copyTree(const QV_QuadTree& model, const KX_PolygonList2D& originals, const KX_PolygonList2D& copies) {
  QV_QuadTree* tree = new QV_QuadTree(model.bounds, model.getLevelCount(), 0);
  for (int i = 0; i < originals.getCount() && i < copies.getCount(); ++i) {
    KX_AABox2D box = KX_VisibilityGraph::getBoundingBox(*originals.getPolygon(i));
    KX_Point2D position{box.x, box.y};
    KX_Point2D size{box.width, box.height};
    const QV_QuadTreeCell& cell = model.cellAt(model.locateCell(position, size));
    if (cell.objects.findSorted(originals.getPolygon(i)) >= 0) tree->addObject(copies.getPolygon(i), position, size);
  }
  return tree;
}

}  // namespace

void KX_VisibilityGraph::copyFrom(const KX_Base* source) {
  const KX_VisibilityGraph* other = static_cast<const KX_VisibilityGraph*>(source);
  if (other == this) return;
  // The old trees point at polygons that the copies below delete.
  delete staticTree;
  staticTree = nullptr;
  delete dynamicTree;
  dynamicTree = nullptr;
  KX_Graph::copyFrom(source);
  obstacles.copyFrom(&other->obstacles);
  dynamicObstacles.copyFrom(&other->dynamicObstacles);
  dynamicObstacleData.copyFrom(&other->dynamicObstacleData);
  dynamicObstacleBarriers.copyFrom(&other->dynamicObstacleBarriers);
  sortedVertices.copyFrom(&other->sortedVertices);
  vertices.copyFrom(&other->vertices);
  sortedToNode.copyFrom(&other->sortedToNode);
  pathCache.copyFrom(&other->pathCache);
  pathCacheCapacity = other->pathCacheCapacity;
  inflation = other->inflation;
  treeLevels = other->treeLevels;
  buildState = other->buildState;
  buildIndexA = other->buildIndexA;
  buildIndexB = other->buildIndexB;
  boundsMin = other->boundsMin;
  boundsMax = other->boundsMax;
  obstacleBoxes.copyFrom(&other->obstacleBoxes);
  border.copyFrom(&other->border);
  if (other->staticTree != nullptr) staticTree = copyTree(*other->staticTree, other->obstacles, obstacles);
  if (other->dynamicTree != nullptr) {
    dynamicTree = copyTree(*other->dynamicTree, other->dynamicObstacles, dynamicObstacles);
  }
}

KX_AABox2D KX_VisibilityGraph::getBoundingBox(const KX_PointSet2D& points) {
  float minX = INFINITY;
  float minY = INFINITY;
  float maxX = -INFINITY;
  float maxY = -INFINITY;
  // Comparisons pass NaN by, so only finite coordinates count.
  for (int i = 0; i < points.getCount(); ++i) {
    const KX_Point2D& point = points.at(i);
    if (point.x < minX) minX = point.x;
    if (point.x > maxX) maxX = point.x;
    if (point.y < minY) minY = point.y;
    if (point.y > maxY) maxY = point.y;
  }
  if (!(minX <= maxX) || !(minY <= maxY)) return KX_AABox2D(0.0f, 0.0f, 0.0f, 0.0f);
  return KX_AABox2D(minX, minY, maxX - minX, maxY - minY);
}

void KX_VisibilityGraph::evictLeastUsedTree() {
  int least = 0;
  for (int i = 1; i < pathCache.getCount(); ++i) {
    if (static_cast<KX_PathTree*>(pathCache.at(i))->useCount <
        static_cast<KX_PathTree*>(pathCache.at(least))->useCount) {
      least = i;
    }
  }
  pathCache.remove(least);
}

void KX_VisibilityGraph::setPathCacheCapacity(int n) {
  if (n <= 0) {
    pathCache.clear();
    n = 0;
  }
  while (pathCache.getCount() > n) evictLeastUsedTree();
  pathCacheCapacity = n;
}

float KX_VisibilityGraph::findCachedPath(KX_IntArray& path, int source, int target) {
  ++shortestPathRuns;  // taken back on a cache hit
  if (pathCacheCapacity == 0) return findShortestPath(path, source, target);
  KX_PathTree key(source);
  int found = pathCache.findSorted(&key);
  KX_PathTree* tree;
  if (found >= 0) {
    // A hit changes only the use count, never the order of the cache.
    tree = static_cast<KX_PathTree*>(pathCache.at(found));
    ++tree->useCount;
    --shortestPathRuns;
  } else {
    tree = new KX_PathTree(source);
    computeShortestPaths(tree->distances, tree->previous, source);
    tree->useCount = 1;
    while (pathCache.getCount() > 0 && pathCache.getCount() >= pathCacheCapacity) evictLeastUsedTree();
    pathCache.insert(pathCache.findInsertPosition(tree), tree);
  }
  return getPath(path, source, target, tree->distances, tree->previous);
}

bool KX_VisibilityGraph::validate(const char** problem) const {
  const char* failure = nullptr;
  auto fail = [&failure](const char* text) {
    if (failure == nullptr) failure = text;
  };
  if (vertices.getCount() != nodeCount || sortedVertices.getCount() != nodeCount ||
      sortedToNode.getCount() != nodeCount) {
    fail("vertex sets don't have one entry per node");
  } else if (adjacency.getBitWidth() != nodeCount || adjacency.getHeight() != nodeCount ||
             edgeWeights.getWidth() != nodeCount || edgeWeights.getHeight() != nodeCount) {
    fail("matrices don't have one row and column per node");
  }
  if (failure == nullptr) {
    for (int k = 0; k < nodeCount && failure == nullptr; ++k) {
      int node = sortedToNode.at(k);
      if (node < 0 || node >= nodeCount || vertices.at(node) != sortedVertices.at(k)) {
        fail("sortedToNode doesn't map sortedVertices to vertices");
      } else if (k > 0 && sortedVertices.at(k) < sortedVertices.at(k - 1)) {
        fail("sortedVertices is not in order");
      }
    }
    // The border is only read: containment fills its caches, which a copy keeps to itself.
    KX_Polygon2D borderCopy;
    borderCopy.copyFrom(&border);
    for (int r = 0; r < nodeCount && failure == nullptr; ++r) {
      if (getOutDegree(r) == 0) fail("a node has no edge");
      if (border.getCount() > 0 && !borderCopy.contains(vertices.at(r))) fail("a node lies outside the border");
      for (int c = 0; c < nodeCount && failure == nullptr; ++c) {
        bool edge = adjacency.getBit(c, r);
        float weight = edgeWeights.at(c, r);
        float mirrored = edgeWeights.at(r, c);
        if (edge != adjacency.getBit(r, c)) fail("adjacency is not symmetric");
        if (edge == std::isnan(weight)) fail("an edge without a weight, or a weight without an edge");
        if (!(weight == mirrored || (std::isnan(weight) && std::isnan(mirrored)))) fail("weights are not symmetric");
        if (edge) {
          float dx = vertices.at(c).x - vertices.at(r).x;
          float dy = vertices.at(c).y - vertices.at(r).y;
          float length = std::sqrt(dx * dx + dy * dy);
          if (!(std::fabs(weight - length) <= 1e-5f * (1.0f + length))) fail("a weight is not its corners' distance");
        }
      }
    }
  }
  if (problem != nullptr) *problem = failure;
  return failure == nullptr;
}
