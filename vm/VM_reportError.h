// The one path of every result code of the script machine and the file class.
#pragma once

// Returns `code`. The formatted text is shown to nobody; the last one is kept
// so that tests (and a debugger) can read what a failure said.
int VM_reportError(int code, const char* format, ...)
#if defined(__GNUC__)
    __attribute__((format(printf, 2, 3)))
#endif
    ;

// Code and text of the last VM_reportError call; 0 and "" before the first.
int VM_getLastErrorCode();
const char* VM_getLastErrorText();
