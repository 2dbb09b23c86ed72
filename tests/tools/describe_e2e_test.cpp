// Runs the tessel executable on files made here, on the CPU device and the emulated GPU, and checks
// every number it prints against the high-precision reference.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <fmt/format.h>
#include <nlohmann/json.hpp>
#include <sycl/sycl.hpp>
#include <vorlex/orv/stats.hpp>

#include <cmath>
#include <limits>
#include <tuple>

#include "run_tool.hpp"
#include "support/random_data.hpp"
#include "support/reference.hpp"
#include "tool_test_support.hpp"

namespace tessel::test {
namespace {

using json = nlohmann::json;

constexpr std::size_t n_dims = 3;
constexpr std::size_t n_obs = 57;

// Calls check.template operator()<T>() with T the element type named.
template <class Check>
void with_type(element_type type, Check check) {
  if (type == element_type::f32) {
    check.template operator()<float>();
  } else {
    check.template operator()<double>();
  }
}

std::string device_name(const std::string& device) {
  return device == "cpu" ? "cpu" : "emulated_gpu";
}

json describe(const scratch_dir& dir, std::vector<std::string> args) {
  args.insert(args.begin(), "describe");
  args.insert(args.end(), {"--all", "--output", "json"});
  const tool_run run = run_tessel(args, dir.path(""));
  EXPECT_EQ(run.status, 0) << run.err;
  EXPECT_EQ(run.err, "");
  return run.status == 0 ? json::parse(run.out) : json();
}

// A printed statistic; JSON writes NaN as null.
template <class T>
T shown_value(const json& dimension, const char* key) {
  const json& value = dimension.at(key);
  return value.is_null() ? std::numeric_limits<T>::quiet_NaN()
                         : static_cast<T>(value.get<double>());
}

// Every statistic against the reference. A quantity that cancels (third powers, sums about
// 0) is judged against the size of its terms.
template <class T>
void expect_reference(const json& shown, const dimension_reference& ref) {
  constexpr double eps = 512;
  const quad w = ref.W;
  const quad spread3 = ref.variance * sqrt_quad(ref.variance);
  const quad raw_spread3 = ref.raw_moment2 * sqrt_quad(ref.raw_moment2);
  const std::vector<std::tuple<const char*, quad, quad>> expected = {
      {"mean", ref.S1 / w, sqrt_quad(ref.raw_moment2)},
      {"variance", ref.variance, 0},
      {"std_dev", sqrt_quad(ref.variance), 0},
      {"variation", ref.variation, 0},
      {"skewness", ref.skewness, 1},
      {"kurtosis", ref.kurtosis, 1},
      {"raw_sum", ref.S1, sqrt_quad(ref.S2 * w)},
      {"raw_sum2", ref.S2, 0},
      {"raw_sum3", ref.S3, raw_spread3 * w},
      {"raw_sum4", ref.S4, 0},
      {"raw_moment2", ref.raw_moment2, 0},
      {"raw_moment3", ref.raw_moment3, raw_spread3},
      {"raw_moment4", ref.raw_moment4, 0},
      {"central_sum2", ref.C2, 0},
      {"central_sum3", ref.C3, spread3 * w},
      {"central_sum4", ref.C4, 0},
      {"central_moment3", ref.moment3, spread3},
      {"central_moment4", ref.moment4, 0},
  };
  for (const auto& [key, exact, scale] : expected) {
    EXPECT_TRUE(near_reference<T>(shown_value<T>(shown, key), exact, eps, scale)) << key;
  }
  EXPECT_EQ(shown_value<T>(shown, "min"), static_cast<T>(to_long_double(ref.min)));
  EXPECT_EQ(shown_value<T>(shown, "max"), static_cast<T>(to_long_double(ref.max)));
}

enum class source { csv_by_observation, csv_by_dimension, npy_fortran };
enum class weighting { none, column, file };

// type, device, file, weights, user mean with a selection of dimensions 0 and 2
using describe_case = std::tuple<element_type, std::string, source, weighting, bool>;

// Dimension 2 lies far from 0 against its spread, where raw power sums lose every digit.
template <class T>
std::vector<std::vector<T>> make_columns() {
  const double offset = sizeof(T) == 4 ? 1e4 : 1e8;
  return {random_normal<T>(n_obs, 40, 3.0, 2.0), random_normal<T>(n_obs, 41, -0.5, 1.0),
          random_skewed<T>(n_obs, 42, offset, 1.0)};
}

template <class T>
std::string write_data(const scratch_dir& dir, std::vector<std::vector<T>> columns, source kind,
                       weighting weights, const std::vector<T>& weight_values) {
  if (weights == weighting::column) {
    columns.insert(columns.begin() + 1, weight_values);
  }
  if (kind == source::npy_fortran) {
    std::string bytes;
    for (const auto& column : columns) {
      bytes += raw_bytes(column);
    }
    return dir.write("data.npy",
                     npy_file(fmt::format("{{'descr': '{}', 'fortran_order': True, "
                                          "'shape': ({}, {}), }}",
                                          sizeof(T) == 4 ? "<f4" : "<f8", n_obs, columns.size()),
                              bytes));
  }
  std::string text;
  if (kind == source::csv_by_observation) {
    text = weights == weighting::column ? "a,w,b,c\n" : "a,b,c\n";
    for (std::size_t i = 0; i < n_obs; ++i) {
      for (std::size_t c = 0; c < columns.size(); ++c) {
        text += fmt::format("{}{}", c ? "," : "", columns[c][i]);
      }
      text += '\n';
    }
  } else {
    for (const auto& column : columns) {
      text += fmt::format("{}\n", fmt::join(column, ";"));
    }
  }
  return dir.write("data.csv", text);
}

class Describe : public ::testing::TestWithParam<describe_case> {};

std::string case_name(const ::testing::TestParamInfo<describe_case>& tested) {
  const auto& [type, device, kind, weights, user_mean] = tested.param;
  const char* const kinds[] = {"csv_by_observation", "csv_by_dimension", "npy_fortran"};
  const char* const weightings[] = {"unweighted", "weights_column", "weights_file"};
  return fmt::format("{}_{}_{}_{}{}", name_of(type), device_name(device),
                     kinds[static_cast<int>(kind)], weightings[static_cast<int>(weights)],
                     user_mean ? "_user_mean_dims_0_2" : "");
}

template <class T>
void check_case(const describe_case& param) {
  const auto& [type, device, kind, weights, with_user_mean] = param;
  const scratch_dir dir;
  const std::vector<std::vector<T>> columns = make_columns<T>();
  const std::vector<T> weight_values = random_uniform<T>(n_obs, 77, 0.5, 2.0);
  const std::vector<T> user_mean = {static_cast<T>(1.25), 0, static_cast<T>(0.75)};
  std::vector<std::string> args = {write_data(dir, columns, kind, weights, weight_values),
                                   "--device", device, "--type", std::string(name_of(type))};
  if (kind == source::csv_by_dimension) {
    args.insert(args.end(), {"--rows-are", "dimensions"});
  }
  if (weights == weighting::column) {
    args.insert(args.end(), {"--weights-column", "1"});
  }
  if (weights == weighting::file) {
    args.insert(
        args.end(),
        {"--weights", dir.write("w.csv", fmt::format("{}\n", fmt::join(weight_values, "\n")))});
  }
  if (with_user_mean) {
    args.insert(args.end(),
                {"--dims", "0,2", "--mean",
                 dir.write("m.csv", fmt::format("{},{}\n", user_mean[0], user_mean[2]))});
  }
  const json document = describe(dir, args);
  ASSERT_FALSE(document.is_null());
  const bool gpu_road = device != "cpu" && !with_user_mean;
  EXPECT_EQ(document["method"], gpu_road ? "about_mean" : "moments");
  EXPECT_EQ(document["layout"], kind == source::csv_by_observation ? "col_major" : "row_major");

  std::vector<T> matrix;
  for (const auto& column : columns) {
    matrix.insert(matrix.end(), column.begin(), column.end());
  }
  const std::vector<std::int64_t> selection = {1, 0, 1};
  matrix_input<T> input;
  input.values = matrix.data();
  input.n_dims = n_dims;
  input.n_obs = n_obs;
  input.weights = weights != weighting::none ? weight_values.data() : nullptr;
  input.selection = with_user_mean ? selection.data() : nullptr;
  input.user_mean = with_user_mean ? user_mean.data() : nullptr;
  const std::vector<dimension_reference> reference = compute_reference(input);

  const std::vector<std::size_t> described =
      with_user_mean ? std::vector<std::size_t>{0, 2} : std::vector<std::size_t>{0, 1, 2};
  ASSERT_EQ(document["dimensions"].size(), described.size());
  for (std::size_t k = 0; k < described.size(); ++k) {
    const std::size_t d = described[k];
    const json& shown = document["dimensions"][k];
    SCOPED_TRACE(fmt::format("dimension {}", d));
    EXPECT_EQ(shown["index"], d);
    EXPECT_EQ(shown["count"], n_obs);
    if (with_user_mean) {
      EXPECT_EQ(shown_value<T>(shown, "user_mean"), user_mean[d]);
    }
    expect_reference<T>(shown, reference[d]);
  }
}

TEST_P(Describe, PrintsTheReferenceDigitsForEveryDimension) {
  with_type(std::get<0>(GetParam()), [&]<class T>() { check_case<T>(GetParam()); });
}

// Every combination but a weights column in rows read as dimensions, which ToolErrors refuses.
std::vector<describe_case> describe_cases() {
  std::vector<describe_case> cases;
  for (const element_type type : {element_type::f32, element_type::f64}) {
    for (const std::string device : {emulated_gpu, "cpu"}) {
      for (const source kind :
           {source::csv_by_observation, source::csv_by_dimension, source::npy_fortran}) {
        for (const weighting weights : {weighting::none, weighting::column, weighting::file}) {
          if (kind != source::csv_by_dimension || weights != weighting::column) {
            cases.emplace_back(type, device, kind, weights, false);
            cases.emplace_back(type, device, kind, weights, true);
          }
        }
      }
    }
  }
  return cases;
}

INSTANTIATE_TEST_SUITE_P(All, Describe, ::testing::ValuesIn(describe_cases()), case_name);

using device_case = std::tuple<element_type, std::string>;

class OnEveryDevice : public ::testing::TestWithParam<device_case> {};

std::string device_case_name(const ::testing::TestParamInfo<device_case>& tested) {
  return fmt::format("{}_{}", name_of(std::get<0>(tested.param)),
                     device_name(std::get<1>(tested.param)));
}

// Weights in the first column. Observation 2 has no weight, so no dimension uses it; line 5 has no
// value at all; dimension b has none anywhere; k is constant.
template <class T>
void check_missing(const std::string& device) {
  const std::string text =
      "w,a,b,c,k\n"
      "1,1,NA,,0.1\n"
      "2,2,NA,5,0.1\n"
      ",3,NA,6,0.1\n"
      "1.5,,NA,,0.1\n"
      "0.5,5,,8,0.1\n"
      "3,6,NaN,9,0.1\n"
      ",,,,\n";
  const scratch_dir dir;
  const json document =
      describe(dir, {dir.write("m.csv", text), "--device", device, "--weights-column", "w",
                     "--type", sizeof(T) == 4 ? "float" : "double"});
  ASSERT_FALSE(document.is_null());
  EXPECT_EQ(document["missing_values"], 13);
  EXPECT_EQ(document["missing_weights"], 2);
  const json& a = document["dimensions"][0];
  const json& b = document["dimensions"][1];
  const json& c = document["dimensions"][2];
  EXPECT_EQ(b["count"], 0);
  for (const char* key : {"mean", "variance", "skewness", "min", "median", "max"}) {
    EXPECT_TRUE(b[key].is_null()) << key;
  }

  // Each dimension as if its present observations were all there was.
  const auto reference_of = [](std::vector<T> values, std::vector<T> weights) {
    matrix_input<T> input;
    input.values = values.data();
    input.weights = weights.data();
    input.n_dims = 1;
    input.n_obs = values.size();
    return compute_reference(input).front();
  };
  EXPECT_EQ(a["count"], 4);
  expect_reference<T>(a, reference_of({1, 2, 5, 6}, {1, 2, 0.5, 3}));
  EXPECT_EQ(c["count"], 3);
  expect_reference<T>(c, reference_of({5, 8, 9}, {2, 0.5, 3}));
  // Quartiles are those of the values, by rank, whatever their weights: 1 2 5 6.
  EXPECT_EQ(a["q1"], 1.75);
  EXPECT_EQ(a["median"], 3.5);
  EXPECT_EQ(a["q3"], 5.25);
  // No spread, so no skewness or kurtosis, whatever rounding the computed mean carries.
  const json& k = document["dimensions"][3];
  EXPECT_EQ(k["mean"], 0.1);
  EXPECT_EQ(k["variance"], 0);
  EXPECT_EQ(k["central_sum3"], 0);
  EXPECT_TRUE(k["skewness"].is_null() && k["kurtosis"].is_null());
}

TEST_P(OnEveryDevice, MissingValuesAreLeftOutDimensionByDimension) {
  const std::string device = std::get<1>(GetParam());
  with_type(std::get<0>(GetParam()), [&]<class T>() { check_missing<T>(device); });
}

INSTANTIATE_TEST_SUITE_P(All, OnEveryDevice,
                         ::testing::Combine(::testing::Values(element_type::f32, element_type::f64),
                                            ::testing::Values(std::string(emulated_gpu),
                                                              std::string("cpu"))),
                         device_case_name);

// --one-pass prints what the library's own entries give, raw power sums and all.
TEST(OnePass, PrintsTheLibrarysOwnNumbers) {
  namespace stats = vorlex::orv::stats;
  constexpr auto L = stats::layout::col_major;
  const std::vector<double> values = random_normal<double>(n_obs, 5, 2.0, 1.0);
  const scratch_dir dir;
  const json document =
      describe(dir, {dir.write("v.csv", fmt::format("{}\n", fmt::join(values, "\n"))), "--device",
                     emulated_gpu, "--one-pass"});
  ASSERT_FALSE(document.is_null());
  EXPECT_EQ(document["method"], "one_pass");
  sycl::queue queue(sycl::gpu_selector_v);  // the emulated GPU, the only one here
  double* const data = sycl::malloc_shared<double>(n_obs + 5, queue);
  std::copy(values.begin(), values.end(), data);
  double* const out = data + n_obs;
  const stats::dataset<L, double*> dataset(1, n_obs, data, nullptr, nullptr);
  stats::skewness<stats::method::fast, double, L>(queue, dataset, out).wait();
  stats::kurtosis<stats::method::fast, double, L>(queue, dataset, out + 1).wait();
  stats::variation<stats::method::fast, double, L>(queue, dataset, out + 2).wait();
  stats::min_max<stats::method::fast, double, L>(queue, dataset, out + 3, out + 4).wait();
  const json& shown = document["dimensions"][0];
  EXPECT_EQ(shown["skewness"].get<double>(), out[0]);
  EXPECT_EQ(shown["kurtosis"].get<double>(), out[1]);
  EXPECT_EQ(shown["variation"].get<double>(), out[2]);
  EXPECT_EQ(shown["min"].get<double>(), out[3]);
  EXPECT_EQ(shown["max"].get<double>(), out[4]);
  sycl::free(data, queue);
}

}  // namespace
}  // namespace tessel::test
