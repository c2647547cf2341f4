#include "vm/VM_reportError.h"

#include <cstdarg>
#include <cstdio>

namespace {

// Formatted into a fixed buffer: reporting an error never allocates.
char lastText[256] = "";
int lastCode = 0;

}  // namespace

int VM_reportError(int code, const char* format, ...) {
  va_list arguments;
  va_start(arguments, format);
  std::vsnprintf(lastText, sizeof lastText, format, arguments);
  va_end(arguments);
  lastCode = code;
  return code;
}

int VM_getLastErrorCode() {
  return lastCode;
}
const char* VM_getLastErrorText() {
  return lastText;
}
