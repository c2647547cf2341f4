// The machine's view of a scriptable object: a class that describes its own
// members and serves reads, writes and calls by id. The machine only ever
// talks to objects through this class; VM_HelperObjectInterface adapts a host
// object to it.
//
// Every operation returns a status: 0 done, VM_WAIT not finished yet (the
// instruction stays pending), any other value an error code. With a non-zero
// status the value or result is not used.
#pragma once

#include "foundation/KX_FloatArray.h"
#include "foundation/KX_IntArray.h"
#include "foundation/KX_ObjectArray.h"
#include "foundation/KX_String.h"
#include "foundation/KX_VoidPtrArray.h"

class KX_VMObjectInterface {
 public:
  // The name of the object's class; objects of one name share their members.
  virtual KX_String getClassName();
  // Append one KX_VMObjectProperty (or KX_VMObjectMethod) per member.
  virtual void getPropertyDefinitions(KX_ObjectArray& properties);
  virtual void getMethodDefinitions(KX_ObjectArray& methods);

  virtual int getPropertyInt(int id, int& value, bool firstAttempt, void* machine);
  virtual int getPropertyFloat(int id, float& value, bool firstAttempt, void* machine);
  virtual int getPropertyPointer(int id, KX_VMObjectInterface*& value, bool firstAttempt, void* machine);
  virtual int setPropertyInt(int id, int value, bool firstAttempt, void* machine);
  virtual int setPropertyFloat(int id, float value, bool firstAttempt, void* machine);
  virtual int setPropertyPointer(int id, KX_VMObjectInterface* value, bool firstAttempt, void* machine);

  // A method's parameters come by type: `ints`, `floats` and `objects`
  // (KX_VMObjectInterface pointers, possibly null) each hold the parameters
  // of their type, the first parameter of a type first. The arrays and the
  // objects in them are the caller's.
  virtual int callMethodInt(int id, int& result, KX_IntArray& ints, KX_FloatArray& floats, KX_VoidPtrArray& objects,
                            bool firstAttempt, void* machine);
  virtual int callMethodFloat(int id, float& result, KX_IntArray& ints, KX_FloatArray& floats, KX_VoidPtrArray& objects,
                              bool firstAttempt, void* machine);
  virtual int callMethodPointer(int id, KX_VMObjectInterface*& result, KX_IntArray& ints, KX_FloatArray& floats,
                                KX_VoidPtrArray& objects, bool firstAttempt, void* machine);
  virtual int callMethodVoid(int id, KX_IntArray& ints, KX_FloatArray& floats, KX_VoidPtrArray& objects,
                             bool firstAttempt, void* machine);

 protected:
  // No one deletes an object through this class: the machine owns none of
  // them, and a helper is a plain memory block.
  ~KX_VMObjectInterface() = default;
};
