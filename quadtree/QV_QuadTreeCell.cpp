#include "quadtree/QV_QuadTreeCell.h"

QV_QuadTreeCell::QV_QuadTreeCell(int growStep) : objects(growStep), positions(growStep), sizes(growStep) {}

KX_Base* QV_QuadTreeCell::newInstance() const {
  QV_QuadTreeCell* cell = new QV_QuadTreeCell();
  if (cell != nullptr && objects.growStep != 0) cell->setGrowStep(objects.growStep);
  return cell;
}

void QV_QuadTreeCell::copyFrom(const KX_Base* source) {
  const QV_QuadTreeCell* other = static_cast<const QV_QuadTreeCell*>(source);
  // KX_Array::copyFrom carries the growStep along with the elements.
  objects.copyFrom(&other->objects);
  positions.copyFrom(&other->positions);
  sizes.copyFrom(&other->sizes);
}

void QV_QuadTreeCell::setGrowStep(int growStep) {
  objects.growStep = growStep;
  positions.growStep = growStep;
  sizes.growStep = growStep;
}
