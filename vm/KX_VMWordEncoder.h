// The inverse of KX_VMInstruction::decode for one operand: packs the fields of
// an instruction into its 64-bit word. Shared by the assembler and by tools
// that build code words directly, so that there is one encoder to keep in step
// with the decoder.
#pragma once

#include <cstdint>

#include "vm/KX_VMInstruction.h"

// The fields of an instruction's operand; which ones count depends on `mode`.
struct KX_VMOperandFields {
  int mode = KX_VMWord::kImmediate;
  std::uint32_t constant = 0;  // modes 0 and 2
  int source = 0;              // mode 1
  int base = 0;                // modes 3 and 4
  int index = 0;               // mode 4
  std::int32_t offset = 0;     // modes 3 and 4
  bool system = false;         // bit 23
  bool hasProperty = false;    // modes 3 and 4
  std::uint32_t propertyId = 0;
};

// Fields wider than their place in the word are cut to it.
inline std::uint64_t KX_encodeVMWord(int group, int subType, int bank, int target, const KX_VMOperandFields& op) {
  using namespace KX_VMWord;
  std::uint64_t w = place(group, kGroupShift, kGroupBits) | place(subType, kSubTypeShift, kSubTypeBits) |
                    place(target, kTargetShift, kTargetBits) | place(bank, kRegisterTypeShift, kRegisterTypeBits) |
                    place(op.mode, kAddressModeShift, kAddressModeBits) |
                    place(op.system ? 1 : 0, kSystemRegisterShift, 1);
  switch (op.mode) {
    case kImmediate:
    case kAbsolute:
      w |= place(op.constant, kConstantShift, kConstantBits);
      break;
    case kRegister:
      w |= place(op.source, kSourceShift, kSourceBits);
      break;
    default:
      w |= place(op.base, kBaseShift, kBaseBits) |
           place(static_cast<std::uint32_t>(op.offset), kOffsetShift, kOffsetBits);
      if (op.mode == kIndexed) w |= place(op.index, kIndexShift, kIndexBits);
      if (op.hasProperty) w |= place(1, kHasPropertyShift, 1) | place(op.propertyId, kPropertyShift, kPropertyBits);
      break;
  }
  return w;
}
