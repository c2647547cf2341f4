#include "vm/KX_VirtualMachine.h"

#include <cstring>

KX_VirtualMachine::KX_VirtualMachine() {
  frameWatches.elementsBorrowed = true;
  objectClasses.elementsBorrowed = true;
  code.append(0);
  code.append(0);
  intMemory.append(0);
  floatMemory.append(0.0f);
  pointerMemory.append(0);
  startMachine(1);
}

KX_VirtualMachine::~KX_VirtualMachine() {
  releaseDecodedWords();
}

void KX_VirtualMachine::releaseDecodedWords() {
  if (decodedWords != nullptr) KX_freeMemoryBlock(decodedWords);
  decodedWords = nullptr;
  decodedCount = 0;
}

void KX_VirtualMachine::forgetDecodedWords() {
  if (decodedWords != nullptr)
    std::memset(decodedWords, 0, sizeof(KX_VMDecodedWord) * static_cast<unsigned>(decodedCount));
}

void KX_VirtualMachine::copyFrom(const KX_Base* source) {
  const KX_VirtualMachine* other = static_cast<const KX_VirtualMachine*>(source);
  if (other == this) return;
  code.copyFrom(&other->code);
  intMemory.copyFrom(&other->intMemory);
  floatMemory.copyFrom(&other->floatMemory);
  pointerMemory.copyFrom(&other->pointerMemory);
  intStack.copyFrom(&other->intStack);
  floatStack.copyFrom(&other->floatStack);
  pointerStack.copyFrom(&other->pointerStack);
  savedSpi.copyFrom(&other->savedSpi);
  savedSpf.copyFrom(&other->savedSpf);
  savedSpp.copyFrom(&other->savedSpp);
  savedCp.copyFrom(&other->savedCp);
  intFrames.copyFrom(&other->intFrames);
  floatFrames.copyFrom(&other->floatFrames);
  pointerFrames.copyFrom(&other->pointerFrames);
  for (int i = 0; i < 8; ++i) {
    ir[i] = other->ir[i];
    fr[i] = other->fr[i];
    pr[i] = other->pr[i];
  }
  spi = other->spi;
  spf = other->spf;
  spp = other->spp;
  cp = other->cp;
  // The helpers are shared: they stand for host objects, not for a machine.
  objects.copyFrom(&other->objects);
  objectClassTable.copyFrom(&other->objectClassTable);
  watches.copyFrom(&other->watches);
  // The borrowed lists are rebound to this machine's own clones: classes by
  // name, frame watches by key.
  objectClasses.clear();
  for (int i = 0; i < other->objectClasses.getCount(); ++i) {
    KX_Base* record = other->objectClasses.at(i);
    const int found = record == nullptr ? -1 : objectClassTable.findSorted(record);
    objectClasses.append(found < 0 ? nullptr : objectClassTable.at(found));
  }
  frameWatches.clear();
  for (int i = 0; i < other->frameWatches.getCount(); ++i) {
    KX_Base* watch = other->frameWatches.at(i);
    const int found = watch == nullptr ? -1 : watches.findSorted(watch);
    frameWatches.append(found < 0 ? nullptr : watches.at(found));
  }
  watches.sort();
  exitCode = other->exitCode;
  running = other->running;
  pending = other->pending;
  firstAttempt = other->firstAttempt;
  // Outside execute the source's instruction is up to date; the cache is
  // rebuilt on this machine's first fetches.
  instruction.copyFrom(&other->instruction);
  releaseDecodedWords();
  for (std::uint64_t& sequence : replaySequence) sequence = 0;
  compareResult = other->compareResult;
}

void KX_VirtualMachine::startMachine(int address) {
  intStack.clear();
  floatStack.clear();
  pointerStack.clear();
  intStack.append(0);
  floatStack.append(0.0f);
  pointerStack.append(0);
  intFrames.clear();
  floatFrames.clear();
  pointerFrames.clear();
  intFrames.append(1);
  floatFrames.append(1);
  pointerFrames.append(1);
  savedSpi.clear();
  savedSpf.clear();
  savedSpp.clear();
  savedCp.clear();
  frameWatches.clear();
  watches.clear();
  spi = 0;
  spf = 0;
  spp = 0;
  for (int i = 0; i < 8; ++i) {
    ir[i] = 0;
    fr[i] = 0.0f;
    pr[i] = 0;
  }
  cp = static_cast<int>(static_cast<unsigned int>(address) & kVMAddressMask);
  exitCode = 0;
  pending = false;
  compareResult = 0;
  running = true;
}

void KX_VirtualMachine::stopMachine(int exitCodeValue) {
  exitCode = exitCodeValue;
  pending = false;
  running = false;
}
