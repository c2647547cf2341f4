// Exported life cycle of machines: the registry and create, delete, start, stop.
#include "qv_helper/qv_helper.h"
#include "vm/KX_VMRegistry.h"

KX_VMRegistry vmRegistry;

namespace {

KX_VirtualMachine* asMachine(void* handle) {
  return static_cast<KX_VirtualMachine*>(handle);
}

}  // namespace

void VM_init() {
  vmRegistry.machines = new KX_ObjectArray();
  vmRegistry.helperRows = new KX_ObjectArray();
  vmRegistry.hostObjectRows = new KX_ObjectArray();
}

void VM_exit() {
  while (vmRegistry.machines->getCount() > 0) {
    VM_deleteVirtualMachine(vmRegistry.machines->at(vmRegistry.machines->getCount() - 1));
  }
  delete vmRegistry.machines;
  delete vmRegistry.helperRows;
  delete vmRegistry.hostObjectRows;
}

void* VM_createVirtualMachine() {
  KX_VirtualMachine* machine = new KX_VirtualMachine();
  if (machine == nullptr) return nullptr;
  int position = vmRegistry.machines->findInsertPosition(machine);
  vmRegistry.machines->insert(position, machine);
  vmRegistry.helperRows->insert(position, new KX_VoidPtrArray());
  vmRegistry.hostObjectRows->insert(position, new KX_VoidPtrArray());
  return machine;
}

void VM_deleteVirtualMachine(void* machine) {
  int index = vmRegistry.find(machine);
  if (index < 0) return;
  vmRegistry.machines->remove(index);
  // Helpers are plain memory blocks: they are released without a destructor.
  KX_VoidPtrArray* helpers = static_cast<KX_VoidPtrArray*>(vmRegistry.helperRows->at(index));
  for (int i = 0; i < helpers->getCount(); ++i) KX_freeMemoryBlock(helpers->at(i));
  vmRegistry.helperRows->remove(index);
  vmRegistry.hostObjectRows->remove(index);
}

void VM_start(void* machine, int address) {
  asMachine(machine)->startMachine(address);
}

void VM_stop(void* machine) {
  asMachine(machine)->stopMachine(0);
}

bool VM_isRunning(void* machine) {
  return asMachine(machine)->running;
}
