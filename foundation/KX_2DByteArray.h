// A grid of bytes; KX_2DBitArray packs bits on it.
#pragma once

#include "foundation/KX_2DArray.h"

using KX_2DByteArrayBase =
    KX_2DArray<unsigned char, KX_ArrayDefaultComparator<unsigned char>, KX_ArrayNullDestructor<unsigned char>,
               KX_ArrayDefaultCopyOperator<unsigned char>, KX_ArrayDefaultXchgOperator<unsigned char>,
               KX_ArrayDefaultCloneOperator<unsigned char>>;

class KX_2DByteArray : public KX_2DByteArrayBase {
 public:
  KX_2DByteArray() = default;
  KX_2DByteArray(int width, int height, bool zeroFill) : KX_2DByteArrayBase(width, height, zeroFill) {}
  ~KX_2DByteArray() override = default;
  // A grid of the same size with unset elements.
  KX_Base* newInstance() const override { return new KX_2DByteArray(width, height, false); }
};
