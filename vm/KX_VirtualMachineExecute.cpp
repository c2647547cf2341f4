// The execution loop, fetch through the decoded-word cache, and the
// instructions that move control: HALT, LOCALS, PARAM, RETURN, JUMP, CALL.
#include <climits>
#include <cstring>

#include "qv_helper/qv_helper.h"
#include "vm/KX_VMOpcodeTable.h"
#include "vm/KX_VMWatch.h"
#include "vm/KX_VirtualMachine.h"
#include "vm/VM_reportError.h"

using namespace KX_VMWord;

namespace {

KX_VMWordShape shapeOf(const KX_VMInstruction& decoded) {
  if (decoded.group == kGroupLocals) return kShapeLocalsWord;
  switch (decoded.addressMode) {
    case kImmediate:
      return kShapeImmediateWord;
    case kRegister:
      return kShapeRegisterWord;
    case kAbsolute:
      return kShapeAbsoluteWord;
    case kBased:
      return decoded.hasProperty ? kShapeBasedPropertyWord : kShapeBasedWord;
    default:
      return decoded.hasProperty ? kShapeIndexedPropertyWord : kShapeIndexedWord;
  }
}

// compareResult + 1 by condition sub type 0 to 6.
constexpr bool kConditionTable[7][3] = {
    {true, true, true},    // always
    {false, false, true},  // G
    {true, false, false},  // L
    {false, true, true},   // GE
    {true, true, false},   // LE
    {false, true, false},  // E
    {true, false, true},   // NE
};

int wrapAdd(int a, int b) {
  return static_cast<int>(static_cast<unsigned int>(a) + static_cast<unsigned int>(b));
}
int wrapSub(int a, int b) {
  return static_cast<int>(static_cast<unsigned int>(a) - static_cast<unsigned int>(b));
}
signed char compareInts(int reg, int op) {
  return reg > op ? 1 : (reg < op ? -1 : 0);
}

// The instructions the loop runs in place, by their decoded fields.
KX_VMFastKind fastKindOf(const KX_VMInstruction& in) {
  const bool immediate = in.addressMode == kImmediate;
  const bool intRegister = in.addressMode == kRegister;
  if (in.group == kGroupJump && immediate && in.subType <= kNotEqual &&
      (static_cast<unsigned int>(in.intConstant) & kVMTagMask) == VM_POINTER_CODE) {
    return kFastJumpImmediate;
  }
  if (in.registerType != 0) return kFastNone;
  // Parameters and locals: based on spi, without a property id.
  if (in.addressMode == kBased && in.systemRegister && !in.hasProperty) {
    if (in.group == kGroupLoad && in.subType == kAlways) return kFastLoadIntStack;
    if (in.group == kGroupStore && in.subType == kAlways) return kFastStoreIntStack;
    if (in.group == kGroupArith && in.subType == kAdd) return kFastAddIntStack;
    return kFastNone;
  }
  if (!(immediate || intRegister)) return kFastNone;
  switch (in.group) {
    case kGroupArith:
      if (in.subType == kAdd) return immediate ? kFastAddIntImmediate : kFastAddIntRegister;
      if (in.subType == kSub) return immediate ? kFastSubIntImmediate : kFastSubIntRegister;
      return kFastNone;
    case kGroupCompare:
      return immediate ? kFastCompIntImmediate : kFastCompIntRegister;
    case kGroupLoad:
      if (in.subType != kAlways) return kFastNone;
      return immediate ? kFastLoadIntImmediate : kFastLoadIntRegister;
    default:
      return kFastNone;
  }
}

}  // namespace

// Column of compareResult in kConditionTable. It holds -1, 0 or +1 unless a
// host has written something else into it; the sign is what counts then.
static int conditionColumn(signed char compareResult) {
  return compareResult > 0 ? 2 : (compareResult < 0 ? 0 : 1);
}

bool KX_VirtualMachine::conditionHolds(int subType) const {
  if (subType < 0 || subType > kNotEqual) return false;
  return kConditionTable[subType][conditionColumn(compareResult)];
}

int KX_VirtualMachine::execute(int steps) {
  // Steps left in the slice; without a limit more than any slice can run.
  long long remaining = steps >= kVMUnlimitedSteps ? LLONG_MAX : (steps < 1 ? 1 : steps);
  int result = 0;
  while (running) {
    if (watches.getCount() != 0) {
      result = checkWatches();
      if (result != 0) break;
    } else if (!pending) {
      bool sliceOver = false;
      const long long before = remaining;
      result = runCachedSteps(remaining, sliceOver);
      if (sliceOver) break;
      if (remaining != before) continue;  // steps ran: test running and watches again
    }
    result = runStep();
    if (result != 0) {
      if (result == VM_WAIT) result = 0;
      break;
    }
    // Tested after the step: a budget of 0 or below still runs one.
    if (--remaining == 0) break;
  }
  return finishSlice(result);
}

int KX_VirtualMachine::runCachedSteps(long long& budget, bool& sliceOver) {
  // Runs the words from cp on whose cache entry is up to date, the common
  // ones in place, the others through dispatch, until a word is not in the
  // cache, the machine stops, a watch exists, or the slice is over. No watch
  // exists on entry, so none needs testing before a step until an
  // instruction has run that could have made one.
  const long long* words = code.heapStorage != nullptr ? code.heapStorage : code.inlineStorage;
  unsigned int limit = static_cast<unsigned int>(code.count < decodedCount ? code.count : decodedCount);
  if (limit == 0) return 0;  // no cache yet
  const KX_VMDecodedWord* cache = decodedWords;
  // Locals, not members or references, so that the stores to registers and
  // compareResult cannot make the compiler reload them.
  unsigned int codeCount = static_cast<unsigned int>(code.count);
  long long remaining = budget;
  long long initial = remaining;
  // The words in place are all immediate, register or based words: the last one of
  // each, and when it ran, is all that syncInstruction needs of them. They
  // go into the replay record before anything else could read it.
  unsigned int lastImmediate = 0;
  unsigned int lastRegister = 0;
  unsigned int lastBased = 0;
  long long immediateLeft = 0;
  long long registerLeft = 0;
  long long basedLeft = 0;
  auto recordReplay = [&]() {
    if (remaining == initial) return;
    const std::uint64_t first = fetchSequence;
    if (lastImmediate != 0) {
      replayWord[kShapeImmediateWord] = cache[lastImmediate].word;
      replaySequence[kShapeImmediateWord] = first + static_cast<std::uint64_t>(initial - immediateLeft) + 1;
    }
    if (lastRegister != 0) {
      replayWord[kShapeRegisterWord] = cache[lastRegister].word;
      replaySequence[kShapeRegisterWord] = first + static_cast<std::uint64_t>(initial - registerLeft) + 1;
    }
    if (lastBased != 0) {
      replayWord[kShapeBasedWord] = cache[lastBased].word;
      replaySequence[kShapeBasedWord] = first + static_cast<std::uint64_t>(initial - basedLeft) + 1;
    }
    fetchSequence = first + static_cast<std::uint64_t>(initial - remaining);
    // A fetched word starts with its first attempt.
    firstAttempt = true;
    lastImmediate = 0;
    lastRegister = 0;
    lastBased = 0;
    initial = remaining;
  };
  unsigned int at = static_cast<unsigned int>(cp);
  while (at - 1u < limit - 1u) {
    const KX_VMDecodedWord& in = cache[at];
    if (!in.valid || in.word != static_cast<std::uint64_t>(words[at])) break;
    unsigned int next = at + 1u;
    switch (in.fast) {
      case kFastAddIntImmediate:
        ir[in.targetRegister] = wrapAdd(ir[in.targetRegister], in.intConstant);
        lastImmediate = at;
        immediateLeft = remaining;
        break;
      case kFastAddIntRegister:
        ir[in.targetRegister] = wrapAdd(ir[in.targetRegister], ir[in.sourceRegister]);
        lastRegister = at;
        registerLeft = remaining;
        break;
      case kFastSubIntImmediate:
        ir[in.targetRegister] = wrapSub(ir[in.targetRegister], in.intConstant);
        lastImmediate = at;
        immediateLeft = remaining;
        break;
      case kFastSubIntRegister:
        ir[in.targetRegister] = wrapSub(ir[in.targetRegister], ir[in.sourceRegister]);
        lastRegister = at;
        registerLeft = remaining;
        break;
      case kFastCompIntImmediate:
        compareResult = compareInts(ir[in.targetRegister], in.intConstant);
        lastImmediate = at;
        immediateLeft = remaining;
        break;
      case kFastCompIntRegister:
        compareResult = compareInts(ir[in.targetRegister], ir[in.sourceRegister]);
        lastRegister = at;
        registerLeft = remaining;
        break;
      case kFastLoadIntImmediate:
        ir[in.targetRegister] = in.intConstant;
        lastImmediate = at;
        immediateLeft = remaining;
        break;
      case kFastLoadIntRegister:
        ir[in.targetRegister] = ir[in.sourceRegister];
        lastRegister = at;
        registerLeft = remaining;
        break;
      case kFastJumpImmediate:
        if (kConditionTable[in.subType][conditionColumn(compareResult)]) {
          next = static_cast<unsigned int>(in.intConstant) & kVMAddressMask;
          // Out of range: the general path runs the jump and reports it.
          if (next - 1u >= codeCount - 1u) goto leave;
        }
        lastImmediate = at;
        immediateLeft = remaining;
        break;
      case kFastLoadIntStack:
      case kFastAddIntStack:
      case kFastStoreIntStack: {
        // Offsets count down from spi; a cell out of range, or a borrowed
        // stack that a write must first make its own, goes the general way.
        const unsigned int cell =
            (static_cast<unsigned int>(spi) & kVMAddressMask) - static_cast<unsigned int>(in.offset);
        if (cell == 0 || cell >= static_cast<unsigned int>(intStack.count) || intStack.bufferBorrowed) goto leave;
        int* cells = intStack.heapStorage != nullptr ? intStack.heapStorage : intStack.inlineStorage;
        if (in.fast == kFastLoadIntStack) {
          ir[in.targetRegister] = cells[cell];
        } else if (in.fast == kFastAddIntStack) {
          ir[in.targetRegister] = wrapAdd(ir[in.targetRegister], cells[cell]);
        } else {
          cells[cell] = ir[in.targetRegister];
        }
        lastBased = at;
        basedLeft = remaining;
        break;
      }
      default: {
        // Any other instruction runs as step would run it; the handler gets
        // a copy, as nothing it does may move the entry under it.
        cp = static_cast<int>(at);
        recordReplay();
        const KX_VMDecodedWord word = in;
        replayWord[word.shape] = word.word;
        replaySequence[word.shape] = ++fetchSequence;
        pending = true;
        firstAttempt = true;
        const int result = dispatch(word);
        if (result != 0) {
          budget = remaining;
          sliceOver = true;
          return result == VM_WAIT ? 0 : result;
        }
        if (word.group != kGroupReturn) pending = false;  // RETURN sets it itself
        if (--remaining == 0) {
          budget = remaining;
          sliceOver = true;
          return 0;
        }
        initial = remaining;
        if (!running || watches.getCount() != 0) {
          budget = remaining;
          return 0;
        }
        // The handler may have called out: take code and cache afresh.
        words = code.heapStorage != nullptr ? code.heapStorage : code.inlineStorage;
        limit = static_cast<unsigned int>(code.count < decodedCount ? code.count : decodedCount);
        codeCount = static_cast<unsigned int>(code.count);
        cache = decodedWords;
        at = static_cast<unsigned int>(cp);
        continue;
      }
    }
    at = next;
    if (--remaining == 0) {
      sliceOver = true;
      break;
    }
  }
leave:
  cp = static_cast<int>(at);
  recordReplay();
  budget = remaining;
  return 0;
}

int KX_VirtualMachine::finishSlice(int result) {
  syncInstruction();
  return result;
}

int KX_VirtualMachine::step() {
  const int result = runStep();
  syncInstruction();
  return result;
}

int KX_VirtualMachine::runStep() {
  const KX_VMDecodedWord* in;
  if (!pending) {
    int result = 0;
    in = fetch(result);
    if (in == nullptr) return result;
    pending = true;
    firstAttempt = true;
  } else {
    // The decoded instruction runs again, as `instruction` holds it. Decoding
    // has checked its fields; a state restored by the host is checked again
    // here, so that no field indexes outside the tables it selects from.
    firstAttempt = false;
    if (instruction.group < 0 || instruction.group > kLastGroup) {
      return VM_reportError(VM_ERROR_INSTRUCTION, "unknown OpCode group");
    }
    if (instruction.registerType >= kRegisterTypeCount) {
      return VM_reportError(VM_ERROR_INSTRUCTION, "illegal target register type");
    }
    if (instruction.addressMode >= kAddressModeCount) {
      return VM_reportError(VM_ERROR_INSTRUCTION, "illegal address mode");
    }
    pendingWord.assign(instruction);
    in = &pendingWord;
  }
  // The handler gets a copy: an object it calls may make the host reload
  // the machine, which moves the cache entry under it.
  const KX_VMDecodedWord word = *in;
  const int result = dispatch(word);
  if (result != 0) return result;
  // RETURN sets pending itself: the return of a watch handler restores it.
  if (word.group != kGroupReturn) pending = false;
  return 0;
}

const KX_VMDecodedWord* KX_VirtualMachine::fetch(int& result) {
  const int count = code.getCount();
  if (static_cast<unsigned int>(cp) - 1u >= static_cast<unsigned int>(count) - 1u) {
    result = VM_reportError(VM_ERROR_ADDRESS, "illegal code address %x (max. address %x)",
                            static_cast<unsigned int>(cp), static_cast<unsigned int>(count - 1));
    return nullptr;
  }
  const std::uint64_t word = static_cast<std::uint64_t>(code.at(cp));
  if (cp >= decodedCount) {
    releaseDecodedWords();
    void* block;
    KX_allocateMemoryBlock(static_cast<unsigned int>(sizeof(KX_VMDecodedWord)) * static_cast<unsigned int>(count),
                           &block);
    std::memset(block, 0, sizeof(KX_VMDecodedWord) * static_cast<unsigned int>(count));
    decodedWords = static_cast<KX_VMDecodedWord*>(block);
    decodedCount = count;
  }
  KX_VMDecodedWord& entry = decodedWords[cp];
  if (!entry.valid || entry.word != word) {
    // The machine's own instruction is decoded first, in order with the words
    // before it, so that a failing word leaves it as it should.
    syncInstruction();
    result = instruction.decode(word);
    if (result != 0) return nullptr;
    KX_VMInstruction alone;
    alone.decode(word);
    entry.assign(alone);
    entry.word = word;
    entry.shape = shapeOf(alone);
    entry.fast = fastKindOf(alone);
  }
  replayWord[entry.shape] = word;
  replaySequence[entry.shape] = ++fetchSequence;
  return &entry;
}

void KX_VirtualMachine::syncInstruction() {
  for (;;) {
    int next = -1;
    std::uint64_t earliest = 0;
    for (int shape = 0; shape < kWordShapeCount; ++shape) {
      const std::uint64_t sequence = replaySequence[shape];
      if (sequence != 0 && (next < 0 || sequence < earliest)) {
        next = shape;
        earliest = sequence;
      }
    }
    if (next < 0) return;
    // Each of these words decoded once already, so it decodes again.
    instruction.decode(replayWord[next]);
    replaySequence[next] = 0;
  }
}

int KX_VirtualMachine::dispatch(const KX_VMDecodedWord& in) {
  int result;
  switch (in.group) {
    case kGroupHalt: {  // stop with the int operand as exit code; cp stays
      int value;
      result = readIntOperand(in, value);
      if (result != 0) return result;
      exitCode = value;
      running = false;
      return 0;
    }
    case kGroupLocals:
      result = opLocals(in);
      break;
    case kGroupParam:
      result = opParam(in);
      break;
    case kGroupReturn:
      return opReturn();
    case kGroupCompare:
      result = opCompare(in);
      break;
    case kGroupWait:
      result = opWait(in);
      break;
    case kGroupJump:
      return opJump(in);
    case kGroupCall:
      return opCall(in);
    case kGroupLoad:
      result = opLoad(in);
      break;
    case kGroupStore:
      result = opStore(in);
      break;
    case kGroupLoadPtr:
      result = opLoadPointer(in);
      break;
    case kGroupExchange:
      result = opExchange(in);
      break;
    case kGroupArith:
      result = opArith(in);
      break;
    case kGroupTrig:
    case kGroupPower:
    case kGroupTrunc:
      result = opFunction(in);
      break;
    case kGroupConvert:
      result = opConvert(in);
      break;
    case kGroupBitShift:
    case kGroupLogic:
      result = opBits(in);
      break;
    case kGroupNew:
    case kGroupDelete:
      result = opReserved(in);
      break;
    case kGroupWatch:
      result = opWatch(in, false);
      break;
    case kGroupTrigger:
      result = opWatch(in, true);
      break;
    default:
      return VM_reportError(VM_ERROR_INSTRUCTION, "illegal opcode");
  }
  if (result == 0) cp = static_cast<int>(static_cast<unsigned int>(cp) + 1u);
  return result;
}

// Adds to the top frame; a machine always has one, from its start on.
static void raiseFrameTop(KX_IntArray& frames, int count) {
  const int top = frames.getCount() - 1;
  if (top >= 0) frames.set(top, frames.at(top) + count);
}

int KX_VirtualMachine::opLocals(const KX_VMDecodedWord& in) {
  intStack.resize(intStack.getCount() + in.localInts);
  floatStack.resize(floatStack.getCount() + in.localFloats);
  pointerStack.resize(pointerStack.getCount() + in.localPointers);
  // Raising the frame tops keeps the locals when a call made from here returns.
  raiseFrameTop(intFrames, in.localInts);
  raiseFrameTop(floatFrames, in.localFloats);
  raiseFrameTop(pointerFrames, in.localPointers);
  return 0;
}

int KX_VirtualMachine::opParam(const KX_VMDecodedWord& in) {
  int result;
  switch (in.registerType) {
    case 0: {
      int value;
      result = readIntOperand(in, value);
      if (result == 0) intStack.append(value);
      return result;
    }
    case 1: {
      float value;
      result = readFloatOperand(in, value);
      if (result == 0) floatStack.append(value);
      return result;
    }
    default: {
      unsigned int value;
      result = readPointerOperand(in, value, false);
      if (result == 0) pointerStack.append(static_cast<int>(value));
      return result;
    }
  }
}

namespace {

// Cuts a stack back to its frame top, if it stands above it.
template <class Stack>
void cutToFrameTop(Stack& stack, const KX_IntArray& frames) {
  const int top = frames.at(frames.getCount() - 1);
  if (top < stack.getCount()) stack.removeRange(top, stack.getCount() - top);
}

int popLast(KX_IntArray& saved) {
  const int value = saved.at(saved.getCount() - 1);
  saved.remove(saved.getCount() - 1);
  return value;
}

}  // namespace

int KX_VirtualMachine::opReturn() {
  // The saved stacks hold one element per open call, as the frame stacks
  // hold one more; the tests beyond the first only guard a state that calls
  // never leave behind (a host's restored state, say).
  if (intFrames.getCount() < 2 || floatFrames.getCount() < 2 || pointerFrames.getCount() < 2 ||
      savedSpi.getCount() == 0 || savedSpf.getCount() == 0 || savedSpp.getCount() == 0 || savedCp.getCount() == 0 ||
      frameWatches.getCount() == 0) {
    running = false;  // no open call: the program ends here, cp stays
    pending = false;
    return 0;
  }
  intFrames.remove(intFrames.getCount() - 1);
  floatFrames.remove(floatFrames.getCount() - 1);
  pointerFrames.remove(pointerFrames.getCount() - 1);
  spi = popLast(savedSpi);
  spf = popLast(savedSpf);
  spp = popLast(savedSpp);
  cp = popLast(savedCp);
  cutToFrameTop(intStack, intFrames);
  cutToFrameTop(floatStack, floatFrames);
  cutToFrameTop(pointerStack, pointerFrames);
  // A level opened by a firing watch hands the interrupted instruction back.
  KX_Base* watch = frameWatches.at(frameWatches.getCount() - 1);
  if (watch != nullptr) {
    returnFromWatch(static_cast<KX_VMWatch*>(watch));
  } else {
    pending = false;
  }
  frameWatches.remove(frameWatches.getCount() - 1);
  return 0;
}

int KX_VirtualMachine::checkCodePointer(unsigned int pointer) const {
  if ((pointer & kVMTagMask) != VM_POINTER_CODE) return VM_reportError(VM_ERROR_ADDRESS, "code pointer expected");
  const unsigned int address = pointer & kVMAddressMask;
  const int count = code.getCount();
  if (address < 1 || address >= static_cast<unsigned int>(count)) {
    return VM_reportError(VM_ERROR_ADDRESS, "illegal code address %x (max. address %x)", address,
                          static_cast<unsigned int>(count - 1));
  }
  return 0;
}

int KX_VirtualMachine::opJump(const KX_VMDecodedWord& in) {
  if (in.subType > kNotEqual) return VM_reportError(VM_ERROR_INSTRUCTION, "illegal opcode sub type");
  if (!conditionHolds(in.subType)) {
    cp = static_cast<int>(static_cast<unsigned int>(cp) + 1u);
    return 0;
  }
  unsigned int target;
  int result = readPointerOperand(in, target, false);
  if (result != 0) return result;
  result = checkCodePointer(target);
  if (result != 0) return result;
  cp = static_cast<int>(target & kVMAddressMask);
  return 0;
}

int KX_VirtualMachine::opCall(const KX_VMDecodedWord& in) {
  if (in.subType > kNotEqual) return VM_reportError(VM_ERROR_INSTRUCTION, "illegal opcode sub type");
  if (!conditionHolds(in.subType)) {
    cp = static_cast<int>(static_cast<unsigned int>(cp) + 1u);
    return 0;
  }
  unsigned int target;
  int result = readPointerOperand(in, target, true);
  if (result != 0) return result;
  // A method call moves cp itself (KX_VirtualMachineObjects.cpp).
  if ((target & kVMTagMask) == VM_POINTER_OBJECT) return callObjectMethod(target, in);
  result = checkCodePointer(target);
  if (result != 0) return result;
  enterFrame(static_cast<int>(target & kVMAddressMask), static_cast<int>(static_cast<unsigned int>(cp) + 1u), nullptr);
  return 0;
}

void KX_VirtualMachine::enterFrame(int target, int returnAddress, KX_Base* watch) {
  savedSpi.append(spi);
  savedSpf.append(spf);
  savedSpp.append(spp);
  savedCp.append(returnAddress);
  frameWatches.append(watch);
  cp = target;
  // Inside the callee offset 0 from a stack pointer is the last value pushed.
  spi = intStack.getCount() - 1;
  spf = floatStack.getCount() - 1;
  spp = pointerStack.getCount() - 1;
  intFrames.append(intStack.getCount());
  floatFrames.append(floatStack.getCount());
  pointerFrames.append(pointerStack.getCount());
}
