// What the CPU benchmarks share: the test data, made the same in every program, and the timing.
#pragma once

#include <algorithm>
#include <chrono>
#include <cmath>
#include <cstdint>

namespace tessel::bench {

using clock_type = std::chrono::steady_clock;

inline double seconds_since(clock_type::time_point start) {
  return std::chrono::duration<double>(clock_type::now() - start).count();
}

// The best time of f over runs runs, in seconds.
template <class F>
double best_of(int runs, F&& f) {
  double best = 1e300;
  for (int r = 0; r < runs; ++r) {
    const auto start = clock_type::now();
    f();
    best = std::min(best, seconds_since(start));
  }
  return best;
}

// Observation k: uniform with mean 5 and standard deviation 2, from a counter-based generator, so
// that every program and every run sees the same data.
inline double observation(std::uint64_t k) {
  std::uint64_t z = (k + 1) * 0x9E3779B97F4A7C15u;
  z = (z ^ (z >> 30)) * 0xBF58476D1CE4E5B9u;
  z = (z ^ (z >> 27)) * 0x94D049BB133111EBu;
  z ^= z >> 31;
  const double u = static_cast<double>(z >> 11) * 0x1.0p-53;
  return 5.0 + 2.0 * std::sqrt(12.0) * (u - 0.5);
}

}  // namespace tessel::bench
