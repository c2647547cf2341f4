// The tick source of the game timer: a steadily rising 64-bit counter and the
// number of its ticks in a second.
//
// The counter is the high-resolution one, the process's monotonic clock in
// nanoseconds. Should reading it or its frequency ever fail, the source falls
// back for good to the processor's time-stamp counter, whose frequency is then
// measured once against a millisecond clock, over three seconds.
//
// The state (whether the high-resolution counter is usable, the measured
// frequency) is library-wide; like the rest of the library it is for one
// thread at a time.
#pragma once

#include <cstdint>

// The clocks under the tick source. The platform's are used unless a test puts
// fakes in their place with KX_TickSource::useClocks.
struct KX_TickClocks {
  // The high-resolution counter and its ticks per second; false if the read failed.
  bool (*readCounter)(std::uint64_t* ticks);
  bool (*readCounterFrequency)(std::uint64_t* ticksPerSecond);
  // The processor's time-stamp counter.
  std::uint64_t (*readTimeStampCounter)();
  // A millisecond count that wraps at 32 bits.
  std::uint32_t (*readMilliseconds)();
};

class KX_TickSource {
 public:
  // The counter now.
  static std::uint64_t readTicks();
  // Counter ticks per second. On the fallback the first call takes three
  // seconds to measure it; later calls return the measured value.
  static std::uint64_t readTickFrequency();

  // Test hook: puts `clocks` under the tick source (null brings back the
  // platform's) and starts afresh, with the high-resolution counter usable and
  // no measured frequency. `clocks` must outlive its use.
  static void useClocks(const KX_TickClocks* clocks);
};
