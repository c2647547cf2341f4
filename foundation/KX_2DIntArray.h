// A grid of ints.
#pragma once

#include "foundation/KX_2DArray.h"

using KX_2DIntArrayBase =
    KX_2DArray<int, KX_ArrayDefaultComparator<int>, KX_ArrayNullDestructor<int>, KX_ArrayDefaultCopyOperator<int>,
               KX_ArrayDefaultXchgOperator<int>, KX_ArrayDefaultCloneOperator<int>>;

class KX_2DIntArray : public KX_2DIntArrayBase {
 public:
  KX_2DIntArray() = default;
  KX_2DIntArray(int width, int height, bool zeroFill) : KX_2DIntArrayBase(width, height, zeroFill) {}
  ~KX_2DIntArray() override = default;
  // A grid of the same size with unset elements.
  KX_Base* newInstance() const override { return new KX_2DIntArray(width, height, false); }
};
