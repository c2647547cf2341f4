#include "vm/VM_HelperObjectInterface.h"

#include <cstring>
#include <new>

#include "qv_helper/VM_ObjectInterface.h"
#include "vm/KX_VMObjectMethod.h"
#include "vm/KX_VMObjectProperty.h"
#include "vm/KX_VMRegistry.h"

namespace {

constexpr int kNameSize = 64;

// Fills one member record from the host's definition operation.
template <class Record, class Define>
Record* defineMember(int index, Define define) {
  Record* record = new Record();
  // The host must write all three; a host that forgets one leaves a zero id,
  // the void type and an empty name rather than whatever the stack held.
  VM_ObjectDataType type = VM_DATA_VOID;
  char name[kNameSize];
  std::memset(name, 0, sizeof name);
  define(index, record->id, type, name, kNameSize);
  name[kNameSize - 1] = '\0';  // a longer name is cut to 63 characters
  record->name = KX_String(name);
  record->dataType = type;
  return record;
}

// The machine's helper for a host object the host handed back, or null.
KX_VMObjectInterface* helperOf(void* machine, VM_ObjectInterface* host) {
  return vmRegistry.findHelper(machine, host);
}

VM_ObjectInterface* hostOf(KX_VMObjectInterface* value) {
  return value == nullptr ? nullptr : static_cast<VM_HelperObjectInterface*>(value)->hostObject;
}

}  // namespace

VM_HelperObjectInterface* VM_HelperObjectInterface::create(VM_ObjectInterface* host) {
  void* block;
  KX_allocateMemoryBlock(static_cast<unsigned int>(sizeof(VM_HelperObjectInterface)), &block);
  if (block == nullptr) return nullptr;
  return new (block) VM_HelperObjectInterface(host);
}

KX_String VM_HelperObjectInterface::getClassName() {
  return KX_String(hostObject->getClassName());
}

void VM_HelperObjectInterface::getPropertyDefinitions(KX_ObjectArray& properties) {
  const int count = hostObject->getObjectPropertyCount();
  for (int i = 0; i < count; ++i) {
    properties.append(defineMember<KX_VMObjectProperty>(
        i, [this](int index, short& id, VM_ObjectDataType& type, char* name, int size) {
          hostObject->getObjectPropertyDefinition(index, id, type, name, size);
        }));
  }
}

void VM_HelperObjectInterface::getMethodDefinitions(KX_ObjectArray& methods) {
  const int count = hostObject->getObjectMethodCount();
  for (int i = 0; i < count; ++i) {
    methods.append(
        defineMember<KX_VMObjectMethod>(i, [this](int index, short& id, VM_ObjectDataType& type, char* name, int size) {
          hostObject->getObjectMethodDefinition(index, id, type, name, size);
        }));
  }
}

int VM_HelperObjectInterface::getPropertyInt(int id, int& value, bool firstAttempt, void* machine) {
  return hostObject->getObjectPropertyInt(id, value, firstAttempt, machine);
}

int VM_HelperObjectInterface::getPropertyFloat(int id, float& value, bool firstAttempt, void* machine) {
  return hostObject->getObjectPropertyFloat(id, value, firstAttempt, machine);
}

int VM_HelperObjectInterface::getPropertyPointer(int id, KX_VMObjectInterface*& value, bool firstAttempt,
                                                 void* machine) {
  value = nullptr;
  VM_ObjectInterface* host = nullptr;
  const int status = hostObject->getObjectPropertyPointer(id, host, firstAttempt, machine);
  if (status != 0) return status;
  value = helperOf(machine, host);
  return 0;
}

int VM_HelperObjectInterface::setPropertyInt(int id, int value, bool firstAttempt, void* machine) {
  return hostObject->setObjectPropertyInt(id, value, firstAttempt, machine);
}

int VM_HelperObjectInterface::setPropertyFloat(int id, float value, bool firstAttempt, void* machine) {
  return hostObject->setObjectPropertyFloat(id, value, firstAttempt, machine);
}

int VM_HelperObjectInterface::setPropertyPointer(int id, KX_VMObjectInterface* value, bool firstAttempt,
                                                 void* machine) {
  return hostObject->setObjectPropertyPointer(id, hostOf(value), firstAttempt, machine);
}

int VM_HelperObjectInterface::callMethodInt(int id, int& result, KX_IntArray&, KX_FloatArray&, KX_VoidPtrArray&,
                                            bool firstAttempt, void* machine) {
  return hostObject->callObjectMethodInt(id, result, firstAttempt, machine);
}

int VM_HelperObjectInterface::callMethodFloat(int id, float& result, KX_IntArray&, KX_FloatArray&, KX_VoidPtrArray&,
                                              bool firstAttempt, void* machine) {
  return hostObject->callObjectMethodFloat(id, result, firstAttempt, machine);
}

int VM_HelperObjectInterface::callMethodPointer(int id, KX_VMObjectInterface*& result, KX_IntArray&, KX_FloatArray&,
                                                KX_VoidPtrArray&, bool firstAttempt, void* machine) {
  result = nullptr;
  VM_ObjectInterface* host = nullptr;
  const int status = hostObject->callObjectMethodPointer(id, host, firstAttempt, machine);
  if (status != 0) return status;
  result = helperOf(machine, host);
  return 0;
}

int VM_HelperObjectInterface::callMethodVoid(int id, KX_IntArray&, KX_FloatArray&, KX_VoidPtrArray&, bool firstAttempt,
                                             void* machine) {
  return hostObject->callObjectMethodVoid(id, firstAttempt, machine);
}
