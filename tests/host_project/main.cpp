// A minimal host: creates, starts, stops and deletes a machine through the
// installed library, and passes it an object of a scriptable host class.
// Exits 0 when every step behaved as documented.
#include <qv_helper/qv_helper.h>

#include <cstdio>

// A scriptable host class: one int property, "open" (id 1).
class Door : public VM_ObjectInterface {
 public:
  int open = 0;

 protected:
  const char* getClassName() const override { return "Door"; }
  int getObjectPropertyCount() const override { return 1; }
  void getObjectPropertyDefinition(int, short& id, VM_ObjectDataType& type, char* name, int nameSize) override {
    id = 1;
    type = VM_DATA_INT;
    std::snprintf(name, static_cast<std::size_t>(nameSize), "open");
  }
  int getObjectPropertyInt(int id, int& value, bool, void*) const override {
    if (id != 1) return VM_ERROR_ID;
    value = open;
    return 0;
  }
};

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
  Door door;
  Door copy(door);  // the base's exported copy and assignment link too
  copy = door;
  VM_setPointerRegisterObject(machine, 3, &door);
  VM_setPointerMemoryObject(machine, 0, &copy);
  if (VM_getPointerRegisterObject(machine, 3) != &door || VM_getPointerMemoryObject(machine, 0) != &copy) {
    std::puts("a host object set into a register or cell should read back");
    return 1;
  }
  VM_deleteVirtualMachine(machine);
  VM_exit();
  Helper_exit();
  std::puts("host: machine created, started, stopped and deleted; host objects passed in and out");
  return 0;
}
