// Waits, watches and triggers: relations, firing order and nesting, handlers
// during a suspended instruction, removal, re-arming and every failure.
#include <cmath>
#include <random>

#include "support/ScriptedHostObject.h"
#include "vm/KX_VMWatch.h"

namespace {

using namespace vmw;

using Watches = ObjectMachineTest;

// Main code from address 1, a handler from 20, pr0 pointing at the handler.
void load(KX_VirtualMachine& machine, std::initializer_list<std::uint64_t> main,
          std::initializer_list<std::uint64_t> handler = {word("RETURN")}) {
  loadProgram(machine, main);
  machine.code.resize(20);
  for (std::uint64_t w : handler) machine.code.append(static_cast<long long>(w));
  machine.pr[0] = codePtr(20);
}

KX_VMWatch* watchAt(KX_VirtualMachine* machine, int index) {
  return static_cast<KX_VMWatch*>(machine->watches.at(index));
}

// `reference condition value` by the C++ operators.
bool oracle(int condition, int reference, int value) {
  const bool results[] = {true,
                          reference > value,
                          reference < value,
                          reference >= value,
                          reference <= value,
                          reference == value,
                          reference != value};
  return results[condition];
}

TEST_F(Watches, RelationsMatchAnOracleInEveryBank) {
  const char* const names[] = {nullptr, "WATCHG", "WATCHL", "WATCHGE", "WATCHLE", "WATCHE", "WATCHNE"};
  // Pointers compare as signed words, a null one (address 0, any tag) as 0:
  // the object tag makes a word negative.
  const auto pointer = [](int v) {
    return v == 0 ? 0x60000000u : (v < 0 ? 0xE0000000u | static_cast<unsigned>(10 + v) : 0x20000000u | v);
  };
  std::mt19937 random(11);
  for (int round = 0; round < 300; ++round) {
    const int condition = 1 + round % 6;
    const int bank = (round / 6) % 3;
    const int reference = static_cast<int>(random() % 5) - 2;
    const int value = static_cast<int>(random() % 5) - 2;
    const std::uint32_t cell[] = {intPtr(1), floatPtr(1), ptrPtr(1)};
    load(*machine, {word(names[condition], bank, 2, imm(cell[bank])), word("HALT", kInt, imm(0))});
    machine->intMemory.set(1, value);
    machine->floatMemory.set(1, static_cast<float>(value) / 4.0f);
    machine->pointerMemory.set(1, static_cast<int>(pointer(value)));
    machine->ir[2] = reference;
    machine->fr[2] = static_cast<float>(reference) / 4.0f;
    machine->pr[2] = pointer(reference);
    ASSERT_TRUE(VM_execute(handle, 1));
    ASSERT_EQ(machine->checkWatches(), 0);
    EXPECT_EQ(machine->cp == 20, oracle(condition, reference, value))
        << names[condition] << " bank " << bank << ": " << reference << " against " << value;
  }
  // A NaN compares as equal.
  load(*machine, {word("WATCHE", kFloat, 2, imm(floatPtr(1)))});
  machine->floatMemory.set(1, std::nanf(""));
  ASSERT_TRUE(VM_execute(handle, 1));
  machine->checkWatches();
  EXPECT_EQ(machine->cp, 20);
}

TEST_F(Watches, FireInKeyOrderAndNest) {
  load(*machine,
       {word("WATCHE", kInt, 0, imm(intPtr(9))), word("LOAD", kPtr, 0, imm(codePtr(22))),
        word("WATCHE", kInt, 0, imm(intPtr(4))), word("HALT", kInt, imm(6))},
       {word("STORE", kInt, 3, absolute(intPtr(9))), word("RETURN"),    // 20: cell 9
        word("STORE", kInt, 3, absolute(intPtr(4))), word("RETURN")});  // 22: cell 4
  machine->ir[0] = 1;
  ASSERT_TRUE(VM_execute(handle, 3));
  ASSERT_EQ(machine->watches.getCount(), 2);
  EXPECT_EQ(watchAt(machine, 0)->address, 4);  // sorted by key, not by making
  machine->intMemory.set(4, 1);
  machine->intMemory.set(9, 1);
  ASSERT_TRUE(VM_execute(handle, 1));  // cell 4 fires first; its first word runs
  EXPECT_EQ(machine->cp, 23);
  ASSERT_EQ(machine->frameWatches.getCount(), 1);
  EXPECT_EQ(machine->savedCp.at(0), 4);  // the interrupted word itself
  ASSERT_TRUE(VM_execute(handle, 1));    // cell 9 fires before the first handler's second word
  EXPECT_EQ(machine->cp, 21);
  ASSERT_EQ(machine->frameWatches.getCount(), 2);
  EXPECT_EQ(machine->frameWatches.at(0), watchAt(machine, 0));
  EXPECT_EQ(machine->frameWatches.at(1), watchAt(machine, 1));
  ASSERT_TRUE(VM_execute(handle, 1));
  EXPECT_EQ(machine->cp, 23);
  EXPECT_TRUE(watchAt(machine, 0)->active && !watchAt(machine, 1)->active);
  ASSERT_TRUE(VM_execute(handle, kVMUnlimitedSteps));
  EXPECT_EQ(machine->exitCode, 6);
  EXPECT_EQ(machine->frameWatches.getCount(), 0);
  EXPECT_EQ(machine->watches.getCount(), 2);  // HALT keeps them, a start destroys them
  VM_start(handle, 1);
  EXPECT_EQ(machine->watches.getCount(), 0);
}

TEST_F(Watches, AHandlerRunsDuringASuspendedWaitAndTheWaitGoesOn) {
  load(*machine,
       {word("WATCHE", kInt, 0, imm(intPtr(3))), word("WAITE", kInt, 1, absolute(intPtr(2))),
        word("HALT", kInt, imm(7))},
       {word("STORE", kInt, 1, absolute(intPtr(2))),  // ends the wait
        word("COMP", kInt, 1, imm(100)),              // compareResult -1
        word("STORE", kInt, 4, absolute(intPtr(3))),  // the watch stops holding
        word("LOAD", kInt, 6, based(1, 0).property(3)), word("RETURN")});
  machine->ir[0] = 1;
  machine->ir[1] = 5;
  machine->pr[1] = intPtr(1);
  ASSERT_TRUE(VM_execute(handle, 10));  // the wait gives the slice back
  EXPECT_TRUE(machine->pending && machine->cp == 2 && machine->compareResult == 1);
  machine->intMemory.set(3, 1);
  ASSERT_TRUE(VM_execute(handle, 4));  // fires: the handler's words but RETURN
  EXPECT_TRUE(!machine->pending && machine->cp == 24 && machine->compareResult == -1);
  ASSERT_TRUE(VM_execute(handle, 1));  // RETURN hands the wait back as it stood
  EXPECT_TRUE(machine->pending && machine->firstAttempt && machine->cp == 2 && machine->compareResult == 1);
  EXPECT_EQ(machine->instruction.group, kGroupWait);
  EXPECT_EQ(machine->instruction.propertyId, 3);  // the handler's id stays where the word has none
  ASSERT_TRUE(VM_execute(handle, 1));             // tried again, and done
  EXPECT_TRUE(machine->cp == 3 && !machine->firstAttempt);
  ASSERT_TRUE(VM_execute(handle, 1));
  EXPECT_EQ(machine->exitCode, 7);
}

TEST_F(Watches, RemovalReplacementAndTriggers) {
  const auto count = word("ADD", kInt, 5, imm(1));
  // The same key: the trigger replaces the watch.
  load(*machine,
       {word("WATCHE", kInt, 0, imm(intPtr(3))), word("TRIGGERE", kInt, 0, imm(intPtr(3))),
        word("JUMP", kPtr, imm(codePtr(3)))},
       {count, word("RETURN")});
  machine->ir[0] = 1;
  ASSERT_TRUE(VM_execute(handle, 2));
  ASSERT_EQ(machine->watches.getCount(), 1);
  EXPECT_TRUE(watchAt(machine, 0)->edgeTriggered);
  for (int v : {1, 1, 0, 1}) {
    machine->intMemory.set(3, v);
    ASSERT_TRUE(VM_execute(handle, 10));
  }
  EXPECT_EQ(machine->ir[5], 2);  // once, then again only after a check found it false
  // A trigger made while its relation holds fires at the next check, once.
  load(*machine, {word("TRIGGERE", kInt, 0, imm(intPtr(3))), word("HALT", kInt, imm(0))}, {count, word("RETURN")});
  machine->ir[0] = 1;
  ASSERT_TRUE(VM_execute(handle, kVMUnlimitedSteps));
  EXPECT_EQ(machine->ir[5], 1);
  // A watch whose handler leaves the value runs again and again: the main code
  // does not advance, and the budget still ends the slice.
  load(*machine, {word("WATCHE", kInt, 0, imm(intPtr(3))), word("HALT", kInt, imm(0))}, {count, word("RETURN")});
  machine->ir[0] = 1;
  ASSERT_TRUE(VM_execute(handle, 21));
  EXPECT_TRUE(machine->ir[5] == 10 && machine->running);
  // UNWATCH inside its own handler: the handler goes on, the watch goes at RETURN.
  load(*machine, {word("WATCHE", kInt, 0, imm(intPtr(3))), word("HALT", kInt, imm(4))},
       {word("UNWATCH", kInt, imm(intPtr(3))), word("LOAD", kInt, 5, imm(9)), word("RETURN")});
  machine->ir[0] = 1;
  ASSERT_TRUE(VM_execute(handle, 2));
  EXPECT_TRUE(watchAt(machine, 0)->deletePending);
  ASSERT_TRUE(VM_execute(handle, 1));
  EXPECT_EQ(machine->ir[5], 9);
  ASSERT_TRUE(VM_execute(handle, 1));
  EXPECT_EQ(machine->watches.getCount(), 0);
  ASSERT_TRUE(VM_execute(handle, 1));
  EXPECT_EQ(machine->exitCode, 4);
  // UNWATCHALL removes the watches of one handler; UNWATCH of a cell without one does nothing.
  load(*machine,
       {word("WATCHG", kInt, 0, imm(intPtr(5))), word("WATCHG", kInt, 0, imm(intPtr(6))),
        word("LOAD", kPtr, 0, imm(codePtr(21))), word("WATCHG", kInt, 0, imm(intPtr(7))),
        word("UNWATCH", kInt, imm(intPtr(2))), word("LOAD", kPtr, 0, imm(codePtr(20))), word("UNWATCHALL")},
       {word("RETURN"), word("RETURN")});
  ASSERT_TRUE(VM_execute(handle, 5));
  EXPECT_EQ(machine->watches.getCount(), 3);
  ASSERT_TRUE(VM_execute(handle, 2));
  ASSERT_EQ(machine->watches.getCount(), 1);
  EXPECT_EQ(watchAt(machine, 0)->address, 7);
}

TEST_F(Watches, EveryFailureLeavesTheWatchesAsTheyWere) {
  ScriptedHostObject robot;
  const auto watch = [](int bank, std::uint32_t pointer) { return word("WATCHG", bank, 0, imm(pointer)); };
  const auto property = [](const char* mnemonic, int bank, int target, int id) {
    return word(mnemonic, bank, target, based(1, 0).property(id));
  };
  struct Case {
    std::uint64_t word;
    std::uint32_t handler;
    int code;
    const char* text;
  } cases[] = {
      {watch(kInt, intPtr(2)), intPtr(1), VM_ERROR_ADDRESS, "code pointer expected"},
      {word("UNWATCHALL"), intPtr(1), VM_ERROR_ADDRESS, "code pointer expected"},
      {word("TRIGGERG", kInt, 0, imm(intPtr(2))), codePtr(0), VM_ERROR_ADDRESS, "illegal code pointer (0x60000000)"},
      {watch(kInt, intPtr(2)), codePtr(2), VM_ERROR_ADDRESS, "illegal code pointer (0x60000002)"},
      {watch(kInt, floatPtr(2)), codePtr(1), VM_ERROR_TYPE, "illegal pointer type (int pointer expected)"},
      {watch(kFloat, intPtr(2)), codePtr(1), VM_ERROR_TYPE, "illegal pointer type"},
      {watch(kPtr, 0x80000002u), codePtr(1), VM_ERROR_TYPE, "illegal pointer type (pointer pointer expected)"},
      {watch(kInt, intPtr(16)), codePtr(1), VM_ERROR_ADDRESS, "illegal int pointer (0x10)"},
      {watch(kFloat, floatPtr(0)), codePtr(1), VM_ERROR_ADDRESS, "illegal float pointer (0x20000000)"},
      {watch(kPtr, ptrPtr(99)), codePtr(1), VM_ERROR_ADDRESS, "illegal pointer pointer (0x40000063)"},
      {word("WATCHG", kInt, 0, based(2, 0).property(1)), codePtr(1), VM_ERROR_ADDRESS,
       "illegal object pointer 2 (max. address 1)"},
      {property("WATCHG", kInt, 0, 99), codePtr(1), VM_ERROR_ID, "property id: 99"},
      {property("UNWATCH", kInt, 0, 98), codePtr(1), VM_ERROR_ID, "property id: 98"},
      {property("WATCHG", kInt, 0, 2), codePtr(1), VM_ERROR_TYPE, "illegal object property datatype (int expected)"},
      {property("WATCHG", kFloat, 0, 1), codePtr(1), VM_ERROR_TYPE,
       "illegal object property datatype (float expected)"},
      {property("WATCHG", kPtr, 0, 1), codePtr(1), VM_ERROR_TYPE,
       "illegal object property datatype (object pointer expected)"},
      {property("WATCHG", kPtr, 3, 3), codePtr(1), VM_ERROR_ADDRESS, "illegal object pointer 5 (max. address 1)"},
      {property("UNWATCH", kInt, 0, 4), codePtr(1), VM_ERROR_TYPE, "illegal pointer type"},
  };
  for (const Case& c : cases) {
    loadProgram(*machine, {c.word});
    VM_setPointerRegisterObject(handle, 1, &robot);
    machine->pr[0] = c.handler;
    machine->pr[2] = 0xE0000002u;
    machine->pr[3] = 0xE0000005u;
    KX_VMWatch* existing = new KX_VMWatch();
    existing->address = 2;
    existing->handler = 1;
    existing->condition = 1;  // 0 against 0: never holds
    machine->watches.append(existing);
    EXPECT_FALSE(VM_execute(handle, 1)) << c.text;
    expectLastError(c.code, c.text);
    ASSERT_EQ(machine->watches.getCount(), 1);
    EXPECT_EQ(machine->watches.at(0), existing);
  }
  EXPECT_TRUE(robot.reads.empty());
}

TEST_F(Watches, PropertyWatchesAskTheObject) {
  ScriptedHostObject robot;
  ScriptedHostObject other("Crate");
  load(*machine,
       {word("WATCHG", kInt, 0, based(1, 0).property(1)),   // health below ir0
        word("WATCHNE", kPtr, 2, based(1, 0).property(3)),  // target other than pr2
        word("JUMP", kPtr, imm(codePtr(3)))},
       {word("ADD", kInt, 5, imm(1)), word("RETURN")});
  VM_setPointerRegisterObject(handle, 1, &robot);
  VM_setPointerRegisterObject(handle, 2, &other);
  machine->ir[0] = 10;
  robot.health = 10;
  robot.target = &other;
  ASSERT_TRUE(VM_execute(handle, 10));
  EXPECT_EQ(machine->ir[5], 0);
  ASSERT_EQ(machine->watches.getCount(), 2);
  EXPECT_TRUE(robot.reads.back().firstAttempt && robot.reads.back().machine == handle);
  robot.health = 3;
  ASSERT_TRUE(VM_execute(handle, 2));
  EXPECT_EQ(machine->ir[5], 1);
  robot.health = 10;
  robot.target = nullptr;
  ASSERT_TRUE(VM_execute(handle, 2));
  EXPECT_EQ(machine->ir[5], 2);
  // A read for a watch cannot wait: any status fails the check, as 0x504 or 0x500.
  robot.statuses = {VM_ERROR_ID, VM_WAIT, 0x999};
  EXPECT_EQ(machine->checkWatches(), VM_ERROR_ID);
  EXPECT_EQ(machine->checkWatches(), VM_ERROR_ADDRESS);
  EXPECT_FALSE(VM_execute(handle, 1));
}

TEST_F(Watches, ACellThatNoLongerExistsIsNotFiredOn) {
  load(*machine, {word("WATCHE", kInt, 0, imm(intPtr(12))), word("JUMP", kPtr, imm(codePtr(2)))},
       {word("ADD", kInt, 5, imm(1)), word("RETURN")});
  machine->intMemory.set(12, 5);
  ASSERT_TRUE(VM_execute(handle, 1));
  machine->intMemory.resize(8);  // as a load without an entry name may do
  ASSERT_TRUE(VM_execute(handle, 10));
  EXPECT_EQ(machine->ir[5], 0);
  machine->intMemory.resize(16);  // the cell is back, and 0
  ASSERT_TRUE(VM_execute(handle, 1));
  EXPECT_EQ(machine->ir[5], 1);
}

TEST_F(Watches, ACopyRebindsItsWatchesAndClasses) {
  ScriptedHostObject robot;
  robot.health = 8;
  load(*machine,
       {word("WATCHE", kInt, 0, imm(intPtr(3))), word("LOAD", kInt, 6, based(1, 0).property(1)),
        word("HALT", kInt, reg(6))},
       {word("STORE", kInt, 7, absolute(intPtr(3))), word("RETURN")});
  VM_setPointerRegisterObject(handle, 1, &robot);
  machine->ir[7] = 1;
  ASSERT_TRUE(VM_execute(handle, 2));  // made, fired, inside the handler
  ASSERT_EQ(machine->frameWatches.getCount(), 1);
  KX_VirtualMachine* copy = static_cast<KX_VirtualMachine*>(machine->newInstance());
  copy->copyFrom(machine);
  EXPECT_EQ(copy->frameWatches.at(0), copy->watches.at(0));
  EXPECT_NE(copy->watches.at(0), machine->watches.at(0));
  EXPECT_EQ(copy->objectClasses.at(0), copy->objectClassTable.at(0));
  EXPECT_NE(copy->objectClassTable.at(0), machine->objectClassTable.at(0));
  // The copy runs on alone; the original stays in its handler.
  EXPECT_EQ(copy->execute(kVMUnlimitedSteps), 0);
  EXPECT_EQ(copy->exitCode, 8);
  EXPECT_FALSE(static_cast<KX_VMWatch*>(copy->watches.at(0))->active);
  EXPECT_TRUE(watchAt(machine, 0)->active);
  delete copy;
}

TEST_F(Watches, AHandlerReturnsWholeWhenTheInterruptedWordIsGone) {
  // A WAIT is interrupted; inside the handler the host replaces the waiting
  // word by one that does not decode, and the handler removes its own watch.
  load(*machine, {word("WATCHE", kInt, 0, imm(intPtr(3))), word("WAITE", kInt, 1, absolute(intPtr(2)))},
       {word("UNWATCH", kInt, imm(intPtr(3))), word("RETURN")});
  machine->ir[0] = 1;
  machine->ir[1] = 1;
  ASSERT_TRUE(VM_execute(handle, 5));  // waits
  ASSERT_TRUE(machine->pending);
  machine->intMemory.set(3, 1);
  ASSERT_TRUE(VM_execute(handle, 1));  // fires; UNWATCH marks it
  machine->code.set(2, -1);
  // The return closes its level and drops the watch; the word is no longer
  // pending, so each further run fails at its fetch, without closing more.
  EXPECT_FALSE(VM_execute(handle, 5));
  EXPECT_EQ(VM_getLastErrorCode(), VM_ERROR_INSTRUCTION);
  EXPECT_EQ(machine->frameWatches.getCount(), 0);
  EXPECT_EQ(machine->savedCp.getCount(), 0);
  EXPECT_EQ(machine->intFrames.getCount(), 1);
  EXPECT_EQ(machine->watches.getCount(), 0);
  EXPECT_FALSE(machine->pending);
  EXPECT_EQ(machine->cp, 2);
  EXPECT_FALSE(VM_execute(handle, 5));
  EXPECT_EQ(machine->cp, 2);
  EXPECT_EQ(machine->intFrames.getCount(), 1);
}

}  // namespace
