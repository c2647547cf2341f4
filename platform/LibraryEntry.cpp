// The library entry: starts the memory manager when the shared library is
// loaded and ends it when the library is unloaded. On Linux the loader runs
// ELF constructors and destructors; a Windows port puts the same two calls into
// DllMain's process attach and detach and nothing else changes.
//
// No static initialiser of the library takes memory from the manager, so the
// order between them and this constructor does not matter.
#include "platform/kxsys.h"

namespace {

__attribute__((constructor)) void startLibrary() {
  KX_startMemoryManager(65536, 4096, false);
}

__attribute__((destructor)) void endLibrary() {
  KX_endMemoryManager();
}

}  // namespace
