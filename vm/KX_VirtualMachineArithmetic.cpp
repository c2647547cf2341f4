// The computing instructions: arithmetic per bank (group 12), functions
// (13 to 15), conversions (16), shifts and logic (17, 18), and the reserved
// NEW and DELETE (19, 20).
#include <climits>
#include <cmath>
#include <cstdint>
#include <cstring>

#include "qv_helper/qv_helper.h"
#include "vm/KX_VMOpcodeTable.h"
#include "vm/KX_VirtualMachine.h"
#include "vm/VM_reportError.h"

using namespace KX_VMWord;

namespace {

// The machine's one NaN: the bit pattern 0x7FFFFFFF.
float machineNaN() {
  const std::uint32_t bits = 0x7FFFFFFFu;
  float value;
  std::memcpy(&value, &bits, sizeof value);
  return value;
}

int illegalSubType() {
  return VM_reportError(VM_ERROR_INSTRUCTION, "illegal opcode sub type");
}
int illegalRegisterType() {
  return VM_reportError(VM_ERROR_INSTRUCTION, "illegal register type");
}

// Wrap-around int arithmetic, done on unsigned values so that no overflow
// is undefined.
int wrapAdd(int a, int b) {
  return static_cast<int>(static_cast<std::uint32_t>(a) + static_cast<std::uint32_t>(b));
}
int wrapSub(int a, int b) {
  return static_cast<int>(static_cast<std::uint32_t>(a) - static_cast<std::uint32_t>(b));
}
int wrapMul(int a, int b) {
  return static_cast<int>(static_cast<std::uint32_t>(a) * static_cast<std::uint32_t>(b));
}

int intDivide(int reg, int op) {
  if (op == 0) return reg < 0 ? INT_MIN : INT_MAX;
  // The one quotient with no int form: INT_MIN / -1 gives INT_MIN, what
  // two's complement negation wraps to, instead of trapping.
  if (op == -1) return wrapSub(0, reg);
  return reg / op;
}

int intModulo(int reg, int op) {
  // op 0 gives 0; INT_MIN % -1 would trap on the hardware: its remainder is 0.
  if (op == 0 || op == -1) return 0;
  return reg % op;
}

int arithInt(int subType, int reg, int op) {
  switch (subType) {
    case kMul:
      return wrapMul(reg, op);
    case kDiv:
      return intDivide(reg, op);
    case kMod:
      return intModulo(reg, op);
    case kAdd:
      return wrapAdd(reg, op);
    case kSub:
      return wrapSub(reg, op);
    default:  // kNeg: the old value of reg does not matter
      return wrapSub(0, op);
  }
}

float arithFloat(int subType, float reg, float op) {
  switch (subType) {
    case kMul:
      return reg * op;
    case kDiv:
      return op == 0.0f ? machineNaN() : reg / op;  // -0.0 is zero too
    case kMod:
      // fmod keeps the sign of reg whatever the sign of op.
      return op == 0.0f ? machineNaN() : std::fmod(reg, std::fabs(op));
    case kAdd:
      return reg + op;
    case kSub:
      return reg - op;
    default:  // kNeg
      return -op;
  }
}

float power(float base, float exponent) {
  if (exponent == 2.0f) return base * base;
  const double b = base;
  const double x = exponent;
  if (b > 0.0) return static_cast<float>(std::exp2(x * std::log2(b)));
  if (b == 0.0) {
    if (x > 0.0) return 0.0f;
    if (x < 0.0) return HUGE_VALF;
    return machineNaN();  // 0 to the power 0, and a NaN exponent
  }
  if (b < 0.0 && std::trunc(x) == x) {
    const float magnitude = static_cast<float>(std::exp2(x * std::log2(-b)));
    return std::fmod(x, 2.0) != 0.0 ? -magnitude : magnitude;
  }
  return machineNaN();  // a negative base with a fraction, or a NaN base
}

float function(int group, int subType, float reg, float x) {
  const double v = x;
  if (group == kGroupTrig) {
    switch (subType) {
      case kSin:
        return static_cast<float>(std::sin(v));
      case kCos:
        return static_cast<float>(std::cos(v));
      case kTan:
        return static_cast<float>(std::tan(v));
      case kAsin:
        return static_cast<float>(std::atan2(v, std::sqrt(1.0 - v * v)));
      case kAcos:
        return static_cast<float>(0.5 * M_PI - std::atan2(v, std::sqrt(1.0 - v * v)));
      default:  // kAtan
        return static_cast<float>(std::atan2(v, 1.0));
    }
  }
  if (group == kGroupPower) {
    switch (subType) {
      case kSqrt:
        return x < 0.0f ? machineNaN() : static_cast<float>(std::sqrt(v));
      case kPow:
        return power(reg, x);
      default:  // kRecip
        return x == 0.0f ? machineNaN() : 1.0f / x;
    }
  }
  return std::trunc(x);  // TRUNC, whatever the sub type
}

// Float to int, truncated toward zero. A NaN gives 0 and a value outside the
// int range the nearest end of it: the conversion itself would be undefined.
int truncateToInt(float value) {
  if (std::isnan(value)) return 0;
  if (value >= 2147483648.0f) return INT_MAX;
  if (value < -2147483648.0f) return INT_MIN;
  return static_cast<int>(value);
}

}  // namespace

int KX_VirtualMachine::opArith(const KX_VMDecodedWord& in) {
  if (in.subType > kNeg) return illegalSubType();
  int result;
  switch (in.registerType) {
    case 0: {
      int op;
      result = readIntOperand(in, op);
      if (result == 0) ir[in.targetRegister] = arithInt(in.subType, ir[in.targetRegister], op);
      return result;
    }
    case 1: {
      float op;
      result = readFloatOperand(in, op);
      if (result == 0) fr[in.targetRegister] = arithFloat(in.subType, fr[in.targetRegister], op);
      return result;
    }
    default: {
      if (in.subType != kAdd && in.subType != kSub) return illegalRegisterType();
      int op;
      result = readIntOperand(in, op);
      if (result != 0) return result;
      // The address wraps inside its 29 bits and the tag stays.
      const unsigned int reg = pr[in.targetRegister];
      const unsigned int moved =
          in.subType == kAdd ? reg + static_cast<unsigned int>(op) : reg - static_cast<unsigned int>(op);
      pr[in.targetRegister] = (reg & kVMTagMask) | (moved & kVMAddressMask);
      return 0;
    }
  }
}

int KX_VirtualMachine::opFunction(const KX_VMDecodedWord& in) {
  if (in.registerType != 1) return illegalRegisterType();
  if ((in.group == kGroupTrig && in.subType > kAtan) || (in.group == kGroupPower && in.subType > kRecip)) {
    return illegalSubType();
  }
  float x;
  const int result = readFloatOperand(in, x);
  if (result != 0) return result;
  fr[in.targetRegister] = function(in.group, in.subType, fr[in.targetRegister], x);
  return 0;
}

int KX_VirtualMachine::opConvert(const KX_VMDecodedWord& in) {
  int result;
  switch (in.subType) {
    case kFtoi: {
      if (in.registerType != 0) return illegalRegisterType();
      float op;
      result = readFloatOperand(in, op);
      if (result == 0) ir[in.targetRegister] = truncateToInt(op);
      return result;
    }
    case kItof: {
      if (in.registerType != 1) return illegalRegisterType();
      int op;
      result = readIntOperand(in, op);
      if (result == 0) fr[in.targetRegister] = static_cast<float>(op);
      return result;
    }
    default:
      return illegalSubType();
  }
}

int KX_VirtualMachine::opBits(const KX_VMDecodedWord& in) {
  if (in.registerType != 0) return illegalRegisterType();
  int op;
  const int result = readIntOperand(in, op);
  if (result != 0) return result;
  const std::uint32_t reg = static_cast<std::uint32_t>(ir[in.targetRegister]);
  const std::uint32_t value = static_cast<std::uint32_t>(op);
  const unsigned int count = value & 31u;
  std::uint32_t out;
  if (in.group == kGroupBitShift) {
    switch (in.subType) {
      case kShiftLeft:
        out = reg << count;
        break;
      case kShiftRight:
        // Sign kept: shift the complement of a negative value, then undo it.
        out = (reg & 0x80000000u) != 0 ? ~(~reg >> count) : reg >> count;
        break;
      case kShiftRightUnsigned:
        out = reg >> count;
        break;
      default:
        return illegalSubType();
    }
  } else {
    switch (in.subType) {
      case kAnd:
        out = reg & value;
        break;
      case kOr:
        out = reg | value;
        break;
      case kNot:
        out = ~value;
        break;
      case kXor:
        out = reg ^ value;
        break;
      default:
        return illegalSubType();
    }
  }
  ir[in.targetRegister] = static_cast<int>(out);
  return 0;
}

int KX_VirtualMachine::opReserved(const KX_VMDecodedWord& in) {
  // The machine allocates nothing at run time: the host hears of it, and the
  // program goes on behind the instruction if the report returns.
  if (in.group == kGroupNew) {
    KX_raiseError(VM_ERROR_INSTRUCTION, "NEW command not supported");
  } else {
    KX_raiseError(VM_ERROR_INSTRUCTION, "DELETE command not supported");
  }
  return 0;
}
