// The three sort operators against std::sort on random arrays of 10^3, 10^5
// and 10^6 elements. Each benchmark sorts a fresh copy of the same input per
// iteration; the copy is timed in every benchmark alike. After the runs the
// program prints each operator's time as a multiple of std::sort's.
#include <benchmark/benchmark.h>

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <map>
#include <random>
#include <string>
#include <vector>

#include "foundation/KX_ArrayPolicies.h"
#include "foundation/KX_ArraySortOperators.h"
#include "geometry/KX_Point2D.h"

namespace {

template <class T>
std::vector<T> randomInput(int n);

template <>
std::vector<int> randomInput<int>(int n) {
  std::mt19937 random(42);
  std::vector<int> values(static_cast<std::size_t>(n));
  for (int& v : values) v = static_cast<int>(random());
  return values;
}

template <>
std::vector<float> randomInput<float>(int n) {
  std::mt19937 random(42);
  std::uniform_real_distribution<float> distribution(-1e6f, 1e6f);
  std::vector<float> values(static_cast<std::size_t>(n));
  for (float& v : values) v = distribution(random);
  return values;
}

template <>
std::vector<void*> randomInput<void*>(int n) {
  std::mt19937_64 random(42);
  std::vector<void*> values(static_cast<std::size_t>(n));
  for (void*& v : values) v = reinterpret_cast<void*>(static_cast<std::uintptr_t>(random() & ~std::uint64_t(7)));
  return values;
}

template <>
std::vector<KX_Point2D> randomInput<KX_Point2D>(int n) {
  std::mt19937 random(42);
  std::uniform_real_distribution<float> distribution(-1e4f, 1e4f);
  std::vector<KX_Point2D> values(static_cast<std::size_t>(n));
  for (KX_Point2D& v : values) v = {distribution(random), distribution(random)};
  return values;
}

template <class T>
using Quick = KX_ArrayQuickSortOperator<T, KX_ArrayDefaultComparator<T>, KX_ArrayDefaultXchgOperator<T>>;
template <class T>
using SignedRadix = KX_ArraySignedRadixSortOperator<T, KX_ArrayDefaultComparator<T>, KX_ArrayDefaultXchgOperator<T>>;
template <class T>
using PointerRadix = KX_ArrayPointerRadixSortOperator<T, KX_ArrayDefaultComparator<T>, KX_ArrayDefaultXchgOperator<T>>;

// Runs `sort` on a fresh copy of an input in every iteration. Small sizes
// cycle through several inputs, so that the branch predictor cannot learn
// one input's comparisons by heart.
template <class T, class Sort>
void runSort(benchmark::State& state, Sort sort) {
  const int n = static_cast<int>(state.range(0));
  const int inputs = std::max(1, std::min(64, (1 << 20) / n));
  const std::vector<T> input = randomInput<T>(n * inputs);
  std::vector<T> work(static_cast<std::size_t>(n));
  int next = 0;
  for (auto _ : state) {
    std::memcpy(static_cast<void*>(work.data()), input.data() + static_cast<std::size_t>(next) * n, sizeof(T) * n);
    next = next + 1 == inputs ? 0 : next + 1;
    sort(work.data(), n);
    benchmark::DoNotOptimize(work.data());
    benchmark::ClobberMemory();
  }
  state.SetItemsProcessed(state.iterations() * n);
}

template <class T>
void stdSort(benchmark::State& state) {
  runSort<T>(state, [](T* data, int n) {
    std::sort(data, data + n, [](const T& a, const T& b) { return KX_ArrayDefaultComparator<T>::isLess(a, b); });
  });
}

template <class T>
void quickSort(benchmark::State& state) {
  runSort<T>(state, [](T* data, int n) { Quick<T>::sort(data, 0, n - 1); });
}

template <class T>
void signedRadixSort(benchmark::State& state) {
  runSort<T>(state, [](T* data, int n) { SignedRadix<T>::sort(data, 0, n - 1); });
}

template <class T>
void signedRadixSortWithIndices(benchmark::State& state) {
  std::vector<int> indices(static_cast<std::size_t>(state.range(0)));
  runSort<T>(state, [&](T* data, int n) {
    for (int i = 0; i < n; ++i) indices[static_cast<std::size_t>(i)] = i;
    SignedRadix<T>::sort(data, 0, n - 1, indices.data());
  });
}

template <class T>
void pointerRadixSort(benchmark::State& state) {
  runSort<T>(state, [](T* data, int n) { PointerRadix<T>::sort(data, 0, n - 1); });
}

#define KX_SIZES ->Arg(1000)->Arg(100000)->Arg(1000000)->Unit(benchmark::kMicrosecond)

BENCHMARK(stdSort<KX_Point2D>) KX_SIZES;
BENCHMARK(quickSort<KX_Point2D>) KX_SIZES;
BENCHMARK(stdSort<int>) KX_SIZES;
BENCHMARK(signedRadixSort<int>) KX_SIZES;
BENCHMARK(stdSort<float>) KX_SIZES;
BENCHMARK(signedRadixSort<float>) KX_SIZES;
BENCHMARK(signedRadixSortWithIndices<float>) KX_SIZES;
BENCHMARK(stdSort<void*>) KX_SIZES;
BENCHMARK(pointerRadixSort<void*>) KX_SIZES;

// Collects the real time of each run to print the ratios at the end.
class RatioReporter : public benchmark::ConsoleReporter {
 public:
  void ReportRuns(const std::vector<Run>& runs) override {
    for (const Run& run : runs) {
      if (run.run_type == Run::RT_Iteration) times[run.benchmark_name()] = run.GetAdjustedRealTime();
    }
    ConsoleReporter::ReportRuns(runs);
  }

  void printRatios() const {
    const char* pairs[][2] = {
        {"quickSort<KX_Point2D>", "stdSort<KX_Point2D>"}, {"signedRadixSort<int>", "stdSort<int>"},
        {"signedRadixSort<float>", "stdSort<float>"},     {"signedRadixSortWithIndices<float>", "stdSort<float>"},
        {"pointerRadixSort<void*>", "stdSort<void*>"},
    };
    std::printf("\nTime as a multiple of std::sort on the same input:\n");
    std::printf("%-36s %10s %10s %10s\n", "operator", "10^3", "10^5", "10^6");
    for (const auto& pair : pairs) {
      std::printf("%-36s", pair[0]);
      for (const char* size : {"1000", "100000", "1000000"}) {
        auto ours = times.find(std::string(pair[0]) + "/" + size);
        auto reference = times.find(std::string(pair[1]) + "/" + size);
        if (ours == times.end() || reference == times.end() || reference->second <= 0) {
          std::printf(" %10s", "-");
        } else {
          std::printf(" %10.2f", ours->second / reference->second);
        }
      }
      std::printf("\n");
    }
  }

 private:
  std::map<std::string, double> times;
};

}  // namespace

int main(int argc, char** argv) {
  benchmark::Initialize(&argc, argv);
  if (benchmark::ReportUnrecognizedArguments(argc, argv)) return 1;
  RatioReporter reporter;
  benchmark::RunSpecifiedBenchmarks(&reporter);
  reporter.printRatios();
  benchmark::Shutdown();
  return 0;
}
