#include "vm/KX_VMWatch.h"

void KX_VMWatch::copyFrom(const KX_Base* source) {
  const KX_VMWatch* other = static_cast<const KX_VMWatch*>(source);
  if (other == this) return;
  address = other->address;
  object = other->object;
  pointerType = other->pointerType;
  referenceInt = other->referenceInt;
  referenceFloat = other->referenceFloat;
  referencePointer = other->referencePointer;
  referenceObject = other->referenceObject;
  condition = other->condition;
  handler = other->handler;
  active = other->active;
  deletePending = other->deletePending;
  savedPending = other->savedPending;
  savedFirstAttempt = other->savedFirstAttempt;
  savedCompareResult = other->savedCompareResult;
  edgeTriggered = other->edgeTriggered;
  armed = other->armed;
}

bool KX_VMWatch::isLess(const KX_Base* base) const {
  const KX_VMWatch* other = static_cast<const KX_VMWatch*>(base);
  const std::uintptr_t mine = reinterpret_cast<std::uintptr_t>(object);
  const std::uintptr_t theirs = reinterpret_cast<std::uintptr_t>(other->object);
  if (mine != theirs) return mine < theirs;
  if (pointerType != other->pointerType) return pointerType < other->pointerType;
  return address < other->address;
}

bool KX_VMWatch::isEqual(const KX_Base* base) const {
  const KX_VMWatch* other = static_cast<const KX_VMWatch*>(base);
  return object == other->object && pointerType == other->pointerType && address == other->address;
}
