// The defaults of the exported host base class: a class without members
// whose every access fails with VM_ERROR_ID.
#include "qv_helper/VM_ObjectInterface.h"

#include "qv_helper/qv_helper.h"

VM_ObjectInterface::VM_ObjectInterface() {}

VM_ObjectInterface::VM_ObjectInterface(const VM_ObjectInterface&) {}

VM_ObjectInterface& VM_ObjectInterface::operator=(const VM_ObjectInterface&) {
  return *this;
}

const char* VM_ObjectInterface::getClassName() const {
  return "VM_ObjectInterface";
}

int VM_ObjectInterface::getObjectPropertyCount() const {
  return 0;
}

int VM_ObjectInterface::getObjectMethodCount() const {
  return 0;
}

void VM_ObjectInterface::getObjectPropertyDefinition(int, short&, VM_ObjectDataType&, char*, int) {}

void VM_ObjectInterface::getObjectMethodDefinition(int, short&, VM_ObjectDataType&, char*, int) {}

int VM_ObjectInterface::getObjectPropertyInt(int, int&, bool, void*) const {
  return VM_ERROR_ID;
}

int VM_ObjectInterface::getObjectPropertyFloat(int, float&, bool, void*) const {
  return VM_ERROR_ID;
}

int VM_ObjectInterface::getObjectPropertyPointer(int, VM_ObjectInterface*&, bool, void*) const {
  return VM_ERROR_ID;
}

int VM_ObjectInterface::setObjectPropertyInt(int, int, bool, void*) {
  return VM_ERROR_ID;
}

int VM_ObjectInterface::setObjectPropertyFloat(int, float, bool, void*) {
  return VM_ERROR_ID;
}

int VM_ObjectInterface::setObjectPropertyPointer(int, VM_ObjectInterface*, bool, void*) {
  return VM_ERROR_ID;
}

int VM_ObjectInterface::callObjectMethodInt(int, int&, bool, void*) {
  return VM_ERROR_ID;
}

int VM_ObjectInterface::callObjectMethodFloat(int, float&, bool, void*) {
  return VM_ERROR_ID;
}

int VM_ObjectInterface::callObjectMethodPointer(int, VM_ObjectInterface*&, bool, void*) {
  return VM_ERROR_ID;
}

int VM_ObjectInterface::callObjectMethodVoid(int, bool, void*) {
  return VM_ERROR_ID;
}
