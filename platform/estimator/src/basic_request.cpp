#include "basic_request.hpp"

#include <algorithm>
#include <cmath>

namespace tessel::estimator {
namespace {

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
  for (const auto& d : descriptions) {
    bits |= d.bit;
  }
  return bits;
}

}  // namespace

bool basic_estimates_provided(std::uint64_t mask) {
  return (mask & SS_STAGE_BASIC & ~provided_bits()) == 0;
}

template <class T>
std::int32_t read_basic_request(const ss_task& task, std::uint64_t mask, std::intptr_t method,
                                basic_request<T>& r) {
  const bool user_mean = method == SS_METHOD_USER_MEAN;
  for (int e = 0; e < basic_estimates; ++e) {
    const estimate_description& d = descriptions[e];
    // With a user mean, `mean` is input: it is neither computed nor written.
    if ((mask & d.bit) == 0 || (e == mean && user_mean)) {
      continue;
    }
    r.out[e] = static_cast<T*>(task.*d.field);
    if (r.out[e] == nullptr) {
      return SS_STATUS_NULL_RESULT;
    }
    r.raw_degree = std::max(r.raw_degree, d.raw_degree);
    r.central_degree = std::max(r.central_degree, d.central_degree);
  }
  if (user_mean && r.central_degree > 0) {
    r.user_mean = static_cast<const T*>(task.mean);
    if (r.user_mean == nullptr) {
      return SS_STATUS_NULL_RESULT;
    }
  }
  return SS_STATUS_OK;
}

template <class T>
void store_estimates(const basic_request<T>& r, std::int64_t d, const partial_sums& s) {
  // Each estimate is formed only if it is wanted.
  const auto put = [&](int e, const auto& value) {
    if (r.out[e] != nullptr) {
      r.out[e][d] = static_cast<T>(value());
    }
  };
  const double_double& w = s.w;
  put(mean, [&] { return to_double(s.raw[0] / w); });
  for (int k = 2; k <= 4; ++k) {
    put(raw_moment2 + k - 2, [&] { return to_double(s.raw[k - 1] / w); });
  }
  for (int k = 1; k <= 4; ++k) {
    put(sum + k - 1, [&] { return to_double(s.raw[k - 1]); });
  }
  for (int k = 2; k <= 4; ++k) {
    put(central_sum2 + k - 2, [&] { return to_double(s.central[k - 2]); });
  }
  if (r.central_degree == 0) {
    return;
  }
  // The variance carries the W / (W^2 - W2) correction; higher moments are over W alone.
  const double v = to_double(s.central[0] * (w / (w * w - s.w2)));
  const auto m3 = [&] { return to_double(s.central[1] / w); };
  const auto m4 = [&] { return to_double(s.central[2] / w); };
  put(central_moment2, [&] { return v; });
  put(central_moment3, m3);
  put(central_moment4, m4);
  put(skewness, [&] { return m3() / std::sqrt((v * v) * v); });
  put(kurtosis, [&] { return m4() / (v * v) + (-3.0); });
  put(variation, [&] { return std::sqrt(v) / to_double(s.mean); });
}

template std::int32_t read_basic_request(const ss_task&, std::uint64_t, std::intptr_t,
                                         basic_request<float>&);
template std::int32_t read_basic_request(const ss_task&, std::uint64_t, std::intptr_t,
                                         basic_request<double>&);
template void store_estimates(const basic_request<float>&, std::int64_t, const partial_sums&);
template void store_estimates(const basic_request<double>&, std::int64_t, const partial_sums&);

}  // namespace tessel::estimator
