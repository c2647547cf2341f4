// A minimal host: creates, starts, stops and deletes a machine through the
// installed library. Exits 0 when every step behaved as documented.
#include <qv_helper/qv_helper.h>

#include <cstdio>

int main() {
  Helper_init();
  VM_init();
  void* machine = VM_createVirtualMachine();
  if (machine == nullptr || !VM_isRunning(machine)) {
    std::puts("a new machine should be running");
    return 1;
  }
  VM_stop(machine);
  if (VM_isRunning(machine)) {
    std::puts("VM_stop should stop the machine");
    return 1;
  }
  VM_start(machine, VM_POINTER_CODE | 1);
  if (!VM_isRunning(machine)) {
    std::puts("VM_start should set the machine running");
    return 1;
  }
  VM_deleteVirtualMachine(machine);
  VM_exit();
  Helper_exit();
  std::puts("host: machine created, started, stopped and deleted");
  return 0;
}
