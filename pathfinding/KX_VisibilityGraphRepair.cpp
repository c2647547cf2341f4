// The later stages of a path query, which repair the rough graph path: detours
// around dynamic obstacles, smoothing, and confinement to the border.
#include <cfloat>
#include <cmath>

#include "geometry/KX_Epsilon.h"
#include "pathfinding/KX_FreeSegmentCheck.h"
#include "pathfinding/KX_VisibilityGraph.h"

namespace {

// Subdivision stops adding points beyond this many, so that a path across
// an absurdly large world cannot make the quadratic smoothing run for ever.
// At the spacing of 2 this is a path 32768 units long.
constexpr int kMaxSubdividedPoints = 16384;

// The walk along the border ends after this many steps at most; each step
// drops a crossing or moves on by a segment, so only numeric noise at
// near-tangent crossings could come close.
constexpr int kMaxBorderWalkSteps = 1 << 16;

float squaredDistance(const KX_Point2D& a, const KX_Point2D& b) {
  float dx = b.x - a.x;
  float dy = b.y - a.y;
  return dx * dx + dy * dy;
}

bool isNear(const KX_Point2D& a, const KX_Point2D& b) {
  return std::fabs(a.x - b.x) <= epsilon && std::fabs(a.y - b.y) <= epsilon;
}

// A crossing of a path segment with a border edge.
struct BorderCrossing {
  float t;
  int edge;
  KX_Point2D point;
};

// The crossings of the current segment that the border walk has still to
// look at, nearest first, from `first` on. Three parallel arrays: at most one
// crossing per border edge.
struct PendingCrossings {
  KX_FloatArray t;
  KX_IntArray edge;
  KX_PointSet2D point;
  int first = 0;

  int remaining() const { return t.getCount() - first; }
  BorderCrossing front() const { return {t.at(first), edge.at(first), point.at(first)}; }

  // Crossings of the segment from `a` along `d` with the border's edges (t at
  // most 1), sorted by t, each run within epsilon of its first reduced to it.
  void collect(const KX_Polygon2D& border, const KX_Point2D& a, const KX_Point2D& d) {
    t.clear();
    edge.clear();
    point.clear();
    first = 0;
    for (int k = 0; k < border.getCount(); ++k) {
      float parameter;
      if (!border.getEdge(k).intersectRayParameter(a, d, parameter, true) || !(parameter <= 1.0f)) continue;
      // Insertion in order; equal parameters keep the order of their edges.
      int at = t.getCount();
      while (at > 0 && t.at(at - 1) > parameter) --at;
      t.insert(at, parameter);
      edge.insert(at, k);
    }
    for (int i = 0; i < t.getCount(); ++i) {
      int runEnd = i + 1;
      while (runEnd < t.getCount() && std::fabs(t.at(runEnd) - t.at(i)) <= epsilon) ++runEnd;
      t.removeRange(i + 1, runEnd - i - 1);
      edge.removeRange(i + 1, runEnd - i - 1);
      point.append(KX_Point2D{a.x + d.x * t.at(i), a.y + d.y * t.at(i)});
    }
  }
};

}  // namespace

bool KX_VisibilityGraph::avoidDynamicObstacles(KX_Polygon2D& path, int maxInsertions) {
  int budget = maxInsertions + 1;
  if (dynamicTree == nullptr) return true;
  KX_ObjectArray candidates;
  KX_PointSet2D points;
  KX_FloatArray parameters;
  // Marks the path points that are inserted corners, in step with `path`.
  KX_BitArray inserted;
  for (int i = 0; i < path.getCount(); ++i) inserted.insertBit(i, false);
  // The walk after a detour corner v was inserted between a and b: first the
  // way from a to v is tested again (another obstacle may lie on it), then
  // the way on from v. A hit at v itself, where such a segment ends, is no
  // new hit, and v is no candidate corner for it; a hit where a segment
  // starts never counts. Each round either moves on by a segment or spends
  // budget, so the walk ends after at most count + budget rounds.
  for (int i = 0; i < path.getCount() - 1 && budget >= 1;) {
    const KX_Point2D a = path.at(i);
    const KX_Point2D b = path.at(i + 1);
    const bool endsAtCorner = inserted.getBit(i + 1);
    const KX_LineSegment2D segment{a, b};
    getSegmentCandidates(*dynamicTree, segment, candidates);
    KX_Polygon2D* hitObstacle = nullptr;
    float nearest = FLT_MAX;
    for (int c = 0; c < candidates.getCount(); ++c) {
      KX_Polygon2D* polygon = static_cast<KX_Polygon2D*>(candidates.at(c));
      polygon->getSegmentIntersections(segment, points, true);
      for (int p = 0; p < points.getCount(); ++p) {
        if (isNear(points.at(p), a) || (endsAtCorner && isNear(points.at(p), b))) continue;
        float d = squaredDistance(a, points.at(p));
        if (d < nearest) {
          nearest = d;
          hitObstacle = polygon;
        }
      }
    }
    if (hitObstacle == nullptr) {
      ++i;
      continue;
    }
    int k = dynamicObstacles.findSorted(hitObstacle);

    if (!dynamicObstacleBarriers.getBit(k)) {
      // The corner that the way from a reaches unhindered, cheapest by
      // |a v|^2 + |v b|^2. The corner the segment starts on never counts.
      int chosen = -1;
      float cheapest = FLT_MAX;
      for (int v = 0; v < hitObstacle->getCount(); ++v) {
        const KX_Point2D corner = hitObstacle->at(v);
        if (isNear(corner, a) || (endsAtCorner && isNear(corner, b))) continue;
        KX_Point2D d{corner.x - a.x, corner.y - a.y};
        bool open = hitObstacle->getRayHits(a, d, parameters) == 0 || std::fabs(parameters.at(0) - 1.0f) <= epsilon;
        if (!open) continue;
        float cost = d.x * d.x + d.y * d.y + squaredDistance(corner, b);
        if (cost < cheapest) {
          cheapest = cost;
          chosen = v;
        }
      }
      // No corner can be reached: the detour cannot go on.
      if (chosen < 0) return false;
      path.insert(i + 1, hitObstacle->at(chosen));
      inserted.insertBit(i + 1, true);
      --budget;
      continue;
    }

    // A barrier: the path ends just before it, unless the segment starts inside.
    float length = std::sqrt(squaredDistance(a, b));
    if (hitObstacle->contains(a) || !(length > 0.0f)) {
      ++i;
      continue;
    }
    KX_Point2D u{(b.x - a.x) / length, (b.y - a.y) / length};
    if (hitObstacle->getRayHits(a, u, parameters) == 0) {
      path.removeRange(i + 2, path.getCount() - (i + 2));
      return true;
    }
    float smallest = parameters.at(0);
    for (int p = 1; p < parameters.getCount(); ++p) smallest = std::fmin(smallest, parameters.at(p));
    float t = smallest - 0.001f;
    if (t > 0.0f) {
      path.set(i + 1, KX_Point2D{a.x + u.x * t, a.y + u.y * t});
      path.removeRange(i + 2, path.getCount() - (i + 2));
    } else {
      path.removeRange(i + 1, path.getCount() - (i + 1));
    }
    return true;
  }
  return budget > 0;
}

// The shortcuts are taken greedily: from each point kept, to the farthest
// later point that a free line reaches. Worked on an array of points rather
// than by removing points from the path, with the same result: the points
// after a shortcut's end are never touched, so each shortcut ends at a
// subdivision point and the next search starts there.
void KX_VisibilityGraph::smoothPath(KX_Polygon2D& path, float spacing, bool dynamic) {
  int n = path.getCount();
  KX_Point2D* points;
  if (spacing > 0.0f && n > 0) {
    // The subdivision points go to the graph's own array, which only grows.
    int needed = 0;
    auto append = [this, &needed](const KX_Point2D& point) {
      if (needed == smoothingPoints.getCount()) smoothingPoints.resize(needed + 1);
      smoothingPoints.getBuffer()[needed++] = point;
    };
    for (int s = 0; s + 1 < n; ++s) {
      const KX_Point2D p = path.at(s);
      const KX_Point2D q = path.at(s + 1);
      append(p);
      float length = std::sqrt(squaredDistance(p, q));
      if (!(length > spacing) || !std::isfinite(length)) continue;
      KX_Point2D unit{(q.x - p.x) / length, (q.y - p.y) / length};
      for (float t = 0.0f; t < length && needed < kMaxSubdividedPoints; t += spacing) {
        append(KX_Point2D{p.x + unit.x * t, p.y + unit.y * t});
      }
    }
    append(path.at(n - 1));
    n = needed;
    points = smoothingPoints.getBuffer();
  } else {
    path.ownBuffer();
    points = path.getBuffer();
  }

  // The points kept are written over the array from its start: the k-th
  // kept point is at least the k-th point, so nothing still to be read is
  // overwritten.
  KX_FreeSegmentCheck staticCheck(staticTree);
  KX_FreeSegmentCheck dynamicCheck(dynamic ? dynamicTree : nullptr);
  int kept = n > 0 ? 1 : 0;
  for (int i = 0; i < n - 1;) {
    int next = i + 1;
    for (int j = n - 1; j >= i + 2; --j) {
      KX_LineSegment2D shortcut{points[i], points[j]};
      if (staticCheck.isFree(shortcut) && dynamicCheck.isFree(shortcut)) {
        next = j;
        break;
      }
    }
    i = next;
    points[kept++] = points[i];
  }
  if (points != path.getBuffer()) {
    path.resize(kept);
    KX_Point2D* target = path.getBuffer();
    for (int k = 0; k < kept; ++k) target[k] = points[k];
  } else {
    path.resize(kept);
  }
  path.invalidate();
  if (spacing > 0.0f) path.simplify(false);
}

bool KX_VisibilityGraph::confinePathToBorder(KX_Polygon2D& path) {
  if (border.getCount() < 3 || path.getCount() < 2) return true;
  KX_FloatArray parameters;

  // Entry: the path begins where it first comes into the border.
  if (!border.contains(path.at(0))) {
    int entered = -1;
    float t = 0.0f;
    for (int i = 0; i + 1 < path.getCount() && entered < 0; ++i) {
      KX_Point2D a = path.at(i);
      KX_Point2D d{path.at(i + 1).x - a.x, path.at(i + 1).y - a.y};
      if (border.getRayHits(a, d, parameters) == 0) continue;
      t = parameters.at(0);
      for (int p = 1; p < parameters.getCount(); ++p) t = std::fmin(t, parameters.at(p));
      if (t <= 1.0f || std::fabs(t - 1.0f) <= epsilon) entered = i;
    }
    if (entered < 0) return false;
    if (std::fabs(t - 1.0f) <= epsilon) {
      path.removeRange(0, entered + 1);
    } else {
      KX_Point2D a = path.at(entered);
      KX_Point2D d{path.at(entered + 1).x - a.x, path.at(entered + 1).y - a.y};
      path.removeRange(0, entered);
      path.set(0, KX_Point2D{a.x + d.x * t, a.y + d.y * t});
    }
  }

  // The walk: crossings of the current segment wait in `pending`.
  const int m = border.getCount();
  PendingCrossings pending;
  int cur = 0;
  bool changed = false;
  // Dropping the last pending crossing of a segment moves on to the next one.
  auto dropFirst = [&pending, &cur]() {
    ++pending.first;
    if (pending.remaining() == 0) ++cur;
  };
  auto collect = [&]() {
    while (pending.remaining() == 0 && cur < path.getCount() - 1) {
      KX_Point2D a = path.at(cur);
      pending.collect(border, a, KX_Point2D{path.at(cur + 1).x - a.x, path.at(cur + 1).y - a.y});
      if (pending.remaining() == 0) ++cur;
    }
  };
  for (int step = 0; step < kMaxBorderWalkSteps; ++step) {
    collect();
    if (pending.remaining() == 0) break;
    if (pending.front().t <= epsilon) {  // the segment begins on the border
      dropFirst();
      continue;
    }
    // Exit.
    const BorderCrossing exit = pending.front();
    const int e = cur;
    dropFirst();
    collect();
    if (pending.remaining() == 0) {
      if (exit.t >= 0.99999f) {  // only touched the border at a segment's end
        ++cur;
        continue;
      }
      // Outside for good.
      path.removeRange(e + 1, path.getCount() - (e + 1));
      path.append(exit.point);
      changed = true;
      break;
    }
    if (exit.t >= 0.99999f && pending.front().t <= epsilon) {  // touched at a corner of its own
      dropFirst();
      continue;
    }
    // Re-entry: the way outside is replaced by the border's corners.
    const BorderCrossing entry = pending.front();
    ++pending.first;
    path.removeRange(e + 1, cur - e);
    cur = e + 1;
    path.insert(cur++, exit.point);
    int x = exit.edge;
    int y = entry.edge;
    if (x != y) {
      int backwards = x < y ? x + m - y : x - y;
      int forwards = x < y ? y - x : m - x + y;
      if (backwards < forwards) {
        for (int c = x; c != y; c = c > 0 ? c - 1 : m - 1) path.insert(cur++, border.at(c));
      } else {
        for (int c = x; c != y;) {
          c = c + 1 < m ? c + 1 : 0;
          path.insert(cur++, border.at(c));
        }
      }
    }
    path.insert(cur, entry.point);
    changed = true;
  }
  if (changed && path.getCount() > 0) path.simplify(true);
  return path.getCount() > 0;
}
