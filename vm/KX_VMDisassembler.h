// Lists code words of a machine as text, one line per word, in the
// machine's assembly notation:
//
//   60000005:  LOAD      ir1,[spi + 0x00000001]
//   60000005: 0000000001806108  LOAD      ir1,[spi + 0x00000001]   (with code)
//
// A reader of the program only: it decodes into an instruction of its own
// and touches neither the machine's instruction, registers nor state.
#pragma once

#include "foundation/KX_String.h"
#include "foundation/KX_StringList.h"
#include "vm/KX_VMInstruction.h"

class KX_VirtualMachine;

class KX_VMDisassembler {
 public:
  // Fills `lines` with up to `lineCount` lines from `address` (low 29 bits)
  // on, stopping at the end of the code. One instruction serves all lines,
  // so fields a word does not carry keep the values of the line before.
  static void formatLine(const KX_VirtualMachine& machine, KX_StringList& lines, int address, int lineCount,
                         bool withCode);
  // The target register in the notation of its bank: "ir1", "fr1", "pr1".
  static void formatRegister(KX_String& text, const KX_VMInstruction& instruction);
  // The operand in the notation of `bank` (0 int, 1 float, 2 pointer), with
  // the property id appended when the word carries one.
  static void formatOperand(KX_String& text, const KX_VMInstruction& instruction, int bank);
};
