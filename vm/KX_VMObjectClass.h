// One class of scriptable objects as one machine sees it: its name and its
// members, sorted by id so that an instruction finds a member by binary
// search. Records order and compare by name, without regard to case, so
// names that differ in case only are one class.
#pragma once

#include "foundation/KX_ObjectArray.h"
#include "foundation/KX_String.h"

class KX_VMObjectInterface;
class KX_VMObjectProperty;
class KX_VMObjectMethod;

class KX_VMObjectClass : public KX_Base {
 public:
  KX_VMObjectClass() = default;
  ~KX_VMObjectClass() override = default;
  KX_Base* newInstance() const override { return new KX_VMObjectClass(); }
  void copyFrom(const KX_Base* source) override;
  bool isLess(const KX_Base* other) const override;
  bool isEqual(const KX_Base* other) const override;

  // Fills the record from an object: its class name and its members, each
  // list sorted ascending by id.
  void describe(KX_VMObjectInterface& object);

  // The member with `id` (compared as a signed 16-bit number), or null.
  KX_VMObjectProperty* findProperty(int id) const;
  KX_VMObjectMethod* findMethod(int id) const;

  KX_String name;
  KX_ObjectArray properties;  // KX_VMObjectProperty records, ascending by id, owned
  KX_ObjectArray methods;     // KX_VMObjectMethod records, ascending by id, owned
};
