// The system services the library imports: memory blocks, the memory manager's
// start and end, and the one error report to the host.
//
// This is the Linux stand-in. A port to another system swaps this header's
// implementation (kxsys.cpp) and the library entry (LibraryEntry.cpp) only.
#pragma once

#include <cstddef>

// Starts the memory manager. Called once by the library entry before any
// allocation; the arguments are the component's own tuning values.
int KX_startMemoryManager(int blockSize, int pageSize, bool checkBlocks);

// Ends the memory manager. Called once by the library entry after the last
// free. Returns the number of blocks still live at that moment.
int KX_endMemoryManager();

// Allocates `size` bytes and always stores the block (or null when out of
// memory) into `*block`. The result is 0 on success, 1 when no memory was left.
int KX_allocateMemoryBlock(unsigned int size, void** block);

// Gives back a block that KX_allocateMemoryBlock handed out. Null is ignored.
int KX_freeMemoryBlock(void* block);

// Reports an error to the host: writes the formatted text to standard error
// and returns, so that the caller can go on.
void KX_raiseError(int code, const char* format, ...);

// Counters of the stand-in, read by tests and benchmarks to prove that nothing
// leaks and that hot paths allocate nothing.
long long KX_getLiveBlockCount();
long long KX_getLiveByteCount();
long long KX_getAllocationCount();
