// Builds instruction words by mnemonic, bank, target register and operand, so
// that test programs read like assembly:
//
//   word("ADD", kInt, 0, reg(1))          ADD ir0, ir1
//   word("JUMPL", kPtr, 0, imm(codePtr(3)))
//   word("LOAD", kFloat, 2, based(1, -4).property(7))
//
// Mnemonics come from the machine's own opcode table. Used by the tests and
// the benchmarks.
#pragma once

#include <cstdint>
#include <cstring>
#include <initializer_list>
#include <stdexcept>
#include <string>

#include "qv_helper/qv_helper.h"
#include "vm/KX_VMOpcodeTable.h"
#include "vm/KX_VMWordEncoder.h"
#include "vm/KX_VirtualMachine.h"

namespace vmw {

using namespace KX_VMWord;

enum Bank : int { kInt = 0, kFloat = 1, kPtr = 2 };

struct Operand : KX_VMOperandFields {
  // Adds a property id (modes 3 and 4).
  Operand property(int id) const {
    Operand copy = *this;
    copy.propertyId = static_cast<std::uint32_t>(id);
    copy.hasProperty = true;
    return copy;
  }
  // Sets bit 23.
  Operand withSystemBit() const {
    Operand copy = *this;
    copy.system = true;
    return copy;
  }
};

inline Operand imm(std::int64_t value) {
  Operand o;
  o.constant = static_cast<std::uint32_t>(value);
  return o;
}
inline Operand immf(float value) {
  Operand o;
  std::memcpy(&o.constant, &value, sizeof value);
  return o;
}
inline Operand reg(int source) {
  Operand o;
  o.mode = kRegister;
  o.source = source;
  return o;
}
// A system register: 0 spi, 1 spf, 2 spp, 7 cp.
inline Operand sys(int source) {
  return reg(source).withSystemBit();
}
inline Operand absolute(std::uint32_t pointer) {
  Operand o;
  o.mode = kAbsolute;
  o.constant = pointer;
  return o;
}
inline Operand based(int base, int offset) {
  Operand o;
  o.mode = kBased;
  o.base = base;
  o.offset = offset;
  return o;
}
// Based on the stack pointer of the operand's bank: offsets count down.
inline Operand stack(int offset) {
  return based(0, offset).withSystemBit();
}
inline Operand indexed(int base, int index, int offset) {
  Operand o = based(base, offset);
  o.mode = kIndexed;
  o.index = index;
  return o;
}
inline Operand stackIndexed(int index, int offset) {
  return indexed(0, index, offset).withSystemBit();
}

inline std::uint32_t codePtr(int address) {
  return VM_POINTER_CODE | static_cast<std::uint32_t>(address);
}
inline std::uint32_t intPtr(int address) {
  return VM_POINTER_INT | static_cast<std::uint32_t>(address);
}
inline std::uint32_t floatPtr(int address) {
  return VM_POINTER_FLOAT | static_cast<std::uint32_t>(address);
}
inline std::uint32_t ptrPtr(int address) {
  return VM_POINTER_POINTER | static_cast<std::uint32_t>(address);
}

// Group and sub type of a mnemonic, from the opcode table.
inline void opcodeOf(const char* mnemonic, int& group, int& subType) {
  for (group = 0; group <= kLastGroup; ++group) {
    for (subType = 0; subType < 8; ++subType) {
      const char* name = kOpcodeTable[group].mnemonics[subType];
      if (name != nullptr && std::strcmp(name, mnemonic) == 0) return;
    }
  }
  throw std::invalid_argument(std::string("unknown mnemonic ") + mnemonic);
}

// A word from raw fields, for words the table does not list.
inline std::uint64_t rawWord(int group, int subType, int bank, int target, const Operand& op) {
  return KX_encodeVMWord(group, subType, bank, target, op);
}

inline std::uint64_t word(const char* mnemonic, int bank, int target, const Operand& op) {
  int group;
  int subType;
  opcodeOf(mnemonic, group, subType);
  return rawWord(group, subType, bank, target, op);
}
// An instruction with an operand only (HALT, PARAM, JUMP, CALL...).
inline std::uint64_t word(const char* mnemonic, int bank, const Operand& op) {
  return word(mnemonic, bank, 0, op);
}
// RETURN and other instructions without operand.
inline std::uint64_t word(const char* mnemonic) {
  return word(mnemonic, kInt, 0, imm(0));
}
inline std::uint64_t locals(int ints, int floats, int pointers) {
  return place(kGroupLocals, kGroupShift, kGroupBits) | place(ints, kLocalIntsShift, kLocalBits) |
         place(floats, kLocalFloatsShift, kLocalBits) | place(pointers, kLocalPointersShift, kLocalBits);
}

// Replaces a machine's code by a place-holder word at address 0 and the
// given words from address 1 on, and starts it at 1.
inline void loadProgram(KX_VirtualMachine& machine, std::initializer_list<std::uint64_t> words) {
  machine.code.clear();
  machine.code.append(0);
  for (std::uint64_t w : words) machine.code.append(static_cast<long long>(w));
  machine.startMachine(1);
}

// Gives each memory `cells` cells (cell 0 included), zero.
inline void sizeMemories(KX_VirtualMachine& machine, int cells) {
  machine.intMemory.resize(cells);
  machine.floatMemory.resize(cells);
  machine.pointerMemory.resize(cells);
}

}  // namespace vmw
