#include "vm/KX_VMObjectMethod.h"

void KX_VMObjectMethod::copyFrom(const KX_Base* source) {
  const KX_VMObjectMethod* other = static_cast<const KX_VMObjectMethod*>(source);
  if (other == this) return;
  id = other->id;
  name = other->name;
  dataType = other->dataType;
  parameters.copyFrom(&other->parameters);
}

bool KX_VMObjectMethod::isLess(const KX_Base* other) const {
  return id < static_cast<const KX_VMObjectMethod*>(other)->id;
}

bool KX_VMObjectMethod::isEqual(const KX_Base* other) const {
  return id == static_cast<const KX_VMObjectMethod*>(other)->id;
}
