// Host objects in a machine: handles, class records, properties through
// operands, method calls with their results, waits and parameters.
#include <cstring>

#include "support/ScriptedHostObject.h"
#include "vm/KX_VMObjectClass.h"
#include "vm/KX_VMObjectMethod.h"
#include "vm/KX_VMObjectProperty.h"
#include "vm/KX_VMRegistry.h"
#include "vm/VM_HelperObjectInterface.h"

namespace {

using namespace vmw;

using Objects = ObjectMachineTest;

class BareHostObject : public VM_ObjectInterface {};

KX_VMObjectClass* classOfSlot(KX_VirtualMachine* machine, int slot) {
  return static_cast<KX_VMObjectClass*>(machine->objectClasses.at(slot));
}

TEST_F(Objects, HandlesCountFromOneInEachMachine) {
  ScriptedHostObject a;
  ScriptedHostObject b;
  VM_setPointerRegisterObject(handle, 1, &a);
  VM_setPointerRegisterObject(handle, 2, &b);
  VM_setPointerMemoryObject(handle, 0x40000005, &a);  // the tag of an address is ignored
  EXPECT_EQ(machine->pr[1], 0xE0000001u);
  EXPECT_EQ(machine->pr[2], 0xE0000002u);
  EXPECT_EQ(machine->pointerMemory.at(5), static_cast<int>(0xE0000001u));
  EXPECT_EQ(VM_getPointerRegisterObject(handle, 2), &b);
  EXPECT_EQ(VM_getPointerMemoryObject(handle, 5), &a);
  // Another machine meets b first and numbers its objects its own way, with helpers of its own.
  void* other = VM_createVirtualMachine();
  VM_setPointerRegisterObject(other, 0, &b);
  VM_setPointerRegisterObject(other, 1, &a);
  EXPECT_EQ(static_cast<KX_VirtualMachine*>(other)->pr[1], 0xE0000002u);
  EXPECT_EQ(VM_getPointerRegisterObject(other, 1), &a);
  EXPECT_EQ(vmRegistry.findHelper(handle, &a), vmRegistry.findHelper(handle, &a));
  EXPECT_NE(vmRegistry.findHelper(other, &a), vmRegistry.findHelper(handle, &a));
  EXPECT_EQ(machine->objects.getCount(), 2);
  for (unsigned int value : {0x60000001u, 0x00000001u, 0xE0000000u, 0xE0000003u}) {
    machine->pr[3] = value;
    EXPECT_EQ(VM_getPointerRegisterObject(handle, 3), nullptr) << std::hex << value;
  }
  VM_setPointerRegisterObject(handle, 3, nullptr);
  EXPECT_EQ(machine->pr[3], 0u);
  KX_VirtualMachine unregistered;
  VM_setPointerRegisterObject(&unregistered, 0, &a);
  EXPECT_EQ(unregistered.pr[0], 0u);
  // Out of range: nothing is written, null is read.
  VM_setPointerMemoryObject(handle, 16, &a);
  EXPECT_EQ(VM_getPointerMemoryObject(handle, 16), nullptr);
  EXPECT_EQ(VM_getPointerRegisterObject(handle, 8), nullptr);
}

TEST_F(Objects, ClassRecordsAreAskedOncePerName) {
  ScriptedHostObject a("Robot");
  ScriptedHostObject b("ROBOT");  // the same class: names compare without case
  ScriptedHostObject c("Crate");
  BareHostObject bare;
  for (VM_ObjectInterface* object : std::vector<VM_ObjectInterface*>{&a, &b, &c, &bare}) {
    VM_setPointerRegisterObject(handle, 0, object);
  }
  EXPECT_EQ(a.propertyCountCalls + b.propertyCountCalls, 1);
  EXPECT_EQ(c.propertyCountCalls, 1);
  EXPECT_EQ(classOfSlot(machine, 0), classOfSlot(machine, 1));
  ASSERT_EQ(machine->objectClassTable.getCount(), 3);
  EXPECT_STREQ(static_cast<KX_VMObjectClass*>(machine->objectClassTable.at(0))->name.getText(), "Crate");
  const KX_VMObjectClass* robot = classOfSlot(machine, 0);
  ASSERT_EQ(robot->properties.getCount(), 5);
  const int ids[] = {-2, 1, 2, 3, 4};
  for (int i = 0; i < 5; ++i) EXPECT_EQ(static_cast<KX_VMObjectProperty*>(robot->properties.at(i))->id, ids[i]);
  EXPECT_STREQ(robot->findMethod(12)->name.getText(), "method12");
  EXPECT_EQ(robot->findMethod(12)->parameters.getCount(), 0);
  // A class that overrides nothing has no members: every access fails at the record.
  EXPECT_STREQ(classOfSlot(machine, 3)->name.getText(), "VM_ObjectInterface");
  EXPECT_EQ(classOfSlot(machine, 3)->properties.getCount() + classOfSlot(machine, 3)->methods.getCount(), 0);
  loadProgram(*machine, {word("LOAD", kInt, 0, based(0, 0).property(5))});
  machine->pr[0] = 0xE0000004u;
  EXPECT_FALSE(VM_execute(handle, 1));
  expectLastError(VM_ERROR_ID, "property id: 5");
}

TEST_F(Objects, LongNamesAreCutAndDefaultsFail) {
  struct LongName : BareHostObject {
    int getObjectPropertyCount() const override { return 1; }
    void getObjectPropertyDefinition(int, short& id, VM_ObjectDataType& type, char* name, int size) override {
      id = 7;
      type = VM_DATA_INT;
      std::memset(name, 'x', static_cast<std::size_t>(size));  // too long to end inside the buffer
    }
  } host;
  VM_HelperObjectInterface* helper = vmRegistry.findHelper(handle, &host);
  KX_ObjectArray properties;
  helper->getPropertyDefinitions(properties);
  ASSERT_EQ(properties.getCount(), 1);
  EXPECT_EQ(std::string(static_cast<KX_VMObjectProperty*>(properties.at(0))->name.getText()), std::string(63, 'x'));
  // The host's defaults answer VM_ERROR_ID; so do the reflective class's, with a text.
  int value = 0;
  KX_IntArray ints;
  KX_FloatArray floats;
  KX_VoidPtrArray objects;
  EXPECT_EQ(helper->getPropertyInt(7, value, true, handle), VM_ERROR_ID);
  EXPECT_EQ(helper->callMethodInt(7, value, ints, floats, objects, true, handle), VM_ERROR_ID);
  KX_VMObjectInterface* base = helper;
  EXPECT_EQ(base->KX_VMObjectInterface::callMethodVoid(9, ints, floats, objects, true, handle), VM_ERROR_ID);
  expectLastError(VM_ERROR_ID, "Method ID: 9");
  EXPECT_EQ(base->KX_VMObjectInterface::setPropertyFloat(8, 1.0f, true, handle), VM_ERROR_ID);
  expectLastError(VM_ERROR_ID, "Property ID: 8");
}

TEST_F(Objects, PropertiesReadAndWriteThroughOperands) {
  ScriptedHostObject robot;
  ScriptedHostObject other("Crate");
  robot.health = 40;
  robot.speed = 2.5f;
  loadProgram(*machine, {
                            word("LOAD", kInt, 0, based(1, 0).property(1)),       // 1
                            word("LOAD", kFloat, 0, based(1, 9).property(2)),     // 2: the offset plays no part
                            word("LOAD", kInt, 3, based(1, 0).property(0xFFFE)),  // 3: id -2, passed as 65534
                            word("LOAD", kInt, 4, indexed(1, 0, 3)),              // 4: no id: the last one counts
                            word("STORE", kInt, 2, based(1, 0).property(1)),      // 5
                            word("STORE", kFloat, 2, based(1, 0).property(2)),    // 6
                            word("LOAD", kPtr, 5, based(1, 0).property(3)),       // 7: null target
                            word("STORE", kPtr, 6, based(1, 0).property(3)),      // 8
                            word("LOAD", kPtr, 5, based(1, 0).property(3)),       // 9
                            word("STORE", kPtr, 7, based(1, 0).property(3)),      // 10: no object: null
                        });
  VM_setPointerRegisterObject(handle, 1, &robot);
  VM_setPointerRegisterObject(handle, 6, &other);
  machine->ir[2] = 55;
  machine->fr[2] = -1.5f;
  machine->pr[7] = 0x40000001u;
  ASSERT_TRUE(VM_execute(handle, 6));
  EXPECT_EQ(machine->ir[0], 40);
  EXPECT_EQ(machine->fr[0], 2.5f);
  EXPECT_EQ(machine->ir[3], 65534);
  EXPECT_EQ(machine->ir[4], 65534);
  EXPECT_EQ(robot.health, 55);
  EXPECT_EQ(robot.speed, -1.5f);
  ASSERT_TRUE(VM_execute(handle, 1));
  EXPECT_EQ(machine->pr[5], 0u);  // a null property reads 0
  ASSERT_TRUE(VM_execute(handle, 2));
  EXPECT_EQ(robot.target, &other);
  EXPECT_EQ(machine->pr[5], 0xE0000002u);
  ASSERT_TRUE(VM_execute(handle, 1));
  EXPECT_EQ(robot.target, nullptr);
  for (const HostCall& call : robot.calls) EXPECT_TRUE(call.machine == handle && call.firstAttempt);
  // An object first met as a property value gets the next slot and its class record.
  ScriptedHostObject fresh("Fresh");
  robot.target = &fresh;
  loadProgram(*machine, {word("LOAD", kPtr, 5, based(1, 0).property(3))});
  machine->pr[1] = 0xE0000001u;
  ASSERT_TRUE(VM_execute(handle, 1));
  EXPECT_EQ(machine->pr[5], 0xE0000003u);
  EXPECT_EQ(machine->objectClassTable.getCount(), 3);
}

TEST_F(Objects, FailuresLeaveTheObjectUncalledAndTheInstructionPending) {
  ScriptedHostObject robot;
  VM_setPointerRegisterObject(handle, 1, &robot);
  const auto load = [](int bank, int id) { return word("LOAD", bank, 0, based(1, 0).property(id)); };
  struct Case {
    std::uint64_t word;
    unsigned int pointer;
    int code;
    const char* text;
  } cases[] = {
      {load(kInt, 1), 0xE0000000u, VM_ERROR_ADDRESS, "illegal object pointer 0 (max. address 1)"},
      {load(kInt, 1), 0xE0000002u, VM_ERROR_ADDRESS, "illegal object pointer 2 (max. address 1)"},
      {load(kInt, 99), 0xE0000001u, VM_ERROR_ID, "property id: 99"},
      {load(kFloat, 1), 0xE0000001u, VM_ERROR_ADDRESS, "illegal object property datatype (float expected)"},
      {word("STORE", kInt, 0, based(1, 0).property(2)), 0xE0000001u, VM_ERROR_ADDRESS,
       "illegal object property datatype (int expected)"},
      {load(kPtr, 1), 0xE0000001u, VM_ERROR_ADDRESS, "illegal object property datatype (object pointer expected)"},
      {word("CALL", kPtr, based(1, 0).property(77)), 0xE0000001u, VM_ERROR_ID, "method id: 77"},
      {word("CALL", kPtr, based(1, 0).property(10)), 0xE0000000u, VM_ERROR_ADDRESS,
       "illegal object pointer 0 (max. address 1)"},
  };
  for (const Case& c : cases) {
    loadProgram(*machine, {c.word});
    machine->pr[1] = c.pointer;
    EXPECT_FALSE(VM_execute(handle, 1));
    expectLastError(c.code, c.text);
    EXPECT_TRUE(machine->pending && machine->cp == 1);
  }
  EXPECT_TRUE(robot.calls.empty() && robot.reads.empty());
  // A slot that a save has cleared holds no object.
  machine->objects.set(0, nullptr);
  loadProgram(*machine, {load(kInt, 1)});
  machine->pr[1] = 0xE0000001u;
  EXPECT_FALSE(VM_execute(handle, 1));
  expectLastError(VM_ERROR_ADDRESS, "illegal object pointer 1 (max. address 1)");
  EXPECT_EQ(VM_getPointerRegisterObject(handle, 1), nullptr);
}

TEST_F(Objects, MethodResultsGoToRegisterZeroOfTheirBank) {
  ScriptedHostObject robot;
  ScriptedHostObject second;
  robot.health = 9;
  robot.target = &second;
  machine->intMemory.set(4, 100);
  loadProgram(*machine, {
                            word("LOAD", kInt, 1, imm(20)), word("LOAD", kInt, 2, imm(3)),
                            word("LOAD", kInt, 3, imm(4)),                    // 3: the cell to add
                            word("CALL", kPtr, 5, based(1, 0).property(10)),  // 4: target register ignored
                            word("CALL", kPtr, based(1, 0).property(11)),     // 5
                            word("CALL", kPtr, based(2, 0).property(12)),     // 6: second's target: null
                            word("CALL", kPtr, based(1, 0).property(12)),     // 7: robot's: second
                            word("CALL", kPtr, based(1, 0).property(13)),     // 8
                            word("HALT", kInt, imm(0)),                       // 9
                        });
  VM_setPointerRegisterObject(handle, 1, &robot);
  VM_setPointerRegisterObject(handle, 2, &second);
  ASSERT_TRUE(VM_execute(handle, 4));
  EXPECT_EQ(machine->ir[0], 123);
  EXPECT_EQ(machine->ir[5], 0);
  ASSERT_TRUE(VM_execute(handle, 2));
  EXPECT_EQ(machine->fr[0], 4.5f);
  EXPECT_EQ(machine->pr[0], 0xE0000000u);  // a null result is the null object pointer
  ASSERT_TRUE(VM_execute(handle, kVMUnlimitedSteps));
  EXPECT_EQ(machine->pr[0], 0xE0000002u);
  ASSERT_EQ(robot.calls.size(), 4u);
  EXPECT_EQ(robot.calls[3].id, 13);
  // Another status than VM_WAIT fails and stays pending; a host's own code passes unchanged.
  loadProgram(*machine, {word("CALL", kPtr, based(1, 0).property(13)), word("HALT", kInt, imm(3))});
  VM_setPointerRegisterObject(handle, 1, &robot);
  robot.statuses = {0x7777};
  EXPECT_FALSE(VM_execute(handle, 5));
  EXPECT_EQ(machine->cp, 1);
  EXPECT_TRUE(VM_execute(handle, 5));
  EXPECT_EQ(machine->exitCode, 3);
}

TEST_F(Objects, AWaitingMethodRepeatsUntilDone) {
  ScriptedHostObject robot;
  loadProgram(*machine, {locals(1, 0, 0), word("PARAM", kInt, imm(5)), word("PARAM", kFloat, immf(1.0f)),
                         word("CALL", kPtr, based(1, 0).property(13)), word("ADD", kInt, 6, imm(1))});
  VM_setPointerRegisterObject(handle, 1, &robot);
  robot.statuses = {VM_WAIT, VM_WAIT, VM_WAIT};
  for (int slice = 0; slice < 3; ++slice) {
    EXPECT_TRUE(VM_execute(handle, 10));  // the wait ends the slice
    EXPECT_EQ(machine->cp, 4);
    EXPECT_EQ(machine->intStack.getCount(), 3);  // PARAM values stay meanwhile
  }
  EXPECT_TRUE(VM_execute(handle, 1));  // the finished call is the one step
  EXPECT_EQ(machine->cp, 5);
  ASSERT_EQ(robot.calls.size(), 4u);
  for (int i = 0; i < 4; ++i) EXPECT_TRUE(robot.calls[i].firstAttempt == (i == 0) && robot.calls[i].machine == handle);
  // PARAM values go, the frame's local stays.
  EXPECT_EQ(machine->intStack.getCount(), 2);
  EXPECT_EQ(machine->floatStack.getCount(), 1);
  // A conditional call whose condition fails calls nothing and leaves them.
  loadProgram(*machine, {word("PARAM", kInt, imm(5)), word("CALLG", kPtr, based(1, 0).property(13))});
  VM_setPointerRegisterObject(handle, 1, &robot);
  ASSERT_TRUE(VM_execute(handle, 2));
  EXPECT_EQ(robot.calls.size(), 4u);
  EXPECT_EQ(machine->intStack.getCount(), 2);
}

// A reflective object with declared parameters, which host objects never have.
struct ParameterObject : KX_VMObjectInterface {
  std::vector<int> ints;
  std::vector<float> floats;
  std::vector<void*> objects;
  int callMethodVoid(int, KX_IntArray& i, KX_FloatArray& f, KX_VoidPtrArray& o, bool, void*) override {
    for (int n = 0; n < i.getCount(); ++n) ints.push_back(i.at(n));
    for (int n = 0; n < f.getCount(); ++n) floats.push_back(f.at(n));
    for (int n = 0; n < o.getCount(); ++n) objects.push_back(o.at(n));
    return 0;
  }
};

TEST_F(Objects, DeclaredParametersAreTakenFromTheStacksInOrder) {
  ParameterObject object;
  ScriptedHostObject robot;
  KX_VMObjectClass* record = new KX_VMObjectClass();
  KX_VMObjectMethod* method = new KX_VMObjectMethod();
  method->id = 1;
  for (VM_ObjectDataType type :
       {VM_DATA_INT, VM_DATA_FLOAT, VM_DATA_INT, VM_DATA_OBJECT, VM_DATA_VOID, VM_DATA_OBJECT}) {
    KX_VMObjectProperty* parameter = new KX_VMObjectProperty();
    parameter->dataType = type;
    method->parameters.append(parameter);
  }
  record->methods.append(method);
  VM_setPointerRegisterObject(handle, 2, &robot);
  machine->objectClassTable.insert(machine->objectClassTable.findInsertPosition(record), record);
  machine->objects.append(static_cast<KX_VMObjectInterface*>(&object));
  machine->objectClasses.append(record);
  // Pushed last parameter first; the second call finds too few.
  loadProgram(*machine, {word("PARAM", kPtr, imm(0x40000003)), word("PARAM", kPtr, reg(2)), word("PARAM", kInt, imm(2)),
                         word("PARAM", kFloat, immf(0.5f)), word("PARAM", kInt, imm(1)),
                         word("CALL", kPtr, based(1, 0).property(1)), word("CALL", kPtr, based(1, 0).property(1))});
  machine->pr[1] = 0xE0000002u;
  machine->pr[2] = 0xE0000001u;
  EXPECT_FALSE(VM_execute(handle, 10));
  expectLastError(VM_ERROR_ADDRESS, "not enough object method parameters");
  EXPECT_EQ(machine->cp, 7);
  EXPECT_EQ(object.ints, (std::vector<int>{1, 2}));
  EXPECT_EQ(object.floats, (std::vector<float>{0.5f}));
  EXPECT_EQ(object.objects, (std::vector<void*>{vmRegistry.findHelper(handle, &robot), nullptr}));
}

TEST_F(Objects, DeletingMachinesFreesTheirHelpers) {
  ScriptedHostObject robot;
  const long long before = KX_getLiveBlockCount();
  void* other = VM_createVirtualMachine();
  VM_setPointerRegisterObject(other, 0, &robot);
  VM_deleteVirtualMachine(other);
  EXPECT_EQ(KX_getLiveBlockCount(), before);
  // VM_exit frees the rest, as the fixture checks.
  VM_setPointerRegisterObject(handle, 0, &robot);
  VM_setPointerRegisterObject(VM_createVirtualMachine(), 0, &robot);
}

}  // namespace
