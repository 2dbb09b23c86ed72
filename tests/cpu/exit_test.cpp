// The process-ending paths of the binding, each in a process of its own: a module that cannot be
// loaded (message 771), and the module's test build that lacks _ksudSSMinmax, which serves every
// float statistic and the double ones until a double min/max needs that entry (message 772).
// Both end the process with exit code 2, from the runtime's thread that runs the host task.
#include <gtest/gtest.h>

#include <sycl/sycl.hpp>

#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <vector>
#include <vorlex/orv/stats.hpp>

#include "cpu/compute_dispatcher.hpp"
#include "cpu/estimator_binding.hpp"
#include "cpu/frames_central.hpp"
#include "cpu/frames_raw.hpp"

namespace {

namespace st = vorlex::orv::stats;
namespace cpu = st::detail::cpu;
using ::testing::ExitedWithCode;
constexpr auto fast = st::method::fast;
constexpr auto row = st::layout::row_major;

class BindingExit : public ::testing::Test {
 protected:
  void SetUp() override { GTEST_FLAG_SET(death_test_style, "threadsafe"); }
};

constexpr const char* missing_module = "/nonexistent/libtessel_estimator.so";
constexpr const char* message_771 =
    "tessel: fatal error 771: the estimator module could not be loaded from "
    "'/nonexistent/libtessel_estimator.so'";

// First calls into entries of every kind: the engine built into this test, and the library.
void first_call_to_new_task() {
  sycl::queue queue{sycl::cpu_selector_v};
  std::vector<float> x(4, 1.0f);
  float mean = 0;
  cpu::mean_frame::usm<fast, float, row>(queue, nullptr, st::dataset<row, float*>(1, 4, x.data()),
                                         {}, &mean)
      .wait();
}

void first_call_through_the_library() {
  sycl::queue queue{sycl::cpu_selector_v};
  std::vector<double> x(6, 1.0);
  std::vector<double> kurtosis(2);
  st::kurtosis<fast, double, st::layout::col_major>(
      queue, st::dataset<st::layout::col_major, double*>(2, 3, x.data()), kurtosis.data())
      .wait();
}

void first_call_to_a_stage() {
  const std::int64_t dims = 1, count = 2, storage = SS_STORAGE_COL_MAJOR;
  const double x[2] = {1, 2};
  ss_task task{};
  task.int_width = 1;
  task.dims = &dims;
  task.obs_count = &count;
  task.observations = x;
  task.storage = &storage;
  cpu::__ksudSSCompute(&task, SS_MAX, 1);
}

void first_call_to_delete_task() {
  ss_task* task = nullptr;
  cpu::__ksuSSDeleteTask(&task);
}

TEST_F(BindingExit, MissingModuleEndsTheProcessWhicheverEntryComesFirst) {
  for (void (*first_call)() : {&first_call_to_new_task, &first_call_through_the_library,
                               &first_call_to_a_stage, &first_call_to_delete_task}) {
    EXPECT_EXIT(
        {
          setenv("TESSEL_ESTIMATOR_MODULE", missing_module, 1);
          first_call();
          std::exit(0);
        },
        ExitedWithCode(2), message_771);
  }
}

// Every statistic of T on a small matrix of known extremes and mean, through the library's
// entries (and so the library's own binding); false if a result is not what it must be.
template <typename T>
bool every_statistic_works(sycl::queue& queue, bool extremes) {
  constexpr std::int64_t dims = 2, count = 5;
  std::vector<T> x = {1, 2, 3, 4, 10, -1, -2, -3, -4, -10};
  const st::dataset<row, T*> data(dims, count, x.data());
  std::vector<T> a(dims), b(dims), c(dims), d(dims), m = {4, -4};
  bool ok = true;
  st::mean<fast, T, row>(queue, data, a.data()).wait();
  ok = ok && a[0] == T(4) && a[1] == T(-4);
  st::raw_sum<fast, T, row>(queue, data, a.data(), b.data(), c.data(), d.data()).wait();
  ok = ok && a[0] == T(20) && b[1] == T(130);
  st::raw_moment<fast, T, row>(queue, data, a.data(), b.data(), c.data(), d.data()).wait();
  ok = ok && b[0] == T(26);
  st::central_sum<fast, T, row>(queue, data, a.data(), b.data(), d.data()).wait();
  ok = ok && a[0] == T(50) && b[1] == T(-180);
  st::central_sum<st::method::estimator, T, row>(queue, data, a.data(), nullptr, nullptr).wait();
  ok = ok && a[1] == T(50);
  st::central_moment<fast, T, row>(queue, m.data(), data, a.data(), b.data(), c.data()).wait();
  ok = ok && std::fabs(a[0] - T(12.5)) < T(1e-4);
  st::variation<fast, T, row>(queue, data, a.data()).wait();
  st::skewness<fast, T, row>(queue, data, b.data()).wait();
  st::kurtosis<fast, T, row>(queue, data, c.data()).wait();
  ok = ok && a[0] > T(0) && b[0] > T(0) && b[1] < T(0) && std::isfinite(c[0]);
  if (extremes) {
    st::min<fast, T, row>(queue, data, a.data()).wait();
    st::max<fast, T, row>(queue, data, b.data()).wait();
    ok = ok && a[0] == T(1) && a[1] == T(-10) && b[0] == T(10) && b[1] == T(-1);
    st::min_max<fast, T, row>(queue, data, c.data(), d.data()).wait();
    ok = ok && c[1] == T(-10) && d[1] == T(-1);
  }
  return ok;
}

// Every float statistic, every double one without extremes, then the double extreme of the
// given kind: 0 min, 1 max, 2 min_max.
void compute_until_double_extreme(int extreme) {
  sycl::queue queue{sycl::cpu_selector_v};
  if (!every_statistic_works<float>(queue, true) || !every_statistic_works<double>(queue, false)) {
    std::fprintf(stderr, "a statistic went wrong\n");
    std::exit(3);
  }
  std::fprintf(stderr, "every float and double statistic served\n");
  std::vector<double> x = {3, 1, 2};
  double low = 0, high = 0;
  const st::dataset<row, double*> data(1, 3, x.data());
  if (extreme == 0) {
    st::min<fast, double, row>(queue, data, &low).wait();
  } else if (extreme == 1) {
    st::max<fast, double, row>(queue, data, &high).wait();
  } else {
    st::min_max<fast, double, row>(queue, data, &low, &high).wait();
  }
}

TEST_F(BindingExit, ModuleWithoutDoubleMinmaxServesUntilADoubleExtremeIsAskedFor) {
  for (const int extreme : {0, 1, 2}) {
    SCOPED_TRACE(extreme);
    EXPECT_EXIT(
        {
          setenv("TESSEL_ESTIMATOR_MODULE", TESSEL_ESTIMATOR_NO_DMINMAX_PATH, 1);
          compute_until_double_extreme(extreme);
          std::exit(0);
        },
        ExitedWithCode(2),
        "every float and double statistic served\ntessel: fatal error 772: the estimator module "
        "'.*' has no entry named '_ksudSSMinmax'");
  }
}

}  // namespace
