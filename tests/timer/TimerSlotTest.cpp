// Slots of snapshots and events on a fake clock: which id a create returns,
// when slots fall away, the counter wrap, and copies of the timer.
#include <gtest/gtest.h>

#include <map>
#include <random>

#include "support/FakeTickClock.h"
#include "timer/KX_Timer.h"

namespace {

class TimerSlots : public FakeClockTimerTest {
 protected:
  // Number of event slots, used or free; every array of the family must agree.
  static int eventSlots() {
    int n = gameTimer->eventUsed.getBitCount();
    for (int count :
         {gameTimer->eventStart.getCount(), gameTimer->eventLastPoll.getCount(), gameTimer->eventLastTrigger.getCount(),
          gameTimer->eventPaused.getCount(), gameTimer->eventElapsed.getCount(), gameTimer->eventInterval.getCount()}) {
      EXPECT_EQ(count, n);
    }
    return n;
  }
  static int snapshotSlots() {
    int n = gameTimer->snapshotUsed.getBitCount();
    EXPECT_EQ(gameTimer->snapshotStart.getCount(), n);
    EXPECT_EQ(gameTimer->snapshotPaused.getCount(), n);
    EXPECT_EQ(gameTimer->snapshotElapsed.getCount(), n);
    return n;
  }
  static void createThreeEvents() {
    for (int id = 1; id <= 3; ++id) ASSERT_EQ(Timer_createEvent(1.0f), id);
  }
};

TEST_F(TimerSlots, FreedIdsComeBackLowestFirstAndSlotsOnlyFallAwayAtTheEnd) {
  createThreeEvents();
  Timer_deleteEvent(2);  // used slot above: only marked free
  EXPECT_EQ(eventSlots(), 3);
  EXPECT_EQ(Timer_createEvent(1.0f), 2);
  Timer_reset();

  createThreeEvents();
  Timer_deleteEvent(3);  // the last slot goes
  EXPECT_EQ(eventSlots(), 2);
  EXPECT_EQ(Timer_createEvent(2.0f), 3);  // through a new slot
  EXPECT_EQ(gameTimer->eventInterval.at(2), 2.0f);
  Timer_reset();

  createThreeEvents();
  Timer_deleteEvent(2);
  Timer_deleteEvent(3);
  EXPECT_EQ(eventSlots(), 2);  // the free slot of id 2 stays, now at the end
  Timer_deleteEvent(1);        // nothing used above: all slots go
  EXPECT_EQ(eventSlots(), 0);
  EXPECT_EQ(Timer_createEvent(1.0f), 1);
}

TEST_F(TimerSlots, RandomCreatesAndDeletesKeepEveryLiveIdWorking) {
  std::mt19937 random(2024);
  std::map<int, double> createdAt;  // live snapshot id -> real time of its creation
  double now = 0.0;
  for (int step = 0; step < 2000; ++step) {
    now += 0.001 * (1 + random() % 50);
    at(now);
    if (createdAt.empty() || random() % 5 < 3) {
      int lowestFree = 1;
      while (createdAt.count(lowestFree) != 0) ++lowestFree;
      ASSERT_EQ(Timer_createSnapshot(), lowestFree) << "step " << step;
      createdAt[lowestFree] = now;
    } else {
      auto victim = std::next(createdAt.begin(), random() % createdAt.size());
      Timer_deleteSnapshot(victim->first);
      createdAt.erase(victim);
    }
    int highest = createdAt.empty() ? 0 : createdAt.rbegin()->first;
    ASSERT_GE(snapshotSlots(), highest);
    for (const auto& [id, created] : createdAt) {
      ASSERT_NEAR(Timer_getSnapshotDifference(id), now - created, 1e-4) << "id " << id;
    }
    if (createdAt.size() > 40) {
      // From the lowest id up, each slot is only marked free until the
      // highest, whose slot falls away with any free ones above it.
      while (!createdAt.empty()) {
        Timer_deleteSnapshot(createdAt.begin()->first);
        createdAt.erase(createdAt.begin());
      }
      ASSERT_EQ(snapshotSlots(), highest - 1);
      ASSERT_EQ(gameTimer->snapshotUsed.findBit(0, true), -1);
    }
  }
}

TEST_F(TimerSlots, TheCounterWrapsThroughZero) {
  FakeTickClock::ticks = UINT64_MAX - 99;
  int snapshot = Timer_createSnapshot();
  FakeTickClock::ticks = 49;  // 149 ticks on, modulo 2^64
  // A wrapped difference comes out one tick short: 148 ticks.
  EXPECT_FLOAT_EQ(Timer_getSnapshotDifference(snapshot), 0.148f);

  FakeTickClock::ticks = UINT64_MAX - 9;
  Timer_pause();
  FakeTickClock::ticks = 990;  // 1000 ticks on, counted as 999
  Timer_unpause();
  EXPECT_EQ(gameTimer->snapshotPaused.at(snapshot - 1), 999);
  FakeTickClock::ticks = 1990;
  EXPECT_FLOAT_EQ(Timer_getSnapshotDifference(snapshot), (1990.0f + 99.0f - 999.0f) / 1000.0f);
}

TEST_F(TimerSlots, ACopyGoesOnAloneAndExitThenInitStartsAfresh) {
  int snapshot = Timer_createSnapshot();
  int event = Timer_createEvent(1.0f);
  at(1.5);
  Timer_pause();
  KX_Base* copy = gameTimer->newInstance();
  KX_Timer* timer = static_cast<KX_Timer*>(copy);
  timer->copyFrom(gameTimer);
  EXPECT_NEAR(timer->getSnapshotDifference(snapshot), 1.5f, 1e-5f);
  EXPECT_TRUE(timer->isEventTriggered(event, nullptr));
  EXPECT_TRUE(Timer_isEventTriggered(event, nullptr));  // the original was not polled
  timer->unpause();
  EXPECT_TRUE(gameTimer->isPaused);
  delete copy;

  Timer_setSpeedFactor(4.0f);
  Timer_exit();
  Timer_exit();  // harmless: there is no timer any more
  Timer_init();
  EXPECT_FALSE(gameTimer->isPaused);
  EXPECT_EQ(gameTimer->speedFactor, 1.0f);
  EXPECT_EQ(gameTimer->ticksPerSecond, 1000.0f);
  EXPECT_EQ(Timer_createSnapshot(), 1);
}

}  // namespace
