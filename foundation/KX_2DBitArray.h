// A grid of bits on a grid of bytes. `bitWidth` is the number of bits in a row;
// the byte grid's width is (bitWidth + 7) / 8, so every row starts on a byte
// boundary. Bit x of a row lies in byte x / 8 under the mask 1 << (x % 8); the
// bits behind bitWidth in a row's last byte have no meaning.
#pragma once

#include "foundation/KX_2DByteArray.h"

class KX_2DBitArray : public KX_2DByteArray {
 public:
  KX_2DBitArray() = default;
  KX_2DBitArray(int bitWidth, int height, bool zeroFill)
      : KX_2DByteArray((bitWidth + 7) / 8, height, zeroFill), bitWidth(bitWidth) {}
  ~KX_2DBitArray() override = default;

  // A grid of the same bit width and height with unset bits.
  KX_Base* newInstance() const override { return new KX_2DBitArray(bitWidth, height, false); }
  void copyFrom(const KX_Base* source) override;

  int getBitWidth() const { return bitWidth; }

  // Bit at column x, row y; neither is checked.
  bool getBit(int x, int y) const { return (at(x >> 3, y) >> (x & 7)) & 1; }
  void setBit(int x, int y, bool value);

  // Changes the number of bits in a row and the number of rows, keeping the
  // bits that still have their column and row. With zeroNew the new bits are
  // clear, including those that were spare bits of a row's last byte.
  void resize(int newBitWidth, int newHeight, bool zeroNew);

  // Removes n columns from position on, shifting the columns behind them to
  // the left in every row; n is cut to the columns there are.
  void removeColumns(int position, int n);

  int bitWidth = 0;

 private:
  void removeColumn(int position);
};
