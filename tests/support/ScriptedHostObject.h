// A host class for machine tests, with members of every type, statuses
// scripted per call and a log of every call (id, firstAttempt, machine):
//   properties  1 int health, 2 float speed, 3 object target, -2 int (0xFFFE
//               in a word; reads as its id), 4 void
//   methods     10 int: ir1 + ir2 + the int memory cell that ir3 names, read
//               from the machine it is given; 11 float: health / 2;
//               12 object: target; 13 void
// And a fixture with a registered machine of 16 cells per memory.
#pragma once

#include <gtest/gtest.h>

#include <cstdio>
#include <deque>
#include <string>
#include <vector>

#include "qv_helper/qv_helper.h"
#include "support/LiveBlockGuard.h"
#include "support/MachineTest.h"
#include "support/VMWordBuilder.h"
#include "vm/VM_reportError.h"

struct HostCall {
  int id;
  bool firstAttempt;
  void* machine;
};

class ScriptedHostObject : public VM_ObjectInterface {
 public:
  explicit ScriptedHostObject(const char* className = "Robot") : className(className) {}

  const char* className;
  int health = 0;
  float speed = 0.0f;
  VM_ObjectInterface* target = nullptr;
  mutable std::deque<int> statuses;  // of the coming gets, sets and calls; 0 once empty
  std::vector<HostCall> calls;
  mutable std::vector<HostCall> reads;
  mutable int propertyCountCalls = 0;

 protected:
  struct Member {
    short id;
    VM_ObjectDataType type;
  };
  // Out of id order on purpose: the machine sorts them.
  static constexpr Member kProperties[] = {
      {3, VM_DATA_OBJECT}, {1, VM_DATA_INT}, {-2, VM_DATA_INT}, {2, VM_DATA_FLOAT}, {4, VM_DATA_VOID}};
  static constexpr Member kMethods[] = {
      {12, VM_DATA_OBJECT}, {10, VM_DATA_INT}, {11, VM_DATA_FLOAT}, {13, VM_DATA_VOID}};

  const char* getClassName() const override { return className; }
  int getObjectPropertyCount() const override { return ++propertyCountCalls, 5; }
  int getObjectMethodCount() const override { return 4; }
  void getObjectPropertyDefinition(int index, short& id, VM_ObjectDataType& type, char* name, int size) override {
    id = kProperties[index].id;
    type = kProperties[index].type;
    std::snprintf(name, static_cast<std::size_t>(size), "property%d", id);
  }
  void getObjectMethodDefinition(int index, short& id, VM_ObjectDataType& type, char* name, int size) override {
    id = kMethods[index].id;
    type = kMethods[index].type;
    std::snprintf(name, static_cast<std::size_t>(size), "method%d", id);
  }
  int next() const {
    if (statuses.empty()) return 0;
    const int status = statuses.front();
    statuses.pop_front();
    return status;
  }
  int read(int id, bool first, void* machine) const { return reads.push_back({id, first, machine}), next(); }
  int log(int id, bool first, void* machine) { return calls.push_back({id, first, machine}), next(); }

  int getObjectPropertyInt(int id, int& v, bool f, void* m) const override {
    return v = id == 1 ? health : id, read(id, f, m);
  }
  int getObjectPropertyFloat(int id, float& v, bool f, void* m) const override { return v = speed, read(id, f, m); }
  int getObjectPropertyPointer(int id, VM_ObjectInterface*& v, bool f, void* m) const override {
    return v = target, read(id, f, m);
  }
  int setObjectPropertyInt(int id, int v, bool f, void* m) override { return health = v, log(id, f, m); }
  int setObjectPropertyFloat(int id, float v, bool f, void* m) override { return speed = v, log(id, f, m); }
  int setObjectPropertyPointer(int id, VM_ObjectInterface* v, bool f, void* m) override {
    return target = v, log(id, f, m);
  }
  int callObjectMethodInt(int id, int& result, bool f, void* machine) override {
    // A host method has no parameters: it reads the machine it is given,
    // through the exported accessors as a host would.
    result = VM_getIntRegister(machine, 1) + VM_getIntRegister(machine, 2) +
             VM_getIntMemory(machine, VM_getIntRegister(machine, 3));
    return log(id, f, machine);
  }
  int callObjectMethodFloat(int id, float& v, bool f, void* m) override { return v = health / 2.0f, log(id, f, m); }
  int callObjectMethodPointer(int id, VM_ObjectInterface*& v, bool f, void* m) override {
    return v = target, log(id, f, m);
  }
  int callObjectMethodVoid(int id, bool f, void* m) override { return log(id, f, m); }
};

// A machine with 16 cells in each memory, for scripts that reach host objects.
class ObjectMachineTest : public MachineTest {
 protected:
  void SetUp() override {
    MachineTest::SetUp();
    vmw::sizeMemories(*machine, 16);
  }
};
