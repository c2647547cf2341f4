// A machine with something to lose, for the targets that hand it untrusted
// images: its object table, class records, an open call, a watch and a
// host method waiting on its second attempt. A refused image must leave all
// of that exactly as it was.
#pragma once

#include <cstdio>
#include <cstdlib>
#include <string>
#include <vector>

#include "QV_FuzzCheck.h"
#include "QV_FuzzObjects.h"
#include "assembler/QV_Assembler.h"
#include "qv_helper/qv_helper.h"
#include "vm/KX_VirtualMachine.h"

namespace qvfuzz {

inline const std::vector<unsigned char>& preparedImage() {
  static const std::vector<unsigned char> image = [] {
    const char* const source =
        "        .export main\n"
        "cell:   .int 5\n"
        "        .float 1.5\n"
        "        .pointer 0\n"
        "main:   LOAD      pr0,handler\n"
        "        LOAD      ir0,9\n"
        "        WATCHL    ir0,cell\n"
        "        PARAM     ir0\n"
        "        CALL      work\n"
        "        HALT      1\n"
        "handler: LOAD     ir7,1\n"
        "        RETURN\n"
        "work:   LOCALS    1,1,1\n"
        "        CALL      [pr3].0x000D\n"
        "        RETURN\n";
    qvasm::Program program;
    std::vector<qvasm::Diagnostic> errors;
    if (!qvasm::assemble(source, program, errors)) {
      std::fprintf(stderr, "%s\n", qvasm::formatDiagnostic("prepared machine", errors.at(0)).c_str());
      std::abort();
    }
    return qvasm::buildImage(program);
  }();
  return image;
}

// A new registered machine in the state above, holding `objects`.
inline void* preparedMachine(QV_FuzzObjects& objects) {
  void* machine = VM_createVirtualMachine();
  VM_loadExecutable(machine, preparedImage().data(), "main");
  objects.place(machine, 0x0F);
  // Six instructions up to LOCALS, then the first attempt of the host
  // method, which answers VM_WAIT.
  for (int step = 0; step < 7; ++step) VM_execute(machine, 1);
  const KX_VirtualMachine& m = *static_cast<const KX_VirtualMachine*>(machine);
  QV_FUZZ_CHECK(m.pending && m.savedCp.getCount() == 1 && m.watches.getCount() == 1 && m.objects.getCount() == 3,
                "the prepared machine waits in a host method inside a call, with a watch and three objects");
  return machine;
}

}  // namespace qvfuzz
