// Seeded generators of test data: the same seed gives the same values on every run.
#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

namespace tessel::test {

// Normally distributed values.
template <class T>
std::vector<T> random_normal(std::size_t count, std::uint64_t seed, double mean = 0.0,
                             double sd = 1.0);

// offset + scale * (exponential variate of rate 1): a skewed sample (skewness near 2, excess
// kurtosis near 6), so that third and fourth central moments are far from 0. With offset 1e6 *
// scale the data are ill-conditioned for naive power sums.
template <class T>
std::vector<T> random_skewed(std::size_t count, std::uint64_t seed, double offset = 0.0,
                             double scale = 1.0);

// Uniform values in [low, high).
template <class T>
std::vector<T> random_uniform(std::size_t count, std::uint64_t seed, double low, double high);

}  // namespace tessel::test
