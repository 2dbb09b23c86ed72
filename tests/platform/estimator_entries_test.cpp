// The estimator module's task entries and the statuses of its stages.
#include "estimator_module.hpp"

#include <gtest/gtest.h>

#include <cstring>
#include <vector>

namespace tessel::test {
namespace {

const estimator_module& module() {
  static const estimator_module m;
  return m;
}

const void* word_at(const ss_task* task, std::size_t offset) {
  const void* value;
  std::memcpy(&value, reinterpret_cast<const char*>(task) + offset, sizeof value);
  return value;
}

TEST(EstimatorModule, ExportsEveryEntryName) {
  const char* names[] = {"__ksusSSNewTask",     "__ksudSSNewTask",  "__ksuSSDeleteTask",
                         "__ksusSSEditTask",    "__ksudSSEditTask", "__ksusSSEditMoments",
                         "__ksudSSEditMoments", "__ksusSSEditSums", "__ksudSSEditSums"};
  for (const char* name : names)
    EXPECT_NE(module().symbol(name), nullptr) << name;
  const char* stages[] = {"MissingValues",
                          "Minmax",
                          "Sort",
                          "Basic",
                          "MAD",
                          "PooledCovariance",
                          "OutliersDetection",
                          "RobustCovariance",
                          "PartialCovariance",
                          "Quantiles",
                          "StreamQuantiles",
                          "CorParametrization"};
  for (const char* stage : stages) {
    for (const char* letter : {"s", "d"}) {
      const std::string name = std::string("_ksu") + letter + "SS" + stage;
      EXPECT_NE(module().symbol(name), nullptr) << name;
    }
  }
  EXPECT_EQ(module().symbol("__ksusSSCompute"), nullptr);
}

TEST(EstimatorModule, TestVariantLacksOnlyDoubleMinmax) {
  const estimator_module variant(TESSEL_ESTIMATOR_NO_DMINMAX_PATH);
  EXPECT_EQ(variant.symbol("_ksudSSMinmax"), nullptr);
  EXPECT_NE(variant.symbol("_ksusSSMinmax"), nullptr);
  EXPECT_NE(variant.symbol("_ksudSSBasic"), nullptr);
}

// The record keeps the positions that readers outside the module rely on.
TEST(EstimatorTask, NewTaskAndEditsFillTheFixedPositions) {
  const typed_entries<double> e(module());
  const std::int64_t dims = 2, obs = 3, storage = SS_STORAGE_COL_MAJOR;
  double x[6] = {}, w[3] = {};
  std::int64_t idx[2] = {1, 1};
  ss_task* task = nullptr;
  ASSERT_EQ(e.new_task(&task, &dims, &obs, &storage, x, w, idx, 1), 0);
  ASSERT_NE(task, nullptr);
  std::int32_t int_width;
  std::memcpy(&int_width, task, sizeof int_width);
  EXPECT_EQ(int_width, 1);
  EXPECT_EQ(word_at(task, 16), &dims);
  EXPECT_EQ(word_at(task, 24), &obs);
  EXPECT_EQ(word_at(task, 32), idx);
  EXPECT_EQ(word_at(task, 40), x);
  EXPECT_EQ(word_at(task, 48), w);
  EXPECT_EQ(word_at(task, 64), &storage);

  double a[7][2];
  ASSERT_EQ(e.edit_moments(task, a[0], a[1], a[2], a[3], a[4], a[5], a[6]), 0);
  for (int k = 0; k < 7; ++k)
    EXPECT_EQ(word_at(task, 88 + 8 * k), a[k]) << k;
  ASSERT_EQ(e.edit_sums(task, a[6], a[5], a[4], a[3], a[2], a[1], a[0]), 0);
  for (int k = 0; k < 7; ++k)
    EXPECT_EQ(word_at(task, 144 + 8 * k), a[6 - k]) << k;
  const std::pair<std::int64_t, std::size_t> fields[] = {
      {SS_FIELD_MEAN, 88}, {SS_FIELD_KURTOSIS, 200}, {SS_FIELD_SKEWNESS, 208},
      {SS_FIELD_MIN, 224}, {SS_FIELD_MAX, 232},      {SS_FIELD_VARIATION, 216}};
  for (const auto& [field, offset] : fields) {
    double target[2];
    ASSERT_EQ(e.edit_task(task, field, target), 0);
    EXPECT_EQ(word_at(task, offset), target) << field;
  }
  for (std::int64_t bad : {0, 1, 8, 13, 19, -7}) {
    EXPECT_LT(e.edit_task(task, bad, a[0]), 0) << bad;
  }
  ASSERT_EQ(e.delete_task(&task), 0);
  EXPECT_EQ(task, nullptr);
}

TEST(EstimatorTask, NullPlacesAndTasks) {
  const typed_entries<float> e(module());
  const std::int64_t one = 1;
  float x = 0;
  EXPECT_EQ(e.new_task(nullptr, &one, &one, &one, &x, nullptr, nullptr, 1), SS_STATUS_NULL_TASK);
  EXPECT_EQ(e.delete_task(nullptr), SS_STATUS_NULL_TASK);
  ss_task* none = nullptr;
  EXPECT_EQ(e.delete_task(&none), 0);
  EXPECT_EQ(e.edit_task(nullptr, SS_FIELD_MEAN, &x), SS_STATUS_NULL_TASK);
  EXPECT_LT(e.edit_moments(nullptr, &x, &x, &x, &x, &x, &x, &x), 0);
  EXPECT_LT(e.edit_sums(nullptr, &x, &x, &x, &x, &x, &x, &x), 0);
  EXPECT_EQ(e.basic(nullptr, SS_MEAN, 1, threading_table()), SS_STATUS_NULL_TASK);
  EXPECT_EQ(e.minmax(nullptr, SS_MIN, 1, threading_table()), SS_STATUS_NULL_TASK);
}

// A small valid task, for status checks: 2 dimensions, 4 observations, every result array set.
struct small_task {
  const typed_entries<double> e{module()};
  std::int64_t dims = 2, obs = 4, storage = SS_STORAGE_ROW_MAJOR;
  double x[8] = {1, 2, 3, 4, 5, 6, 7, 9};
  double results[19][2] = {};
  ss_task* task = nullptr;

  small_task() {
    EXPECT_EQ(e.new_task(&task, &dims, &obs, &storage, x, nullptr, nullptr, 1), 0);
    auto r = [&](int k) { return results[k]; };
    EXPECT_EQ(e.edit_moments(task, r(0), r(1), r(2), r(3), r(4), r(5), r(6)), 0);
    EXPECT_EQ(e.edit_sums(task, r(7), r(8), r(9), r(10), r(11), r(12), r(13)), 0);
    const std::int64_t fields[] = {SS_FIELD_KURTOSIS, SS_FIELD_SKEWNESS, SS_FIELD_VARIATION,
                                   SS_FIELD_MIN, SS_FIELD_MAX};
    for (int k = 0; k < 5; ++k)
      EXPECT_EQ(e.edit_task(task, fields[k], r(14 + k)), 0);
  }
  ~small_task() { EXPECT_EQ(e.delete_task(&task), 0); }
  std::int32_t basic(std::uint64_t mask, std::intptr_t method = SS_METHOD_TWO_PASS) {
    return e.basic(task, mask, method, threading_table());
  }
};

TEST(EstimatorStatus, WantedEstimateWithoutArrayFails) {
  const std::uint64_t bits[] = {SS_MEAN,
                                SS_RAW_MOMENT2,
                                SS_RAW_MOMENT3,
                                SS_RAW_MOMENT4,
                                SS_CENTRAL_MOMENT2,
                                SS_CENTRAL_MOMENT3,
                                SS_CENTRAL_MOMENT4,
                                SS_SUM,
                                SS_RAW_SUM2,
                                SS_RAW_SUM3,
                                SS_RAW_SUM4,
                                SS_CENTRAL_SUM2,
                                SS_CENTRAL_SUM3,
                                SS_CENTRAL_SUM4};
  for (int k = 0; k < 14; ++k) {
    small_task t;
    double* p[14];
    for (int j = 0; j < 14; ++j)
      p[j] = j == k ? nullptr : t.results[j];
    ASSERT_EQ(t.e.edit_moments(t.task, p[0], p[1], p[2], p[3], p[4], p[5], p[6]), 0);
    ASSERT_EQ(t.e.edit_sums(t.task, p[7], p[8], p[9], p[10], p[11], p[12], p[13]), 0);
    EXPECT_EQ(t.basic(bits[k]), SS_STATUS_NULL_RESULT) << k;
    EXPECT_EQ(t.basic(all_basic_bits & ~bits[k]), 0) << k;
  }
  small_task t;
  ASSERT_EQ(t.e.edit_task(t.task, SS_FIELD_KURTOSIS, nullptr), 0);
  EXPECT_EQ(t.basic(SS_KURTOSIS), SS_STATUS_NULL_RESULT);
  ASSERT_EQ(t.e.edit_task(t.task, SS_FIELD_MIN, nullptr), 0);
  EXPECT_EQ(t.e.minmax(t.task, SS_MIN, 1, threading_table()), SS_STATUS_NULL_RESULT);
  EXPECT_EQ(t.e.minmax(t.task, SS_MAX, 1, threading_table()), 0);
  // A user mean is needed for central estimates about it.
  ASSERT_EQ(t.e.edit_task(t.task, SS_FIELD_MEAN, nullptr), 0);
  EXPECT_EQ(t.basic(SS_CENTRAL_SUM2, SS_METHOD_USER_MEAN), SS_STATUS_NULL_RESULT);
  EXPECT_EQ(t.basic(SS_RAW_SUM2, SS_METHOD_USER_MEAN), 0);
}

TEST(EstimatorStatus, UnknownMethodFails) {
  small_task t;
  for (std::intptr_t method : {0, 3, 4, 255, 257, -1}) {
    EXPECT_EQ(t.basic(SS_MEAN, method), SS_STATUS_BAD_METHOD) << method;
    EXPECT_EQ(t.e.minmax(t.task, SS_MIN, method, threading_table()), SS_STATUS_BAD_METHOD);
  }
  EXPECT_EQ(t.results[0][0], 0.0) << "nothing written";
}

TEST(EstimatorStatus, EstimatesOfOtherStagesAreNotProvided) {
  small_task t;
  EXPECT_EQ(t.basic(0x1000), SS_STATUS_NOT_PROVIDED);
  EXPECT_EQ(t.basic(SS_MEAN | 0x100000000ull), SS_STATUS_NOT_PROVIDED);
  EXPECT_EQ(t.basic(SS_MIN), 0) << "bits of another group are left to their stage";
  const char* stages[] = {"MissingValues",
                          "Sort",
                          "MAD",
                          "PooledCovariance",
                          "OutliersDetection",
                          "RobustCovariance",
                          "PartialCovariance",
                          "Quantiles",
                          "StreamQuantiles",
                          "CorParametrization"};
  for (const char* stage : stages) {
    for (const char* letter : {"s", "d"}) {
      const auto fn = module().entry<ss_stage_fn>(std::string("_ksu") + letter + "SS" + stage);
      EXPECT_EQ(fn(t.task, ~0ull, SS_METHOD_TWO_PASS, threading_table()), SS_STATUS_NOT_PROVIDED)
          << stage;
    }
  }
}

TEST(EstimatorStatus, TaskChecks) {
  small_task t;
  t.dims = 0;
  EXPECT_EQ(t.basic(SS_MEAN), SS_STATUS_BAD_DIMENSIONS);
  t.dims = 2;
  t.obs = -1;
  EXPECT_EQ(t.basic(SS_MEAN), SS_STATUS_BAD_OBSERVATION_COUNT);
  t.obs = 4;
  t.storage = 0x30000;
  EXPECT_EQ(t.basic(SS_MEAN), SS_STATUS_BAD_STORAGE);
  EXPECT_EQ(t.e.minmax(t.task, SS_MIN, 1, threading_table()), SS_STATUS_BAD_STORAGE);
  t.storage = SS_STORAGE_ROW_MAJOR;
  EXPECT_EQ(t.basic(SS_MEAN), 0);
  EXPECT_EQ(t.results[0][0], 2.5);
  EXPECT_EQ(t.results[0][1], 6.75);

  // The same words read as int32_t: 0xFFFFFFFF is -1.
  const typed_entries<double> e(module());
  const std::uint32_t all_ones = 0xFFFFFFFFu, four = 4, row = 0x10000;
  ss_task* narrow = nullptr;
  ASSERT_EQ(e.new_task(&narrow, &all_ones, &four, &row, t.x, nullptr, nullptr, 0), 0);
  EXPECT_EQ(e.basic(narrow, SS_MEAN, 1, threading_table()), SS_STATUS_BAD_DIMENSIONS);
  ASSERT_EQ(e.delete_task(&narrow), 0);
  // A 64-bit storage word with its upper half set is no layout.
  const std::int64_t two = 2, four_wide = 4, wide_storage = 0x100010000;
  ASSERT_EQ(e.new_task(&narrow, &two, &four_wide, &wide_storage, t.x, nullptr, nullptr, 1), 0);
  EXPECT_EQ(e.basic(narrow, SS_MEAN, 1, threading_table()), SS_STATUS_BAD_STORAGE);
  ASSERT_EQ(e.delete_task(&narrow), 0);
  ASSERT_EQ(e.new_task(&narrow, &two, &four_wide, &wide_storage, nullptr, nullptr, nullptr, 1), 0);
  EXPECT_EQ(e.basic(narrow, SS_MEAN, 1, threading_table()), SS_STATUS_NULL_OBSERVATIONS);
  ASSERT_EQ(e.delete_task(&narrow), 0);
  ASSERT_EQ(e.new_task(&narrow, &two, &four_wide, nullptr, t.x, nullptr, nullptr, 1), 0);
  EXPECT_EQ(e.basic(narrow, SS_MEAN, 1, threading_table()), SS_STATUS_NULL_STORAGE);
  ASSERT_EQ(e.delete_task(&narrow), 0);
  ASSERT_EQ(e.new_task(&narrow, nullptr, nullptr, nullptr, t.x, nullptr, nullptr, 1), 0);
  EXPECT_EQ(e.basic(narrow, SS_MEAN, 1, threading_table()), SS_STATUS_BAD_DIMENSIONS);
  ASSERT_EQ(e.delete_task(&narrow), 0);
}

TEST(EstimatorStatus, TaskOfTheOtherTypeIsRefused) {
  small_task t;  // a double task
  const typed_entries<float> f(module());
  float y[2];
  EXPECT_EQ(f.basic(t.task, SS_MEAN, 1, threading_table()), SS_STATUS_WRONG_TYPE);
  EXPECT_EQ(f.minmax(t.task, SS_MIN, 1, threading_table()), SS_STATUS_WRONG_TYPE);
  EXPECT_EQ(f.edit_task(t.task, SS_FIELD_MEAN, y), SS_STATUS_WRONG_TYPE);
}

// A record laid out by its caller, not by NewTask, is read at the same positions.
TEST(EstimatorTask, RecordMadeByTheCaller) {
  const typed_entries<float> e(module());
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

TEST(EstimatorStatus, MaskOfAnotherGroupDoesNothing) {
  small_task t;
  EXPECT_EQ(t.basic(0), 0);
  EXPECT_EQ(t.basic(SS_STAGE_QUANTILES), 0);
  EXPECT_EQ(t.e.minmax(t.task, SS_MEAN, 1, threading_table()), 0);
  for (const auto& r : t.results) {
    EXPECT_EQ(r[0], 0.0);
    EXPECT_EQ(r[1], 0.0);
  }
}

}  // namespace
}  // namespace tessel::test
