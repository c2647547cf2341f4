// Exported saving and restoring of a machine's state.
#include "foundation/KX_VoidPtrArray.h"
#include "platform/kxsys.h"
#include "qv_helper/qv_helper.h"
#include "vm/KX_VMRegistry.h"
#include "vm/KX_VMStateFormat.h"
#include "vm/KX_VirtualMachine.h"
#include "vm/VM_HelperObjectInterface.h"

namespace {

// The helpers of the objects a host gives back, for as many live slots as
// the image has; the surplus is not asked for.
void findHelpers(void* machine, VM_ObjectInterface** objects, int objectCount, std::uint32_t slots,
                 KX_VoidPtrArray& helpers) {
  if (objects == nullptr || objectCount <= 0) return;
  const int given = static_cast<std::uint32_t>(objectCount) < slots ? objectCount : static_cast<int>(slots);
  helpers.resize(given);
  for (int i = 0; i < given; ++i) {
    KX_VMObjectInterface* helper = vmRegistry.findHelper(machine, objects[i]);
    helpers.set(i, helper);
  }
}

int restore(void* machine, const void* image, long long imageSize, VM_ObjectInterface** objects, int objectCount) {
  KX_VirtualMachine* vm = static_cast<KX_VirtualMachine*>(machine);
  // Helpers are made only for an image that passed: a refused one leaves
  // the registry alone too.
  KX_VMState::Layout layout;
  const int result = vm->checkState(image, imageSize, layout);
  if (result != 0) return result;
  KX_VoidPtrArray helpers;
  findHelpers(machine, objects, objectCount, layout.objectCount, helpers);
  vm->applyState(layout, helpers);
  return 0;
}

}  // namespace

void VM_saveCurrentState(void* machine, void*& image, int& imageSize, VM_ObjectInterface**& objects, int& objectCount) {
  KX_VirtualMachine* vm = static_cast<KX_VirtualMachine*>(machine);
  objects = nullptr;
  objectCount = 0;
  if (!vm->saveState(image, imageSize)) return;
  int live = 0;
  for (int slot = 0; slot < vm->objects.getCount(); ++slot) live += vm->objects.at(slot) != nullptr ? 1 : 0;
  if (live == 0) return;
  void* block;
  KX_allocateMemoryBlock(static_cast<unsigned int>(sizeof(VM_ObjectInterface*)) * static_cast<unsigned int>(live),
                         &block);
  if (block == nullptr) return;
  // The host objects of the live slots, in slot order: the order in which
  // the host gives them back.
  VM_ObjectInterface** list = static_cast<VM_ObjectInterface**>(block);
  int n = 0;
  for (int slot = 0; slot < vm->objects.getCount(); ++slot) {
    KX_VMObjectInterface* helper = static_cast<KX_VMObjectInterface*>(vm->objects.at(slot));
    if (helper != nullptr) list[n++] = static_cast<VM_HelperObjectInterface*>(helper)->hostObject;
  }
  objects = list;
  objectCount = live;
}

void VM_restoreCurrentState(void* machine, const void* image, VM_ObjectInterface** objects, int objectCount) {
  // The host cannot be told why an image was refused; the machine is as it was.
  restore(machine, image, -1, objects, objectCount);
}

int VM_restoreCurrentStateChecked(void* machine, const void* image, int imageSize, VM_ObjectInterface** objects,
                                  int objectCount) {
  // A negative size holds no byte; it must not select the trusting path.
  return restore(machine, image, imageSize < 0 ? 0 : imageSize, objects, objectCount);
}

void VM_deleteCurrentState(void*, void* image, VM_ObjectInterface** objects) {
  KX_freeMemoryBlock(image);
  KX_freeMemoryBlock(objects);
}
