// Host objects seen from a script: the object table with its handles and
// class records, properties reached through memory operands, and method
// calls by CALL on an object pointer.
//
// A slot of the object table that a save has cleared holds no object. A
// script that still uses its handle meets the same failure as with a handle
// outside the table, "illegal object pointer", rather than a call on nothing.
#include "qv_helper/qv_helper.h"
#include "vm/KX_VMObjectClass.h"
#include "vm/KX_VMObjectInterface.h"
#include "vm/KX_VMObjectMethod.h"
#include "vm/KX_VMObjectProperty.h"
#include "vm/KX_VMObjectTexts.h"
#include "vm/KX_VirtualMachine.h"
#include "vm/VM_reportError.h"

namespace {

using namespace KX_VMObjectTexts;

// Cuts a stack back to the top of its frame, if it stands above it.
template <class Stack>
void cutToFrameTop(Stack& stack, const KX_IntArray& frames) {
  if (frames.getCount() == 0) return;
  const int top = frames.at(frames.getCount() - 1);
  if (top >= 0 && top < stack.getCount()) stack.removeRange(top, stack.getCount() - top);
}

// The stack cell `taken` places below the top, or -1 when the stack has run out.
template <class Stack>
int parameterPosition(const Stack& stack, int taken) {
  const int position = stack.getCount() - 1 - taken;
  return (stack.getCount() == 0 || position < 0) ? -1 : position;
}

}  // namespace

KX_VMObjectInterface* KX_VirtualMachine::objectAt(unsigned int pointer) const {
  if ((pointer & kVMTagMask) != VM_POINTER_OBJECT) return nullptr;
  const unsigned int handle = pointer & kVMAddressMask;
  if (handle == 0 || handle > static_cast<unsigned int>(objects.getCount())) return nullptr;
  return static_cast<KX_VMObjectInterface*>(objects.at(static_cast<int>(handle) - 1));
}

KX_VMObjectClass* KX_VirtualMachine::getObjectClass(KX_VMObjectInterface* helper) {
  KX_VMObjectClass key;
  key.name = helper->getClassName();
  const int found = objectClassTable.findSorted(&key);
  if (found >= 0) return static_cast<KX_VMObjectClass*>(objectClassTable.at(found));
  // The first object of a name describes the members for all of them.
  KX_VMObjectClass* record = new KX_VMObjectClass();
  record->describe(*helper);
  objectClassTable.insert(objectClassTable.findInsertPosition(record), record);
  return record;
}

unsigned int KX_VirtualMachine::getObjectHandle(KX_VMObjectInterface* helper) {
  if (helper == nullptr) return 0;
  // Linear, but only run when a pointer crosses from the host to the script.
  const int count = objects.getCount();
  for (int slot = 0; slot < count; ++slot) {
    if (objects.at(slot) == helper) return static_cast<unsigned int>(slot + 1) | VM_POINTER_OBJECT;
  }
  // Slots are never reused: a cleared slot stays a hole.
  KX_VMObjectClass* record = getObjectClass(helper);
  objects.append(helper);
  objectClasses.append(record);
  return static_cast<unsigned int>(objects.getCount()) | VM_POINTER_OBJECT;
}

int KX_VirtualMachine::currentPropertyId(const KX_VMDecodedWord& in) {
  if (in.hasProperty) return in.propertyId;
  // A word without an id uses the one the last word with an id left.
  syncInstruction();
  return instruction.propertyId;
}

int KX_VirtualMachine::findObjectSlot(unsigned int pointer, KX_VMObjectInterface*& object,
                                      const KX_VMObjectClass*& record) const {
  const unsigned int handle = pointer & kVMAddressMask;
  const int count = objects.getCount();
  if (handle == 0 || handle > static_cast<unsigned int>(count)) return illegalObjectPointer(handle, count);
  const int slot = static_cast<int>(handle) - 1;
  object = static_cast<KX_VMObjectInterface*>(objects.at(slot));
  // A slot cleared by a save holds no object.
  if (object == nullptr) return illegalObjectPointer(handle, count);
  record = slot < objectClasses.getCount() ? static_cast<KX_VMObjectClass*>(objectClasses.at(slot)) : nullptr;
  return 0;
}

int KX_VirtualMachine::findObjectProperty(unsigned int pointer, const KX_VMDecodedWord& in, int bank,
                                          KX_VMObjectInterface*& object, int& id) {
  const KX_VMObjectClass* record;
  const int result = findObjectSlot(pointer, object, record);
  if (result != 0) return result;
  id = currentPropertyId(in);
  const KX_VMObjectProperty* property = record == nullptr ? nullptr : record->findProperty(id);
  if (property == nullptr) return VM_reportError(VM_ERROR_ID, "property id: %i", id);
  // A type mismatch never reaches the object.
  if (property->dataType != kBankDataType[bank]) return VM_reportError(VM_ERROR_ADDRESS, "%s", kBankDataTypeText[bank]);
  // The host may look at the machine, or save it, while it is called.
  syncInstruction();
  return 0;
}

int KX_VirtualMachine::readIntProperty(unsigned int pointer, const KX_VMDecodedWord& in, int& out) {
  KX_VMObjectInterface* object;
  int id;
  const int result = findObjectProperty(pointer, in, 0, object, id);
  if (result != 0) return result;
  int value = 0;
  const int status = object->getPropertyInt(id, value, firstAttempt, this);
  if (status == 0) out = value;
  return status;
}

int KX_VirtualMachine::readFloatProperty(unsigned int pointer, const KX_VMDecodedWord& in, float& out) {
  KX_VMObjectInterface* object;
  int id;
  const int result = findObjectProperty(pointer, in, 1, object, id);
  if (result != 0) return result;
  float value = 0.0f;
  const int status = object->getPropertyFloat(id, value, firstAttempt, this);
  if (status == 0) out = value;
  return status;
}

int KX_VirtualMachine::readPointerProperty(unsigned int pointer, const KX_VMDecodedWord& in, unsigned int& out) {
  KX_VMObjectInterface* object;
  int id;
  const int result = findObjectProperty(pointer, in, 2, object, id);
  if (result != 0) return result;
  KX_VMObjectInterface* value = nullptr;
  const int status = object->getPropertyPointer(id, value, firstAttempt, this);
  // A null object reads as 0, not as the null object pointer.
  if (status == 0) out = getObjectHandle(value);
  return status;
}

int KX_VirtualMachine::writeIntProperty(unsigned int pointer, const KX_VMDecodedWord& in, int value) {
  KX_VMObjectInterface* object;
  int id;
  const int result = findObjectProperty(pointer, in, 0, object, id);
  if (result != 0) return result;
  return object->setPropertyInt(id, value, firstAttempt, this);
}

int KX_VirtualMachine::writeFloatProperty(unsigned int pointer, const KX_VMDecodedWord& in, float value) {
  KX_VMObjectInterface* object;
  int id;
  const int result = findObjectProperty(pointer, in, 1, object, id);
  if (result != 0) return result;
  return object->setPropertyFloat(id, value, firstAttempt, this);
}

int KX_VirtualMachine::writePointerProperty(unsigned int pointer, const KX_VMDecodedWord& in, unsigned int value) {
  KX_VMObjectInterface* object;
  int id;
  const int result = findObjectProperty(pointer, in, 2, object, id);
  if (result != 0) return result;
  // Anything but a valid object pointer arrives as null, without an error.
  return object->setPropertyPointer(id, objectAt(value), firstAttempt, this);
}

int KX_VirtualMachine::callObjectMethod(unsigned int pointer, const KX_VMDecodedWord& in) {
  KX_VMObjectInterface* object;
  const KX_VMObjectClass* record;
  const int found = findObjectSlot(pointer, object, record);
  if (found != 0) return found;
  const int id = currentPropertyId(in);
  const KX_VMObjectMethod* method = record == nullptr ? nullptr : record->findMethod(id);
  if (method == nullptr) return VM_reportError(VM_ERROR_ID, "method id: %i", id);

  // The first parameter of a type is the value pushed last on its stack: a
  // script pushes a call's parameters last first. The stacks are only read.
  KX_IntArray ints;
  KX_FloatArray floats;
  KX_VoidPtrArray objectParameters;
  for (int i = 0; i < method->parameters.getCount(); ++i) {
    const KX_VMObjectProperty* parameter = static_cast<const KX_VMObjectProperty*>(method->parameters.at(i));
    int position;
    switch (parameter == nullptr ? VM_DATA_VOID : parameter->dataType) {
      case VM_DATA_INT:
        position = parameterPosition(intStack, ints.getCount());
        if (position < 0) break;
        ints.append(intStack.at(position));
        continue;
      case VM_DATA_FLOAT:
        position = parameterPosition(floatStack, floats.getCount());
        if (position < 0) break;
        floats.append(floatStack.at(position));
        continue;
      case VM_DATA_OBJECT:
        position = parameterPosition(pointerStack, objectParameters.getCount());
        if (position < 0) break;
        objectParameters.append(objectAt(static_cast<unsigned int>(pointerStack.at(position))));
        continue;
      default:
        continue;  // a parameter without a value type takes nothing
    }
    return VM_reportError(VM_ERROR_ADDRESS, "not enough object method parameters");
  }

  syncInstruction();  // the host may look at the machine, or save it
  int status = 0;
  switch (method->dataType) {
    case VM_DATA_VOID:
      status = object->callMethodVoid(id, ints, floats, objectParameters, firstAttempt, this);
      break;
    case VM_DATA_INT: {
      int value = 0;
      status = object->callMethodInt(id, value, ints, floats, objectParameters, firstAttempt, this);
      if (status == 0) ir[0] = value;
      break;
    }
    case VM_DATA_FLOAT: {
      float value = 0.0f;
      status = object->callMethodFloat(id, value, ints, floats, objectParameters, firstAttempt, this);
      if (status == 0) fr[0] = value;
      break;
    }
    case VM_DATA_OBJECT: {
      KX_VMObjectInterface* value = nullptr;
      status = object->callMethodPointer(id, value, ints, floats, objectParameters, firstAttempt, this);
      // A null result is the null object pointer, unlike a property read.
      if (status == 0) pr[0] = value == nullptr ? VM_POINTER_OBJECT : getObjectHandle(value);
      break;
    }
    default:
      break;  // no result type that can be called: the call does nothing
  }
  // Non-zero: the instruction stays pending with stacks, registers and cp as they were.
  if (status != 0) return status;
  // What PARAM pushed since the frame's locals goes, read or not.
  cutToFrameTop(intStack, intFrames);
  cutToFrameTop(floatStack, floatFrames);
  cutToFrameTop(pointerStack, pointerFrames);
  cp = static_cast<int>(static_cast<unsigned int>(cp) + 1u);
  return 0;
}
