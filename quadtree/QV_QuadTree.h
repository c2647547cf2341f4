// A quad tree over a rectangle of the world: a fixed pyramid of grids made once
// at creation, level 0 of one cell, each further level of twice the side of the
// one before. Every object lies in exactly one cell, the smallest that holds its
// whole box; nothing splits or merges later and no cell is allocated after
// creation.
//
// Objects are opaque host pointers, never dereferenced and not owned. The host
// keeps each object's box and passes it to every call; the tree stores the box
// beside the object for its queries.
#pragma once

#include "foundation/KX_2DIntArray.h"
#include "foundation/KX_ObjectArray.h"
#include "foundation/KX_VoidPtrArray.h"
#include "geometry/KX_Point2D.h"
#include "quadtree/KX_AABox2D.h"
#include "quadtree/KX_Circle.h"
#include "quadtree/KX_ObjectFilter.h"
#include "quadtree/QV_QuadTreeCell.h"
#include "quadtree/QV_QuadTreeCellReach.h"

class QV_QuadTree : public KX_Base {
 public:
  // Where a box belongs: a level and a column and row of its grid.
  struct Location {
    int level;
    int column;
    int row;
  };

  // `levelCount` at least 1, `box` of positive width and height (not checked).
  // `expectedObjects` sizes the growth step of the cells' arrays.
  QV_QuadTree(const KX_AABox2D& box, int levelCount, int expectedObjects);
  ~QV_QuadTree() override;

  // A tree of the same bounds and number of levels, without objects.
  KX_Base* newInstance() const override;
  // Takes over the other tree's shape and every cell's contents.
  void copyFrom(const KX_Base* source) override;

  int getLevelCount() const { return levels.getCount(); }
  const KX_2DIntArray& getGrid(int level) const { return *static_cast<const KX_2DIntArray*>(levels.at(level)); }

  // The cell of the box, found by the grid of its level. Positions and sizes
  // beyond the bounds are clamped for this only.
  Location locateCell(const KX_Point2D& position, const KX_Point2D& size) const;
  QV_QuadTreeCell& cellAt(const Location& location) const {
    return cells[getGrid(location.level).at(location.column, location.row)];
  }

  // Enters the object under its box. An object already in the cell is entered again.
  void addObject(void* object, const KX_Point2D& position, const KX_Point2D& size);
  // Removes one entry of the object from the cell its box gives; nothing if not there.
  void removeObject(void* object, const KX_Point2D& position, const KX_Point2D& size);
  // Moves the object from the old box to the new one; nothing if the old box
  // does not lead to it.
  void moveObject(void* object, const KX_Point2D& oldPosition, const KX_Point2D& oldSize, const KX_Point2D& newPosition,
                  const KX_Point2D& newSize);

  // Queries (QV_QuadTreeQueries.cpp). The filter may be null; the exclusion
  // list may be null, is only read and need not be sorted. Nearest queries
  // return the object whose box centre is closest to `point`, or null; list
  // queries refill `result` (which then borrows its elements) in traversal
  // order: lower levels first, cells by row then column, objects by address.
  void* findNearestObjectInAABox(const KX_Point2D& point, const KX_AABox2D& box, KX_ObjectFilter* filter,
                                 int filterData, const KX_ObjectArray* exclude) const;
  void* findNearestObjectInCircle(const KX_Point2D& point, const KX_Circle& circle, KX_ObjectFilter* filter,
                                  int filterData, const KX_ObjectArray* exclude) const;
  void* findNearestObjectInSegment(const KX_Point2D& point, const KX_Point2D& direction, float halfAngle,
                                   KX_ObjectFilter* filter, int filterData, const KX_ObjectArray* exclude) const;
  void getObjectListFromAABox(KX_ObjectArray& result, const KX_AABox2D& box, KX_ObjectFilter* filter, int filterData,
                              const KX_ObjectArray* exclude) const;
  void getObjectListFromCircle(KX_ObjectArray& result, const KX_Circle& circle, KX_ObjectFilter* filter, int filterData,
                               const KX_ObjectArray* exclude) const;
  void getObjectListFromSegment(KX_ObjectArray& result, const KX_Point2D& point, const KX_Point2D& direction,
                                float halfAngle, KX_ObjectFilter* filter, int filterData,
                                const KX_ObjectArray* exclude) const;

  // Path finder queries (QV_QuadTreePathQueries.cpp), with the same filter,
  // exclusion and result conventions. The objects whose box holds the point,
  // all four sides included, from the one cell under it on each level:
  void getObjectListFromPoint(KX_ObjectArray& result, const KX_Point2D& point, KX_ObjectFilter* filter, int filterData,
                              const KX_ObjectArray* exclude) const;
  // The objects whose box outline the segment crosses (a segment wholly inside
  // a box doesn't list it), from the cells that a walk along the part of the
  // segment inside the bounds visits on each level.
  void getObjectListFromLineSegment(KX_ObjectArray& result, const KX_LineSegment2D& segment, KX_ObjectFilter* filter,
                                    int filterData, const KX_ObjectArray* exclude) const;

  // Takes the objects of a segment walk one at a time.
  class SegmentVisitor {
   public:
    virtual ~SegmentVisitor() = default;
    // `level` is the level of the object's cell; false ends the walk.
    virtual bool visit(void* object, int level) = 0;
  };
  // Hands the objects that getObjectListFromLineSegment lists to `visitor`,
  // one at a time, until it returns false (then the result is false). The
  // order is the list's, except that the level `firstLevel` (if there is
  // such a level) is walked before the others. A caller that only asks
  // whether some object passes a test stops at the first one, and one that
  // knows where such objects were last found looks there first.
  bool visitObjectsOnLineSegment(const KX_LineSegment2D& segment, SegmentVisitor& visitor, KX_ObjectFilter* filter,
                                 int filterData, const KX_ObjectArray* exclude, int firstLevel) const;

  // Checks the invariants: each entry in the cell its box locates, parallel
  // arrays, ascending addresses in each cell, grids numbering the cells in
  // order, objectCount, and each cell's reach exactly that of its boxes
  // unless marked stale. Returns false at the first broken one.
  bool validate() const;

  // One grid per level, level 0 first; entries are indices into `cells`.
  KX_ObjectArray levels;
  // All cells of all levels, level by level, row by row, column by column.
  QV_QuadTreeCell* cells = nullptr;
  // Where the objects of each cell reach, at the cell's index: a small block
  // that queries read before they touch a cell. Queries bring stale records
  // up to date, so they change under a const tree (one thread at a time).
  QV_QuadTreeCellReach* reaches = nullptr;
  int cellCount = 0;
  int objectCount = 0;
  KX_AABox2D bounds;
  // Cells of the deepest level per world unit.
  float cellsPerUnitX = 0.0f;
  float cellsPerUnitY = 0.0f;

 private:
  void makeCells(int growStep);
  void destroyCells();
  void removeEntry(QV_QuadTreeCell& cell, int index);
  void prefetchReach(const QV_QuadTreeCell& cell) const;
  // Deepest-level column or row of a coordinate already relative to the
  // bounds' corner, truncated towards zero.
  static int toCellIndex(float scaled);
  template <class Accept>
  void traverse(const KX_AABox2D& area, const KX_ObjectArray* exclude, KX_ObjectFilter* filter, int filterData,
                Accept&& accept) const;
};
