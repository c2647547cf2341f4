// Fuzz target: execution of random code words over random memories, with
// host objects in reach, for a bounded number of steps.
//
// Input: five bytes of sizes and budget, then the code words (8 bytes each),
// then the int, float and pointer cells (4 bytes each); missing bytes read
// as zero.
//   byte 0  code words: 2 + b % 63
//   byte 1  int cells 1 + b % 16, float cells 1 + b / 16
//   byte 2  pointer cells 1 + b % 16; bits 4 to 7 put the host objects into
//           pr1, pr2, pr3 and pointer cell 1 (see QV_FuzzObjects::place)
//   byte 3  steps per slice 1 + b % 32, slices 1 + b / 32
//   byte 4  entry address 1 + b % (words - 1); the listing buffer holds
//           b / 2 bytes, and bit 0 lists the code words too
// The program is loaded through the public loader from an image built here,
// so the machine is in the state any host would see.
#include <cstddef>
#include <cstdint>
#include <vector>

#include "QV_FuzzInput.h"
#include "QV_FuzzObjects.h"
#include "QV_FuzzRun.h"
#include "QV_FuzzShape.h"
#include "assembler/QV_Assembler.h"
#include "qv_helper/qv_helper.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  QV_FuzzInput input(data, size);
  const int words = 2 + input.byte() % 63;
  const std::uint8_t memories = input.byte();
  const std::uint8_t pointers = input.byte();
  const std::uint8_t budget = input.byte();
  const std::uint8_t entry = input.byte();

  qvasm::Program program;
  for (int i = 0; i < words; ++i) program.code.push_back(input.codeWord());
  for (int i = 0; i < 1 + memories % 16; ++i) program.ints.push_back(input.word());
  for (int i = 0; i < 1 + memories / 16; ++i) program.floats.push_back(input.word());
  for (int i = 0; i < 1 + pointers % 16; ++i) program.pointers.push_back(input.word());
  program.symbols.push_back({"main", VM_POINTER_CODE | (1u + entry % (words - 1))});
  const std::vector<unsigned char> image = qvasm::buildImage(program);

  QV_FuzzObjects objects;
  VM_init();
  void* machine = VM_createVirtualMachine();
  VM_loadExecutable(machine, image.data(), "main");
  objects.place(machine, pointers >> 4);
  qvfuzz::runBounded(machine, 1 + budget / 32, 1 + budget % 32);
  qvfuzz::checkShape(*static_cast<const KX_VirtualMachine*>(machine));
  qvfuzz::disassembleWords(machine, words, entry / 2, (entry & 1) != 0);
  // Objects must still come back through the host's accessors.
  for (int reg = 0; reg < 8; ++reg) VM_getPointerRegisterObject(machine, reg);
  for (int cell = 0; cell < VM_getPointerMemorySize(machine); ++cell) VM_getPointerMemoryObject(machine, cell);
  VM_exit();
  return 0;
}
