// Exported access of the host to a machine's registers and memories. The
// accessors test nothing: register numbers and addresses are the host's to
// keep in range. Memory addresses use their low 29 bits only, so a tagged
// pointer may be passed as it is; its tag is ignored.
#include <cstring>

#include "foundation/KX_String.h"
#include "qv_helper/qv_helper.h"
#include "vm/KX_VirtualMachine.h"

namespace {

KX_VirtualMachine* vm(void* machine) {
  return static_cast<KX_VirtualMachine*>(machine);
}

int cell(int address) {
  return static_cast<int>(static_cast<unsigned int>(address) & kVMAddressMask);
}

}  // namespace

int VM_getIntRegister(void* machine, int reg) {
  return vm(machine)->ir[reg];
}
void VM_setIntRegister(void* machine, int reg, int value) {
  vm(machine)->ir[reg] = value;
}
float VM_getFloatRegister(void* machine, int reg) {
  return vm(machine)->fr[reg];
}
void VM_setFloatRegister(void* machine, int reg, float value) {
  vm(machine)->fr[reg] = value;
}
int VM_getPointerRegister(void* machine, int reg) {
  return static_cast<int>(vm(machine)->pr[reg]);
}
void VM_setPointerRegister(void* machine, int reg, int value) {
  vm(machine)->pr[reg] = static_cast<unsigned int>(value);
}
int VM_getCodePointerRegister(void* machine) {
  return vm(machine)->cp;
}

int VM_getCodeSize(void* machine) {
  return vm(machine)->code.getCount();
}
int VM_getIntMemorySize(void* machine) {
  return vm(machine)->intMemory.getCount();
}
int VM_getFloatMemorySize(void* machine) {
  return vm(machine)->floatMemory.getCount();
}
int VM_getPointerMemorySize(void* machine) {
  return vm(machine)->pointerMemory.getCount();
}

int VM_getIntMemory(void* machine, int address) {
  return vm(machine)->intMemory.at(cell(address));
}
void VM_setIntMemory(void* machine, int address, int value) {
  vm(machine)->intMemory.set(cell(address), value);
}
float VM_getFloatMemory(void* machine, int address) {
  return vm(machine)->floatMemory.at(cell(address));
}
void VM_setFloatMemory(void* machine, int address, float value) {
  vm(machine)->floatMemory.set(cell(address), value);
}
int VM_getPointerMemory(void* machine, int address) {
  return static_cast<int>(static_cast<unsigned int>(vm(machine)->pointerMemory.at(cell(address))) & kVMAddressMask);
}
VM_PointerType VM_getPointerMemoryPointerType(void* machine, int address) {
  return static_cast<VM_PointerType>(static_cast<unsigned int>(vm(machine)->pointerMemory.at(cell(address))) &
                                     kVMTagMask);
}
// The value is not masked: top bits it already has stay under the tag.
void VM_setPointerMemoryInt(void* machine, int address, int value) {
  vm(machine)->pointerMemory.set(cell(address), static_cast<int>(static_cast<unsigned int>(value) | VM_POINTER_INT));
}
void VM_setPointerMemoryFloat(void* machine, int address, int value) {
  vm(machine)->pointerMemory.set(cell(address), static_cast<int>(static_cast<unsigned int>(value) | VM_POINTER_FLOAT));
}
void VM_setPointerMemoryPointer(void* machine, int address, int value) {
  vm(machine)->pointerMemory.set(cell(address),
                                 static_cast<int>(static_cast<unsigned int>(value) | VM_POINTER_POINTER));
}

void VM_getIntMemoryString(void* machine, int address, char* buffer, int bufferSize) {
  // The cells are little-endian words, so the string's bytes lie in order;
  // the array's zero element behind its last cell ends the text at the latest.
  const KX_IntArray& memory = vm(machine)->intMemory;
  const char* text = reinterpret_cast<const char*>(memory.getBuffer() + cell(address));
  KX_String copy(text);
  const int length = copy.getLength();
  for (int i = 0; i < bufferSize; ++i) buffer[i] = i < length ? copy.getText()[i] : '\0';
  if (bufferSize > 0) buffer[bufferSize - 1] = '\0';
}

void VM_setIntMemoryString(void* machine, int address, const char* text) {
  KX_IntArray& memory = vm(machine)->intMemory;
  const int length = static_cast<int>(std::strlen(text));
  int target = cell(address);
  for (int start = 0; start < length; start += 4) {
    unsigned int packed = 0;
    for (int b = 0; b < 4 && start + b < length; ++b) {
      packed |= static_cast<unsigned int>(static_cast<unsigned char>(text[start + b])) << (8 * b);
    }
    memory.set(target++, static_cast<int>(packed));
  }
  memory.set(target, 0);
}
