#include "support/random_data.hpp"

#include <random>

namespace tessel::test {
namespace {

template <class T, class Distribution>
std::vector<T> draw(std::size_t count, std::uint64_t seed, Distribution distribution, double offset,
                    double scale) {
  std::mt19937_64 engine(seed);
  std::vector<T> values(count);
  for (T& v : values) {
    v = static_cast<T>(offset + scale * distribution(engine));
  }
  return values;
}

}  // namespace

template <class T>
std::vector<T> random_normal(std::size_t count, std::uint64_t seed, double mean, double sd) {
  return draw<T>(count, seed, std::normal_distribution<double>(0.0, 1.0), mean, sd);
}

template <class T>
std::vector<T> random_skewed(std::size_t count, std::uint64_t seed, double offset, double scale) {
  return draw<T>(count, seed, std::exponential_distribution<double>(1.0), offset, scale);
}

template <class T>
std::vector<T> random_uniform(std::size_t count, std::uint64_t seed, double low, double high) {
  return draw<T>(count, seed, std::uniform_real_distribution<double>(0.0, 1.0), low, high - low);
}

template std::vector<float> random_normal(std::size_t, std::uint64_t, double, double);
template std::vector<double> random_normal(std::size_t, std::uint64_t, double, double);
template std::vector<float> random_skewed(std::size_t, std::uint64_t, double, double);
template std::vector<double> random_skewed(std::size_t, std::uint64_t, double, double);
template std::vector<float> random_uniform(std::size_t, std::uint64_t, double, double);
template std::vector<double> random_uniform(std::size_t, std::uint64_t, double, double);

}  // namespace tessel::test
