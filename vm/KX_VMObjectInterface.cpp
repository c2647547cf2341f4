// Defaults of the reflective object class: no members, and every access
// fails with VM_ERROR_ID.
#include "vm/KX_VMObjectInterface.h"

#include "qv_helper/qv_helper.h"
#include "vm/VM_reportError.h"

namespace {

int unknownProperty(int id) {
  return VM_reportError(VM_ERROR_ID, "Property ID: %i", id);
}

int unknownMethod(int id) {
  return VM_reportError(VM_ERROR_ID, "Method ID: %i", id);
}

}  // namespace

KX_String KX_VMObjectInterface::getClassName() {
  return KX_String("KX_VMObjectInterface");
}

void KX_VMObjectInterface::getPropertyDefinitions(KX_ObjectArray&) {}

void KX_VMObjectInterface::getMethodDefinitions(KX_ObjectArray&) {}

int KX_VMObjectInterface::getPropertyInt(int id, int&, bool, void*) {
  return unknownProperty(id);
}

int KX_VMObjectInterface::getPropertyFloat(int id, float&, bool, void*) {
  return unknownProperty(id);
}

int KX_VMObjectInterface::getPropertyPointer(int id, KX_VMObjectInterface*&, bool, void*) {
  return unknownProperty(id);
}

int KX_VMObjectInterface::setPropertyInt(int id, int, bool, void*) {
  return unknownProperty(id);
}

int KX_VMObjectInterface::setPropertyFloat(int id, float, bool, void*) {
  return unknownProperty(id);
}

int KX_VMObjectInterface::setPropertyPointer(int id, KX_VMObjectInterface*, bool, void*) {
  return unknownProperty(id);
}

int KX_VMObjectInterface::callMethodInt(int id, int&, KX_IntArray&, KX_FloatArray&, KX_VoidPtrArray&, bool, void*) {
  return unknownMethod(id);
}

int KX_VMObjectInterface::callMethodFloat(int id, float&, KX_IntArray&, KX_FloatArray&, KX_VoidPtrArray&, bool, void*) {
  return unknownMethod(id);
}

int KX_VMObjectInterface::callMethodPointer(int id, KX_VMObjectInterface*&, KX_IntArray&, KX_FloatArray&,
                                            KX_VoidPtrArray&, bool, void*) {
  return unknownMethod(id);
}

int KX_VMObjectInterface::callMethodVoid(int id, KX_IntArray&, KX_FloatArray&, KX_VoidPtrArray&, bool, void*) {
  return unknownMethod(id);
}
