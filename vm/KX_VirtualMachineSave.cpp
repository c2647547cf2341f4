// Saving a machine: the sweep of objects the script can no longer reach, and
// the writing of the saved-state image (layout in KX_VMStateFormat.h).
#include <cstring>

#include "foundation/KX_ByteArray.h"
#include "qv_helper/qv_helper.h"
#include "vm/KX_VMObjectClass.h"
#include "vm/KX_VMStateFormat.h"
#include "vm/KX_VMWatch.h"
#include "vm/KX_VirtualMachine.h"

using namespace KX_VMState;

namespace {

// Marks the slot an exact object pointer names. Only the whole pointer
// counts: a value with another tag, or changed by arithmetic to a handle
// outside the table, keeps nothing alive.
void markPointer(unsigned int value, KX_ByteArray& reached) {
  if ((value & kVMTagMask) != VM_POINTER_OBJECT) return;
  const unsigned int handle = value & kVMAddressMask;
  if (handle != 0 && handle <= static_cast<unsigned int>(reached.getCount()))
    reached.set(static_cast<int>(handle) - 1, 1);
}

void markCells(const KX_IntArray& cells, KX_ByteArray& reached) {
  const int* values = cells.getBuffer();
  for (int i = 0; i < cells.getCount(); ++i) markPointer(static_cast<unsigned int>(values[i]), reached);
}

// The slot of a helper in the table, or kNoObject. Linear, as the table is
// searched once per watch record.
std::uint32_t slotOf(const KX_VoidPtrArray& objects, const void* helper) {
  if (helper == nullptr) return kNoObject;
  for (int slot = 0; slot < objects.getCount(); ++slot) {
    if (objects.at(slot) == helper) return static_cast<std::uint32_t>(slot);
  }
  return kNoObject;
}

// Writes sequentially into the image block.
struct Writer {
  unsigned char* at;
  void word(std::uint32_t value) {
    writeWord(at, value);
    at += 4;
  }
  template <class Array>
  void cells(const Array& array) {
    for (int i = 0; i < array.getCount(); ++i) {
      std::uint32_t bits;
      std::memcpy(&bits, &array.getBuffer()[i], sizeof bits);
      word(bits);
    }
  }
};

}  // namespace

void KX_VirtualMachine::sweepObjects() {
  const int count = objects.getCount();
  if (count == 0) return;
  KX_ByteArray reached;
  reached.resize(count);
  for (unsigned int value : pr) markPointer(value, reached);
  markCells(pointerMemory, reached);
  markCells(pointerStack, reached);
  // The helpers that watches hold: the watched object, and the reference of
  // a watch on an object property (not the tagged reference of a memory
  // watch on a pointer cell).
  KX_VoidPtrArray watched;
  for (int i = 0; i < watches.getCount(); ++i) {
    const KX_VMWatch* watch = static_cast<const KX_VMWatch*>(watches.at(i));
    if (watch->object != nullptr) watched.append(watch->object);
    if (watch->pointerType == VM_POINTER_OBJECT && watch->referenceObject != nullptr) {
      watched.append(watch->referenceObject);
    }
  }
  watched.sort();
  for (int slot = 0; slot < count; ++slot) {
    void* helper = objects.at(slot);
    if (helper == nullptr || reached.at(slot) != 0 || watched.findSorted(helper) >= 0) continue;
    // A hole: the other slots keep their handles.
    objects.set(slot, nullptr);
    if (slot < objectClasses.getCount()) objectClasses.set(slot, nullptr);
  }
  // Class records that no slot refers to any more go.
  KX_VoidPtrArray used;
  for (int slot = 0; slot < objectClasses.getCount(); ++slot) {
    if (objectClasses.at(slot) != nullptr) used.append(objectClasses.at(slot));
  }
  used.sort();
  for (int i = objectClassTable.getCount() - 1; i >= 0; --i) {
    if (used.findSorted(objectClassTable.at(i)) < 0) objectClassTable.remove(i);
  }
}

bool KX_VirtualMachine::saveState(void*& imageBlock, int& imageSize) {
  sweepObjects();
  imageBlock = nullptr;
  imageSize = 0;

  const int arrayCounts[kArrayCount] = {code.getCount(),          intMemory.getCount(),     floatMemory.getCount(),
                                        pointerMemory.getCount(), intStack.getCount(),      floatStack.getCount(),
                                        pointerStack.getCount(),  savedSpi.getCount(),      savedSpf.getCount(),
                                        savedSpp.getCount(),      savedCp.getCount(),       intFrames.getCount(),
                                        floatFrames.getCount(),   pointerFrames.getCount(), frameWatches.getCount()};
  std::uint64_t nameBytes = 0;
  for (int i = 0; i < symbolNames.getCount(); ++i)
    nameBytes += static_cast<std::uint64_t>(symbolNames.getString(i)->getLength()) + 1;
  std::uint32_t liveObjects = 0;
  for (int slot = 0; slot < objects.getCount(); ++slot) liveObjects += objects.at(slot) != nullptr ? 1 : 0;
  std::uint64_t length = kHeaderBytes;
  for (int a = 0; a < kArrayCount; ++a)
    length += std::uint64_t{elementBytes(a)} * static_cast<std::uint32_t>(arrayCounts[a]);
  length += 4ull * (static_cast<std::uint32_t>(symbolAddresses.getCount()) + liveObjects) + nameBytes +
            std::uint64_t{watchRecordBytes(kVersion)} * static_cast<std::uint32_t>(watches.getCount());
  // The size goes out as an int.
  if (length > kMaxImageBytes) return false;

  void* block;
  KX_allocateMemoryBlock(static_cast<unsigned int>(length), &block);
  if (block == nullptr) return false;
  unsigned char* image = static_cast<unsigned char*>(block);

  std::memcpy(image + kOffsetMagic, kMagic, sizeof kMagic);
  writeWord(image + kOffsetVersion, kVersion);
  writeWord(image + kOffsetHeaderSize, kHeaderBytes);
  for (int i = 0; i < 8; ++i) {
    writeWord(image + kOffsetIntRegisters + 4 * i, static_cast<std::uint32_t>(ir[i]));
    std::uint32_t bits;
    std::memcpy(&bits, &fr[i], sizeof bits);
    writeWord(image + kOffsetFloatRegisters + 4 * i, bits);
    writeWord(image + kOffsetPointerRegisters + 4 * i, pr[i]);
  }
  writeWord(image + kOffsetSpi, static_cast<std::uint32_t>(spi));
  writeWord(image + kOffsetSpf, static_cast<std::uint32_t>(spf));
  writeWord(image + kOffsetSpp, static_cast<std::uint32_t>(spp));
  writeWord(image + kOffsetCp, static_cast<std::uint32_t>(cp));
  image[kOffsetRunning] = running ? 1 : 0;
  image[kOffsetPending] = pending ? 1 : 0;
  image[kOffsetFirstAttempt] = firstAttempt ? 1 : 0;
  image[kOffsetCompareResult] = static_cast<unsigned char>(compareResult);
  for (int a = 0; a < kArrayCount; ++a) {
    writeWord(image + kOffsetArrayCounts + 4 * a, static_cast<std::uint32_t>(arrayCounts[a]));
  }
  writeWord(image + kOffsetSymbolCount, static_cast<std::uint32_t>(symbolAddresses.getCount()));
  writeWord(image + kOffsetSymbolNameBytes, static_cast<std::uint32_t>(nameBytes));
  writeWord(image + kOffsetObjectCount, liveObjects);
  writeWord(image + kOffsetWatchCount, static_cast<std::uint32_t>(watches.getCount()));

  Writer out{image + kHeaderBytes};
  for (int i = 0; i < code.getCount(); ++i) {
    const std::uint64_t word = static_cast<std::uint64_t>(code.at(i));
    out.word(static_cast<std::uint32_t>(word));
    out.word(static_cast<std::uint32_t>(word >> 32));
  }
  out.cells(intMemory);
  out.cells(floatMemory);
  out.cells(pointerMemory);
  out.cells(intStack);
  out.cells(floatStack);
  out.cells(pointerStack);
  out.cells(savedSpi);
  out.cells(savedSpf);
  out.cells(savedSpp);
  out.cells(savedCp);
  out.cells(intFrames);
  out.cells(floatFrames);
  out.cells(pointerFrames);
  // A frame watch by its place in the watch list; one that is not there
  // (which no running machine holds) is written as a level of CALL.
  for (int f = 0; f < frameWatches.getCount(); ++f) {
    const KX_Base* watch = frameWatches.at(f);
    std::uint32_t number = 0;
    for (int w = 0; watch != nullptr && w < watches.getCount(); ++w) {
      if (watches.at(w) == watch) {
        number = static_cast<std::uint32_t>(w) + 1;
        break;
      }
    }
    out.word(number);
  }
  out.cells(symbolAddresses);
  for (int i = 0; i < symbolNames.getCount(); ++i) {
    const KX_String* name = symbolNames.getString(i);
    std::memcpy(out.at, name->getText(), static_cast<std::size_t>(name->getLength()) + 1);
    out.at += name->getLength() + 1;
  }
  for (int slot = 0; slot < objects.getCount(); ++slot) {
    if (objects.at(slot) != nullptr) out.word(static_cast<std::uint32_t>(slot));
  }
  for (int w = 0; w < watches.getCount(); ++w) {
    const KX_VMWatch* watch = static_cast<const KX_VMWatch*>(watches.at(w));
    unsigned char* record = out.at;
    std::uint32_t referenceFloat;
    std::memcpy(&referenceFloat, &watch->referenceFloat, sizeof referenceFloat);
    writeWord(record + kWatchAddress, static_cast<std::uint32_t>(watch->address));
    writeWord(record + kWatchObject, slotOf(objects, watch->object));
    writeWord(record + kWatchPointerType, watch->pointerType);
    writeWord(record + kWatchReferenceInt, static_cast<std::uint32_t>(watch->referenceInt));
    writeWord(record + kWatchReferenceFloat, referenceFloat);
    writeWord(record + kWatchReferencePointer, watch->referencePointer);
    writeWord(record + kWatchReferenceObject, slotOf(objects, watch->referenceObject));
    record[kWatchCondition] = watch->condition;
    writeWord(record + kWatchHandler, static_cast<std::uint32_t>(watch->handler));
    record[kWatchActive] = watch->active ? 1 : 0;
    record[kWatchDeletePending] = watch->deletePending ? 1 : 0;
    record[kWatchSavedPending] = watch->savedPending ? 1 : 0;
    record[kWatchSavedFirstAttempt] = watch->savedFirstAttempt ? 1 : 0;
    record[kWatchSavedCompareResult] = static_cast<unsigned char>(watch->savedCompareResult);
    record[kWatchEdgeTriggered] = watch->edgeTriggered ? 1 : 0;
    record[kWatchArmed] = watch->armed ? 1 : 0;
    out.at += watchRecordBytes(kVersion);
  }
  writeWord(image + kOffsetChecksum,
            KX_VMImage::checksum(image + kChecksumStart, static_cast<std::uint32_t>(length) - kChecksumStart));
  imageBlock = image;
  imageSize = static_cast<int>(length);
  return true;
}
