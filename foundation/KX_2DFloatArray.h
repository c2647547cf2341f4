// A grid of single-precision floats.
#pragma once

#include "foundation/KX_2DArray.h"

using KX_2DFloatArrayBase = KX_2DArray<float, KX_ArrayDefaultComparator<float>, KX_ArrayNullDestructor<float>,
                                       KX_ArrayDefaultCopyOperator<float>, KX_ArrayDefaultXchgOperator<float>,
                                       KX_ArrayDefaultCloneOperator<float>>;

class KX_2DFloatArray : public KX_2DFloatArrayBase {
 public:
  KX_2DFloatArray() = default;
  KX_2DFloatArray(int width, int height, bool zeroFill) : KX_2DFloatArrayBase(width, height, zeroFill) {}
  ~KX_2DFloatArray() override = default;
  // A grid of the same size with unset elements.
  KX_Base* newInstance() const override { return new KX_2DFloatArray(width, height, false); }
};
