// The tick source on fake clocks: the high-resolution counter while it works,
// the time-stamp counter for good once it fails, and the three-second
// measurement of the time-stamp counter's frequency.
#include <gtest/gtest.h>

#include "platform/KX_TickSource.h"
#include "support/FakeTickClock.h"

namespace {

class TickSource : public ::testing::Test {
 protected:
  void SetUp() override { FakeTickClock::install(); }
  void TearDown() override { FakeTickClock::uninstall(); }
};

TEST_F(TickSource, ReadsTheHighResolutionCounterWhileItWorks) {
  FakeTickClock::ticks = 123456789;
  FakeTickClock::ticksPerSecond = 3579545;
  EXPECT_EQ(KX_TickSource::readTicks(), 123456789u);
  EXPECT_EQ(KX_TickSource::readTickFrequency(), 3579545u);
  EXPECT_EQ(FakeTickClock::timeStampReads, 0);
  EXPECT_EQ(FakeTickClock::millisecondReads, 0);
}

TEST_F(TickSource, AFailedCounterReadSwitchesToTheTimeStampCounterForGood) {
  FakeTickClock::ticks = 500;
  FakeTickClock::timeStampCounter = 70000;
  FakeTickClock::timeStampStep = 10;
  FakeTickClock::counterFails = true;
  EXPECT_EQ(KX_TickSource::readTicks(), 70010u);
  FakeTickClock::counterFails = false;  // working again makes no difference
  EXPECT_EQ(KX_TickSource::readTicks(), 70020u);

  // The frequency is then measured, not read, even though its read would work.
  FakeTickClock::millisecondStep = 1000;
  EXPECT_NE(KX_TickSource::readTickFrequency(), FakeTickClock::ticksPerSecond);
  EXPECT_GT(FakeTickClock::millisecondReads, 0);
}

TEST_F(TickSource, TheFallbackFrequencyIsMeasuredOverThreeSecondsOnce) {
  FakeTickClock::frequencyFails = true;
  FakeTickClock::milliseconds = 100;
  FakeTickClock::millisecondStep = 700;
  FakeTickClock::timeStampCounter = 1000000;
  FakeTickClock::timeStampStep = 7000000000u;
  // Milliseconds read: 800 (start), 1500, 2200, 2900, 3600, 4300 (the first
  // at least 3000 later: the end). The counter rose by one step in between.
  EXPECT_EQ(KX_TickSource::readTickFrequency(), 7000000000ull * 1000 / 3500);
  EXPECT_EQ(FakeTickClock::millisecondReads, 6);
  EXPECT_EQ(FakeTickClock::timeStampReads, 2);
  // The failed frequency read also gave up the high-resolution counter.
  EXPECT_EQ(KX_TickSource::readTicks(), 1000000u + 3 * 7000000000ull);

  EXPECT_EQ(KX_TickSource::readTickFrequency(), 7000000000ull * 1000 / 3500);
  EXPECT_EQ(FakeTickClock::millisecondReads, 6);
}

TEST_F(TickSource, AWrappedMillisecondCountOrAStillCounterStartsTheMeasurementAgain) {
  FakeTickClock::frequencyFails = true;
  // Start just below the wrap of the 32-bit millisecond count: the first
  // measurement ends on the far side of zero and is not used.
  FakeTickClock::milliseconds = 0xFFFFFFFFu - 1500;
  FakeTickClock::millisecondStep = 1000;
  FakeTickClock::timeStampStep = 1000;
  EXPECT_EQ(KX_TickSource::readTickFrequency(), 1000u * 1000 / 3000);
  EXPECT_EQ(FakeTickClock::timeStampReads, 4);  // two measurements of two reads

  // A counter that does not rise gives no frequency either.
  FakeTickClock::install();
  FakeTickClock::frequencyFails = true;
  FakeTickClock::millisecondStep = 1500;
  FakeTickClock::timeStampStep = 0;
  // Let it rise only from the third read on, so that the first measurement fails.
  struct RisingLater {
    static std::uint64_t read() {
      ++FakeTickClock::timeStampReads;
      return FakeTickClock::timeStampReads <= 2 ? 42 : 42 + 900 * FakeTickClock::timeStampReads;
    }
  };
  KX_TickClocks clocks = FakeTickClock::clocks;
  clocks.readTimeStampCounter = RisingLater::read;
  KX_TickSource::useClocks(&clocks);
  // Second measurement: reads 3 and 4, 900 apart, over 3000 ms.
  EXPECT_EQ(KX_TickSource::readTickFrequency(), 900u * 1000 / 3000);
  EXPECT_EQ(FakeTickClock::timeStampReads, 4);
}

}  // namespace
