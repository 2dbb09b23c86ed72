// Kurtosis and mean of a small dataset on the default device (a GPU runs the library's own
// kernels, a CPU the estimator), once with unified shared memory and once with buffers. Three
// dimensions of eight observations each, stored row by row.
#include <sycl/sycl.hpp>

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <vector>
#include <vorlex/orv/stats.hpp>

namespace stats = vorlex::orv::stats;
using stats::layout;
using stats::method;

namespace {

constexpr std::int64_t n_dims = 3;
constexpr std::int64_t n_observations = 8;

const std::vector<double> observations = {
    1.0, 2.0, 3.0, 4.0, 5.0, 6.0, 7.0,  8.0,   // evenly spread
    0.5, 0.7, 0.6, 0.4, 0.5, 0.6, 0.5,  9.0,   // one far outlier
    2.0, 2.5, 1.5, 3.5, 0.5, 2.0, 2.25, 1.75,  // close to normal
};

void print(const char* form, const double* kurtosis, const double* mean) {
  std::printf("%s\n", form);
  for (std::int64_t d = 0; d < n_dims; ++d) {
    std::printf("  dimension %lld: mean %9.5f  kurtosis %9.5f\n", static_cast<long long>(d),
                mean[d], kurtosis[d]);
  }
}

void with_usm(sycl::queue& queue) {
  const auto n = static_cast<std::size_t>(n_dims * n_observations);
  double* x = sycl::malloc_shared<double>(n, queue);
  double* kurtosis = sycl::malloc_shared<double>(n_dims, queue);
  double* mean = sycl::malloc_shared<double>(n_dims, queue);
  std::copy(observations.begin(), observations.end(), x);

  const stats::dataset<layout::row_major, double*> data(n_dims, n_observations, x);
  const sycl::event done =
      stats::kurtosis<method::fast, double, layout::row_major>(queue, data, kurtosis);
  stats::mean<method::fast, double, layout::row_major>(queue, data, mean, {done}).wait();
  print("USM form", kurtosis, mean);

  sycl::free(mean, queue);
  sycl::free(kurtosis, queue);
  sycl::free(x, queue);
}

void with_buffers(sycl::queue& queue) {
  sycl::buffer<double, 1> x(observations.data(), sycl::range<1>(observations.size()));
  sycl::buffer<double, 1> kurtosis{sycl::range<1>(n_dims)};
  sycl::buffer<double, 1> mean{sycl::range<1>(n_dims)};

  const stats::dataset<layout::row_major, sycl::buffer<double, 1>> data(n_dims, n_observations, x);
  stats::kurtosis<method::fast, double, layout::row_major>(queue, data, kurtosis);
  stats::mean<method::fast, double, layout::row_major>(queue, data, mean);

  const sycl::host_accessor kurtosis_values(kurtosis, sycl::read_only);
  const sycl::host_accessor mean_values(mean, sycl::read_only);
  print("buffer form", kurtosis_values.get_pointer(), mean_values.get_pointer());
}

}  // namespace

int main() {
  try {
    sycl::queue queue{sycl::default_selector_v};
    std::printf("device: %s\n", queue.get_device().get_info<sycl::info::device::name>().c_str());
    with_usm(queue);
    with_buffers(queue);
  } catch (const vorlex::orv::exception& e) {
    std::fprintf(stderr, "kurtosis_mean: %s\n", e.what());
    return 1;
  } catch (const sycl::exception& e) {
    std::fprintf(stderr, "kurtosis_mean: %s\n", e.what());
    return 1;
  }
  return 0;
}
