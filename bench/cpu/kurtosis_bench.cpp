// Kurtosis of doubles on a CPU queue, through the library's USM entry and the estimator module,
// against a plain summing loop over the same array in the same run: 1 dimension of 5e7
// observations, and 16 dimensions of 5e6 in both layouts (400 MB and 640 MB). The data are
// those of scipy_kurtosis.py.
//
// Counters: GB/s of each (bytes of observations read once per call), and the kurtosis time over
// the summing loop's.
#include <benchmark/benchmark.h>

#include <sycl/sycl.hpp>

#include <algorithm>
#include <chrono>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <vector>
#include <vorlex/orv/stats.hpp>

namespace {

namespace st = vorlex::orv::stats;

sycl::queue& cpu_queue() {
  static sycl::queue queue{sycl::cpu_selector_v};
  return queue;
}

// Element k of the array in memory order: 5 + 2 sqrt(12) (u - 1/2), with u uniform in [0, 1)
// from splitmix64 of k, so mean 5 and standard deviation 2; scipy_kurtosis.py makes the same.
double observation(std::uint64_t k) {
  std::uint64_t z = (k + 1) * 0x9E3779B97F4A7C15u;
  z = (z ^ (z >> 30)) * 0xBF58476D1CE4E5B9u;
  z = (z ^ (z >> 27)) * 0x94D049BB133111EBu;
  z ^= z >> 31;
  const double u = static_cast<double>(z >> 11) * 0x1.0p-53;
  return 5.0 + 2.0 * std::sqrt(12.0) * (u - 0.5);
}

// The observations of one shape, in USM shared memory, made once per benchmark.
class observations {
 public:
  explicit observations(std::size_t count)
      : count_(count), values_(sycl::malloc_shared<double>(count, cpu_queue())) {
    for (std::size_t k = 0; k < count_; ++k) {
      values_[k] = observation(k);
    }
  }
  ~observations() { sycl::free(values_, cpu_queue()); }
  observations(const observations&) = delete;
  observations& operator=(const observations&) = delete;

  double* data() const { return values_; }
  std::size_t size() const { return count_; }

 private:
  std::size_t count_;
  double* values_;
};

// The plain loop: one pass, one accumulator, in order.
double plain_sum(const double* x, std::size_t n) {
  double sum = 0.0;
  for (std::size_t i = 0; i < n; ++i) {
    sum += x[i];
  }
  return sum;
}

// Best of a few runs of the summing loop, in seconds.
double plain_sum_seconds(const observations& x) {
  double best = 1e300;
  for (int run = 0; run < 5; ++run) {
    const auto start = std::chrono::steady_clock::now();
    benchmark::DoNotOptimize(plain_sum(x.data(), x.size()));
    const std::chrono::duration<double> took = std::chrono::steady_clock::now() - start;
    best = std::min(best, took.count());
  }
  return best;
}

template <st::layout L>
void kurtosis_on_cpu(benchmark::State& state) {
  const auto n_dims = static_cast<std::int64_t>(state.range(0));
  const auto n_observations = static_cast<std::int64_t>(state.range(1));
  const observations x(static_cast<std::size_t>(n_dims * n_observations));
  const st::dataset<L, double*> data(n_dims, n_observations, x.data());
  std::vector<double> kurtosis(static_cast<std::size_t>(n_dims));
  const double sum_seconds = plain_sum_seconds(x);

  double seconds = 0.0;
  for (auto _ : state) {
    const auto start = std::chrono::steady_clock::now();
    st::kurtosis<st::method::fast, double, L>(cpu_queue(), data, kurtosis.data()).wait();
    const std::chrono::duration<double> took = std::chrono::steady_clock::now() - start;
    state.SetIterationTime(took.count());
    seconds += took.count();
  }
  const double bytes = static_cast<double>(x.size() * sizeof(double));
  const double per_call = seconds / static_cast<double>(state.iterations());
  state.counters["kurtosis_GB/s"] = bytes / per_call * 1e-9;
  state.counters["plain_sum_GB/s"] = bytes / sum_seconds * 1e-9;
  state.counters["x_plain_sum"] = per_call / sum_seconds;
  state.counters["kurtosis[0]"] = kurtosis[0];
  if (!std::isfinite(kurtosis[0])) {
    state.SkipWithError("kurtosis is not finite");
  }
}

BENCHMARK_TEMPLATE(kurtosis_on_cpu, st::layout::row_major)
    ->Args({1, 50'000'000})
    ->Args({16, 5'000'000})
    ->UseManualTime()
    ->Unit(benchmark::kMillisecond)
    ->MinTime(2.0);
BENCHMARK_TEMPLATE(kurtosis_on_cpu, st::layout::col_major)
    ->Args({16, 5'000'000})
    ->UseManualTime()
    ->Unit(benchmark::kMillisecond)
    ->MinTime(2.0);

}  // namespace

BENCHMARK_MAIN();
