#include "timer/KX_Timer.h"

#include <cmath>

#include "platform/KX_TickSource.h"

namespace {

std::uint64_t asTicks(long long stored) {
  return static_cast<std::uint64_t>(stored);
}
long long asStored(std::uint64_t ticks) {
  return static_cast<long long>(ticks);
}

// Ticks from `from` to `to`. A `to` below `from` means the counter wrapped;
// the count then comes out one tick short of the modular difference, which no
// game time can show.
std::uint64_t ticksBetween(std::uint64_t from, std::uint64_t to) {
  if (to < from) return to + (UINT64_MAX - from);
  return to - from;
}

// Takes the lowest free slot of a family, or appends one (a zero element to
// each array) if none is free; marks it used and returns it.
template <class... Arrays>
int allocateSlot(KX_BitArray& used, Arrays&... arrays) {
  int slot = used.findBit(0, false);
  if (slot < 0) {
    slot = used.insertBit(used.getBitCount(), true);
    (arrays.append(0), ...);
  } else {
    used.setBit(slot, true);
  }
  return slot;
}

// Frees a slot of a family. Slots are only ever dropped from the end, so the
// ids of the remaining slots never change: the last slot goes at once (free
// slots below it stay, even at the end); a slot with used ones above is only
// marked free; a slot with nothing used above goes together with all above it.
template <class... Arrays>
void freeSlot(int slot, KX_BitArray& used, Arrays&... arrays) {
  if (slot == used.getBitCount() - 1) {
    (arrays.remove(slot), ...);
    used.removeBit(slot);
  } else if (used.findBit(slot + 1, true) >= 0) {
    used.setBit(slot, false);
  } else {
    (arrays.removeRange(slot, arrays.getCount()), ...);
    for (int bit = used.getBitCount() - 1; bit >= slot; --bit) used.removeBit(bit);
  }
}

}  // namespace

KX_Timer::KX_Timer() : ticksPerSecond(static_cast<float>(KX_TickSource::readTickFrequency())) {}

void KX_Timer::copyFrom(const KX_Base* source) {
  const KX_Timer* other = static_cast<const KX_Timer*>(source);
  if (other == this) return;
  ticksPerSecond = other->ticksPerSecond;
  pauseStart = other->pauseStart;
  isPaused = other->isPaused;
  speedFactor = other->speedFactor;
  snapshotStart.copyFrom(&other->snapshotStart);
  snapshotPaused.copyFrom(&other->snapshotPaused);
  snapshotElapsed.copyFrom(&other->snapshotElapsed);
  snapshotUsed.copyFrom(&other->snapshotUsed);
  eventStart.copyFrom(&other->eventStart);
  eventLastPoll.copyFrom(&other->eventLastPoll);
  eventLastTrigger.copyFrom(&other->eventLastTrigger);
  eventPaused.copyFrom(&other->eventPaused);
  eventElapsed.copyFrom(&other->eventElapsed);
  eventInterval.copyFrom(&other->eventInterval);
  eventUsed.copyFrom(&other->eventUsed);
}

std::uint64_t KX_Timer::currentTicks() const {
  return isPaused ? pauseStart : KX_TickSource::readTicks();
}

float KX_Timer::gameTimeAt(std::uint64_t ticks, std::uint64_t start, std::uint64_t paused, float elapsed) const {
  std::uint64_t running = ticksBetween(start, ticks) - paused;  // modulo 2^64
  return static_cast<float>(static_cast<double>(running) / ticksPerSecond * speedFactor + elapsed);
}

float KX_Timer::gameTime(std::uint64_t start, std::uint64_t paused, float elapsed) const {
  return gameTimeAt(currentTicks(), start, paused, elapsed);
}

void KX_Timer::pause() {
  if (isPaused) return;
  isPaused = true;
  pauseStart = KX_TickSource::readTicks();
}

void KX_Timer::unpause() {
  if (!isPaused) return;
  std::uint64_t pausedTicks = ticksBetween(pauseStart, KX_TickSource::readTicks());
  // Free slots too: they are overwritten when used again.
  for (int slot = 0; slot < snapshotPaused.getCount(); ++slot) {
    snapshotPaused.set(slot, asStored(asTicks(snapshotPaused.at(slot)) + pausedTicks));
  }
  for (int slot = 0; slot < eventPaused.getCount(); ++slot) {
    eventPaused.set(slot, asStored(asTicks(eventPaused.at(slot)) + pausedTicks));
  }
  isPaused = false;
}

void KX_Timer::reset() {
  pauseStart = 0;
  isPaused = false;
  snapshotStart.clear();
  snapshotPaused.clear();
  snapshotElapsed.clear();
  snapshotUsed.clear();
  snapshotUsed.bitCount = 0;
  eventStart.clear();
  eventLastPoll.clear();
  eventLastTrigger.clear();
  eventPaused.clear();
  eventElapsed.clear();
  eventInterval.clear();
  eventUsed.clear();
  eventUsed.bitCount = 0;
}

// The speed isn't kept per slot, so each used slot banks its game time at the
// old speed into `elapsed` and starts counting afresh from now. A pause stays
// in force: pauseStart and every start become now, so game time stands until
// unpause. Intervals, last polls and last triggers are game times and go on
// without a jump.
void KX_Timer::setSpeedFactor(float factor) {
  if (factor == speedFactor) return;
  std::uint64_t now = KX_TickSource::readTicks();
  std::uint64_t standing = isPaused ? pauseStart : now;
  for (int slot = snapshotUsed.findBit(0, true); slot >= 0; slot = snapshotUsed.findBit(slot + 1, true)) {
    snapshotElapsed.set(slot, gameTimeAt(standing, asTicks(snapshotStart.at(slot)), asTicks(snapshotPaused.at(slot)),
                                         snapshotElapsed.at(slot)));
    snapshotStart.set(slot, asStored(now));
    snapshotPaused.set(slot, 0);
  }
  for (int slot = eventUsed.findBit(0, true); slot >= 0; slot = eventUsed.findBit(slot + 1, true)) {
    eventElapsed.set(
        slot, gameTimeAt(standing, asTicks(eventStart.at(slot)), asTicks(eventPaused.at(slot)), eventElapsed.at(slot)));
    eventStart.set(slot, asStored(now));
    eventPaused.set(slot, 0);
  }
  pauseStart = now;
  speedFactor = factor;
}

int KX_Timer::createSnapshot() {
  int slot = allocateSlot(snapshotUsed, snapshotStart, snapshotPaused, snapshotElapsed);
  snapshotStart.set(slot, asStored(currentTicks()));
  snapshotPaused.set(slot, 0);
  snapshotElapsed.set(slot, 0.0f);
  return slot + 1;
}

float KX_Timer::getSnapshotDifference(int id) const {
  int slot = id - 1;
  return gameTime(asTicks(snapshotStart.at(slot)), asTicks(snapshotPaused.at(slot)), snapshotElapsed.at(slot));
}

void KX_Timer::deleteSnapshot(int id) {
  freeSlot(id - 1, snapshotUsed, snapshotStart, snapshotPaused, snapshotElapsed);
}

// The interval isn't checked: 0 gives an event that never triggers.
int KX_Timer::createEvent(float interval) {
  int slot =
      allocateSlot(eventUsed, eventStart, eventLastPoll, eventLastTrigger, eventPaused, eventElapsed, eventInterval);
  eventPaused.set(slot, 0);
  eventElapsed.set(slot, 0.0f);
  eventInterval.set(slot, interval);
  eventStart.set(slot, asStored(currentTicks()));
  eventLastPoll.set(slot, 0.0f);
  eventLastTrigger.set(slot, 0.0f);
  return slot + 1;
}

float KX_Timer::eventTime(int slot) const {
  return gameTime(asTicks(eventStart.at(slot)), asTicks(eventPaused.at(slot)), eventElapsed.at(slot));
}

float KX_Timer::lastMultiple(int slot, float t) const {
  float interval = eventInterval.at(slot);
  return std::floor(t / interval) * interval;
}

// Several multiples passed since the last poll give one trigger; the
// difference tells the game time that really passed since the last one.
bool KX_Timer::isEventTriggered(int id, float* difference) {
  int slot = id - 1;
  float t = eventTime(slot);
  float k = lastMultiple(slot, t);
  bool triggered = k > 0.0f && k > eventLastPoll.at(slot);
  if (triggered) {
    if (difference != nullptr) *difference = t - eventLastTrigger.at(slot);
    eventLastTrigger.set(slot, t);
  }
  eventLastPoll.set(slot, t);
  return triggered;
}

float KX_Timer::getEventRestTime(int id) const {
  int slot = id - 1;
  float t = eventTime(slot);
  float k = lastMultiple(slot, t);
  // A trigger waiting to be polled is due now.
  if (k > 0.0f && k > eventLastPoll.at(slot)) return 0.0f;
  float sinceMultiple = t - k;
  if (sinceMultiple < 0.0f) sinceMultiple = 0.0f;
  return eventInterval.at(slot) - sinceMultiple;
}

float KX_Timer::getEventDifference(int id) const {
  int slot = id - 1;
  return eventTime(slot) - eventLastTrigger.at(slot);
}

void KX_Timer::deleteEvent(int id) {
  freeSlot(id - 1, eventUsed, eventStart, eventLastPoll, eventLastTrigger, eventPaused, eventElapsed, eventInterval);
}
