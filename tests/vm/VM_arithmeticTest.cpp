// Arithmetic per bank, functions, conversions, shifts and logic, with their
// corner cases.
#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <limits>
#include <random>
#include <string>

#include "support/LiveBlockGuard.h"
#include "support/VMWordBuilder.h"
#include "vm/VM_reportError.h"

namespace {

using namespace vmw;

std::uint32_t bitsOf(float value) {
  std::uint32_t bits;
  std::memcpy(&bits, &value, sizeof bits);
  return bits;
}

class Arithmetic : public LiveBlockTest {
 protected:
  void SetUp() override {
    LiveBlockTest::SetUp();
    machine = new KX_VirtualMachine();
  }
  void TearDown() override {
    delete machine;
    LiveBlockTest::TearDown();
  }
  // Runs `mnemonic ir0, constant` with ir0 = reg; returns ir0.
  int intOp(const char* mnemonic, int reg, int op) {
    loadProgram(*machine, {word(mnemonic, kInt, 0, imm(op))});
    machine->ir[0] = reg;
    EXPECT_EQ(machine->step(), 0) << mnemonic;
    return machine->ir[0];
  }
  float floatOp(const char* mnemonic, float reg, float op) {
    loadProgram(*machine, {word(mnemonic, kFloat, 0, immf(op))});
    machine->fr[0] = reg;
    EXPECT_EQ(machine->step(), 0) << mnemonic;
    return machine->fr[0];
  }
  int failure(std::uint64_t w) {
    loadProgram(*machine, {w});
    return machine->step();
  }
  static void expectText(const char* text) { EXPECT_EQ(std::string(VM_getLastErrorText()), text); }

  KX_VirtualMachine* machine = nullptr;
};

constexpr std::uint32_t kNaNBits = 0x7FFFFFFFu;

TEST_F(Arithmetic, IntegerRulesAndCorners) {
  EXPECT_EQ(intOp("DIV", -7, 2), -3);
  EXPECT_EQ(intOp("MOD", -7, 2), -1);
  EXPECT_EQ(intOp("MOD", 7, -2), 1);
  EXPECT_EQ(intOp("DIV", 0, 0), 0x7FFFFFFF);
  EXPECT_EQ(intOp("DIV", 5, 0), 0x7FFFFFFF);
  EXPECT_EQ(intOp("DIV", -5, 0), INT32_MIN);
  EXPECT_EQ(intOp("MOD", 9, 0), 0);
  // No int quotient exists: it wraps rather than trapping.
  EXPECT_EQ(intOp("DIV", INT32_MIN, -1), INT32_MIN);
  EXPECT_EQ(intOp("MOD", INT32_MIN, -1), 0);
  EXPECT_EQ(intOp("MUL", 0x10000, 0x10001), 0x10000);  // low 32 bits
  EXPECT_EQ(intOp("ADD", INT32_MAX, 1), INT32_MIN);
  EXPECT_EQ(intOp("SUB", INT32_MIN, 1), INT32_MAX);
  EXPECT_EQ(intOp("NEG", 123, 5), -5);  // the old value does not matter
  EXPECT_EQ(intOp("NEG", 0, INT32_MIN), INT32_MIN);
  // NEG of a register by itself negates it.
  loadProgram(*machine, {word("NEG", kInt, 3, reg(3)), word("NEG", kInt, 4, reg(3))});
  machine->ir[3] = 9;
  machine->ir[4] = 100;
  ASSERT_EQ(machine->execute(2), 0);
  EXPECT_EQ(machine->ir[3], -9);
  EXPECT_EQ(machine->ir[4], 9);
}

TEST_F(Arithmetic, IntegerResultsMatchAWideComputation) {
  std::mt19937 random(3);
  const char* names[] = {"MUL", "DIV", "MOD", "ADD", "SUB"};
  for (int i = 0; i < 2000; ++i) {
    const int a = static_cast<int>(random());
    const int b = i % 7 == 0 ? static_cast<int>(random() % 5) - 2 : static_cast<int>(random());
    const int sub = i % 5;
    const long long wa = a;
    const long long wb = b;
    long long expected;
    switch (sub) {
      case 0:
        expected = static_cast<std::int32_t>(static_cast<std::uint32_t>(wa * wb));
        break;
      case 1:
        expected =
            wb == 0 ? (a < 0 ? INT32_MIN : INT32_MAX) : static_cast<std::int32_t>(static_cast<std::uint32_t>(wa / wb));
        break;
      case 2:
        expected = wb == 0 ? 0 : wa % wb;
        break;
      case 3:
        expected = static_cast<std::int32_t>(static_cast<std::uint32_t>(wa + wb));
        break;
      default:
        expected = static_cast<std::int32_t>(static_cast<std::uint32_t>(wa - wb));
        break;
    }
    ASSERT_EQ(intOp(names[sub], a, b), expected) << names[sub] << " " << a << " " << b;
  }
}

TEST_F(Arithmetic, FloatRulesAndCorners) {
  EXPECT_EQ(floatOp("MOD", -7.5f, -2.0f), -1.5f);
  EXPECT_EQ(floatOp("MOD", 7.5f, -2.0f), 1.5f);
  EXPECT_EQ(bitsOf(floatOp("MOD", 1.0f, 0.0f)), kNaNBits);
  EXPECT_EQ(bitsOf(floatOp("DIV", 1.0f, 0.0f)), kNaNBits);
  EXPECT_EQ(bitsOf(floatOp("DIV", 1.0f, -0.0f)), kNaNBits);  // -0.0 is zero too
  EXPECT_EQ(floatOp("DIV", 1.0f, 4.0f), 0.25f);
  EXPECT_EQ(floatOp("MUL", 1.5f, -2.0f), -3.0f);
  EXPECT_EQ(floatOp("ADD", 0.5f, 0.25f), 0.75f);
  EXPECT_EQ(floatOp("SUB", 0.5f, 0.25f), 0.25f);
  EXPECT_EQ(floatOp("NEG", 8.0f, 2.0f), -2.0f);
}

TEST_F(Arithmetic, PointerArithmeticWrapsInsideTheAddressAndKeepsTheTag) {
  loadProgram(*machine, {word("ADD", kPtr, 1, imm(1))});
  machine->pr[1] = floatPtr(0x1FFFFFFF);
  ASSERT_EQ(machine->step(), 0);
  EXPECT_EQ(machine->pr[1], floatPtr(0));
  loadProgram(*machine, {word("SUB", kPtr, 1, reg(2))});
  machine->pr[1] = VM_POINTER_OBJECT | 2u;
  machine->ir[2] = 5;  // the operand is read as an int
  ASSERT_EQ(machine->step(), 0);
  EXPECT_EQ(machine->pr[1], VM_POINTER_OBJECT | 0x1FFFFFFDu);
  for (const char* name : {"MUL", "DIV", "MOD", "NEG"}) {
    EXPECT_EQ(failure(word(name, kPtr, 1, imm(1))), VM_ERROR_INSTRUCTION) << name;
    expectText("illegal register type");
  }
  EXPECT_EQ(failure(rawWord(kGroupArith, 6, kInt, 0, imm(1))), VM_ERROR_INSTRUCTION);
  expectText("illegal opcode sub type");
  EXPECT_EQ(failure(rawWord(kGroupArith, 7, kPtr, 0, imm(1))), VM_ERROR_INSTRUCTION);
  expectText("illegal opcode sub type");  // the sub type is tested first
}

TEST_F(Arithmetic, FunctionsOfAFloat) {
  const float pi = 3.14159265f;
  EXPECT_NEAR(floatOp("SIN", 0, pi / 2), 1.0f, 1e-6f);
  EXPECT_NEAR(floatOp("COS", 0, pi), -1.0f, 1e-6f);
  EXPECT_NEAR(floatOp("TAN", 0, pi / 4), 1.0f, 1e-6f);
  EXPECT_NEAR(floatOp("ASIN", 0, 0.5f), pi / 6, 1e-6f);
  EXPECT_NEAR(floatOp("ACOS", 0, 0.5f), pi / 3, 1e-6f);
  EXPECT_NEAR(floatOp("ASIN", 0, 1.0f), pi / 2, 1e-6f);
  EXPECT_TRUE(std::isnan(floatOp("ASIN", 0, 2.0f)));
  EXPECT_NEAR(floatOp("ATAN", 0, 1.0f), pi / 4, 1e-6f);
  EXPECT_EQ(floatOp("SQRT", 0, 6.25f), 2.5f);
  EXPECT_EQ(bitsOf(floatOp("SQRT", 0, -1.0f)), kNaNBits);
  EXPECT_EQ(floatOp("SQRT", 0, -0.0f), -0.0f);
  EXPECT_EQ(floatOp("RECIP", 0, 4.0f), 0.25f);
  EXPECT_EQ(machine->cp, 2);  // the next instruction follows
  EXPECT_EQ(bitsOf(floatOp("RECIP", 0, 0.0f)), kNaNBits);
  EXPECT_EQ(floatOp("TRUNC", 0, -2.9f), -2.0f);
  EXPECT_EQ(floatOp("TRUNC", 0, 2.9f), 2.0f);
  // TRUNC takes any sub type; the others their listed ones only.
  loadProgram(*machine, {rawWord(kGroupTrunc, 6, kFloat, 0, immf(7.7f))});
  ASSERT_EQ(machine->step(), 0);
  EXPECT_EQ(machine->fr[0], 7.0f);
  EXPECT_EQ(failure(rawWord(kGroupTrig, 6, kFloat, 0, immf(1))), VM_ERROR_INSTRUCTION);
  expectText("illegal opcode sub type");
  EXPECT_EQ(failure(rawWord(kGroupPower, 3, kFloat, 0, immf(1))), VM_ERROR_INSTRUCTION);
  expectText("illegal opcode sub type");
  // The register type is tested before the sub type.
  for (std::uint64_t w : {word("SIN", kInt, 0, imm(1)), word("SQRT", kPtr, 0, imm(1)), word("TRUNC", kInt, 0, imm(1)),
                          rawWord(kGroupPower, 7, kInt, 0, imm(1))}) {
    EXPECT_EQ(failure(w), VM_ERROR_INSTRUCTION);
    expectText("illegal register type");
  }
}

TEST_F(Arithmetic, PowerFollowsItsTableRowByRow) {
  const float inf = std::numeric_limits<float>::infinity();
  const float nan = std::numeric_limits<float>::quiet_NaN();
  EXPECT_EQ(floatOp("POW", 3.0f, 2.0f), 9.0f);
  EXPECT_EQ(floatOp("POW", -3.0f, 2.0f), 9.0f);
  EXPECT_TRUE(std::isnan(floatOp("POW", nan, 2.0f)));
  EXPECT_NEAR(floatOp("POW", 2.0f, 10.0f), 1024.0f, 1e-3f);
  EXPECT_NEAR(floatOp("POW", 9.0f, 0.5f), 3.0f, 1e-5f);
  EXPECT_NEAR(floatOp("POW", 4.0f, -1.0f), 0.25f, 1e-6f);
  EXPECT_EQ(floatOp("POW", 0.0f, 3.0f), 0.0f);
  EXPECT_EQ(bitsOf(floatOp("POW", 0.0f, 0.0f)), kNaNBits);
  EXPECT_EQ(floatOp("POW", 0.0f, -1.0f), inf);
  EXPECT_EQ(bitsOf(floatOp("POW", 0.0f, -1.0f)), 0x7F800000u);
  EXPECT_NEAR(floatOp("POW", -2.0f, 3.0f), -8.0f, 1e-5f);
  EXPECT_NEAR(floatOp("POW", -2.0f, 4.0f), 16.0f, 1e-5f);
  EXPECT_NEAR(floatOp("POW", -2.0f, -1.0f), -0.5f, 1e-6f);
  EXPECT_EQ(bitsOf(floatOp("POW", -2.0f, 0.5f)), kNaNBits);
  EXPECT_EQ(bitsOf(floatOp("POW", nan, 3.0f)), kNaNBits);
  // Against the library's pow where the rows agree with it.
  for (float b : {0.5f, 1.5f, 7.0f, 100.0f}) {
    for (float x : {-2.5f, -1.0f, 0.0f, 0.75f, 3.0f}) {
      EXPECT_NEAR(floatOp("POW", b, x), std::pow(b, x), 1e-4f * std::fabs(std::pow(b, x))) << b << "^" << x;
    }
  }
}

TEST_F(Arithmetic, Conversions) {
  auto ftoi = [&](float value) {
    loadProgram(*machine, {word("FTOI", kInt, 1, immf(value))});
    EXPECT_EQ(machine->step(), 0);
    return machine->ir[1];
  };
  EXPECT_EQ(ftoi(2.9f), 2);
  EXPECT_EQ(ftoi(-2.9f), -2);
  EXPECT_EQ(ftoi(-0.5f), 0);
  EXPECT_EQ(ftoi(2147483520.0f), 2147483520);
  // No int form: the nearest end of the range, and 0 for NaN.
  EXPECT_EQ(ftoi(3e9f), INT32_MAX);
  EXPECT_EQ(ftoi(-3e9f), INT32_MIN);
  EXPECT_EQ(ftoi(-2147483648.0f), INT32_MIN);
  EXPECT_EQ(ftoi(std::numeric_limits<float>::infinity()), INT32_MAX);
  EXPECT_EQ(ftoi(std::numeric_limits<float>::quiet_NaN()), 0);
  loadProgram(*machine, {word("ITOF", kFloat, 2, imm(16777217))});
  ASSERT_EQ(machine->step(), 0);
  EXPECT_EQ(machine->fr[2], 16777216.0f);  // rounded to nearest
  EXPECT_EQ(failure(word("FTOI", kFloat, 0, imm(1))), VM_ERROR_INSTRUCTION);
  expectText("illegal register type");
  EXPECT_EQ(failure(word("ITOF", kInt, 0, imm(1))), VM_ERROR_INSTRUCTION);
  expectText("illegal register type");
  EXPECT_EQ(failure(rawWord(kGroupConvert, 2, kInt, 0, imm(1))), VM_ERROR_INSTRUCTION);
  expectText("illegal opcode sub type");
}

TEST_F(Arithmetic, ShiftsAndLogic) {
  EXPECT_EQ(intOp("SHIFTL", 1, 33), 2);  // masked to 31
  EXPECT_EQ(intOp("SHIFTL", 3, 31), INT32_MIN);
  EXPECT_EQ(intOp("SHIFTR", -16, 2), -4);
  EXPECT_EQ(intOp("SHIFTR", INT32_MIN, 31), -1);
  EXPECT_EQ(intOp("SHIFTR", 16, 34), 4);
  EXPECT_EQ(intOp("BSHIFTR", -16, 28), 0xF);
  EXPECT_EQ(intOp("BSHIFTR", -1, 0), -1);
  EXPECT_EQ(intOp("AND", 0x0FF0, 0x00FF), 0x00F0);
  EXPECT_EQ(intOp("OR", 0x0F00, 0x00F0), 0x0FF0);
  EXPECT_EQ(intOp("XOR", 0x0FF0, 0x00FF), 0x0F0F);
  EXPECT_EQ(intOp("NOT", 12345, 0), -1);  // the old value does not matter
  EXPECT_EQ(failure(word("AND", kFloat, 0, imm(1))), VM_ERROR_INSTRUCTION);
  expectText("illegal register type");
  // An unlisted sub type fails after the operand has been read.
  EXPECT_EQ(failure(rawWord(kGroupBitShift, 3, kInt, 0, absolute(intPtr(4)))), VM_ERROR_ADDRESS);
  EXPECT_EQ(failure(rawWord(kGroupBitShift, 3, kInt, 0, imm(1))), VM_ERROR_INSTRUCTION);
  expectText("illegal opcode sub type");
  EXPECT_EQ(failure(rawWord(kGroupLogic, 4, kInt, 0, imm(1))), VM_ERROR_INSTRUCTION);
  expectText("illegal opcode sub type");
}

TEST_F(Arithmetic, AFailedOperandLeavesTheTargetUnchanged) {
  loadProgram(*machine, {word("ADD", kInt, 2, absolute(intPtr(1)))});
  machine->ir[2] = 5;
  EXPECT_EQ(machine->step(), VM_ERROR_ADDRESS);
  EXPECT_EQ(machine->ir[2], 5);
  loadProgram(*machine, {word("SQRT", kFloat, 2, absolute(intPtr(1)))});
  machine->fr[2] = 5.0f;
  EXPECT_EQ(machine->step(), VM_ERROR_TYPE);
  expectText("float pointer expected");
  EXPECT_EQ(machine->fr[2], 5.0f);
}

}  // namespace
