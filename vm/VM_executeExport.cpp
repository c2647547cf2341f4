// Exported execution of a machine's program in slices.
#include "qv_helper/qv_helper.h"
#include "vm/KX_VirtualMachine.h"

bool VM_execute(void* machine, int steps) {
  return static_cast<KX_VirtualMachine*>(machine)->execute(steps) == 0;
}
