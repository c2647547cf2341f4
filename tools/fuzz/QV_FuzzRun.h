// Bounded runs of a machine for the fuzz targets.
//
// A LOCALS word adds up to 65535 cells to each stack, and the stacks grow by
// a fixed step, so an unbounded run of random words would spend its time and
// memory copying stacks. Slices are therefore short and the run ends once the
// stacks hold more than kMaxStackCells.
#pragma once

#include <memory>

#include "qv_helper/qv_helper.h"
#include "vm/KX_VirtualMachine.h"

namespace qvfuzz {

constexpr int kMaxStepsPerSlice = 32;
constexpr int kMaxSlices = 16;
constexpr int kMaxStackCells = 1 << 20;

inline int stackCells(const KX_VirtualMachine& m) {
  return m.intStack.getCount() + m.floatStack.getCount() + m.pointerStack.getCount();
}

// At most `slices` calls of VM_execute with `steps` steps each (both cut to
// the bounds above), while the machine runs.
inline void runBounded(void* machine, int slices, int steps) {
  if (steps > kMaxStepsPerSlice) steps = kMaxStepsPerSlice;
  if (slices > kMaxSlices) slices = kMaxSlices;
  const KX_VirtualMachine& m = *static_cast<const KX_VirtualMachine*>(machine);
  for (int slice = 0; slice < slices && VM_isRunning(machine); ++slice) {
    VM_execute(machine, steps);
    if (stackCells(m) > kMaxStackCells) break;
  }
}

// Lists the first `count` code words (and one address beyond the code) into
// a heap buffer of exactly `bufferSize` bytes, so that a write past it is
// seen by the address sanitizer.
inline void disassembleWords(void* machine, int count, int bufferSize, bool withCode) {
  const int codeSize = VM_getCodeSize(machine);
  if (count > codeSize) count = codeSize;
  std::unique_ptr<char[]> buffer(new char[bufferSize > 0 ? bufferSize : 1]);
  for (int address = 0; address < count; ++address) {
    VM_disassemble(machine, buffer.get(), bufferSize, address, withCode);
  }
  VM_disassemble(machine, buffer.get(), bufferSize, VM_POINTER_CODE | codeSize, withCode);
}

}  // namespace qvfuzz
