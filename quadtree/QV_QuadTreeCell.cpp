#include "quadtree/QV_QuadTreeCell.h"

#include <limits>

namespace {

constexpr float kInfinity = std::numeric_limits<float>::infinity();

const QV_QuadTreeCell::Reach kNowhere{kInfinity, kInfinity, -kInfinity, -kInfinity};

}  // namespace

QV_QuadTreeCell::QV_QuadTreeCell(int growStep)
    : objects(growStep), positions(growStep), sizes(growStep), reach{kNowhere, kNowhere} {}

KX_Base* QV_QuadTreeCell::newInstance() const {
  QV_QuadTreeCell* cell = new QV_QuadTreeCell();
  if (cell == nullptr) return nullptr;
  if (objects.growStep != 0) cell->setGrowStep(objects.growStep);
  cell->middleX = middleX;
  return cell;
}

void QV_QuadTreeCell::copyFrom(const KX_Base* source) {
  const QV_QuadTreeCell* other = static_cast<const QV_QuadTreeCell*>(source);
  // KX_Array::copyFrom carries the growStep along with the elements.
  objects.copyFrom(&other->objects);
  positions.copyFrom(&other->positions);
  sizes.copyFrom(&other->sizes);
  middleX = other->middleX;
  reach[0] = other->reach[0];
  reach[1] = other->reach[1];
  reachStale = other->reachStale;
}

void QV_QuadTreeCell::setGrowStep(int growStep) {
  objects.growStep = growStep;
  positions.growStep = growStep;
  sizes.growStep = growStep;
}

// One pass over the boxes with both groups' bounds in locals.
void QV_QuadTreeCell::recomputeReach() const {
  Reach groups[2] = {kNowhere, kNowhere};
  int n = objects.getCount();
  const KX_Point2D* corners = positions.getBuffer();
  const KX_Point2D* extents = sizes.getBuffer();
  for (int i = 0; i < n; ++i) widen(groups[groupOf(corners[i], extents[i])], corners[i], extents[i]);
  reach[0] = groups[0];
  reach[1] = groups[1];
  reachStale = false;
}

bool QV_QuadTreeCell::isReachExact() const {
  if (reachStale) return false;
  QV_QuadTreeCell fresh(0);
  fresh.middleX = middleX;
  int n = objects.getCount();
  for (int i = 0; i < n; ++i) fresh.includeInReach(positions.at(i), sizes.at(i));
  for (int g = 0; g < 2; ++g) {
    const Reach& kept = reach[g];
    const Reach& wanted = fresh.reach[g];
    if (kept.minX != wanted.minX || kept.minY != wanted.minY || kept.maxX != wanted.maxX || kept.maxY != wanted.maxY)
      return false;
  }
  return true;
}
