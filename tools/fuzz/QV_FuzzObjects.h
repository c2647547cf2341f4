// The host objects of one fuzz case: two objects of one class and one of a
// second class, each the target of the next. They must outlive the machines
// of the case, so a target makes them before VM_init and drops them after
// VM_exit.
#pragma once

#include <cstdint>

#include "QV_FuzzHostObject.h"
#include "qv_helper/qv_helper.h"

struct QV_FuzzObjects {
  static constexpr int kCount = 3;

  QV_FuzzObjects() {
    for (int i = 0; i < kCount; ++i) objects[i].target = &objects[(i + 1) % kCount];
    list[0] = &objects[0];
    list[1] = &objects[1];
    list[2] = &objects[2];
  }

  // Hands objects to a machine as a host would: bits 0 to 2 of `placement`
  // put the objects into pr1, pr2 and pr3, bit 3 the third one into pointer
  // memory cell 1 (if the memory has one).
  void place(void* machine, std::uint8_t placement) {
    for (int i = 0; i < kCount; ++i) {
      if ((placement >> i) & 1) VM_setPointerRegisterObject(machine, i + 1, list[i]);
    }
    if ((placement >> 3) & 1) VM_setPointerMemoryObject(machine, 1, list[2]);
  }

  QV_FuzzHostObject objects[kCount] = {QV_FuzzHostObject("Crate"), QV_FuzzHostObject("Crate"),
                                       QV_FuzzHostObject("Guard")};
  VM_ObjectInterface* list[kCount];
};
