// The timer on the platform's own clock: game time rises, and stands still
// while paused. No sleeping: the test spins until the clock has moved.
#include <gtest/gtest.h>

#include "platform/KX_TickSource.h"
#include "qv_helper/qv_helper.h"
#include "support/LiveBlockGuard.h"

namespace {

class TimerRealClock : public LiveBlockTest {};

// Spins until the platform's counter has moved on from `from`; false if it
// never does within the spin limit.
bool counterMovesOn(std::uint64_t from) {
  for (long spin = 0; spin < 100000000L; ++spin) {
    if (KX_TickSource::readTicks() != from) return true;
  }
  return false;
}

TEST_F(TimerRealClock, GameTimeRisesAndStandsStillWhilePaused) {
  KX_TickSource::useClocks(nullptr);
  Timer_init();
  int snapshot = Timer_createSnapshot();
  float before = Timer_getSnapshotDifference(snapshot);
  EXPECT_GE(before, 0.0f);
  ASSERT_TRUE(counterMovesOn(KX_TickSource::readTicks()));
  float later = 0.0f;
  for (long spin = 0; spin < 100000000L && later <= before; ++spin) later = Timer_getSnapshotDifference(snapshot);
  EXPECT_GT(later, before);

  Timer_pause();
  float paused = Timer_getSnapshotDifference(snapshot);
  ASSERT_TRUE(counterMovesOn(KX_TickSource::readTicks()));
  EXPECT_EQ(Timer_getSnapshotDifference(snapshot), paused);
  Timer_unpause();
  float resumed = Timer_getSnapshotDifference(snapshot);
  EXPECT_GE(resumed, paused);
  Timer_exit();
}

}  // namespace
