// A grid of objects. It owns what its elements point to (deletes them when they are cut off by resize, on copyFrom and
// on destruction) unless `elementsBorrowed` is set. Its unset elements are null.
#pragma once

#include "foundation/KX_2DArray.h"

using KX_2DObjectArrayBase = KX_2DArray<KX_Base*, KX_ArrayPointerComparator, KX_ArrayPointerDestructor<KX_Base*>,
                                        KX_ArrayDefaultCopyOperator<KX_Base*>, KX_ArrayDefaultXchgOperator<KX_Base*>,
                                        KX_ArrayObjectCloneOperator>;

class KX_2DObjectArray : public KX_2DObjectArrayBase {
 public:
  KX_2DObjectArray() = default;
  KX_2DObjectArray(int width, int height, bool zeroFill) : KX_2DObjectArrayBase(width, height, zeroFill) {}
  ~KX_2DObjectArray() override = default;
  // A grid of the same size with unset elements.
  KX_Base* newInstance() const override { return new KX_2DObjectArray(width, height, false); }
};
