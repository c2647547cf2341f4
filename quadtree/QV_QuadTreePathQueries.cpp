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

// A cheap test that passes every object box whose outline the exact test
// (`KX_AABox2D::getSegmentIntersections`, clipped to the segment) can find
// crossed, so that the exact test runs only near the segment.
//
// A box is passed over only if both of its ends on one axis (x and x + width
// as float sums, likewise on y) lie beyond the segment's ends on that axis by
// more than margin = (S + B) * 2^-12 + 1e-30, S being the sum of the four
// |coordinates| of the segment and B a bound of the box's four |ends|.
//
// Why this never passes over a box the exact test accepts: every hit the
// exact test accepts is a point it computed on the segment (a ray parameter
// t in 0..1 taken to the other coordinate) that lies on a side of the box, or
// a side's line reached at a parameter in 0..1. Both ways say that a point of
// the segment lies within rounding of the box's range on that axis: the
// differences and quotients it forms from the segment's and the box's
// coordinates err by a few units of 2^-24 of values below S + B, and the
// margin covers that more than a hundred times over. Values that small
// underflow are covered by the absolute 1e-30. A NaN or an infinite value
// anywhere makes a comparison false or the margin infinite or NaN, and the
// box goes to the exact test.
class SegmentPretest {
 public:
  explicit SegmentPretest(const KX_LineSegment2D& segment)
      : minX(std::fmin(segment.start.x, segment.end.x)),
        maxX(std::fmax(segment.start.x, segment.end.x)),
        minY(std::fmin(segment.start.y, segment.end.y)),
        maxY(std::fmax(segment.start.y, segment.end.y)),
        magnitude(std::fabs(segment.start.x) + std::fabs(segment.start.y) + std::fabs(segment.end.x) +
                  std::fabs(segment.end.y)) {}

  // The margin for boxes whose |ends| sum to at most `boxMagnitude`.
  float marginFor(float boxMagnitude) const { return (magnitude + boxMagnitude) * 0.000244140625f + 1e-30f; }

  // Both ends of the range lie beyond the segment on one side, by more than the margin.
  bool apart(float lowX, float highX, float lowY, float highY, float margin) const {
    float left = minX - margin;
    float right = maxX + margin;
    float below = minY - margin;
    float above = maxY + margin;
    return (lowX < left && highX < left) || (lowX > right && highX > right) || (lowY < below && highY < below) ||
           (lowY > above && highY > above);
  }

  // Whether the exact test may accept an object of a cell whose reach is
  // `groups`; if so, `margin` receives a margin that holds for all of them.
  // A group's bounds hold the ends of each of its boxes, so the sum of their
  // |values| bounds each box's, and a group apart from the segment by that
  // margin holds only boxes apart from it by their own. Empty groups (lows
  // above highs) hold nothing; a NaN box makes its group infinite.
  bool reaches(const QV_QuadTreeCellReach::Box* groups, float& margin) const {
    float bound = 0.0f;
    bool empty[2];
    for (int g = 0; g < 2; ++g) {
      const QV_QuadTreeCellReach::Box& group = groups[g];
      empty[g] = group.minX > group.maxX;
      if (!empty[g]) {
        bound += std::fabs(group.minX) + std::fabs(group.maxX) + std::fabs(group.minY) + std::fabs(group.maxY);
      }
    }
    margin = marginFor(bound);
    for (int g = 0; g < 2; ++g) {
      const QV_QuadTreeCellReach::Box& group = groups[g];
      if (!empty[g] && !apart(group.minX, group.maxX, group.minY, group.maxY, margin)) return true;
    }
    return false;
  }

  // The object's box, measured with a margin from `reaches`.
  bool apart(const KX_Point2D& position, const KX_Point2D& size, float margin) const {
    return apart(position.x, position.x + size.x, position.y, position.y + size.y, margin);
  }

 private:
  float minX;
  float maxX;
  float minY;
  float maxY;
  float magnitude;
};

// Collects the visited objects, for the list query.
class ListVisitor : public QV_QuadTree::SegmentVisitor {
 public:
  explicit ListVisitor(KX_ObjectArray& result) : result(result) {}
  bool visit(void* object, int level) override {
    (void)level;
    result.append(static_cast<KX_Base*>(object));
    return true;
  }

 private:
  KX_ObjectArray& result;
};

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
  ListVisitor collect(result);
  visitObjectsOnLineSegment(segment, collect, filter, filterData, exclude, -1);
}

bool QV_QuadTree::visitObjectsOnLineSegment(const KX_LineSegment2D& segment, SegmentVisitor& visitor,
                                            KX_ObjectFilter* filter, int filterData, const KX_ObjectArray* exclude,
                                            int firstLevel) const {
  // The walk covers the part of the segment inside the bounds.
  KX_LineSegment2D walk = segment;
  if (!holds(bounds, segment.start) || !holds(bounds, segment.end)) {
    KX_Point2D first;
    KX_Point2D second;
    int crossings = bounds.getSegmentIntersections(segment, first, second, true);
    if (crossings == 0) return true;
    if (crossings == 2) {
      walk = KX_LineSegment2D{first, second};
    } else {
      walk = KX_LineSegment2D{first, holds(bounds, segment.start) ? segment.start : segment.end};
    }
  }

  Exclusion exclusion(exclude);
  const SegmentPretest pretest(segment);
  int startColumn = toCellIndex((walk.start.x - bounds.x) * cellsPerUnitX);
  int startRow = toCellIndex((walk.start.y - bounds.y) * cellsPerUnitY);
  int endColumn = toCellIndex((walk.end.x - bounds.x) * cellsPerUnitX);
  int endRow = toCellIndex((walk.end.y - bounds.y) * cellsPerUnitY);
  int levelCount = levels.getCount();

  // One level's walk; false once the visitor ends it.
  auto walkLevel = [&](int level) {
    KX_Point2D first;
    KX_Point2D second;
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
      int index = grid.at(column, row);
      const QV_QuadTreeCell& cell = cells[index];
      int n = cell.objects.getCount();
      float margin;
      if (n > 0 && pretest.reaches(reaches[index].get(cell), margin)) {
        const KX_Point2D* positions = cell.positions.getBuffer();
        const KX_Point2D* sizes = cell.sizes.getBuffer();
        for (int i = 0; i < n; ++i) {
          if (pretest.apart(positions[i], sizes[i], margin)) continue;
          KX_AABox2D box(positions[i].x, positions[i].y, sizes[i].x, sizes[i].y);
          if (box.getSegmentIntersections(segment, first, second, true) == 0) continue;
          void* object = cell.objects.at(i);
          if (isAccepted(object, exclusion, filter, filterData) && !visitor.visit(object, level)) return false;
        }
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
    return true;
  };

  if (firstLevel >= 0 && firstLevel < levelCount && !walkLevel(firstLevel)) return false;
  for (int level = 0; level < levelCount; ++level) {
    if (level != firstLevel && !walkLevel(level)) return false;
  }
  return true;
}
