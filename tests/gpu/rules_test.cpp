// The rules that every kernel obeys, checked on the host through the USM form of the helpers:
// the element, selection and weight rules of dataset_helper, the slot numbering of
// sum_tmp_helper, and what each functor asks of the reduction.
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
#include "gpu/sum_tmp_helper.hpp"
#include "stats/dataset_helper.hpp"

namespace {

using vorlex::orv::stats::layout;
using vorlex::orv::stats::detail::dataset_helper;
using vorlex::orv::stats::detail::is_selected;
using vorlex::orv::stats::detail::observation;
using vorlex::orv::stats::detail::observation_weight;
namespace gpu = vorlex::orv::stats::detail::gpu;

template <layout L, bool WideIndices = true>
dataset_helper<double, L, true, WideIndices> host_view(std::uint64_t dims, std::uint64_t n,
                                                       const double* x, const double* w,
                                                       const std::int64_t* idx) {
  return {dims, n, static_cast<std::uint64_t>(L), x, w, idx, w != nullptr, idx != nullptr};
}

TEST(DatasetRules, ElementByLayout) {
  // Two dimensions of three observations.
  const double values[] = {0, 1, 2, 3, 4, 5};
  const auto row = host_view<layout::row_major>(2, 3, values, nullptr, nullptr);
  const auto col = host_view<layout::col_major>(2, 3, values, nullptr, nullptr);
  EXPECT_EQ(observation(row, 1, 2), 5.0);
  EXPECT_EQ(observation(row, 0, 1), 1.0);
  EXPECT_EQ(observation(col, 1, 2), 5.0);
  EXPECT_EQ(observation(col, 0, 1), 2.0);
  EXPECT_EQ(observation(col, 1, 0), 1.0);
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

TEST(DatasetRules, WideSelection) {
  const std::int64_t selection[] = {0, 5, -1, std::int64_t{1} << 40};
  const auto view = host_view<layout::row_major>(4, 1, nullptr, nullptr, selection);
  EXPECT_FALSE(is_selected(view, 0));
  EXPECT_TRUE(is_selected(view, 1));
  EXPECT_TRUE(is_selected(view, 2));
  EXPECT_TRUE(is_selected(view, 3));
  auto unflagged = view;
  unflagged.has_indices = 0;
  EXPECT_TRUE(is_selected(unflagged, 0));
}

// 32-bit elements seen as 64-bit words: even elements are low halves, odd ones high halves. The
// array has an odd length and lives alone on the heap, so a read of the whole last word would
// run past it.
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

// Slots are packed running sums over the kept flags: no hole for an absent order.
TEST(SumTmpHelper, SlotsArePacked) {
  sycl::buffer<double, 1> sums{sycl::range<1>(1)};
  sycl::buffer<double, 1> sum_w{sycl::range<1>(1)};
  sycl::buffer<double, 1> sum_w2{sycl::range<1>(1)};
  const gpu::sum_tmp_helper<double, true, false> third_only(sums, sum_w, sum_w2, 0, 1, 0, 1, 10, 5);
  EXPECT_EQ(third_only.slot_s3, 1U);
  EXPECT_EQ(third_only.slot_w, 2U);
  EXPECT_EQ(third_only.slot_w2, 3U);
  const gpu::sum_tmp_helper<double, true, false> all(sums, sum_w, sum_w2, 1, 1, 1, 0, 10, 5);
  EXPECT_EQ(all.slot_s2, 1U);
  EXPECT_EQ(all.slot_s3, 2U);
  EXPECT_EQ(all.slot_s4, 3U);
  EXPECT_EQ(all.slot_w, 3U);  // no weights: the weight slots are never used
  EXPECT_EQ(all.slot_stride, 10U);
  EXPECT_EQ(all.obs_count, 5U);
  // Around a mean S2 is slot 0; kurtosis keeps S4 alone, in slot 1.
  const double mean[] = {0};
  const gpu::sum_tmp_helper<double, true, true> fourth_only(sums, sum_w, sum_w2, mean, 0, 1, 1, 10,
                                                            5);
  EXPECT_EQ(fourth_only.slot_s4, 1U);
  EXPECT_EQ(fourth_only.slot_w, 2U);
  EXPECT_EQ(fourth_only.slot_w2, 3U);
}

// What each functor asks of the reduction: the channels by the highest order, the sums kept by
// what its results need.
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
