// The layout of a script executable image, shared by the loader and the
// tools that write and list images.
//
// All numbers are little-endian. The header is 13 32-bit words; the six
// sections follow it without gaps from byte `headerSize` on:
//
//   offset  0  magic "KXVM"            offset 28  pointerCount
//           4  version (1)                    32  intReserve
//           8  checksum                       36  floatReserve
//          12  headerSize (>= 52)             40  pointerReserve
//          16  codeCount (64-bit words)       44  symbolCount
//          20  intCount                       48  symbolNameBytes
//          24  floatCount
//
//   sections: code, int, float, pointer, symbol addresses, symbol names
//   (NUL-terminated, back to back).
//
// The image holds no length of its own: it is computed from the header, in
// unsigned 32-bit arithmetic (see imageLength).
#pragma once

#include <cstdint>

namespace KX_VMImage {

constexpr unsigned char kMagic[4] = {'K', 'X', 'V', 'M'};
constexpr std::uint32_t kVersion = 1;
constexpr int kHeaderWords = 13;
constexpr std::uint32_t kHeaderBytes = kHeaderWords * 4;
// The checksum covers the image from this byte on.
constexpr std::uint32_t kChecksumStart = 12;

// Byte offsets of the header fields.
enum HeaderOffset : int {
  kOffsetMagic = 0,
  kOffsetVersion = 4,
  kOffsetChecksum = 8,
  kOffsetHeaderSize = 12,
  kOffsetCodeCount = 16,
  kOffsetIntCount = 20,
  kOffsetFloatCount = 24,
  kOffsetPointerCount = 28,
  kOffsetIntReserve = 32,
  kOffsetFloatReserve = 36,
  kOffsetPointerReserve = 40,
  kOffsetSymbolCount = 44,
  kOffsetSymbolNameBytes = 48,
};

inline std::uint32_t readWord(const unsigned char* bytes) {
  return std::uint32_t{bytes[0]} | std::uint32_t{bytes[1]} << 8 | std::uint32_t{bytes[2]} << 16 |
         std::uint32_t{bytes[3]} << 24;
}

inline void writeWord(unsigned char* bytes, std::uint32_t value) {
  bytes[0] = static_cast<unsigned char>(value);
  bytes[1] = static_cast<unsigned char>(value >> 8);
  bytes[2] = static_cast<unsigned char>(value >> 16);
  bytes[3] = static_cast<unsigned char>(value >> 24);
}

// The header fields after the magic, as read from an image.
struct Header {
  std::uint32_t version;
  std::uint32_t checksum;
  std::uint32_t headerSize;
  std::uint32_t codeCount;
  std::uint32_t intCount;
  std::uint32_t floatCount;
  std::uint32_t pointerCount;
  std::uint32_t intReserve;
  std::uint32_t floatReserve;
  std::uint32_t pointerReserve;
  std::uint32_t symbolCount;
  std::uint32_t symbolNameBytes;
};

inline Header readHeader(const unsigned char* image) {
  Header h;
  h.version = readWord(image + kOffsetVersion);
  h.checksum = readWord(image + kOffsetChecksum);
  h.headerSize = readWord(image + kOffsetHeaderSize);
  h.codeCount = readWord(image + kOffsetCodeCount);
  h.intCount = readWord(image + kOffsetIntCount);
  h.floatCount = readWord(image + kOffsetFloatCount);
  h.pointerCount = readWord(image + kOffsetPointerCount);
  h.intReserve = readWord(image + kOffsetIntReserve);
  h.floatReserve = readWord(image + kOffsetFloatReserve);
  h.pointerReserve = readWord(image + kOffsetPointerReserve);
  h.symbolCount = readWord(image + kOffsetSymbolCount);
  h.symbolNameBytes = readWord(image + kOffsetSymbolNameBytes);
  return h;
}

// The image length in unsigned 32-bit arithmetic, as the checksum sees it.
inline std::uint32_t imageLength(const Header& h) {
  return h.headerSize + 8u * h.codeCount + 4u * (h.intCount + h.floatCount + h.pointerCount + h.symbolCount) +
         h.symbolNameBytes;
}

// The same length without wrapping. An image whose 32-bit length wrapped
// would make the sections reach beyond the bytes the checksum covered.
inline std::uint64_t exactImageLength(const Header& h) {
  return std::uint64_t{h.headerSize} + 8ull * h.codeCount +
         4ull * (std::uint64_t{h.intCount} + h.floatCount + h.pointerCount + h.symbolCount) + h.symbolNameBytes;
}

// XOR of the bytes, each sign-extended to 32 bits and shifted left by its
// index mod 24; bits shifted out of the top are lost.
inline std::uint32_t checksum(const unsigned char* bytes, std::uint32_t count) {
  std::uint32_t sum = 0;
  for (std::uint32_t i = 0; i < count; ++i) {
    const std::uint32_t extended =
        static_cast<std::uint32_t>(static_cast<std::int32_t>(static_cast<signed char>(bytes[i])));
    sum ^= extended << (i % 24);
  }
  return sum;
}

}  // namespace KX_VMImage
