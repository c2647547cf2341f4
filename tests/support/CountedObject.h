// An object array element that counts its live instances and carries a value,
// to test ownership: which operations destroy, clone or leave elements alone.
#pragma once

#include "foundation/KX_Base.h"

class CountedObject : public KX_Base {
 public:
  explicit CountedObject(int value = 0) : value(value) { ++live; }
  ~CountedObject() override { --live; }
  KX_Base* newInstance() const override { return new CountedObject(); }
  void copyFrom(const KX_Base* source) override { value = static_cast<const CountedObject*>(source)->value; }

  int value;
  static inline int live = 0;
};
