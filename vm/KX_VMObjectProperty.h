// One property of a scriptable object's class: its id, name and type. Records
// order and compare by id alone, as a signed 16-bit number; names take no
// part, since the machine knows members by id.
#pragma once

#include "foundation/KX_String.h"
#include "qv_helper/VM_ObjectInterface.h"

class KX_VMObjectProperty : public KX_Base {
 public:
  KX_VMObjectProperty() = default;
  ~KX_VMObjectProperty() override = default;
  KX_Base* newInstance() const override { return new KX_VMObjectProperty(); }
  void copyFrom(const KX_Base* source) override;
  bool isLess(const KX_Base* other) const override;
  bool isEqual(const KX_Base* other) const override;

  short id = 0;
  KX_String name;
  VM_ObjectDataType dataType = VM_DATA_VOID;
};
