// An array of chars; its zero element makes it a terminated C string.
#pragma once

#include "foundation/KX_Array.h"

using KX_CharArrayBase =
    KX_Array<char, KX_ArrayDefaultComparator<char>, KX_ArrayNullDestructor<char>, KX_ArrayDefaultCopyOperator<char>,
             KX_ArrayDefaultXchgOperator<char>,
             KX_ArraySignedRadixSortOperator<char, KX_ArrayDefaultComparator<char>, KX_ArrayDefaultXchgOperator<char>>,
             KX_ArrayDefaultCloneOperator<char>>;

class KX_CharArray : public KX_CharArrayBase {
 public:
  explicit KX_CharArray(int growStep = 32) : KX_CharArrayBase(growStep) {}
  ~KX_CharArray() override = default;
  KX_Base* newInstance() const override { return new KX_CharArray(growStep); }
};
