#include "foundation/KX_2DBitArray.h"

#include "foundation/KX_BitShift.h"

void KX_2DBitArray::copyFrom(const KX_Base* source) {
  KX_2DByteArray::copyFrom(source);
  bitWidth = static_cast<const KX_2DBitArray*>(source)->bitWidth;
}

void KX_2DBitArray::setBit(int x, int y, bool value) {
  ownBuffer();
  unsigned char& byte = getRow(y)[x >> 3];
  unsigned char mask = static_cast<unsigned char>(1u << (x & 7));
  byte = static_cast<unsigned char>(value ? byte | mask : byte & ~mask);
}

void KX_2DBitArray::resize(int newBitWidth, int newHeight, bool zeroNew) {
  int oldBitWidth = bitWidth;
  int byteWidth = (newBitWidth + 7) / 8;
  if (byteWidth != width || newHeight != height) KX_2DByteArray::resize(byteWidth, newHeight, zeroNew);
  // The old last byte of each row may hold stale spare bits that now come
  // into use.
  if (zeroNew && oldBitWidth < newBitWidth && oldBitWidth % 8 != 0) {
    ownBuffer();
    unsigned char keep = static_cast<unsigned char>((1u << (oldBitWidth % 8)) - 1);
    for (int y = 0; y < height; ++y) getRow(y)[oldBitWidth / 8] &= keep;
  }
  bitWidth = newBitWidth;
}

// Counts below 1 remove nothing: there is no column to take away.
void KX_2DBitArray::removeColumns(int position, int n) {
  if (position + n > bitWidth) n = bitWidth - position;
  for (int i = 0; i < n; ++i) {
    if (position >= bitWidth) break;
    removeColumn(position);
  }
}

void KX_2DBitArray::removeColumn(int position) {
  if (position < bitWidth - 1) {
    ownBuffer();
    for (int y = 0; y < height; ++y) KX_shiftBitsDown(getRow(y), width, position);
  }
  KX_2DByteArray::resize((bitWidth + 6) / 8, height, false);
  --bitWidth;
}
