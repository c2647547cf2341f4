// Operand access: the only way from an instruction to registers, memories,
// stacks and object properties, with every address check of the machine.
#include <cstring>
#include <type_traits>

#include "qv_helper/qv_helper.h"
#include "vm/KX_VirtualMachine.h"
#include "vm/VM_reportError.h"

using namespace KX_VMWord;

namespace {

enum Bank : int { kIntBank = 0, kFloatBank = 1, kPointerBank = 2 };

// What differs between the three operand families.
template <int B>
struct BankTraits;

template <>
struct BankTraits<kIntBank> {
  static constexpr unsigned int memoryTag = VM_POINTER_INT;
  static constexpr unsigned int stackTag = VM_POINTER_INT_STACK;
  static constexpr const char* addressText = "illegal int address %x (max. address %x)";
  static constexpr const char* wrongTagText = "int pointer expected";
  static KX_IntArray& memory(KX_VirtualMachine& m) { return m.intMemory; }
  static KX_IntArray& stack(KX_VirtualMachine& m) { return m.intStack; }
  static int stackPointer(const KX_VirtualMachine& m) { return m.spi; }
};

template <>
struct BankTraits<kFloatBank> {
  static constexpr unsigned int memoryTag = VM_POINTER_FLOAT;
  static constexpr unsigned int stackTag = VM_POINTER_FLOAT_STACK;
  static constexpr const char* addressText = "illegal float address %x (max. address %x)";
  static constexpr const char* wrongTagText = "float pointer expected";
  static KX_FloatArray& memory(KX_VirtualMachine& m) { return m.floatMemory; }
  static KX_FloatArray& stack(KX_VirtualMachine& m) { return m.floatStack; }
  static int stackPointer(const KX_VirtualMachine& m) { return m.spf; }
};

template <>
struct BankTraits<kPointerBank> {
  static constexpr unsigned int memoryTag = VM_POINTER_POINTER;
  static constexpr unsigned int stackTag = VM_POINTER_POINTER_STACK;
  static constexpr const char* addressText = "illegal pointer address %x (max. address %x)";
  static constexpr const char* wrongTagText = "illegal pointer type (pointer pointer expected)";
  static KX_IntArray& memory(KX_VirtualMachine& m) { return m.pointerMemory; }
  static KX_IntArray& stack(KX_VirtualMachine& m) { return m.pointerStack; }
  static int stackPointer(const KX_VirtualMachine& m) { return m.spp; }
};

// Locating a memory operand ends in one of these, or in a failure code.
constexpr int kInMemory = 0;
constexpr int kInStack = 1;
constexpr int kIsObject = 2;

}  // namespace

// Finds P and the displacement of modes 2 to 4, then the space by P's tag.
// Returns kInMemory or kInStack with the checked cell index in `address`,
// kIsObject with P in `pointer`, or a negative failure code (the code
// negated, so it cannot be mistaken for a space).
template <int B>
int KX_VirtualMachine::locateOperand(const KX_VMDecodedWord& in, unsigned int& pointer, int& address) {
  using Traits = BankTraits<B>;
  unsigned int base;
  unsigned int displacement;
  if (in.addressMode == kAbsolute) {
    base = static_cast<unsigned int>(in.intConstant);
    displacement = 0;
  } else {
    base = in.systemRegister
               ? (static_cast<unsigned int>(Traits::stackPointer(*this)) & kVMAddressMask) | Traits::stackTag
               : pr[in.baseRegister];
    displacement = static_cast<unsigned int>(in.offset);
    // 32-bit wrap-around arithmetic, as the index register and offset are
    // whatever the script made them.
    if (in.addressMode == kIndexed) displacement += static_cast<unsigned int>(ir[in.indexRegister]);
  }
  pointer = base;
  const unsigned int tag = base & kVMTagMask;
  const unsigned int a = base & kVMAddressMask;
  if (tag == Traits::memoryTag) {
    const int cell = static_cast<int>(a + displacement);
    const int count = Traits::memory(*this).getCount();
    if (cell < 1 || cell >= count) {
      return -VM_reportError(VM_ERROR_ADDRESS, Traits::addressText, static_cast<unsigned int>(cell),
                             static_cast<unsigned int>(count - 1));
    }
    address = cell;
    return kInMemory;
  }
  if (tag == Traits::stackTag) {
    // A stack offset counts down from the stack pointer.
    const int cell = static_cast<int>(a - displacement);
    const int count = Traits::stack(*this).getCount();
    if (cell < 1 || cell >= count) {
      return -VM_reportError(VM_ERROR_ADDRESS, Traits::addressText, static_cast<unsigned int>(cell),
                             static_cast<unsigned int>(count - 1));
    }
    address = cell;
    return kInStack;
  }
  if (tag == VM_POINTER_OBJECT) return kIsObject;
  return -VM_reportError(VM_ERROR_TYPE, "%s", Traits::wrongTagText);
}

template <int B, class Value>
int KX_VirtualMachine::readMemoryOperand(const KX_VMDecodedWord& in, Value& out, bool keepObject) {
  using Traits = BankTraits<B>;
  unsigned int pointer = 0;
  int address = 0;
  const int where = locateOperand<B>(in, pointer, address);
  if (where == kInMemory) {
    out = static_cast<Value>(Traits::memory(*this).at(address));
    return 0;
  }
  if (where == kInStack) {
    out = static_cast<Value>(Traits::stack(*this).at(address));
    return 0;
  }
  if (where == kIsObject) {
    if constexpr (B == kPointerBank) {
      if (keepObject) {
        out = pointer;
        return 0;
      }
    }
    // The walk into a property (KX_VirtualMachineObjects.cpp).
    if constexpr (B == kIntBank) {
      return readIntProperty(pointer, in, out);
    } else if constexpr (B == kFloatBank) {
      return readFloatProperty(pointer, in, out);
    } else {
      return readPointerProperty(pointer, in, out);
    }
  }
  return -where;
}

template <int B, class Value>
int KX_VirtualMachine::writeMemoryOperand(const KX_VMDecodedWord& in, Value value) {
  using Traits = BankTraits<B>;
  // The immediate mode is no place; the instructions that write reject it
  // first, and this keeps any other caller from writing through a constant.
  if (in.addressMode == kImmediate) return VM_reportError(VM_ERROR_INSTRUCTION, "illegal address mode");
  unsigned int pointer = 0;
  int address = 0;
  const int where = locateOperand<B>(in, pointer, address);
  using Cell = std::remove_reference_t<decltype(Traits::memory(*this).at(0))>;
  // `set` makes a borrowed buffer the array's own before it writes.
  if (where == kInMemory) {
    Traits::memory(*this).set(address, static_cast<std::remove_const_t<Cell>>(value));
    return 0;
  }
  if (where == kInStack) {
    Traits::stack(*this).set(address, static_cast<std::remove_const_t<Cell>>(value));
    return 0;
  }
  if (where == kIsObject) {
    if constexpr (B == kIntBank) {
      return writeIntProperty(pointer, in, value);
    } else if constexpr (B == kFloatBank) {
      return writeFloatProperty(pointer, in, value);
    } else {
      return writePointerProperty(pointer, in, value);
    }
  }
  return -where;
}

int KX_VirtualMachine::readIntPlace(const KX_VMDecodedWord& in, int& out) {
  return readMemoryOperand<kIntBank>(in, out, false);
}

int KX_VirtualMachine::readFloatPlace(const KX_VMDecodedWord& in, float& out) {
  return readMemoryOperand<kFloatBank>(in, out, false);
}

// Modes 2 to 4, and the system registers of mode 1.
int KX_VirtualMachine::readPointerPlace(const KX_VMDecodedWord& in, unsigned int& out, bool keepObject) {
  if (in.addressMode == kRegister) {
    switch (in.sourceRegister) {
      case 0:
        out = (static_cast<unsigned int>(spi) & kVMAddressMask) | VM_POINTER_INT_STACK;
        return 0;
      case 1:
        out = (static_cast<unsigned int>(spf) & kVMAddressMask) | VM_POINTER_FLOAT_STACK;
        return 0;
      case 2:
        out = (static_cast<unsigned int>(spp) & kVMAddressMask) | VM_POINTER_POINTER_STACK;
        return 0;
      case 7:
        out = (static_cast<unsigned int>(cp) & kVMAddressMask) | VM_POINTER_CODE;
        return 0;
      default:
        return VM_reportError(VM_ERROR_INSTRUCTION, "illegal source register type");
    }
  }
  return readMemoryOperand<kPointerBank>(in, out, keepObject);
}

int KX_VirtualMachine::writeIntPlace(const KX_VMDecodedWord& in, int value) {
  return writeMemoryOperand<kIntBank>(in, value);
}

int KX_VirtualMachine::writeFloatPlace(const KX_VMDecodedWord& in, float value) {
  return writeMemoryOperand<kFloatBank>(in, value);
}

// Modes 2 to 4; in mode 1 only a system register comes here, and those
// cannot be written.
int KX_VirtualMachine::writePointerPlace(const KX_VMDecodedWord& in, unsigned int value) {
  if (in.addressMode == kRegister) return VM_reportError(VM_ERROR_INSTRUCTION, "illegal target register type");
  return writeMemoryOperand<kPointerBank>(in, value);
}
