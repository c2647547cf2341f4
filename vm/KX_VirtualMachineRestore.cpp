// Restoring a machine from a saved-state image (layout in
// KX_VMStateFormat.h): every test of the image first, without touching the
// machine, then the replacement of its state, which cannot fail.
//
// An image from a file may be truncated, corrupted or crafted; its checksum
// proves nothing against that. So beyond magic, version and checksum the
// image must be one that a machine could have written: whatever it holds,
// the restored machine can neither read nor write outside its arrays, nor
// use a watch after it is gone. Stack pointers, code addresses, handler
// addresses and conditions need no test here: execution checks each of them
// at every use.
#include <cstring>
#include <initializer_list>

#include "foundation/KX_ByteArray.h"
#include "qv_helper/qv_helper.h"
#include "vm/KX_VMObjectClass.h"
#include "vm/KX_VMStateFormat.h"
#include "vm/KX_VMSymbolTable.h"
#include "vm/KX_VMWatch.h"
#include "vm/KX_VirtualMachine.h"
#include "vm/VM_reportError.h"

using namespace KX_VMState;

namespace {

int formatError(const char* text) {
  return VM_reportError(VM_ERROR_FORMAT, "%s", text);
}

std::int32_t signedWord(const unsigned char* bytes) {
  return static_cast<std::int32_t>(readWord(bytes));
}

// The cell count a memory has once restored: an empty section leaves one cell.
std::uint32_t restoredMemoryCount(const Layout& layout, int memory) {
  return layout.counts[memory] == 0 ? 1 : layout.counts[memory];
}

// The memory a watch without an object reads, by its tag; -1 for a tag that
// names no memory a watch can be on.
int watchedMemory(std::uint32_t pointerType) {
  switch (pointerType) {
    case VM_POINTER_INT:
      return kArrayIntMemory;
    case VM_POINTER_FLOAT:
      return kArrayFloatMemory;
    case VM_POINTER_POINTER:
      return kArrayPointerMemory;
    default:
      return -1;
  }
}

bool isPropertyTag(std::uint32_t pointerType) {
  return pointerType == VM_POINTER_INT || pointerType == VM_POINTER_FLOAT || pointerType == VM_POINTER_OBJECT;
}

// Open calls: the saved stack pointers, return addresses and frame watches
// hold one element per open call, each frame list one more (RETURN pops all
// eight together, and the bottom frame top stays). Frame tops ascend from
// the bottom level and lie within their stack: each level starts at the
// stack's count, and RETURN and calls cut the stack back to the top one. A
// machine keeps this by itself once restored, so its saves restore again.
int checkFrames(const Layout& layout) {
  const std::uint32_t calls = layout.counts[kArraySavedSpi];
  for (int a : {kArraySavedSpf, kArraySavedSpp, kArraySavedCp, kArrayFrameWatches}) {
    if (layout.counts[a] != calls) return formatError("saved state frames out of step");
  }
  const int frames[3] = {kArrayIntFrames, kArrayFloatFrames, kArrayPointerFrames};
  const int stacks[3] = {kArrayIntStack, kArrayFloatStack, kArrayPointerStack};
  for (int bank = 0; bank < 3; ++bank) {
    if (layout.counts[frames[bank]] != calls + 1) return formatError("saved state frames out of step");
    std::int32_t below = 0;
    for (std::uint32_t i = 0; i <= calls; ++i) {
      const std::int32_t top = static_cast<std::int32_t>(layout.element(frames[bank], i));
      if (top < 0 || static_cast<std::uint32_t>(top) > layout.counts[stacks[bank]]) {
        return formatError("saved state frame top outside its stack");
      }
      if (top < below) return formatError("saved state frame tops out of order");
      below = top;
    }
  }
  return 0;
}

// Live slots ascend and stay below the slot limit; they make a table of the
// last slot + 1.
int checkObjectSlots(Layout& layout) {
  std::int64_t previous = -1;
  for (std::uint32_t i = 0; i < layout.objectCount; ++i) {
    const std::uint32_t slot = layout.objectSlot(i);
    if (slot >= kMaxObjectSlots) return formatError("saved state object slot out of range");
    if (static_cast<std::int64_t>(slot) <= previous) return formatError("saved state object slots out of order");
    previous = slot;
  }
  layout.tableLength = static_cast<std::uint32_t>(previous + 1);
  return 0;
}

// A watch record names slots inside the table (a negative index names none)
// and can be read: a memory watch is on a cell of a memory, a property watch
// has the tag of a property's type. A watch that goes when its running
// handler returns (active, deletion pending) is never read again, so its
// cell and tag are not tested.
int checkWatchRecords(const Layout& layout) {
  for (std::uint32_t w = 0; w < layout.watchCount; ++w) {
    const unsigned char* record = layout.watch(w);
    const std::int32_t object = signedWord(record + kWatchObject);
    const std::int32_t reference = signedWord(record + kWatchReferenceObject);
    if ((object >= 0 && static_cast<std::uint32_t>(object) >= layout.tableLength) ||
        (reference >= 0 && static_cast<std::uint32_t>(reference) >= layout.tableLength)) {
      return formatError("saved state watch of an object out of range");
    }
    if (record[kWatchActive] != 0 && record[kWatchDeletePending] != 0) continue;
    const std::uint32_t pointerType = readWord(record + kWatchPointerType);
    if (object >= 0) {
      if (!isPropertyTag(pointerType)) return formatError("saved state watch of a pointer type that cannot be watched");
      continue;
    }
    const int memory = watchedMemory(pointerType);
    if (memory < 0) return formatError("saved state watch of a pointer type that cannot be watched");
    const std::uint32_t cell = readWord(record + kWatchAddress);
    if (cell - 1u >= restoredMemoryCount(layout, memory) - 1u) {
      return formatError("saved state watch on a cell outside its memory");
    }
  }
  return 0;
}

// A frame watch names a record whose handler is running, and no two levels
// name the same one: the return of each level ends its watch's run, and may
// destroy the watch.
int checkFrameWatches(const Layout& layout) {
  KX_ByteArray named;
  named.resize(static_cast<int>(layout.watchCount));
  for (std::uint32_t f = 0; f < layout.counts[kArrayFrameWatches]; ++f) {
    const std::uint32_t number = layout.element(kArrayFrameWatches, f);
    if (number == 0) continue;
    if (number > layout.watchCount) return formatError("saved state frame watch out of range");
    if (layout.watch(number - 1)[kWatchActive] == 0) return formatError("saved state frame watch not running");
    if (named.at(static_cast<int>(number - 1)) != 0) return formatError("saved state frame watch named twice");
    named.set(static_cast<int>(number - 1), 1);
  }
  return 0;
}

// Replaces an array by `count` 32-bit cells.
template <class Array>
void readCells(Array& array, const unsigned char* cells, std::uint32_t count) {
  array.resize(static_cast<int>(count));
  auto* values = array.getBuffer();
  for (std::uint32_t i = 0; i < count; ++i) {
    const std::uint32_t bits = readWord(cells + 4 * i);
    std::memcpy(&values[i], &bits, sizeof bits);
  }
}

}  // namespace

int KX_VirtualMachine::checkState(const void* imageBlock, long long imageSize, Layout& layout) const {
  const unsigned char* image = static_cast<const unsigned char*>(imageBlock);
  // With a size, each test first makes sure that the bytes it reads are there.
  const bool sized = imageSize >= 0;
  if (sized && imageSize < 4) return formatError("saved state too short");
  if (std::memcmp(image, kMagic, sizeof kMagic) != 0) return VM_ERROR_MAGIC;
  if (sized && imageSize < 8) return formatError("saved state too short");
  const std::uint32_t version = readWord(image + kOffsetVersion);
  if (version < kOldestVersion || version > kVersion) {
    return VM_reportError(VM_ERROR_VERSION, "executable version: %u", version);
  }
  if (sized && imageSize < static_cast<long long>(kHeaderBytes)) return formatError("saved state too short");
  const std::uint32_t headerSize = readWord(image + kOffsetHeaderSize);
  // Sections inside the header only an untrusted image is refused for.
  if (sized && headerSize < kHeaderBytes) return formatError("saved state header too short");

  layout = Layout();
  layout.image = image;
  layout.version = version;
  layout.recordBytes = watchRecordBytes(version);
  layout.symbolCount = readWord(image + kOffsetSymbolCount);
  layout.symbolNameBytes = readWord(image + kOffsetSymbolNameBytes);
  layout.objectCount = readWord(image + kOffsetObjectCount);
  layout.watchCount = readWord(image + kOffsetWatchCount);
  // Sections in order; no count beyond the address space, and no length
  // beyond what the save's int size can say. The offsets are used only
  // once the length has passed, and then each fits.
  std::uint64_t at = headerSize;
  for (int a = 0; a < kArrayCount; ++a) {
    layout.counts[a] = readWord(image + kOffsetArrayCounts + 4 * a);
    if (layout.counts[a] > kMaxArrayCount) return formatError("saved state count out of range");
    layout.arrayOffsets[a] = static_cast<std::uint32_t>(at);
    at += std::uint64_t{elementBytes(a)} * layout.counts[a];
  }
  if (layout.symbolCount > kMaxArrayCount || layout.objectCount > kMaxArrayCount ||
      layout.watchCount > kMaxArrayCount) {
    return formatError("saved state count out of range");
  }
  layout.symbolAddressOffset = static_cast<std::uint32_t>(at);
  at += 4ull * layout.symbolCount;
  layout.symbolNameOffset = static_cast<std::uint32_t>(at);
  at += layout.symbolNameBytes;
  layout.objectSlotOffset = static_cast<std::uint32_t>(at);
  at += 4ull * layout.objectCount;
  layout.watchOffset = static_cast<std::uint32_t>(at);
  at += std::uint64_t{layout.recordBytes} * layout.watchCount;
  const std::uint64_t length = at;
  if (length > kMaxImageBytes || length < kChecksumStart) return formatError("saved state length out of range");
  if (sized && static_cast<long long>(length) > imageSize) return formatError("saved state too short");
  if (KX_VMImage::checksum(image + kChecksumStart, static_cast<std::uint32_t>(length) - kChecksumStart) !=
      readWord(image + kOffsetChecksum)) {
    return VM_ERROR_CHECKSUM;
  }
  layout.end = image + length;
  if (sized && imageSize > static_cast<long long>(length)) layout.end = image + imageSize;

  int result = checkFrames(layout);
  if (result == 0) result = checkObjectSlots(layout);
  if (result == 0) result = checkWatchRecords(layout);
  if (result == 0) result = checkFrameWatches(layout);
  return result;
}

void KX_VirtualMachine::applyState(const Layout& layout, const KX_VoidPtrArray& helpers) {
  const unsigned char* image = layout.image;
  // `instruction` up to date: a pending word is decoded over it below.
  syncInstruction();

  for (int i = 0; i < 8; ++i) {
    ir[i] = signedWord(image + kOffsetIntRegisters + 4 * i);
    const std::uint32_t bits = readWord(image + kOffsetFloatRegisters + 4 * i);
    std::memcpy(&fr[i], &bits, sizeof bits);
    pr[i] = readWord(image + kOffsetPointerRegisters + 4 * i);
  }
  spi = signedWord(image + kOffsetSpi);
  spf = signedWord(image + kOffsetSpf);
  spp = signedWord(image + kOffsetSpp);
  cp = signedWord(image + kOffsetCp);
  running = image[kOffsetRunning] != 0;
  pending = image[kOffsetPending] != 0;
  firstAttempt = image[kOffsetFirstAttempt] != 0;
  compareResult = static_cast<signed char>(image[kOffsetCompareResult]);

  // A program always has code address 1, and each memory its cell 0.
  const std::uint32_t codeCount = layout.counts[kArrayCode];
  code.resize(static_cast<int>(codeCount));
  long long* words = code.getBuffer();
  for (std::uint32_t i = 0; i < codeCount; ++i) {
    const unsigned char* word = layout.array(kArrayCode) + 8 * i;
    words[i] = static_cast<long long>(std::uint64_t{readWord(word + 4)} << 32 | readWord(word));
  }
  while (code.getCount() < 2) code.append(0);
  readCells(intMemory, layout.array(kArrayIntMemory), layout.counts[kArrayIntMemory]);
  readCells(floatMemory, layout.array(kArrayFloatMemory), layout.counts[kArrayFloatMemory]);
  readCells(pointerMemory, layout.array(kArrayPointerMemory), layout.counts[kArrayPointerMemory]);
  if (intMemory.getCount() == 0) intMemory.append(0);
  if (floatMemory.getCount() == 0) floatMemory.append(0.0f);
  if (pointerMemory.getCount() == 0) pointerMemory.append(0);
  readCells(intStack, layout.array(kArrayIntStack), layout.counts[kArrayIntStack]);
  readCells(floatStack, layout.array(kArrayFloatStack), layout.counts[kArrayFloatStack]);
  readCells(pointerStack, layout.array(kArrayPointerStack), layout.counts[kArrayPointerStack]);
  readCells(savedSpi, layout.array(kArraySavedSpi), layout.counts[kArraySavedSpi]);
  readCells(savedSpf, layout.array(kArraySavedSpf), layout.counts[kArraySavedSpf]);
  readCells(savedSpp, layout.array(kArraySavedSpp), layout.counts[kArraySavedSpp]);
  readCells(savedCp, layout.array(kArraySavedCp), layout.counts[kArraySavedCp]);
  readCells(intFrames, layout.array(kArrayIntFrames), layout.counts[kArrayIntFrames]);
  readCells(floatFrames, layout.array(kArrayFloatFrames), layout.counts[kArrayFloatFrames]);
  readCells(pointerFrames, layout.array(kArrayPointerFrames), layout.counts[kArrayPointerFrames]);

  // The image's symbols win over those of any executable loaded before.
  KX_readVMSymbolTable(image + layout.symbolAddressOffset, layout.symbolCount, image + layout.symbolNameOffset,
                       layout.symbolNameBytes, layout.end, symbolNames, symbolAddresses);

  // The object table with the image's slot numbers: holes stay holes, and a
  // live slot without a helper given for it stays empty too.
  objects.clear();
  objectClasses.clear();
  objectClassTable.clear();
  objects.resize(static_cast<int>(layout.tableLength));
  for (std::uint32_t i = 0; i < layout.objectCount && static_cast<int>(i) < helpers.getCount(); ++i) {
    objects.set(static_cast<int>(layout.objectSlot(i)), helpers.at(static_cast<int>(i)));
  }

  frameWatches.clear();
  watches.clear();
  // The watch made from each record, for the frame watches; null for a
  // record that made none.
  KX_VoidPtrArray made;
  made.resize(static_cast<int>(layout.watchCount));
  for (std::uint32_t w = 0; w < layout.watchCount; ++w) {
    const unsigned char* record = layout.watch(w);
    const std::int32_t objectSlot = signedWord(record + kWatchObject);
    const std::int32_t referenceSlot = signedWord(record + kWatchReferenceObject);
    KX_VMObjectInterface* object =
        objectSlot < 0 ? nullptr : static_cast<KX_VMObjectInterface*>(objects.at(objectSlot));
    const bool active = record[kWatchActive] != 0;
    // A property watch whose object was not given back cannot be read: it
    // is dropped, or, if its handler is running, goes when that returns.
    const bool orphan = objectSlot >= 0 && object == nullptr;
    if (orphan && !active) continue;
    KX_VMWatch* watch = new KX_VMWatch();
    watch->address = signedWord(record + kWatchAddress);
    watch->object = object;
    watch->pointerType = readWord(record + kWatchPointerType);
    watch->referenceInt = signedWord(record + kWatchReferenceInt);
    const std::uint32_t referenceFloat = readWord(record + kWatchReferenceFloat);
    std::memcpy(&watch->referenceFloat, &referenceFloat, sizeof referenceFloat);
    watch->referencePointer = readWord(record + kWatchReferencePointer);
    watch->referenceObject =
        referenceSlot < 0 ? nullptr : static_cast<KX_VMObjectInterface*>(objects.at(referenceSlot));
    watch->condition = record[kWatchCondition];
    watch->handler = signedWord(record + kWatchHandler);
    watch->active = active;
    watch->deletePending = record[kWatchDeletePending] != 0;
    watch->savedPending = record[kWatchSavedPending] != 0;
    watch->savedFirstAttempt = record[kWatchSavedFirstAttempt] != 0;
    watch->savedCompareResult = static_cast<signed char>(record[kWatchSavedCompareResult]);
    // Version 1 knew no triggers.
    watch->edgeTriggered = layout.version >= 2 && record[kWatchEdgeTriggered] != 0;
    watch->armed = layout.version < 2 || record[kWatchArmed] != 0;
    if (orphan) {
      // Memory cell 0 of the int bank: a key no watch that can be read has.
      watch->pointerType = VM_POINTER_INT;
      watch->address = 0;
      watch->deletePending = true;
    }
    watches.append(watch);
    made.set(static_cast<int>(w), static_cast<KX_Base*>(watch));
  }
  for (std::uint32_t f = 0; f < layout.counts[kArrayFrameWatches]; ++f) {
    const std::uint32_t number = layout.element(kArrayFrameWatches, f);
    frameWatches.append(number == 0 ? nullptr : static_cast<KX_Base*>(made.at(static_cast<int>(number - 1))));
  }
  // The key order rests on the helpers' addresses, which are this machine's.
  watches.sort();

  // Class records anew, from the objects given back.
  objectClasses.resize(objects.getCount());
  for (int slot = 0; slot < objects.getCount(); ++slot) {
    KX_VMObjectInterface* helper = static_cast<KX_VMObjectInterface*>(objects.at(slot));
    if (helper != nullptr) objectClasses.set(slot, getObjectClass(helper));
  }

  // Nothing decoded from the old code may run. A pending instruction is
  // decoded again from the word it stands on; when there is none there to
  // decode, the pending mark goes, so the next step fetches at cp and
  // reports the address or the word instead of running a stale instruction.
  forgetDecodedWords();
  if (pending && running) {
    const int count = code.getCount();
    if (static_cast<unsigned int>(cp) - 1u >= static_cast<unsigned int>(count) - 1u ||
        instruction.decode(static_cast<std::uint64_t>(code.at(cp))) != 0) {
      pending = false;
    }
  }
}

int KX_VirtualMachine::restoreState(const void* image, const KX_VoidPtrArray& helpers, long long imageSize) {
  Layout layout;
  const int result = checkState(image, imageSize, layout);
  if (result == 0) applyState(layout, helpers);
  return result;
}
