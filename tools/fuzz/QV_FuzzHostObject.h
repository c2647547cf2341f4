// A host class for the fuzz targets and their seeds, with members of every
// type so that scripts reach property reads and writes, method calls, waits
// and watches on objects:
//   properties  1 int, 2 float, 3 object (`target`), 4 int whose writes
//               answer VM_WAIT once, 5 int whose reads fail
//   methods     10 int: ir1 + ir2 + the int cell that ir3 names (0 outside
//               int memory); 11 float; 12 object: `target`; 13 void that
//               answers VM_WAIT `waits` times before it finishes; 14 int that
//               fails
// Reads never answer VM_WAIT, since watches read properties too. A class
// name other than the default gives fewer properties, so that two classes
// of different shapes meet in one machine.
#pragma once

#include <cstdio>

#include "qv_helper/qv_helper.h"

class QV_FuzzHostObject : public VM_ObjectInterface {
 public:
  explicit QV_FuzzHostObject(const char* className = "Crate") : className(className) {}

  const char* className;
  int health = 7;
  float speed = 1.5f;
  VM_ObjectInterface* target = nullptr;
  int waits = 2;  // repeats of method 13 before it finishes

 protected:
  struct Member {
    short id;
    VM_ObjectDataType type;
  };
  static constexpr Member kProperties[] = {
      {1, VM_DATA_INT}, {2, VM_DATA_FLOAT}, {3, VM_DATA_OBJECT}, {4, VM_DATA_INT}, {5, VM_DATA_INT}};
  static constexpr Member kMethods[] = {
      {10, VM_DATA_INT}, {11, VM_DATA_FLOAT}, {12, VM_DATA_OBJECT}, {13, VM_DATA_VOID}, {14, VM_DATA_INT}};

  const char* getClassName() const override { return className; }
  int getObjectPropertyCount() const override { return className[0] == 'C' ? 5 : 3; }
  int getObjectMethodCount() const override { return 5; }
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

  int getObjectPropertyInt(int id, int& value, bool, void*) const override {
    if (id == 5) return VM_ERROR_ID;
    value = id == 1 ? health : id;
    return id == 1 || id == 4 ? 0 : VM_ERROR_ID;
  }
  int getObjectPropertyFloat(int id, float& value, bool, void*) const override {
    value = speed;
    return id == 2 ? 0 : VM_ERROR_ID;
  }
  int getObjectPropertyPointer(int id, VM_ObjectInterface*& value, bool, void*) const override {
    value = target;
    return id == 3 ? 0 : VM_ERROR_ID;
  }
  int setObjectPropertyInt(int id, int value, bool firstAttempt, void*) override {
    if (id == 4 && firstAttempt) return VM_WAIT;
    if (id != 1 && id != 4) return VM_ERROR_ID;
    health = value;
    return 0;
  }
  int setObjectPropertyFloat(int id, float value, bool, void*) override {
    speed = value;
    return id == 2 ? 0 : VM_ERROR_ID;
  }
  int setObjectPropertyPointer(int id, VM_ObjectInterface* value, bool, void*) override {
    target = value;
    return id == 3 ? 0 : VM_ERROR_ID;
  }

  int callObjectMethodInt(int id, int& result, bool, void* machine) override {
    if (id != 10) return VM_ERROR_ID;
    // A careful host checks an address taken from the script before reading.
    const int cell = VM_getIntRegister(machine, 3);
    const int value = cell >= 0 && cell < VM_getIntMemorySize(machine) ? VM_getIntMemory(machine, cell) : 0;
    result =
        static_cast<int>(static_cast<unsigned int>(VM_getIntRegister(machine, 1)) +
                         static_cast<unsigned int>(VM_getIntRegister(machine, 2)) + static_cast<unsigned int>(value));
    return 0;
  }
  int callObjectMethodFloat(int id, float& result, bool, void*) override {
    result = speed * 2.0f;
    return id == 11 ? 0 : VM_ERROR_ID;
  }
  int callObjectMethodPointer(int id, VM_ObjectInterface*& result, bool, void*) override {
    result = target;
    return id == 12 ? 0 : VM_ERROR_ID;
  }
  int callObjectMethodVoid(int id, bool firstAttempt, void*) override {
    if (id != 13) return VM_ERROR_ID;
    if (firstAttempt) remaining = waits;
    if (remaining > 0) return --remaining, VM_WAIT;
    return 0;
  }

 private:
  int remaining = 0;
};
