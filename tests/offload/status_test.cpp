// The statuses of the offload entries, as one table of cases run through all eight exports: what
// the entry checks of the task and of the interop object, in its order, what each road gives, the
// gate of the roads, the refusals of each row, and how the rows' statuses chain. Runs with the test
// OpenCL library, whose table fails, so that the OpenCL road goes on with a default queue.
#include <gtest/gtest.h>

#include <sycl/sycl.hpp>

#include <cstdint>
#include <cstdlib>
#include <ostream>
#include <string>
#include <type_traits>
#include <vector>

#include "offload_calls.hpp"

namespace tessel::test {
namespace {

using enum field;

// How the interop object leads to a queue: its foreign runtime number and the return code with it,
// the backend kind (property 8), and the properties that can be read.
struct road {
  std::int32_t number, code, kind;
  std::initializer_list<int> readable;
};
const road sycl_road{4, 0, 0, {5}};
const road sycl_without_queue{4, 0, 0, {}};
const road unusable{0, 0, 0, {5}};
const road level_zero{6, 0, 0, {5, 6, 7, 9}};
const road opencl{3, 0, 0, {5, 9}};
// Without a foreign runtime number: the backend kind decides, or without it the failed call's value
// stays (4 runs on a default queue).
const road kind_opencl{4, -1, 1, {5, 6, 7, 8, 9}};
const road kind_level_zero{4, -1, 2, {5, 6, 7, 8, 9}};
const road kind_other{4, -1, 3, {5, 6, 7, 8, 9}};
const road number_4_no_kind{4, -1, 0, {}};
const road number_7_no_kind{7, -1, 0, {}};

void set_road(stand_in_interop& interop, const road& r) {
  static int handle = 0;
  interop.foreign_runtime = r.number;
  interop.foreign_runtime_code = r.code;
  interop.backend_kind = r.kind;
  interop.readable = 0;
  for (const int p : r.readable) {
    interop.readable |= 1U << p;
    if (p != 5) {
      interop.property[p] = p == 8 ? static_cast<void*>(&interop.backend_kind) : &handle;
    }
  }
}

constexpr std::int32_t same = 1;

struct status_case {
  const char* name;
  std::uint64_t mask;
  std::int32_t status;
  std::int64_t method = 1;
  std::vector<field> nulls = {};
  road way = sycl_road;
  std::int64_t dims = 2, count = 5, storage = SS_STORAGE_ROW_MAJOR;
  bool no_obs = false;        // observations null
  const char* svm = nullptr;  // LIBOMPTARGET_OPENCL_USE_SVM
  const char* printed = "";   // the start of what goes to standard error
  std::int32_t lp64 = same;   // the status of an _lp64 entry, if another
};
void PrintTo(const status_case& c, std::ostream* os) {
  *os << c.name;
}

const char* const lz_printed = "Tessel Stats: sycl::exception what: Backends mismatch";

// clang-format off
const std::vector<status_case> cases = {
    // The task and the interop object, in the entry's order.
    {.name = "storage_word_first", .mask = 0x80, .status = -3, .way = unusable, .count = 0, .storage = 0x30000},
    {.name = "storage_upper_half_seen_by_ilp64_only", .mask = 0, .status = -3, .storage = 0x100020000, .lp64 = 0},
    {.name = "counts_after_the_queue", .mask = 0x80, .status = -2, .way = unusable, .dims = 0, .count = 0},
    {.name = "sycl_road_without_queue", .mask = 0x80, .status = -2, .way = sycl_without_queue},
    {.name = "observations_before_dimensions", .mask = 0x80, .status = -4002, .dims = 0, .count = 0},
    {.name = "negative_observations", .mask = 0x80, .status = -4002, .count = -1},
    {.name = "count_low_half_seen_by_lp64", .mask = 0, .status = 0, .count = 0x100000000, .lp64 = -4002},
    {.name = "no_dimensions", .mask = 0x80, .status = -4001, .dims = 0, .no_obs = true},
    {.name = "no_observations_array", .mask = 0x80, .status = -4032, .no_obs = true},
    {.name = "empty_mask", .mask = 0, .status = 0},
    {.name = "bits_of_no_row", .mask = 0x1000, .status = 0, .method = 7},
    // The roads and their gate.
    {.name = "level_zero_not_in_this_runtime", .mask = 0x80, .status = -2, .way = level_zero, .printed = lz_printed},
    {.name = "kind_level_zero", .mask = 0x80, .status = -2, .way = kind_level_zero, .printed = lz_printed},
    {.name = "kind_unknown", .mask = 0x80, .status = -2, .way = kind_other},
    {.name = "number_of_failed_call_kept", .mask = 0x80, .status = -1, .way = number_7_no_kind},
    {.name = "number_4_on_default_queue", .mask = 0x80, .status = 0, .way = number_4_no_kind},
    {.name = "opencl_on_default_queue", .mask = 0x80, .status = 0, .way = opencl},
    {.name = "opencl_under_svm", .mask = 0x80, .status = -1, .way = opencl, .svm = "1"},
    {.name = "svm_first_digit_decides", .mask = 0x80, .status = -1, .way = opencl, .svm = "10"},
    {.name = "svm_01_is_not_1", .mask = 0x80, .status = 0, .way = opencl, .svm = "01"},
    {.name = "kind_opencl_under_svm", .mask = 0x80, .status = -1, .way = kind_opencl, .svm = "1"},
    {.name = "svm_not_for_level_zero", .mask = 0x80, .status = -2, .way = level_zero, .svm = "1", .printed = lz_printed},
    {.name = "svm_not_for_sycl", .mask = 0x80, .status = 0, .svm = "1"},
    // min and max.
    {.name = "min_method_256", .mask = 0x400, .status = -4029, .method = 256},
    {.name = "min_null_method_first", .mask = 0x400, .status = -4029, .method = 2, .nulls = {min}},
    {.name = "min_null", .mask = 0x400, .status = -4015, .nulls = {min}},
    {.name = "max_null", .mask = 0x800, .status = -4016, .nulls = {max}},
    // raw_sum and raw_moment: the method first, then each wanted array.
    {.name = "raw_sum_method", .mask = 0x2000000, .status = -4029, .method = 256, .nulls = {sum}},
    {.name = "sum_null", .mask = 0x2000000, .status = -4074, .nulls = {sum}},
    {.name = "raw_sum2_null", .mask = 0x6000000, .status = -4075, .nulls = {raw_sum2}},
    {.name = "raw_sum3_null", .mask = 0x8000000, .status = -4076, .nulls = {raw_sum3}},
    {.name = "raw_sum4_null", .mask = 0x10000000, .status = -4077, .nulls = {raw_sum4}},
    {.name = "sum_not_wanted_not_needed", .mask = 0x4000000, .status = 0, .nulls = {sum}},
    {.name = "mean_null_method_first", .mask = 0x1, .status = -4029, .method = 2, .nulls = {mean}},
    {.name = "mean_null", .mask = 0x3, .status = -4006, .nulls = {mean, raw2}},
    {.name = "raw2_null", .mask = 0x2, .status = -4007, .nulls = {raw2}},
    {.name = "raw3_null", .mask = 0x4, .status = -4008, .nulls = {raw3}},
    {.name = "raw4_null", .mask = 0x8, .status = -4009, .nulls = {raw4}},
    {.name = "mean_not_wanted_not_needed", .mask = 0x2, .status = 0, .nulls = {mean}},
    // The central families: the mean first, for both methods.
    {.name = "central_mean_before_method", .mask = 0x10, .status = -4006, .method = 2, .nulls = {mean}},
    {.name = "central_method", .mask = 0x10, .status = -4029, .method = 2},
    {.name = "central2_null", .mask = 0x10, .status = -4010, .nulls = {central2, raw2}},
    {.name = "central2_raw2_null", .mask = 0x10, .status = -4007, .nulls = {raw2}},
    {.name = "central3_null", .mask = 0x20, .status = -4011, .nulls = {central3, raw2}},
    {.name = "central3_raw3_null", .mask = 0x20, .status = -4008, .nulls = {raw3}},
    {.name = "central4_null", .mask = 0x40, .status = -4012, .nulls = {central4, raw2}},
    {.name = "central4_raw4_null", .mask = 0x40, .status = -4009, .nulls = {raw4}},
    {.name = "central2_not_tested_for_third", .mask = 0x20, .status = 0, .nulls = {central2}},
    {.name = "central3_null_user_mean", .mask = 0x20, .status = -4011, .method = 256, .nulls = {central3}},
    {.name = "raw_not_needed_user_mean", .mask = 0x70, .status = 0, .method = 256, .nulls = {raw2, raw3, raw4}},
    {.name = "central_sum2_null", .mask = 0x20000000, .status = -4078, .nulls = {central_sum2}},
    {.name = "central_sum3_null", .mask = 0x40000000, .status = -4079, .nulls = {central_sum3}},
    {.name = "central_sum4_null_user_mean", .mask = 0x80000000, .status = -4080, .method = 256, .nulls = {central_sum4}},
    {.name = "central_sum_raw3_null", .mask = 0x80000000, .status = -4008, .nulls = {raw3}},
    // variation, skewness, kurtosis.
    {.name = "variation_mean_null", .mask = 0x200, .status = -4006, .method = 5, .nulls = {mean}},
    {.name = "variation_method", .mask = 0x200, .status = -4029, .method = 5},
    {.name = "variation_null", .mask = 0x200, .status = -4017, .nulls = {variation, raw2}},
    {.name = "variation_raw2_null", .mask = 0x200, .status = -4007, .nulls = {raw2}},
    {.name = "variation_user_mean_needs_no_raw2", .mask = 0x200, .status = 0, .method = 256, .nulls = {raw2}},
    {.name = "skewness_null_first", .mask = 0x100, .status = -4014, .nulls = {skewness, raw2}},
    {.name = "skewness_raw3_null", .mask = 0x100, .status = -4008, .nulls = {raw3, raw2}},
    {.name = "skewness_raw2_null", .mask = 0x100, .status = -4007, .nulls = {raw2}},
    {.name = "kurtosis_null", .mask = 0x80, .status = -4013, .method = 256, .nulls = {kurtosis}},
    {.name = "kurtosis_raw4_null", .mask = 0x80, .status = -4009, .nulls = {raw4, raw2}},
    {.name = "kurtosis_raw3_null", .mask = 0x80, .status = -4008, .nulls = {raw3}},
    {.name = "kurtosis_raw2_null", .mask = 0x80, .status = -4007, .nulls = {raw2}},
    // The running status is the last row's.
    {.name = "failed_row_then_good_row", .mask = 0x401, .status = 0, .nulls = {min}},
    {.name = "two_failed_rows_the_later", .mask = 0x401, .status = -4006, .nulls = {min, mean}},
    {.name = "method_256_last_row_decides", .mask = 0x201, .status = 0, .method = 256},
    {.name = "method_256_last_row_refuses", .mask = 0x201, .status = -4017, .method = 256, .nulls = {variation}},
    {.name = "extremes_refused_variation_runs", .mask = 0xE00, .status = 0, .method = 256},
};
// clang-format on

class OffloadStatus : public testing::TestWithParam<status_case> {};

template <typename T>
void expect_status(const status_case& c, model m, form f) {
  sycl::queue queue{sycl::gpu_selector_v};
  const problem<T> p = problem_of<T>(st::layout::row_major, {{1, 2, 3, 4, 5}, {2, 4, 8, 16, 32}});
  offload_task<T> task(queue, p, st::layout::row_major, m);
  task.dims = c.dims;
  task.count = c.count;
  task.storage = c.storage;
  if (c.no_obs) {
    task.record()->observations = nullptr;
  }
  for (const field n : c.nulls) {
    slot(*task.record(), n) = nullptr;
  }
  stand_in_interop interop = sycl_interop(queue);
  set_road(interop, c.way);
  const element e = std::is_same_v<T, float> ? element::f32 : element::f64;
  testing::internal::CaptureStderr();
  const std::int32_t status = compute(e, m, f, task.record(), c.mask, c.method, &interop);
  const std::string printed = testing::internal::GetCapturedStderr();
  EXPECT_EQ(status, m == model::lp64 && c.lp64 != same ? c.lp64 : c.status);
  EXPECT_EQ(printed.rfind(c.printed, 0), 0U) << printed;
  EXPECT_TRUE(*c.printed != '\0' || printed.empty()) << printed;
}

TEST_P(OffloadStatus, EveryExportGivesTheStatus) {
  const status_case& c = GetParam();
  if (c.svm != nullptr) {
    setenv("LIBOMPTARGET_OPENCL_USE_SVM", c.svm, 1);
  }
  for (const model m : {model::lp64, model::ilp64}) {
    for (const form f : {form::direct, form::by_reference}) {
      SCOPED_TRACE(std::string(m == model::lp64 ? "lp64 " : "ilp64 ") +
                   (f == form::direct ? "entry" : "wrapper"));
      expect_status<float>(c, m, f);
      expect_status<double>(c, m, f);
    }
  }
  unsetenv("LIBOMPTARGET_OPENCL_USE_SVM");
}

std::string label(const testing::TestParamInfo<status_case>& info) {
  return info.param.name;
}

INSTANTIATE_TEST_SUITE_P(Cases, OffloadStatus, testing::ValuesIn(cases), label);

}  // namespace
}  // namespace tessel::test
