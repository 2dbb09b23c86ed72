// The estimator module's entries: the names it exports, the record's fixed positions, and the
// statuses of its task entries and stages, one row per call.
#include <gtest/gtest.h>

#include <cstring>
#include <functional>
#include <string>
#include <vector>

#include "estimator_module.hpp"

namespace tessel::test {
namespace {

const char* const other_stages[] = {"MissingValues",
                                    "Sort",
                                    "MAD",
                                    "PooledCovariance",
                                    "OutliersDetection",
                                    "RobustCovariance",
                                    "PartialCovariance",
                                    "Quantiles",
                                    "StreamQuantiles",
                                    "CorParametrization"};

// The test build lacks only _ksudSSMinmax; neither has the CPU engine's own entry.
TEST(EstimatorModule, ExportsEveryEntryName) {
  for (const char* path : {TESSEL_ESTIMATOR_PATH, TESSEL_ESTIMATOR_NO_DMINMAX_PATH}) {
    for (const std::string name :
         {"__ksuSSDeleteTask", "__ksusSSNewTask", "__ksudSSNewTask", "__ksusSSEditTask",
          "__ksudSSEditTask", "__ksusSSEditMoments", "__ksudSSEditMoments", "__ksusSSEditSums",
          "__ksudSSEditSums", "_ksusSSBasic", "_ksudSSBasic", "_ksusSSMinmax"}) {
      EXPECT_NE(module_symbol(name, path), nullptr) << name;
    }
    for (const char* stage : other_stages) {
      for (const char* letter : {"s", "d"}) {
        EXPECT_NE(module_symbol(std::string("_ksu") + letter + "SS" + stage, path), nullptr);
      }
    }
    EXPECT_EQ(module_symbol("_ksudSSMinmax", path) == nullptr,
              path == std::string(TESSEL_ESTIMATOR_NO_DMINMAX_PATH));
    EXPECT_EQ(module_symbol("__ksusSSCompute", path), nullptr);
  }
}

const void* word_at(const ss_task* task, std::size_t offset) {
  const void* value;
  std::memcpy(&value, reinterpret_cast<const char*>(task) + offset, sizeof value);
  return value;
}

// The record keeps the positions that readers outside the module rely on.
TEST(EstimatorTask, NewTaskAndEditsFillTheFixedPositions) {
  const typed_entries<double> e;
  const std::int64_t dims = 2, obs = 3, storage = SS_STORAGE_COL_MAJOR;
  double x[6] = {}, w[3] = {}, a[7][2];
  std::int64_t idx[2] = {1, 1};
  ss_task* task = nullptr;
  ASSERT_EQ(e.new_task(&task, &dims, &obs, &storage, x, w, idx, 1), 0);
  ASSERT_NE(task, nullptr);
  EXPECT_EQ(task->int_width, 1);
  const std::pair<std::size_t, const void*> words[] = {{16, &dims}, {24, &obs}, {32, idx},
                                                       {40, x},     {48, w},    {64, &storage}};
  for (const auto& [offset, pointer] : words) {
    EXPECT_EQ(word_at(task, offset), pointer) << offset;
  }
  ASSERT_EQ(e.edit_moments(task, a[0], a[1], a[2], a[3], a[4], a[5], a[6]), 0);
  ASSERT_EQ(e.edit_sums(task, a[6], a[5], a[4], a[3], a[2], a[1], a[0]), 0);
  for (std::size_t k = 0; k < 7; ++k) {
    EXPECT_EQ(word_at(task, 88 + 8 * k), a[k]) << k;
    EXPECT_EQ(word_at(task, 144 + 8 * k), a[6 - k]) << k;
  }
  const std::pair<std::int64_t, std::size_t> fields[] = {
      {SS_FIELD_MEAN, 88}, {SS_FIELD_KURTOSIS, 200}, {SS_FIELD_SKEWNESS, 208},
      {SS_FIELD_MIN, 224}, {SS_FIELD_MAX, 232},      {SS_FIELD_VARIATION, 216}};
  for (const auto& [field, offset] : fields) {
    ASSERT_EQ(e.edit_task(task, field, a[1]), 0);
    EXPECT_EQ(word_at(task, offset), a[1]) << field;
  }
  for (std::int64_t bad : {0, 1, 8, 13, 19, -7}) {
    EXPECT_LT(e.edit_task(task, bad, a[0]), 0) << bad;
  }
  ASSERT_EQ(e.delete_task(&task), 0);
  EXPECT_EQ(task, nullptr);
}

// A valid task of 2 dimensions and 4 observations with every result array set, whose words a row
// may change; the tasks a row makes itself are deleted with it.
struct small_task {
  const typed_entries<double> e;
  std::int64_t dims = 2, obs = 4, storage = SS_STORAGE_ROW_MAJOR;
  double x[8] = {1, 2, 3, 4, 5, 6, 7, 9};
  double results[19][2] = {};
  ss_task* task = nullptr;
  std::vector<ss_task*> made;

  small_task() {
    EXPECT_EQ(e.new_task(&task, &dims, &obs, &storage, x, nullptr, nullptr, 1), 0);
    const auto r = [&](int k) { return results[k]; };
    EXPECT_EQ(e.edit_moments(task, r(0), r(1), r(2), r(3), r(4), r(5), r(6)), 0);
    EXPECT_EQ(e.edit_sums(task, r(7), r(8), r(9), r(10), r(11), r(12), r(13)), 0);
    const std::int64_t fields[] = {SS_FIELD_KURTOSIS, SS_FIELD_SKEWNESS, SS_FIELD_VARIATION,
                                   SS_FIELD_MIN, SS_FIELD_MAX};
    for (int k = 0; k < 5; ++k) {
      EXPECT_EQ(e.edit_task(task, fields[k], r(14 + k)), 0);
    }
  }
  ~small_task() {
    made.push_back(task);
    for (ss_task* t : made) {
      EXPECT_EQ(e.delete_task(&t), 0);
    }
  }
  std::int32_t basic(std::uint64_t mask, std::intptr_t method = SS_METHOD_TWO_PASS) {
    return e.basic(task, mask, method, threading_table());
  }
  std::int32_t minmax(std::uint64_t mask, std::intptr_t method = SS_METHOD_TWO_PASS) {
    return e.minmax(task, mask, method, threading_table());
  }
  // A task of these words, made as given (64-bit unless width is 0).
  std::int32_t basic_of(const void* n_dims, const void* n_obs, const void* layout,
                        const double* data, std::int64_t width = 1) {
    ss_task* other = nullptr;
    EXPECT_EQ(e.new_task(&other, n_dims, n_obs, layout, data, nullptr, nullptr, width), 0);
    made.push_back(other);
    return e.basic(other, SS_MEAN, 1, threading_table());
  }
  bool untouched() const {
    for (const auto& r : results) {
      if (r[0] != 0 || r[1] != 0) {
        return false;
      }
    }
    return true;
  }
};

struct status_case {
  const char* what;
  std::function<std::int32_t(small_task&)> call;
  std::int32_t status;
};

const std::uint32_t all_ones = 0xFFFFFFFFu, four = 4, row32 = 0x10000;
const std::int64_t two = 2, four64 = 4, upper_half_set = 0x100010000;
float y[7];

#define ROW(what, body, status)                               \
  {                                                           \
    what, [](small_task& t) -> std::int32_t { body; }, status \
  }
// clang-format off
const status_case status_cases[] = {
    ROW("NewTask without a place", return t.e.new_task(nullptr, &two, &two, &two, t.x, nullptr, nullptr, 1), SS_STATUS_NULL_TASK),
    ROW("DeleteTask without a place", return t.e.delete_task(nullptr), SS_STATUS_NULL_TASK),
    ROW("DeleteTask of no task", ss_task* none = nullptr; return t.e.delete_task(&none), 0),
    ROW("EditTask of no task", return t.e.edit_task(nullptr, SS_FIELD_MEAN, t.x), SS_STATUS_NULL_TASK),
    ROW("EditMoments of no task", return t.e.edit_moments(nullptr, t.x, t.x, t.x, t.x, t.x, t.x, t.x) < 0, 1),
    ROW("EditSums of no task", return t.e.edit_sums(nullptr, t.x, t.x, t.x, t.x, t.x, t.x, t.x) < 0, 1),
    ROW("Basic of no task", return t.e.basic(nullptr, SS_MEAN, 1, threading_table()), SS_STATUS_NULL_TASK),
    ROW("Minmax of no task", return t.e.minmax(nullptr, SS_MIN, 1, threading_table()), SS_STATUS_NULL_TASK),
    ROW("no dimension", t.dims = 0; return t.basic(SS_MEAN), SS_STATUS_BAD_DIMENSIONS),
    ROW("negative count", t.obs = -1; return t.basic(SS_MEAN), SS_STATUS_BAD_OBSERVATION_COUNT),
    ROW("unknown storage", t.storage = 0x30000; return t.basic(SS_MEAN), SS_STATUS_BAD_STORAGE),
    ROW("unknown storage, Minmax", t.storage = 0x30000; return t.minmax(SS_MIN), SS_STATUS_BAD_STORAGE),
    ROW("32-bit 0xFFFFFFFF dimensions", return t.basic_of(&all_ones, &four, &row32, t.x, 0), SS_STATUS_BAD_DIMENSIONS),
    ROW("64-bit storage word, upper half set", return t.basic_of(&two, &four64, &upper_half_set, t.x), SS_STATUS_BAD_STORAGE),
    ROW("no observations", return t.basic_of(&two, &four64, &upper_half_set, nullptr), SS_STATUS_NULL_OBSERVATIONS),
    ROW("no storage word", return t.basic_of(&two, &four64, nullptr, t.x), SS_STATUS_NULL_STORAGE),
    ROW("no words", return t.basic_of(nullptr, nullptr, nullptr, t.x), SS_STATUS_BAD_DIMENSIONS),
    ROW("a float Basic on a double task", return typed_entries<float>().basic(t.task, SS_MEAN, 1, threading_table()), SS_STATUS_WRONG_TYPE),
    ROW("a float Minmax on a double task", return typed_entries<float>().minmax(t.task, SS_MIN, 1, threading_table()), SS_STATUS_WRONG_TYPE),
    ROW("a float edit of a double task", return typed_entries<float>().edit_task(t.task, SS_FIELD_MEAN, y), SS_STATUS_WRONG_TYPE),
    ROW("kurtosis without its array", t.e.edit_task(t.task, SS_FIELD_KURTOSIS, nullptr); return t.basic(SS_KURTOSIS), SS_STATUS_NULL_RESULT),
    ROW("minimum without its array", t.e.edit_task(t.task, SS_FIELD_MIN, nullptr); return t.minmax(SS_MIN) * 10 + t.minmax(SS_MAX), SS_STATUS_NULL_RESULT * 10),
    // Central estimates about the caller's mean need it; raw ones do not.
    ROW("no mean to use", t.e.edit_task(t.task, SS_FIELD_MEAN, nullptr); return t.basic(SS_CENTRAL_SUM2, SS_METHOD_USER_MEAN) * 10 + t.basic(SS_RAW_SUM2, SS_METHOD_USER_MEAN), SS_STATUS_NULL_RESULT * 10),
    ROW("estimates of another stage", return t.basic(0x1000) * 10 + t.basic(SS_MIN), SS_STATUS_NOT_PROVIDED * 10),
    ROW("bits of no stage", return t.basic(SS_MEAN | 0x100000000ull), SS_STATUS_NOT_PROVIDED),
    ROW("masks of other groups do nothing", return t.basic(0) + t.basic(SS_STAGE_QUANTILES) + t.minmax(SS_MEAN) + !t.untouched(), 0),
    ROW("valid", return t.basic(SS_MEAN) + (t.results[0][0] != 2.5) + (t.results[0][1] != 6.75), 0),
};
// clang-format on
#undef ROW

TEST(EstimatorStatus, EachCall) {
  for (const status_case& c : status_cases) {
    SCOPED_TRACE(c.what);
    small_task t;
    EXPECT_EQ(c.call(t), c.status);
  }
  for (const std::intptr_t method : {0, 3, 4, 255, 257, -1}) {
    small_task t;
    EXPECT_EQ(t.basic(SS_MEAN, method), SS_STATUS_BAD_METHOD) << method;
    EXPECT_EQ(t.minmax(SS_MIN, method), SS_STATUS_BAD_METHOD) << method;
    EXPECT_TRUE(t.untouched());
  }
  for (const char* stage : other_stages) {
    for (const char* letter : {"s", "d"}) {
      small_task t;
      const auto fn =
          reinterpret_cast<ss_stage_fn>(module_symbol(std::string("_ksu") + letter + "SS" + stage));
      EXPECT_EQ(fn(t.task, ~0ull, SS_METHOD_TWO_PASS, threading_table()), SS_STATUS_NOT_PROVIDED)
          << stage;
    }
  }
}

// Each estimate of Basic needs its array when it is wanted, and only then.
TEST(EstimatorStatus, WantedEstimateWithoutArrayFails) {
  for (int k = 0; k < 14; ++k) {
    small_task t;
    double* p[14];
    for (int j = 0; j < 14; ++j) {
      p[j] = j == k ? nullptr : t.results[j];
    }
    ASSERT_EQ(t.e.edit_moments(t.task, p[0], p[1], p[2], p[3], p[4], p[5], p[6]), 0);
    ASSERT_EQ(t.e.edit_sums(t.task, p[7], p[8], p[9], p[10], p[11], p[12], p[13]), 0);
    const std::uint64_t bit = basic_bits[k < 7 ? k : k + 3];  // past kurtosis to variation
    EXPECT_EQ(t.basic(bit), SS_STATUS_NULL_RESULT) << k;
    EXPECT_EQ(t.basic(all_basic_bits & ~bit), 0) << k;
  }
}

// A record laid out by its caller, not by NewTask, is read at the same positions.
TEST(EstimatorTask, RecordMadeByTheCaller) {
  const typed_entries<float> e;
  const std::int32_t dims = 1, obs = 5, storage = 0x10000;
  const float x[5] = {3, -1, 4, 1, -5};
  float min = 0, max = 0, mean = 0;
  ss_task task{};
  task.dims = &dims;
  task.obs_count = &obs;
  task.storage = &storage;
  task.observations = x;
  task.min = &min;
  task.max = &max;
  task.mean = &mean;
  EXPECT_EQ(e.minmax(&task, SS_MIN | SS_MAX, SS_METHOD_TWO_PASS, threading_table()), 0);
  EXPECT_EQ(e.basic(&task, SS_MEAN, SS_METHOD_TWO_PASS, threading_table()), 0);
  EXPECT_EQ(min, -5.0f);
  EXPECT_EQ(max, 4.0f);
  EXPECT_EQ(mean, 0.4f);
}

}  // namespace
}  // namespace tessel::test
