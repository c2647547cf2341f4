// The checked load of untrusted bytes, shared by the load targets.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <memory>

#include "QV_FuzzCheck.h"
#include "QV_FuzzSnapshot.h"
#include "qv_helper/qv_helper.h"
#include "vm/KX_VMImageFormat.h"
#include "vm/KX_VirtualMachine.h"

namespace qvfuzz {

// Reserves let a 52-byte image ask for 2^24 cells in each memory, which the
// checked loader grants (and more, which it refuses before allocating); a
// fuzz case that takes that much only spends memory and time, so inputs
// asking for more cells than this are skipped.
constexpr std::uint64_t kMaxLoadedCells = std::uint64_t{1} << 22;

inline bool asksTooMuchMemory(const std::uint8_t* data, std::size_t size) {
  if (size < KX_VMImage::kHeaderBytes) return false;
  const KX_VMImage::Header h = KX_VMImage::readHeader(data);
  const std::uint64_t cells =
      std::uint64_t{h.intCount} + h.intReserve + h.floatCount + h.floatReserve + h.pointerCount + h.pointerReserve;
  return cells > kMaxLoadedCells;
}

// Writes the checksum that the header's length gives, where the header and
// that length fit the block; returns whether it did.
inline bool repairChecksum(unsigned char* image, std::size_t size) {
  if (size < KX_VMImage::kHeaderBytes) return false;
  const KX_VMImage::Header h = KX_VMImage::readHeader(image);
  const std::uint64_t length = KX_VMImage::exactImageLength(h);
  if (length < KX_VMImage::kChecksumStart || length > size) return false;
  const std::uint32_t sum =
      KX_VMImage::checksum(image + KX_VMImage::kChecksumStart, static_cast<std::uint32_t>(length) - 12u);
  KX_VMImage::writeWord(image + KX_VMImage::kOffsetChecksum, sum);
  return true;
}

// One checked load of `size` bytes from a heap block of exactly that size,
// so that the address sanitizer sees a read past it. A refusal must give one
// of the load's codes and leave the machine as it was.
inline int loadChecked(void* machine, const unsigned char* image, std::size_t size) {
  const QV_FuzzSnapshot before(*static_cast<const KX_VirtualMachine*>(machine));
  const int result = VM_loadExecutableChecked(machine, image, static_cast<int>(size), "main");
  if (result != 0) {
    QV_FUZZ_CHECK(result == VM_ERROR_MAGIC || result == VM_ERROR_VERSION || result == VM_ERROR_CHECKSUM ||
                      result == VM_ERROR_FORMAT,
                  "a refused load gives one of its result codes");
    QV_FUZZ_CHECK(QV_FuzzSnapshot(*static_cast<const KX_VirtualMachine*>(machine)) == before,
                  "a refused load leaves the machine as it was");
  } else {
    QV_FUZZ_CHECK(VM_getCodeSize(machine) >= 2 && VM_getIntMemorySize(machine) >= 1 &&
                      VM_getFloatMemorySize(machine) >= 1 && VM_getPointerMemorySize(machine) >= 1,
                  "a loaded program has code address 1 and a cell in each memory");
  }
  return result;
}

// Loads the input as an image; if only its checksum was wrong, loads it again
// with the checksum made right, so that the fuzzer reaches what lies behind.
inline int loadUntrusted(void* machine, const std::uint8_t* data, std::size_t size) {
  std::unique_ptr<unsigned char[]> image(new unsigned char[size]);
  if (size != 0) std::memcpy(image.get(), data, size);
  int result = loadChecked(machine, image.get(), size);
  if (result == VM_ERROR_CHECKSUM && repairChecksum(image.get(), size))
    result = loadChecked(machine, image.get(), size);
  return result;
}

}  // namespace qvfuzz
