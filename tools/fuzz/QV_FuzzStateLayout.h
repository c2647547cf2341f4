// What the fuzz tools need to know of the saved-state layout: the length a
// header gives, the object slots it lists, the checksum, and the version 1
// form of an image. Offsets are those of the image format, kept apart from
// the library's reader so that the fuzz tools check it rather than share it.
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <vector>

#include "vm/KX_VMImageFormat.h"

namespace qvfuzz {

// The layout of a saved-state header, as far as its length needs it: the
// version, the header size, the counts of code and of the fourteen arrays
// from int memory to frame watches (4-byte elements), the symbol count, the
// symbol name bytes, the object count and the watch count.
constexpr std::size_t kStateHeaderBytes = 208;
constexpr int kStateVersion = 4, kStateHeaderSize = 12, kStateCodeCount = 132, kStateFirstCellCount = 136,
              kStateCellCounts = 14, kStateSymbolCount = 192, kStateSymbolNameBytes = 196, kStateObjectCount = 200,
              kStateWatchCount = 204;

// The length the header gives, without wrapping; 0 for a version that is
// neither 1 nor 2.
inline std::uint64_t stateLength(const unsigned char* image) {
  const auto at = [image](int offset) { return std::uint64_t{KX_VMImage::readWord(image + offset)}; };
  const std::uint64_t version = at(kStateVersion);
  if (version != 1 && version != 2) return 0;
  std::uint64_t cells = at(kStateSymbolCount) + at(kStateObjectCount);
  for (int i = 0; i < kStateCellCounts; ++i) cells += at(kStateFirstCellCount + 4 * i);
  return at(kStateHeaderSize) + 8 * at(kStateCodeCount) + 4 * cells + at(kStateSymbolNameBytes) +
         at(kStateWatchCount) * (version == 1 ? 38 : 40);
}

// The highest object slot the image lists, as far as the bytes go; 0 if it
// lists none.
inline std::uint32_t highestObjectSlot(const unsigned char* image, std::size_t size) {
  if (size < kStateHeaderBytes) return 0;
  const auto at = [image](int offset) { return std::uint64_t{KX_VMImage::readWord(image + offset)}; };
  std::uint64_t cells = at(kStateSymbolCount);
  for (int i = 0; i < kStateCellCounts; ++i) cells += at(kStateFirstCellCount + 4 * i);
  const std::uint64_t slots = at(kStateHeaderSize) + 8 * at(kStateCodeCount) + 4 * cells + at(kStateSymbolNameBytes);
  std::uint32_t highest = 0;
  for (std::uint64_t i = 0; i < at(kStateObjectCount) && slots + 4 * i + 4 <= size; ++i) {
    highest = std::max(highest, KX_VMImage::readWord(image + slots + 4 * i));
  }
  return highest;
}

// A restore grants object slots below 2^20. A table that long is right but
// only costs time (with coverage and sanitizers about a second per input),
// so inputs whose highest slot would be granted and lies at 2^16 or beyond
// are skipped; slots from 2^20 on, which are refused, still run.
constexpr std::uint32_t kFuzzedObjectSlots = 1u << 16;
constexpr std::uint32_t kGrantedObjectSlots = 1u << 20;

inline bool spendsTimeOnObjectSlots(const unsigned char* image, std::size_t size) {
  const std::uint32_t highest = highestObjectSlot(image, size);
  return highest >= kFuzzedObjectSlots && highest < kGrantedObjectSlots;
}

// Writes the checksum that the header's length gives, where the header and
// that length fit the block; returns whether it did.
inline bool repairStateChecksum(unsigned char* image, std::size_t size) {
  if (size < kStateHeaderBytes) return false;
  const std::uint64_t length = stateLength(image);
  if (length < KX_VMImage::kChecksumStart || length > size) return false;
  KX_VMImage::writeWord(image + KX_VMImage::kOffsetChecksum,
                        KX_VMImage::checksum(image + 12, static_cast<std::uint32_t>(length) - 12u));
  return true;
}

// The version 1 form of a whole version 2 image: watch records (the last
// section) without their last two bytes, and the checksum made anew.
inline std::vector<unsigned char> toVersion1(const std::vector<unsigned char>& image) {
  const std::uint32_t watches = KX_VMImage::readWord(image.data() + kStateWatchCount);
  const std::size_t start = image.size() - std::size_t{watches} * 40;
  std::vector<unsigned char> old(image.begin(), image.begin() + static_cast<std::ptrdiff_t>(start));
  for (std::uint32_t w = 0; w < watches; ++w) {
    const auto record = image.begin() + static_cast<std::ptrdiff_t>(start + std::size_t{w} * 40);
    old.insert(old.end(), record, record + 38);
  }
  KX_VMImage::writeWord(old.data() + kStateVersion, 1);
  repairStateChecksum(old.data(), old.size());
  return old;
}

}  // namespace qvfuzz
