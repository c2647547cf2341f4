// A tick source for tests that stands still until the test moves it, and a
// fixture that runs the library's timer on it. The fake counts 1000 ticks a
// second, so that whole milliseconds are exact.
#pragma once

#include <gtest/gtest.h>

#include <cmath>
#include <cstdint>

#include "platform/KX_TickSource.h"
#include "qv_helper/qv_helper.h"
#include "support/LiveBlockGuard.h"

struct FakeTickClock {
  static inline std::uint64_t ticks = 0;
  static inline std::uint64_t ticksPerSecond = 1000;
  static inline std::uint64_t timeStampCounter = 0;
  static inline std::uint32_t milliseconds = 0;
  // Reads of the high-resolution counter (or its frequency) fail while set.
  static inline bool counterFails = false;
  static inline bool frequencyFails = false;
  // Added to the time-stamp counter and the millisecond count on every read,
  // so that a calibration loop sees time pass.
  static inline std::uint64_t timeStampStep = 0;
  static inline std::uint32_t millisecondStep = 0;
  static inline int timeStampReads = 0;
  static inline int millisecondReads = 0;

  static bool readCounter(std::uint64_t* value) {
    if (counterFails) return false;
    *value = ticks;
    return true;
  }
  static bool readCounterFrequency(std::uint64_t* value) {
    if (frequencyFails) return false;
    *value = ticksPerSecond;
    return true;
  }
  static std::uint64_t readTimeStampCounter() {
    ++timeStampReads;
    timeStampCounter += timeStampStep;
    return timeStampCounter;
  }
  static std::uint32_t readMilliseconds() {
    ++millisecondReads;
    milliseconds += millisecondStep;
    return milliseconds;
  }

  static constexpr KX_TickClocks clocks = {readCounter, readCounterFrequency, readTimeStampCounter, readMilliseconds};

  // Puts the fake under the tick source, with every setting back at its start.
  static void install() {
    ticks = 0;
    ticksPerSecond = 1000;
    timeStampCounter = 0;
    milliseconds = 0;
    counterFails = false;
    frequencyFails = false;
    timeStampStep = 0;
    millisecondStep = 0;
    timeStampReads = 0;
    millisecondReads = 0;
    KX_TickSource::useClocks(&clocks);
  }
  static void uninstall() { KX_TickSource::useClocks(nullptr); }
};

// The library's timer on the fake clock. `at(seconds)` moves real time to
// that many seconds after the start of the test.
class FakeClockTimerTest : public LiveBlockTest {
 protected:
  static constexpr std::uint64_t kStartTicks = 1000000;

  void SetUp() override {
    LiveBlockTest::SetUp();
    FakeTickClock::install();
    FakeTickClock::ticks = kStartTicks;
    Timer_init();
  }
  void TearDown() override {
    Timer_exit();
    FakeTickClock::uninstall();
    LiveBlockTest::TearDown();
  }

  static void at(double seconds) { FakeTickClock::ticks = kStartTicks + std::llround(seconds * 1000.0); }
};
