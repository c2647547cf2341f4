#include "vm/KX_VMInstruction.h"

#include <cstring>

#include "qv_helper/qv_helper.h"
#include "vm/KX_VMOpcodeTable.h"
#include "vm/VM_reportError.h"

using namespace KX_VMWord;

int KX_VMInstruction::decode(std::uint32_t low, std::uint32_t high) {
  const std::uint64_t word = (std::uint64_t{high} << 32) | low;
  group = static_cast<int>(field(word, kGroupShift, kGroupBits));
  subType = static_cast<int>(field(word, kSubTypeShift, kSubTypeBits));
  if (group > kLastGroup) return VM_reportError(VM_ERROR_INSTRUCTION, "unknown OpCode group");

  if (group == kGroupLocals) {
    if (subType != 0) return VM_reportError(VM_ERROR_INSTRUCTION, "unknown OpCodeSubType for LOCALS");
    localInts = static_cast<int>(field(word, kLocalIntsShift, kLocalBits));
    localFloats = static_cast<int>(field(word, kLocalFloatsShift, kLocalBits));
    localPointers = static_cast<int>(field(word, kLocalPointersShift, kLocalBits));
    return 0;
  }

  targetRegister = static_cast<int>(field(word, kTargetShift, kTargetBits));
  registerType = static_cast<unsigned char>(field(word, kRegisterTypeShift, kRegisterTypeBits));
  if (registerType >= kRegisterTypeCount) return VM_reportError(VM_ERROR_INSTRUCTION, "illegal target register type");

  addressMode = static_cast<unsigned char>(field(word, kAddressModeShift, kAddressModeBits));
  if (addressMode >= kAddressModeCount) return VM_reportError(VM_ERROR_INSTRUCTION, "illegal address mode");

  switch (addressMode) {
    case kImmediate:
      intConstant = static_cast<std::int32_t>(field(word, kConstantShift, kConstantBits));
      std::memcpy(&floatConstant, &intConstant, sizeof floatConstant);
      hasProperty = false;
      break;
    case kRegister:
      sourceRegister = static_cast<int>(field(word, kSourceShift, kSourceBits));
      hasProperty = false;
      break;
    case kAbsolute:
      intConstant = static_cast<std::int32_t>(field(word, kConstantShift, kConstantBits));
      hasProperty = false;
      break;
    default: {  // based and indexed
      baseRegister = static_cast<int>(field(word, kBaseShift, kBaseBits));
      // Sign-extend the 24-bit offset through the top of a 32-bit value.
      const std::uint32_t raw = static_cast<std::uint32_t>(field(word, kOffsetShift, kOffsetBits));
      offset = static_cast<std::int32_t>(raw << 8) >> 8;
      hasProperty = field(word, kHasPropertyShift, 1) != 0;
      if (addressMode == kIndexed) indexRegister = static_cast<int>(field(word, kIndexShift, kIndexBits));
      if (hasProperty) propertyId = static_cast<int>(field(word, kPropertyShift, kPropertyBits));
      break;
    }
  }
  systemRegister = field(word, kSystemRegisterShift, 1) != 0;
  return 0;
}
