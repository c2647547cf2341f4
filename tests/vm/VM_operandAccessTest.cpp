// Reading and writing operands in every address mode and bank, and every
// address check with its code and text.
#include <gtest/gtest.h>

#include <string>

#include "support/LiveBlockGuard.h"
#include "support/VMWordBuilder.h"
#include "vm/VM_reportError.h"

namespace {

using namespace vmw;

class OperandAccess : public LiveBlockTest {
 protected:
  void SetUp() override {
    LiveBlockTest::SetUp();
    machine = new KX_VirtualMachine();
    sizeMemories(*machine, 10);
    for (int i = 1; i < 10; ++i) {
      machine->intMemory.set(i, 100 + i);
      machine->floatMemory.set(i, 0.5f + static_cast<float>(i));
      machine->pointerMemory.set(i, static_cast<int>(intPtr(i)));
    }
  }
  void TearDown() override {
    delete machine;
    LiveBlockTest::TearDown();
  }

  static KX_VMDecodedWord decoded(std::uint64_t w) {
    KX_VMInstruction in;
    EXPECT_EQ(in.decode(w), 0);
    KX_VMDecodedWord out = {};
    out.assign(in);
    return out;
  }
  int readInt(const Operand& op, int& out) { return machine->readIntOperand(decoded(word("LOAD", kInt, 0, op)), out); }
  int readFloat(const Operand& op, float& out) {
    return machine->readFloatOperand(decoded(word("LOAD", kFloat, 0, op)), out);
  }
  int readPointer(const Operand& op, unsigned int& out, bool keepObject = false) {
    return machine->readPointerOperand(decoded(word("LOAD", kPtr, 0, op)), out, keepObject);
  }
  // Expects a failure with this code and text.
  static void expectFailure(int result, int code, const std::string& text) {
    EXPECT_EQ(result, code);
    EXPECT_EQ(VM_getLastErrorCode(), code);
    EXPECT_EQ(std::string(VM_getLastErrorText()), text);
  }

  KX_VirtualMachine* machine = nullptr;
};

TEST_F(OperandAccess, ImmediateAndRegisterModes) {
  machine->ir[3] = -5;
  machine->fr[4] = 2.25f;
  machine->pr[5] = 0xDEADBEEFu;
  int i = 0;
  float f = 0;
  unsigned int p = 0;
  ASSERT_EQ(readInt(imm(-42), i), 0);
  EXPECT_EQ(i, -42);
  ASSERT_EQ(readFloat(immf(1.75f), f), 0);
  EXPECT_EQ(f, 1.75f);
  ASSERT_EQ(readPointer(imm(0xC0000003u), p), 0);
  EXPECT_EQ(p, 0xC0000003u);
  ASSERT_EQ(readInt(reg(3), i), 0);
  EXPECT_EQ(i, -5);
  ASSERT_EQ(readFloat(reg(4), f), 0);
  EXPECT_EQ(f, 2.25f);
  ASSERT_EQ(readPointer(reg(5), p), 0);
  EXPECT_EQ(p, 0xDEADBEEFu);
  // Int and float reads and writes in mode 1 ignore bit 23.
  ASSERT_EQ(readInt(sys(3), i), 0);
  EXPECT_EQ(i, -5);
  ASSERT_EQ(readFloat(sys(4), f), 0);
  EXPECT_EQ(f, 2.25f);
  ASSERT_EQ(machine->writeIntOperand(decoded(word("STORE", kInt, 0, sys(6))), 8), 0);
  EXPECT_EQ(machine->ir[6], 8);
  ASSERT_EQ(machine->writeFloatOperand(decoded(word("STORE", kFloat, 0, reg(6))), 9.5f), 0);
  EXPECT_EQ(machine->fr[6], 9.5f);
  ASSERT_EQ(machine->writePointerOperand(decoded(word("STORE", kPtr, 0, reg(6))), 0x40000002u), 0);
  EXPECT_EQ(machine->pr[6], 0x40000002u);
}

TEST_F(OperandAccess, SystemRegistersReadAsTaggedPointersAndCannotBeWritten) {
  machine->spi = 3;
  machine->spf = 4;
  machine->spp = 0x3FFFFFFF;  // cut to 29 bits
  machine->cp = 7;
  unsigned int p = 0;
  ASSERT_EQ(readPointer(sys(0), p), 0);
  EXPECT_EQ(p, VM_POINTER_INT_STACK | 3u);
  ASSERT_EQ(readPointer(sys(1), p), 0);
  EXPECT_EQ(p, VM_POINTER_FLOAT_STACK | 4u);
  ASSERT_EQ(readPointer(sys(2), p), 0);
  EXPECT_EQ(p, VM_POINTER_POINTER_STACK | 0x1FFFFFFFu);
  ASSERT_EQ(readPointer(sys(7), p), 0);
  EXPECT_EQ(p, VM_POINTER_CODE | 7u);
  for (int source : {3, 4, 5, 6}) {
    p = 12345;
    expectFailure(readPointer(sys(source), p), VM_ERROR_INSTRUCTION, "illegal source register type");
    EXPECT_EQ(p, 12345u);
  }
  machine->pr[0] = 1;
  expectFailure(machine->writePointerOperand(decoded(word("STORE", kPtr, 0, sys(0))), 5), VM_ERROR_INSTRUCTION,
                "illegal target register type");
  EXPECT_EQ(machine->pr[0], 1u);
}

TEST_F(OperandAccess, AbsoluteModeFollowsTheTagIntoItsBank) {
  int i = 0;
  float f = 0;
  unsigned int p = 0;
  ASSERT_EQ(readInt(absolute(intPtr(4)), i), 0);
  EXPECT_EQ(i, 104);
  ASSERT_EQ(readFloat(absolute(floatPtr(5)), f), 0);
  EXPECT_EQ(f, 5.5f);
  ASSERT_EQ(readPointer(absolute(ptrPtr(9)), p), 0);
  EXPECT_EQ(p, intPtr(9));
  // The constant 0x20000005 is no int pointer, but reads as a float.
  expectFailure(readInt(absolute(0x20000005u), i), VM_ERROR_TYPE, "int pointer expected");
  ASSERT_EQ(readFloat(absolute(0x20000005u), f), 0);
  EXPECT_EQ(f, 5.5f);
  expectFailure(readFloat(absolute(intPtr(5)), f), VM_ERROR_TYPE, "float pointer expected");
  expectFailure(readPointer(absolute(codePtr(1)), p), VM_ERROR_TYPE, "illegal pointer type (pointer pointer expected)");
  // A pointer never reaches another bank's stack either.
  expectFailure(readInt(absolute(VM_POINTER_FLOAT_STACK | 1u), i), VM_ERROR_TYPE, "int pointer expected");
  // Writes go through set.
  ASSERT_EQ(machine->writeIntOperand(decoded(word("STORE", kInt, 0, absolute(intPtr(2)))), -9), 0);
  EXPECT_EQ(machine->intMemory.at(2), -9);
  ASSERT_EQ(machine->writeFloatOperand(decoded(word("STORE", kFloat, 0, absolute(floatPtr(3)))), -1.5f), 0);
  EXPECT_EQ(machine->floatMemory.at(3), -1.5f);
  ASSERT_EQ(machine->writePointerOperand(decoded(word("STORE", kPtr, 0, absolute(ptrPtr(1)))), 0xE0000004u), 0);
  EXPECT_EQ(static_cast<unsigned int>(machine->pointerMemory.at(1)), 0xE0000004u);
}

TEST_F(OperandAccess, MemoryAddressesAreCheckedAgainstTheCount) {
  int i = 7;
  float f = 0;
  unsigned int p = 0;
  expectFailure(readInt(absolute(intPtr(0)), i), VM_ERROR_ADDRESS, "illegal int address 0 (max. address 9)");
  expectFailure(readInt(absolute(intPtr(10)), i), VM_ERROR_ADDRESS, "illegal int address a (max. address 9)");
  EXPECT_EQ(i, 7);
  ASSERT_EQ(readInt(absolute(intPtr(9)), i), 0);
  expectFailure(readFloat(absolute(floatPtr(0x1FFFFFFF)), f), VM_ERROR_ADDRESS,
                "illegal float address 1fffffff (max. address 9)");
  expectFailure(readPointer(absolute(ptrPtr(11)), p), VM_ERROR_ADDRESS, "illegal pointer address b (max. address 9)");
  // Based: pointer register plus offset; only the sum is tested.
  machine->pr[1] = intPtr(8);
  ASSERT_EQ(readInt(based(1, 1), i), 0);
  EXPECT_EQ(i, 109);
  ASSERT_EQ(readInt(based(1, -7), i), 0);
  EXPECT_EQ(i, 101);
  expectFailure(readInt(based(1, 2), i), VM_ERROR_ADDRESS, "illegal int address a (max. address 9)");
  expectFailure(readInt(based(1, -8), i), VM_ERROR_ADDRESS, "illegal int address 0 (max. address 9)");
  expectFailure(readInt(based(1, -9), i), VM_ERROR_ADDRESS, "illegal int address ffffffff (max. address 9)");
  // Indexed: a negative index is fine when the offset makes up for it.
  machine->ir[2] = -5;
  ASSERT_EQ(readInt(indexed(1, 2, 3), i), 0);
  EXPECT_EQ(i, 106);
  machine->ir[2] = 0x7FFFFFFF;  // the sum wraps and stays out of range
  expectFailure(readInt(indexed(1, 2, 0x7FFFFF), i), VM_ERROR_ADDRESS, "illegal int address 80800006 (max. address 9)");
  // A failed write changes nothing.
  expectFailure(machine->writeIntOperand(decoded(word("STORE", kInt, 0, based(1, 5))), 1), VM_ERROR_ADDRESS,
                "illegal int address d (max. address 9)");
  for (int a = 1; a < 10; ++a) EXPECT_EQ(machine->intMemory.at(a), 100 + a);
}

TEST_F(OperandAccess, StackOffsetsCountDownFromTheStackPointer) {
  for (int v : {10, 20, 30, 40}) machine->intStack.append(v);  // indices 1 to 4
  machine->spi = 3;
  int i = 0;
  ASSERT_EQ(readInt(stack(0), i), 0);
  EXPECT_EQ(i, 30);
  ASSERT_EQ(readInt(stack(2), i), 0);
  EXPECT_EQ(i, 10);
  ASSERT_EQ(readInt(stack(-1), i), 0);  // a negative offset reaches above spi
  EXPECT_EQ(i, 40);
  expectFailure(readInt(stack(3), i), VM_ERROR_ADDRESS, "illegal int address 0 (max. address 4)");
  expectFailure(readInt(stack(-2), i), VM_ERROR_ADDRESS, "illegal int address 5 (max. address 4)");
  // Indexed on the stack: index and offset both count down.
  machine->ir[1] = 1;
  ASSERT_EQ(readInt(stackIndexed(1, 1), i), 0);
  EXPECT_EQ(i, 10);
  // A stack pointer in a pointer register reaches the stack too.
  machine->pr[2] = VM_POINTER_INT_STACK | 4u;
  ASSERT_EQ(readInt(based(2, 3), i), 0);
  EXPECT_EQ(i, 10);
  ASSERT_EQ(machine->writeIntOperand(decoded(word("STORE", kInt, 0, based(2, 1))), -3), 0);
  EXPECT_EQ(machine->intStack.at(3), -3);
  // Float and pointer stacks use their own stack pointers.
  machine->floatStack.append(1.5f);
  machine->floatStack.append(2.5f);
  machine->spf = 2;
  float f = 0;
  ASSERT_EQ(readFloat(stack(1), f), 0);
  EXPECT_EQ(f, 1.5f);
  machine->pointerStack.append(static_cast<int>(codePtr(5)));
  machine->spp = 1;
  unsigned int p = 0;
  ASSERT_EQ(readPointer(stack(0), p), 0);
  EXPECT_EQ(p, codePtr(5));
  expectFailure(readPointer(stack(1), p), VM_ERROR_ADDRESS, "illegal pointer address 0 (max. address 1)");
}

TEST_F(OperandAccess, RightAfterStartTheStackHoldsOnlyItsPlaceHolder) {
  machine->startMachine(1);
  int i = 0;
  expectFailure(readInt(stack(0), i), VM_ERROR_ADDRESS, "illegal int address 0 (max. address 0)");
  float f = 0;
  expectFailure(readFloat(stack(0), f), VM_ERROR_ADDRESS, "illegal float address 0 (max. address 0)");
}

TEST_F(OperandAccess, ObjectPointersFailAtTheHandleTestWhileNoObjectExists) {
  machine->pr[1] = VM_POINTER_OBJECT | 1u;
  int i = 0;
  float f = 0;
  unsigned int p = 0;
  expectFailure(readInt(based(1, 0).property(3), i), VM_ERROR_ADDRESS, "illegal object pointer 1 (max. address 0)");
  expectFailure(readFloat(absolute(VM_POINTER_OBJECT), f), VM_ERROR_ADDRESS,
                "illegal object pointer 0 (max. address 0)");
  expectFailure(readPointer(based(1, 0), p), VM_ERROR_ADDRESS, "illegal object pointer 1 (max. address 0)");
  expectFailure(machine->writeIntOperand(decoded(word("STORE", kInt, 0, based(1, 0))), 1), VM_ERROR_ADDRESS,
                "illegal object pointer 1 (max. address 0)");
  // With keepObject the pointer itself is the operand.
  ASSERT_EQ(readPointer(based(1, 0), p, true), 0);
  EXPECT_EQ(p, VM_POINTER_OBJECT | 1u);
  machine->pointerMemory.set(2, static_cast<int>(VM_POINTER_OBJECT | 7u));
  machine->pr[3] = ptrPtr(2);
  // A cell that holds an object pointer is a value, not a place to follow.
  ASSERT_EQ(readPointer(based(3, 0), p), 0);
  EXPECT_EQ(p, VM_POINTER_OBJECT | 7u);
}

TEST_F(OperandAccess, WritesIntoABorrowedMemoryMakeItTheMachinesOwn) {
  int outside[4] = {0, 1, 2, 3};
  machine->intMemory.clear();
  machine->intMemory.borrowBuffer(outside, 4);
  ASSERT_EQ(machine->writeIntOperand(decoded(word("STORE", kInt, 0, absolute(intPtr(2)))), 55), 0);
  EXPECT_EQ(machine->intMemory.at(2), 55);
  EXPECT_EQ(outside[2], 2);
  EXPECT_FALSE(machine->intMemory.isBufferBorrowed());
}

}  // namespace
