// Whether segments cut through the obstacles of a quad tree, by the rule of
// KX_VisibilityGraph::isSegmentFree, for a run of segments that mostly share
// their start, as the path smoothing asks.
//
// A segment is free when no obstacle near it blocks it (near: an obstacle
// whose box outline the tree's walk along the segment finds crossed, or
// whose box holds an end), and whether one obstacle blocks depends on that
// obstacle and the segment alone. So the obstacles may be tried in any
// order, and the first that blocks ends the check. The walk comes first,
// beginning with the level where the last blocker was met, since nearly
// every segment the smoothing asks about is blocked; only a segment that it
// finds free asks for the obstacles at its ends (those at the start once for
// a run of segments from one start).
#pragma once

#include "foundation/KX_ObjectArray.h"
#include "geometry/KX_Polygon2D.h"
#include "quadtree/QV_QuadTree.h"

class KX_FreeSegmentCheck : public QV_QuadTree::SegmentVisitor {
 public:
  // Without a tree every segment is free. The tree must not change while
  // this check is in use: the obstacles at the last start are kept.
  explicit KX_FreeSegmentCheck(const QV_QuadTree* tree) : tree(tree) {}
  ~KX_FreeSegmentCheck() override = default;

  bool isFree(const KX_LineSegment2D& segment);

  // The rule for one obstacle: the segment may run along its edges and touch
  // its corners, but not cut through it nor leave it from inside. `points`
  // is working space.
  static bool blocks(KX_Polygon2D& polygon, const KX_LineSegment2D& segment, KX_PointSet2D& points);

  // The walk's obstacles, for the segment under test; false on a blocker.
  bool visit(void* object, int level) override;

 private:
  bool blocksAny(const KX_ObjectArray& obstacles, const KX_LineSegment2D& segment);

  const QV_QuadTree* tree;
  // The obstacles whose box holds `start`, and those at the last end asked.
  KX_Point2D start{0.0f, 0.0f};
  bool startKnown = false;
  KX_ObjectArray atStart;
  KX_ObjectArray atEnd;
  KX_PointSet2D points;
  const KX_LineSegment2D* current = nullptr;
  // The level of the walk's last blocker; -1 before there was one.
  int blockerLevel = -1;
};
