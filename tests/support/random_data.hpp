// Seeded generators of test data: the same seed gives the same values on every run.
#pragma once

#include <cstddef>
#include <cstdint>
#include <random>
#include <vector>

namespace tessel::test {

// offset + scale * (a variate of the distribution), count times.
template <class T, class Distribution>
std::vector<T> random_values(std::size_t count, std::uint64_t seed, Distribution distribution,
                             double offset, double scale) {
  std::mt19937_64 engine(seed);
  std::vector<T> values(count);
  for (T& v : values) {
    v = static_cast<T>(offset + scale * distribution(engine));
  }
  return values;
}

// Normally distributed values.
template <class T>
std::vector<T> random_normal(std::size_t count, std::uint64_t seed, double mean = 0.0,
                             double sd = 1.0) {
  return random_values<T>(count, seed, std::normal_distribution<double>(0.0, 1.0), mean, sd);
}

// offset + scale * (exponential variate of rate 1): a skewed sample (skewness near 2, excess
// kurtosis near 6), so that third and fourth central moments are far from 0. With offset 1e6 *
// scale the data are ill-conditioned for naive power sums.
template <class T>
std::vector<T> random_skewed(std::size_t count, std::uint64_t seed, double offset = 0.0,
                             double scale = 1.0) {
  return random_values<T>(count, seed, std::exponential_distribution<double>(1.0), offset, scale);
}

// Uniform values in [low, high).
template <class T>
std::vector<T> random_uniform(std::size_t count, std::uint64_t seed, double low, double high) {
  return random_values<T>(count, seed, std::uniform_real_distribution<double>(0.0, 1.0), low,
                          high - low);
}

}  // namespace tessel::test
