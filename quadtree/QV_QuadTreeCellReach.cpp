#include "quadtree/QV_QuadTreeCellReach.h"

namespace {

constexpr float kInfinity = std::numeric_limits<float>::infinity();
constexpr QV_QuadTreeCellReach::Box kNowhere{kInfinity, kInfinity, -kInfinity, -kInfinity};

}  // namespace

void QV_QuadTreeCellReach::reset(float middle) {
  group[0] = kNowhere;
  group[1] = kNowhere;
  middleX = middle;
  stale = false;
}

// One pass over the boxes with both groups' bounds in locals.
void QV_QuadTreeCellReach::recompute(const QV_QuadTreeCell& cell) {
  Box groups[2] = {kNowhere, kNowhere};
  int n = cell.objects.getCount();
  const KX_Point2D* corners = cell.positions.getBuffer();
  const KX_Point2D* extents = cell.sizes.getBuffer();
  for (int i = 0; i < n; ++i) widen(groups[groupOf(corners[i], extents[i])], corners[i], extents[i]);
  group[0] = groups[0];
  group[1] = groups[1];
  stale = false;
}

bool QV_QuadTreeCellReach::isExact(const QV_QuadTreeCell& cell) const {
  if (stale) return false;
  QV_QuadTreeCellReach fresh;
  fresh.reset(middleX);
  int n = cell.objects.getCount();
  for (int i = 0; i < n; ++i) fresh.include(cell.positions.at(i), cell.sizes.at(i));
  for (int g = 0; g < 2; ++g) {
    const Box& kept = group[g];
    const Box& wanted = fresh.group[g];
    if (kept.minX != wanted.minX || kept.minY != wanted.minY || kept.maxX != wanted.maxX || kept.maxY != wanted.maxY)
      return false;
  }
  return true;
}
