#include "DemoScriptRunner.h"

#include "qv_helper/qv_helper.h"

DemoSlice runCounted(void* machine, int budget) {
  DemoSlice slice;
  while (slice.instructions < budget && VM_isRunning(machine)) {
    const int before = VM_getCodePointerRegister(machine);
    if (!VM_execute(machine, 1)) {
      slice.failed = true;
      break;
    }
    // HALT and a RETURN from the bottom level stop the machine on their own word.
    if (!VM_isRunning(machine)) {
      ++slice.instructions;
      break;
    }
    if (VM_getCodePointerRegister(machine) == before) break;  // waiting
    ++slice.instructions;
  }
  return slice;
}

DemoSlice runSlice(void* machine, int budget) {
  DemoSlice slice;
  slice.instructions = -1;
  slice.failed = !VM_execute(machine, budget);
  return slice;
}
