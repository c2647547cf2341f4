// One method of a scriptable object's class: its id, name, result type and
// parameters. Like properties, records order and compare by id alone, as a
// signed 16-bit number.
#pragma once

#include "foundation/KX_ObjectArray.h"
#include "foundation/KX_String.h"
#include "qv_helper/VM_ObjectInterface.h"

class KX_VMObjectMethod : public KX_Base {
 public:
  KX_VMObjectMethod() = default;
  ~KX_VMObjectMethod() override = default;
  KX_Base* newInstance() const override { return new KX_VMObjectMethod(); }
  void copyFrom(const KX_Base* source) override;
  bool isLess(const KX_Base* other) const override;
  bool isEqual(const KX_Base* other) const override;

  short id = 0;
  KX_String name;
  VM_ObjectDataType dataType = VM_DATA_VOID;  // the result type
  // One KX_VMObjectProperty per parameter, in declaration order; owned. Only
  // the dataType of each is read, when a call collects its parameters.
  KX_ObjectArray parameters{32};
};
