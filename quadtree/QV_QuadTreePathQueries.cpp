// The two list queries of the path finder: the objects whose box holds a
// point, and the objects whose box outline a segment crosses. The first looks
// at the one cell of each level under the point; the second walks, on every
// level, from cell to cell along the segment.
#include <cmath>
#include <cstring>

#include "geometry/KX_Epsilon.h"
#include "quadtree/QV_QuadTree.h"

namespace {

constexpr int kPathResultGrowStep = 0x100;

// The caller's exclusion list, which is only read; an empty list excludes
// nothing. The path finder passes one or two obstacles, which a scan finds
// sooner than a sorted copy is made; longer lists get a private sorted copy.
class Exclusion {
 public:
  explicit Exclusion(const KX_ObjectArray* exclude) {
    if (exclude == nullptr || exclude->getCount() == 0) return;
    count = exclude->getCount();
    listed = exclude->getBuffer();
    if (count <= kScanLimit) return;
    sorted.resize(count);
    std::memcpy(static_cast<void*>(sorted.getBuffer()), static_cast<const void*>(listed), sizeof(void*) * count);
    sorted.sort();
  }

  bool excludes(void* object) const {
    if (count > kScanLimit) return sorted.findSorted(object) >= 0;
    for (int i = 0; i < count; ++i) {
      if (listed[i] == object) return true;
    }
    return false;
  }

 private:
  static constexpr int kScanLimit = 8;
  KX_Base* const* listed = nullptr;
  int count = 0;
  KX_VoidPtrArray sorted;
};

void prepareResult(KX_ObjectArray& result) {
  result.clear();
  result.elementsBorrowed = true;
  result.growStep = kPathResultGrowStep;
}

bool isAccepted(void* object, const Exclusion& exclusion, KX_ObjectFilter* filter, int filterData) {
  if (exclusion.excludes(object)) return false;
  return filter == nullptr || filter->isObjectAccepted(object, filterData);
}

bool holds(const KX_AABox2D& box, const KX_Point2D& point) {
  return point.x >= box.x && point.x <= box.x + box.width && point.y >= box.y && point.y <= box.y + box.height;
}

// Sides of a cell that a crossing lies on, as bits; a corner has two.
enum Side : int {
  kNoSide = 0,
  kLeft = 1,
  kRight = 2,
  kBottom = 4,
  kTop = 8,
};

// The side or corner of `box` that `crossing` lies on, within `epsilon`. Left
// wins over right and bottom over top on a cell thinner than that.
int classify(const KX_Point2D& crossing, const KX_AABox2D& box) {
  int side = kNoSide;
  if (std::fabs(crossing.x - box.x) <= epsilon) {
    side |= kLeft;
  } else if (std::fabs(crossing.x - (box.x + box.width)) <= epsilon) {
    side |= kRight;
  }
  if (std::fabs(crossing.y - box.y) <= epsilon) {
    side |= kBottom;
  } else if (std::fabs(crossing.y - (box.y + box.height)) <= epsilon) {
    side |= kTop;
  }
  return side;
}

// The side or corner across from `side`: the one the walk comes in by.
int opposite(int side) {
  int result = kNoSide;
  if (side & kLeft) result |= kRight;
  if (side & kRight) result |= kLeft;
  if (side & kBottom) result |= kTop;
  if (side & kTop) result |= kBottom;
  return result;
}

float distanceSquared(const KX_Point2D& a, const KX_Point2D& b) {
  float dx = b.x - a.x;
  float dy = b.y - a.y;
  return dx * dx + dy * dy;
}

}  // namespace

void QV_QuadTree::getObjectListFromPoint(KX_ObjectArray& result, const KX_Point2D& point, KX_ObjectFilter* filter,
                                         int filterData, const KX_ObjectArray* exclude) const {
  prepareResult(result);
  Exclusion exclusion(exclude);
  int column = toCellIndex((point.x - bounds.x) * cellsPerUnitX);
  int row = toCellIndex((point.y - bounds.y) * cellsPerUnitY);
  int levelCount = levels.getCount();
  for (int level = 0; level < levelCount; ++level) {
    int shift = levelCount - 1 - level;
    int side = 1 << level;
    int levelColumn = column >> shift;
    int levelRow = row >> shift;
    if (levelColumn < 0 || levelColumn >= side || levelRow < 0 || levelRow >= side) continue;
    const QV_QuadTreeCell& cell = cells[getGrid(level).at(levelColumn, levelRow)];
    for (int i = 0; i < cell.objects.getCount(); ++i) {
      const KX_Point2D& position = cell.positions.at(i);
      const KX_Point2D& size = cell.sizes.at(i);
      if (!holds(KX_AABox2D(position.x, position.y, size.x, size.y), point)) continue;
      void* object = cell.objects.at(i);
      if (isAccepted(object, exclusion, filter, filterData)) result.append(static_cast<KX_Base*>(object));
    }
  }
}

void QV_QuadTree::getObjectListFromLineSegment(KX_ObjectArray& result, const KX_LineSegment2D& segment,
                                               KX_ObjectFilter* filter, int filterData,
                                               const KX_ObjectArray* exclude) const {
  prepareResult(result);

  // The walk covers the part of the segment inside the bounds.
  KX_LineSegment2D walk = segment;
  if (!holds(bounds, segment.start) || !holds(bounds, segment.end)) {
    KX_Point2D first;
    KX_Point2D second;
    int crossings = bounds.getSegmentIntersections(segment, first, second, true);
    if (crossings == 0) return;
    if (crossings == 2) {
      walk = KX_LineSegment2D{first, second};
    } else {
      walk = KX_LineSegment2D{first, holds(bounds, segment.start) ? segment.start : segment.end};
    }
  }

  Exclusion exclusion(exclude);
  int startColumn = toCellIndex((walk.start.x - bounds.x) * cellsPerUnitX);
  int startRow = toCellIndex((walk.start.y - bounds.y) * cellsPerUnitY);
  int endColumn = toCellIndex((walk.end.x - bounds.x) * cellsPerUnitX);
  int endRow = toCellIndex((walk.end.y - bounds.y) * cellsPerUnitY);
  KX_Point2D first;
  KX_Point2D second;
  int levelCount = levels.getCount();
  for (int level = 0; level < levelCount; ++level) {
    int shift = levelCount - 1 - level;
    int last = (1 << level) - 1;
    const KX_2DIntArray& grid = getGrid(level);
    float cellWidth = bounds.width / static_cast<float>(last + 1);
    float cellHeight = bounds.height / static_cast<float>(last + 1);
    // An end on the right or top edge of the bounds lies one past the last
    // column or row; it counts as in the last one.
    int column = startColumn >> shift;
    int row = startRow >> shift;
    if (column > last) column = last;
    if (row > last) row = last;
    int targetColumn = endColumn >> shift;
    int targetRow = endRow >> shift;
    int clampedTargetColumn = targetColumn > last ? last : targetColumn;
    int clampedTargetRow = targetRow > last ? last : targetRow;
    int cameIn = kNoSide;
    // A walk that keeps to the segment's direction visits fewer than two
    // cells per column and row; the limit only guards against crossings
    // that float rounding puts on the wrong side of a cell.
    int movesLeft = 2 * (last + 1) + 2;
    for (;;) {
      if (column < 0 || column > last || row < 0 || row > last) break;
      const QV_QuadTreeCell& cell = cells[grid.at(column, row)];
      for (int i = 0; i < cell.objects.getCount(); ++i) {
        const KX_Point2D& position = cell.positions.at(i);
        const KX_Point2D& size = cell.sizes.at(i);
        KX_AABox2D box(position.x, position.y, size.x, size.y);
        if (box.getSegmentIntersections(segment, first, second, true) == 0) continue;
        void* object = cell.objects.at(i);
        if (isAccepted(object, exclusion, filter, filterData)) result.append(static_cast<KX_Base*>(object));
      }
      if ((column == targetColumn && row == targetRow) || (column == clampedTargetColumn && row == clampedTargetRow)) {
        break;
      }
      if (movesLeft-- == 0) break;

      KX_AABox2D cellBox(bounds.x + column * cellWidth, bounds.y + row * cellHeight, cellWidth, cellHeight);
      int crossings = cellBox.getSegmentIntersections(walk, first, second, true);
      if (crossings == 0) break;
      KX_Point2D chosen = first;
      if (cameIn == kNoSide) {
        // First move: the crossing farther from where the walk began.
        if (crossings == 2 && distanceSquared(walk.start, first) <= distanceSquared(walk.start, second)) {
          chosen = second;
        }
      } else if (crossings == 2 && classify(first, cellBox) == cameIn) {
        chosen = second;
      }
      int side = classify(chosen, cellBox);
      if (side == kNoSide || side == cameIn) break;
      if (side & kLeft) --column;
      if (side & kRight) ++column;
      if (side & kBottom) --row;
      if (side & kTop) ++row;
      cameIn = opposite(side);
    }
  }
}
