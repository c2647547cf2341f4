#include "vm/KX_VMObjectClass.h"

#include "vm/KX_VMObjectInterface.h"
#include "vm/KX_VMObjectMethod.h"
#include "vm/KX_VMObjectProperty.h"

void KX_VMObjectClass::copyFrom(const KX_Base* source) {
  const KX_VMObjectClass* other = static_cast<const KX_VMObjectClass*>(source);
  if (other == this) return;
  name = other->name;
  properties.copyFrom(&other->properties);
  methods.copyFrom(&other->methods);
}

bool KX_VMObjectClass::isLess(const KX_Base* other) const {
  return name.isLess(&static_cast<const KX_VMObjectClass*>(other)->name);
}

bool KX_VMObjectClass::isEqual(const KX_Base* other) const {
  return name.isEqual(&static_cast<const KX_VMObjectClass*>(other)->name);
}

void KX_VMObjectClass::describe(KX_VMObjectInterface& object) {
  name = object.getClassName();
  object.getPropertyDefinitions(properties);
  object.getMethodDefinitions(methods);
  properties.sort();
  methods.sort();
}

KX_VMObjectProperty* KX_VMObjectClass::findProperty(int id) const {
  KX_VMObjectProperty key;
  key.id = static_cast<short>(id);
  const int index = properties.findSorted(&key);
  return index < 0 ? nullptr : static_cast<KX_VMObjectProperty*>(properties.at(index));
}

KX_VMObjectMethod* KX_VMObjectClass::findMethod(int id) const {
  KX_VMObjectMethod key;
  key.id = static_cast<short>(id);
  const int index = methods.findSorted(&key);
  return index < 0 ? nullptr : static_cast<KX_VMObjectMethod*>(methods.at(index));
}
