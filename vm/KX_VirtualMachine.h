// The script machine: a register machine with int, float and pointer banks,
// each with eight registers, a memory and a stack, and a code memory of 64-bit
// instruction words.
//
// Pointers are 32-bit words: a three-bit tag in the top bits (held in place,
// see VM_PointerType) and a 29-bit address. Address 0 is null in every space,
// and every stack keeps a place-holder at index 0 so that no stack address is 0.
//
// Everything a script controls (register numbers of a word, addresses,
// stack offsets) is checked before memory is touched: a script can make its
// machine fail, never make the library read or write outside the machine.
#pragma once

#include <cstdint>

#include "foundation/KX_FloatArray.h"
#include "foundation/KX_IntArray.h"
#include "foundation/KX_LongLongArray.h"
#include "foundation/KX_ObjectArray.h"
#include "foundation/KX_StringList.h"
#include "foundation/KX_VoidPtrArray.h"
#include "vm/KX_VMDecodedWord.h"
#include "vm/KX_VMInstruction.h"

// The mask of the address part of a tagged pointer.
constexpr unsigned int kVMAddressMask = 0x1FFFFFFFu;
constexpr unsigned int kVMTagMask = 0xE0000000u;
// A step budget of this value runs without limit.
constexpr int kVMUnlimitedSteps = 0x7FFFFFFF;

class KX_VMObjectClass;
class KX_VMObjectInterface;
class KX_VMWatch;
namespace KX_VMState {
struct Layout;
}

class KX_VirtualMachine : public KX_Base {
 public:
  // An empty program of two zero words (HALT 0), one zero cell in each memory,
  // started at address 1.
  KX_VirtualMachine();
  ~KX_VirtualMachine() override;
  KX_Base* newInstance() const override { return new KX_VirtualMachine(); }
  // Deep copy of the whole machine state.
  void copyFrom(const KX_Base* source) override;

  // Resets stacks, frames and watches and starts executing at `address`
  // (its low 29 bits). Code, memories and objects are left as they are.
  void startMachine(int address);
  // Stops the machine with `code` as its exit code; everything else stays.
  void stopMachine(int code);

  // --- Execution -----------------------------------------------------------
  // Runs while the machine is running, at most `steps` steps (at least one;
  // kVMUnlimitedSteps for no limit). Returns 0, also when an instruction gave
  // VM_WAIT, or the result code of the failure that ended the slice.
  int execute(int steps);
  // Runs one instruction: fetches and decodes unless one is pending, then
  // runs it. Returns 0 or a result code (VM_WAIT included).
  int step();
  // Whether compareResult satisfies a condition sub type 0 to 6 (7: false).
  bool conditionHolds(int subType) const;
  // Tests the watches before a step; 0 when none fires or fails.
  int checkWatches();
  // Opens a call level: saves the caller's stack pointers and return
  // address, and moves to `target`.
  void enterFrame(int target, int returnAddress, KX_Base* watch);

  // --- Operand access ------------------------------------------------------
  // Read or write the operand of `in` in one bank. Each returns 0 or a result
  // code, and changes nothing when it fails. `keepObject` hands a pointer with
  // the object tag back as it is instead of following it into a property.
  // Immediate and register operands are served inline; the memory modes go
  // to the out-of-line walk.
  int readIntOperand(const KX_VMDecodedWord& in, int& out) {
    if (in.addressMode == 0) {
      out = in.intConstant;
      return 0;
    }
    if (in.addressMode == 1) {
      out = ir[in.sourceRegister];
      return 0;
    }
    return readIntPlace(in, out);
  }
  int readFloatOperand(const KX_VMDecodedWord& in, float& out) {
    if (in.addressMode == 0) {
      out = in.floatConstant;
      return 0;
    }
    if (in.addressMode == 1) {
      out = fr[in.sourceRegister];
      return 0;
    }
    return readFloatPlace(in, out);
  }
  int readPointerOperand(const KX_VMDecodedWord& in, unsigned int& out, bool keepObject) {
    if (in.addressMode == 0) {
      out = static_cast<unsigned int>(in.intConstant);
      return 0;
    }
    if (in.addressMode == 1 && !in.systemRegister) {
      out = pr[in.sourceRegister];
      return 0;
    }
    return readPointerPlace(in, out, keepObject);
  }
  int writeIntOperand(const KX_VMDecodedWord& in, int value) {
    if (in.addressMode == 1) {
      ir[in.sourceRegister] = value;
      return 0;
    }
    return writeIntPlace(in, value);
  }
  int writeFloatOperand(const KX_VMDecodedWord& in, float value) {
    if (in.addressMode == 1) {
      fr[in.sourceRegister] = value;
      return 0;
    }
    return writeFloatPlace(in, value);
  }
  int writePointerOperand(const KX_VMDecodedWord& in, unsigned int value) {
    if (in.addressMode == 1 && !in.systemRegister) {
      pr[in.sourceRegister] = value;
      return 0;
    }
    return writePointerPlace(in, value);
  }

  // --- Executable images (KX_VirtualMachineLoader.cpp) ---------------------
  // Validates `image` (magic, version, checksum) and replaces code, memories
  // and symbols by its contents; then starts at the symbol `entryName`, or
  // stops when it is null. Returns 0, VM_ERROR_MAGIC, VM_ERROR_VERSION,
  // VM_ERROR_CHECKSUM or VM_ERROR_FORMAT (a length that wraps, memories
  // beyond the address space), and then the machine is exactly as it was.
  // `imageSize` below 0 trusts the header: the caller guarantees the header
  // and the length it gives. Otherwise nothing at or beyond `imageSize`
  // bytes is read, and an image too short for its header, or with a header
  // size below the header's own, fails with VM_ERROR_FORMAT.
  int loadImage(const void* image, const char* entryName, long long imageSize = -1);
  // The address of a symbol, found by binary search in any letter case; 0
  // when there is none.
  int findSymbol(const char* name) const;

  // --- Objects (KX_VirtualMachineObjects.cpp) -------------------------------
  // The script pointer of a helper: (slot + 1) | VM_POINTER_OBJECT. A helper
  // new to the machine gets the next slot of `objects`, and its class record
  // beside it. Null gives 0.
  unsigned int getObjectHandle(KX_VMObjectInterface* helper);
  // The record of the helper's class name, made at the first object of the
  // name by asking that object for its members.
  KX_VMObjectClass* getObjectClass(KX_VMObjectInterface* helper);
  // The object in the slot that an object pointer names; null for a pointer
  // with another tag, a handle outside the table, or a cleared slot.
  KX_VMObjectInterface* objectAt(unsigned int pointer) const;

  // --- Saved state (KX_VirtualMachineSave.cpp, KX_VirtualMachineRestore.cpp) --
  // Clears the slots of objects the script can no longer reach (see
  // VM_saveCurrentState) and drops the class records no slot needs.
  void sweepObjects();
  // Sweeps, then writes the image into a new block (KX_allocateMemoryBlock).
  // False, with a null image and size 0, when it would reach 2^31 bytes.
  bool saveState(void*& image, int& imageSize);
  // Tests an image without changing anything and notes where its sections
  // are: 0, VM_ERROR_MAGIC, VM_ERROR_VERSION, VM_ERROR_CHECKSUM or
  // VM_ERROR_FORMAT. `imageSize` below 0 trusts the header's length; then
  // only the tests that need no size are made.
  int checkState(const void* image, long long imageSize, KX_VMState::Layout& layout) const;
  // Replaces the machine's state by a checked image. `helpers`
  // (KX_VMObjectInterface pointers) fill the live slots in order; nulls, and
  // slots beyond the list, stay empty.
  void applyState(const KX_VMState::Layout& layout, const KX_VoidPtrArray& helpers);
  // checkState, then applyState when it passed; returns checkState's result.
  int restoreState(const void* image, const KX_VoidPtrArray& helpers, long long imageSize = -1);

  // Brings `instruction` up to date with the words fetched from the cache
  // since the last call, so that every field holds what decoding the same
  // words one after the other would have left there.
  void syncInstruction();

  KX_LongLongArray code;
  KX_IntArray intMemory;
  KX_FloatArray floatMemory;
  KX_IntArray pointerMemory;  // tagged pointers
  KX_IntArray intStack;
  KX_FloatArray floatStack;
  KX_IntArray pointerStack;  // tagged pointers
  // The caller's stack pointers and return address, one element per open call.
  KX_IntArray savedSpi;
  KX_IntArray savedSpf;
  KX_IntArray savedSpp;
  KX_IntArray savedCp;
  // Per open call the watch whose firing opened it, or null for CALL; borrowed.
  KX_ObjectArray frameWatches;
  // Frame tops: the stack count that RETURN cuts back to; one more than open calls.
  KX_IntArray intFrames;
  KX_IntArray floatFrames;
  KX_IntArray pointerFrames;
  int ir[8] = {};
  float fr[8] = {};
  unsigned int pr[8] = {};
  int spi = 0;
  int spf = 0;
  int spp = 0;
  int cp = 0;
  KX_VoidPtrArray objects;          // the object table: helpers by slot
  KX_ObjectArray objectClasses;     // per slot its class record; borrowed
  KX_ObjectArray objectClassTable;  // the machine's class records, owned
  KX_ObjectArray watches;           // watch records, owned, sorted
  int exitCode = 0;                 // operand of the last HALT
  bool running = false;
  bool pending = false;       // `instruction` has been decoded but has not finished
  bool firstAttempt = false;  // this execution of the pending instruction is its first
  KX_VMInstruction instruction;
  signed char compareResult = 0;  // -1, 0 or +1
  // The symbol table of the loaded image: names (case-insensitive, in the
  // image's order) and, index for index, their addresses. Not copied by
  // copyFrom.
  KX_StringList symbolNames;
  KX_IntArray symbolAddresses;

 private:
  // One step without bringing `instruction` up to date; execute and step
  // share it.
  int runStep();
  // Runs words from cp on while their cache entries are up to date and no
  // watch exists. Sets `sliceOver` when the slice ends in here (budget spent,
  // a wait, a failure); returns 0 or the failure's code.
  int runCachedSteps(long long& remaining, bool& sliceOver);
  // Ends a slice of execute: brings `instruction` up to date.
  int finishSlice(int result);
  // Fetches the word at cp through the cache. Returns the entry, or null
  // with `result` set when the address or the decode fails.
  const KX_VMDecodedWord* fetch(int& result);
  int dispatch(const KX_VMDecodedWord& in);

  // Handlers of the groups that are not computed inline by dispatch.
  int opLocals(const KX_VMDecodedWord& in);
  int opParam(const KX_VMDecodedWord& in);
  int opReturn();
  int opJump(const KX_VMDecodedWord& in);
  int opCall(const KX_VMDecodedWord& in);
  int opCompare(const KX_VMDecodedWord& in);
  int opWait(const KX_VMDecodedWord& in);
  int opLoad(const KX_VMDecodedWord& in);
  int opStore(const KX_VMDecodedWord& in);
  int opExchange(const KX_VMDecodedWord& in);
  int opLoadPointer(const KX_VMDecodedWord& in);
  int opArith(const KX_VMDecodedWord& in);
  int opFunction(const KX_VMDecodedWord& in);
  int opConvert(const KX_VMDecodedWord& in);
  int opBits(const KX_VMDecodedWord& in);
  int opReserved(const KX_VMDecodedWord& in);
  // Groups 21 and 22: `edgeTriggered` is that of a watch made here.
  int opWatch(const KX_VMDecodedWord& in, bool edgeTriggered);
  int makeWatch(const KX_VMDecodedWord& in, bool edgeTriggered);
  int unwatch(const KX_VMDecodedWord& in);
  int unwatchAll();
  // Removes the watch at `index` now, or when its running handler returns.
  void dropWatch(int index);
  // The test of pr0 as a handler address: 0 or the failure.
  int checkHandlerPointer() const;
  // RETURN from a level that `watch` opened: the interrupted state comes back.
  void returnFromWatch(KX_VMWatch* watch);
  // The code pointer test shared by JUMP and CALL: 0 or the failure.
  int checkCodePointer(unsigned int pointer) const;

  int readIntPlace(const KX_VMDecodedWord& in, int& out);
  int readFloatPlace(const KX_VMDecodedWord& in, float& out);
  int readPointerPlace(const KX_VMDecodedWord& in, unsigned int& out, bool keepObject);
  int writeIntPlace(const KX_VMDecodedWord& in, int value);
  int writeFloatPlace(const KX_VMDecodedWord& in, float value);
  int writePointerPlace(const KX_VMDecodedWord& in, unsigned int value);
  template <int Bank, class Value>
  int readMemoryOperand(const KX_VMDecodedWord& in, Value& out, bool keepObject);
  template <int Bank, class Value>
  int writeMemoryOperand(const KX_VMDecodedWord& in, Value value);
  template <int Bank>
  int locateOperand(const KX_VMDecodedWord& in, unsigned int& pointer, int& address);
  // The object in the slot that an object pointer names, with its class record
  // (null when the slot has none): 0, or "illegal object pointer" for a handle
  // of 0, one beyond the table or a cleared slot.
  int findObjectSlot(unsigned int pointer, KX_VMObjectInterface*& object, const KX_VMObjectClass*& record) const;
  // The property an object-tagged operand names, checked against the class
  // record and the bank: 0 with the object and the id to pass it, or the failure.
  int findObjectProperty(unsigned int pointer, const KX_VMDecodedWord& in, int bank, KX_VMObjectInterface*& object,
                         int& id);
  int readIntProperty(unsigned int pointer, const KX_VMDecodedWord& in, int& out);
  int readFloatProperty(unsigned int pointer, const KX_VMDecodedWord& in, float& out);
  int readPointerProperty(unsigned int pointer, const KX_VMDecodedWord& in, unsigned int& out);
  int writeIntProperty(unsigned int pointer, const KX_VMDecodedWord& in, int value);
  int writeFloatProperty(unsigned int pointer, const KX_VMDecodedWord& in, float value);
  int writePointerProperty(unsigned int pointer, const KX_VMDecodedWord& in, unsigned int value);
  // CALL on an object pointer.
  int callObjectMethod(unsigned int pointer, const KX_VMDecodedWord& in);
  // The member id in effect: the word's own, or the one an earlier word left.
  int currentPropertyId(const KX_VMDecodedWord& in);

  void releaseDecodedWords();
  // Marks every cache entry empty, keeping the block: an object call that
  // restored the machine returns into a loop that still reads the cache.
  void forgetDecodedWords();

  // The decoded-word cache: one entry per code word, refilled whenever the
  // word at an address is not the one its entry was decoded from.
  KX_VMDecodedWord* decodedWords = nullptr;
  int decodedCount = 0;
  // The last word fetched from the cache of each shape, and when, for
  // syncInstruction. A sequence of 0 means none since the last sync.
  std::uint64_t replayWord[kWordShapeCount] = {};
  std::uint64_t replaySequence[kWordShapeCount] = {};
  std::uint64_t fetchSequence = 0;
  // The cache form of `instruction` when a pending instruction runs again.
  KX_VMDecodedWord pendingWord = {};
};
