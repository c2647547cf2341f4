// One decoded instruction word of the script machine.
#pragma once

#include <cstdint>

#include "foundation/KX_Base.h"

class KX_VMInstruction : public KX_Base {
 public:
  KX_VMInstruction() = default;
  ~KX_VMInstruction() override = default;
  KX_Base* newInstance() const override { return new KX_VMInstruction(); }
  void copyFrom(const KX_Base* source) override { *this = *static_cast<const KX_VMInstruction*>(source); }

  int group = 0;                   // opcode group, 0 to 22
  int subType = 0;                 // opcode sub type, 0 to 7
  int targetRegister = 0;          // 0 to 7
  int sourceRegister = 0;          // 0 to 7
  unsigned char registerType = 0;  // bank of the target: 0 int, 1 float, 2 pointer
  unsigned char addressMode = 0;   // 0 immediate, 1 register, 2 absolute, 3 based, 4 indexed
  int baseRegister = 0;            // 0 to 7
  int indexRegister = 0;           // 0 to 7
  std::int32_t intConstant = 0;    // constant of modes 0 and 2
  float floatConstant = 0.0f;      // the same 32 bits read as a float
  int offset = 0;                  // signed displacement of modes 3 and 4
  int propertyId = 0;              // 16-bit property or method id
  bool hasProperty = false;        // propertyId was present in the word
  bool systemRegister = false;     // bit 23: stack pointer base, or a system register
  int localInts = 0;               // operands of LOCALS
  int localFloats = 0;
  int localPointers = 0;
};
