// One cell of the quad tree's pyramid: the objects that lie in it, with the box
// of each beside it, so that queries read no host memory. The three arrays are
// parallel and sorted by object address.
#pragma once

#include "foundation/KX_VoidPtrArray.h"
#include "geometry/KX_PointSet2D.h"

class QV_QuadTreeCell : public KX_Base {
 public:
  explicit QV_QuadTreeCell(int growStep = 32);
  ~QV_QuadTreeCell() override = default;

  // An empty cell with this cell's growStep (unless that is 0).
  KX_Base* newInstance() const override;
  // Copies the three arrays with their growStep values.
  void copyFrom(const KX_Base* source) override;

  void setGrowStep(int growStep);

  // The host's objects, ascending by address as unsigned numbers.
  KX_VoidPtrArray objects;
  // Box corner of the object at the same index, as the host gave it.
  KX_PointSet2D positions;
  // Width and height of the object's box at the same index.
  KX_PointSet2D sizes;
};
