// Exported passage of host objects into and out of a machine's pointer
// registers and pointer memory.
//
// A register number outside 0 to 7, or a cell outside pointer memory, is the
// caller's mistake; rather than write beyond the machine these functions then
// change nothing and read null.
#include "qv_helper/qv_helper.h"
#include "vm/KX_VMRegistry.h"
#include "vm/VM_HelperObjectInterface.h"

namespace {

KX_VirtualMachine* asMachine(void* handle) {
  return static_cast<KX_VirtualMachine*>(handle);
}

bool isRegister(int reg) {
  return reg >= 0 && reg < 8;
}

// The cell index of an address argument, or -1 outside pointer memory.
int pointerCell(const KX_VirtualMachine& machine, int address) {
  const unsigned int cell = static_cast<unsigned int>(address) & kVMAddressMask;
  return cell < static_cast<unsigned int>(machine.pointerMemory.getCount()) ? static_cast<int>(cell) : -1;
}

// The object pointer of a host object in a machine: 0 for null or for a
// machine that is not registered.
unsigned int objectPointer(void* machine, VM_ObjectInterface* object) {
  return asMachine(machine)->getObjectHandle(vmRegistry.findHelper(machine, object));
}

VM_ObjectInterface* hostObjectOf(const KX_VirtualMachine& machine, unsigned int pointer) {
  // Only helpers enter the object table from the host's side.
  const KX_VMObjectInterface* helper = machine.objectAt(pointer);
  return helper == nullptr ? nullptr : static_cast<const VM_HelperObjectInterface*>(helper)->hostObject;
}

}  // namespace

void VM_setPointerRegisterObject(void* machine, int reg, VM_ObjectInterface* object) {
  if (!isRegister(reg)) return;
  asMachine(machine)->pr[reg] = objectPointer(machine, object);
}

VM_ObjectInterface* VM_getPointerRegisterObject(void* machine, int reg) {
  if (!isRegister(reg)) return nullptr;
  const KX_VirtualMachine& m = *asMachine(machine);
  return hostObjectOf(m, m.pr[reg]);
}

void VM_setPointerMemoryObject(void* machine, int address, VM_ObjectInterface* object) {
  const int cell = pointerCell(*asMachine(machine), address);
  if (cell < 0) return;
  asMachine(machine)->pointerMemory.set(cell, static_cast<int>(objectPointer(machine, object)));
}

VM_ObjectInterface* VM_getPointerMemoryObject(void* machine, int address) {
  const KX_VirtualMachine& m = *asMachine(machine);
  const int cell = pointerCell(m, address);
  if (cell < 0) return nullptr;
  return hostObjectOf(m, static_cast<unsigned int>(m.pointerMemory.at(cell)));
}
