// Every row of estimates, alone and all at once, through the SYCL road of the stand-in OpenMP
// runtime on both devices, for both layouts, integer models and element types, against the
// __float128 reference: the fields a row writes hold its estimates, every other field and the
// unselected dimension stay as they were.
#include <gtest/gtest.h>

#include <sycl/sycl.hpp>

#include <cstdint>
#include <ostream>
#include <string>
#include <tuple>
#include <vector>

#include "offload_calls.hpp"
#include "support/random_data.hpp"

namespace tessel::test {
namespace {

using enum field;

struct row {
  const char* name;
  std::uint64_t mask;
  std::int64_t method;
  std::vector<field> written;
};
void PrintTo(const row& r, std::ostream* os) {
  *os << r.name;
}

const std::vector<row> rows = {
    {"min", SS_MIN, 1, {min}},
    {"max", SS_MAX, 1, {max}},
    {"raw_sum", 0x1E000000, 1, {sum, raw_sum2, raw_sum3, raw_sum4}},
    {"raw_moment", 0xF, 1, {mean, raw2, raw3, raw4}},
    {"central_sum",
     0xE0000000,
     1,
     {mean, raw2, raw3, raw4, central_sum2, central_sum3, central_sum4}},
    {"central_moment", 0x70, 1, {mean, raw2, raw3, raw4, central2, central3, central4}},
    {"variation", SS_VARIATION, 1, {mean, raw2, variation}},
    {"skewness", SS_SKEWNESS, 1, {mean, raw2, raw3, skewness}},
    {"kurtosis", SS_KURTOSIS, 1, {mean, raw2, raw3, raw4, kurtosis}},
    {"central_sum_user_mean", 0xE0000000, 256, {central_sum2, central_sum3, central_sum4}},
    {"central_moment_user_mean", 0x70, 256, {central2, central3, central4}},
    {"variation_user_mean", SS_VARIATION, 256, {variation}},
    {"skewness_user_mean", SS_SKEWNESS, 256, {skewness}},
    {"kurtosis_user_mean", SS_KURTOSIS, 256, {kurtosis}},
    {"every_estimate",
     0x1FE000FFF,
     1,
     {mean, raw2, raw3, raw4, central2, central3, central4, sum, raw_sum2, raw_sum3, raw_sum4,
      central_sum2, central_sum3, central_sum4, kurtosis, skewness, variation, min, max}},
};

// Three dimensions of skewed data, the middle one unselected (a negative selection element
// selects); weights with a zero and a negative one, which count as 1.
template <typename T>
problem<T> skewed_problem(st::layout layout, bool user_mean) {
  std::vector<std::vector<T>> series;
  for (std::size_t d = 0; d < 3; ++d) {
    series.push_back(random_skewed<T>(300, 11 + d, 2.0 * static_cast<double>(d), 1.5));
  }
  problem<T> p = problem_of<T>(layout, series);
  p.weights = random_uniform<T>(300, 7, 0.5, 2.0);
  p.weights[3] = T(0);
  p.weights[10] = T(-1);
  p.indices = {1, 0, -7};
  if (user_mean) {
    p.user_mean = {T(1.25), T(0), T(4.5)};
  }
  return p;
}

using params = std::tuple<row, bool, st::layout, model, element>;

class OffloadResults : public testing::TestWithParam<params> {
 protected:
  template <typename T>
  void check() {
    const auto& [r, on_gpu, layout, m, e] = GetParam();
    sycl::queue queue =
        on_gpu ? sycl::queue(sycl::gpu_selector_v) : sycl::queue(sycl::cpu_selector_v);
    const bool user_mean = r.method == 256;
    const problem<T> p = skewed_problem<T>(layout, user_mean);
    offload_task<T> task(queue, p, layout, m);
    stand_in_interop interop = sycl_interop(queue);
    ASSERT_EQ(compute(e, m, form::direct, task.record(), r.mask, r.method, &interop), 0);

    // The offload road runs the GPU engine on either device, extremes floored.
    const auto expected = expectations_for(p, layout, true);
    const std::size_t group_size =
        queue.get_device().get_info<sycl::info::device::max_work_group_size>();
    const double epsilons = allowed_epsilons(p.n_obs, group_size);
    for (std::size_t f = 0; f < field_count; ++f) {
      const auto which = static_cast<field>(f);
      const bool written = std::find(r.written.begin(), r.written.end(), which) != r.written.end();
      const T* values = task.result(which);
      for (std::size_t d = 0; d < 3; ++d) {
        SCOPED_TRACE("field " + std::to_string(f) + ", dimension " + std::to_string(d));
        if (!written || d == 1) {
          const T before = which == field::mean && user_mean ? p.user_mean[d] : task.poison;
          EXPECT_EQ(values[d], before);
          continue;
        }
        const expectation x = expected_field(which, expected[d], user_mean);
        EXPECT_TRUE(near_reference(values[d], x.value, epsilons, x.scale));
      }
    }
  }
};

TEST_P(OffloadResults, RowWritesItsEstimatesOnly) {
  if (std::get<element>(GetParam()) == element::f32) {
    check<float>();
  } else {
    check<double>();
  }
}

std::string label(const testing::TestParamInfo<params>& info) {
  const auto& [r, on_gpu, layout, m, e] = info.param;
  return std::string(r.name) + (on_gpu ? "_gpu" : "_cpu") +
         (layout == st::layout::row_major ? "_row" : "_col") +
         (m == model::lp64 ? "_lp64" : "_ilp64") + (e == element::f32 ? "_float" : "_double");
}

INSTANTIATE_TEST_SUITE_P(Rows, OffloadResults,
                         testing::Combine(testing::ValuesIn(rows), testing::Bool(),
                                          testing::Values(st::layout::row_major,
                                                          st::layout::col_major),
                                          testing::Values(model::lp64, model::ilp64),
                                          testing::Values(element::f32, element::f64)),
                         label);

}  // namespace
}  // namespace tessel::test
