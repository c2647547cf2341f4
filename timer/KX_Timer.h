// KX_Timer: the game clock, with its stopwatches (snapshots) and polled
// periodic events.
//
// Game seconds pass `speedFactor` times as fast as real seconds and stand still
// during a pause. Each snapshot and event is a slot in parallel arrays of its
// family; its id is the slot index + 1. A slot counts from the tick value
// `start`, less the ticks it spent paused, plus the game seconds it gathered
// before `start` (banked when the speed changes):
//
//   gameTime = (now - start - paused) / ticksPerSecond * speedFactor + elapsed
//
// Tick values are subtracted before they are turned into seconds, so that the
// large raw counter values lose no precision.
#pragma once

#include <cstdint>

#include "foundation/KX_Base.h"
#include "foundation/KX_BitArray.h"
#include "foundation/KX_FloatArray.h"
#include "foundation/KX_LongLongArray.h"

class KX_Timer : public KX_Base {
 public:
  // Running, at speed 1, with no slots; reads the counter frequency once.
  KX_Timer();
  ~KX_Timer() override = default;
  KX_Timer(const KX_Timer&) = delete;
  KX_Timer& operator=(const KX_Timer&) = delete;

  // A new timer, reading the counter frequency again.
  KX_Base* newInstance() const override { return new KX_Timer(); }
  // Takes over every field of another timer.
  void copyFrom(const KX_Base* source) override;

  void pause();
  void unpause();
  // Deletes all snapshots and events and ends a pause; the speed stays.
  void reset();
  // Changes the speed from now on; the time gathered so far is kept.
  void setSpeedFactor(float factor);

  int createSnapshot();
  float getSnapshotDifference(int id) const;
  void deleteSnapshot(int id);

  int createEvent(float interval);
  // Polls the event: true if a multiple of its interval was passed since the
  // last poll; then `difference` (if not null) receives the game time since
  // the last trigger.
  bool isEventTriggered(int id, float* difference);
  float getEventRestTime(int id) const;
  float getEventDifference(int id) const;
  void deleteEvent(int id);

  // Game seconds of a slot at the present tick value (pauseStart while paused).
  float gameTime(std::uint64_t start, std::uint64_t paused, float elapsed) const;

  // The fields, in order. Tick values are unsigned 64-bit numbers kept in the
  // signed elements of KX_LongLongArray.
  float ticksPerSecond;
  std::uint64_t pauseStart = 0;
  bool isPaused = false;
  float speedFactor = 1.0f;
  KX_LongLongArray snapshotStart;
  KX_LongLongArray snapshotPaused;
  KX_FloatArray snapshotElapsed;
  KX_BitArray snapshotUsed;
  KX_LongLongArray eventStart;
  KX_FloatArray eventLastPoll;
  KX_FloatArray eventLastTrigger;
  KX_LongLongArray eventPaused;
  KX_FloatArray eventElapsed;
  KX_FloatArray eventInterval;
  KX_BitArray eventUsed;

 private:
  // The tick value that game time stands at: pauseStart while paused, else the counter.
  std::uint64_t currentTicks() const;
  float gameTimeAt(std::uint64_t ticks, std::uint64_t start, std::uint64_t paused, float elapsed) const;
  float eventTime(int slot) const;
  // The last multiple of the event's interval at or below t.
  float lastMultiple(int slot, float t) const;
};

// The one timer of the library, from Timer_init to Timer_exit.
extern KX_Timer* gameTimer;
