// The edges of the visibility graph. Corners of one obstacle are joined only
// along its outline, never across it, even where a concave obstacle would
// allow it; corners of two obstacles are joined where the straight line
// between them is free. Each pair of corners of two obstacles is tried once,
// from the obstacle that comes first in the list.
#include <cmath>

#include "geometry/KX_Epsilon.h"
#include "pathfinding/KX_VisibilityGraph.h"

namespace {

bool isNear(const KX_Point2D& a, const KX_Point2D& b) {
  return std::fabs(a.x - b.x) <= epsilon && std::fabs(a.y - b.y) <= epsilon;
}

float distance(const KX_Point2D& a, const KX_Point2D& b) {
  float dx = b.x - a.x;
  float dy = b.y - a.y;
  return std::sqrt(dx * dx + dy * dy);
}

// Working arrays of the visibility test, kept for a whole obstacle's corners.
struct VisibilityScratch {
  KX_PointSet2D points;
  KX_ObjectArray candidates;
  KX_ObjectArray nearEnd;
};

// Adds the objects of `extra` that `list` doesn't hold yet.
void addMissing(KX_ObjectArray& list, const KX_ObjectArray& extra) {
  int listed = list.getCount();
  for (int i = 0; i < extra.getCount(); ++i) {
    KX_Base* object = extra.at(i);
    bool found = false;
    for (int k = 0; k < listed && !found; ++k) found = list.at(k) == object;
    if (!found) list.append(object);
  }
}

// The line from corner p of obstacle j to corner q of obstacle r is free:
// the ray from p through q only touches r at q, the line leaves j only at p
// and meets r only at q, and no other obstacle near it (found through the
// tree, `exclude` holding j and r) touches it.
bool isVisible(const QV_QuadTree& tree, const KX_Polygon2D& j, const KX_Polygon2D& r, const KX_Point2D& p,
               const KX_Point2D& q, const KX_ObjectArray& exclude, VisibilityScratch& scratch) {
  KX_LineSegment2D segment{p, q};
  if (r.getRayIntersections(p, KX_Point2D{q.x - p.x, q.y - p.y}, scratch.points) >= 2) return false;
  int hits = j.getSegmentIntersections(segment, scratch.points, true);
  if (hits > 1 || (hits == 1 && !isNear(scratch.points.at(0), p))) return false;
  hits = r.getSegmentIntersections(segment, scratch.points, true);
  if (hits > 1 || (hits == 1 && !isNear(scratch.points.at(0), q))) return false;

  // The segment query misses an obstacle whose box holds the whole segment;
  // such a box holds both ends, which the point queries find.
  tree.getObjectListFromLineSegment(scratch.candidates, segment, nullptr, 0, &exclude);
  tree.getObjectListFromPoint(scratch.nearEnd, p, nullptr, 0, &exclude);
  addMissing(scratch.candidates, scratch.nearEnd);
  tree.getObjectListFromPoint(scratch.nearEnd, q, nullptr, 0, &exclude);
  addMissing(scratch.candidates, scratch.nearEnd);
  for (int i = 0; i < scratch.candidates.getCount(); ++i) {
    if (static_cast<const KX_Polygon2D*>(scratch.candidates.at(i))->intersectsSegment(segment, true)) return false;
  }
  return true;
}

}  // namespace

void KX_VisibilityGraph::addEdgesFrom(int obstacle, int firstNode) {
  KX_Polygon2D* j = obstacles.getPolygon(obstacle);
  int obstacleCount = obstacles.getCount();
  int cornerCount = j->getCount();
  KX_ObjectArray exclude;
  exclude.elementsBorrowed = true;
  exclude.append(j);
  VisibilityScratch scratch;
  for (int i = 0; i < cornerCount; ++i) {
    int v = firstNode + i;
    KX_Point2D p = j->at(i);

    // Along the outline, unless any other obstacle touches that edge.
    int next = i + 1 < cornerCount ? i + 1 : 0;
    int w = firstNode + next;
    KX_Point2D q = j->at(next);
    if (!hasEdge(v, w)) {
      KX_LineSegment2D edge{p, q};
      bool blocked = false;
      for (int k = 0; k < obstacleCount && !blocked; ++k) {
        if (k != obstacle) blocked = obstacles.getPolygon(k)->intersectsSegment(edge, true);
      }
      if (!blocked) addEdge(v, w, distance(p, q));
    }

    // Across to the corners of every later obstacle.
    int rFirstNode = firstNode + cornerCount;
    for (int k = obstacle + 1; k < obstacleCount; ++k) {
      const KX_Polygon2D* r = obstacles.getPolygon(k);
      exclude.append(obstacles.at(k));
      for (int m = 0; m < r->getCount(); ++m) {
        w = rFirstNode + m;
        q = r->at(m);
        if (!hasEdge(v, w) && isVisible(*staticTree, *j, *r, p, q, exclude, scratch)) addEdge(v, w, distance(p, q));
      }
      exclude.remove(exclude.getCount() - 1);
      rFirstNode += r->getCount();
    }
  }
}
