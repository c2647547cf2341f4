// Exported listing of one code word as text.
#include <cstring>

#include "qv_helper/qv_helper.h"
#include "vm/KX_VMDisassembler.h"
#include "vm/KX_VirtualMachine.h"

void VM_disassemble(void* machine, char* buffer, int bufferSize, int address, bool withCode) {
  if (bufferSize <= 0) return;
  KX_StringList lines;
  KX_VMDisassembler::formatLine(*static_cast<KX_VirtualMachine*>(machine), lines, address, 1, withCode);
  // An address beyond the code makes no line: the buffer then holds the
  // empty text, so a caller that prints it prints nothing.
  if (lines.getCount() == 0) {
    buffer[0] = '\0';
    return;
  }
  const KX_String* line = lines.getString(0);
  const int length = line->getLength() + 1 < bufferSize ? line->getLength() + 1 : bufferSize;
  std::memcpy(buffer, line->getText(), static_cast<std::size_t>(length));
  buffer[bufferSize - 1] = '\0';
}
