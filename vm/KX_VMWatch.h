// A watch or trigger of a script: a memory cell or a property of an object,
// a relation to a reference value, and the handler to run when it holds.
//
// Watches are identified by (object, pointerType, address) and kept in that
// order: object as an unsigned number (memory watches, with a null object,
// come first), then pointerType unsigned, then address signed.
#pragma once

#include <cstdint>

#include "foundation/KX_Base.h"

class KX_VMObjectInterface;

class KX_VMWatch : public KX_Base {
 public:
  KX_VMWatch() = default;
  ~KX_VMWatch() override = default;
  KX_Base* newInstance() const override { return new KX_VMWatch(); }
  // Copies every field.
  void copyFrom(const KX_Base* source) override;
  // Order and equality of the key.
  bool isLess(const KX_Base* other) const override;
  bool isEqual(const KX_Base* other) const override;

  int address = 0;                         // memory watch: the cell; property watch: the property id
  KX_VMObjectInterface* object = nullptr;  // property watch: the object's helper; memory watch: null
  // VM_PointerType of what is watched: the int, float or pointer tag for a
  // memory cell; the int, float or object tag for a property.
  std::uint32_t pointerType = 0;
  int referenceInt = 0;
  float referenceFloat = 0.0f;
  std::uint32_t referencePointer = 0;               // pointer watch on memory: a tagged pointer
  KX_VMObjectInterface* referenceObject = nullptr;  // pointer watch on a property: a helper or null
  unsigned char condition = 0;                      // sub type, 1 G to 6 NE
  int handler = 0;                                  // code address of the handler, untagged
  bool active = false;                              // the handler is running
  bool deletePending = false;                       // remove when the handler returns
  bool savedPending = false;                        // the machine's state at the firing
  bool savedFirstAttempt = false;
  signed char savedCompareResult = 0;
  bool edgeTriggered = false;  // TRIGGER: fires once each time the relation becomes true
  bool armed = true;           // a TRIGGER may fire
};
