// The rules that every kernel obeys, checked on the host through the USM form of the helpers: the
// weight rule and the narrow selection of dataset_helper, which the results of the statistics show
// only in part, and what each functor asks of the reduction, which they do not show at all.
#include <gtest/gtest.h>

#include <sycl/sycl.hpp>

#include <algorithm>
#include <cstdint>
#include <iterator>
#include <limits>
#include <memory>
#include <vector>
#include <vorlex/orv/stats.hpp>

#include "gpu/moment_functors.hpp"
#include "gpu/moment_functors_ex.hpp"
#include "stats/dataset_helper.hpp"

namespace {

using vorlex::orv::stats::layout;
using vorlex::orv::stats::detail::dataset_helper;
using vorlex::orv::stats::detail::is_selected;
using vorlex::orv::stats::detail::observation_weight;
namespace gpu = vorlex::orv::stats::detail::gpu;

template <layout L, bool WideIndices = true>
dataset_helper<double, L, true, WideIndices> host_view(std::uint64_t dims, std::uint64_t n,
                                                       const double* x, const double* w,
                                                       const std::int64_t* idx) {
  return {dims, n, static_cast<std::uint64_t>(L), x, w, idx, w != nullptr, idx != nullptr};
}

TEST(DatasetRules, OnlyPositiveWeightsAreTakenAsStored) {
  const double values[] = {0, 0, 0, 0, 0};
  const double weights[] = {2.5, 0, -1, std::numeric_limits<double>::quiet_NaN(), 1e-300};
  const auto weighted = host_view<layout::row_major>(1, 5, values, weights, nullptr);
  EXPECT_EQ(observation_weight(weighted, 0), 2.5);
  EXPECT_EQ(observation_weight(weighted, 1), 1.0);
  EXPECT_EQ(observation_weight(weighted, 2), 1.0);
  EXPECT_EQ(observation_weight(weighted, 3), 1.0);
  EXPECT_EQ(observation_weight(weighted, 4), 1e-300);
  // The flag decides, not the pointer.
  auto unflagged = weighted;
  unflagged.has_weights = 0;
  EXPECT_EQ(observation_weight(unflagged, 0), 1.0);
}

// 32-bit elements seen as 64-bit words: even elements are low halves, odd ones high halves. The
// array has an odd length and lives alone on the heap, so a read of the whole last word would run
// past it.
TEST(DatasetRules, NarrowSelectionReadsHalvesOfWords) {
  const std::int32_t values[] = {0, -7, 3, 0, 0};
  auto selection = std::make_unique<std::int32_t[]>(5);
  std::copy(std::begin(values), std::end(values), selection.get());
  const auto view = host_view<layout::row_major, false>(
      5, 1, nullptr, nullptr, reinterpret_cast<const std::int64_t*>(selection.get()));
  EXPECT_FALSE(is_selected(view, 0));
  EXPECT_TRUE(is_selected(view, 1));
  EXPECT_TRUE(is_selected(view, 2));
  EXPECT_FALSE(is_selected(view, 3));
  EXPECT_FALSE(is_selected(view, 4));
  selection[4] = 1;
  EXPECT_TRUE(is_selected(view, 4));
  EXPECT_FALSE(is_selected(view, 3));
}

// What each functor asks of the reduction: the channels by the highest order, the sums kept by what
// its results need.
TEST(Functors, ChannelsAndKeptSums) {
  double* out = nullptr;
  const auto expect = [](const auto& functor, std::uint64_t channels, gpu::kept_sums kept) {
    EXPECT_EQ(functor.channels(), channels);
    const gpu::kept_sums got = functor.kept();
    EXPECT_EQ(got.has_s2, kept.has_s2);
    EXPECT_EQ(got.has_s3, kept.has_s3);
    EXPECT_EQ(got.has_s4, kept.has_s4);
  };
  expect(gpu::mean_func<double, true>(out), 1, {0, 0, 0});
  expect(gpu::raw_sum_func<double, true>(0, 0, 1, out, out, out, out), 4, {0, 0, 1});
  expect(gpu::raw_moment_func<double, true>(1, 0, 0, out, out, out, out), 2, {1, 0, 0});
  expect(gpu::raw_moment_func<double, true>(0, 0, 0, out, out, out, out), 1, {0, 0, 0});
  expect(gpu::central_sum_func<double, true, false>(0, 0, out, out, out), 2, {1, 0, 0});
  expect(gpu::central_moment_func<double, true, false>(0, 1, out, out, out), 4, {1, 1, 1});
  expect(gpu::central_moment_func<double, true, false>(1, 0, out, out, out), 3, {1, 1, 0});
  expect(gpu::variation_func<double, true, false>(out), 2, {1, 0, 0});
  expect(gpu::skewness_func<double, true, false>(out), 3, {1, 1, 0});
  expect(gpu::kurtosis_func<double, true, false>(out), 4, {1, 1, 1});
  expect(gpu::central_sum_func<double, true, true>(0, 0, out, out, out), 1, {0, 0, 0});
  expect(gpu::central_moment_func<double, true, true>(1, 0, out, out, out), 2, {0, 1, 0});
  expect(gpu::central_sum_func<double, true, true>(0, 1, out, out, out), 3, {0, 0, 1});
  expect(gpu::variation_func<double, true, true>(out), 1, {0, 0, 0});
  expect(gpu::skewness_func<double, true, true>(out), 2, {0, 1, 0});
  expect(gpu::kurtosis_func<double, true, true>(out), 3, {0, 0, 1});
  expect(gpu::ex::with_raw_moments<gpu::central_sum_func<double, true, false>>(out, out, out, out,
                                                                               0, 1, out, out, out),
         4, {1, 1, 1});
  expect(
      gpu::ex::with_raw_moments<gpu::variation_func<double, true, false>>(out, out, out, out, out),
      2, {1, 0, 0});
}

}  // namespace
