// The one table of the script machine's opcodes: per group its sub types,
// mnemonics and operand shape. The execution loop names its groups from here;
// a disassembler and an assembler iterate the same table, so the three can
// never disagree about a name.
#pragma once

#include "vm/KX_VMInstruction.h"

namespace KX_VMWord {

// Group numbers, bits 0 to 4 of a word.
enum Group : int {
  kGroupHalt = 0,       // HALT op: stop, exit code from the int operand
  kGroupLocals = 1,     // LOCALS ints, floats, pointers: zero cells on the three stacks
  kGroupParam = 2,      // PARAM op: push the operand on the stack of its bank
  kGroupReturn = 3,     // RETURN: close the open call, or stop on the bottom level
  kGroupCompare = 4,    // COMP reg, op: compareResult from reg against op
  kGroupWait = 5,       // WAITcc reg, op: compare, give the slice back until cc holds
  kGroupJump = 6,       // JUMPcc op: go to a code pointer if cc holds
  kGroupCall = 7,       // CALLcc op: open a call at a code pointer (or call an object method)
  kGroupLoad = 8,       // LOADcc reg, op: reg = op if cc holds
  kGroupStore = 9,      // STOREcc op, reg: op = reg if cc holds
  kGroupLoadPtr = 10,   // LOADPTR reg, op: pr[reg] = address of op
  kGroupExchange = 11,  // XCHANGEcc reg, op: swap reg and op if cc holds
  kGroupArith = 12,     // MUL DIV MOD ADD SUB NEG reg, op
  kGroupTrig = 13,      // SIN COS TAN ASIN ACOS ATAN reg, op (float)
  kGroupPower = 14,     // SQRT POW RECIP reg, op (float)
  kGroupTrunc = 15,     // TRUNC reg, op (float): cut the fraction
  kGroupConvert = 16,   // FTOI ITOF reg, op
  kGroupBitShift = 17,  // SHIFTL SHIFTR BSHIFTR reg, op (int)
  kGroupLogic = 18,     // AND OR NOT XOR reg, op (int)
  kGroupNew = 19,       // NEWI NEWF NEWP op: reserved, reported to the host
  kGroupDelete = 20,    // DELETE op: reserved, reported to the host
  kGroupWatch = 21,     // UNWATCH op; WATCHcc reg, op; UNWATCHALL
  kGroupTrigger = 22,   // TRIGGERcc reg, op
};

// Condition sub types, shared by the families that test compareResult.
enum Condition : int {
  kAlways = 0,
  kGreater = 1,
  kLess = 2,
  kGreaterOrEqual = 3,
  kLessOrEqual = 4,
  kEqual = 5,
  kNotEqual = 6,
};

// Sub types of the computing groups.
enum ArithSubType : int { kMul = 0, kDiv = 1, kMod = 2, kAdd = 3, kSub = 4, kNeg = 5 };
enum TrigSubType : int { kSin = 0, kCos = 1, kTan = 2, kAsin = 3, kAcos = 4, kAtan = 5 };
enum PowerSubType : int { kSqrt = 0, kPow = 1, kRecip = 2 };
enum ConvertSubType : int { kFtoi = 0, kItof = 1 };
enum ShiftSubType : int { kShiftLeft = 0, kShiftRight = 1, kShiftRightUnsigned = 2 };
enum LogicSubType : int { kAnd = 0, kOr = 1, kNot = 2, kXor = 3 };

// What an instruction of a group takes, for listing and assembling it.
enum OperandShape : int {
  kShapeOperand,          // op
  kShapeLocals,           // three counts
  kShapeNone,             // nothing
  kShapeRegisterOperand,  // reg, op
  kShapeOperandRegister,  // op, reg (STORE)
  kShapeWatch,            // sub type 0: op; 1 to 6: reg, op; 7: nothing
};

// One group: the mnemonic of each sub type (null where the sub type is not
// listed), and whether any sub type is taken (then the name of sub type 0
// stands for all of them).
struct OpcodeGroup {
  const char* mnemonics[8];
  bool anySubType;
  OperandShape shape;
};

constexpr OpcodeGroup kOpcodeTable[kLastGroup + 1] = {
    /* 0 */ {{"HALT"}, true, kShapeOperand},
    /* 1 */ {{"LOCALS"}, false, kShapeLocals},
    /* 2 */ {{"PARAM"}, true, kShapeOperand},
    /* 3 */ {{"RETURN"}, true, kShapeNone},
    /* 4 */ {{"COMP"}, true, kShapeRegisterOperand},
    /* 5 */ {{nullptr, "WAITG", "WAITL", "WAITGE", "WAITLE", "WAITE", "WAITNE"}, false, kShapeRegisterOperand},
    /* 6 */ {{"JUMP", "JUMPG", "JUMPL", "JUMPGE", "JUMPLE", "JUMPE", "JUMPNE"}, false, kShapeOperand},
    /* 7 */ {{"CALL", "CALLG", "CALLL", "CALLGE", "CALLLE", "CALLE", "CALLNE"}, false, kShapeOperand},
    /* 8 */ {{"LOAD", "LOADG", "LOADL", "LOADGE", "LOADLE", "LOADE", "LOADNE"}, false, kShapeRegisterOperand},
    /* 9 */
    {{"STORE", "STOREG", "STOREL", "STOREGE", "STORELE", "STOREE", "STORENE"}, false, kShapeOperandRegister},
    /* 10 */ {{"LOADPTR"}, true, kShapeRegisterOperand},
    /* 11 */
    {{"XCHANGE", "XCHANGEG", "XCHANGEL", "XCHANGEGE", "XCHANGELE", "XCHANGEE", "XCHANGENE"},
     false,
     kShapeRegisterOperand},
    /* 12 */ {{"MUL", "DIV", "MOD", "ADD", "SUB", "NEG"}, false, kShapeRegisterOperand},
    /* 13 */ {{"SIN", "COS", "TAN", "ASIN", "ACOS", "ATAN"}, false, kShapeRegisterOperand},
    /* 14 */ {{"SQRT", "POW", "RECIP"}, false, kShapeRegisterOperand},
    /* 15 */ {{"TRUNC"}, true, kShapeRegisterOperand},
    /* 16 */ {{"FTOI", "ITOF"}, false, kShapeRegisterOperand},
    /* 17 */ {{"SHIFTL", "SHIFTR", "BSHIFTR"}, false, kShapeRegisterOperand},
    /* 18 */ {{"AND", "OR", "NOT", "XOR"}, false, kShapeRegisterOperand},
    /* 19 */ {{"NEWI", "NEWF", "NEWP"}, false, kShapeOperand},
    /* 20 */ {{"DELETE"}, true, kShapeOperand},
    /* 21 */
    {{"UNWATCH", "WATCHG", "WATCHL", "WATCHGE", "WATCHLE", "WATCHE", "WATCHNE", "UNWATCHALL"}, false, kShapeWatch},
    /* 22 */
    {{nullptr, "TRIGGERG", "TRIGGERL", "TRIGGERGE", "TRIGGERLE", "TRIGGERE", "TRIGGERNE"},
     false,
     kShapeRegisterOperand},
};

// The bank in which a listing shows (and an assembler reads) a group's
// operand: one of the three banks, or the bank of the word's registerType.
enum OperandBank : int { kBankInt = 0, kBankFloat = 1, kBankPointer = 2, kBankOwn = -1 };

constexpr OperandBank kOperandBanks[kLastGroup + 1] = {
    /* 0 HALT */ kBankInt,       /* 1 LOCALS */ kBankInt,       /* 2 PARAM */ kBankOwn,
    /* 3 RETURN */ kBankInt,     /* 4 COMP */ kBankOwn,         /* 5 WAITcc */ kBankOwn,
    /* 6 JUMPcc */ kBankPointer, /* 7 CALLcc */ kBankPointer,   /* 8 LOADcc */ kBankOwn,
    /* 9 STOREcc */ kBankOwn,    /* 10 LOADPTR */ kBankPointer, /* 11 XCHANGEcc */ kBankOwn,
    /* 12 MUL.. */ kBankOwn,     /* 13 SIN.. */ kBankOwn,       /* 14 SQRT.. */ kBankOwn,
    /* 15 TRUNC */ kBankOwn,     /* 16 FTOI ITOF */ kBankOwn,   /* 17 SHIFTL.. */ kBankOwn,
    /* 18 AND.. */ kBankOwn,     /* 19 NEWx */ kBankInt,        /* 20 DELETE */ kBankPointer,
    /* 21 WATCH */ kBankOwn,     /* 22 TRIGGERcc */ kBankOwn,
};

// The bank of the operand of a word: FTOI reads a float, ITOF an int, and
// UNWATCH (group 21, sub type 0) a pointer; the others follow kOperandBanks.
constexpr int operandBankOf(int group, int subType, int registerType) {
  if (group == kGroupConvert) return subType == kFtoi ? kBankFloat : kBankInt;
  if (group == kGroupWatch && subType == 0) return kBankPointer;
  const OperandBank bank = kOperandBanks[group];
  return bank == kBankOwn ? registerType : bank;
}

// The mnemonic of a group and sub type, or null where the table lists none.
constexpr const char* mnemonicOf(int group, int subType) {
  if (group < 0 || group > kLastGroup || subType < 0 || subType > 7) return nullptr;
  const OpcodeGroup& entry = kOpcodeTable[group];
  return entry.anySubType ? entry.mnemonics[0] : entry.mnemonics[subType];
}

}  // namespace KX_VMWord
