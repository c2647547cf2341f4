// An array of bytes.
#pragma once

#include "foundation/KX_Array.h"

using KX_ByteArrayBase =
    KX_Array<unsigned char, KX_ArrayDefaultComparator<unsigned char>, KX_ArrayNullDestructor<unsigned char>,
             KX_ArrayDefaultCopyOperator<unsigned char>, KX_ArrayDefaultXchgOperator<unsigned char>,
             KX_ArraySignedRadixSortOperator<unsigned char, KX_ArrayDefaultComparator<unsigned char>,
                                             KX_ArrayDefaultXchgOperator<unsigned char>>,
             KX_ArrayDefaultCloneOperator<unsigned char>>;

class KX_ByteArray : public KX_ByteArrayBase {
 public:
  explicit KX_ByteArray(int growStep = 32) : KX_ByteArrayBase(growStep) {}
  ~KX_ByteArray() override = default;
  KX_Base* newInstance() const override { return new KX_ByteArray(growStep); }
};
