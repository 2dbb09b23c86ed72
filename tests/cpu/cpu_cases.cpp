#include "cpu_cases.hpp"

#include "support/random_data.hpp"

namespace tessel::test {

sycl::queue& cpu_queue() {
  static sycl::queue queue{sycl::cpu_selector_v};
  return queue;
}

template <typename T>
problem<T> make_problem(const problem_shape& shape, st::layout layout) {
  problem<T> p;
  p.n_dims = shape.n_dims;
  p.n_obs = shape.n_obs;
  const auto n_dims = static_cast<std::size_t>(shape.n_dims);
  const auto n_obs = static_cast<std::size_t>(shape.n_obs);
  const storage s = layout == st::layout::row_major ? storage::row_major : storage::col_major;
  p.values.resize(n_dims * n_obs);
  for (std::size_t d = 0; d < n_dims; ++d) {
    const double offset = shape.offset[d % shape.offset.size()];
    const double scale = shape.scale[d % shape.scale.size()];
    const std::vector<T> column = random_skewed<T>(n_obs, shape.seed + d, offset, scale);
    for (std::size_t i = 0; i < n_obs; ++i) {
      p.values[element_index(s, n_dims, n_obs, d, i)] = column[i];
    }
    if (shape.user_mean) {
      p.user_mean.push_back(static_cast<T>(offset + scale * 1.0625));
    }
  }
  if (shape.weights) {
    p.weights = random_uniform<T>(n_obs, shape.seed + 100, 0.25, 4.0);
    p.weights[1] = T(0);
    p.weights[2] = T(-1);
    p.weights[3] = std::numeric_limits<T>::quiet_NaN();
  }
  if (shape.selection) {
    for (std::size_t d = 0; d < n_dims; ++d) {
      p.indices.push_back(d % 3 == 1 ? 0 : static_cast<std::int64_t>(d) + 1);
    }
  }
  return p;
}

template problem<float> make_problem(const problem_shape&, st::layout);
template problem<double> make_problem(const problem_shape&, st::layout);

namespace {

template <typename T>
std::vector<dimension_reference> reference_for(const problem<T>& p, st::layout layout) {
  matrix_input<T> input;
  input.values = p.values.data();
  input.n_dims = static_cast<std::size_t>(p.n_dims);
  input.n_obs = static_cast<std::size_t>(p.n_obs);
  input.layout = layout == st::layout::row_major ? storage::row_major : storage::col_major;
  input.weights = p.weights.empty() ? nullptr : p.weights.data();
  input.selection = p.indices.empty() ? nullptr : p.indices.data();
  input.user_mean = p.user_mean.empty() ? nullptr : p.user_mean.data();
  return compute_reference(input);
}

}  // namespace

std::vector<dimension_reference> reference_of(const problem<float>& p, st::layout layout) {
  return reference_for(p, layout);
}

std::vector<dimension_reference> reference_of(const problem<double>& p, st::layout layout) {
  return reference_for(p, layout);
}

quad reference_output(statistic s, std::size_t k, const dimension_reference& r) {
  switch (s) {
    case statistic::raw_sum:
      return std::array<quad, 4>{r.S1, r.S2, r.S3, r.S4}[k];
    case statistic::raw_moment:
      return std::array<quad, 4>{r.mean, r.raw_moment2, r.raw_moment3, r.raw_moment4}[k];
    case statistic::mean:
      return r.mean;
    case statistic::central_sum:
      return std::array<quad, 3>{r.C2, r.C3, r.C4}[k];
    case statistic::central_moment:
      return std::array<quad, 3>{r.variance, r.moment3, r.moment4}[k];
    case statistic::variation:
      return r.variation;
    case statistic::skewness:
      return r.skewness;
    case statistic::kurtosis:
      return r.kurtosis;
    case statistic::min:
      return r.min;
    case statistic::max:
      return r.max;
    case statistic::min_max:
      return k == 0 ? r.min : r.max;
  }
  return 0;
}

std::string name_of(statistic s, entry_form form, st::layout layout, st::method m, bool user_mean) {
  return name_of(s) + (form == entry_form::usm ? "_usm" : "_buffer") +
         (layout == st::layout::row_major ? "_row" : "_col") +
         (user_mean               ? "_user_mean"
          : m == st::method::fast ? "_fast"
                                  : "_estimator");
}

}  // namespace tessel::test
