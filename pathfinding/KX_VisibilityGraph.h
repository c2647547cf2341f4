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

  // Dynamic obstacles (KX_VisibilityGraphDynamic.cpp): polygons the host adds
  // and removes between queries. They never touch the graph or the path
  // cache; queries reach them through `dynamicTree` only.
  //
  // Takes a copy of `polygon`, grown by `inflation`, into the lists sorted by
  // polygon address, and returns its index (valid until the next change).
  int addDynamicObstacle(const KX_Polygon2D& polygon, void* data, bool barrier);
  // `index` must be valid; deleting the only obstacle clears the lists
  // whatever the index.
  void deleteDynamicObstacle(int index);
  // Empties the three lists and deletes `dynamicTree`.
  void clearDynamicObstacles();

  // The stages of a path query (KX_VisibilityGraphQuery.cpp and
  // KX_VisibilityGraphRepair.cpp). A path is an open polyline.
  //
  // The point lies in a static obstacle, or with `dynamic` in a dynamic one.
  bool isPointInObstacle(const KX_Point2D& point, bool dynamic);
  // Moves a point that lies in an obstacle out along `direction`, in steps of
  // `step`. A direction of zero or non-finite length leaves the point alone.
  void movePointOutside(KX_Point2D& point, const KX_Point2D& direction, float step, bool dynamic);
  // Moves both ends of a query out of obstacles, each the shortest way of
  // eight tried directions.
  void moveEndsOutOfObstacles(KX_Point2D& from, KX_Point2D& to, float step, bool dynamic);
  // The rough path around the static obstacles: the two ends joined over the
  // first and last obstacle crossings to a shortest path between corners.
  bool findGraphPath(KX_Polygon2D& path, const KX_Point2D& from, const KX_Point2D& to);
  // Detours around non-barrier dynamic obstacles by their corners, spending
  // one of `maxInsertions` + 1 per corner; cuts the path before a barrier.
  // False once the budget is spent.
  bool avoidDynamicObstacles(KX_Polygon2D& path, int maxInsertions);
  // Subdivides the path every `spacing` units, then removes every point that
  // a free straight line can skip.
  void smoothPath(KX_Polygon2D& path, float spacing, bool dynamic);
  // The segment may run along an obstacle's edge and touch corners, but cuts
  // through no obstacle of `tree` (nor leaves one from inside). Without a
  // tree every segment is free.
  static bool isSegmentFree(const QV_QuadTree* tree, const KX_LineSegment2D& segment);
  // Cuts the path where it leaves the border and takes it along the border's
  // corners where it leaves and comes back. False when nothing of it is left.
  bool confinePathToBorder(KX_Polygon2D& path);
  // The obstacles of `tree` near a segment: those whose box outline it crosses,
  // then those whose box holds either end, each once (`list` borrows them).
  static void getSegmentCandidates(const QV_QuadTree& tree, const KX_LineSegment2D& segment, KX_ObjectArray& list);

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
  static constexpr int kSmoothingGrowStep = 1024;

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
  // Shortest-path searches that findCachedPath ran (not answered from the
  // cache) since the handle was made: a figure for tools and benchmarks.
  long long shortestPathRuns = 0;
  float inflation = 0.0f;
  int treeLevels = 0;
  int buildState = 0;
  int buildIndexA = 0;
  int buildIndexB = 0;
  KX_Point2D boundsMin{0.0f, 0.0f};
  KX_Point2D boundsMax{0.0f, 0.0f};
  KX_ObjectArray obstacleBoxes;
  KX_Polygon2D border;
  // Working space of the smoothing, kept between queries so that they
  // allocate nothing once it is large enough; it never shrinks, and its
  // count is its size, not a number of points in use.
  KX_PointSet2D smoothingPoints{kSmoothingGrowStep};

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
