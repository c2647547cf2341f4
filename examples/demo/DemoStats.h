// What the summary reports: counts, and samples of how long things took.
// Times come from the steady clock and are never fed back into the game.
#pragma once

#include <chrono>
#include <vector>

class DemoTimings {
 public:
  void add(double microseconds) { samples.push_back(microseconds); }
  std::size_t count() const { return samples.size(); }
  double median() const;  // 0 without samples
  double maximum() const;
  double total() const;

 private:
  std::vector<double> samples;
};

// Runs `work` and adds its time to `timings`; gives back what `work` returns.
template <class Work>
auto timed(DemoTimings& timings, Work&& work) {
  const auto start = std::chrono::steady_clock::now();
  struct Record {
    DemoTimings& timings;
    std::chrono::steady_clock::time_point start;
    ~Record() {
      timings.add(std::chrono::duration<double, std::micro>(std::chrono::steady_clock::now() - start).count());
    }
  } record{timings, start};
  return work();
}

struct DemoStats {
  DemoTimings treeQueries;   // QuadTree_ queries of the units
  DemoTimings pathSearches;  // FindPath_findPath
  DemoTimings frames;        // one whole frame
  DemoTimings scripts;       // all machines of one frame
  int pathsNone = 0;         // path searches that found no way (0 or 1 point)
  long long instructions = 0;
  int scriptErrors = 0;
  int arrivals = 0;      // walks that reached their target
  int stoppedShort = 0;  // walks that ended before it (a barrier, the border)
  int obstaclesDropped = 0;
  int barriersDropped = 0;
  int dropsRefused = 0;
  int savedMachines = 0;
  long long savedBytes = 0;
  double saveRestoreMicroseconds = 0.0;
};
