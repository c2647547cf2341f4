#include "vm/KX_VMObjectProperty.h"

void KX_VMObjectProperty::copyFrom(const KX_Base* source) {
  const KX_VMObjectProperty* other = static_cast<const KX_VMObjectProperty*>(source);
  if (other == this) return;
  id = other->id;
  name = other->name;
  dataType = other->dataType;
}

bool KX_VMObjectProperty::isLess(const KX_Base* other) const {
  return id < static_cast<const KX_VMObjectProperty*>(other)->id;
}

bool KX_VMObjectProperty::isEqual(const KX_Base* other) const {
  return id == static_cast<const KX_VMObjectProperty*>(other)->id;
}
