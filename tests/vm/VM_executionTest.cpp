// The execution loop: slices and budgets, frames across CALL, LOCALS and
// RETURN, jumps, pending instructions, waits, and fetch failures.
#include <gtest/gtest.h>

#include <climits>
#include <random>
#include <string>
#include <vector>

#include "support/LiveBlockGuard.h"
#include "support/MachineTest.h"
#include "support/VMWordBuilder.h"
#include "vm/VM_reportError.h"

namespace {

using namespace vmw;

using Execution = MachineTest;

TEST_F(Execution, AFreshMachineHaltsAtItsFirstWord) {
  EXPECT_TRUE(VM_isRunning(handle));
  EXPECT_TRUE(VM_execute(handle, 5));
  EXPECT_FALSE(VM_isRunning(handle));
  EXPECT_EQ(machine->cp, 1);  // HALT leaves cp on itself
  EXPECT_EQ(machine->exitCode, 0);
  // A stopped machine returns true at once and stays where it is.
  EXPECT_TRUE(VM_execute(handle, 5));
  EXPECT_EQ(machine->cp, 1);
}

TEST_F(Execution, HaltTakesItsExitCodeFromTheIntOperand) {
  sizeMemories(*machine, 4);
  machine->intMemory.set(3, -17);
  loadProgram(*machine, {word("LOAD", kPtr, 2, imm(intPtr(3))), word("HALT", kInt, based(2, 0))});
  EXPECT_TRUE(VM_execute(handle, kVMUnlimitedSteps));
  EXPECT_EQ(machine->exitCode, -17);
  EXPECT_EQ(machine->cp, 2);
  // A HALT whose operand fails does not stop.
  loadProgram(*machine, {word("HALT", kInt, absolute(intPtr(9)))});
  EXPECT_FALSE(VM_execute(handle, 1));
  EXPECT_TRUE(VM_isRunning(handle));
  expectLastError(VM_ERROR_ADDRESS, "illegal int address 9 (max. address 3)");
}

// A loop of in-place and general instructions: each iteration is
// ADD, MUL (general), ADD, COMP, JUMPL.
void loadMixedLoop(KX_VirtualMachine& machine) {
  loadProgram(machine, {
                           word("ADD", kInt, 0, imm(1)),          // 1
                           word("MUL", kInt, 1, imm(1)),          // 2
                           word("ADD", kInt, 2, reg(0)),          // 3
                           word("COMP", kInt, 0, imm(1000)),      // 4
                           word("JUMPL", kPtr, imm(codePtr(1))),  // 5
                           word("HALT", kInt, reg(2)),            // 6
                       });
}

TEST_F(Execution, TheBudgetCountsStepsExactly) {
  loadMixedLoop(*machine);
  EXPECT_TRUE(VM_execute(handle, 3));
  EXPECT_EQ(machine->cp, 4);
  EXPECT_EQ(machine->ir[0], 1);
  // 0 and below still run one step.
  EXPECT_TRUE(VM_execute(handle, 0));
  EXPECT_EQ(machine->cp, 5);
  EXPECT_TRUE(VM_execute(handle, -1));
  EXPECT_EQ(machine->cp, 1);
  EXPECT_TRUE(VM_execute(handle, INT_MIN));
  EXPECT_EQ(machine->cp, 2);
  // The same budgets reach the same state as single steps, whichever path
  // of the loop runs each instruction.
  KX_VirtualMachine reference;
  loadMixedLoop(reference);
  std::mt19937 random(7);
  loadMixedLoop(*machine);
  for (int slice = 0; slice < 200 && machine->running; ++slice) {
    const int steps = static_cast<int>(random() % 13);
    ASSERT_TRUE(VM_execute(handle, steps));
    for (int i = 0; i < (steps < 1 ? 1 : steps) && reference.running; ++i) ASSERT_EQ(reference.step(), 0);
    ASSERT_EQ(machine->cp, reference.cp) << "slice " << slice;
    ASSERT_EQ(machine->ir[0], reference.ir[0]);
    ASSERT_EQ(machine->ir[2], reference.ir[2]);
    ASSERT_EQ(machine->compareResult, reference.compareResult);
  }
  EXPECT_TRUE(VM_execute(handle, kVMUnlimitedSteps));
  EXPECT_FALSE(machine->running);
  EXPECT_EQ(machine->exitCode, 1000 * 1001 / 2);
}

TEST_F(Execution, FramesAcrossCallLocalsAndReturn) {
  loadProgram(*machine, {
                            word("PARAM", kInt, imm(7)),          // 1
                            word("PARAM", kInt, imm(8)),          // 2
                            word("CALL", kPtr, imm(codePtr(5))),  // 3
                            word("HALT", kInt, reg(3)),           // 4
                            locals(2, 1, 0),                      // 5
                            word("LOAD", kInt, 0, stack(0)),      // 6: the last parameter
                            word("LOAD", kInt, 1, stack(1)),      // 7: the one before
                            word("STORE", kInt, 0, stack(-1)),    // 8: first local
                            word("LOAD", kInt, 3, stack(-1)),     // 9
                            word("SUB", kInt, 3, reg(1)),         // 10
                            word("RETURN"),                       // 11
                        });
  ASSERT_TRUE(VM_execute(handle, 3));  // up to the call
  EXPECT_EQ(machine->cp, 5);
  EXPECT_EQ(machine->spi, 2);
  EXPECT_EQ(machine->intStack.getCount(), 3);
  ASSERT_EQ(machine->intFrames.getCount(), 2);
  EXPECT_EQ(machine->intFrames.at(1), 3);
  ASSERT_EQ(machine->savedCp.getCount(), 1);
  EXPECT_EQ(machine->savedCp.at(0), 4);
  EXPECT_EQ(machine->savedSpi.at(0), 0);
  ASSERT_TRUE(VM_execute(handle, 1));  // LOCALS
  EXPECT_EQ(machine->intStack.getCount(), 5);
  EXPECT_EQ(machine->floatStack.getCount(), 2);
  EXPECT_EQ(machine->intFrames.at(1), 5);
  EXPECT_EQ(machine->floatFrames.at(1), 2);
  ASSERT_TRUE(VM_execute(handle, 5));
  EXPECT_EQ(machine->ir[0], 8);
  EXPECT_EQ(machine->ir[1], 7);
  EXPECT_EQ(machine->intStack.at(3), 8);
  EXPECT_EQ(machine->ir[3], 1);
  ASSERT_TRUE(VM_execute(handle, 1));  // RETURN
  EXPECT_EQ(machine->cp, 4);
  EXPECT_EQ(machine->spi, 0);
  EXPECT_EQ(machine->intStack.getCount(), 1);
  EXPECT_EQ(machine->floatStack.getCount(), 1);
  EXPECT_EQ(machine->intFrames.getCount(), 1);
  EXPECT_EQ(machine->savedCp.getCount(), 0);
  EXPECT_EQ(machine->frameWatches.getCount(), 0);
  ASSERT_TRUE(VM_execute(handle, 1));
  EXPECT_EQ(machine->exitCode, 1);
}

TEST_F(Execution, LocalsOnTheBottomLevelSurviveEveryReturn) {
  loadProgram(*machine, {
                            locals(2, 0, 0),                      // 1
                            word("PARAM", kInt, imm(5)),          // 2
                            word("CALL", kPtr, imm(codePtr(6))),  // 3
                            word("RETURN"),                       // 4: bottom level: stops
                            word("HALT", kInt, imm(1)),           // 5
                            word("PARAM", kInt, imm(9)),          // 6: pushed above the callee's frame
                            word("RETURN"),                       // 7
                        });
  ASSERT_TRUE(VM_execute(handle, kVMUnlimitedSteps));
  EXPECT_FALSE(machine->running);
  EXPECT_EQ(machine->cp, 4);  // the bottom RETURN stays where it is
  EXPECT_EQ(machine->intStack.getCount(), 3);
  EXPECT_EQ(machine->intFrames.at(0), 3);
  // Stopped quietly: a later call does nothing until the machine is started.
  EXPECT_TRUE(VM_execute(handle, 1));
  EXPECT_EQ(machine->cp, 4);
}

TEST_F(Execution, NestedCallsUnwindInOrder) {
  // f(n) calls itself while n > 0, counting the depth in ir1.
  loadProgram(*machine, {
                            word("PARAM", kInt, imm(20)),            // 1
                            word("CALL", kPtr, imm(codePtr(4))),     // 2
                            word("HALT", kInt, reg(1)),              // 3
                            locals(1, 0, 0),                         // 4
                            word("LOAD", kInt, 0, stack(0)),         // 5: n
                            word("ADD", kInt, 1, imm(1)),            // 6
                            word("COMP", kInt, 0, imm(0)),           // 7
                            word("JUMPLE", kPtr, imm(codePtr(12))),  // 8
                            word("SUB", kInt, 0, imm(1)),            // 9
                            word("PARAM", kInt, reg(0)),             // 10
                            word("CALL", kPtr, imm(codePtr(4))),     // 11
                            word("RETURN"),                          // 12
                        });
  ASSERT_TRUE(VM_execute(handle, kVMUnlimitedSteps));
  EXPECT_EQ(machine->exitCode, 21);
  EXPECT_EQ(machine->intStack.getCount(), 1);
  EXPECT_EQ(machine->savedCp.getCount(), 0);
  EXPECT_EQ(machine->intFrames.getCount(), 1);
}

TEST_F(Execution, JumpAndCallTargetsAreChecked) {
  struct Case {
    std::uint64_t word;
    int code;
    const char* text;
  };
  const Case cases[] = {
      {word("JUMP", kPtr, imm(intPtr(1))), VM_ERROR_ADDRESS, "code pointer expected"},
      {word("JUMP", kPtr, imm(codePtr(0))), VM_ERROR_ADDRESS, "illegal code address 0 (max. address 2)"},
      {word("JUMP", kPtr, imm(codePtr(3))), VM_ERROR_ADDRESS, "illegal code address 3 (max. address 2)"},
      {word("JUMP", kPtr, absolute(ptrPtr(5))), VM_ERROR_ADDRESS, "illegal pointer address 5 (max. address 0)"},
      {word("CALL", kPtr, imm(VM_POINTER_FLOAT_STACK | 1u)), VM_ERROR_ADDRESS, "code pointer expected"},
      {word("CALL", kPtr, imm(codePtr(0x1FFFFFFF))), VM_ERROR_ADDRESS,
       "illegal code address 1fffffff (max. address 2)"},
      {word("CALL", kPtr, imm(VM_POINTER_OBJECT)), VM_ERROR_ADDRESS, "illegal object pointer 0 (max. address 0)"},
      {word("CALL", kPtr, imm(VM_POINTER_OBJECT | 3u)), VM_ERROR_ADDRESS, "illegal object pointer 3 (max. address 0)"},
      {rawWord(kGroupJump, 7, kPtr, 0, imm(codePtr(1))), VM_ERROR_INSTRUCTION, "illegal opcode sub type"},
      {rawWord(kGroupCall, 7, kPtr, 0, imm(codePtr(1))), VM_ERROR_INSTRUCTION, "illegal opcode sub type"},
  };
  for (const Case& c : cases) {
    loadProgram(*machine, {c.word, word("HALT", kInt, imm(0))});
    EXPECT_FALSE(VM_execute(handle, 1));
    expectLastError(c.code, c.text);
    EXPECT_EQ(machine->cp, 1);
    EXPECT_TRUE(machine->pending);
    EXPECT_EQ(machine->savedCp.getCount(), 0);
  }
  // A condition that does not hold moves on without reading the operand.
  loadProgram(*machine, {word("JUMPG", kPtr, imm(intPtr(1))), word("CALLNE", kPtr, absolute(ptrPtr(99))),
                         word("HALT", kInt, imm(3))});
  EXPECT_TRUE(VM_execute(handle, kVMUnlimitedSteps));
  EXPECT_EQ(machine->exitCode, 3);
  EXPECT_EQ(machine->savedCp.getCount(), 0);
}

TEST_F(Execution, ConditionsFollowTheCompareResult) {
  const char* jumps[] = {"JUMP", "JUMPG", "JUMPL", "JUMPGE", "JUMPLE", "JUMPE", "JUMPNE"};
  const bool taken[7][3] = {{1, 1, 1}, {0, 0, 1}, {1, 0, 0}, {0, 1, 1}, {1, 1, 0}, {0, 1, 0}, {1, 0, 1}};
  for (int subType = 0; subType < 7; ++subType) {
    for (int value : {-1, 0, 1}) {
      // COMP ir0 (holding value) with 0 gives compareResult = value.
      loadProgram(*machine, {word("LOAD", kInt, 0, imm(value)), word("COMP", kInt, 0, imm(0)),
                             word(jumps[subType], kPtr, imm(codePtr(5))), word("HALT", kInt, imm(0)),
                             word("HALT", kInt, imm(1))});
      ASSERT_TRUE(VM_execute(handle, kVMUnlimitedSteps));
      EXPECT_EQ(machine->compareResult, value);
      EXPECT_EQ(machine->exitCode, taken[subType][value + 1] ? 1 : 0) << jumps[subType] << " " << value;
      EXPECT_EQ(machine->conditionHolds(subType), taken[subType][value + 1]);
    }
  }
  EXPECT_FALSE(machine->conditionHolds(7));
}

TEST_F(Execution, AFailingInstructionStaysPendingAndFailsAgain) {
  sizeMemories(*machine, 3);
  loadProgram(*machine,
              {word("ADD", kInt, 1, imm(1)), word("LOAD", kInt, 0, absolute(intPtr(5))), word("HALT", kInt, reg(0))});
  EXPECT_FALSE(VM_execute(handle, 10));
  expectLastError(VM_ERROR_ADDRESS, "illegal int address 5 (max. address 2)");
  EXPECT_EQ(machine->ir[1], 1);  // the step before the failure stands
  EXPECT_EQ(machine->cp, 2);
  EXPECT_TRUE(machine->pending);
  EXPECT_TRUE(machine->firstAttempt);
  EXPECT_TRUE(VM_isRunning(handle));
  // The pending instruction runs again as it was decoded, even if the word
  // at cp has changed meanwhile.
  machine->code.set(2, static_cast<long long>(word("LOAD", kInt, 0, imm(4))));
  EXPECT_FALSE(VM_execute(handle, 10));
  expectLastError(VM_ERROR_ADDRESS, "illegal int address 5 (max. address 2)");
  EXPECT_FALSE(machine->firstAttempt);
  EXPECT_EQ(machine->cp, 2);
  // Once the cause is gone it succeeds and the program goes on.
  sizeMemories(*machine, 6);
  machine->intMemory.set(5, 44);
  EXPECT_TRUE(VM_execute(handle, 10));
  EXPECT_FALSE(machine->pending);
  EXPECT_EQ(machine->exitCode, 44);
  // VM_start clears what was pending.
  loadProgram(*machine, {word("LOAD", kInt, 0, absolute(intPtr(9)))});
  EXPECT_FALSE(VM_execute(handle, 1));
  VM_start(handle, 1);
  EXPECT_FALSE(machine->pending);
}

TEST_F(Execution, AWaitGivesTheSliceBackAndReadsItsOperandAgain) {
  sizeMemories(*machine, 4);
  loadProgram(*machine,
              {word("LOAD", kPtr, 1, imm(intPtr(2))), word("WAITE", kInt, 0, based(1, 0)), word("HALT", kInt, imm(8))});
  machine->intMemory.set(2, 5);
  EXPECT_TRUE(VM_execute(handle, kVMUnlimitedSteps));
  EXPECT_EQ(machine->cp, 2);
  EXPECT_TRUE(machine->pending);
  EXPECT_EQ(machine->compareResult, -1);
  EXPECT_TRUE(VM_execute(handle, 1));  // still waiting: the wait is no step
  EXPECT_EQ(machine->cp, 2);
  EXPECT_FALSE(machine->firstAttempt);
  machine->intMemory.set(2, 0);
  EXPECT_TRUE(VM_execute(handle, 1));  // the wait finishes: one step
  EXPECT_EQ(machine->cp, 3);
  EXPECT_TRUE(machine->running);
  EXPECT_TRUE(VM_execute(handle, 1));
  EXPECT_EQ(machine->exitCode, 8);
  // Sub type 0 never waits; sub type 7 fails after comparing.
  loadProgram(*machine, {rawWord(kGroupWait, 0, kInt, 0, imm(3)), rawWord(kGroupWait, 7, kInt, 0, imm(-3))});
  EXPECT_FALSE(VM_execute(handle, 5));
  expectLastError(VM_ERROR_INSTRUCTION, "illegal opcode sub type");
  EXPECT_EQ(machine->cp, 2);
  EXPECT_EQ(machine->compareResult, 1);
}

TEST_F(Execution, FetchAndDecodeFailuresNeverLeaveAnInstructionPending) {
  loadProgram(*machine, {word("ADD", kInt, 0, imm(1)), 23u});
  EXPECT_FALSE(VM_execute(handle, 5));
  expectLastError(VM_ERROR_INSTRUCTION, "unknown OpCode group");
  EXPECT_FALSE(machine->pending);
  EXPECT_EQ(machine->cp, 2);
  EXPECT_FALSE(VM_execute(handle, 5));  // again, every time
  EXPECT_EQ(machine->ir[0], 1);
  EXPECT_EQ(machine->instruction.group, 23);
  EXPECT_TRUE(VM_isRunning(handle));
  // Running off the end of the code fails at the fetch.
  loadProgram(*machine, {word("ADD", kInt, 0, imm(1))});
  EXPECT_FALSE(VM_execute(handle, 5));
  expectLastError(VM_ERROR_ADDRESS, "illegal code address 2 (max. address 1)");
  EXPECT_FALSE(machine->pending);
  // A machine started at address 0 fails at its first fetch.
  VM_start(handle, 0);
  EXPECT_FALSE(VM_execute(handle, 5));
  expectLastError(VM_ERROR_ADDRESS, "illegal code address 0 (max. address 1)");
}

TEST_F(Execution, ReservedInstructionsReportToTheHostAndGoOn) {
  loadProgram(*machine, {word("NEWI", kInt, absolute(intPtr(99))), word("NEWP", kPtr, imm(0)),
                         word("DELETE", kInt, absolute(0xFFFFFFFFu)), rawWord(kGroupDelete, 7, kInt, 0, imm(0)),
                         word("HALT", kInt, imm(2))});
  testing::internal::CaptureStderr();
  EXPECT_TRUE(VM_execute(handle, kVMUnlimitedSteps));
  const std::string reports = testing::internal::GetCapturedStderr();
  EXPECT_EQ(machine->exitCode, 2);
  EXPECT_NE(reports.find("NEW command not supported"), std::string::npos);
  EXPECT_NE(reports.find("DELETE command not supported"), std::string::npos);
}

// The decoded-word cache must leave `instruction` as decoding every fetched
// word in order leaves it, including the fields a word does not carry.
TEST_F(Execution, InstructionHoldsWhatDecodingEveryFetchedWordLeaves) {
  std::mt19937 random(11);
  auto pick = [&](int n) { return static_cast<int>(random() % static_cast<unsigned>(n)); };
  // One local first, so that the stack operands below always find a cell.
  std::vector<std::uint64_t> program = {locals(1, 0, 0)};
  const char* stackUsers[] = {"LOAD", "ADD", "STORE"};
  for (int i = 0; i < 400; ++i) {
    switch (pick(7)) {
      case 6: {
        Operand op = stack(-1);
        if (pick(3) == 0) op = op.property(pick(65536));
        program.push_back(word(stackUsers[pick(3)], kInt, pick(8), op));
        break;
      }
      case 0:
        program.push_back(word("ADD", kInt, pick(8), imm(pick(1000))));
        break;
      case 1:
        program.push_back(word("COMP", kInt, pick(8), reg(pick(8))));
        break;
      case 2:
        program.push_back(locals(pick(3), pick(3), pick(3)));
        break;
      case 3: {
        Operand op = based(pick(8), pick(1000) - 500);
        if (pick(2) == 0) op = op.property(pick(65536));
        program.push_back(word("LOADPTR", pick(3), pick(8), pick(2) ? op.withSystemBit() : op));
        break;
      }
      case 4: {
        Operand op = indexed(pick(8), pick(8), pick(1000));
        if (pick(2) == 0) op = op.property(pick(65536));
        program.push_back(word("LOADPTR", kInt, pick(8), op));
        break;
      }
      default:
        program.push_back(word("LOADPTR", kFloat, pick(8), absolute(random())));
        break;
    }
  }
  program.push_back(word("HALT", kInt, imm(0)));
  machine->code.clear();
  machine->code.append(0);
  for (std::uint64_t w : program) machine->code.append(static_cast<long long>(w));
  // The first pass fills the cache; the others run from it.
  for (int pass = 0; pass < 4; ++pass) {
    machine->startMachine(1);
    KX_VMInstruction oracle = machine->instruction;
    std::size_t fetched = 0;
    while (fetched < program.size()) {
      const int steps = 1 + pick(12);
      ASSERT_TRUE(VM_execute(handle, steps));
      for (int i = 0; i < steps && fetched < program.size(); ++i) oracle.decode(program[fetched++]);
      const KX_VMInstruction& in = machine->instruction;
      ASSERT_EQ(in.group, oracle.group);
      ASSERT_EQ(in.subType, oracle.subType);
      ASSERT_EQ(in.targetRegister, oracle.targetRegister);
      ASSERT_EQ(in.sourceRegister, oracle.sourceRegister);
      ASSERT_EQ(in.registerType, oracle.registerType);
      ASSERT_EQ(in.addressMode, oracle.addressMode);
      ASSERT_EQ(in.baseRegister, oracle.baseRegister);
      ASSERT_EQ(in.indexRegister, oracle.indexRegister);
      ASSERT_EQ(in.intConstant, oracle.intConstant);
      ASSERT_EQ(in.offset, oracle.offset);
      ASSERT_EQ(in.propertyId, oracle.propertyId);
      ASSERT_EQ(in.hasProperty, oracle.hasProperty);
      ASSERT_EQ(in.systemRegister, oracle.systemRegister);
      ASSERT_EQ(in.localInts, oracle.localInts);
      ASSERT_EQ(in.localFloats, oracle.localFloats);
      ASSERT_EQ(in.localPointers, oracle.localPointers);
    }
  }
}

}  // namespace

namespace {

using namespace vmw;

// A copy made in the middle of a run goes on exactly like the original, with
// a cache of its own.
TEST(ExecutionCopy, ACopiedMachineRunsOnLikeTheOriginal) {
  const long long blocks = KX_getLiveBlockCount();
  {
    KX_VirtualMachine original;
    loadMixedLoop(original);
    ASSERT_EQ(original.execute(1234), 0);
    original.ir[7] = 3;
    KX_VirtualMachine copy;
    copy.copyFrom(&original);
    ASSERT_EQ(copy.cp, original.cp);
    ASSERT_EQ(original.execute(kVMUnlimitedSteps), 0);
    ASSERT_EQ(copy.execute(kVMUnlimitedSteps), 0);
    EXPECT_FALSE(copy.running);
    EXPECT_EQ(copy.exitCode, original.exitCode);
    EXPECT_EQ(copy.exitCode, 1000 * 1001 / 2);
    EXPECT_EQ(copy.instruction.group, original.instruction.group);
  }
  EXPECT_EQ(KX_getLiveBlockCount(), blocks);
}

}  // namespace

namespace {

// A stack operand that is fine on one call and out of range on the next
// fails with its text, also when its word runs from the cache.
TEST(ExecutionStackOperands, ACachedStackOperandIsCheckedOnEveryRun) {
  KX_VirtualMachine machine;
  loadProgram(machine, {
                           word("PARAM", kInt, imm(4)),          // 1
                           word("PARAM", kInt, imm(6)),          // 2
                           word("CALL", kPtr, imm(codePtr(7))),  // 3: two parameters
                           word("PARAM", kInt, imm(5)),          // 4
                           word("CALL", kPtr, imm(codePtr(7))),  // 5: one parameter only
                           word("HALT", kInt, reg(0)),           // 6
                           word("LOAD", kInt, 0, stack(1)),      // 7: the parameter before the last
                           word("ADD", kInt, 0, stack(0)),       // 8
                           word("RETURN"),                       // 9
                       });
  EXPECT_EQ(machine.execute(8), 0);
  EXPECT_EQ(machine.ir[0], 10);
  EXPECT_EQ(machine.execute(kVMUnlimitedSteps), VM_ERROR_ADDRESS);
  EXPECT_STREQ(VM_getLastErrorText(), "illegal int address 0 (max. address 1)");
  EXPECT_EQ(machine.cp, 7);
  EXPECT_TRUE(machine.pending);
  EXPECT_EQ(machine.ir[0], 10);
}

}  // namespace
