#include "foundation/KX_BitArray.h"

#include "foundation/KX_BitShift.h"

namespace {

// Index of the lowest bit of `byte` equal to value, which must be there.
int lowestBit(unsigned byte, bool value) {
  unsigned wanted = value ? byte : ~byte & 0xFFu;
  int bit = 0;
  while ((wanted & 1u) == 0) {
    wanted >>= 1;
    ++bit;
  }
  return bit;
}

}  // namespace

void KX_BitArray::copyFrom(const KX_Base* source) {
  KX_ByteArray::copyFrom(source);
  bitCount = static_cast<const KX_BitArray*>(source)->bitCount;
}

void KX_BitArray::setBit(int index, bool value) {
  ownBuffer();
  unsigned char& byte = getBuffer()[index >> 3];
  unsigned char mask = static_cast<unsigned char>(1u << (index & 7));
  byte = static_cast<unsigned char>(value ? byte | mask : byte & ~mask);
}

int KX_BitArray::findBit(int start, bool value) const {
  if (start < 0) start = 0;
  if (start >= bitCount) return -1;
  const unsigned char* bytes = getBuffer();

  // The rest of the start's byte, bit by bit.
  int firstByte = start >> 3;
  int end = (firstByte + 1) * 8 < bitCount ? (firstByte + 1) * 8 : bitCount;
  for (int i = start; i < end; ++i) {
    if ((((bytes[firstByte] >> (i & 7)) & 1) != 0) == value) return i;
  }

  // Whole bytes, passing over those that cannot hold the value.
  unsigned char passed = value ? 0x00 : 0xFF;
  int fullBytes = bitCount >> 3;
  for (int b = firstByte + 1; b < fullBytes; ++b) {
    if (bytes[b] != passed) return b * 8 + lowestBit(bytes[b], value);
  }

  // The bits in use of a partial last byte, unless it was the start's byte.
  int lastByte = fullBytes;
  if ((bitCount & 7) != 0 && lastByte != firstByte) {
    for (int i = lastByte * 8; i < bitCount; ++i) {
      if ((((bytes[lastByte] >> (i & 7)) & 1) != 0) == value) return i;
    }
  }
  return -1;
}

int KX_BitArray::insertBit(int position, bool value) {
  if (position < 0) position = 0;
  if (position > bitCount) position = bitCount;
  ownBuffer();
  resize((bitCount + 8) / 8);
  unsigned char* bytes = getBuffer();
  if (position < bitCount) {
    KX_shiftBitsUp(bytes, count, position, value);
  } else {
    // Appending: the spare bits above the new one are cleared.
    unsigned bit = position & 7;
    unsigned char& last = bytes[position >> 3];
    last = static_cast<unsigned char>((last & ((1u << bit) - 1)) | (value ? 1u << bit : 0u));
  }
  ++bitCount;
  return position;
}

// An empty array has no bit to remove: nothing happens.
void KX_BitArray::removeBit(int position) {
  if (bitCount <= 0) return;
  if (position < 0) position = 0;
  if (position > bitCount - 1) position = bitCount - 1;
  // Resizing to the present size takes over a borrowed buffer.
  if (bufferBorrowed) resize((bitCount + 7) / 8);
  if (position < bitCount - 1) KX_shiftBitsDown(getBuffer(), count, position);
  --bitCount;
  resize((bitCount + 7) / 8);
}
