// The demo's own seeded generator (xorshift64*). The standard distributions
// may give other numbers with another standard library, and a run must
// depend on its seed alone.
#pragma once

#include <cstdint>

class DemoRandom {
 public:
  explicit DemoRandom(std::uint64_t seed) : state(seed * 0x9E3779B97F4A7C15ull ^ 0xD1B54A32D192ED03ull) {
    if (state == 0) state = 1;  // xorshift never leaves 0
  }

  std::uint64_t next() {
    state ^= state >> 12;
    state ^= state << 25;
    state ^= state >> 27;
    return state * 0x2545F4914F6CDD1Dull;
  }

  // A float in [0, 1), from the top 24 bits, so every value is exact.
  float unit() { return static_cast<float>(next() >> 40) * (1.0f / 16777216.0f); }

  float between(float low, float high) { return low + (high - low) * unit(); }

 private:
  std::uint64_t state;
};
