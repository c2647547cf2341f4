// COMP, the conditional LOAD, STORE and XCHANGE families, and LOADPTR.
#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <string>

#include "support/LiveBlockGuard.h"
#include "support/VMWordBuilder.h"
#include "vm/VM_reportError.h"

namespace {

using namespace vmw;

class DataInstructions : public LiveBlockTest {
 protected:
  void SetUp() override {
    LiveBlockTest::SetUp();
    machine = new KX_VirtualMachine();
    sizeMemories(*machine, 8);
  }
  void TearDown() override {
    delete machine;
    LiveBlockTest::TearDown();
  }
  // Makes `w` the program's first word; registers are set afterwards.
  void load(std::uint64_t w) { loadProgram(*machine, {w, word("HALT", kInt, imm(0))}); }
  int runOne(std::uint64_t w) {
    if (machine->code.getCount() < 2 || static_cast<std::uint64_t>(machine->code.at(1)) != w) load(w);
    return machine->step();
  }
  static void expectFailure(int result, int code, const std::string& text) {
    EXPECT_EQ(result, code);
    EXPECT_EQ(std::string(VM_getLastErrorText()), text);
  }

  KX_VirtualMachine* machine = nullptr;
};

TEST_F(DataInstructions, CompareIntsFloatsAndPointers) {
  struct IntCase {
    int reg;
    int op;
    int expected;
  };
  for (const IntCase& c :
       {IntCase{5, 3, 1}, IntCase{3, 5, -1}, IntCase{4, 4, 0}, IntCase{-1, 1, -1}, IntCase{INT32_MIN, INT32_MAX, -1}}) {
    load(word("COMP", kInt, 2, imm(c.op)));
    machine->ir[2] = c.reg;
    ASSERT_EQ(machine->step(), 0);
    EXPECT_EQ(machine->compareResult, c.expected) << c.reg << " " << c.op;
  }
  const float nan = std::numeric_limits<float>::quiet_NaN();
  struct FloatCase {
    float reg;
    float op;
    int expected;
  };
  for (const FloatCase& c : {FloatCase{2.5f, 1.0f, 1}, FloatCase{-3.0f, 1.0f, -1}, FloatCase{0.0f, -0.0f, 0},
                             FloatCase{nan, 1.0f, 0}, FloatCase{1.0f, nan, 0}}) {
    load(word("COMP", kFloat, 1, immf(c.op)));
    machine->fr[1] = c.reg;
    machine->compareResult = 1;
    ASSERT_EQ(machine->step(), 0);
    EXPECT_EQ(machine->compareResult, c.expected) << c.reg << " " << c.op;
  }
  struct PointerCase {
    unsigned int reg;
    unsigned int op;
    int expected;
  };
  for (const PointerCase& c : {
           PointerCase{VM_POINTER_FLOAT, VM_POINTER_CODE, 0},          // two nulls of different tags
           PointerCase{VM_POINTER_OBJECT, VM_POINTER_OBJECT | 1u, 1},  // null against a negative word
           PointerCase{intPtr(3), intPtr(2), 1},                       // same tag: by address
           PointerCase{intPtr(3), floatPtr(1), -1},                    // tags count
           PointerCase{VM_POINTER_INT_STACK | 1u, intPtr(1), -1},      // signed: the stack tag is negative
       }) {
    load(word("COMP", kPtr, 4, imm(c.op)));
    machine->pr[4] = c.reg;
    ASSERT_EQ(machine->step(), 0);
    EXPECT_EQ(machine->compareResult, c.expected) << std::hex << c.reg << " " << c.op;
  }
  // A failed read leaves compareResult as it was.
  load(word("COMP", kInt, 0, absolute(intPtr(8))));
  machine->compareResult = -1;
  expectFailure(machine->step(), VM_ERROR_ADDRESS, "illegal int address 8 (max. address 7)");
  EXPECT_EQ(machine->compareResult, -1);
}

TEST_F(DataInstructions, ConditionalMovesDoNothingWhenTheConditionFails) {
  // compareResult 1: LOADE does not hold, so its bad operand is never read.
  load(word("LOADE", kInt, 0, absolute(intPtr(99))));
  machine->compareResult = 1;
  EXPECT_EQ(machine->step(), 0);
  EXPECT_EQ(machine->cp, 2);
  // STORE in immediate mode: no failure with a false condition...
  load(word("STOREL", kInt, 0, imm(5)));
  machine->compareResult = 1;
  EXPECT_EQ(machine->step(), 0);
  // ...and "illegal address mode" with a true one.
  load(word("STOREG", kInt, 0, imm(5)));
  machine->compareResult = 1;
  expectFailure(machine->step(), VM_ERROR_INSTRUCTION, "illegal address mode");
  load(word("XCHANGE", kFloat, 0, imm(5)));
  expectFailure(machine->step(), VM_ERROR_INSTRUCTION, "illegal address mode");
  // Sub type 7 fails in all three families, whatever compareResult says.
  for (int group : {kGroupLoad, kGroupStore, kGroupExchange}) {
    load(rawWord(group, 7, kInt, 0, absolute(intPtr(1))));
    expectFailure(machine->step(), VM_ERROR_INSTRUCTION, "illegal opcode sub type");
  }
}

TEST_F(DataInstructions, LoadStoreAndExchangeInEachBank) {
  machine->intMemory.set(3, 30);
  machine->floatMemory.set(3, 3.5f);
  machine->pointerMemory.set(3, static_cast<int>(codePtr(1)));
  load(word("LOAD", kInt, 5, absolute(intPtr(3))));
  ASSERT_EQ(machine->step(), 0);
  EXPECT_EQ(machine->ir[5], 30);
  load(word("LOAD", kFloat, 5, absolute(floatPtr(3))));
  ASSERT_EQ(machine->step(), 0);
  EXPECT_EQ(machine->fr[5], 3.5f);
  load(word("LOAD", kPtr, 5, absolute(ptrPtr(3))));
  ASSERT_EQ(machine->step(), 0);
  EXPECT_EQ(machine->pr[5], codePtr(1));

  load(word("STORE", kInt, 1, absolute(intPtr(4))));
  machine->ir[1] = -8;
  ASSERT_EQ(machine->step(), 0);
  EXPECT_EQ(machine->intMemory.at(4), -8);
  load(word("STORE", kPtr, 1, reg(6)));
  machine->pr[1] = 0xC0000001u;
  ASSERT_EQ(machine->step(), 0);
  EXPECT_EQ(machine->pr[6], 0xC0000001u);

  load(word("XCHANGE", kFloat, 2, absolute(floatPtr(3))));
  machine->fr[2] = -1.0f;
  ASSERT_EQ(machine->step(), 0);
  EXPECT_EQ(machine->fr[2], 3.5f);
  EXPECT_EQ(machine->floatMemory.at(3), -1.0f);
  // Exchanging a register with itself keeps it.
  load(word("XCHANGE", kInt, 2, reg(2)));
  machine->ir[2] = 77;
  ASSERT_EQ(machine->step(), 0);
  EXPECT_EQ(machine->ir[2], 77);
  // A write that fails leaves both sides alone.
  load(word("XCHANGE", kPtr, 0, sys(0)));
  machine->pr[0] = 12;
  expectFailure(machine->step(), VM_ERROR_INSTRUCTION, "illegal target register type");
  EXPECT_EQ(machine->pr[0], 12u);
  load(word("STORE", kInt, 0, absolute(floatPtr(1))));
  expectFailure(machine->step(), VM_ERROR_TYPE, "int pointer expected");
}

TEST_F(DataInstructions, LoadPointerTakesTheAddressWithoutChecks) {
  load(word("LOADPTR", kInt, 3, imm(1)));
  expectFailure(machine->step(), VM_ERROR_INSTRUCTION, "illegal address mode");
  load(word("LOADPTR", kInt, 3, reg(1)));
  expectFailure(machine->step(), VM_ERROR_INSTRUCTION, "illegal address mode");
  // Absolute: the constant unchanged, whatever it points at.
  load(word("LOADPTR", kFloat, 3, absolute(0xFFFFFFFFu)));
  ASSERT_EQ(machine->step(), 0);
  EXPECT_EQ(machine->pr[3], 0xFFFFFFFFu);
  // Based and indexed: the sum wraps inside 29 bits and keeps the tag.
  load(word("LOADPTR", kInt, 3, based(1, 5)));
  machine->pr[1] = floatPtr(0x1FFFFFFE);
  ASSERT_EQ(machine->step(), 0);
  EXPECT_EQ(machine->pr[3], floatPtr(3));
  load(word("LOADPTR", kInt, 4, indexed(1, 2, -1)));
  machine->pr[1] = intPtr(10);
  machine->ir[2] = -20;
  ASSERT_EQ(machine->step(), 0);
  EXPECT_EQ(machine->pr[4], intPtr((10 - 21) & 0x1FFFFFFF));
  // On a stack pointer the offset is added, not subtracted, and
  // registerType picks the stack; the result goes to pr all the same.
  load(word("LOADPTR", kFloat, 5, stack(2)));
  machine->spf = 4;
  ASSERT_EQ(machine->step(), 0);
  EXPECT_EQ(machine->pr[5], VM_POINTER_FLOAT_STACK | 6u);
  load(word("LOADPTR", kPtr, 5, stackIndexed(1, 0)));
  machine->spp = 2;
  machine->ir[1] = 3;
  ASSERT_EQ(machine->step(), 0);
  EXPECT_EQ(machine->pr[5], VM_POINTER_POINTER_STACK | 5u);
  // The same offset as an operand reaches another cell: it counts down.
  load(word("LOADPTR", kInt, 6, stack(1)));
  machine->spi = 3;
  for (int v : {10, 20, 30, 40, 50, 60}) machine->intStack.append(v);
  ASSERT_EQ(machine->step(), 0);
  EXPECT_EQ(machine->pr[6], VM_POINTER_INT_STACK | 4u);
  int viaPointer = 0;
  int viaOperand = 0;
  KX_VMInstruction byPointer;
  byPointer.decode(word("LOAD", kInt, 0, based(6, 0)));
  KX_VMDecodedWord a = {};
  a.assign(byPointer);
  ASSERT_EQ(machine->readIntOperand(a, viaPointer), 0);
  KX_VMInstruction byStack;
  byStack.decode(word("LOAD", kInt, 0, stack(1)));
  KX_VMDecodedWord b = {};
  b.assign(byStack);
  ASSERT_EQ(machine->readIntOperand(b, viaOperand), 0);
  EXPECT_EQ(viaPointer, 40);
  EXPECT_EQ(viaOperand, 20);
}

TEST_F(DataInstructions, ParamPushesOntoTheStackOfItsBank) {
  loadProgram(*machine, {word("PARAM", kInt, imm(-4)), word("PARAM", kFloat, immf(0.25f)), word("PARAM", kPtr, sys(7)),
                         word("PARAM", kInt, absolute(intPtr(20)))});
  EXPECT_EQ(machine->execute(3), 0);
  ASSERT_EQ(machine->intStack.getCount(), 2);
  EXPECT_EQ(machine->intStack.at(1), -4);
  EXPECT_EQ(machine->floatStack.at(1), 0.25f);
  EXPECT_EQ(static_cast<unsigned int>(machine->pointerStack.at(1)), codePtr(3));
  // A push whose operand fails pushes nothing.
  expectFailure(machine->execute(1), VM_ERROR_ADDRESS, "illegal int address 14 (max. address 7)");
  EXPECT_EQ(machine->intStack.getCount(), 2);
}

}  // namespace
