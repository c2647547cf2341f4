#include "platform/KX_TickSource.h"

#include <time.h>

#if defined(__x86_64__) || defined(__i386__)
#include <x86intrin.h>
#endif

namespace {

constexpr std::uint64_t kNanosecondsPerSecond = 1000000000u;
// Length of the frequency measurement of the fallback, in milliseconds.
constexpr std::uint32_t kCalibrationMilliseconds = 3000;

bool readMonotonicClock(std::uint64_t* ticks) {
  timespec now;
  if (clock_gettime(CLOCK_MONOTONIC, &now) != 0) return false;
  *ticks = static_cast<std::uint64_t>(now.tv_sec) * kNanosecondsPerSecond + static_cast<std::uint64_t>(now.tv_nsec);
  return true;
}

// The monotonic clock counts nanoseconds whatever its resolution; asking for
// the resolution tells whether the clock is there at all.
bool readMonotonicFrequency(std::uint64_t* ticksPerSecond) {
  timespec resolution;
  if (clock_getres(CLOCK_MONOTONIC, &resolution) != 0) return false;
  *ticksPerSecond = kNanosecondsPerSecond;
  return true;
}

std::uint64_t readProcessorCounter() {
#if defined(__x86_64__) || defined(__i386__)
  return __rdtsc();
#elif defined(__aarch64__)
  std::uint64_t value;
  asm volatile("mrs %0, cntvct_el0" : "=r"(value));
  return value;
#else
  // No counter register known here: nanoseconds of the wall clock rise too.
  timespec now;
  clock_gettime(CLOCK_REALTIME, &now);
  return static_cast<std::uint64_t>(now.tv_sec) * kNanosecondsPerSecond + static_cast<std::uint64_t>(now.tv_nsec);
#endif
}

// Taken from the wall clock, not the monotonic one: it serves when the
// monotonic clock has failed. A jump of the wall clock during a measurement
// makes the measurement start again (see readTickFrequency).
std::uint32_t readWallMilliseconds() {
  timespec now;
  clock_gettime(CLOCK_REALTIME, &now);
  return static_cast<std::uint32_t>(static_cast<std::uint64_t>(now.tv_sec) * 1000u +
                                    static_cast<std::uint64_t>(now.tv_nsec) / 1000000u);
}

constexpr KX_TickClocks kPlatformClocks = {readMonotonicClock, readMonotonicFrequency, readProcessorCounter,
                                           readWallMilliseconds};

const KX_TickClocks* clocks = &kPlatformClocks;
bool highResolutionUsable = true;
std::uint64_t calibratedFrequency = 0;

}  // namespace

std::uint64_t KX_TickSource::readTicks() {
  if (highResolutionUsable) {
    std::uint64_t ticks;
    if (clocks->readCounter(&ticks)) return ticks;
    highResolutionUsable = false;
  }
  return clocks->readTimeStampCounter();
}

std::uint64_t KX_TickSource::readTickFrequency() {
  if (highResolutionUsable) {
    std::uint64_t ticksPerSecond;
    if (clocks->readCounterFrequency(&ticksPerSecond)) return ticksPerSecond;
    highResolutionUsable = false;
  }
  while (calibratedFrequency == 0) {
    std::uint32_t startMilliseconds = clocks->readMilliseconds();
    std::uint64_t startCount = clocks->readTimeStampCounter();
    std::uint32_t endMilliseconds;
    do {
      endMilliseconds = clocks->readMilliseconds();
    } while (static_cast<std::uint32_t>(endMilliseconds - startMilliseconds) < kCalibrationMilliseconds);
    std::uint64_t endCount = clocks->readTimeStampCounter();
    // A millisecond count that wrapped or a counter that did not rise spoil
    // the measurement: it is taken again.
    if (endMilliseconds > startMilliseconds && endCount > startCount) {
      calibratedFrequency = (endCount - startCount) * 1000u / (endMilliseconds - startMilliseconds);
    }
  }
  return calibratedFrequency;
}

void KX_TickSource::useClocks(const KX_TickClocks* replacement) {
  clocks = replacement != nullptr ? replacement : &kPlatformClocks;
  highResolutionUsable = true;
  calibratedFrequency = 0;
}
