// Whole programs checked against the same computation in C++, and random
// words that may only ever fail with a result code.
#include <gtest/gtest.h>

#include <cstdint>
#include <random>

#include "support/LiveBlockGuard.h"
#include "support/MachineTest.h"
#include "support/VMWordBuilder.h"
#include "vm/VM_reportError.h"

namespace {

using namespace vmw;

using Programs = MachineTest;

TEST_F(Programs, IterativeFibonacciIntoMemory) {
  constexpr int kLast = 60;  // beyond 46 the numbers wrap in 32 bits
  loadProgram(*machine, {
                            word("LOAD", kPtr, 1, imm(intPtr(0))),     // 1: base of the results
                            word("LOAD", kInt, 5, imm(1)),             // 2: n
                            word("LOAD", kInt, 1, imm(0)),             // 3: a     <- next n
                            word("LOAD", kInt, 2, imm(1)),             // 4: b
                            word("LOAD", kInt, 6, imm(0)),             // 5: i
                            word("COMP", kInt, 6, reg(5)),             // 6       <- loop
                            word("JUMPGE", kPtr, imm(codePtr(14))),    // 7
                            word("LOAD", kInt, 3, reg(1)),             // 8: t = a
                            word("ADD", kInt, 3, reg(2)),              // 9: t += b
                            word("LOAD", kInt, 1, reg(2)),             // 10: a = b
                            word("LOAD", kInt, 2, reg(3)),             // 11: b = t
                            word("ADD", kInt, 6, imm(1)),              // 12: i += 1
                            word("JUMP", kPtr, imm(codePtr(6))),       // 13
                            word("STORE", kInt, 1, indexed(1, 5, 0)),  // 14: mem[n] = a
                            word("ADD", kInt, 5, imm(1)),              // 15
                            word("COMP", kInt, 5, imm(kLast)),         // 16
                            word("JUMPLE", kPtr, imm(codePtr(3))),     // 17
                            word("HALT", kInt, reg(5)),                // 18
                        });
  machine->intMemory.resize(kLast + 1);
  // In slices, as a host would run it.
  int slices = 0;
  while (VM_isRunning(handle)) {
    ASSERT_TRUE(VM_execute(handle, 97));
    ++slices;
  }
  EXPECT_GT(slices, 10);
  EXPECT_EQ(machine->exitCode, kLast + 1);
  std::uint32_t a = 0;
  std::uint32_t b = 1;
  for (int n = 1; n <= kLast; ++n) {
    const std::uint32_t t = a + b;
    a = b;
    b = t;
    EXPECT_EQ(static_cast<std::uint32_t>(machine->intMemory.at(n)), a) << "fib(" << n << ")";
  }
}

TEST_F(Programs, SumOverMemoryThroughACalledFunction) {
  constexpr int kCells = 300;
  constexpr int kFunction = 11;
  loadProgram(*machine, {
                            word("LOAD", kPtr, 1, imm(intPtr(0))),        // 1
                            word("LOAD", kInt, 3, imm(2)),                // 2: i from cell 2 on
                            word("PARAM", kInt, indexed(1, 3, 0)),        // 3 <- loop
                            word("PARAM", kFloat, immf(0.5f)),            // 4
                            word("CALL", kPtr, imm(codePtr(kFunction))),  // 5
                            word("ADD", kInt, 3, imm(1)),                 // 6
                            word("COMP", kInt, 3, imm(kCells - 1)),       // 7
                            word("JUMPLE", kPtr, imm(codePtr(3))),        // 8
                            word("LOAD", kInt, 0, absolute(intPtr(1))),   // 9
                            word("HALT", kInt, reg(0)),                   // 10
                            locals(1, 1, 0),                              // 11: one int, one float local
                            word("LOAD", kInt, 4, stack(0)),              // 12: x
                            word("MUL", kInt, 4, stack(0)),               // 13: x * x
                            word("STORE", kInt, 4, stack(-1)),            // 14: local = x * x
                            word("LOAD", kInt, 5, absolute(intPtr(1))),   // 15
                            word("ADD", kInt, 5, stack(-1)),              // 16
                            word("STORE", kInt, 5, absolute(intPtr(1))),  // 17: mem[1] += x * x
                            word("ITOF", kFloat, 1, stack(0)),            // 18
                            word("MUL", kFloat, 1, stack(0)),             // 19: x * 0.5
                            word("ADD", kFloat, 0, reg(1)),               // 20: fr0 += x * 0.5
                            word("RETURN"),                               // 21
                        });
  machine->intMemory.resize(kCells);
  std::mt19937 random(5);
  std::uint32_t sum = 0;
  float floatSum = 0.0f;
  for (int i = 2; i < kCells; ++i) {
    const int value = static_cast<int>(random() % 20001) - 10000;
    machine->intMemory.set(i, value);
    sum += static_cast<std::uint32_t>(value) * static_cast<std::uint32_t>(value);
    floatSum += static_cast<float>(value) * 0.5f;
  }
  ASSERT_TRUE(VM_execute(handle, kVMUnlimitedSteps));
  EXPECT_FALSE(VM_isRunning(handle));
  EXPECT_EQ(static_cast<std::uint32_t>(machine->exitCode), sum);
  EXPECT_EQ(machine->fr[0], floatSum);
  // Every call cleaned up after itself.
  EXPECT_EQ(machine->intStack.getCount(), 1);
  EXPECT_EQ(machine->floatStack.getCount(), 1);
  EXPECT_EQ(machine->savedCp.getCount(), 0);
}

// Random words, each slice with a budget: every failure is a result code of
// the machine and nothing reads or writes outside it (the sanitizer build
// runs this too).
TEST_F(Programs, RandomWordsOnlyEverFailWithAResultCode) {
  std::mt19937_64 random(2024);
  auto pick = [&](int n) { return static_cast<int>(random() % static_cast<std::uint64_t>(n)); };
  const std::uint32_t tags[] = {VM_POINTER_INT,           VM_POINTER_FLOAT,     VM_POINTER_POINTER,
                                VM_POINTER_CODE,          VM_POINTER_INT_STACK, VM_POINTER_FLOAT_STACK,
                                VM_POINTER_POINTER_STACK, VM_POINTER_OBJECT};
  int failures = 0;
  int slicesRun = 0;
  for (int program = 0; program < 120; ++program) {
    machine->code.clear();
    machine->code.append(0);
    for (int i = 0; i < 48; ++i) {
      std::uint64_t w = random();
      // Half the words are fully random; the other half keep group,
      // register type and mode in range so that more of them run.
      if (i % 2 == 0) {
        w &= ~std::uint64_t{0xFFFF};
        w |= place(pick(kLastGroup + 1), kGroupShift, kGroupBits) | place(pick(8), kSubTypeShift, kSubTypeBits) |
             place(pick(8), kTargetShift, kTargetBits) | place(pick(3), kRegisterTypeShift, kRegisterTypeBits) |
             place(pick(5), kAddressModeShift, kAddressModeBits);
      }
      // Keep LOCALS small so that the stacks stay small.
      if ((w & 31) == kGroupLocals) {
        w = (w & 0xFF) | place(pick(16), kLocalIntsShift, kLocalBits) | place(pick(16), kLocalFloatsShift, kLocalBits) |
            place(pick(16), kLocalPointersShift, kLocalBits);
      }
      machine->code.append(static_cast<long long>(w));
    }
    sizeMemories(*machine, 1 + pick(16));
    VM_start(handle, 1 + pick(48));
    for (int r = 0; r < 8; ++r) {
      machine->ir[r] = pick(3) == 0 ? static_cast<int>(random()) : pick(20) - 4;
      machine->fr[r] = static_cast<float>(pick(200)) / 8.0f - 5.0f;
      machine->pr[r] = tags[pick(8)] | static_cast<std::uint32_t>(pick(20));
    }
    for (int slice = 0; slice < 6; ++slice) {
      if (!VM_isRunning(handle)) VM_start(handle, 1 + pick(48));
      testing::internal::CaptureStderr();  // NEW and DELETE report there
      const bool fine = VM_execute(handle, 1 + pick(300));
      testing::internal::GetCapturedStderr();
      ++slicesRun;
      if (fine) continue;
      ++failures;
      const int code = VM_getLastErrorCode();
      ASSERT_TRUE(code == VM_ERROR_ADDRESS || code == VM_ERROR_INSTRUCTION || code == VM_ERROR_TYPE ||
                  code == VM_ERROR_ID)
          << std::hex << code;
      ASSERT_NE(VM_getLastErrorText()[0], '\0');
      // Move on past the failing word now and then, as a host might not.
      if (pick(2) == 0) VM_start(handle, 1 + pick(48));
    }
  }
  EXPECT_GT(failures, 100);
  EXPECT_EQ(slicesRun, 720);
}

}  // namespace
