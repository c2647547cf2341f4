#include "platform/kxsys.h"

#include <cstdarg>
#include <cstdio>
#include <cstdlib>

namespace {

// Each block carries its size in front so that the live byte count can be
// kept; 16 bytes keep the caller's part aligned for any scalar type.
constexpr std::size_t kHeaderSize = 16;

long long liveBlocks = 0;
long long liveBytes = 0;
long long allocations = 0;

}  // namespace

int KX_startMemoryManager(int, int, bool) {
  return 0;
}

int KX_endMemoryManager() {
  return static_cast<int>(liveBlocks);
}

int KX_allocateMemoryBlock(unsigned int size, void** block) {
  unsigned char* raw = static_cast<unsigned char*>(std::malloc(kHeaderSize + size));
  if (raw == nullptr) {
    *block = nullptr;
    return 1;
  }
  *reinterpret_cast<std::size_t*>(raw) = size;
  ++liveBlocks;
  ++allocations;
  liveBytes += size;
  *block = raw + kHeaderSize;
  return 0;
}

int KX_freeMemoryBlock(void* block) {
  if (block == nullptr) return 0;
  unsigned char* raw = static_cast<unsigned char*>(block) - kHeaderSize;
  --liveBlocks;
  liveBytes -= static_cast<long long>(*reinterpret_cast<std::size_t*>(raw));
  std::free(raw);
  return 0;
}

void KX_raiseError(int code, const char* format, ...) {
  std::fprintf(stderr, "qv_helper error 0x%X: ", static_cast<unsigned>(code));
  va_list arguments;
  va_start(arguments, format);
  std::vfprintf(stderr, format, arguments);
  va_end(arguments);
  std::fputc('\n', stderr);
}

long long KX_getLiveBlockCount() {
  return liveBlocks;
}
long long KX_getLiveByteCount() {
  return liveBytes;
}
long long KX_getAllocationCount() {
  return allocations;
}
