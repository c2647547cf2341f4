// Splitting instruction words into fields, the checks of decode in their
// order, and the opcode table.
#include <gtest/gtest.h>

#include <cstring>

#include "support/VMWordBuilder.h"
#include "vm/VM_reportError.h"

namespace {

using namespace vmw;

TEST(InstructionDecode, TheZeroWordIsHaltWithTheImmediateZero) {
  KX_VMInstruction in;
  in.intConstant = 99;
  in.hasProperty = true;
  ASSERT_EQ(in.decode(0ull), 0);
  EXPECT_EQ(in.group, 0);
  EXPECT_EQ(in.subType, 0);
  EXPECT_EQ(in.addressMode, 0);
  EXPECT_EQ(in.intConstant, 0);
  EXPECT_FALSE(in.hasProperty);
  EXPECT_STREQ(mnemonicOf(in.group, in.subType), "HALT");
}

TEST(InstructionDecode, ChecksFailInTheirOrderWithTheirTexts) {
  struct Case {
    std::uint64_t word;
    const char* text;
    int group;
    int subType;
  };
  const Case cases[] = {
      // Group 23 fails at once, whatever else the word holds.
      {23 | (7u << 11) | (7u << 13), "unknown OpCode group", 23, 0},
      {31 | (5u << 5), "unknown OpCode group", 31, 5},
      // LOCALS with sub type 1 fails before any other field is looked at.
      {1 | (1u << 5) | (3u << 11) | (7u << 13), "unknown OpCodeSubType for LOCALS", 1, 1},
      {8 | (3u << 11) | (7u << 13), "illegal target register type", 8, 0},
      {8 | (2u << 11) | (5u << 13), "illegal address mode", 8, 0},
      {12 | (1u << 11) | (7u << 13), "illegal address mode", 12, 0},
  };
  for (const Case& c : cases) {
    KX_VMInstruction in;
    in.targetRegister = 6;
    EXPECT_EQ(in.decode(c.word), VM_ERROR_INSTRUCTION) << c.text;
    EXPECT_STREQ(VM_getLastErrorText(), c.text);
    EXPECT_EQ(in.group, c.group);
    EXPECT_EQ(in.subType, c.subType);
  }
  // A failing group check leaves the target register of the earlier word.
  KX_VMInstruction in;
  in.targetRegister = 6;
  in.decode(23 | (3u << 8));
  EXPECT_EQ(in.targetRegister, 6);
  // A failing register type has written the target and the type already.
  in.decode(8 | (2u << 8) | (3u << 11));
  EXPECT_EQ(in.targetRegister, 2);
  EXPECT_EQ(in.registerType, 3);
}

TEST(InstructionDecode, LocalsCarriesThreeUnsignedCounts) {
  KX_VMInstruction in;
  in.targetRegister = 5;
  const std::uint64_t w = 1 + 3 * (1ull << 8) + 4 * (1ull << 24) + 5 * (1ull << 40);
  ASSERT_EQ(in.decode(w), 0);
  EXPECT_EQ(in.group, 1);
  EXPECT_EQ(in.localInts, 3);
  EXPECT_EQ(in.localFloats, 4);
  EXPECT_EQ(in.localPointers, 5);
  EXPECT_EQ(in.targetRegister, 5);  // not carried by LOCALS
  ASSERT_EQ(in.decode(locals(0xFFFF, 0x8000, 1)), 0);
  EXPECT_EQ(in.localInts, 0xFFFF);
  EXPECT_EQ(in.localFloats, 0x8000);
}

TEST(InstructionDecode, TheStackRelativeLoadExample) {
  KX_VMInstruction in;
  ASSERT_EQ(in.decode(0x0000000001806108ull), 0);
  EXPECT_EQ(in.group, 8);
  EXPECT_EQ(in.subType, 0);
  EXPECT_EQ(in.targetRegister, 1);
  EXPECT_EQ(in.registerType, 0);
  EXPECT_EQ(in.addressMode, 3);
  EXPECT_TRUE(in.systemRegister);
  EXPECT_EQ(in.offset, 1);
  EXPECT_EQ(word("LOAD", kInt, 1, stack(1)), 0x0000000001806108ull);
}

TEST(InstructionDecode, OffsetsAreSignedAndConstantsKeepAllBits) {
  KX_VMInstruction in;
  ASSERT_EQ(in.decode(word("LOAD", kInt, 0, based(2, 0xFFFFFF))), 0);
  EXPECT_EQ(in.offset, -1);
  in.decode(word("LOAD", kInt, 0, based(2, -0x800000)));
  EXPECT_EQ(in.offset, -0x800000);
  in.decode(word("LOAD", kInt, 0, indexed(3, 4, 0x7FFFFF)));
  EXPECT_EQ(in.offset, 0x7FFFFF);
  EXPECT_EQ(in.baseRegister, 3);
  EXPECT_EQ(in.indexRegister, 4);
  in.decode(word("LOAD", kFloat, 7, immf(-2.5f)));
  EXPECT_EQ(in.floatConstant, -2.5f);
  EXPECT_EQ(in.targetRegister, 7);
  EXPECT_EQ(in.registerType, 1);
  in.decode(word("LOAD", kPtr, 0, absolute(0xE0000001u)));
  EXPECT_EQ(static_cast<std::uint32_t>(in.intConstant), 0xE0000001u);
  EXPECT_EQ(in.floatConstant, -2.5f);  // mode 2 writes the int constant only
}

TEST(InstructionDecode, FieldsAWordDoesNotCarryKeepTheirValues) {
  KX_VMInstruction in;
  in.decode(word("LOAD", kInt, 0, based(1, 4).property(0x1234)));
  EXPECT_TRUE(in.hasProperty);
  EXPECT_EQ(in.propertyId, 0x1234);
  // Bit 22 clear: propertyId stays, hasProperty goes.
  in.decode(word("LOAD", kInt, 0, indexed(2, 5, 8)));
  EXPECT_FALSE(in.hasProperty);
  EXPECT_EQ(in.propertyId, 0x1234);
  // Register mode keeps base, index and offset, and clears hasProperty.
  in.decode(word("LOAD", kInt, 0, based(1, 4).property(9)));
  in.decode(word("ADD", kInt, 3, reg(6)));
  EXPECT_EQ(in.sourceRegister, 6);
  EXPECT_EQ(in.baseRegister, 1);
  EXPECT_EQ(in.offset, 4);
  EXPECT_FALSE(in.hasProperty);
  EXPECT_EQ(in.propertyId, 9);
  // Immediate mode keeps the source register; bit 23 is written in every mode.
  in.decode(word("ADD", kInt, 3, imm(77).withSystemBit()));
  EXPECT_EQ(in.sourceRegister, 6);
  EXPECT_EQ(in.intConstant, 77);
  EXPECT_TRUE(in.systemRegister);
  in.decode(word("ADD", kInt, 3, imm(1)));
  EXPECT_FALSE(in.systemRegister);
  // The property id field reads as 16 unsigned bits.
  in.decode(word("LOAD", kInt, 0, based(1, 0).property(-1)));
  EXPECT_EQ(in.propertyId, 0xFFFF);
}

TEST(OpcodeTable, NamesEveryListedOpcodeOnceAndNothingElse) {
  int named = 0;
  for (int group = 0; group <= kLastGroup; ++group) {
    for (int subType = 0; subType < 8; ++subType) {
      const char* name = mnemonicOf(group, subType);
      if (name == nullptr) continue;
      int g;
      int s;
      opcodeOf(name, g, s);
      EXPECT_EQ(g, group) << name;
      if (!kOpcodeTable[group].anySubType) {
        EXPECT_EQ(s, subType) << name;
        ++named;
      }
    }
  }
  // Sub types listed by the groups that test them.
  EXPECT_EQ(named, 1 + 6 + 7 * 4 + 7 + 6 + 6 + 3 + 2 + 3 + 4 + 3 + 8 + 6);
  EXPECT_EQ(mnemonicOf(5, 0), nullptr);
  EXPECT_EQ(mnemonicOf(12, 6), nullptr);
  EXPECT_EQ(mnemonicOf(23, 0), nullptr);
  EXPECT_STREQ(mnemonicOf(15, 6), "TRUNC");
  EXPECT_STREQ(mnemonicOf(21, 7), "UNWATCHALL");
  EXPECT_STREQ(mnemonicOf(7, 6), "CALLNE");
}

TEST(OpcodeTable, BuiltWordsDecodeToTheirMnemonicAndFields) {
  for (int group = 0; group <= kLastGroup; ++group) {
    if (group == kGroupLocals) continue;
    for (int subType = 0; subType < 8; ++subType) {
      const char* name = mnemonicOf(group, subType);
      if (name == nullptr) continue;
      KX_VMInstruction in;
      ASSERT_EQ(in.decode(word(name, kFloat, 5, indexed(6, 7, -3).property(0x4242))), 0) << name;
      EXPECT_STREQ(mnemonicOf(in.group, in.subType), name);
      EXPECT_EQ(in.registerType, 1);
      EXPECT_EQ(in.targetRegister, 5);
      EXPECT_EQ(in.baseRegister, 6);
      EXPECT_EQ(in.indexRegister, 7);
      EXPECT_EQ(in.offset, -3);
      EXPECT_EQ(in.propertyId, 0x4242);
    }
  }
}

}  // namespace
