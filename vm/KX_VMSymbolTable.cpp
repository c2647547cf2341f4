#include "vm/KX_VMSymbolTable.h"

#include <cstring>

#include "vm/KX_VMImageFormat.h"

void KX_readVMSymbolTable(const unsigned char* addressSection, std::uint32_t count, const unsigned char* nameSection,
                          std::uint32_t nameBytes, const unsigned char* end, KX_StringList& names,
                          KX_IntArray& addresses) {
  names.clear();
  addresses.clear();
  addresses.resize(static_cast<int>(count));
  int* words = addresses.getBuffer();
  for (std::uint32_t i = 0; i < count; ++i) words[i] = static_cast<int>(KX_VMImage::readWord(addressSection + 4 * i));

  std::uint32_t consumed = 0;
  while (consumed < nameBytes) {
    const char* name = reinterpret_cast<const char*>(nameSection + consumed);
    const std::size_t room = static_cast<std::size_t>(end - (nameSection + consumed));
    const std::size_t nameLength = strnlen(name, room);
    KX_String* symbol = new KX_String();
    symbol->caseInsensitive = true;
    // One block for the whole name: a long name grows no step at a time.
    symbol->resize(static_cast<int>(nameLength));
    if (nameLength != 0) std::memcpy(symbol->getBuffer(), name, nameLength);
    names.append(symbol);
    consumed += static_cast<std::uint32_t>(nameLength) + 1;
  }

  // Names and addresses pair by index; the longer list loses its tail.
  while (names.getCount() > addresses.getCount()) names.remove(names.getCount() - 1);
  if (addresses.getCount() > names.getCount()) addresses.resize(names.getCount());
}
