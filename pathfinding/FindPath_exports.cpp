// The FindPath_ family: the registry of live path finders and the graph build
// from the host's polygons or boxes.
#include "pathfinding/KX_ObstacleDump.h"
#include "pathfinding/KX_VisibilityGraph.h"
#include "qv_helper/qv_helper.h"

namespace {

// Every live path finder, sorted by address; owns them.
KX_ObjectArray* pathFinderRegistry = nullptr;

// The most shortest-path trees a graph keeps.
constexpr int kMaxCachedTrees = 600;

KX_VisibilityGraph* asGraph(void* handle) {
  return static_cast<KX_VisibilityGraph*>(handle);
}

// x, y pairs as a polygon; a negative count gives an empty one.
KX_Polygon2D* makePolygon(const float* coordinates, int pointCount) {
  KX_Polygon2D* polygon = new KX_Polygon2D();
  for (int i = 0; i < pointCount; ++i) polygon->append(KX_Point2D{coordinates[2 * i], coordinates[2 * i + 1]});
  return polygon;
}

// The build common to both overloads; the list and the border are the call's own.
void buildGraph(void* handle, const KX_PolygonList2D& obstacles, float inflation, int treeLevels, const float* border,
                int borderPointCount) {
  KX_VisibilityGraph* graph = asGraph(handle);
  KX_Polygon2D* outerBorder = border != nullptr ? makePolygon(border, borderPointCount) : nullptr;
  graph->build(obstacles, inflation, treeLevels, outerBorder);
  graph->setPathCacheCapacity(graph->nodeCount < kMaxCachedTrees ? graph->nodeCount : kMaxCachedTrees);
  delete outerBorder;
}

}  // namespace

void FindPath_init() {
  if (pathFinderRegistry == nullptr) pathFinderRegistry = new KX_ObjectArray();
}

void FindPath_exit() {
  delete pathFinderRegistry;
  pathFinderRegistry = nullptr;
}

void* FindPath_create() {
  KX_VisibilityGraph* graph = new KX_VisibilityGraph();
  pathFinderRegistry->insert(pathFinderRegistry->findInsertPosition(graph), graph);
  return graph;
}

void FindPath_delete(void* handle) {
  if (pathFinderRegistry == nullptr) return;
  int index = KX_findByAddress(*pathFinderRegistry, handle);
  if (index >= 0) pathFinderRegistry->remove(index);
}

void FindPath_computeGraph(void* handle, float* coordinates, int* pointCounts, int polygonCount, float inflation,
                           int treeLevels, float* border, int borderPointCount) {
  KX_PolygonList2D obstacles;
  const float* next = coordinates;
  for (int i = 0; i < polygonCount; ++i) {
    int pointCount = pointCounts[i] > 0 ? pointCounts[i] : 0;
    obstacles.append(makePolygon(next, pointCount));
    next += 2 * pointCount;
  }
  buildGraph(handle, obstacles, inflation, treeLevels, border, borderPointCount);
  KX_writeObstacleDump(coordinates, pointCounts, polygonCount);
  if (border != nullptr) KX_writePointDump("obstacleborder", border, borderPointCount);
}

void FindPath_computeGraph(void* handle, float* boxes, int boxCount, float inflation, int treeLevels, float* border,
                           int borderPointCount) {
  KX_PolygonList2D obstacles;
  for (int i = 0; i < boxCount; ++i) {
    const float* box = boxes + 4 * i;
    float x = box[0];
    float y = box[1];
    float right = x + box[2];
    float top = y + box[3];
    const float corners[8] = {x, y, right, y, right, top, x, top};
    obstacles.append(makePolygon(corners, 4));
  }
  buildGraph(handle, obstacles, inflation, treeLevels, border, borderPointCount);
}
