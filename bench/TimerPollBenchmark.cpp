// Cost of polling the game timer with 1000 live events and 1000 live
// snapshots, on the platform's clock and on a counter that costs nothing to
// read (which shows the timer's own share). The counter
// "allocationsWhilePolling" must stay 0: polling allocates nothing.
#include <benchmark/benchmark.h>

#include <cstdint>

#include "platform/KX_TickSource.h"
#include "platform/kxsys.h"
#include "qv_helper/qv_helper.h"

namespace {

constexpr int kLiveSlots = 1000;

// A counter that rises by 1000 ticks (1 ms at the stated frequency) per read.
std::uint64_t freeTicks = 0;
bool readFreeCounter(std::uint64_t* ticks) {
  freeTicks += 1000;
  *ticks = freeTicks;
  return true;
}
bool readFreeFrequency(std::uint64_t* ticksPerSecond) {
  *ticksPerSecond = 1000000;
  return true;
}
std::uint64_t readNoTimeStamp() {
  return 0;
}
std::uint32_t readNoMilliseconds() {
  return 0;
}
constexpr KX_TickClocks kFreeClocks = {readFreeCounter, readFreeFrequency, readNoTimeStamp, readNoMilliseconds};

void startTimer(bool platformClock) {
  KX_TickSource::useClocks(platformClock ? nullptr : &kFreeClocks);
  Timer_init();
  for (int i = 0; i < kLiveSlots; ++i) {
    Timer_createEvent(0.05f + 0.001f * static_cast<float>(i));
    Timer_createSnapshot();
  }
}

void stopTimer() {
  Timer_exit();
  KX_TickSource::useClocks(nullptr);
}

void reportAllocations(benchmark::State& state, long long before) {
  long long allocations = KX_getAllocationCount() - before;
  state.counters["allocationsWhilePolling"] = static_cast<double>(allocations);
  if (allocations != 0) state.SkipWithError("polling allocated memory");
}

void BM_isEventTriggered(benchmark::State& state) {
  startTimer(state.range(0) != 0);
  float difference = 0.0f;
  int triggers = 0;
  int id = 0;
  long long before = KX_getAllocationCount();
  for (auto _ : state) {
    id = id == kLiveSlots ? 1 : id + 1;
    triggers += Timer_isEventTriggered(id, &difference);
    benchmark::DoNotOptimize(difference);
  }
  reportAllocations(state, before);
  state.counters["triggers"] = triggers;
  state.SetLabel(state.range(0) != 0 ? "platform clock" : "free counter");
  stopTimer();
}

void BM_getSnapshotDifference(benchmark::State& state) {
  startTimer(state.range(0) != 0);
  int id = 0;
  long long before = KX_getAllocationCount();
  for (auto _ : state) {
    id = id == kLiveSlots ? 1 : id + 1;
    benchmark::DoNotOptimize(Timer_getSnapshotDifference(id));
  }
  reportAllocations(state, before);
  state.SetLabel(state.range(0) != 0 ? "platform clock" : "free counter");
  stopTimer();
}

// The platform's counter alone, for comparison.
void BM_readTicks(benchmark::State& state) {
  KX_TickSource::useClocks(nullptr);
  for (auto _ : state) benchmark::DoNotOptimize(KX_TickSource::readTicks());
}

BENCHMARK(BM_isEventTriggered)->Arg(1)->Arg(0);
BENCHMARK(BM_getSnapshotDifference)->Arg(1)->Arg(0);
BENCHMARK(BM_readTicks);

}  // namespace

BENCHMARK_MAIN();
