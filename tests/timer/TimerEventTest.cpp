// Events and snapshots on a fake clock: triggers, differences and rest times
// at given game times, pauses and speed changes.
#include <gtest/gtest.h>

#include "support/FakeTickClock.h"
#include "timer/KX_Timer.h"

namespace {

// Game times come from whole milliseconds; float sums lose a few units in the
// last place.
constexpr float kTolerance = 1e-5f;

class TimerEvents : public FakeClockTimerTest {};

TEST_F(TimerEvents, TriggersOnceForPassedMultiplesWithTheTimeSinceTheLastTrigger) {
  int event = Timer_createEvent(1.0f);
  int late = Timer_createEvent(1.0f);
  EXPECT_EQ(Timer_createSnapshot(), 1);  // numbered apart from the events
  float difference = -1.0f;
  at(0.25);
  EXPECT_NEAR(Timer_getEventRestTime(event), 0.75f, kTolerance);
  at(0.5);
  EXPECT_FALSE(Timer_isEventTriggered(event, &difference));
  EXPECT_EQ(difference, -1.0f);  // not written without a trigger
  at(1.2);
  EXPECT_EQ(Timer_getEventRestTime(event), 0.0f);  // a trigger waits to be polled
  EXPECT_NEAR(Timer_getEventDifference(event), 1.2f, kTolerance);
  EXPECT_TRUE(Timer_isEventTriggered(event, &difference));
  EXPECT_NEAR(difference, 1.2f, kTolerance);
  EXPECT_NEAR(Timer_getEventRestTime(event), 0.8f, kTolerance);
  EXPECT_FALSE(Timer_isEventTriggered(event, nullptr));
  at(2.1);
  EXPECT_TRUE(Timer_isEventTriggered(event, &difference));
  EXPECT_NEAR(difference, 0.9f, kTolerance);

  // First polled after several multiples: one trigger, counted from creation.
  at(3.5);
  EXPECT_TRUE(Timer_isEventTriggered(late, &difference));
  EXPECT_NEAR(difference, 3.5f, kTolerance);
  at(3.9);
  EXPECT_FALSE(Timer_isEventTriggered(late, nullptr));
  at(4.0);
  EXPECT_TRUE(Timer_isEventTriggered(late, &difference));
  EXPECT_NEAR(difference, 0.5f, kTolerance);

  int never = Timer_createEvent(0.0f);
  at(9.0);
  EXPECT_FALSE(Timer_isEventTriggered(never, nullptr));
}

TEST_F(TimerEvents, APauseHoldsGameTimeAndLeavesAtMostOneTrigger) {
  int snapshot = Timer_createSnapshot();
  int event = Timer_createEvent(1.0f);
  at(0.5);
  EXPECT_FALSE(Timer_isEventTriggered(event, nullptr));
  at(1.5);
  Timer_pause();
  at(2.0);
  Timer_pause();  // already paused: the pause still started at 1.5
  int pausedSnapshot = Timer_createSnapshot();
  at(3.0);
  EXPECT_NEAR(Timer_getSnapshotDifference(snapshot), 1.5f, kTolerance);
  EXPECT_EQ(Timer_getSnapshotDifference(pausedSnapshot), 0.0f);
  EXPECT_TRUE(Timer_isEventTriggered(event, nullptr));  // the multiple 1.0, passed before the pause
  at(4.0);
  EXPECT_NEAR(Timer_getSnapshotDifference(snapshot), 1.5f, kTolerance);
  EXPECT_FALSE(Timer_isEventTriggered(event, nullptr));

  at(5.0);
  Timer_unpause();  // one call ends the pause
  EXPECT_EQ(Timer_getSnapshotDifference(pausedSnapshot), 0.0f);
  at(5.5);
  EXPECT_NEAR(Timer_getSnapshotDifference(snapshot), 2.0f, kTolerance);
  EXPECT_NEAR(Timer_getSnapshotDifference(pausedSnapshot), 0.5f, kTolerance);
  float difference = 0.0f;
  EXPECT_TRUE(Timer_isEventTriggered(event, &difference));
  EXPECT_NEAR(difference, 0.5f, kTolerance);
  Timer_unpause();  // not paused: nothing happens
  EXPECT_EQ(gameTimer->snapshotPaused.at(snapshot - 1), 3500);
}

TEST_F(TimerEvents, SpeedChangesKeepGameTimeContinuous) {
  int snapshot = Timer_createSnapshot();
  int event = Timer_createEvent(3.0f);
  at(9.0);
  EXPECT_TRUE(Timer_isEventTriggered(event, nullptr));
  at(10.0);
  Timer_setSpeedFactor(2.0f);
  EXPECT_NEAR(Timer_getSnapshotDifference(snapshot), 10.0f, kTolerance);
  int fast = Timer_createEvent(1.0f);
  at(10.4);  // game time 10.8; the fast event at 0.8
  EXPECT_FALSE(Timer_isEventTriggered(fast, nullptr));
  EXPECT_FALSE(Timer_isEventTriggered(event, nullptr));
  EXPECT_NEAR(Timer_getEventRestTime(event), 1.2f, kTolerance);
  at(10.5);  // the fast event triggers every half real second
  EXPECT_TRUE(Timer_isEventTriggered(fast, nullptr));
  at(11.0);  // game time 12: the next multiple of 3, without a jump
  float difference = 0.0f;
  EXPECT_TRUE(Timer_isEventTriggered(fast, nullptr));
  EXPECT_TRUE(Timer_isEventTriggered(event, &difference));
  EXPECT_NEAR(difference, 3.0f, kTolerance);

  // A change during a pause keeps the pause.
  at(12.0);
  Timer_pause();
  at(13.0);
  Timer_setSpeedFactor(0.5f);
  at(14.0);
  EXPECT_NEAR(Timer_getSnapshotDifference(snapshot), 14.0f, kTolerance);
  Timer_unpause();
  at(16.0);
  EXPECT_NEAR(Timer_getSnapshotDifference(snapshot), 15.0f, kTolerance);

  // The current factor touches nothing; a negative one runs time backward.
  long long start = gameTimer->snapshotStart.at(0);
  at(17.0);
  Timer_setSpeedFactor(0.5f);
  EXPECT_EQ(gameTimer->snapshotStart.at(0), start);
  Timer_setSpeedFactor(-1.0f);
  at(18.0);
  EXPECT_NEAR(Timer_getSnapshotDifference(snapshot), 14.5f, kTolerance);
  EXPECT_FALSE(Timer_isEventTriggered(event, nullptr));
}

TEST_F(TimerEvents, ResetDuringAPauseEndsItAndKeepsTheSpeed) {
  Timer_createSnapshot();
  Timer_createEvent(1.0f);
  Timer_setSpeedFactor(2.0f);
  at(1.0);
  Timer_pause();
  Timer_reset();
  EXPECT_FALSE(gameTimer->isPaused);
  EXPECT_EQ(gameTimer->eventUsed.getBitCount(), 0);
  EXPECT_EQ(Timer_createEvent(1.0f), 1);
  int snapshot = Timer_createSnapshot();
  EXPECT_EQ(snapshot, 1);
  at(2.0);
  EXPECT_NEAR(Timer_getSnapshotDifference(snapshot), 2.0f, kTolerance);
}

}  // namespace
