// The moment functors as the engine tests see them: how to make one over output handles, and
// what each output must hold by the high-precision reference. A scale of 0 judges relative to
// the expected value; otherwise the scale is the size of the terms that the result comes from,
// which bounds its rounding error.
#pragma once

#include <cstddef>
#include <vector>

#include "engine_fixture.hpp"

namespace tessel::gpu_test {

struct expected_value {
  quad value;
  quad scale;
};

inline quad spread(const dimension_reference& r) {
  return test::sqrt_quad(r.C2 / r.W);
}
inline expected_value c3_of(const dimension_reference& r) {
  return {r.C3, spread(r) * spread(r) * spread(r) * r.W};
}
inline expected_value moment3_of(const dimension_reference& r) {
  return {r.moment3, spread(r) * spread(r) * spread(r)};
}

// The fast functors expand raw power sums into central ones, so their error follows the raw
// sums (orders 2, 3, 4), however small the central result.
inline quad abs_quad(quad x) {
  return x < 0 ? -x : x;
}
inline quad raw_size2(const dimension_reference& r) {
  return r.S2;
}
inline quad raw_size3(const dimension_reference& r) {
  const quad rms_cubed = r.S2 * test::sqrt_quad(r.S2 / r.W);
  return abs_quad(r.S3) > rms_cubed ? abs_quad(r.S3) : rms_cubed;
}
inline quad raw_size4(const dimension_reference& r) {
  return r.S4;
}

inline std::vector<expected_value> fast_central_sums(const dimension_reference& r) {
  return {{r.C2, raw_size2(r)}, {r.C3, raw_size3(r)}, {r.C4, raw_size4(r)}};
}
inline std::vector<expected_value> fast_central_moments(const dimension_reference& r) {
  return {{r.variance, raw_size2(r) * r.variance / r.C2},
          {r.moment3, raw_size3(r) / r.W},
          {r.moment4, raw_size4(r) / r.W}};
}
inline expected_value fast_variation(const dimension_reference& r) {
  return {r.variation, abs_quad(r.variation) * raw_size2(r) / r.C2};
}
inline expected_value fast_skewness(const dimension_reference& r) {
  return {r.skewness, raw_size3(r) / r.W / test::sqrt_quad(r.variance * r.variance * r.variance)};
}
inline expected_value fast_kurtosis(const dimension_reference& r) {
  return {r.kurtosis, raw_size4(r) / r.W / (r.variance * r.variance)};
}

struct mean_case {
  static constexpr std::size_t outputs = 1;
  static constexpr bool user_mean = false;
  template <typename T, bool Usm, typename H>
  static auto make(const H& h) {
    return gpu::mean_func<T, Usm>(h[0]);
  }
  static std::vector<expected_value> expected(const dimension_reference& r) {
    return {{r.mean, 0}};
  }
};

struct raw_sum_case {
  static constexpr std::size_t outputs = 4;
  static constexpr bool user_mean = false;
  template <typename T, bool Usm, typename H>
  static auto make(const H& h) {
    return gpu::raw_sum_func_fast<T, Usm>(1, 1, 1, h[0], h[1], h[2], h[3]);
  }
  static std::vector<expected_value> expected(const dimension_reference& r) {
    return {{r.S1, 0}, {r.S2, 0}, {r.S3, 0}, {r.S4, 0}};
  }
};

struct raw_moment_case {
  static constexpr std::size_t outputs = 4;
  static constexpr bool user_mean = false;
  template <typename T, bool Usm, typename H>
  static auto make(const H& h) {
    return gpu::raw_moment_func_fast<T, Usm>(1, 1, 1, h[0], h[1], h[2], h[3]);
  }
  static std::vector<expected_value> expected(const dimension_reference& r) {
    return {{r.mean, 0}, {r.raw_moment2, 0}, {r.raw_moment3, 0}, {r.raw_moment4, 0}};
  }
};

struct central_sum_case {
  static constexpr std::size_t outputs = 3;
  static constexpr bool user_mean = false;
  template <typename T, bool Usm, typename H>
  static auto make(const H& h) {
    return gpu::central_sum_func_fast<T, Usm>(1, 1, h[0], h[1], h[2]);
  }
  static std::vector<expected_value> expected(const dimension_reference& r) {
    return fast_central_sums(r);
  }
};

struct central_moment_case {
  static constexpr std::size_t outputs = 3;
  static constexpr bool user_mean = false;
  template <typename T, bool Usm, typename H>
  static auto make(const H& h) {
    return gpu::central_moment_func_fast<T, Usm>(1, 1, h[0], h[1], h[2]);
  }
  static std::vector<expected_value> expected(const dimension_reference& r) {
    return fast_central_moments(r);
  }
};

struct variation_case {
  static constexpr std::size_t outputs = 1;
  static constexpr bool user_mean = false;
  template <typename T, bool Usm, typename H>
  static auto make(const H& h) {
    return gpu::variation_func_fast<T, Usm>(h[0]);
  }
  static std::vector<expected_value> expected(const dimension_reference& r) {
    return {fast_variation(r)};
  }
};

struct skewness_case {
  static constexpr std::size_t outputs = 1;
  static constexpr bool user_mean = false;
  template <typename T, bool Usm, typename H>
  static auto make(const H& h) {
    return gpu::skewness_func_fast<T, Usm>(h[0]);
  }
  static std::vector<expected_value> expected(const dimension_reference& r) {
    return {fast_skewness(r)};
  }
};

struct kurtosis_case {
  static constexpr std::size_t outputs = 1;
  static constexpr bool user_mean = false;
  template <typename T, bool Usm, typename H>
  static auto make(const H& h) {
    return gpu::kurtosis_func_fast<T, Usm>(h[0]);
  }
  static std::vector<expected_value> expected(const dimension_reference& r) {
    return {fast_kurtosis(r)};
  }
};

struct central_sum_user_mean_case {
  static constexpr std::size_t outputs = 3;
  static constexpr bool user_mean = true;
  template <typename T, bool Usm, typename H>
  static auto make(const H& h) {
    return gpu::central_sum_func_user_mean<T, Usm>(1, 1, h[0], h[1], h[2]);
  }
  static std::vector<expected_value> expected(const dimension_reference& r) {
    return {{r.C2, 0}, c3_of(r), {r.C4, 0}};
  }
};

struct central_moment_user_mean_case {
  static constexpr std::size_t outputs = 3;
  static constexpr bool user_mean = true;
  template <typename T, bool Usm, typename H>
  static auto make(const H& h) {
    return gpu::central_moment_func_user_mean<T, Usm>(1, 1, h[0], h[1], h[2]);
  }
  static std::vector<expected_value> expected(const dimension_reference& r) {
    return {{r.variance, 0}, moment3_of(r), {r.moment4, 0}};
  }
};

struct variation_user_mean_case {
  static constexpr std::size_t outputs = 1;
  static constexpr bool user_mean = true;
  template <typename T, bool Usm, typename H>
  static auto make(const H& h) {
    return gpu::variation_func_user_mean<T, Usm>(h[0]);
  }
  static std::vector<expected_value> expected(const dimension_reference& r) {
    return {{r.variation, 0}};
  }
};

struct skewness_user_mean_case {
  static constexpr std::size_t outputs = 1;
  static constexpr bool user_mean = true;
  template <typename T, bool Usm, typename H>
  static auto make(const H& h) {
    return gpu::skewness_func_user_mean<T, Usm>(h[0]);
  }
  static std::vector<expected_value> expected(const dimension_reference& r) {
    return {{r.skewness, 1}};
  }
};

struct kurtosis_user_mean_case {
  static constexpr std::size_t outputs = 1;
  static constexpr bool user_mean = true;
  template <typename T, bool Usm, typename H>
  static auto make(const H& h) {
    return gpu::kurtosis_func_user_mean<T, Usm>(h[0]);
  }
  static std::vector<expected_value> expected(const dimension_reference& r) {
    return {{r.kurtosis, 1}};
  }
};

// The offload road's functors add the mean and the raw moments to the plain results.
inline std::vector<expected_value> with_raw(const dimension_reference& r, std::size_t orders,
                                            std::vector<expected_value> plain) {
  std::vector<expected_value> all = {{r.mean, 0}, {r.raw_moment2, 0}};
  if (orders >= 3) {
    all.push_back({r.raw_moment3, 0});
  }
  if (orders >= 4) {
    all.push_back({r.raw_moment4, 0});
  }
  all.insert(all.end(), plain.begin(), plain.end());
  return all;
}

struct ex_central_sum_case {
  static constexpr std::size_t outputs = 7;
  static constexpr bool user_mean = false;
  template <typename T, bool Usm, typename H>
  static auto make(const H& h) {
    return gpu::ex::central_sum_func_fast<T, Usm>(1, 1, h[0], h[1], h[2], h[3], h[4], h[5], h[6]);
  }
  static std::vector<expected_value> expected(const dimension_reference& r) {
    return with_raw(r, 4, central_sum_case::expected(r));
  }
};

struct ex_central_moment_case {
  static constexpr std::size_t outputs = 7;
  static constexpr bool user_mean = false;
  template <typename T, bool Usm, typename H>
  static auto make(const H& h) {
    return gpu::ex::central_moment_func_fast<T, Usm>(1, 1, h[0], h[1], h[2], h[3], h[4], h[5],
                                                     h[6]);
  }
  static std::vector<expected_value> expected(const dimension_reference& r) {
    return with_raw(r, 4, central_moment_case::expected(r));
  }
};

struct ex_variation_case {
  static constexpr std::size_t outputs = 3;
  static constexpr bool user_mean = false;
  template <typename T, bool Usm, typename H>
  static auto make(const H& h) {
    return gpu::ex::variation_func_fast<T, Usm>(h[0], h[1], h[2]);
  }
  static std::vector<expected_value> expected(const dimension_reference& r) {
    return with_raw(r, 2, variation_case::expected(r));
  }
};

struct ex_skewness_case {
  static constexpr std::size_t outputs = 4;
  static constexpr bool user_mean = false;
  template <typename T, bool Usm, typename H>
  static auto make(const H& h) {
    return gpu::ex::skewness_func_fast<T, Usm>(h[0], h[1], h[2], h[3]);
  }
  static std::vector<expected_value> expected(const dimension_reference& r) {
    return with_raw(r, 3, skewness_case::expected(r));
  }
};

struct ex_kurtosis_case {
  static constexpr std::size_t outputs = 5;
  static constexpr bool user_mean = false;
  template <typename T, bool Usm, typename H>
  static auto make(const H& h) {
    return gpu::ex::kurtosis_func_fast<T, Usm>(h[0], h[1], h[2], h[3], h[4]);
  }
  static std::vector<expected_value> expected(const dimension_reference& r) {
    return with_raw(r, 4, kurtosis_case::expected(r));
  }
};

template <typename... Cases>
struct case_list {};

using plain_cases = case_list<mean_case, raw_sum_case, raw_moment_case, central_sum_case,
                              central_moment_case, variation_case, skewness_case, kurtosis_case>;
using user_mean_cases =
    case_list<central_sum_user_mean_case, central_moment_user_mean_case, variation_user_mean_case,
              skewness_user_mean_case, kurtosis_user_mean_case>;
using ex_cases = case_list<ex_central_sum_case, ex_central_moment_case, ex_variation_case,
                           ex_skewness_case, ex_kurtosis_case>;

template <typename... Cases, typename Visit>
void for_each_case(case_list<Cases...>, Visit&& visit) {
  (visit(Cases{}), ...);
}

}  // namespace tessel::gpu_test
