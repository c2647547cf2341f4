// The registry of live machines: three parallel object lists, set up by
// VM_init and deleted by VM_exit. `machines` is sorted by machine address;
// for each machine, `helperRows` holds a KX_VoidPtrArray of its object helpers
// and `hostObjectRows` a KX_VoidPtrArray of the host objects they stand for,
// index for index.
#pragma once

#include "foundation/KX_ObjectArray.h"
#include "vm/KX_VirtualMachine.h"

class VM_HelperObjectInterface;
class VM_ObjectInterface;

struct KX_VMRegistry {
  KX_ObjectArray* machines = nullptr;
  KX_ObjectArray* helperRows = nullptr;
  KX_ObjectArray* hostObjectRows = nullptr;

  // Index of a registered machine, or -1; any pointer may be asked about.
  int find(const void* machine) const { return KX_findByAddress(*machines, machine); }

  // The helper of a host object in a machine, made and registered at the
  // object's first use there. Null for a null host, or for a machine that is
  // not registered (or before VM_init).
  VM_HelperObjectInterface* findHelper(const void* machine, VM_ObjectInterface* host);
};

extern KX_VMRegistry vmRegistry;
