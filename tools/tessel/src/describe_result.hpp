// What `tessel describe` found, before it is written in one of the output formats.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "element_type.hpp"

namespace tessel {

enum class statistic {
  count,
  mean,
  user_mean,
  variance,
  std_dev,
  variation,
  skewness,
  kurtosis,
  min,
  q1,
  median,
  q3,
  max,
  raw_sum,
  raw_sum2,
  raw_sum3,
  raw_sum4,
  raw_moment2,
  raw_moment3,
  raw_moment4,
  central_sum2,
  central_sum3,
  central_sum4,
  central_moment3,
  central_moment4,
};

// How the central statistics were found. moments: the library's central moments, which the CPU
// device computes accurately in one call; about_mean: the mean first, then the library's sums of
// deviations from it; one_pass: every statistic as the library's entries give it.
enum class compute_method { moments, about_mean, one_pass };

struct compute_method_info {
  std::string_view key;          // JSON
  std::string_view description;  // the table's preamble
};

inline constexpr std::array<compute_method_info, 3> compute_methods = {{
    {"moments", "the library's central moments"},
    {"about_mean", "the mean first, then sums of deviations from it"},
    {"one_pass", "one pass, every statistic as the library gives it"},
}};

constexpr const compute_method_info& info_of(compute_method method) {
  return compute_methods[static_cast<std::size_t>(method)];
}

struct statistic_info {
  statistic id;
  std::string_view key;    // CSV column and JSON member
  std::string_view label;  // table row
};

inline constexpr std::array<statistic_info, 25> all_statistics = {{
    {statistic::count, "count", "count"},
    {statistic::mean, "mean", "mean"},
    {statistic::user_mean, "user_mean", "user mean"},
    {statistic::variance, "variance", "variance"},
    {statistic::std_dev, "std_dev", "std dev"},
    {statistic::variation, "variation", "variation"},
    {statistic::skewness, "skewness", "skewness"},
    {statistic::kurtosis, "kurtosis", "kurtosis"},
    {statistic::min, "min", "min"},
    {statistic::q1, "q1", "25%"},
    {statistic::median, "median", "50%"},
    {statistic::q3, "q3", "75%"},
    {statistic::max, "max", "max"},
    {statistic::raw_sum, "raw_sum", "raw sum"},
    {statistic::raw_sum2, "raw_sum2", "raw sum 2"},
    {statistic::raw_sum3, "raw_sum3", "raw sum 3"},
    {statistic::raw_sum4, "raw_sum4", "raw sum 4"},
    {statistic::raw_moment2, "raw_moment2", "raw moment 2"},
    {statistic::raw_moment3, "raw_moment3", "raw moment 3"},
    {statistic::raw_moment4, "raw_moment4", "raw moment 4"},
    {statistic::central_sum2, "central_sum2", "central sum 2"},
    {statistic::central_sum3, "central_sum3", "central sum 3"},
    {statistic::central_sum4, "central_sum4", "central sum 4"},
    {statistic::central_moment3, "central_moment3", "central moment 3"},
    {statistic::central_moment4, "central_moment4", "central moment 4"},
}};

// The first thirteen are always shown (user_mean only with --mean); --all adds the sums and
// moments.
inline constexpr std::size_t basic_statistic_count = 13;

struct dimension_summary {
  std::int64_t index = 0;
  std::string name;
  // By statistic; a float run's values are floats widened to double, so printing them as float
  // gives the computed float back. NaN where a dimension has no values.
  std::array<double, all_statistics.size()> values{};

  double operator[](statistic s) const { return values[static_cast<std::size_t>(s)]; }
  double& operator[](statistic s) { return values[static_cast<std::size_t>(s)]; }
};

struct describe_result {
  std::string source;  // the file, or the sample's name
  std::string device;
  element_type type = element_type::f64;
  matrix_layout layout = matrix_layout::col_major;
  std::int64_t n_observations = 0;
  std::int64_t n_dims = 0;
  std::string weights;    // where the weights came from; empty without weights
  std::string user_mean;  // where the caller's means came from; empty when none were given
  compute_method method = compute_method::moments;
  std::int64_t missing_values = 0;   // in the file's dimensions, left out where they are
  std::int64_t missing_weights = 0;  // their observations left out of every dimension
  bool all = false;
  std::vector<dimension_summary> dimensions;  // the selected ones, in the file's order

  // What is shown, in order.
  std::vector<statistic_info> statistics() const {
    std::vector<statistic_info> shown;
    for (std::size_t k = 0; k < (all ? all_statistics.size() : basic_statistic_count); ++k) {
      if (all_statistics[k].id != statistic::user_mean || !user_mean.empty()) {
        shown.push_back(all_statistics[k]);
      }
    }
    return shown;
  }
};

}  // namespace tessel
