// Loading an executable image into a machine, and looking up its symbols.
#include <cstring>

#include "qv_helper/qv_helper.h"
#include "vm/KX_VMImageFormat.h"
#include "vm/KX_VMSymbolTable.h"
#include "vm/KX_VirtualMachine.h"
#include "vm/VM_reportError.h"

using namespace KX_VMImage;

namespace {

// Replaces a memory by `count` cells read from `cursor`, then applies the
// reserve: a memory without a section holds `reserve` zero cells (at least
// one), a memory with one grows by `reserve` zero cells.
template <class Array, class Cell>
void loadMemory(Array& memory, const unsigned char* cursor, std::uint32_t count, std::uint32_t reserve) {
  memory.clear();
  if (count == 0) {
    if (reserve != 0) memory.resize(static_cast<int>(reserve));
    if (memory.getCount() == 0) memory.append(Cell{});
    return;
  }
  memory.resize(static_cast<int>(count));
  Cell* cells = memory.getBuffer();
  for (std::uint32_t i = 0; i < count; ++i) {
    const std::uint32_t bits = readWord(cursor + 4 * i);
    std::memcpy(&cells[i], &bits, sizeof bits);
  }
  if (reserve != 0) memory.resize(static_cast<int>(count + reserve));
}

// Whether a memory of `count` cells plus `reserve` fits the 29-bit address
// space, so that every cell can be addressed and the count fits an int.
bool fitsAddressSpace(std::uint32_t count, std::uint32_t reserve) {
  return std::uint64_t{count} + reserve <= std::uint64_t{kVMAddressMask} + 1;
}

// The most zero cells an untrusted image may ask for behind a memory's
// section: 2^24 cells, 64 MiB. The address space would allow 2^29 per memory,
// so that a 52-byte file could make the machine take 6 GiB; a script that
// needs more than this reserve is not one a game takes from a file. The
// sections themselves are bounded by the image's size.
constexpr std::uint32_t kMaxCheckedReserve = 1u << 24;

}  // namespace

int KX_VirtualMachine::loadImage(const void* imageBlock, const char* entryName, long long imageSize) {
  const unsigned char* image = static_cast<const unsigned char*>(imageBlock);
  // With a size, each test first makes sure that the bytes it reads are there.
  const bool sized = imageSize >= 0;
  if (sized && imageSize < 4) return VM_reportError(VM_ERROR_FORMAT, "executable image too short");
  if (std::memcmp(image, kMagic, sizeof kMagic) != 0) return VM_ERROR_MAGIC;
  if (sized && imageSize < 8) return VM_reportError(VM_ERROR_FORMAT, "executable image too short");
  const std::uint32_t version = readWord(image + kOffsetVersion);
  if (version != kVersion) return VM_reportError(VM_ERROR_VERSION, "executable version: %u", version);
  if (sized && imageSize < static_cast<long long>(kHeaderBytes)) {
    return VM_reportError(VM_ERROR_FORMAT, "executable image too short");
  }
  const Header h = readHeader(image);
  // Sections inside the header only an untrusted image is refused for; a
  // trusted one is read as its header says.
  if (sized && h.headerSize < kHeaderBytes) return VM_reportError(VM_ERROR_FORMAT, "executable header too short");

  // A length that wraps in 32 bits, or ends inside the checksum's start,
  // would let the sections reach bytes no checksum covered: such a header
  // cannot belong to a valid image.
  const std::uint32_t length = imageLength(h);
  if (exactImageLength(h) != length || length < kChecksumStart) {
    return VM_reportError(VM_ERROR_FORMAT, "executable length out of range");
  }
  if (sized && static_cast<long long>(length) > imageSize) {
    return VM_reportError(VM_ERROR_FORMAT, "executable image too short");
  }
  if (checksum(image + kChecksumStart, length - kChecksumStart) != h.checksum) return VM_ERROR_CHECKSUM;
  if (!fitsAddressSpace(h.codeCount, 0) || !fitsAddressSpace(h.intCount, h.intReserve) ||
      !fitsAddressSpace(h.floatCount, h.floatReserve) || !fitsAddressSpace(h.pointerCount, h.pointerReserve)) {
    return VM_reportError(VM_ERROR_FORMAT, "executable memory beyond the address space");
  }
  if (sized && (h.intReserve > kMaxCheckedReserve || h.floatReserve > kMaxCheckedReserve ||
                h.pointerReserve > kMaxCheckedReserve)) {
    return VM_reportError(VM_ERROR_FORMAT, "executable reserve beyond %u cells", kMaxCheckedReserve);
  }
  // Nothing of the machine has changed up to here.

  const unsigned char* cursor = image + h.headerSize;
  code.clear();
  if (h.codeCount == 0) {
    code.append(0);
    code.append(0);
  } else {
    code.resize(static_cast<int>(h.codeCount));
    long long* words = code.getBuffer();
    for (std::uint32_t i = 0; i < h.codeCount; ++i) {
      const std::uint64_t low = readWord(cursor + 8 * i);
      const std::uint64_t high = readWord(cursor + 8 * i + 4);
      words[i] = static_cast<long long>(high << 32 | low);
    }
    // A program always has code address 1.
    if (code.getCount() < 2) code.append(0);
  }
  cursor += 8ull * h.codeCount;

  loadMemory<KX_IntArray, int>(intMemory, cursor, h.intCount, h.intReserve);
  cursor += 4ull * h.intCount;
  loadMemory<KX_FloatArray, float>(floatMemory, cursor, h.floatCount, h.floatReserve);
  cursor += 4ull * h.floatCount;
  loadMemory<KX_IntArray, int>(pointerMemory, cursor, h.pointerCount, h.pointerReserve);
  cursor += 4ull * h.pointerCount;

  // The last name may run on, but never past the end of the image (its
  // computed length, or the given size when that is larger).
  const unsigned char* end = image + length;
  if (sized && imageSize > static_cast<long long>(length)) end = image + imageSize;
  KX_readVMSymbolTable(cursor, h.symbolCount, cursor + 4ull * h.symbolCount, h.symbolNameBytes, end, symbolNames,
                       symbolAddresses);

  if (entryName == nullptr) {
    running = false;
  } else {
    startMachine(findSymbol(entryName));
  }
  return 0;
}

int KX_VirtualMachine::findSymbol(const char* name) const {
  // A key that views the caller's text, compared without regard to case.
  KX_String key;
  key.caseInsensitive = true;
  key.borrowBuffer(const_cast<char*>(name), static_cast<int>(std::strlen(name)));
  int lo = 0;
  int hi = symbolNames.getCount() - 1;
  while (lo <= hi) {
    const int mid = lo + (hi - lo) / 2;
    const int order = key.compareText(symbolNames.getString(mid)->getText());
    if (order == 0) return symbolAddresses.at(mid);
    if (order < 0) {
      hi = mid - 1;
    } else {
      lo = mid + 1;
    }
  }
  return 0;
}
