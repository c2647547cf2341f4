// One decoded instruction word of the script machine.
//
// An instruction is a 64-bit word, stored little-endian. Bit 0 is the least
// significant. All groups but LOCALS:
//
//   63            48 47                    24 23 22 21  19 18  16 15  13 12 11 10   8 7   5 4     0
//  +----------------+------------------------+--+--+------+------+------+-----+------+-----+-------+
//  |   propertyId   |        offset          |sy|hp|index | base | mode |rtype|target| sub | group |  modes 3, 4
//  +----------------+------------------------+--+--+------+------+------+-----+------+-----+-------+
//  | unused |         intConstant (bits 24-55)  |sy|     unused   | mode |rtype|target| sub | group |  modes 0, 2
//  +--------+-----------------------------------+--+--------------+------+-----+------+-----+-------+
//  |          unused              | src (24-26) |sy|     unused   | mode |rtype|target| sub | group |  mode 1
//  +------------------------------+-------------+--+--------------+------+-----+------+-----+-------+
//
//   sy = systemRegister (bit 23, read in every mode), hp = hasProperty (bit 22,
//   modes 3 and 4 only). `offset` is a signed 24-bit field; `propertyId` is
//   carried only when hp is set. Mode 3 ignores the index field.
//
// LOCALS (group 1, sub type 0) lays out its three unsigned counts instead:
//
//   63    56 55          40 39          24 23           8 7   5 4     0
//  +--------+--------------+--------------+--------------+-----+-------+
//  | unused | localPointers|  localFloats |   localInts  |  0  |   1   |
//  +--------+--------------+--------------+--------------+-----+-------+
//
// Decoding writes only the fields a word carries: the others keep the values
// of the word decoded before, `propertyId` above all.
#pragma once

#include <cstdint>

#include "foundation/KX_Base.h"

namespace KX_VMWord {

// Position and width of each field, in bits of the 64-bit word.
constexpr int kGroupShift = 0, kGroupBits = 5;
constexpr int kSubTypeShift = 5, kSubTypeBits = 3;
constexpr int kTargetShift = 8, kTargetBits = 3;
constexpr int kRegisterTypeShift = 11, kRegisterTypeBits = 2;
constexpr int kAddressModeShift = 13, kAddressModeBits = 3;
constexpr int kBaseShift = 16, kBaseBits = 3;
constexpr int kIndexShift = 19, kIndexBits = 3;
constexpr int kHasPropertyShift = 22;
constexpr int kSystemRegisterShift = 23;
constexpr int kSourceShift = 24, kSourceBits = 3;
constexpr int kConstantShift = 24, kConstantBits = 32;
constexpr int kOffsetShift = 24, kOffsetBits = 24;
constexpr int kPropertyShift = 48, kPropertyBits = 16;
constexpr int kLocalIntsShift = 8, kLocalFloatsShift = 24, kLocalPointersShift = 40, kLocalBits = 16;

constexpr std::uint64_t field(std::uint64_t word, int shift, int bits) {
  return (word >> shift) & ((std::uint64_t{1} << bits) - 1);
}
constexpr std::uint64_t place(std::uint64_t value, int shift, int bits) {
  return (value & ((std::uint64_t{1} << bits) - 1)) << shift;
}

// The highest group, the number of register banks and of address modes.
constexpr int kLastGroup = 22;
constexpr int kRegisterTypeCount = 3;
constexpr int kAddressModeCount = 5;

enum AddressMode : int { kImmediate = 0, kRegister = 1, kAbsolute = 2, kBased = 3, kIndexed = 4 };

}  // namespace KX_VMWord

class KX_VMInstruction : public KX_Base {
 public:
  KX_VMInstruction() = default;
  KX_VMInstruction(const KX_VMInstruction&) = default;
  KX_VMInstruction& operator=(const KX_VMInstruction&) = default;
  ~KX_VMInstruction() override = default;
  KX_Base* newInstance() const override { return new KX_VMInstruction(); }
  void copyFrom(const KX_Base* source) override { *this = *static_cast<const KX_VMInstruction*>(source); }

  // Splits the word given as its low and high 32 bits into the fields, in the
  // order of the checks: group, LOCALS sub type, register type, address mode.
  // Returns 0 or VM_ERROR_INSTRUCTION (reported with its text). Fields written
  // before a failing check keep their new values.
  int decode(std::uint32_t low, std::uint32_t high);
  int decode(std::uint64_t word) {
    return decode(static_cast<std::uint32_t>(word), static_cast<std::uint32_t>(word >> 32));
  }

  int group = 0;                   // opcode group, 0 to 22
  int subType = 0;                 // opcode sub type, 0 to 7
  int targetRegister = 0;          // 0 to 7
  int sourceRegister = 0;          // 0 to 7
  unsigned char registerType = 0;  // bank of the target: 0 int, 1 float, 2 pointer
  unsigned char addressMode = 0;   // 0 immediate, 1 register, 2 absolute, 3 based, 4 indexed
  int baseRegister = 0;            // 0 to 7
  int indexRegister = 0;           // 0 to 7
  std::int32_t intConstant = 0;    // constant of modes 0 and 2
  float floatConstant = 0.0f;      // the same 32 bits read as a float
  int offset = 0;                  // signed displacement of modes 3 and 4
  int propertyId = 0;              // 16-bit property or method id
  bool hasProperty = false;        // propertyId was present in the word
  bool systemRegister = false;     // bit 23: stack pointer base, or a system register
  int localInts = 0;               // operands of LOCALS
  int localFloats = 0;
  int localPointers = 0;
};
