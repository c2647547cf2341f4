// The Timer_ family: flat functions over the one timer of the library.
#include "qv_helper/qv_helper.h"
#include "timer/KX_Timer.h"

KX_Timer* gameTimer = nullptr;

void Timer_init() {
  gameTimer = new KX_Timer();
}

// Forgetting the deleted timer makes a second Timer_exit harmless.
void Timer_exit() {
  delete gameTimer;
  gameTimer = nullptr;
}

void Timer_reset() {
  gameTimer->reset();
}

void Timer_pause() {
  gameTimer->pause();
}

void Timer_unpause() {
  gameTimer->unpause();
}

void Timer_setSpeedFactor(float factor) {
  gameTimer->setSpeedFactor(factor);
}

int Timer_createEvent(float interval) {
  return gameTimer->createEvent(interval);
}

void Timer_deleteEvent(int id) {
  gameTimer->deleteEvent(id);
}

float Timer_getEventDifference(int id) {
  return gameTimer->getEventDifference(id);
}

float Timer_getEventRestTime(int id) {
  return gameTimer->getEventRestTime(id);
}

bool Timer_isEventTriggered(int id, float* difference) {
  return gameTimer->isEventTriggered(id, difference);
}

int Timer_createSnapshot() {
  return gameTimer->createSnapshot();
}

void Timer_deleteSnapshot(int id) {
  gameTimer->deleteSnapshot(id);
}

float Timer_getSnapshotDifference(int id) {
  return gameTimer->getSnapshotDifference(id);
}
