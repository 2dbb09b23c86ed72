// Runs the tessel executable on files made here, and checks every number it prints against
// the library's own results for the same data on the same device, and against the
// high-precision reference.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <fmt/format.h>
#include <nlohmann/json.hpp>
#include <sycl/sycl.hpp>
#include <vorlex/orv/stats.hpp>

#include <cmath>
#include <map>
#include <tuple>

#include "run_tool.hpp"
#include "support/random_data.hpp"
#include "support/reference.hpp"
#include "tool_test_support.hpp"

namespace tessel::test {
namespace {

namespace stats = vorlex::orv::stats;
using json = nlohmann::json;

constexpr const char* emulated_gpu = "Tessel emulated GPU";
constexpr std::size_t n_dims = 3;
constexpr std::size_t n_obs = 57;

enum class source { csv_by_observation, csv_by_dimension, npy_fortran };
enum class weighting { none, column, file };

// type, device, file, weights, user mean with a selection of dimensions 0 and 2
using describe_case = std::tuple<element_type, std::string, source, weighting, bool>;

template <class T>
struct generated {
  std::vector<std::vector<T>> columns;  // by dimension
  std::vector<T> weights;
  std::vector<T> user_mean;  // of the selected dimensions 0 and 2
};

template <class T>
generated<T> make_data() {
  generated<T> data;
  const double means[n_dims] = {3.0, -0.5, 1.5};
  const double spreads[n_dims] = {2.0, 1.0, 3.0};
  for (std::size_t d = 0; d < n_dims; ++d) {
    data.columns.push_back(random_normal<T>(n_obs, 40 + d, means[d], spreads[d]));
  }
  data.weights = random_uniform<T>(n_obs, 77, 0.5, 2.0);
  data.user_mean = {static_cast<T>(1.25), static_cast<T>(0.75)};
  return data;
}

// The file's columns in order: the weights sit between the first two dimensions.
template <class T>
std::vector<std::vector<T>> file_columns(const generated<T>& data, weighting weights) {
  std::vector<std::vector<T>> columns = data.columns;
  if (weights == weighting::column) {
    columns.insert(columns.begin() + 1, data.weights);
  }
  return columns;
}

template <class T>
std::string write_data(const scratch_dir& dir, const generated<T>& data, source kind,
                       weighting weights) {
  const auto columns = file_columns(data, weights);
  if (kind == source::npy_fortran) {
    std::string bytes;
    for (const auto& column : columns)
      bytes += raw_bytes(column, false);
    const std::string descr = sizeof(T) == 4 ? "<f4" : "<f8";
    return dir.write("data.npy",
                     npy_file(fmt::format("{{'descr': '{}', 'fortran_order': True, 'shape': ({}, "
                                          "{}), }}",
                                          descr, n_obs, columns.size()),
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
    for (const auto& column : columns)
      text += fmt::format("{}\n", fmt::join(column, ";"));
  }
  return dir.write("data.csv", text);
}

// The matrix as the tool lays it out: a file row per observation is col_major, a file row per
// dimension and a Fortran-ordered array read by observation are row_major.
template <class T>
std::vector<T> library_matrix(const generated<T>& data, storage layout) {
  std::vector<T> values(n_dims * n_obs);
  for (std::size_t d = 0; d < n_dims; ++d) {
    for (std::size_t i = 0; i < n_obs; ++i) {
      values[element_index(layout, n_dims, n_obs, d, i)] = data.columns[d][i];
    }
  }
  return values;
}

sycl::queue queue_on(const std::string& name) {
  for (const sycl::device& device : sycl::device::get_devices()) {
    const std::string device_name = device.get_info<sycl::info::device::name>();
    if (device_name == name || (name == "cpu" && device.is_cpu()))
      return sycl::queue(device);
  }
  throw std::runtime_error("no device " + name);
}

template <class T>
struct shared_array {
  shared_array(sycl::queue& q, const std::vector<T>& values)
      : queue(q), data(sycl::malloc_shared<T>(std::max<std::size_t>(values.size(), 1), q)) {
    std::copy(values.begin(), values.end(), data);
  }
  shared_array(sycl::queue& q, std::size_t count) : shared_array(q, std::vector<T>(count)) {}
  shared_array(const shared_array&) = delete;
  ~shared_array() { sycl::free(data, queue); }
  sycl::queue& queue;
  T* data;
};

// What the library itself gives for the data, by the tool's JSON keys.
template <class T, stats::layout L>
std::map<std::string, std::vector<T>> library_results(sycl::queue& q, const std::vector<T>& matrix,
                                                      const std::vector<T>* weights,
                                                      const std::vector<std::int64_t>* selection,
                                                      const std::vector<T>* user_mean) {
  constexpr auto fast = stats::method::fast;
  shared_array<T> values(q, matrix), w(q, weights ? *weights : std::vector<T>{}),
      mean_in(q, user_mean ? *user_mean : std::vector<T>{});
  shared_array<std::int64_t> chosen(q, selection ? *selection : std::vector<std::int64_t>{});
  const stats::dataset<L, T*> data(n_dims, n_obs, values.data, weights ? w.data : nullptr,
                                   selection ? chosen.data : nullptr);
  std::map<std::string, std::unique_ptr<shared_array<T>>> out;
  for (const char* key : {"mean",        "variance",     "central_moment3", "central_moment4",
                          "variation",   "skewness",     "kurtosis",        "min",
                          "max",         "raw_sum",      "raw_sum2",        "raw_sum3",
                          "raw_sum4",    "raw_mean",     "raw_moment2",     "raw_moment3",
                          "raw_moment4", "central_sum2", "central_sum3",    "central_sum4"}) {
    out[key] = std::make_unique<shared_array<T>>(q, n_dims);
  }
  const auto at = [&](const char* key) { return out.at(key)->data; };
  stats::mean<fast, T, L>(q, data, at("mean")).wait();
  stats::min_max<fast, T, L>(q, data, at("min"), at("max")).wait();
  stats::raw_sum<fast, T, L>(q, data, at("raw_sum"), at("raw_sum2"), at("raw_sum3"), at("raw_sum4"))
      .wait();
  stats::raw_moment<fast, T, L>(q, data, at("raw_mean"), at("raw_moment2"), at("raw_moment3"),
                                at("raw_moment4"))
      .wait();
  if (user_mean) {
    T* const m = mean_in.data;
    stats::central_moment<fast, T, L>(q, m, data, at("variance"), at("central_moment3"),
                                      at("central_moment4"))
        .wait();
    stats::variation<fast, T, L>(q, m, data, at("variation")).wait();
    stats::skewness<fast, T, L>(q, m, data, at("skewness")).wait();
    stats::kurtosis<fast, T, L>(q, m, data, at("kurtosis")).wait();
    stats::central_sum<fast, T, L>(q, m, data, at("central_sum2"), at("central_sum3"),
                                   at("central_sum4"))
        .wait();
  } else {
    stats::central_moment<fast, T, L>(q, data, at("variance"), at("central_moment3"),
                                      at("central_moment4"))
        .wait();
    stats::variation<fast, T, L>(q, data, at("variation")).wait();
    stats::skewness<fast, T, L>(q, data, at("skewness")).wait();
    stats::kurtosis<fast, T, L>(q, data, at("kurtosis")).wait();
    stats::central_sum<fast, T, L>(q, data, at("central_sum2"), at("central_sum3"),
                                   at("central_sum4"))
        .wait();
  }
  std::map<std::string, std::vector<T>> results;
  for (const auto& [key, array] : out)
    results[key].assign(array->data, array->data + n_dims);
  return results;
}

class Describe : public ::testing::TestWithParam<describe_case> {};

std::string case_name(const ::testing::TestParamInfo<describe_case>& tested) {
  const auto& [type, device, kind, weights, user_mean] = tested.param;
  const char* const kinds[] = {"csv_by_observation", "csv_by_dimension", "npy_fortran"};
  const char* const weightings[] = {"unweighted", "weights_column", "weights_file"};
  return fmt::format("{}_{}_{}_{}{}", name_of(type), device == "cpu" ? "cpu" : "emulated_gpu",
                     kinds[static_cast<int>(kind)], weightings[static_cast<int>(weights)],
                     user_mean ? "_user_mean_dims_0_2" : "");
}

template <class T>
void check_case(const describe_case& param) {
  const auto& [type, device, kind, weights, with_user_mean] = param;
  const scratch_dir dir;
  const generated<T> data = make_data<T>();
  std::vector<std::string> args = {
      "describe", write_data(dir, data, kind, weights), "--device", device,
      "--type",   std::string(name_of(type)),           "--all",    "--output",
      "json"};
  if (kind == source::csv_by_dimension)
    args.insert(args.end(), {"--rows-are", "dimensions"});
  if (weights == weighting::column)
    args.insert(args.end(), {"--weights-column", "1"});
  if (weights == weighting::file) {
    args.insert(
        args.end(),
        {"--weights", dir.write("w.csv", fmt::format("{}\n", fmt::join(data.weights, "\n")))});
  }
  if (with_user_mean) {
    args.insert(args.end(),
                {"--dims", "0,2", "--mean",
                 dir.write("m.csv", fmt::format("{}\n", fmt::join(data.user_mean, ",")))});
  }
  const tool_run run = run_tessel(args, dir.path(""));

  if (kind == source::csv_by_dimension && weights == weighting::column) {
    EXPECT_EQ(run.status, 2);
    EXPECT_EQ(run.err,
              "tessel: --weights-column needs rows read as observations; with "
              "--rows-are dimensions give the weights with --weights FILE\n");
    EXPECT_EQ(run.out, "");
    return;
  }
  ASSERT_EQ(run.status, 0) << run.err;
  EXPECT_EQ(run.err, "");
  const json document = json::parse(run.out);

  const storage layout =
      kind == source::csv_by_observation ? storage::col_major : storage::row_major;
  EXPECT_EQ(document["layout"], layout == storage::col_major ? "col_major" : "row_major");
  EXPECT_EQ(document["observations"], n_obs);
  EXPECT_EQ(document["dimensions_in_file"], n_dims);

  const std::vector<T> matrix = library_matrix(data, layout);
  const std::vector<std::int64_t> selection = {1, 0, 1};
  const std::vector<T> spread_mean = {data.user_mean[0], 0, data.user_mean[1]};
  const bool weighted = weights != weighting::none;
  sycl::queue queue = queue_on(device);
  const auto library =
      layout == storage::col_major
          ? library_results<T, stats::layout::col_major>(
                queue, matrix, weighted ? &data.weights : nullptr,
                with_user_mean ? &selection : nullptr, with_user_mean ? &spread_mean : nullptr)
          : library_results<T, stats::layout::row_major>(
                queue, matrix, weighted ? &data.weights : nullptr,
                with_user_mean ? &selection : nullptr, with_user_mean ? &spread_mean : nullptr);
  matrix_input<T> input;
  input.values = matrix.data();
  input.n_dims = n_dims;
  input.n_obs = n_obs;
  input.layout = layout;
  input.weights = weighted ? data.weights.data() : nullptr;
  input.selection = with_user_mean ? selection.data() : nullptr;
  input.user_mean = with_user_mean ? spread_mean.data() : nullptr;
  const std::vector<dimension_reference> reference = compute_reference(input);

  const std::vector<std::size_t> described =
      with_user_mean ? std::vector<std::size_t>{0, 2} : std::vector<std::size_t>{0, 1, 2};
  ASSERT_EQ(document["dimensions"].size(), described.size());
  for (std::size_t k = 0; k < described.size(); ++k) {
    const std::size_t d = described[k];
    const json& shown = document["dimensions"][k];
    const dimension_reference& ref = reference[d];
    SCOPED_TRACE(fmt::format("dimension {}", d));
    EXPECT_EQ(shown["index"], d);
    if (kind == source::csv_by_observation) {
      EXPECT_EQ(shown["name"], std::string(1, "abc"[d]));
    }
    EXPECT_EQ(shown["count"], n_obs);
    const auto value = [&](const char* key) { return static_cast<T>(shown[key].get<double>()); };

    // Exactly the library's own results: printing and reading back loses nothing.
    for (const auto& [key, results] : library) {
      if (key == "raw_mean")
        continue;
      EXPECT_EQ(value(key.c_str()), results[d]) << key;
    }
    EXPECT_EQ(value("std_dev"), std::sqrt(library.at("variance")[d]));
    if (with_user_mean) {
      EXPECT_EQ(value("user_mean"), spread_mean[d]);
    }

    // And close to the exact statistics. The library's fast method sums raw powers, so a
    // quantity that cancels (third powers, sums about 0) is judged against the size of its
    // terms.
    const double eps = 512;  // about five times the largest error seen on these data
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
      EXPECT_TRUE(near_reference<T>(value(key), exact, eps, scale)) << key;
    }
    EXPECT_EQ(value("min"), static_cast<T>(to_long_double(ref.min)));
    EXPECT_EQ(value("max"), static_cast<T>(to_long_double(ref.max)));
  }
}

TEST_P(Describe, PrintsTheLibrarysNumbersForEveryDimension) {
  if (std::get<0>(GetParam()) == element_type::f32) {
    check_case<float>(GetParam());
  } else {
    check_case<double>(GetParam());
  }
}

INSTANTIATE_TEST_SUITE_P(
    All, Describe,
    ::testing::Combine(::testing::Values(element_type::f32, element_type::f64),
                       ::testing::Values(std::string(emulated_gpu), std::string("cpu")),
                       ::testing::Values(source::csv_by_observation, source::csv_by_dimension,
                                         source::npy_fortran),
                       ::testing::Values(weighting::none, weighting::column, weighting::file),
                       ::testing::Bool()),
    case_name);

}  // namespace
}  // namespace tessel::test
