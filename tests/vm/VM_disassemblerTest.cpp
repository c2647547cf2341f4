// Listing lines byte for byte, the notation of each operand form, and a
// buffer that is never written past its size.
#include <gtest/gtest.h>

#include <cstring>
#include <string>

#include "support/LiveBlockGuard.h"
#include "support/MachineTest.h"
#include "support/VMWordBuilder.h"
#include "vm/KX_VMDisassembler.h"

namespace {

using namespace vmw;

class Disassembler : public MachineTest {
 protected:
  std::string line(int address, bool withCode = false) {
    char buffer[128];
    std::memset(buffer, 'X', sizeof buffer);
    VM_disassemble(handle, buffer, sizeof buffer, address, withCode);
    return buffer;
  }
  // The text behind the address of a one-word program.
  std::string list(std::uint64_t w) {
    loadProgram(*machine, {w});
    return line(1).substr(11);
  }
};

TEST_F(Disassembler, WorkedLinesReadByteForByte) {
  EXPECT_EQ(line(1), "60000001:  HALT      0");
  EXPECT_EQ(line(1, true), "60000001: 0000000000000000  HALT      0");
  EXPECT_EQ(line(0), "60000000:  HALT      0");  // address 0 lists like any other
  loadProgram(*machine, {0, 0, 0, 0, 0x0000000001806108ull});
  EXPECT_EQ(line(5), "60000005:  LOAD      ir1,[spi + 0x00000001]");
  EXPECT_EQ(line(0x80000005), "60000005:  LOAD      ir1,[spi + 0x00000001]");  // only 29 bits count
  EXPECT_EQ(list(word("UNWATCHALL")), "UNWATCHALL");
  EXPECT_EQ(list(word("RETURN")), "RETURN    ");
  EXPECT_EQ(list(word("XCHANGEGE", kInt, 2, reg(3))), "XCHANGEGE ir2,ir3");
  EXPECT_EQ(list(word("LOAD", kFloat, 0, immf(1.5f))), "LOAD      fr0,1.500000");
  EXPECT_EQ(list(locals(3, 4, 5)), "LOCALS    3,4,5");
}

TEST_F(Disassembler, EveryOperandFormInEachBank) {
  struct Case {
    std::uint64_t word;
    const char* text;
  } cases[] = {
      {word("LOAD", kInt, 1, imm(-7)), "LOAD      ir1,-7"},
      {word("LOAD", kPtr, 1, imm(0x20000005)), "LOAD      pr1,0x20000005"},
      {word("STORE", kFloat, 2, reg(3)), "STORE     fr3,fr2"},
      {word("LOAD", kPtr, 0, sys(0)), "LOAD      pr0,pr0"},  // spi read as a pointer shows as pr0
      {word("ADD", kInt, 1, absolute(0x80000002)), "ADD       ir1,[0x80000002]"},
      {word("LOAD", kInt, 1, based(2, 0)), "LOAD      ir1,[pr2]"},
      {word("LOAD", kInt, 1, based(2, -1)), "LOAD      ir1,[pr2 + 0xffffffff]"},
      {word("LOAD", kFloat, 1, stack(0)), "LOAD      fr1,[spf]"},
      {word("LOAD", kPtr, 1, stack(3)), "LOAD      pr1,[spp + 0x00000003]"},
      {word("LOAD", kInt, 1, indexed(4, 5, 0)), "LOAD      ir1,[pr4 + ir5]"},
      {word("LOAD", kInt, 1, indexed(4, 5, 8)), "LOAD      ir1,[pr4 + ir5 + 0x00000008]"},
      {word("LOAD", kFloat, 1, stackIndexed(6, 0)), "LOAD      fr1,[spf + ir6]"},
      {word("LOAD", kInt, 1, stackIndexed(6, 2)), "LOAD      ir1,[spi + ir6 + 0x00000002]"},
      {word("LOAD", kInt, 1, based(1, 4).property(7)), "LOAD      ir1,[pr1 + 0x00000004].0x0007"},
      {word("CALL", kInt, stack(0).property(0x1234)), "CALL      [spp].0x1234"},  // pointer bank for CALL
      {word("PARAM", kFloat, stack(1)), "PARAM     [spf + 0x00000001]"},
      {word("HALT", kFloat, imm(3)), "HALT      3"},
      {word("JUMPNE", kInt, imm(codePtr(9))), "JUMPNE    0x60000009"},
      {word("LOADPTR", kInt, 3, stack(1)), "LOADPTR   ir3,[spp + 0x00000001]"},
      {word("FTOI", kInt, 1, immf(-2.5f)), "FTOI      ir1,-2.500000"},
      {word("ITOF", kFloat, 1, reg(2)), "ITOF      fr1,ir2"},
      {word("SQRT", kInt, 1, imm(4)), "SQRT      ir1,4"},  // listed in the bank of the target
      {word("UNWATCH", kInt, reg(2)), "UNWATCH   pr2"},
      {word("WATCHLE", kFloat, 1, absolute(floatPtr(3))), "WATCHLE   fr1,[0x20000003]"},
      {word("NEWF", kPtr, imm(12)), "NEWF      12"},
      {word("DELETE", kInt, reg(4)), "DELETE    pr4"},
      // Sub types without a name keep their operands; a conversion shows its register alone.
      {rawWord(5, 0, kInt, 1, imm(2)), "???       ir1,2"},
      {rawWord(22, 7, kFloat, 1, reg(0)), "???       fr1,fr0"},
      {rawWord(16, 2, kInt, 3, imm(9)), "???       ir3"},
      {rawWord(19, 5, kInt, 0, imm(9)), "???       9"},
      {rawWord(0, 6, kInt, 0, imm(1)), "HALT      1"},  // any sub type is HALT
      // Words that do not decode.
      {23, "???"},
      {rawWord(1, 1, kInt, 0, imm(0)), "???"},
      {rawWord(8, 0, 3, 0, imm(0)), "???"},
      {rawWord(8, 0, kInt, 0, imm(0)) | 5u << 13, "???"},
  };
  for (const Case& c : cases) EXPECT_EQ(list(c.word), c.text) << std::hex << c.word;
}

TEST_F(Disassembler, PropertyIdsCarryOverFromTheLineBeforeOnlyWhenTheWordHasNone) {
  loadProgram(*machine, {word("LOAD", kInt, 1, based(1, 0).property(9)), word("LOAD", kInt, 1, based(1, 0))});
  KX_StringList lines;
  KX_VMDisassembler::formatLine(*machine, lines, 1, 5, false);
  ASSERT_EQ(lines.getCount(), 2);  // stops at the end of the code
  EXPECT_STREQ(lines.getString(0)->getText(), "60000001:  LOAD      ir1,[pr1].0x0009");
  EXPECT_STREQ(lines.getString(1)->getText(), "60000002:  LOAD      ir1,[pr1]");
}

TEST_F(Disassembler, TheBufferIsCutTerminatedAndNeverOverrun) {
  char buffer[16];
  std::memset(buffer, 'X', sizeof buffer);
  VM_disassemble(handle, buffer, 5, 1, false);
  EXPECT_STREQ(buffer, "6000");
  EXPECT_EQ(buffer[5], 'X');
  VM_disassemble(handle, buffer, 1, 1, false);
  EXPECT_EQ(buffer[0], '\0');
  EXPECT_EQ(buffer[1], '0');
  // Beyond the code: the empty text, and nothing else is written.
  std::memset(buffer, 'X', sizeof buffer);
  VM_disassemble(handle, buffer, 8, 2, false);
  EXPECT_EQ(buffer[0], '\0');
  EXPECT_EQ(buffer[1], 'X');
  VM_disassemble(handle, buffer, 0, 1, false);
  EXPECT_EQ(buffer[0], '\0');
  // The machine's own instruction is not touched.
  machine->instruction.group = 12;
  VM_disassemble(handle, buffer, sizeof buffer, 1, true);
  EXPECT_EQ(machine->instruction.group, 12);
}

}  // namespace
