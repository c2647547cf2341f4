// A growable list of bits packed on a byte array. Bit i lies in byte i / 8
// under the mask 1 << (i % 8); the byte array's count stays at
// (bitCount + 7) / 8, and the bits behind the last one in the last byte have
// no meaning.
#pragma once

#include "foundation/KX_ByteArray.h"

class KX_BitArray : public KX_ByteArray {
 public:
  explicit KX_BitArray(int growStep = 32) : KX_ByteArray(growStep) {}
  ~KX_BitArray() override = default;

  KX_Base* newInstance() const override { return new KX_BitArray(growStep); }
  void copyFrom(const KX_Base* source) override;

  int getBitCount() const { return bitCount; }

  // Bit at index; the index is not checked.
  bool getBit(int index) const { return (at(index >> 3) >> (index & 7)) & 1; }
  // Sets or clears the bit at index; the index is not checked.
  void setBit(int index, bool value);

  // The lowest index at or above start whose bit has the value, or -1.
  int findBit(int start, bool value) const;

  // Inserts a bit at position, brought into 0..bitCount; returns the position used.
  int insertBit(int position, bool value);

  // Removes the bit at position, brought into 0..bitCount - 1.
  void removeBit(int position);

  int bitCount = 0;
};
