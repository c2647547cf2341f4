// The adapter between a machine and one host object: it forwards the
// machine's requests to the host's VM_ObjectInterface and turns host object
// pointers into the machine's helpers and back.
//
// A helper is a plain memory block: `create` allocates it, the registry frees
// it with KX_freeMemoryBlock when its machine is deleted, and no destructor
// ever runs. There is one helper per host object and machine (see
// KX_VMRegistry::findHelper), so a helper's address stands for the object
// wherever the machine compares objects.
#pragma once

#include "vm/KX_VMObjectInterface.h"

class VM_ObjectInterface;

class VM_HelperObjectInterface : public KX_VMObjectInterface {
 public:
  // A new helper for `host` in its own memory block; null when no memory is left.
  static VM_HelperObjectInterface* create(VM_ObjectInterface* host);

  KX_String getClassName() override;
  // Asks the host for each member; method records get no parameters, as a
  // host method reads its inputs from the machine itself.
  void getPropertyDefinitions(KX_ObjectArray& properties) override;
  void getMethodDefinitions(KX_ObjectArray& methods) override;

  int getPropertyInt(int id, int& value, bool firstAttempt, void* machine) override;
  int getPropertyFloat(int id, float& value, bool firstAttempt, void* machine) override;
  // The host's object comes back as its helper in `machine`; null stays null.
  int getPropertyPointer(int id, KX_VMObjectInterface*& value, bool firstAttempt, void* machine) override;
  int setPropertyInt(int id, int value, bool firstAttempt, void* machine) override;
  int setPropertyFloat(int id, float value, bool firstAttempt, void* machine) override;
  // Passes the host object behind `value`, or null.
  int setPropertyPointer(int id, KX_VMObjectInterface* value, bool firstAttempt, void* machine) override;

  // The parameter arrays are dropped: the host's methods take none.
  int callMethodInt(int id, int& result, KX_IntArray& ints, KX_FloatArray& floats, KX_VoidPtrArray& objects,
                    bool firstAttempt, void* machine) override;
  int callMethodFloat(int id, float& result, KX_IntArray& ints, KX_FloatArray& floats, KX_VoidPtrArray& objects,
                      bool firstAttempt, void* machine) override;
  int callMethodPointer(int id, KX_VMObjectInterface*& result, KX_IntArray& ints, KX_FloatArray& floats,
                        KX_VoidPtrArray& objects, bool firstAttempt, void* machine) override;
  int callMethodVoid(int id, KX_IntArray& ints, KX_FloatArray& floats, KX_VoidPtrArray& objects, bool firstAttempt,
                     void* machine) override;

  VM_ObjectInterface* hostObject = nullptr;  // not owned

 private:
  explicit VM_HelperObjectInterface(VM_ObjectInterface* host) : hostObject(host) {}
};
