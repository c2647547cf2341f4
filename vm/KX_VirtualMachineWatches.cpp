// Watches and triggers: the check before every step, the firing of a
// handler, its return, and the instructions that make and remove watches.
#include "qv_helper/qv_helper.h"
#include "vm/KX_VMObjectClass.h"
#include "vm/KX_VMObjectInterface.h"
#include "vm/KX_VMObjectProperty.h"
#include "vm/KX_VMObjectTexts.h"
#include "vm/KX_VMOpcodeTable.h"
#include "vm/KX_VMWatch.h"
#include "vm/KX_VirtualMachine.h"
#include "vm/VM_reportError.h"

using namespace KX_VMWord;

namespace {

// Per condition, bit r + 1 tells whether it holds for r, where r is +1 if
// the reference is the greater, -1 if the watched value is, else 0.
constexpr unsigned char kHoldsFor[8] = {
    0b111,  // always
    0b100,  // G
    0b001,  // L
    0b110,  // GE
    0b011,  // LE
    0b010,  // E
    0b101,  // NE
    0b000,  // none
};

// A condition above 7 (only a host's restored state can hold one) never holds.
bool relationHolds(unsigned int condition, int r) {
  return condition < 8 && ((kHoldsFor[condition] >> (r + 1)) & 1) != 0;
}

int compareInt(int reference, int value) {
  return reference > value ? 1 : (reference < value ? -1 : 0);
}

// A NaN on either side compares as equal.
int compareFloat(float reference, float value) {
  return value > reference ? -1 : (value < reference ? 1 : 0);
}

// A pointer whose address is 0 is null whatever its tag; then the whole words
// compare as signed numbers, tags included.
int comparePointer(unsigned int reference, unsigned int value) {
  const int left = (reference & kVMAddressMask) == 0 ? 0 : static_cast<int>(reference);
  const int right = (value & kVMAddressMask) == 0 ? 0 : static_cast<int>(value);
  return compareInt(left, right);
}

int compareObject(const KX_VMObjectInterface* reference, const KX_VMObjectInterface* value) {
  const std::uintptr_t left = reinterpret_cast<std::uintptr_t>(reference);
  const std::uintptr_t right = reinterpret_cast<std::uintptr_t>(value);
  return left > right ? 1 : (left < right ? -1 : 0);
}

// Whether `address` names a cell of a memory of `count` cells other than 0.
bool isCell(int address, int count) {
  return static_cast<unsigned int>(address) - 1u < static_cast<unsigned int>(count) - 1u;
}

using namespace KX_VMObjectTexts;

// The tag of a watched property's type in the watch key, by bank.
constexpr unsigned int kBankPropertyTag[3] = {VM_POINTER_INT, VM_POINTER_FLOAT, VM_POINTER_OBJECT};

}  // namespace

// A memory watch reads its cell without a range test in the common case:
// the cell was tested when the watch was made. A load without an entry name
// keeps the watches but may shrink the memories, so the cell is tested again
// here, at the cost of one comparison; a cell that no longer exists has no
// value, and its watch neither fires nor re-arms until the memory holds the
// cell again. A watch without an object whose tag is none of the three
// memories (only a host's restored state can make one) is skipped alike.
int KX_VirtualMachine::checkWatches() {
  // Runs before every step while watches exist: the list and its length are
  // read once; only a host call (a property read) can change them.
  KX_Base* const* list = watches.getBuffer();
  const int count = watches.getCount();
  for (int i = 0; i < count; ++i) {
    KX_VMWatch* watch = static_cast<KX_VMWatch*>(list[i]);
    if (watch->active) continue;
    int r;
    if (watch->object == nullptr) {
      const int address = watch->address;
      switch (watch->pointerType) {
        case VM_POINTER_INT:
          if (!isCell(address, intMemory.getCount())) continue;
          r = compareInt(watch->referenceInt, intMemory.at(address));
          break;
        case VM_POINTER_FLOAT:
          if (!isCell(address, floatMemory.getCount())) continue;
          r = compareFloat(watch->referenceFloat, floatMemory.at(address));
          break;
        case VM_POINTER_POINTER:
          if (!isCell(address, pointerMemory.getCount())) continue;
          r = comparePointer(watch->referencePointer, static_cast<unsigned int>(pointerMemory.at(address)));
          break;
        default:
          continue;
      }
    } else {
      // The host may look at the machine, or save it, while it is called.
      syncInstruction();
      int status;
      switch (watch->pointerType) {
        case VM_POINTER_INT: {
          int value = 0;
          status = watch->object->getPropertyInt(watch->address, value, true, this);
          r = compareInt(watch->referenceInt, value);
          break;
        }
        case VM_POINTER_FLOAT: {
          float value = 0.0f;
          status = watch->object->getPropertyFloat(watch->address, value, true, this);
          r = compareFloat(watch->referenceFloat, value);
          break;
        }
        default: {
          KX_VMObjectInterface* value = nullptr;
          status = watch->object->getPropertyPointer(watch->address, value, true, this);
          r = compareObject(watch->referenceObject, value);
          break;
        }
      }
      // A read for a watch cannot wait: VM_WAIT counts as an error here.
      if (status != 0) return status == VM_ERROR_ID ? VM_ERROR_ID : VM_ERROR_ADDRESS;
      // A host that restarted the machine from inside the call has destroyed
      // the watches: the next check starts afresh.
      if (watches.getCount() != count || watches.getBuffer() != list || list[i] != watch) return 0;
    }
    const bool holds = relationHolds(watch->condition, r);
    if (watch->edgeTriggered && !watch->armed) {
      // A trigger re-arms only once its relation has been found false.
      if (!holds) watch->armed = true;
      continue;
    }
    if (!holds) continue;
    // Fire: the handler runs as a call that returns to the interrupted word
    // itself, which is then taken up again as it stood.
    if (watch->edgeTriggered) watch->armed = false;
    watch->active = true;
    watch->savedPending = pending;
    watch->savedFirstAttempt = firstAttempt;
    watch->savedCompareResult = compareResult;
    pending = false;
    enterFrame(watch->handler, cp, watch);
    return 0;
  }
  return 0;
}

void KX_VirtualMachine::returnFromWatch(KX_VMWatch* watch) {
  pending = watch->savedPending;
  firstAttempt = watch->savedFirstAttempt;
  compareResult = watch->savedCompareResult;
  if (!watch->deletePending) {
    watch->active = false;
  } else {
    int index = watches.findSorted(watch);
    // Equal keys are possible after a restore (an object given back twice,
    // or watches whose objects were not given back): find this very watch.
    if (index >= 0 && watches.at(index) != watch) {
      for (index = watches.getCount() - 1; index >= 0 && watches.at(index) != watch; --index) {
      }
    }
    if (index >= 0) watches.remove(index);
  }
  if (!pending) return;
  // The handler's words have replaced `instruction`: decode the interrupted
  // word again, over the fields the handler's words left.
  syncInstruction();
  const int count = code.getCount();
  // When there is no word to take up again (the host changed the code
  // meanwhile, or a restored state returns to no word), the return still
  // completes: a failed RETURN would stay pending and, run again, close a
  // second level, with a frame watch left behind that may already be
  // destroyed. Instead the interrupted word is no longer pending, and the
  // fetch of the next step reports the address or the word.
  if (static_cast<unsigned int>(cp) - 1u >= static_cast<unsigned int>(count) - 1u ||
      instruction.decode(static_cast<std::uint64_t>(code.at(cp))) != 0) {
    pending = false;
  }
}

int KX_VirtualMachine::opWatch(const KX_VMDecodedWord& in, bool edgeTriggered) {
  // The sub type alone decides, so a TRIGGER word with sub type 0 or 7
  // removes watches as UNWATCH and UNWATCHALL do.
  switch (in.subType) {
    case 0:
      return unwatch(in);
    case 7:
      return unwatchAll();
    default:
      return makeWatch(in, edgeTriggered);
  }
}

int KX_VirtualMachine::checkHandlerPointer() const {
  const unsigned int handler = pr[0];
  if ((handler & kVMTagMask) != VM_POINTER_CODE) return VM_reportError(VM_ERROR_ADDRESS, "code pointer expected");
  if (!isCell(static_cast<int>(handler & kVMAddressMask), code.getCount())) {
    return VM_reportError(VM_ERROR_ADDRESS, "illegal code pointer (0x%x)", handler);
  }
  return 0;
}

int KX_VirtualMachine::makeWatch(const KX_VMDecodedWord& in, bool edgeTriggered) {
  int result = checkHandlerPointer();
  if (result != 0) return result;
  unsigned int pointer;
  result = readPointerOperand(in, pointer, true);
  if (result != 0) return result;
  // Built here and only stored once every test has passed.
  KX_VMWatch watch;
  watch.condition = in.subType;
  watch.handler = static_cast<int>(pr[0] & kVMAddressMask);
  watch.edgeTriggered = edgeTriggered;
  const int bank = in.registerType;
  const unsigned int tag = pointer & kVMTagMask;
  if (tag == VM_POINTER_OBJECT) {
    KX_VMObjectInterface* object;
    const KX_VMObjectClass* record;
    const int found = findObjectSlot(pointer, object, record);
    if (found != 0) return found;
    const int count = objects.getCount();
    const int id = currentPropertyId(in);
    const KX_VMObjectProperty* property = record == nullptr ? nullptr : record->findProperty(id);
    if (property == nullptr) return VM_reportError(VM_ERROR_ID, "property id: %i", id);
    if (property->dataType != kBankDataType[bank]) return VM_reportError(VM_ERROR_TYPE, "%s", kBankDataTypeText[bank]);
    watch.address = id;
    watch.object = object;
    watch.pointerType = kBankPropertyTag[bank];
    if (bank == 0) {
      watch.referenceInt = ir[in.targetRegister];
    } else if (bank == 1) {
      watch.referenceFloat = fr[in.targetRegister];
    } else {
      const unsigned int reference = pr[in.targetRegister] & kVMAddressMask;
      if (reference > static_cast<unsigned int>(count)) return illegalObjectPointer(reference, count);
      watch.referenceObject =
          reference == 0 ? nullptr : static_cast<KX_VMObjectInterface*>(objects.at(static_cast<int>(reference) - 1));
    }
  } else {
    watch.address = static_cast<int>(pointer & kVMAddressMask);
    watch.pointerType = tag;
    if (bank == 0) {
      if (tag != VM_POINTER_INT) return VM_reportError(VM_ERROR_TYPE, "illegal pointer type (int pointer expected)");
      if (!isCell(watch.address, intMemory.getCount())) {
        return VM_reportError(VM_ERROR_ADDRESS, "illegal int pointer (0x%x)", pointer);
      }
      watch.referenceInt = ir[in.targetRegister];
    } else if (bank == 1) {
      if (tag != VM_POINTER_FLOAT) return VM_reportError(VM_ERROR_TYPE, "illegal pointer type");
      if (!isCell(watch.address, floatMemory.getCount())) {
        return VM_reportError(VM_ERROR_ADDRESS, "illegal float pointer (0x%x)", pointer);
      }
      watch.referenceFloat = fr[in.targetRegister];
    } else {
      if (tag != VM_POINTER_POINTER) {
        return VM_reportError(VM_ERROR_TYPE, "illegal pointer type (pointer pointer expected)");
      }
      if (!isCell(watch.address, pointerMemory.getCount())) {
        return VM_reportError(VM_ERROR_ADDRESS, "illegal pointer pointer (0x%x)", pointer);
      }
      watch.referencePointer = pr[in.targetRegister];
    }
  }
  const int found = watches.findSorted(&watch);
  if (found < 0) {
    KX_VMWatch* made = new KX_VMWatch();
    made->copyFrom(&watch);
    watches.insert(watches.findInsertPosition(made), made);
    return 0;
  }
  // A watch of the same key takes the new condition, reference and handler,
  // but keeps its run state: it may be the watch whose handler is running.
  KX_VMWatch* old = static_cast<KX_VMWatch*>(watches.at(found));
  watch.active = old->active;
  watch.savedPending = old->savedPending;
  watch.savedFirstAttempt = old->savedFirstAttempt;
  watch.savedCompareResult = old->savedCompareResult;
  old->copyFrom(&watch);
  return 0;
}

int KX_VirtualMachine::unwatch(const KX_VMDecodedWord& in) {
  unsigned int pointer;
  const int result = readPointerOperand(in, pointer, true);
  if (result != 0) return result;
  KX_VMWatch key;
  const unsigned int tag = pointer & kVMTagMask;
  if (tag == VM_POINTER_OBJECT) {
    KX_VMObjectInterface* object;
    const KX_VMObjectClass* record;
    const int found = findObjectSlot(pointer, object, record);
    if (found != 0) return found;
    const int id = currentPropertyId(in);
    const KX_VMObjectProperty* property = record == nullptr ? nullptr : record->findProperty(id);
    if (property == nullptr) return VM_reportError(VM_ERROR_ID, "property id: %i", id);
    switch (property->dataType) {
      case VM_DATA_INT:
        key.pointerType = VM_POINTER_INT;
        break;
      case VM_DATA_FLOAT:
        key.pointerType = VM_POINTER_FLOAT;
        break;
      case VM_DATA_OBJECT:
        key.pointerType = VM_POINTER_OBJECT;
        break;
      default:
        return VM_reportError(VM_ERROR_TYPE, "illegal pointer type");
    }
    key.object = object;
    key.address = id;
  } else {
    // No address test: a cell without a watch simply has none to remove.
    key.pointerType = tag;
    key.address = static_cast<int>(pointer & kVMAddressMask);
  }
  const int found = watches.findSorted(&key);
  if (found >= 0) dropWatch(found);
  return 0;
}

int KX_VirtualMachine::unwatchAll() {
  const int result = checkHandlerPointer();
  if (result != 0) return result;
  const int handler = static_cast<int>(pr[0] & kVMAddressMask);
  for (int i = watches.getCount() - 1; i >= 0; --i) {
    if (static_cast<KX_VMWatch*>(watches.at(i))->handler == handler) dropWatch(i);
  }
  return 0;
}

void KX_VirtualMachine::dropWatch(int index) {
  KX_VMWatch* watch = static_cast<KX_VMWatch*>(watches.at(index));
  // A running handler's watch stays until the handler returns.
  if (watch->active) {
    watch->deletePending = true;
  } else {
    watches.remove(index);
  }
}
