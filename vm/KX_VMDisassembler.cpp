#include "vm/KX_VMDisassembler.h"

#include <cstdint>

#include "qv_helper/qv_helper.h"
#include "vm/KX_VMOpcodeTable.h"
#include "vm/KX_VirtualMachine.h"

using namespace KX_VMWord;

namespace {

void appendText(KX_String& line, const char* text) {
  while (*text != '\0') line.append(*text++);
}

const char* const kRegisterFormats[3] = {"ir%i", "fr%i", "pr%i"};
const char* const kStackNames[3] = {"spi", "spf", "spp"};

}  // namespace

void KX_VMDisassembler::formatRegister(KX_String& text, const KX_VMInstruction& instruction) {
  text.format(kRegisterFormats[instruction.registerType], instruction.targetRegister);
}

void KX_VMDisassembler::formatOperand(KX_String& text, const KX_VMInstruction& in, int bank) {
  // A stack base prints as the stack pointer of the operand's bank; an
  // offset prints as its 32-bit pattern, so -1 reads 0xffffffff.
  const unsigned int offset = static_cast<unsigned int>(in.offset);
  switch (in.addressMode) {
    case kImmediate:
      if (bank == 0) {
        text.format("%i", in.intConstant);
      } else if (bank == 1) {
        text.format("%f", static_cast<double>(in.floatConstant));
      } else {
        text.format("0x%08x", static_cast<unsigned int>(in.intConstant));
      }
      break;
    case kRegister:
      // Also with bit 23: a system register shows as the register it numbers.
      text.format(kRegisterFormats[bank], in.sourceRegister);
      break;
    case kAbsolute:
      text.format("[0x%08x]", static_cast<unsigned int>(in.intConstant));
      break;
    case kBased:
      if (in.systemRegister) {
        if (offset != 0) {
          text.format("[%s + 0x%08x]", kStackNames[bank], offset);
        } else {
          text.format("[%s]", kStackNames[bank]);
        }
      } else if (offset != 0) {
        text.format("[pr%i + 0x%08x]", in.baseRegister, offset);
      } else {
        text.format("[pr%i]", in.baseRegister);
      }
      break;
    default:  // indexed
      if (in.systemRegister) {
        if (offset != 0) {
          text.format("[%s + ir%i + 0x%08x]", kStackNames[bank], in.indexRegister, offset);
        } else {
          text.format("[%s + ir%i]", kStackNames[bank], in.indexRegister);
        }
      } else if (offset != 0) {
        text.format("[pr%i + ir%i + 0x%08x]", in.baseRegister, in.indexRegister, offset);
      } else {
        text.format("[pr%i + ir%i]", in.baseRegister, in.indexRegister);
      }
      break;
  }
  if (in.hasProperty) {
    KX_String property;
    property.format(".0x%04x", in.propertyId);
    appendText(text, property.getText());
  }
}

void KX_VMDisassembler::formatLine(const KX_VirtualMachine& machine, KX_StringList& lines, int address, int lineCount,
                                   bool withCode) {
  lines.clear();
  KX_VMInstruction in;
  KX_String first;
  KX_String second;
  unsigned int a = static_cast<unsigned int>(address) & kVMAddressMask;
  while (lines.getCount() < lineCount && a < static_cast<unsigned int>(machine.code.getCount())) {
    const std::uint64_t word = static_cast<std::uint64_t>(machine.code.at(static_cast<int>(a)));
    KX_String* line = new KX_String();
    if (withCode) {
      line->format("%08x: %016llx  ", a | VM_POINTER_CODE, static_cast<unsigned long long>(word));
    } else {
      line->format("%08x:  ", a | VM_POINTER_CODE);
    }
    lines.append(line);
    ++a;
    // An undecodable word is no error for the reader: it shows as "???".
    if (in.decode(word) != 0) {
      appendText(*line, "???");
      continue;
    }

    const char* mnemonic = mnemonicOf(in.group, in.subType);
    const bool named = mnemonic != nullptr;
    first.clear();
    second.clear();
    switch (in.group) {
      case kGroupLocals:
        first.format("%i,%i,%i", in.localInts, in.localFloats, in.localPointers);
        break;
      case kGroupReturn:
        break;
      case kGroupStore:
        formatOperand(first, in, in.registerType);
        formatRegister(second, in);
        break;
      case kGroupConvert:
        formatRegister(first, in);
        // An unnamed conversion shows its register alone.
        if (named) formatOperand(second, in, operandBankOf(in.group, in.subType, in.registerType));
        break;
      case kGroupWatch:
        if (in.subType == 0) {
          formatOperand(first, in, kBankPointer);
        } else if (in.subType != 7) {
          formatRegister(first, in);
          formatOperand(second, in, in.registerType);
        }
        break;
      default:
        if (kOpcodeTable[in.group].shape == kShapeOperand) {
          formatOperand(first, in, operandBankOf(in.group, in.subType, in.registerType));
        } else {
          formatRegister(first, in);
          formatOperand(second, in, operandBankOf(in.group, in.subType, in.registerType));
        }
        break;
    }

    KX_String name;
    // Padded to ten characters; none of the mnemonics is longer.
    name.format("%-10s", named ? mnemonic : "???");
    appendText(*line, name.getText());
    if (first.getLength() != 0) {
      appendText(*line, first.getText());
      if (second.getLength() != 0) {
        line->append(',');
        appendText(*line, second.getText());
      }
    }
  }
}
