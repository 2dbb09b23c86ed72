// A program that calls one combination of the statistics; the build decides which through
// TESSEL_PROBE. Combinations that the library does not provide must fail to build: a declared one
// at link time, an undeclared form at compile time.
#include <sycl/sycl.hpp>

#include <vorlex/orv/stats.hpp>

namespace st = vorlex::orv::stats;
using st::layout;
using st::method;

int main() {
  sycl::queue queue{sycl::gpu_selector_v};
  float values[4] = {1, 2, 3, 4};
  float mean[1] = {2};
  float out[1] = {0};
  const st::dataset<layout::row_major, float*> data(1, 4, values);
#if TESSEL_PROBE == 0  // provided: the control
  st::min<method::fast, float, layout::row_major>(queue, data, out).wait();
#elif TESSEL_PROBE == 1  // extremes have no method 2
  st::min<method::estimator, float, layout::row_major>(queue, data, out).wait();
#elif TESSEL_PROBE == 2  // the forms with the caller's mean exist for method 1 only
  st::kurtosis<method::estimator, float, layout::row_major>(queue, mean, data, out).wait();
#elif TESSEL_PROBE == 3  // only float and double
  int int_values[4] = {1, 2, 3, 4};
  int int_out[1] = {0};
  const st::dataset<layout::row_major, int*> int_data(1, 4, int_values);
  st::mean<method::fast, int, layout::row_major>(queue, int_data, int_out).wait();
#elif TESSEL_PROBE == 4  // nor another handle type
  const st::dataset<layout::col_major, const float*> const_data(1, 4, values);
  const float* const_out = nullptr;
  st::mean<method::fast, const float, layout::col_major>(queue, const_data, const_out).wait();
#elif TESSEL_PROBE == 5  // mean has no form with the caller's mean
  st::mean<method::fast, float, layout::row_major>(queue, mean, data, out).wait();
#endif
  (void)mean;
  return out[0] == 1 ? 0 : 1;
}
