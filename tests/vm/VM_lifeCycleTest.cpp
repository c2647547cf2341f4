// Birth, start, stop and death of machines through the exported functions.
#include <gtest/gtest.h>

#include "qv_helper/qv_helper.h"
#include "support/LiveBlockGuard.h"
#include "support/MachineTest.h"
#include "vm/KX_VMRegistry.h"
#include "vm/VM_reportError.h"

namespace {

class MachineLifeCycle : public RegistryTest {
 protected:
  static KX_VirtualMachine* machineOf(void* handle) { return static_cast<KX_VirtualMachine*>(handle); }
};

TEST_F(MachineLifeCycle, AFreshMachineHoldsTheEmptyProgramAndRuns) {
  void* handle = VM_createVirtualMachine();
  ASSERT_NE(handle, nullptr);
  KX_VirtualMachine* machine = machineOf(handle);
  EXPECT_TRUE(VM_isRunning(handle));
  ASSERT_EQ(machine->code.getCount(), 2);
  EXPECT_EQ(machine->code.at(0), 0);
  EXPECT_EQ(machine->code.at(1), 0);
  EXPECT_EQ(machine->intMemory.getCount(), 1);
  EXPECT_EQ(machine->floatMemory.getCount(), 1);
  EXPECT_EQ(machine->pointerMemory.getCount(), 1);
  EXPECT_EQ(machine->cp, 1);
  for (const KX_IntArray* frames : {&machine->intFrames, &machine->floatFrames, &machine->pointerFrames}) {
    ASSERT_EQ(frames->getCount(), 1);
    EXPECT_EQ(frames->at(0), 1);
  }
  EXPECT_EQ(machine->intStack.getCount(), 1);
  EXPECT_EQ(machine->floatStack.getCount(), 1);
  EXPECT_EQ(machine->pointerStack.getCount(), 1);
  EXPECT_EQ(machine->savedCp.getCount(), 0);
  EXPECT_FALSE(machine->pending);
  EXPECT_TRUE(machine->frameWatches.elementsBorrowed);
  EXPECT_TRUE(machine->objectClasses.elementsBorrowed);
}

TEST_F(MachineLifeCycle, StartTakesTheLowTwentyNineBitsAndResetsTheRunState) {
  void* handle = VM_createVirtualMachine();
  KX_VirtualMachine* machine = machineOf(handle);
  machine->intMemory.append(42);
  machine->ir[3] = 7;
  machine->pr[1] = 0x60000001u;
  machine->intStack.append(5);
  machine->spi = 1;
  machine->savedCp.append(9);
  machine->intFrames.append(2);
  machine->pending = true;
  machine->compareResult = -1;
  machine->exitCode = 3;
  VM_stop(handle);
  VM_start(handle, static_cast<int>(VM_POINTER_CODE | 0x10));
  EXPECT_EQ(machine->cp, 0x10);
  EXPECT_TRUE(VM_isRunning(handle));
  EXPECT_EQ(machine->ir[3], 0);
  EXPECT_EQ(machine->pr[1], 0u);
  EXPECT_EQ(machine->spi, 0);
  EXPECT_EQ(machine->intStack.getCount(), 1);
  EXPECT_EQ(machine->savedCp.getCount(), 0);
  EXPECT_EQ(machine->intFrames.getCount(), 1);
  EXPECT_FALSE(machine->pending);
  EXPECT_EQ(machine->compareResult, 0);
  EXPECT_EQ(machine->exitCode, 0);
  // A restart sees memory as the last run left it.
  ASSERT_EQ(machine->intMemory.getCount(), 2);
  EXPECT_EQ(machine->intMemory.at(1), 42);
}

TEST_F(MachineLifeCycle, StopLeavesPositionStacksAndRegistersAlone) {
  void* handle = VM_createVirtualMachine();
  KX_VirtualMachine* machine = machineOf(handle);
  machine->cp = 5;
  machine->fr[2] = 1.5f;
  machine->floatStack.append(2.5f);
  machine->spf = 1;
  machine->pending = true;
  machine->exitCode = 9;
  VM_stop(handle);
  EXPECT_FALSE(VM_isRunning(handle));
  EXPECT_FALSE(machine->pending);
  EXPECT_EQ(machine->exitCode, 0);
  EXPECT_EQ(machine->cp, 5);
  EXPECT_EQ(machine->fr[2], 1.5f);
  EXPECT_EQ(machine->spf, 1);
  EXPECT_EQ(machine->floatStack.getCount(), 2);
}

TEST_F(MachineLifeCycle, TheRegistryStaysSortedWithParallelRows) {
  void* handles[12];
  for (void*& handle : handles) handle = VM_createVirtualMachine();
  KX_ObjectArray& machines = *vmRegistry.machines;
  ASSERT_EQ(machines.getCount(), 12);
  EXPECT_EQ(vmRegistry.helperRows->getCount(), 12);
  EXPECT_EQ(vmRegistry.hostObjectRows->getCount(), 12);
  for (int i = 1; i < machines.getCount(); ++i) EXPECT_TRUE(machines.at(i - 1)->isLess(machines.at(i)));
  for (void* handle : handles) EXPECT_GE(vmRegistry.find(handle), 0);

  VM_deleteVirtualMachine(handles[4]);
  EXPECT_EQ(machines.getCount(), 11);
  EXPECT_EQ(vmRegistry.helperRows->getCount(), 11);
  EXPECT_EQ(vmRegistry.hostObjectRows->getCount(), 11);
  EXPECT_EQ(vmRegistry.find(handles[4]), -1);
}

TEST_F(MachineLifeCycle, DeletingAnUnknownHandleChangesNothing) {
  void* handle = VM_createVirtualMachine();
  long long blocks = KX_getLiveBlockCount();
  int notAMachine = 0;
  VM_deleteVirtualMachine(&notAMachine);
  VM_deleteVirtualMachine(nullptr);
  EXPECT_EQ(KX_getLiveBlockCount(), blocks);
  EXPECT_EQ(vmRegistry.machines->getCount(), 1);
  VM_deleteVirtualMachine(handle);
  VM_deleteVirtualMachine(handle);  // a second delete of the same handle is ignored
  EXPECT_EQ(vmRegistry.machines->getCount(), 0);
}

TEST_F(MachineLifeCycle, ExitDestroysMachinesStillRegisteredAndTheirHelpers) {
  long long before = KX_getLiveBlockCount();
  void* first = VM_createVirtualMachine();
  VM_createVirtualMachine();
  // A helper is a plain block owned by its machine's row.
  void* helper;
  KX_allocateMemoryBlock(24, &helper);
  static_cast<KX_VoidPtrArray*>(vmRegistry.helperRows->at(vmRegistry.find(first)))->append(helper);
  machineOf(first)->code.resize(500);
  EXPECT_GT(KX_getLiveBlockCount(), before);
  VM_exit();
  EXPECT_EQ(KX_getLiveBlockCount(), before - 3);  // the three registry lists too
  VM_init();
}

TEST_F(MachineLifeCycle, CopyFromIsADeepCopy) {
  KX_VirtualMachine* source = machineOf(VM_createVirtualMachine());
  for (int i = 0; i < 40; ++i) source->intMemory.append(i);
  source->ir[7] = 77;
  source->cp = 3;
  source->instruction.group = 12;
  source->compareResult = 1;
  source->running = false;
  KX_VirtualMachine copy;
  copy.copyFrom(source);
  source->intMemory.set(10, -1);
  EXPECT_EQ(copy.intMemory.getCount(), 41);
  EXPECT_EQ(copy.intMemory.at(10), 9);
  EXPECT_EQ(copy.ir[7], 77);
  EXPECT_EQ(copy.cp, 3);
  EXPECT_EQ(copy.instruction.group, 12);
  EXPECT_EQ(copy.compareResult, 1);
  EXPECT_FALSE(copy.running);
  EXPECT_EQ(copy.code.getCount(), 2);
}

TEST(ErrorReport, ReturnsTheCodeAndKeepsTheLastText) {
  EXPECT_EQ(VM_reportError(0x500, "illegal code address %x (max. address %x)", 0x20, 1), 0x500);
  EXPECT_EQ(VM_getLastErrorCode(), 0x500);
  EXPECT_STREQ(VM_getLastErrorText(), "illegal code address 20 (max. address 1)");
}

}  // namespace
