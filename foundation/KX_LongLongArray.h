// An array of 64-bit signed ints (the script machine's code words).
#pragma once

#include "foundation/KX_Array.h"

using KX_LongLongArrayBase =
    KX_Array<long long, KX_ArrayDefaultComparator<long long>, KX_ArrayNullDestructor<long long>,
             KX_ArrayDefaultCopyOperator<long long>, KX_ArrayDefaultXchgOperator<long long>,
             KX_ArraySignedRadixSortOperator<long long, KX_ArrayDefaultComparator<long long>,
                                             KX_ArrayDefaultXchgOperator<long long>>,
             KX_ArrayDefaultCloneOperator<long long>>;

class KX_LongLongArray : public KX_LongLongArrayBase {
 public:
  explicit KX_LongLongArray(int growStep = 32) : KX_LongLongArrayBase(growStep) {}
  ~KX_LongLongArray() override = default;
  KX_Base* newInstance() const override { return new KX_LongLongArray(growStep); }
};
