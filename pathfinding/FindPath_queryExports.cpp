// The FindPath_ exports of dynamic obstacles, the path query and the two point
// services. Handles are trusted, as by the other FindPath_ exports.
#include <cmath>

#include "pathfinding/KX_ObstacleDump.h"
#include "pathfinding/KX_VisibilityGraph.h"
#include "qv_helper/qv_helper.h"

namespace {

// Steps and spacing of the query, fixed for every path finder.
float movePointStep = 0.1f;
float queryEndStep = 0.15f;
float smoothingSpacing = 2.0f;
// Corner insertions one query may spend going round dynamic obstacles.
constexpr int kDetourBudget = 200;

KX_VisibilityGraph* asGraph(void* handle) {
  return static_cast<KX_VisibilityGraph*>(handle);
}

bool isFinitePoint(float x, float y) {
  return std::isfinite(x) && std::isfinite(y);
}

}  // namespace

int FindPath_addDynamicObstacle(void* handle, float* points, int pointCount, void* data, bool barrier) {
  int count = pointCount > 0 ? pointCount : 0;
  KX_Polygon2D polygon;
  for (int i = 0; i < count; ++i) polygon.append(KX_Point2D{points[2 * i], points[2 * i + 1]});
  if (barrier) KX_writePointDump("dynobstacles", points, count);
  return asGraph(handle)->addDynamicObstacle(polygon, data, barrier);
}

void FindPath_deleteDynamicObstacle(void* handle, int index) {
  asGraph(handle)->deleteDynamicObstacle(index);
}

void FindPath_clearDynamicObstacleList(void* handle) {
  asGraph(handle)->clearDynamicObstacles();
}

int FindPath_getDynamicObstacleByData(void* handle, void* data) {
  const KX_VoidPtrArray& list = asGraph(handle)->dynamicObstacleData;
  for (int i = 0; i < list.getCount(); ++i) {
    if (list.at(i) == data) return i;
  }
  return -1;
}

bool FindPath_isDynamicObstacleBarrier(void* handle, int index) {
  return asGraph(handle)->dynamicObstacleBarriers.getBit(index);
}

int FindPath_findPath(void* handle, float* result, int maxPoints, float fromX, float fromY, float toX, float toY) {
  if (!isFinitePoint(fromX, fromY) || !isFinitePoint(toX, toY) || maxPoints <= 0) return 0;
  KX_VisibilityGraph* graph = asGraph(handle);
  KX_Point2D from{fromX, fromY};
  KX_Point2D to{toX, toY};
  graph->moveEndsOutOfObstacles(from, to, queryEndStep, true);
  KX_Polygon2D path;
  if (!graph->findGraphPath(path, from, to)) return 0;
  if (graph->dynamicObstacles.getCount() > 0 && !graph->avoidDynamicObstacles(path, kDetourBudget)) return 0;
  graph->smoothPath(path, smoothingSpacing, true);
  if (!graph->confinePathToBorder(path)) return 0;
  int n = path.getCount() < maxPoints ? path.getCount() : maxPoints;
  for (int i = 0; i < n; ++i) {
    result[2 * i] = path.at(i).x;
    result[2 * i + 1] = path.at(i).y;
  }
  return n;
}

bool FindPath_isPointInObstacle(void* handle, float x, float y) {
  return asGraph(handle)->isPointInObstacle(KX_Point2D{x, y}, true);
}

void FindPath_movePointOutsideObstacles(void* handle, float& x, float& y, float directionX, float directionY) {
  KX_Point2D point{x, y};
  asGraph(handle)->movePointOutside(point, KX_Point2D{directionX, directionY}, movePointStep, true);
  x = point.x;
  y = point.y;
}
