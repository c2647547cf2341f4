// The instructions that compare and move data: COMP, WAIT, the conditional
// LOAD, STORE and XCHANGE families, and LOADPTR.
#include "qv_helper/qv_helper.h"
#include "vm/KX_VMOpcodeTable.h"
#include "vm/KX_VirtualMachine.h"
#include "vm/VM_reportError.h"

using namespace KX_VMWord;

namespace {

signed char compareSigned(int reg, int op) {
  return reg > op ? 1 : (reg < op ? -1 : 0);
}

// A NaN on either side compares as equal.
signed char compareFloat(float reg, float op) {
  return op > reg ? -1 : (op < reg ? 1 : 0);
}

// A null pointer of any tag counts as 0; otherwise the whole words compare
// as signed numbers, tags included.
signed char comparePointer(unsigned int reg, unsigned int op) {
  const int left = (reg & kVMAddressMask) == 0 ? 0 : static_cast<int>(reg);
  const int right = (op & kVMAddressMask) == 0 ? 0 : static_cast<int>(op);
  return compareSigned(left, right);
}

int illegalSubType() {
  return VM_reportError(VM_ERROR_INSTRUCTION, "illegal opcode sub type");
}

}  // namespace

int KX_VirtualMachine::opCompare(const KX_VMDecodedWord& in) {
  int result;
  switch (in.registerType) {
    case 0: {
      int op;
      result = readIntOperand(in, op);
      if (result == 0) compareResult = compareSigned(ir[in.targetRegister], op);
      return result;
    }
    case 1: {
      float op;
      result = readFloatOperand(in, op);
      if (result == 0) compareResult = compareFloat(fr[in.targetRegister], op);
      return result;
    }
    default: {
      unsigned int op;
      result = readPointerOperand(in, op, false);
      if (result == 0) compareResult = comparePointer(pr[in.targetRegister], op);
      return result;
    }
  }
}

int KX_VirtualMachine::opWait(const KX_VMDecodedWord& in) {
  const int result = opCompare(in);
  if (result != 0) return result;
  if (in.subType > kNotEqual) return illegalSubType();
  // The operand is read again at every attempt, so the wait ends once the
  // host or a handler has changed what it compares.
  return conditionHolds(in.subType) ? 0 : VM_WAIT;
}

int KX_VirtualMachine::opLoad(const KX_VMDecodedWord& in) {
  if (in.subType > kNotEqual) return illegalSubType();
  if (!conditionHolds(in.subType)) return 0;
  switch (in.registerType) {
    case 0:
      return readIntOperand(in, ir[in.targetRegister]);
    case 1:
      return readFloatOperand(in, fr[in.targetRegister]);
    default:
      return readPointerOperand(in, pr[in.targetRegister], false);
  }
}

int KX_VirtualMachine::opStore(const KX_VMDecodedWord& in) {
  if (in.subType > kNotEqual) return illegalSubType();
  if (!conditionHolds(in.subType)) return 0;
  if (in.addressMode == kImmediate) return VM_reportError(VM_ERROR_INSTRUCTION, "illegal address mode");
  switch (in.registerType) {
    case 0:
      return writeIntOperand(in, ir[in.targetRegister]);
    case 1:
      return writeFloatOperand(in, fr[in.targetRegister]);
    default:
      return writePointerOperand(in, pr[in.targetRegister]);
  }
}

int KX_VirtualMachine::opExchange(const KX_VMDecodedWord& in) {
  if (in.subType > kNotEqual) return illegalSubType();
  if (!conditionHolds(in.subType)) return 0;
  if (in.addressMode == kImmediate) return VM_reportError(VM_ERROR_INSTRUCTION, "illegal address mode");
  int result;
  // The register takes the value read only once the write has succeeded.
  switch (in.registerType) {
    case 0: {
      int value;
      result = readIntOperand(in, value);
      if (result == 0) result = writeIntOperand(in, ir[in.targetRegister]);
      if (result == 0) ir[in.targetRegister] = value;
      return result;
    }
    case 1: {
      float value;
      result = readFloatOperand(in, value);
      if (result == 0) result = writeFloatOperand(in, fr[in.targetRegister]);
      if (result == 0) fr[in.targetRegister] = value;
      return result;
    }
    default: {
      unsigned int value;
      result = readPointerOperand(in, value, false);
      if (result == 0) result = writePointerOperand(in, pr[in.targetRegister]);
      if (result == 0) pr[in.targetRegister] = value;
      return result;
    }
  }
}

int KX_VirtualMachine::opLoadPointer(const KX_VMDecodedWord& in) {
  if (in.addressMode == kImmediate || in.addressMode == kRegister) {
    return VM_reportError(VM_ERROR_INSTRUCTION, "illegal address mode");
  }
  if (in.addressMode == kAbsolute) {
    pr[in.targetRegister] = static_cast<unsigned int>(in.intConstant);
    return 0;
  }
  unsigned int base;
  if (in.systemRegister) {
    // The stack pointer of the bank that registerType names, with its tag.
    static constexpr unsigned int stackTags[3] = {VM_POINTER_INT_STACK, VM_POINTER_FLOAT_STACK,
                                                  VM_POINTER_POINTER_STACK};
    const int stackPointers[3] = {spi, spf, spp};
    base = (static_cast<unsigned int>(stackPointers[in.registerType]) & kVMAddressMask) | stackTags[in.registerType];
  } else {
    base = pr[in.baseRegister];
  }
  // Added, not subtracted, even for a stack: no range is checked here.
  unsigned int sum = base + static_cast<unsigned int>(in.offset);
  if (in.addressMode == kIndexed) sum += static_cast<unsigned int>(ir[in.indexRegister]);
  pr[in.targetRegister] = (base & kVMTagMask) | (sum & kVMAddressMask);
  return 0;
}
