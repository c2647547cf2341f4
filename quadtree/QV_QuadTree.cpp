#include "quadtree/QV_QuadTree.h"

#include <new>

namespace {

// Largest growth step of a cell's arrays, and the one used without an estimate.
constexpr int kMaxCellGrowStep = 0x1000;
constexpr int kDefaultCellGrowStep = 64;

// Number of bits up to the highest set one; 0 for 0.
int bitWidth(unsigned int value) {
  int bits = 0;
  while (value != 0) {
    ++bits;
    value >>= 1;
  }
  return bits;
}

int clampIndex(int index, int last) {
  if (index < 0) return 0;
  return index > last ? last : index;
}

}  // namespace

QV_QuadTree::QV_QuadTree(const KX_AABox2D& box, int levelCount, int expectedObjects) {
  int counter = 0;
  for (int level = 0; level < levelCount; ++level) {
    int side = 1 << level;
    KX_2DIntArray* grid = new KX_2DIntArray(side, side, false);
    for (int row = 0; row < side; ++row) {
      int* entries = grid->getRow(row);
      for (int column = 0; column < side; ++column) entries[column] = counter++;
    }
    levels.append(grid);
  }
  cellCount = counter;
  int growStep = cellCount > 0 ? expectedObjects / cellCount : 0;
  if (growStep <= 0) growStep = kDefaultCellGrowStep;
  if (growStep > kMaxCellGrowStep) growStep = kMaxCellGrowStep;
  bounds.copyFrom(&box);
  makeCells(growStep);
  objectCount = 0;
  float deepestSide = static_cast<float>(1 << (levelCount > 0 ? levelCount - 1 : 0));
  cellsPerUnitX = deepestSide / bounds.width;
  cellsPerUnitY = deepestSide / bounds.height;
}

QV_QuadTree::~QV_QuadTree() {
  destroyCells();
}

KX_Base* QV_QuadTree::newInstance() const {
  return new QV_QuadTree(bounds, levels.getCount(), 0);
}

void QV_QuadTree::copyFrom(const KX_Base* source) {
  const QV_QuadTree* other = static_cast<const QV_QuadTree*>(source);
  if (other == this) return;
  levels.copyFrom(&other->levels);
  destroyCells();
  cellCount = other->cellCount;
  objectCount = other->objectCount;
  bounds.copyFrom(&other->bounds);
  cellsPerUnitX = other->cellsPerUnitX;
  cellsPerUnitY = other->cellsPerUnitY;
  makeCells(kDefaultCellGrowStep);
  for (int i = 0; i < cellCount; ++i) cells[i].copyFrom(&other->cells[i]);
  for (int i = 0; i < cellCount; ++i) reaches[i] = other->reaches[i];
}

// One block for all cells, built in place: no cell is allocated on its own.
void QV_QuadTree::makeCells(int growStep) {
  void* block;
  KX_allocateMemoryBlock(static_cast<unsigned int>(sizeof(QV_QuadTreeCell) * cellCount), &block);
  cells = static_cast<QV_QuadTreeCell*>(block);
  for (int i = 0; i < cellCount; ++i) ::new (static_cast<void*>(cells + i)) QV_QuadTreeCell(growStep);
  KX_allocateMemoryBlock(static_cast<unsigned int>(sizeof(QV_QuadTreeCellReach) * cellCount), &block);
  reaches = static_cast<QV_QuadTreeCellReach*>(block);
  // Each cell's vertical middle line, for the grouping of its reach.
  for (int level = 0; level < levels.getCount(); ++level) {
    const KX_2DIntArray& grid = getGrid(level);
    int side = 1 << level;
    float cellWidth = bounds.width / static_cast<float>(side);
    for (int row = 0; row < side; ++row) {
      for (int column = 0; column < side; ++column) {
        reaches[grid.at(column, row)].reset(bounds.x + (static_cast<float>(column) + 0.5f) * cellWidth);
      }
    }
  }
}

void QV_QuadTree::destroyCells() {
  if (cells == nullptr) return;
  for (int i = 0; i < cellCount; ++i) cells[i].~QV_QuadTreeCell();
  KX_freeMemoryBlock(cells);
  cells = nullptr;
  KX_freeMemoryBlock(reaches);
  reaches = nullptr;
}

// Coordinates far beyond the tree would overflow the conversion; they are held
// at 2^30 cells, which no grid reaches, so truncation of every sensible value
// is unchanged. NaN counts as far below.
int QV_QuadTree::toCellIndex(float scaled) {
  constexpr float kLimit = 1073741824.0f;
  if (scaled >= kLimit) return 1 << 30;
  if (!(scaled > -kLimit)) return -(1 << 30);
  return static_cast<int>(scaled);
}

QV_QuadTree::Location QV_QuadTree::locateCell(const KX_Point2D& position, const KX_Point2D& size) const {
  // Clamped into the bounds for placing only; the host's box is what is stored.
  float right = bounds.x + bounds.width;
  float x = position.x > bounds.x ? position.x : bounds.x;
  if (x > right) x = right - size.x;
  float w = size.x;
  if (x + w > right) w = right - x;
  float top = bounds.y + bounds.height;
  float y = position.y > bounds.y ? position.y : bounds.y;
  if (y > top) y = top - size.y;
  float h = size.y;
  if (y + h > top) h = top - y;

  int x0 = toCellIndex((x - bounds.x) * cellsPerUnitX);
  int y0 = toCellIndex((y - bounds.y) * cellsPerUnitY);
  int x1 = toCellIndex((x + w - bounds.x) * cellsPerUnitX);
  int y1 = toCellIndex((y + h - bounds.y) * cellsPerUnitY);

  // The corners share a cell on the level where their differing low bits are shifted out.
  unsigned int differing = static_cast<unsigned int>(x0 ^ x1) | static_cast<unsigned int>(y0 ^ y1);
  int shift = bitWidth(differing);
  int levelCount = levels.getCount();
  int level = levelCount - 1 - shift;
  if (level < 0) {
    level = 0;
    shift = levelCount - 1;
  }
  // A box of zero width on the right edge (or zero height on the top edge)
  // gives a column (row) one past the deepest grid; a box larger than the tree
  // placed beyond its right edge a negative one. Both are held to the grid's
  // border cells, which the queries' clamped ranges reach.
  int last = (1 << level) - 1;
  return Location{level, clampIndex(x0 >> shift, last), clampIndex(y0 >> shift, last)};
}

// The reach record lies apart from the cell: its load is started first, so
// that it overlaps the search in the cell's arrays.
void QV_QuadTree::prefetchReach(const QV_QuadTreeCell& cell) const {
#if defined(__GNUC__)
  __builtin_prefetch(reaches + (&cell - cells), 1);
#else
  (void)cell;
#endif
}

void QV_QuadTree::addObject(void* object, const KX_Point2D& position, const KX_Point2D& size) {
  QV_QuadTreeCell& cell = cellAt(locateCell(position, size));
  prefetchReach(cell);
  int at = cell.objects.findInsertPosition(object);
  cell.objects.insert(at, object);
  cell.positions.insert(at, position);
  cell.sizes.insert(at, size);
  reaches[&cell - cells].include(position, size);
  ++objectCount;
}

// Takes the entry at `index` out of the cell's three arrays. The stored box,
// not the host's, tells whether the reach may shrink: a host box that leads
// to the same cell may differ from it.
void QV_QuadTree::removeEntry(QV_QuadTreeCell& cell, int index) {
  reaches[&cell - cells].boxLeaving(cell, index);
  cell.objects.remove(index);
  cell.positions.remove(index);
  cell.sizes.remove(index);
}

void QV_QuadTree::removeObject(void* object, const KX_Point2D& position, const KX_Point2D& size) {
  QV_QuadTreeCell& cell = cellAt(locateCell(position, size));
  prefetchReach(cell);
  int index = cell.objects.findSorted(object);
  if (index < 0) return;
  removeEntry(cell, index);
  --objectCount;
}

void QV_QuadTree::moveObject(void* object, const KX_Point2D& oldPosition, const KX_Point2D& oldSize,
                             const KX_Point2D& newPosition, const KX_Point2D& newSize) {
  QV_QuadTreeCell& from = cellAt(locateCell(oldPosition, oldSize));
  QV_QuadTreeCell& to = cellAt(locateCell(newPosition, newSize));
  prefetchReach(from);
  prefetchReach(to);
  int index = from.objects.findSorted(object);
  if (index < 0) return;
  if (&from == &to) {
    QV_QuadTreeCellReach& reach = reaches[&from - cells];
    reach.boxLeaving(from, index);
    from.positions.set(index, newPosition);
    from.sizes.set(index, newSize);
    reach.include(newPosition, newSize);
    return;
  }
  removeEntry(from, index);
  int at = to.objects.findInsertPosition(object);
  to.objects.insert(at, object);
  to.positions.insert(at, newPosition);
  to.sizes.insert(at, newSize);
  reaches[&to - cells].include(newPosition, newSize);
}

bool QV_QuadTree::validate() const {
  int counter = 0;
  for (int level = 0; level < levels.getCount(); ++level) {
    const KX_2DIntArray& grid = getGrid(level);
    int side = 1 << level;
    if (grid.getWidth() != side || grid.getHeight() != side) return false;
    for (int row = 0; row < side; ++row) {
      for (int column = 0; column < side; ++column) {
        if (grid.at(column, row) != counter++) return false;
      }
    }
  }
  if (counter != cellCount) return false;
  int total = 0;
  for (int i = 0; i < cellCount; ++i) {
    const QV_QuadTreeCell& cell = cells[i];
    int n = cell.objects.getCount();
    if (cell.positions.getCount() != n || cell.sizes.getCount() != n) return false;
    for (int j = 0; j < n; ++j) {
      if (j > 0 && KX_ArrayDefaultComparator<void*>::isLess(cell.objects.at(j), cell.objects.at(j - 1))) return false;
      if (&cellAt(locateCell(cell.positions.at(j), cell.sizes.at(j))) != &cell) return false;
    }
    if (!reaches[i].stale && !reaches[i].isExact(cell)) return false;
    total += n;
  }
  return total == objectCount;
}
