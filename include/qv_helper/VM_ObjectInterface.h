/// \file
/// The class a host derives from to make its objects scriptable.
///
/// A script reaches a host object's members by numeric id. The object tells a
/// machine its members once per class name: count and definition operations
/// report each member's 16-bit id, data type and name. Reads, writes and calls
/// then arrive through the protected operations below, each with the member's
/// id, whether this is the first attempt of the script instruction, and the
/// handle of the calling machine.
///
/// The machine keeps a pointer to each host object it has seen until the
/// machine is deleted: a host object must outlive every machine that can reach
/// it. The library never deletes a host object.
#pragma once

#include "qv_helper/qv_helper_export.h"

/// The type of a property, or of a method's result; stored in one byte.
enum VM_ObjectDataType : unsigned char {
  VM_DATA_VOID = 0,    ///< no value: only as the result type of a method
  VM_DATA_INT = 1,     ///< 32-bit signed integer
  VM_DATA_FLOAT = 2,   ///< 32-bit float
  VM_DATA_OBJECT = 3,  ///< a pointer to another VM_ObjectInterface (or null)
};

class VM_HelperObjectInterface;

/// Base of every host class that scripts may use. It has no fields and no
/// virtual destructor; every operation has a default, so a class overrides
/// only what its members need.
///
/// Status results: 0 means done. VM_WAIT (0x503) means not finished: the
/// script stays on its instruction, VM_execute returns true, and the next
/// VM_execute repeats the operation with `firstAttempt` false. Any other value
/// is an error that ends VM_execute with false. With a non-zero status the
/// value or result written is not used.
///
/// A host method receives no parameter list: it reads its inputs from the
/// machine's registers and memory through the VM_ accessors, on the `machine`
/// handle it is given.
class QV_API VM_ObjectInterface {
 public:
  /// Initialises nothing.
  VM_ObjectInterface();
  /// Copies nothing.
  VM_ObjectInterface(const VM_ObjectInterface&);
  /// Does nothing and returns this object.
  VM_ObjectInterface& operator=(const VM_ObjectInterface&);

 protected:
  /// The class name: the same for every object with the same members. A
  /// machine asks for the members at the first object of a name (compared
  /// without regard to case) and uses them for all objects of that name.
  /// \return a zero-terminated text that lives as long as the object;
  ///         by default "VM_ObjectInterface".
  virtual const char* getClassName() const;
  /// \return the number of properties; by default 0.
  virtual int getObjectPropertyCount() const;
  /// \return the number of methods; by default 0.
  virtual int getObjectMethodCount() const;
  /// Describes one property. For every index below the count an override
  /// must write all three of id, type and name.
  /// \param index [in] 0 to getObjectPropertyCount() - 1.
  /// \param id [out] the property's id, unique within the class.
  /// \param type [out] VM_DATA_INT, VM_DATA_FLOAT or VM_DATA_OBJECT.
  /// \param name [out] buffer of nameSize bytes for the name; a longer name is
  ///        cut to nameSize - 1 characters.
  /// \param nameSize [in] size of the name buffer (64).
  virtual void getObjectPropertyDefinition(int index, short& id, VM_ObjectDataType& type, char* name, int nameSize);
  /// Describes one method, as getObjectPropertyDefinition does; `type` is the
  /// result type, VM_DATA_VOID for none.
  virtual void getObjectMethodDefinition(int index, short& id, VM_ObjectDataType& type, char* name, int nameSize);
  /// Reads an int property.
  /// \param id [in] the id from the definition, zero-extended from 16 bits.
  /// \param value [out] the value, used only with status 0.
  /// \param firstAttempt [in] false when the instruction is being repeated
  ///        after VM_WAIT. Reads made for a watch always pass true and must
  ///        not answer VM_WAIT.
  /// \param machine [in] the calling machine's handle.
  /// \return status; by default VM_ERROR_ID.
  virtual int getObjectPropertyInt(int id, int& value, bool firstAttempt, void* machine) const;
  /// Reads a float property, as getObjectPropertyInt.
  virtual int getObjectPropertyFloat(int id, float& value, bool firstAttempt, void* machine) const;
  /// Reads an object property, as getObjectPropertyInt; null is a legal value.
  virtual int getObjectPropertyPointer(int id, VM_ObjectInterface*& value, bool firstAttempt, void* machine) const;
  /// Writes an int property.
  /// \param id [in] the property's id.
  /// \param value [in] the new value.
  /// \param firstAttempt [in] false when the instruction is being repeated.
  /// \param machine [in] the calling machine's handle.
  /// \return status; by default VM_ERROR_ID.
  virtual int setObjectPropertyInt(int id, int value, bool firstAttempt, void* machine);
  /// Writes a float property, as setObjectPropertyInt.
  virtual int setObjectPropertyFloat(int id, float value, bool firstAttempt, void* machine);
  /// Writes an object property, as setObjectPropertyInt. A script value that
  /// is no valid object pointer arrives as null.
  virtual int setObjectPropertyPointer(int id, VM_ObjectInterface* value, bool firstAttempt, void* machine);
  /// Calls a method with an int result.
  /// \param id [in] the method's id.
  /// \param result [out] the result, put into the script's register ir0 on status 0.
  /// \param firstAttempt [in] true on the first call for a script instruction,
  ///        false on each repeat after VM_WAIT.
  /// \param machine [in] the calling machine's handle, for reading inputs.
  /// \return status; by default VM_ERROR_ID.
  virtual int callObjectMethodInt(int id, int& result, bool firstAttempt, void* machine);
  /// Calls a method with a float result (into fr0), as callObjectMethodInt.
  virtual int callObjectMethodFloat(int id, float& result, bool firstAttempt, void* machine);
  /// Calls a method with an object result (into pr0), as callObjectMethodInt.
  virtual int callObjectMethodPointer(int id, VM_ObjectInterface*& result, bool firstAttempt, void* machine);
  /// Calls a method without result, as callObjectMethodInt.
  virtual int callObjectMethodVoid(int id, bool firstAttempt, void* machine);

  // The library's adapter forwards a machine's requests to these operations.
  friend class VM_HelperObjectInterface;
};
