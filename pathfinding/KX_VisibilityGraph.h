// The graph behind a path finder handle. Its nodes are obstacle corners and
// its edges straight free lines between them, weighted by their length. It
// also holds the obstacles themselves, the quad trees over them, the state of
// the graph build, and a cache of shortest-path trees by source node.
#pragma once

#include "foundation/KX_BitArray.h"
#include "foundation/KX_VoidPtrArray.h"
#include "geometry/KX_PolygonList2D.h"
#include "pathfinding/KX_Graph.h"

class QV_QuadTree;

class KX_VisibilityGraph : public KX_Graph {
 public:
  // Undirected, with edge weights.
  KX_VisibilityGraph();
  ~KX_VisibilityGraph() override;
  KX_Base* newInstance() const override { return new KX_VisibilityGraph(); }
  // Copies the graph, the obstacles, the vertices, the cache and the scalar
  // state. The quad trees are not copied: the copy has none until it is
  // built again.
  void copyFrom(const KX_Base* source) override;

  // At most n cached trees from now on; n <= 0 empties the cache and turns
  // it off. Trees beyond n go, the least used first.
  void setPathCacheCapacity(int n);
  // Like findShortestPath, through the cache of shortest-path trees.
  float findCachedPath(KX_IntArray& path, int source, int target);
  // Empties the cache; the trees are stale once the graph changes.
  void clearPathCache() { pathCache.clear(); }

  // Consistency of a built graph: symmetric adjacency and weights, each
  // weight the distance of its two corners, one vertex per node in both
  // vertex sets, `sortedVertices` in order and mapped back by
  // `sortedToNode`, no node without an edge, every node inside the border
  // (if there is one). On failure `problem` (if given) names what is wrong.
  bool validate(const char** problem = nullptr) const;

  KX_PolygonList2D obstacles;
  KX_PolygonList2D dynamicObstacles;
  KX_VoidPtrArray dynamicObstacleData;
  KX_BitArray dynamicObstacleBarriers;
  KX_PointSet2D sortedVertices;
  KX_PointSet2D vertices;
  KX_IntArray sortedToNode;
  QV_QuadTree* staticTree = nullptr;
  QV_QuadTree* dynamicTree = nullptr;
  KX_ObjectArray pathCache;
  int pathCacheCapacity = 0;
  float inflation = 0.0f;
  int treeLevels = 0;
  int buildState = 0;
  int buildIndexA = 0;
  int buildIndexB = 0;
  KX_Point2D boundsMin{0.0f, 0.0f};
  KX_Point2D boundsMax{0.0f, 0.0f};
  KX_ObjectArray obstacleBoxes;
  KX_Polygon2D border;

 private:
  // Removes the tree with the smallest use count, the lowest index among equals.
  void evictLeastUsedTree();
};
