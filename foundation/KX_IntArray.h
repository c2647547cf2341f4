// An array of 32-bit signed ints.
#pragma once

#include "foundation/KX_Array.h"

using KX_IntArrayBase =
    KX_Array<int, KX_ArrayDefaultComparator<int>, KX_ArrayNullDestructor<int>, KX_ArrayDefaultCopyOperator<int>,
             KX_ArrayDefaultXchgOperator<int>,
             KX_ArraySignedRadixSortOperator<int, KX_ArrayDefaultComparator<int>, KX_ArrayDefaultXchgOperator<int>>,
             KX_ArrayDefaultCloneOperator<int>>;

class KX_IntArray : public KX_IntArrayBase {
 public:
  explicit KX_IntArray(int growStep = 32) : KX_IntArrayBase(growStep) {}
  ~KX_IntArray() override = default;
  KX_Base* newInstance() const override { return new KX_IntArray(growStep); }
};
