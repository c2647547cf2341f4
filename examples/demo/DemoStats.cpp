#include "DemoStats.h"

#include <algorithm>
#include <numeric>

double DemoTimings::median() const {
  if (samples.empty()) return 0.0;
  std::vector<double> sorted = samples;
  const auto middle = sorted.begin() + static_cast<std::ptrdiff_t>(sorted.size() / 2);
  std::nth_element(sorted.begin(), middle, sorted.end());
  return *middle;
}

double DemoTimings::maximum() const {
  return samples.empty() ? 0.0 : *std::max_element(samples.begin(), samples.end());
}

double DemoTimings::total() const {
  return std::accumulate(samples.begin(), samples.end(), 0.0);
}
