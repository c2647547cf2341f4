// An array of untyped pointers, compared as unsigned numbers; it owns nothing.
#pragma once

#include "foundation/KX_Array.h"

using KX_VoidPtrArrayBase = KX_Array<
    void*, KX_ArrayDefaultComparator<void*>, KX_ArrayNullDestructor<void*>, KX_ArrayDefaultCopyOperator<void*>,
    KX_ArrayDefaultXchgOperator<void*>,
    KX_ArrayPointerRadixSortOperator<void*, KX_ArrayDefaultComparator<void*>, KX_ArrayDefaultXchgOperator<void*>>,
    KX_ArrayDefaultCloneOperator<void*>>;

class KX_VoidPtrArray : public KX_VoidPtrArrayBase {
 public:
  explicit KX_VoidPtrArray(int growStep = 32) : KX_VoidPtrArrayBase(growStep) {}
  ~KX_VoidPtrArray() override = default;
  KX_Base* newInstance() const override { return new KX_VoidPtrArray(growStep); }
};
