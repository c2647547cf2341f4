// Test fixtures: the machine registry set up (RegistryTest), and with one
// fresh machine besides (MachineTest), torn down afterwards; the test fails if
// memory blocks were left behind.
#pragma once

#include <string>

#include "qv_helper/qv_helper.h"
#include "support/LiveBlockGuard.h"
#include "vm/KX_VirtualMachine.h"
#include "vm/VM_reportError.h"

class RegistryTest : public LiveBlockTest {
 protected:
  void SetUp() override {
    LiveBlockTest::SetUp();
    VM_init();
  }
  void TearDown() override {
    VM_exit();  // deletes the machines a test left
    LiveBlockTest::TearDown();
  }
};

class MachineTest : public RegistryTest {
 protected:
  void SetUp() override {
    RegistryTest::SetUp();
    handle = VM_createVirtualMachine();
    machine = static_cast<KX_VirtualMachine*>(handle);
  }
  // The code and text of the last error the machine reported.
  static void expectLastError(int code, const std::string& text) {
    EXPECT_EQ(VM_getLastErrorCode(), code);
    EXPECT_EQ(std::string(VM_getLastErrorText()), text);
  }

  void* handle = nullptr;
  KX_VirtualMachine* machine = nullptr;
};
