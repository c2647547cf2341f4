// An ordered set of points. Derived shapes cache properties computed from the
// points; `invalidate` tells them that the points changed.
#pragma once

#include "foundation/KX_Array.h"
#include "geometry/KX_Point2D.h"

using KX_PointSet2DBase =
    KX_Array<KX_Point2D, KX_ArrayDefaultComparator<KX_Point2D>, KX_ArrayNullDestructor<KX_Point2D>,
             KX_ArrayDefaultCopyOperator<KX_Point2D>, KX_ArrayDefaultXchgOperator<KX_Point2D>,
             KX_ArrayQuickSortOperator<KX_Point2D, KX_ArrayDefaultComparator<KX_Point2D>,
                                       KX_ArrayDefaultXchgOperator<KX_Point2D>>,
             KX_ArrayDefaultCloneOperator<KX_Point2D>>;

class KX_PointSet2D : public KX_PointSet2DBase {
 public:
  explicit KX_PointSet2D(int growStep = 32) : KX_PointSet2DBase(growStep) {}
  ~KX_PointSet2D() override = default;
  // A new empty set always has the default step, whatever this one's is.
  KX_Base* newInstance() const override { return new KX_PointSet2D(); }
  // Drops cached properties derived from the points; a plain set has none.
  virtual void invalidate() {}
};
