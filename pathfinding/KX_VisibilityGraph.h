// The graph behind a path finder handle. Its nodes are obstacle corners and
// its edges straight free lines between them, weighted by their length. It
// also holds the obstacles themselves, the quad trees over them, the state of
// the graph build, and a cache of shortest-path trees by source node.
#pragma once

#include "foundation/KX_BitArray.h"
#include "foundation/KX_VoidPtrArray.h"
#include "geometry/KX_PolygonList2D.h"
#include "pathfinding/KX_Graph.h"
#include "quadtree/QV_QuadTree.h"

class KX_VisibilityGraph : public KX_Graph {
 public:
  // Undirected, with edge weights.
  KX_VisibilityGraph();
  // Deletes both quad trees with everything else.
  ~KX_VisibilityGraph() override;
  KX_Base* newInstance() const override { return new KX_VisibilityGraph(); }
  // Copies the graph, the obstacles, the vertices, the cache and the build
  // state. Trees hold pointers to their own graph's polygons, so the copy
  // gets trees of its own: of the same bounds and levels, holding the copied
  // polygons that the source's trees hold, under the same boxes.
  void copyFrom(const KX_Base* source) override;

  // The whole build: prepareBuild, then buildStep until it is done.
  void build(const KX_PolygonList2D& polygons, float inflation, int treeLevels, const KX_Polygon2D* outerBorder);
  // Resets everything a build fills (the matrices, the vertex sets, the path
  // cache and both trees; dynamic obstacles stay listed, outside any tree)
  // and takes copies of the obstacles and of the border (none if null or
  // without points). Non-finite points are left out of the copies, and an
  // obstacle left without points is not taken.
  void prepareBuild(const KX_PolygonList2D& polygons, float inflation, int treeLevels, const KX_Polygon2D* outerBorder);
  // One step of the build machine (KX_VisibilityGraphBuild.cpp); true once
  // the build is complete. Without obstacles the build ends with no graph
  // and no static tree.
  bool buildStep();

  // The box around the points; a set without finite points gets the empty
  // box at the origin.
  static KX_AABox2D getBoundingBox(const KX_PointSet2D& points);

  // At most n cached trees from now on; n <= 0 empties the cache and turns
  // it off. Trees beyond n go, the least used first.
  void setPathCacheCapacity(int n);
  // Like findShortestPath, through the cache of shortest-path trees.
  float findCachedPath(KX_IntArray& path, int source, int target);
  // Empties the cache; the trees are stale once the graph changes.
  void clearPathCache() { pathCache.clear(); }

  // States of the build machine.
  static constexpr int kBuildStart = 0;
  static constexpr int kBuildInflate = 1;
  static constexpr int kBuildMerge = 2;
  static constexpr int kBuildCorners = 3;
  static constexpr int kBuildNodes = 4;
  static constexpr int kBuildTree = 5;
  static constexpr int kBuildEdges = 6;
  static constexpr int kBuildRemoveNodes = 7;
  static constexpr int kBuildIndex = 8;
  static constexpr int kBuildFinish = 9;
  static constexpr int kBuildDone = 1000;

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

  // The states of the build machine.
  void inflateStep();
  void mergeStep();
  void cornersStep();
  void treeStep();
  void removeNodeStep();
  void indexStep();
  // Outline edges of obstacle `obstacle`, whose first node is `firstNode`,
  // and the free lines from its corners to the corners of later obstacles
  // (KX_VisibilityGraphEdges.cpp).
  void addEdgesFrom(int obstacle, int firstNode);
};
