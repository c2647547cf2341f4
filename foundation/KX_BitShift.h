// One-bit shifts inside a run of bytes, shared by the bit list and the bit grid.
// Bit i lies in byte i / 8 under the mask 1 << (i % 8).
#pragma once

// Takes out bit `position` of `bytes[0..byteCount)`: the bits above it move
// down by one. Each byte behind the one of `position` hands its lowest bit to
// the top of the byte before it; the top of the last byte becomes 0.
inline void KX_shiftBitsDown(unsigned char* bytes, int byteCount, int position) {
  int first = position >> 3;
  unsigned carry = 0;
  for (int i = byteCount - 1; i > first; --i) {
    unsigned byte = bytes[i];
    bytes[i] = static_cast<unsigned char>((byte >> 1) | (carry << 7));
    carry = byte & 1u;
  }
  unsigned bit = position & 7;
  unsigned byte = bytes[first];
  unsigned below = byte & ((1u << bit) - 1);
  unsigned above = (byte >> (bit + 1)) << bit;
  bytes[first] = static_cast<unsigned char>(below | above | (carry << 7));
}

// Opens bit `position` of `bytes[0..byteCount)` and stores value there: the
// bits from position on move up by one, each byte behind the one of
// `position` taking the former top bit of the byte before it as its lowest.
// The top bit of the last byte falls out.
inline void KX_shiftBitsUp(unsigned char* bytes, int byteCount, int position, bool value) {
  int first = position >> 3;
  unsigned byte = bytes[first];
  unsigned carry = byte >> 7;
  for (int i = first + 1; i < byteCount; ++i) {
    unsigned next = bytes[i];
    bytes[i] = static_cast<unsigned char>((next << 1) | carry);
    carry = next >> 7;
  }
  unsigned bit = position & 7;
  unsigned below = byte & ((1u << bit) - 1);
  unsigned above = (byte >> bit) << (bit + 1);
  bytes[first] = static_cast<unsigned char>(below | above | (value ? 1u << bit : 0u));
}
