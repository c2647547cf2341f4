// The host's accessors of registers and memory: masks, tags and packed strings.
#include <gtest/gtest.h>

#include <cstring>
#include <string>

#include "support/MachineTest.h"
#include "support/VMWordBuilder.h"

namespace {

class HostAccess : public MachineTest {
 protected:
  void SetUp() override {
    MachineTest::SetUp();
    vmw::sizeMemories(*machine, 20);
  }
};

TEST_F(HostAccess, RegistersAndCellsReadBackWhatWasSet) {
  VM_setIntRegister(handle, 7, -5);
  VM_setFloatRegister(handle, 0, 2.25f);
  VM_setPointerRegister(handle, 3, 7);  // no tag of its own
  EXPECT_EQ(VM_getIntRegister(handle, 7), -5);
  EXPECT_EQ(VM_getFloatRegister(handle, 0), 2.25f);
  EXPECT_EQ(VM_getPointerRegister(handle, 3), 7);
  VM_setPointerRegister(handle, 3, static_cast<int>(VM_POINTER_OBJECT | 2));
  EXPECT_EQ(static_cast<unsigned>(VM_getPointerRegister(handle, 3)), VM_POINTER_OBJECT | 2);
  VM_start(handle, VM_POINTER_CODE | 1);
  EXPECT_EQ(VM_getCodePointerRegister(handle), 1);

  // Tags are ignored on addresses: a stack pointer reads memory, not the stack.
  VM_setIntMemory(handle, static_cast<int>(VM_POINTER_INT_STACK | 5), 42);
  EXPECT_EQ(machine->intMemory.at(5), 42);
  EXPECT_EQ(VM_getIntMemory(handle, static_cast<int>(0x80000005u)), 42);
  VM_setFloatMemory(handle, static_cast<int>(VM_POINTER_FLOAT | 4), -1.5f);
  EXPECT_EQ(VM_getFloatMemory(handle, 4), -1.5f);
}

TEST_F(HostAccess, PointerMemorySettersTagAndGettersSplit) {
  VM_setPointerMemoryFloat(handle, 5, 7);
  EXPECT_EQ(VM_getPointerMemory(handle, 5), 7);
  EXPECT_EQ(VM_getPointerMemoryPointerType(handle, 5), VM_POINTER_FLOAT);
  VM_setPointerMemoryPointer(handle, 6, 9);
  EXPECT_EQ(static_cast<unsigned>(machine->pointerMemory.at(6)), VM_POINTER_POINTER | 9);
  VM_setPointerMemoryInt(handle, 7, 3);
  EXPECT_EQ(VM_getPointerMemoryPointerType(handle, 7), VM_POINTER_INT);
  // The value is not masked: its own top bits stay under the tag.
  VM_setPointerMemoryFloat(handle, 8, static_cast<int>(VM_POINTER_CODE | 1));
  EXPECT_EQ(VM_getPointerMemoryPointerType(handle, 8), VM_POINTER_CODE);
  EXPECT_EQ(VM_getPointerMemory(handle, 8), 1);
}

TEST_F(HostAccess, StringsPackFourBytesToACellWithAZeroCellBehind) {
  for (int i = 0; i < 20; ++i) machine->intMemory.set(i, -1);
  VM_setIntMemoryString(handle, 10, "abcd");
  EXPECT_EQ(machine->intMemory.at(10), 0x64636261);
  EXPECT_EQ(machine->intMemory.at(11), 0);
  EXPECT_EQ(machine->intMemory.at(12), -1);
  VM_setIntMemoryString(handle, 10, "abcde");
  EXPECT_EQ(machine->intMemory.at(11), 0x65);
  EXPECT_EQ(machine->intMemory.at(12), 0);
  VM_setIntMemoryString(handle, 3, "");
  EXPECT_EQ(machine->intMemory.at(3), 0);
  EXPECT_EQ(machine->intMemory.at(4), -1);

  char buffer[12];
  std::memset(buffer, 'X', sizeof buffer);
  VM_getIntMemoryString(handle, 10, buffer, sizeof buffer);
  EXPECT_STREQ(buffer, "abcde");
  for (std::size_t i = 5; i < sizeof buffer; ++i) EXPECT_EQ(buffer[i], '\0') << i;
  VM_getIntMemoryString(handle, 10, buffer, 4);
  EXPECT_STREQ(buffer, "abc");

  // High bytes read back byte for byte, through a tagged address.
  const char high[] = "\x80\xff\xe9z\x81";
  VM_setIntMemoryString(handle, static_cast<int>(VM_POINTER_INT_STACK | 1), high);
  VM_getIntMemoryString(handle, 1, buffer, sizeof buffer);
  EXPECT_EQ(std::string(buffer), std::string(high));
}

TEST_F(HostAccess, SizesFollowTheMemories) {
  void* fresh = VM_createVirtualMachine();
  EXPECT_EQ(VM_getCodeSize(fresh), 2);
  EXPECT_EQ(VM_getIntMemorySize(fresh), 1);
  EXPECT_EQ(VM_getFloatMemorySize(fresh), 1);
  EXPECT_EQ(VM_getPointerMemorySize(fresh), 1);
  EXPECT_EQ(VM_getIntMemorySize(handle), 20);
  machine->pointerMemory.resize(3);
  EXPECT_EQ(VM_getPointerMemorySize(handle), 3);
}

}  // namespace
