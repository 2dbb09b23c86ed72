#include "expected_outputs.hpp"

#include <algorithm>
#include <cmath>
#include <limits>

namespace tessel::test {
namespace {

quad abs_of(quad x) {
  return x < 0 ? -x : x;
}

template <typename T>
quad weight_at(const problem<T>& p, std::size_t i) {
  if (p.weights.empty() || !(p.weights[i] > 0)) {
    return 1;
  }
  return static_cast<quad>(p.weights[i]);
}

}  // namespace

template <typename T>
std::vector<dimension_expectations> expectations_for(const problem<T>& p, st::layout layout,
                                                     bool floored_extremes) {
  const auto n_dims = static_cast<std::size_t>(p.n_dims);
  const auto n_obs = static_cast<std::size_t>(p.n_obs);
  const storage s = layout == st::layout::row_major ? storage::row_major : storage::col_major;
  const std::vector<dimension_reference> reference = compute_reference(matrix_input<T>{
      p.values.data(), n_dims, n_obs, s, p.weights.empty() ? nullptr : p.weights.data(),
      p.indices.empty() ? nullptr : p.indices.data(),
      p.user_mean.empty() ? nullptr : p.user_mean.data()});
  std::vector<dimension_expectations> result(n_dims);
  for (std::size_t d = 0; d < n_dims; ++d) {
    dimension_expectations& e = result[d];
    e.reference = reference[d];
    if (floored_extremes) {
      const auto largest = static_cast<quad>(std::numeric_limits<T>::max());
      const auto smallest_normal = static_cast<quad>(std::numeric_limits<T>::min());
      e.reference.min = e.reference.min < largest ? e.reference.min : largest;
      e.reference.max = e.reference.max > smallest_normal ? e.reference.max : smallest_normal;
    }
    const quad centre = abs_of(e.reference.mean);
    for (std::size_t i = 0; i < n_obs; ++i) {
      const quad x = abs_of(static_cast<quad>(p.values[element_index(s, n_dims, n_obs, d, i)]));
      quad raw = weight_at(p, i), central = raw;
      for (int k = 0; k <= 4; ++k, raw *= x, central *= x + centre) {
        e.raw_terms[k] += raw;
        e.central_terms[k] += central;
      }
    }
  }
  return result;
}

expectation expected_output(statistic s, std::size_t k, const dimension_expectations& e,
                            bool user_mean) {
  const dimension_reference& r = e.reference;
  const quad W = r.W;
  const quad variance_scale = e.central_terms[2] * W / abs_of(W * W - r.W2);
  const quad variance = abs_of(r.variance);
  switch (s) {
    case statistic::raw_sum: {
      const std::array<quad, 4> sums = {r.S1, r.S2, r.S3, r.S4};
      return {sums[k], e.raw_terms[k + 1]};
    }
    case statistic::raw_moment: {
      const std::array<quad, 4> moments = {r.mean, r.raw_moment2, r.raw_moment3, r.raw_moment4};
      return {moments[k], e.raw_terms[k + 1] / W};
    }
    case statistic::mean:
      return {r.mean, e.raw_terms[1] / W};
    case statistic::central_sum: {
      const std::array<quad, 3> sums = {r.C2, r.C3, r.C4};
      return {sums[k], e.central_terms[k + 2]};
    }
    case statistic::central_moment:
      if (k == 0) {
        return {r.variance, variance_scale};
      }
      return {k == 1 ? r.moment3 : r.moment4, e.central_terms[k + 2] / W};
    case statistic::variation: {
      const quad mean_scale = user_mean ? 0 : e.raw_terms[1] / W / abs_of(r.mean);
      return {r.variation, abs_of(r.variation) * (variance_scale / variance / 2 + mean_scale)};
    }
    case statistic::skewness:
      return {r.skewness, e.central_terms[3] / W / sqrt_quad(variance * variance * variance) +
                              abs_of(r.skewness) * 3 / 2 * variance_scale / variance};
    case statistic::kurtosis:
      return {r.kurtosis, e.central_terms[4] / W / (variance * variance) +
                              abs_of(r.kurtosis + 3) * 2 * variance_scale / variance};
    case statistic::min:
      return {r.min, 0};
    case statistic::max:
      return {r.max, 0};
    case statistic::min_max:
      return {k == 0 ? r.min : r.max, 0};
  }
  return {};
}

double allowed_epsilons(std::int64_t n, std::size_t group_size) {
  const auto g = static_cast<std::int64_t>(std::max<std::size_t>(group_size, 2));
  std::int64_t levels = 1;
  for (std::int64_t count = (n + g - 1) / g; count > 1; count = (count + g - 1) / g) {
    ++levels;
  }
  const auto depth = static_cast<double>(std::min(n, g) * levels);
  return 8 + 4 * std::log2(depth + 1);
}

template std::vector<dimension_expectations> expectations_for(const problem<float>&, st::layout,
                                                              bool);
template std::vector<dimension_expectations> expectations_for(const problem<double>&, st::layout,
                                                              bool);

}  // namespace tessel::test
