// The first stages of a path query: points in obstacles, moving the ends of a
// query out of them, and the rough path through the visibility graph.
#include <cfloat>
#include <cmath>
#include <initializer_list>

#include "pathfinding/KX_FreeSegmentCheck.h"
#include "pathfinding/KX_VisibilityGraph.h"

namespace {

// A point inside an obstacle moves out in at most this many jumps: each jump
// leaves one obstacle, so only a pile of thousands of overlapping obstacles,
// or coordinates too large for a step to change them, could need more; the
// point then stays where the last jump left it.
constexpr int kMaxOutwardJumps = 4096;

float squaredDistance(const KX_Point2D& a, const KX_Point2D& b) {
  float dx = b.x - a.x;
  float dy = b.y - a.y;
  return dx * dx + dy * dy;
}

// The first polygon listed at the point by `tree` that contains it, or null.
KX_Polygon2D* obstacleAt(const QV_QuadTree* tree, const KX_Point2D& point, KX_ObjectArray& list) {
  if (tree == nullptr) return nullptr;
  tree->getObjectListFromPoint(list, point, nullptr, 0, nullptr);
  for (int i = 0; i < list.getCount(); ++i) {
    KX_Polygon2D* polygon = static_cast<KX_Polygon2D*>(list.at(i));
    if (polygon->contains(point)) return polygon;
  }
  return nullptr;
}

// A crossing of the query's straight line with an obstacle edge.
struct Crossing {
  bool found = false;
  float distance = FLT_MAX;  // squared, from the end it was measured from
  KX_Point2D hit{0.0f, 0.0f};
  KX_Point2D nearCorner{0.0f, 0.0f};
  KX_Point2D farCorner{0.0f, 0.0f};

  void offer(const KX_Point2D& end, const KX_Point2D& point, const KX_LineSegment2D& edge) {
    float d = squaredDistance(end, point);
    if (!(d < distance)) return;
    found = true;
    distance = d;
    hit = point;
    // Equally near vertices: the edge's end is the near one.
    bool startNearer = squaredDistance(point, edge.start) < squaredDistance(point, edge.end);
    nearCorner = startNearer ? edge.start : edge.end;
    farCorner = startNearer ? edge.end : edge.start;
  }
};

}  // namespace

void KX_VisibilityGraph::getSegmentCandidates(const QV_QuadTree& tree, const KX_LineSegment2D& segment,
                                              KX_ObjectArray& list) {
  tree.getObjectListFromLineSegment(list, segment, nullptr, 0, nullptr);
  KX_ObjectArray atEnd;
  tree.getObjectListFromPoint(atEnd, segment.start, nullptr, 0, &list);
  list.insertAll(list.getCount(), atEnd);
  tree.getObjectListFromPoint(atEnd, segment.end, nullptr, 0, &list);
  list.insertAll(list.getCount(), atEnd);
}

bool KX_VisibilityGraph::isPointInObstacle(const KX_Point2D& point, bool dynamic) {
  if (staticTree == nullptr) return false;
  KX_ObjectArray list;
  if (obstacleAt(staticTree, point, list) != nullptr) return true;
  return dynamic && obstacleAt(dynamicTree, point, list) != nullptr;
}

void KX_VisibilityGraph::movePointOutside(KX_Point2D& point, const KX_Point2D& direction, float step, bool dynamic) {
  if (staticTree == nullptr) return;
  float length = std::sqrt(direction.x * direction.x + direction.y * direction.y);
  // Without a usable direction there is no way out to take.
  if (!(length > 0.0f) || !std::isfinite(length)) return;
  KX_Point2D u{direction.x / length * step, direction.y / length * step};
  KX_ObjectArray list;
  KX_FloatArray parameters;
  for (int jump = 0; jump < kMaxOutwardJumps; ++jump) {
    KX_Polygon2D* obstacle = obstacleAt(staticTree, point, list);
    if (obstacle == nullptr && dynamic) obstacle = obstacleAt(dynamicTree, point, list);
    if (obstacle == nullptr) return;

    KX_Point2D q{point.x + u.x, point.y + u.y};
    if (!obstacle->contains(q)) {
      staticTree->getObjectListFromPoint(list, q, nullptr, 0, nullptr);
      bool inAnother = false;
      for (int i = 0; i < list.getCount() && !inAnother; ++i) {
        inAnother = static_cast<KX_Polygon2D*>(list.at(i))->contains(q);
      }
      if (list.getCount() > 0 && !inAnother) {
        point = q;
        return;
      }
    }
    KX_Point2D next = q;
    if (obstacle->getRayHits(point, direction, parameters) > 0) {
      float t = parameters.at(0);  // the hit on the lowest edge, not the nearest
      next = KX_Point2D{point.x + direction.x * t + u.x, point.y + direction.y * t + u.y};
    }
    if (next == point) return;  // the step is lost in the coordinates' size
    point = next;
  }
}

void KX_VisibilityGraph::moveEndsOutOfObstacles(KX_Point2D& from, KX_Point2D& to, float step, bool dynamic) {
  const KX_Point2D d{from.x - to.x, from.y - to.y};
  const KX_Point2D directions[4] = {d, {-d.x, -d.y}, {-d.y, d.x}, {d.y, -d.x}};
  const float quarterTurn = 0.785398163f;  // pi / 4
  const float turnCos = std::cos(quarterTurn);
  const float turnSin = std::sin(quarterTurn);
  for (KX_Point2D* end : {&from, &to}) {
    const KX_Point2D original = *end;
    KX_Point2D moved[4];
    for (int k = 0; k < 4; ++k) {
      moved[k] = original;
      movePointOutside(moved[k], directions[k], step, dynamic);
      if (k == 0 && moved[0] == original) break;  // the end lies free
    }
    if (moved[0] == original) continue;

    // The nearest of the four; among equals the later direction wins.
    int winner = 0;
    float best = squaredDistance(original, moved[0]);
    for (int k = 1; k < 4; ++k) {
      float distance = squaredDistance(original, moved[k]);
      if (distance <= best) {
        best = distance;
        winner = k;
      }
    }
    *end = moved[winner];
    // A squared distance against four steps, as the rule has it.
    if (best <= 4.0f * step) continue;

    // Four diagonal directions, measured against the winner so far.
    int diagonalWinner = -1;
    float diagonalBest = 0.0f;
    KX_Point2D diagonal[4];
    for (int k = 0; k < 4; ++k) {
      const KX_Point2D& v = directions[k];
      KX_Point2D turned{v.x * turnCos + v.y * turnSin, -v.x * turnSin + v.y * turnCos};
      diagonal[k] = original;
      movePointOutside(diagonal[k], turned, step, dynamic);
      float distance = squaredDistance(*end, diagonal[k]);
      if (diagonalWinner < 0 || distance <= diagonalBest) {
        diagonalBest = distance;
        diagonalWinner = k;
      }
    }
    if (diagonalBest < best) *end = diagonal[diagonalWinner];
  }
}

bool KX_VisibilityGraph::findGraphPath(KX_Polygon2D& path, const KX_Point2D& from, const KX_Point2D& to) {
  path.clear();
  if (from == to) {
    path.append(to);
    return true;
  }
  if (staticTree == nullptr) {
    path.append(from);
    path.append(to);
    return true;
  }

  const KX_LineSegment2D straight{from, to};
  KX_ObjectArray candidates;
  getSegmentCandidates(*staticTree, straight, candidates);
  for (int i = candidates.getCount() - 1; i >= 0; --i) {
    if (!static_cast<KX_Polygon2D*>(candidates.at(i))->intersectsSegment(straight, true)) candidates.remove(i);
  }
  if (candidates.getCount() == 0) {
    path.append(from);
    path.append(to);
    return true;
  }

  Crossing first;
  Crossing last;
  for (int i = 0; i < candidates.getCount(); ++i) {
    const KX_Polygon2D* polygon = static_cast<const KX_Polygon2D*>(candidates.at(i));
    int edges = polygon->getCount() >= 2 ? polygon->getCount() : 0;
    for (int e = 0; e < edges; ++e) {
      KX_LineSegment2D edge = polygon->getEdge(e);
      KX_Point2D hit;
      if (!straight.intersect(edge, hit, true)) continue;
      first.offer(from, hit, edge);
      last.offer(to, hit, edge);
    }
  }
  if (!first.found || !last.found) return false;

  // A corner that the build removed (isolated, or outside the border) is no
  // node; the crossed edge's other corner may still be.
  auto nodeOf = [this](const Crossing& crossing) {
    int sorted = sortedVertices.findSorted(crossing.nearCorner);
    if (sorted < 0) sorted = sortedVertices.findSorted(crossing.farCorner);
    return sorted < 0 ? -1 : sortedToNode.at(sorted);
  };
  int startNode = nodeOf(first);
  int goalNode = nodeOf(last);
  if (startNode < 0 || goalNode < 0) return false;
  KX_IntArray nodePath;
  if (startNode == goalNode) {
    nodePath.append(startNode);
  } else if (!(findCachedPath(nodePath, startNode, goalNode) > 0.0f)) {
    return false;
  }

  path.append(from);
  for (int i = 0; i < nodePath.getCount(); ++i) path.append(vertices.at(nodePath.at(i)));
  path.append(to);

  // The ends are joined to the corners without a look at what lies between:
  // where that line cuts an obstacle, the crossing point goes in between.
  auto blocked = [this, &candidates](const KX_LineSegment2D& segment) {
    staticTree->getObjectListFromLineSegment(candidates, segment, nullptr, 0, nullptr);
    for (int i = 0; i < candidates.getCount(); ++i) {
      if (static_cast<KX_Polygon2D*>(candidates.at(i))->intersectsSegment(segment, true)) return true;
    }
    return false;
  };
  if (blocked(KX_LineSegment2D{path.at(0), path.at(1)})) path.insert(1, first.hit);
  int n = path.getCount();
  if (blocked(KX_LineSegment2D{path.at(n - 2), to})) path.insert(n - 1, last.hit);
  return true;
}

bool KX_VisibilityGraph::isSegmentFree(const QV_QuadTree* tree, const KX_LineSegment2D& segment) {
  KX_FreeSegmentCheck check(tree);
  return check.isFree(segment);
}
