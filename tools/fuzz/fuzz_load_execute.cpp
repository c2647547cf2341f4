// Fuzz target: execution after a checked load. The input is an executable
// image, loaded as by the load target; a program that loads runs with the
// host objects in pr1 to pr3 and pointer cell 1 for a bounded number of steps.
#include <cstddef>
#include <cstdint>

#include "QV_FuzzLoad.h"
#include "QV_FuzzObjects.h"
#include "QV_FuzzRun.h"
#include "QV_FuzzShape.h"
#include "qv_helper/qv_helper.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  if (qvfuzz::asksTooMuchMemory(data, size)) return -1;
  QV_FuzzObjects objects;
  VM_init();
  void* machine = VM_createVirtualMachine();
  if (qvfuzz::loadUntrusted(machine, data, size) == 0) {
    objects.place(machine, 0x0F);
    qvfuzz::runBounded(machine, qvfuzz::kMaxSlices, qvfuzz::kMaxStepsPerSlice);
    qvfuzz::checkShape(*static_cast<const KX_VirtualMachine*>(machine));
  }
  VM_exit();
  return 0;
}
