// Fuzz target: the checked restore of a saved state. The input is the image,
// copied into a heap block of exactly its size so that a read past it is
// seen; one refused only for its checksum is tried again with the checksum
// made right, so that the fuzzer reaches the sections behind it.
//
// The image goes into a machine with state of its own, with the three host
// objects. A refusal must leave that machine as it was. A restored machine
// must be in shape, must restore the same through the plain restore (from
// the length its header gives), must run a few steps, and its save must
// restore into a new machine. A third machine gets the image with fewer
// objects (the input size mod 4) and runs.
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <memory>

#include "QV_FuzzCheck.h"
#include "QV_FuzzMachine.h"
#include "QV_FuzzObjects.h"
#include "QV_FuzzRestore.h"
#include "QV_FuzzRun.h"
#include "QV_FuzzShape.h"
#include "QV_FuzzSnapshot.h"
#include "QV_FuzzStateLayout.h"
#include "qv_helper/qv_helper.h"

namespace {

const KX_VirtualMachine& machineOf(void* handle) {
  return *static_cast<const KX_VirtualMachine*>(handle);
}

// Runs a restored machine a little, then saves it; the save must restore
// into a new machine, both checked and plain, to the same state.
void runAndSave(void* machine) {
  qvfuzz::runBounded(machine, 4, 8);
  qvfuzz::checkShape(machineOf(machine));
  void* image = nullptr;
  int imageSize = 0;
  VM_ObjectInterface** objects = nullptr;
  int objectCount = 0;
  VM_saveCurrentState(machine, image, imageSize, objects, objectCount);
  // At least the header: a restored machine may have empty stacks, and then
  // saves to less than a new machine's 260 bytes.
  QV_FUZZ_CHECK(image != nullptr && imageSize >= 208, "a save gives an image");
  void* copy = VM_createVirtualMachine();
  const int result = qvfuzz::restoreChecked(copy, static_cast<const unsigned char*>(image),
                                            static_cast<std::size_t>(imageSize), objects, objectCount);
  QV_FUZZ_CHECK(result == 0, "the save of a restored machine restores");
  const QV_FuzzSnapshot checked(machineOf(copy));
  VM_restoreCurrentState(copy, image, objects, objectCount);
  QV_FUZZ_CHECK(QV_FuzzSnapshot(machineOf(copy)) == checked, "the plain and the checked restore agree");
  VM_deleteCurrentState(machine, image, objects);
  VM_deleteVirtualMachine(copy);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  if (qvfuzz::spendsTimeOnObjectSlots(data, size)) return -1;
  std::unique_ptr<unsigned char[]> image(new unsigned char[size]);
  if (size != 0) std::memcpy(image.get(), data, size);
  QV_FuzzObjects objects;
  VM_init();
  void* machine = qvfuzz::preparedMachine(objects);
  int result = qvfuzz::restoreChecked(machine, image.get(), size, objects.list, QV_FuzzObjects::kCount);
  if (result == VM_ERROR_CHECKSUM && qvfuzz::repairStateChecksum(image.get(), size)) {
    result = qvfuzz::restoreChecked(machine, image.get(), size, objects.list, QV_FuzzObjects::kCount);
  }
  if (result == 0) {
    // The plain restore reads the image as long as its header says; the
    // checked one given that length must take it too, and both must give
    // the same machine. (Given more bytes, the checked restore may read the
    // last symbol name on into them.)
    const std::size_t length = static_cast<std::size_t>(qvfuzz::stateLength(image.get()));
    QV_FUZZ_CHECK(length <= size, "a restored image is as long as its header says");
    result = qvfuzz::restoreChecked(machine, image.get(), length, objects.list, QV_FuzzObjects::kCount);
    QV_FUZZ_CHECK(result == 0, "a restored image restores without the bytes behind it");
    const QV_FuzzSnapshot checked(machineOf(machine));
    VM_restoreCurrentState(machine, image.get(), objects.list, QV_FuzzObjects::kCount);
    QV_FUZZ_CHECK(QV_FuzzSnapshot(machineOf(machine)) == checked, "the plain and the checked restore agree");
    runAndSave(machine);

    void* fewer = VM_createVirtualMachine();
    const int objectCount = static_cast<int>(size % 4);
    if (qvfuzz::restoreChecked(fewer, image.get(), size, objects.list, objectCount) == 0) {
      qvfuzz::runBounded(fewer, 4, 8);
      qvfuzz::checkShape(machineOf(fewer));
    }
  }
  VM_exit();
  return 0;
}
