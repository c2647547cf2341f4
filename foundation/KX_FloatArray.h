// An array of single-precision floats.
#pragma once

#include "foundation/KX_Array.h"

using KX_FloatArrayBase = KX_Array<
    float, KX_ArrayDefaultComparator<float>, KX_ArrayNullDestructor<float>, KX_ArrayDefaultCopyOperator<float>,
    KX_ArrayDefaultXchgOperator<float>,
    KX_ArraySignedRadixSortOperator<float, KX_ArrayDefaultComparator<float>, KX_ArrayDefaultXchgOperator<float>>,
    KX_ArrayDefaultCloneOperator<float>>;

class KX_FloatArray : public KX_FloatArrayBase {
 public:
  explicit KX_FloatArray(int growStep = 32) : KX_FloatArrayBase(growStep) {}
  ~KX_FloatArray() override = default;
  KX_Base* newInstance() const override { return new KX_FloatArray(growStep); }
};
