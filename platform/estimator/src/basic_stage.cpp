#include "accumulators.hpp"
#include "degree_dispatch.hpp"
#include "parallel.hpp"
#include "stages.hpp"

#include <cmath>
#include <new>
#include <vector>

namespace tessel::estimator {
namespace {

enum basic_estimate {
  mean,
  raw_moment2,
  raw_moment3,
  raw_moment4,
  central_moment2,
  central_moment3,
  central_moment4,
  kurtosis,
  skewness,
  variation,
  sum,
  raw_sum2,
  raw_sum3,
  raw_sum4,
  central_sum2,
  central_sum3,
  central_sum4,
  basic_estimates
};

struct estimate_description {
  std::uint64_t bit;
  void* ss_task::*field;
  int raw_degree;      // raw sums it is made from
  int central_degree;  // central sums it is made from
};

constexpr estimate_description descriptions[basic_estimates] = {
    {SS_MEAN, &ss_task::mean, 1, 0},
    {SS_RAW_MOMENT2, &ss_task::raw2, 2, 0},
    {SS_RAW_MOMENT3, &ss_task::raw3, 3, 0},
    {SS_RAW_MOMENT4, &ss_task::raw4, 4, 0},
    {SS_CENTRAL_MOMENT2, &ss_task::central2, 0, 2},
    {SS_CENTRAL_MOMENT3, &ss_task::central3, 0, 3},
    {SS_CENTRAL_MOMENT4, &ss_task::central4, 0, 4},
    {SS_KURTOSIS, &ss_task::kurtosis, 0, 4},
    {SS_SKEWNESS, &ss_task::skewness, 0, 3},
    {SS_VARIATION, &ss_task::variation, 0, 2},
    {SS_SUM, &ss_task::sum, 1, 0},
    {SS_RAW_SUM2, &ss_task::raw_sum2, 2, 0},
    {SS_RAW_SUM3, &ss_task::raw_sum3, 3, 0},
    {SS_RAW_SUM4, &ss_task::raw_sum4, 4, 0},
    {SS_CENTRAL_SUM2, &ss_task::central_sum2, 0, 2},
    {SS_CENTRAL_SUM3, &ss_task::central_sum3, 0, 3},
    {SS_CENTRAL_SUM4, &ss_task::central_sum4, 0, 4},
};

constexpr std::uint64_t provided_bits() {
  std::uint64_t bits = 0;
  for (const auto& d : descriptions)
    bits |= d.bit;
  return bits;
}

// What one call asks for: the arrays to fill (null where not wanted) and what they need.
template <class T>
struct request {
  T* out[basic_estimates] = {};
  int raw_degree = 0;
  int central_degree = 0;
  const T* user_mean = nullptr;  // method 256 only
};

template <class T>
std::int32_t make_request(const ss_task& task, std::uint64_t mask, std::intptr_t method,
                          request<T>& r) {
  const bool user_mean = method == SS_METHOD_USER_MEAN;
  for (int e = 0; e < basic_estimates; ++e) {
    const estimate_description& d = descriptions[e];
    // With a user mean, `mean` is input: it is neither computed nor written.
    if ((mask & d.bit) == 0 || (e == mean && user_mean))
      continue;
    r.out[e] = static_cast<T*>(task.*d.field);
    if (r.out[e] == nullptr)
      return SS_STATUS_NULL_RESULT;
    r.raw_degree = std::max(r.raw_degree, d.raw_degree);
    r.central_degree = std::max(r.central_degree, d.central_degree);
  }
  if (user_mean && r.central_degree > 0) {
    r.user_mean = static_cast<const T*>(task.mean);
    if (r.user_mean == nullptr)
      return SS_STATUS_NULL_RESULT;
  }
  return SS_STATUS_OK;
}

template <class T>
struct stage_data {
  const T* x;
  const T* weights;
  task_shape shape;
  threading threads;

  double weight(std::int64_t i) const {
    const double w = static_cast<double>(weights[i]);
    return w > 0.0 ? w : 1.0;  // zero, negative and NaN weights count as 1
  }
  double value(std::int64_t d, std::int64_t i) const {
    return static_cast<double>(x[shape.offset(d, i)]);
  }
};

// Selected dimensions of [d0, d1), at most max_group_dims of them.
struct group_dims {
  std::int64_t d[max_group_dims];
  int count = 0;
  group_dims(const task_shape& shape, std::int64_t d0, std::int64_t d1) {
    for (std::int64_t k = d0; k < d1; ++k) {
      if (shape.selected(k))
        d[count++] = k;
    }
  }
};

// Power sums about 0 up to raw_degree and about centres[d] up to central_degree.
template <class T>
std::vector<power_sums> sums_pass(const stage_data<T>& data, int raw_degree, int central_degree,
                                  const std::vector<double_double>* centres) {
  auto block = [&](std::int64_t d0, std::int64_t d1, std::int64_t i0, std::int64_t i1,
                   power_sums* out) {
    const group_dims dims(data.shape, d0, d1);
    with_raw_degree(raw_degree, [&](auto raw) {
      with_central_degree(central_degree, [&](auto central) {
        with_weights(data.weights != nullptr, [&](auto weighted) {
          using accumulator = power_sum_accumulator<decltype(raw)::value, decltype(central)::value,
                                                    decltype(weighted)::value>;
          accumulator acc[max_group_dims];
          for (int k = 0; k < dims.count; ++k) {
            acc[k] = accumulator(centres != nullptr ? (*centres)[dims.d[k]] : double_double{});
          }
          const auto weight = [&](std::int64_t i) { return data.weight(i); };
          if (data.shape.obs_stride == 1) {
            for (int k = 0; k < dims.count; ++k) {
              const T* column = data.x + data.shape.offset(dims.d[k], 0);
              acc[k].add_column(column, i0, i1, [&](std::int64_t i) { return data.weight(i); });
            }
          } else {
            // Every dimension of the group, selected or not: they lie side by side.
            const int count = static_cast<int>(d1 - d0);
            accumulator all[max_group_dims];
            for (int k = 0; k < count; ++k) {
              all[k] = accumulator(centres != nullptr ? (*centres)[d0 + k] : double_double{});
            }
            accumulator::template add_rows<max_group_dims>(
                all, count, i0, i1,
                [&](std::int64_t i) { return data.x + data.shape.offset(d0, i); }, weight);
            for (int k = 0; k < dims.count; ++k)
              acc[k] = all[dims.d[k] - d0];
          }
          for (int k = 0; k < dims.count; ++k)
            out[dims.d[k] - d0] = acc[k].finish();
        });
      });
    });
  };
  return reduce_blocks<power_sums>(
      data.shape, data.threads, block,
      [](power_sums& total, const power_sums& part) { total.merge(part); });
}

struct one_pass_result {
  power_sums sums;           // W, W2 and the raw sums
  one_pass_moments moments;  // of the observations less `shift`
  double shift = 0.0;
};

// One pass of mergeable updates for the central sums, beside the raw power sums. The updates
// run on the observations less the dimension's first one, which brings the mean near 0
// whatever its size, so the updates lose nothing to it.
template <class T>
std::vector<one_pass_result> one_pass(const stage_data<T>& data, int raw_degree,
                                      int central_degree) {
  auto block = [&](std::int64_t d0, std::int64_t d1, std::int64_t i0, std::int64_t i1,
                   one_pass_result* out) {
    const group_dims dims(data.shape, d0, d1);
    with_raw_degree(raw_degree, [&](auto raw) {
      with_central_degree(central_degree, [&](auto order) {
        with_weights(data.weights != nullptr, [&](auto weighted) {
          constexpr bool is_weighted = decltype(weighted)::value;
          constexpr int moment_order = decltype(order)::value;
          power_sum_accumulator<decltype(raw)::value, 0, is_weighted> sums[max_group_dims];
          one_pass_accumulator<moment_order> moments[max_group_dims];
          for_each_chunk(data.shape, i0, i1, [&](std::int64_t c0, std::int64_t c1) {
            for (int k = 0; k < dims.count; ++k) {
              auto s = sums[k];
              auto m = moments[k];
              const double shift = data.value(dims.d[k], 0);
              for (std::int64_t i = c0; i < c1; ++i) {
                const double w = is_weighted ? data.weight(i) : 1.0;
                const double x = data.value(dims.d[k], i);
                s.add(x, w);
                m.add(x - shift, w);
              }
              sums[k] = s;
              moments[k] = m;
            }
          });
          for (int k = 0; k < dims.count; ++k) {
            out[dims.d[k] - d0] = {sums[k].finish(), moments[k].finish(), data.value(dims.d[k], 0)};
          }
        });
      });
    });
  };
  const int order = central_degree;
  return reduce_blocks<one_pass_result>(
      data.shape, data.threads, block,
      [order](one_pass_result& total, const one_pass_result& part) {
        total.sums.merge(part.sums);
        with_central_degree(order, [&](auto o) {
          total.moments = merge<decltype(o)::value>(total.moments, part.moments);
        });
      });
}

// Everything the results of one dimension are made from.
struct dimension_sums {
  power_sums sums;                // W, W2, raw sums
  double_double central[3] = {};  // central sums of degree 2..4
  double_double centre;           // what the central sums are about
};

template <class T>
void store(const request<T>& r, std::int64_t d, const dimension_sums& s) {
  const auto put = [&](int e, double value) {
    if (r.out[e] != nullptr)
      r.out[e][d] = static_cast<T>(value);
  };
  const double_double& w = s.sums.w;
  put(mean, to_double(s.sums.raw[0] / w));
  for (int k = 2; k <= 4; ++k)
    put(raw_moment2 + k - 2, to_double(s.sums.raw[k - 1] / w));
  for (int k = 1; k <= 4; ++k)
    put(sum + k - 1, to_double(s.sums.raw[k - 1]));
  for (int k = 2; k <= 4; ++k)
    put(central_sum2 + k - 2, to_double(s.central[k - 2]));
  if (r.central_degree == 0)
    return;
  // The variance carries the W / (W^2 - W2) correction; higher moments are over W alone.
  const double v = to_double(s.central[0] * (w / (w * w - s.sums.w2)));
  const double m3 = to_double(s.central[1] / w);
  const double m4 = to_double(s.central[2] / w);
  put(central_moment2, v);
  put(central_moment3, m3);
  put(central_moment4, m4);
  put(skewness, m3 / std::sqrt((v * v) * v));
  put(kurtosis, m4 / (v * v) + (-3.0));
  put(variation, std::sqrt(v) / to_double(s.centre));
}

// The first pass's mean carries the rounding of the weighted terms of its sum. The second pass
// measures what is left, sum w d = W delta for the deviations d from that mean, and moves the
// central sums to the corrected mean by the binomial theorem (the corrected two-pass method).
void recentre(const power_sums& about_c, double_double c, dimension_sums& out) {
  const double_double& w = about_c.w;
  const double_double& c1 = about_c.central1;
  const double_double* ck = about_c.central;
  const double_double delta = c1 / w;
  const double_double delta2 = delta * delta;
  const double_double three{3.0, 0.0}, four{4.0, 0.0}, six{6.0, 0.0};
  out.centre = c + delta;
  out.central[0] = ck[0] - delta * c1;
  out.central[1] = ck[1] - three * delta * ck[0] + three * delta2 * c1 - delta2 * delta * w;
  out.central[2] = ck[2] - four * delta * ck[1] + six * delta2 * ck[0] -
                   four * delta2 * delta * c1 + delta2 * delta2 * w;
}

template <class T>
void compute(const stage_data<T>& data, std::intptr_t method, const request<T>& r) {
  const task_shape& shape = data.shape;
  std::vector<dimension_sums> dims(static_cast<std::size_t>(shape.n_dims));
  if (r.central_degree == 0) {
    const auto sums = sums_pass(data, r.raw_degree, 0, nullptr);
    for (std::int64_t d = 0; d < shape.n_dims; ++d)
      dims[d].sums = sums[d];
  } else if (method == SS_METHOD_TWO_PASS) {
    const auto first = sums_pass(data, std::max(r.raw_degree, 1), 0, nullptr);
    std::vector<double_double> centres(static_cast<std::size_t>(shape.n_dims));
    for (std::int64_t d = 0; d < shape.n_dims; ++d) {
      if (shape.selected(d))
        centres[d] = first[d].raw[0] / first[d].w;
    }
    const auto second = sums_pass(data, 0, r.central_degree, &centres);
    for (std::int64_t d = 0; d < shape.n_dims; ++d) {
      dims[d].sums = first[d];
      recentre(second[d], centres[d], dims[d]);
    }
  } else if (method == SS_METHOD_ONE_PASS) {
    const auto pass = one_pass(data, r.raw_degree, r.central_degree);
    for (std::int64_t d = 0; d < shape.n_dims; ++d) {
      const one_pass_result& p = pass[d];
      dims[d].sums = p.sums;
      dims[d].centre = two_sum(p.shift, p.moments.mean);
      dims[d].central[0] = {p.moments.m2, 0.0};
      dims[d].central[1] = {p.moments.m3, 0.0};
      dims[d].central[2] = {p.moments.m4, 0.0};
    }
  } else {
    std::vector<double_double> centres(static_cast<std::size_t>(shape.n_dims));
    for (std::int64_t d = 0; d < shape.n_dims; ++d) {
      if (shape.selected(d))
        centres[d] = {static_cast<double>(r.user_mean[d]), 0.0};
    }
    const auto sums = sums_pass(data, r.raw_degree, r.central_degree, &centres);
    for (std::int64_t d = 0; d < shape.n_dims; ++d) {
      dims[d].sums = sums[d];
      dims[d].centre = centres[d];
      for (int k = 0; k < 3; ++k)
        dims[d].central[k] = sums[d].central[k];
    }
  }
  for (std::int64_t d = 0; d < shape.n_dims; ++d) {
    if (shape.selected(d))
      store(r, d, dims[d]);
  }
}

}  // namespace

template <class T>
std::int32_t basic_stage(ss_task* task, std::uint64_t estimate_mask, std::intptr_t method,
                         const ss_threading_entry* threading_table) {
  task_shape shape;
  if (const std::int32_t status = read_task_shape(task, sizeof(T), shape))
    return status;
  if ((estimate_mask & SS_STAGE_BASIC) == 0)
    return SS_STATUS_OK;
  if ((estimate_mask & SS_STAGE_BASIC & ~provided_bits()) != 0)
    return SS_STATUS_NOT_PROVIDED;
  if (!known_method(method))
    return SS_STATUS_BAD_METHOD;
  request<T> r;
  if (const std::int32_t status = make_request(*task, estimate_mask, method, r))
    return status;
  const stage_data<T> data{static_cast<const T*>(task->observations),
                           static_cast<const T*>(task->weights), shape, threading(threading_table)};
  try {
    compute(data, method, r);
  } catch (const std::bad_alloc&) {
    return SS_STATUS_NO_MEMORY;
  }
  return SS_STATUS_OK;
}

template std::int32_t basic_stage<float>(ss_task*, std::uint64_t, std::intptr_t,
                                         const ss_threading_entry*);
template std::int32_t basic_stage<double>(ss_task*, std::uint64_t, std::intptr_t,
                                          const ss_threading_entry*);

}  // namespace tessel::estimator
