// Saved state: the image of a fresh machine, a machine saved and restored at
// every point of a run against a twin that runs without saves, objects and
// their slots, waits, version 1 images, symbols, and blocks given back.
#include <cstdio>
#include <utility>

#include "support/MachineSnapshot.h"
#include "support/ScriptedHostObject.h"
#include "support/StateImage.h"
#include "vm/KX_VMObjectClass.h"

namespace {

using namespace vmw;
using snapshot::describe;
using snapshot::Saved;

using SavedState = ObjectMachineTest;

// A host object whose method takes two more calls to finish, as an
// animation would, and then adds ir1 to its value.
class Counter : public VM_ObjectInterface {
 public:
  int value = 0;
  int waitsLeft = 0;
  std::vector<std::pair<int, bool>> calls;  // id, firstAttempt

 protected:
  const char* getClassName() const override { return "Counter"; }
  int getObjectPropertyCount() const override { return 1; }
  int getObjectMethodCount() const override { return 1; }
  void getObjectPropertyDefinition(int, short& id, VM_ObjectDataType& type, char* name, int size) override {
    id = 1;
    type = VM_DATA_INT;
    std::snprintf(name, static_cast<std::size_t>(size), "value");
  }
  void getObjectMethodDefinition(int, short& id, VM_ObjectDataType& type, char* name, int size) override {
    id = 2;
    type = VM_DATA_INT;
    std::snprintf(name, static_cast<std::size_t>(size), "step");
  }
  int getObjectPropertyInt(int id, int& v, bool, void*) const override {
    return id == 1 ? (v = value, 0) : VM_ERROR_ID;
  }
  int setObjectPropertyInt(int id, int v, bool, void*) override { return id == 1 ? (value = v, 0) : VM_ERROR_ID; }
  int callObjectMethodInt(int id, int& result, bool firstAttempt, void* machine) override {
    calls.emplace_back(id, firstAttempt);
    if (firstAttempt) waitsLeft = 2;
    if (waitsLeft > 0) {
      --waitsLeft;
      return VM_WAIT;
    }
    value += VM_getIntRegister(machine, 1);
    result = value;
    return 0;
  }
};

// A script with a called function with parameters and locals, a host
// method that waits, a WAIT on memory, a memory watch and a trigger on the
// counter's value (handlers at 40 and 50). pr1 holds the counter.
void loadScript(KX_VirtualMachine& m) {
  loadProgram(m, {
                     word("LOAD", kInt, 5, imm(1)),                       // 1
                     word("LOAD", kInt, 6, imm(10)),                      // 2
                     word("LOAD", kPtr, 0, imm(codePtr(40))),             // 3
                     word("WATCHE", kInt, 5, imm(intPtr(7))),             // 4: while cell 7 is 1
                     word("LOAD", kPtr, 0, imm(codePtr(50))),             // 5
                     word("TRIGGERG", kInt, 6, based(1, 0).property(1)),  // 6: once value drops below 10
                     word("PARAM", kInt, imm(3)),                         // 7
                     word("PARAM", kInt, imm(4)),                         // 8
                     word("CALL", kPtr, imm(codePtr(30))),                // 9
                     word("CALL", kPtr, based(1, 0).property(2)),         // 10: value += ir1, two waits
                     word("STORE", kInt, 0, absolute(intPtr(2))),         // 11
                     word("WAITE", kInt, 5, absolute(intPtr(3))),         // 12: until cell 3 is 1
                     word("ADD", kInt, 2, imm(1)),                        // 13
                     word("COMP", kInt, 2, imm(12)),                      // 14
                     word("JUMPL", kPtr, imm(codePtr(7))),                // 15
                     word("HALT", kInt, imm(9)),                          // 16
                 });
  m.code.resize(30);
  for (std::uint64_t w : {locals(1, 0, 0), word("LOAD", kInt, 1, stack(0)), word("ADD", kInt, 1, stack(1)),
                          word("STORE", kInt, 1, stack(-1)), word("RETURN")}) {
    m.code.append(static_cast<long long>(w));  // 30: ir1 = the two parameters' sum
  }
  m.code.resize(40);
  for (std::uint64_t w : {word("LOAD", kInt, 4, absolute(intPtr(6))), word("ADD", kInt, 4, imm(1)),
                          word("STORE", kInt, 4, absolute(intPtr(6))), word("LOAD", kInt, 4, imm(0)),
                          word("STORE", kInt, 4, absolute(intPtr(7))), word("RETURN")}) {
    m.code.append(static_cast<long long>(w));  // 40: counts the firings in cell 6, clears cell 7
  }
  m.code.resize(50);
  for (std::uint64_t w :
       {word("LOAD", kInt, 4, imm(50)), word("STORE", kInt, 4, based(1, 0).property(1)), word("RETURN")}) {
    m.code.append(static_cast<long long>(w));  // 50: value back to 50
  }
}

TEST_F(SavedState, AFreshMachineSavesTo260BytesAndComesBackAnywhere) {
  void* fresh = VM_createVirtualMachine();
  const Saved saved = snapshot::save(fresh);
  ASSERT_EQ(saved.image.size(), 260u);
  EXPECT_TRUE(saved.objects.empty());
  EXPECT_EQ(std::string(saved.image.begin(), saved.image.begin() + 4), "VMST");
  EXPECT_EQ(state::word(saved.image, 4), 2u);
  EXPECT_EQ(state::word(saved.image, 8), state::checksum(saved.image));
  const state::StateImage parsed = state::StateImage::parse(saved.image);
  EXPECT_EQ(parsed.headerSize, 208u);
  EXPECT_EQ(parsed.code.size(), 2u);
  for (int a = state::kIntMemory; a <= state::kPointerFrames; ++a) {
    const std::size_t expected = a >= state::kSavedSpi && a <= state::kSavedCp ? 0 : 1;
    EXPECT_EQ(parsed.cells[a].size(), expected) << a;
  }
  EXPECT_EQ(parsed.cp, 1u);
  EXPECT_EQ(parsed.running, 1);

  // Into a machine that has run a program of its own: everything of that is gone.
  void* other = VM_createVirtualMachine();
  KX_VirtualMachine* target = static_cast<KX_VirtualMachine*>(other);
  loadScript(*target);
  sizeMemories(*target, 16);
  ScriptedHostObject robot;
  VM_setPointerRegisterObject(other, 1, &robot);
  target->symbolNames.appendText("main");
  target->symbolAddresses.append(1);
  ASSERT_TRUE(VM_execute(other, 8));
  snapshot::restore(other, saved);
  EXPECT_EQ(describe(*target), describe(*static_cast<KX_VirtualMachine*>(fresh)));
  EXPECT_EQ(snapshot::save(other).image, saved.image);
  EXPECT_TRUE(VM_execute(other, 5));
  EXPECT_FALSE(VM_isRunning(other));
}

// The oracle: two machines run the same script with counters of their own;
// after every slice one of them is saved and restored, alternately into
// itself and into a new machine, and then compared with the other in full.
// Slices of 1 to 3 steps end inside calls, waits, host calls that answered
// VM_WAIT and watch handlers.
TEST_F(SavedState, ARoundTripAfterEverySliceChangesNothingARunCouldSee) {
  Counter counterA;
  Counter counterB;
  void* a = VM_createVirtualMachine();
  void* b = VM_createVirtualMachine();
  for (auto [m, counter] : {std::pair{a, &counterA}, std::pair{b, &counterB}}) {
    KX_VirtualMachine* vm = static_cast<KX_VirtualMachine*>(m);
    loadScript(*vm);
    sizeMemories(*vm, 16);
    counter->value = 50;
    VM_setPointerRegisterObject(m, 1, counter);
  }
  bool sawWait = false, sawHostWait = false, sawHandler = false, sawCall = false;
  for (int slice = 0; slice < 400 && (VM_isRunning(a) || VM_isRunning(b)); ++slice) {
    // The host's doings, the same for both.
    for (void* m : {a, b}) {
      if (slice == 3 || slice == 30) VM_setIntMemory(m, 7, 1);
      if (slice == 45) VM_setIntMemory(m, 3, 1);
    }
    if (slice == 12) counterA.value = counterB.value = 5;
    const int steps = 1 + slice % 3;
    ASSERT_EQ(VM_execute(a, steps), VM_execute(b, steps)) << slice;

    KX_VirtualMachine* vmA = static_cast<KX_VirtualMachine*>(a);
    sawWait |= vmA->pending && vmA->cp == 12;
    sawHostWait |= vmA->pending && vmA->cp == 10;
    sawHandler |= vmA->cp >= 40;
    sawCall |= vmA->cp >= 30 && vmA->cp < 40;
    const Saved saved = snapshot::save(a);
    if (slice % 2 == 0) {
      snapshot::restore(a, saved);
    } else {
      void* fresh = VM_createVirtualMachine();
      snapshot::restore(fresh, saved);
      VM_deleteVirtualMachine(a);
      a = fresh;
    }
    snapshot::save(b);  // the same sweep on both sides
    ASSERT_EQ(describe(*static_cast<KX_VirtualMachine*>(a), {&counterA}),
              describe(*static_cast<KX_VirtualMachine*>(b), {&counterB}))
        << "after slice " << slice;
    ASSERT_EQ(counterA.value, counterB.value);
    ASSERT_EQ(counterA.calls, counterB.calls);
  }
  EXPECT_TRUE(sawWait && sawHostWait && sawHandler && sawCall);
  // The run went through all of it: twelve rounds, two watch firings, the
  // trigger's handler, and the repeats of the waiting method. (The exit
  // code is no part of an image: a new machine has its own.)
  EXPECT_FALSE(VM_isRunning(a));
  EXPECT_EQ(VM_getCodePointerRegister(a), 16);
  EXPECT_EQ(VM_getIntRegister(a, 2), 12);
  EXPECT_EQ(VM_getIntMemory(a, 6), 2);
  EXPECT_EQ(counterA.calls.size(), 36u);
  EXPECT_FALSE(counterA.calls[1].second);
}

TEST_F(SavedState, AWaitingMachineRepeatsItsInstructionAfterARestore) {
  // A WAIT: pending and its first attempt stay, and it is tried again.
  loadProgram(*machine, {word("WAITE", kInt, 0, absolute(intPtr(3))), word("HALT", kInt, imm(4))});
  machine->ir[0] = 1;
  ASSERT_TRUE(VM_execute(handle, 10));
  const Saved waiting = snapshot::save(handle);
  const state::StateImage parsed = state::StateImage::parse(waiting.image);
  EXPECT_EQ(parsed.pending, 1);
  EXPECT_EQ(parsed.firstAttempt, 1);
  EXPECT_EQ(parsed.compareResult, 1);
  void* other = VM_createVirtualMachine();
  KX_VirtualMachine* target = static_cast<KX_VirtualMachine*>(other);
  snapshot::restore(other, waiting);
  EXPECT_TRUE(target->pending && target->firstAttempt);
  EXPECT_TRUE(VM_execute(other, 10));
  EXPECT_TRUE(target->pending && !target->firstAttempt && target->cp == 1);
  VM_setIntMemory(other, 3, 1);
  EXPECT_TRUE(VM_execute(other, 10));
  EXPECT_EQ(target->exitCode, 4);

  // A host call that answered VM_WAIT is called again, with firstAttempt false.
  ScriptedHostObject robot;
  robot.statuses = {VM_WAIT, VM_WAIT};
  loadProgram(*machine, {word("CALL", kPtr, based(1, 0).property(13)), word("HALT", kInt, imm(5))});
  VM_setPointerRegisterObject(handle, 1, &robot);
  ASSERT_TRUE(VM_execute(handle, 10));
  const Saved calling = snapshot::save(handle);
  snapshot::restore(other, calling);
  EXPECT_TRUE(VM_execute(other, 10));
  EXPECT_TRUE(VM_execute(other, 10));
  ASSERT_EQ(robot.calls.size(), 3u);
  EXPECT_TRUE(robot.calls[0].firstAttempt);
  EXPECT_FALSE(robot.calls[1].firstAttempt || robot.calls[2].firstAttempt);
  EXPECT_EQ(robot.calls[1].machine, other);
  EXPECT_EQ(target->exitCode, 5);
}

TEST_F(SavedState, UnreachableObjectsLeaveHolesAndTheTableIsRebuiltWithItsSlots) {
  ScriptedHostObject first("Robot"), lost("Door"), third("Robot"), referenced("Crate"), last("Robot");
  // A pointer watch on first's target property, with referenced as its reference value.
  loadProgram(*machine, {word("LOAD", kPtr, 0, imm(codePtr(3))), word("WATCHE", kPtr, 2, based(1, 0).property(3)),
                         word("RETURN")});
  VM_setPointerRegisterObject(handle, 1, &first);       // slot 0
  VM_setPointerMemoryObject(handle, 4, &lost);          // slot 1, then overwritten
  VM_setPointerMemoryObject(handle, 5, &third);         // slot 2
  VM_setPointerRegisterObject(handle, 2, &referenced);  // slot 3, then only a watch's reference
  VM_setPointerRegisterObject(handle, 3, &last);        // slot 4, then dropped
  ASSERT_TRUE(VM_execute(handle, 2));
  machine->pointerMemory.set(4, 0);
  machine->pr[2] = 0xE0000004u + 0x10;  // changed by arithmetic: keeps nothing
  machine->pr[3] = 0;
  machine->intMemory.set(9, static_cast<int>(0xE0000005u));  // a tagged int keeps nothing
  ASSERT_EQ(machine->objects.getCount(), 5);
  ASSERT_EQ(machine->objectClassTable.getCount(), 3);

  const Saved saved = snapshot::save(handle);
  ASSERT_EQ(saved.objects, (std::vector<VM_ObjectInterface*>{&first, &third, &referenced}));
  EXPECT_EQ(state::StateImage::parse(saved.image).objectSlots, (std::vector<std::uint32_t>{0, 2, 3}));
  // The sweep left holes and dropped the record of Door, which no slot needs.
  const snapshot::Hosts hosts = {&first, &lost, &third, &referenced, &last};
  EXPECT_NE(describe(*machine, hosts).find("objects: o0:Robot -:- o2:Robot o3:Crate -:-\nclasses: Crate Robot\n"),
            std::string::npos)
      << describe(*machine, hosts);

  // Back into a new machine: the slot behind the last live one is gone, the
  // hole stays, handles 1, 3 and 4 name their objects, two Robots share a record.
  void* other = VM_createVirtualMachine();
  KX_VirtualMachine* target = static_cast<KX_VirtualMachine*>(other);
  snapshot::restore(other, saved);
  EXPECT_NE(describe(*target, hosts).find("objects: o0:Robot -:- o2:Robot o3:Crate\nclasses: Crate Robot\n"),
            std::string::npos)
      << describe(*target, hosts);
  EXPECT_EQ(VM_getPointerRegisterObject(other, 1), &first);
  EXPECT_EQ(VM_getPointerMemoryObject(other, 5), &third);
  EXPECT_EQ(first.propertyCountCalls + third.propertyCountCalls, 2);  // asked anew, once in each machine
  ASSERT_EQ(target->watches.getCount(), 1);
  const KX_VMWatch* watch = static_cast<const KX_VMWatch*>(target->watches.at(0));
  EXPECT_EQ(snapshot::hostName(watch->object, hosts), "o0");
  EXPECT_EQ(snapshot::hostName(watch->referenceObject, hosts), "o3");
  EXPECT_EQ(describe(*target, hosts),
            describe(*machine, hosts).replace(describe(*machine, hosts).find(" -:-\n"), 4, ""));

  // A new object crossing later gets a slot at the end.
  ScriptedHostObject newcomer("Robot");
  VM_setPointerRegisterObject(other, 4, &newcomer);
  EXPECT_EQ(target->pr[4], 0xE0000005u);
}

TEST_F(SavedState, FewerObjectsGivenBackLeaveEmptySlots) {
  ScriptedHostObject kept, missing;
  // Watches on a property of each (while it is 0); the handler of the watch
  // on `missing` runs.
  loadProgram(*machine, {word("LOAD", kPtr, 0, imm(codePtr(5))), word("WATCHE", kInt, 3, based(1, 0).property(1)),
                         word("WATCHE", kInt, 3, based(2, 0).property(1)), word("HALT", kInt, imm(8)),
                         word("LOAD", kInt, 6, imm(1)), word("RETURN")});  // 5: the handler
  VM_setPointerRegisterObject(handle, 1, &kept);
  VM_setPointerRegisterObject(handle, 2, &missing);
  kept.health = 1;
  missing.health = 1;
  ASSERT_TRUE(VM_execute(handle, 3));
  missing.health = 0;
  ASSERT_TRUE(VM_execute(handle, 1));  // the watch on `missing` fires; its first word runs
  ASSERT_EQ(machine->cp, 6);
  const Saved saved = snapshot::save(handle);
  ASSERT_EQ(saved.objects.size(), 2u);

  // Only the first object comes back: slot 1 stays empty, the script's
  // handle of it fails, the watch on it goes when its handler returns.
  void* other = VM_createVirtualMachine();
  KX_VirtualMachine* target = static_cast<KX_VirtualMachine*>(other);
  VM_restoreCurrentState(other, saved.image.data(), const_cast<VM_ObjectInterface**>(saved.objects.data()), 1);
  EXPECT_EQ(target->objects.getCount(), 2);
  EXPECT_EQ(VM_getPointerRegisterObject(other, 2), nullptr);
  EXPECT_EQ(target->watches.getCount(), 2);
  EXPECT_TRUE(VM_execute(other, 1));  // RETURN from the handler
  EXPECT_EQ(target->frameWatches.getCount(), 0);
  ASSERT_EQ(target->watches.getCount(), 1);
  EXPECT_EQ(snapshot::hostName(static_cast<KX_VMWatch*>(target->watches.at(0))->object, {&kept}), "o0");
  EXPECT_TRUE(VM_execute(other, 5));
  EXPECT_EQ(target->exitCode, 8);
  target->pr[0] = 0;
  loadProgram(*target, {word("LOAD", kInt, 1, based(2, 0).property(1))});
  target->pr[2] = 0xE0000002u;
  EXPECT_FALSE(VM_execute(other, 1));
  expectLastError(VM_ERROR_ADDRESS, "illegal object pointer 2 (max. address 2)");

  // Without its handler running, the watch on the missing object is dropped
  // at once; objects null or a count of 0 give none back.
  ASSERT_TRUE(VM_execute(handle, 5));  // the handler returns, then HALT
  const Saved halted = snapshot::save(handle);
  VM_restoreCurrentState(other, halted.image.data(), nullptr, 2);
  EXPECT_EQ(target->watches.getCount(), 0);
  VM_restoreCurrentState(other, halted.image.data(), const_cast<VM_ObjectInterface**>(halted.objects.data()), 0);
  EXPECT_EQ(target->objects.getCount(), 2);
  EXPECT_EQ(target->objects.at(0), nullptr);
  // More objects than slots: the surplus is ignored.
  std::vector<VM_ObjectInterface*> surplus = {&kept, &missing, &kept};
  VM_restoreCurrentState(other, halted.image.data(), surplus.data(), 3);
  EXPECT_EQ(describe(*target, {&kept, &missing}), describe(*machine, {&kept, &missing}));
}

TEST_F(SavedState, VersionOneImagesRestoreAsWatchesThatAreArmed) {
  loadProgram(*machine,
              {word("LOAD", kPtr, 0, imm(codePtr(5))), word("TRIGGERE", kInt, 0, imm(intPtr(2))),
               word("WATCHG", kFloat, 1, imm(floatPtr(3))), word("JUMP", kPtr, imm(codePtr(4))), word("RETURN")});
  ASSERT_TRUE(VM_execute(handle, 4));  // the trigger fires at once (0 == 0) and returns: disarmed
  const Saved saved = snapshot::save(handle);
  state::StateImage v2 = state::StateImage::parse(saved.image);
  ASSERT_EQ(v2.watches.size(), 2u);
  ASSERT_EQ(v2.watches[0].edgeTriggered, 1);
  ASSERT_EQ(v2.watches[0].armed, 0);
  EXPECT_EQ(v2.watches[0].handler, 5u);
  // `handler` at offset 29 of the first record, unaligned.
  const std::size_t first = saved.image.size() - 2 * 40;
  EXPECT_EQ(state::word(saved.image, first + 29), 5u);

  state::StateImage v1 = v2;
  v1.version = 1;
  const state::Bytes old = v1.build();
  ASSERT_EQ(old.size(), saved.image.size() - 2 * 2);
  void* other = VM_createVirtualMachine();
  KX_VirtualMachine* target = static_cast<KX_VirtualMachine*>(other);
  ASSERT_EQ(VM_restoreCurrentStateChecked(other, old.data(), static_cast<int>(old.size()), nullptr, 0), 0);
  // All as saved, but the trigger is a watch now, armed.
  std::string expected = describe(*machine);
  const std::size_t flags = expected.find(" 10\n", expected.find("\nwatch "));
  ASSERT_NE(flags, std::string::npos) << expected;
  expected.replace(flags, 4, " 01\n");
  EXPECT_EQ(describe(*target), expected);
  // Saved again, it is a version 2 image.
  EXPECT_EQ(state::word(snapshot::save(other).image, 4), 2u);
}

TEST_F(SavedState, TheImageBringsItsOwnSymbols) {
  machine->symbolNames.appendText("Alpha");
  machine->symbolNames.appendText("beta");
  machine->symbolAddresses.append(0x60000001);
  machine->symbolAddresses.append(7);
  const Saved saved = snapshot::save(handle);
  void* other = VM_createVirtualMachine();
  KX_VirtualMachine* target = static_cast<KX_VirtualMachine*>(other);
  target->symbolNames.appendText("gamma");
  target->symbolAddresses.append(3);
  snapshot::restore(other, saved);
  EXPECT_EQ(VM_getSymbolAddress(other, "BETA"), 7);
  EXPECT_EQ(VM_getSymbolAddress(other, "alpha"), 0x60000001);
  EXPECT_EQ(VM_getSymbolAddress(other, "gamma"), 0);
}

TEST_F(SavedState, APendingWordThatCannotRunFailsAtTheNextStep) {
  loadProgram(*machine, {word("WAITE", kInt, 0, absolute(intPtr(3)))});
  machine->ir[0] = 1;
  ASSERT_TRUE(VM_execute(handle, 1));
  state::StateImage image = state::StateImage::parse(snapshot::save(handle).image);
  // The word it waits on is no instruction in the image...
  image.code[1] = 0xFFFFFFFFFFFFFFFFull;
  state::Bytes bytes = image.build();
  VM_restoreCurrentState(handle, bytes.data(), nullptr, 0);
  EXPECT_FALSE(machine->pending);
  EXPECT_FALSE(VM_execute(handle, 1));
  EXPECT_EQ(VM_getLastErrorCode(), VM_ERROR_INSTRUCTION);
  EXPECT_FALSE(machine->pending);
  // ...or its address is beyond the code.
  image.cp = 9;
  bytes = image.build();
  VM_restoreCurrentState(handle, bytes.data(), nullptr, 0);
  EXPECT_FALSE(VM_execute(handle, 1));
  expectLastError(VM_ERROR_ADDRESS, "illegal code address 9 (max. address 1)");

  // Nothing decoded from the code before a restore runs after it: a word
  // the loop has cached is replaced by the image's word at the same place.
  loadProgram(*machine, {word("ADD", kInt, 1, imm(1)), word("JUMP", kPtr, imm(codePtr(1)))});
  ASSERT_TRUE(VM_execute(handle, 100));
  image = state::StateImage::parse(snapshot::save(handle).image);
  image.code[1] = word("ADD", kInt, 1, imm(1000));
  bytes = image.build();
  const int before = machine->ir[1];
  VM_restoreCurrentState(handle, bytes.data(), nullptr, 0);
  ASSERT_TRUE(VM_execute(handle, 2));
  EXPECT_EQ(machine->ir[1], before + 1000);
}

TEST_F(SavedState, SavesRestoresAndDeletesLeaveNoBlockBehind) {
  ScriptedHostObject robot;
  loadProgram(*machine, {word("LOAD", kPtr, 0, imm(codePtr(3))), word("WATCHE", kInt, 0, based(1, 0).property(1)),
                         word("RETURN")});
  VM_setPointerRegisterObject(handle, 1, &robot);
  robot.health = 1;
  machine->symbolNames.appendText("main");
  machine->symbolAddresses.append(1);
  ASSERT_TRUE(VM_execute(handle, 2));
  void* other = VM_createVirtualMachine();
  const Saved saved = snapshot::save(handle);
  snapshot::restore(other, saved);
  const long long steady = KX_getLiveBlockCount();
  for (int cycle = 0; cycle < 20; ++cycle) {
    void* image;
    int size;
    VM_ObjectInterface** objects;
    int count;
    VM_saveCurrentState(other, image, size, objects, count);
    ASSERT_EQ(count, 1);
    VM_restoreCurrentState(other, image, objects, count);
    VM_restoreCurrentState(handle, image, objects, count);
    VM_deleteCurrentState(nullptr, image, objects);
    ASSERT_EQ(KX_getLiveBlockCount(), steady) << cycle;
  }
  VM_deleteCurrentState(handle, nullptr, nullptr);
  VM_deleteVirtualMachine(other);
}

}  // namespace
