// The form in which the execution loop runs an instruction: the fields of one
// word, decoded on their own, in a small plain struct. The machine keeps one
// per code word (the decoded-word cache) so that a word is decoded once, not
// at every step. Fields the word does not carry are left zero here; the
// machine's `instruction` gets the values they keep from earlier words when
// it is brought up to date (KX_VirtualMachine::syncInstruction).
#pragma once

#include <cstdint>
#include <cstring>
#include <type_traits>

#include "vm/KX_VMInstruction.h"

// Which fields a word carries: LOCALS, or the address mode, with or without a
// property id. Replaying the last word of each shape in fetch order rebuilds
// the fields of `instruction` exactly.
enum KX_VMWordShape : std::uint8_t {
  kShapeLocalsWord = 0,
  kShapeImmediateWord,
  kShapeRegisterWord,
  kShapeAbsoluteWord,
  kShapeBasedWord,
  kShapeBasedPropertyWord,
  kShapeIndexedWord,
  kShapeIndexedPropertyWord,
  kWordShapeCount
};

// Instructions common enough in loops that the execution loop runs them in
// place; they call nothing, and one whose stack cell is out of range is left
// to the general dispatch, which reports it. Everything else is kFastNone and
// goes through the general dispatch.
enum KX_VMFastKind : std::uint8_t {
  kFastNone = 0,
  kFastAddIntImmediate,   // ADD ir, constant
  kFastAddIntRegister,    // ADD ir, ir
  kFastSubIntImmediate,   // SUB ir, constant
  kFastSubIntRegister,    // SUB ir, ir
  kFastCompIntImmediate,  // COMP ir, constant
  kFastCompIntRegister,   // COMP ir, ir
  kFastLoadIntImmediate,  // LOAD ir, constant
  kFastLoadIntRegister,   // LOAD ir, ir
  kFastJumpImmediate,     // JUMPcc to a constant code pointer: only the range is left to test
  kFastLoadIntStack,      // LOAD ir, int stack cell below spi: the cell's range is tested in place
  kFastAddIntStack,       // ADD ir, int stack cell
  kFastStoreIntStack,     // STORE ir, int stack cell
};

struct KX_VMDecodedWord {
  std::uint64_t word;        // the code word this entry was decoded from
  std::int32_t intConstant;  // modes 0 and 2
  float floatConstant;       // mode 0
  std::int32_t offset;       // modes 3 and 4
  std::int32_t propertyId;   // only when hasProperty
  std::uint8_t group;
  std::uint8_t subType;
  std::uint8_t targetRegister;
  std::uint8_t registerType;
  std::uint8_t addressMode;
  std::uint8_t sourceRegister;
  std::uint8_t baseRegister;
  std::uint8_t indexRegister;
  bool hasProperty;
  bool systemRegister;
  std::uint8_t shape;
  std::uint8_t fast;  // a KX_VMFastKind
  bool valid;         // false: the entry holds nothing yet
  std::uint16_t localInts;
  std::uint16_t localFloats;
  std::uint16_t localPointers;

  // The fields of a decoded instruction; `word` and `shape` are the caller's.
  void assign(const KX_VMInstruction& from) {
    intConstant = from.intConstant;
    floatConstant = from.floatConstant;
    offset = from.offset;
    propertyId = from.propertyId;
    // Register numbers and the sub type are cut to their bits, so that a
    // field set from outside cannot index beyond a register bank.
    group = static_cast<std::uint8_t>(from.group);
    subType = static_cast<std::uint8_t>(from.subType & 7);
    targetRegister = static_cast<std::uint8_t>(from.targetRegister & 7);
    registerType = from.registerType;
    addressMode = from.addressMode;
    sourceRegister = static_cast<std::uint8_t>(from.sourceRegister & 7);
    baseRegister = static_cast<std::uint8_t>(from.baseRegister & 7);
    indexRegister = static_cast<std::uint8_t>(from.indexRegister & 7);
    hasProperty = from.hasProperty;
    systemRegister = from.systemRegister;
    localInts = static_cast<std::uint16_t>(from.localInts);
    localFloats = static_cast<std::uint16_t>(from.localFloats);
    localPointers = static_cast<std::uint16_t>(from.localPointers);
    valid = true;
  }
};

static_assert(std::is_trivially_copyable_v<KX_VMDecodedWord>, "cache entries are raw memory");
