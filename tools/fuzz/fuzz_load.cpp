// Fuzz target: the checked load of an executable image. The input is the
// image. It goes into a machine with state of its own, which a refused image
// must leave as it was; a loaded one is listed and its symbols looked up.
#include <cstddef>
#include <cstdint>

#include "QV_FuzzLoad.h"
#include "QV_FuzzMachine.h"
#include "QV_FuzzObjects.h"
#include "QV_FuzzRun.h"
#include "qv_helper/qv_helper.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  if (qvfuzz::asksTooMuchMemory(data, size)) return -1;
  QV_FuzzObjects objects;
  VM_init();
  void* machine = qvfuzz::preparedMachine(objects);
  if (qvfuzz::loadUntrusted(machine, data, size) == 0) {
    for (const char* name : {"main", "MAIN", "sort", "", "a"}) VM_getSymbolAddress(machine, name);
    qvfuzz::disassembleWords(machine, 256, 64, true);
  }
  VM_exit();
  return 0;
}
