// The layout of a saved-state image: a running machine frozen into one
// block of bytes. Numbers are little-endian, read and written with the
// executable image's readWord / writeWord, and the checksum is the same,
// over the image from byte 12 to its end.
//
// The header is 208 bytes:
//
//   offset   0  magic "VMST"              128  running (1 byte)
//            4  version (2; 1 is read)    129  pending
//            8  checksum                  130  firstAttempt
//           12  header size (208)         131  compareResult (signed)
//           16  ir0..ir7                  132  15 array counts, code to
//           48  fr0..fr7                       frame watches (kArray*)
//           80  pr0..pr7                  192  symbol count
//          112  spi, spf, spp, cp         196  symbol name bytes
//                                         200  object count (live slots)
//                                         204  watch count
//
// Nineteen sections follow without gaps from the header size on: the fifteen
// arrays in the order of kArray* (code words 8 bytes, the rest 4), symbol
// addresses, symbol names (each with its zero, back to back), the slot index
// of each live object slot (ascending), and the watch records.
//
// A frame watch is 0 for a level opened by CALL, else the index of its watch
// record + 1. A watch record names objects by slot index, 0xFFFFFFFF for none.
#pragma once

#include <cstdint>

#include "vm/KX_VMImageFormat.h"

namespace KX_VMState {

using KX_VMImage::kChecksumStart;
using KX_VMImage::readWord;
using KX_VMImage::writeWord;

constexpr unsigned char kMagic[4] = {'V', 'M', 'S', 'T'};
constexpr std::uint32_t kVersion = 2;  // written; 1 and 2 are read
constexpr std::uint32_t kOldestVersion = 1;
constexpr std::uint32_t kHeaderBytes = 208;

// Byte offsets of the header fields.
enum HeaderOffset : int {
  kOffsetMagic = 0,
  kOffsetVersion = 4,
  kOffsetChecksum = 8,
  kOffsetHeaderSize = 12,
  kOffsetIntRegisters = 16,
  kOffsetFloatRegisters = 48,
  kOffsetPointerRegisters = 80,
  kOffsetSpi = 112,
  kOffsetSpf = 116,
  kOffsetSpp = 120,
  kOffsetCp = 124,
  kOffsetRunning = 128,
  kOffsetPending = 129,
  kOffsetFirstAttempt = 130,
  kOffsetCompareResult = 131,
  kOffsetArrayCounts = 132,
  kOffsetSymbolCount = 192,
  kOffsetSymbolNameBytes = 196,
  kOffsetObjectCount = 200,
  kOffsetWatchCount = 204,
};

// The fifteen arrays of the machine, in the order of their counts in the
// header and of their sections.
enum Array : int {
  kArrayCode = 0,
  kArrayIntMemory,
  kArrayFloatMemory,
  kArrayPointerMemory,
  kArrayIntStack,
  kArrayFloatStack,
  kArrayPointerStack,
  kArraySavedSpi,
  kArraySavedSpf,
  kArraySavedSpp,
  kArraySavedCp,
  kArrayIntFrames,
  kArrayFloatFrames,
  kArrayPointerFrames,
  kArrayFrameWatches,
  kArrayCount
};

inline constexpr std::uint32_t elementBytes(int array) {
  return array == kArrayCode ? 8u : 4u;
}

// Byte offsets within a watch record. `handler` stands at an odd offset: the
// records are packed.
enum WatchOffset : int {
  kWatchAddress = 0,
  kWatchObject = 4,
  kWatchPointerType = 8,
  kWatchReferenceInt = 12,
  kWatchReferenceFloat = 16,
  kWatchReferencePointer = 20,
  kWatchReferenceObject = 24,
  kWatchCondition = 28,
  kWatchHandler = 29,
  kWatchActive = 33,
  kWatchDeletePending = 34,
  kWatchSavedPending = 35,
  kWatchSavedFirstAttempt = 36,
  kWatchSavedCompareResult = 37,
  kWatchEdgeTriggered = 38,  // version 2 only
  kWatchArmed = 39,          // version 2 only
};

// Version 1 records end before edgeTriggered; restored, they are WATCHes
// (edgeTriggered false, armed true).
inline constexpr std::uint32_t watchRecordBytes(std::uint32_t version) {
  return version == 1 ? 38u : 40u;
}

// Slot index of a watch record that names no object.
constexpr std::uint32_t kNoObject = 0xFFFFFFFFu;

// What a restore accepts. An array holds at most as many elements as the
// 29-bit address space has addresses, and an image (whose size the save
// hands out as an int) is below 2^31 bytes, so the image's own size bounds
// every array a restore makes. Object slots are the exception: an image
// lists only the live ones, so their indices are bounded on their own. A
// machine whose table outgrows the limit still saves, but its image is refused.
constexpr std::uint32_t kMaxArrayCount = 0x20000000u;
constexpr std::uint64_t kMaxImageBytes = 0x7FFFFFFFu;
constexpr std::uint32_t kMaxObjectSlots = 0x100000u;

// Where a checked image keeps its parts: the header's counts and the byte
// offset of each section. Filled by KX_VirtualMachine::checkState, read by
// applyState; every offset and count in it has been checked against the
// image's length.
struct Layout {
  const unsigned char* image = nullptr;
  // Nothing at or beyond this is read: the end of the image's length, or of
  // the caller's block when that is longer.
  const unsigned char* end = nullptr;
  std::uint32_t version = 0;
  std::uint32_t counts[kArrayCount] = {};
  std::uint32_t arrayOffsets[kArrayCount] = {};
  std::uint32_t symbolCount = 0;
  std::uint32_t symbolNameBytes = 0;
  std::uint32_t objectCount = 0;
  std::uint32_t watchCount = 0;
  std::uint32_t recordBytes = 0;
  std::uint32_t symbolAddressOffset = 0;
  std::uint32_t symbolNameOffset = 0;
  std::uint32_t objectSlotOffset = 0;
  std::uint32_t watchOffset = 0;
  // The length of the object table the slots make: the last slot + 1.
  std::uint32_t tableLength = 0;

  const unsigned char* array(int which) const { return image + arrayOffsets[which]; }
  std::uint32_t element(int which, std::uint32_t index) const { return readWord(array(which) + 4 * index); }
  const unsigned char* watch(std::uint32_t index) const { return image + watchOffset + recordBytes * index; }
  std::uint32_t objectSlot(std::uint32_t index) const { return readWord(image + objectSlotOffset + 4 * index); }
};

}  // namespace KX_VMState
