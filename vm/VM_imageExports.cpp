// Exported loading of executable images and lookup of their symbols.
#include "qv_helper/qv_helper.h"
#include "vm/KX_VirtualMachine.h"

void VM_loadExecutable(void* machine, const void* image, const char* entryName) {
  // A failed load leaves the machine as it was; the host sees no code.
  static_cast<KX_VirtualMachine*>(machine)->loadImage(image, entryName);
}

int VM_loadExecutableChecked(void* machine, const void* image, int imageSize, const char* entryName) {
  // A negative size holds no byte; it must not select the trusting path.
  const long long size = imageSize < 0 ? 0 : imageSize;
  return static_cast<KX_VirtualMachine*>(machine)->loadImage(image, entryName, size);
}

int VM_getSymbolAddress(void* machine, const char* name) {
  return static_cast<KX_VirtualMachine*>(machine)->findSymbol(name);
}
