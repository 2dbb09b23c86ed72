// The process-ending paths of the binding, each in a process of its own: a module that cannot be
// loaded (message 771), whichever entry comes first, and the module's test build without
// _ksudSSMinmax, which serves every other statistic until a double extreme needs that entry
// (message 772). Both end the process with exit code 2, from the thread that runs the host task.
#include <gtest/gtest.h>

#include <cmath>
#include <cstdio>
#include <vector>
#include <vorlex/orv/stats.hpp>

#include "cpu/estimator_binding.hpp"

namespace tessel::test {
namespace {

namespace st = vorlex::orv::stats;
using ::testing::ExitedWithCode;
constexpr auto fast = st::method::fast;
constexpr auto row = st::layout::row_major;

class BindingExit : public ::testing::Test {
 protected:
  void SetUp() override { GTEST_FLAG_SET(death_test_style, "threadsafe"); }
};

TEST_F(BindingExit, MissingModuleEndsTheProcessWhicheverEntryComesFirst) {
  void (*const first_calls[])() = {
      // NewTask, through the library and its own binding
      [] {
        sycl::queue queue{sycl::cpu_selector_v};
        double x[6] = {1, 1, 1, 1, 1, 1}, kurtosis[2];
        st::kurtosis<fast, double, st::layout::col_major>(
            queue, st::dataset<st::layout::col_major, double*>(2, 3, x), kurtosis)
            .wait();
      },
      // DeleteTask, by the engine built into this test
      [] {
        ss_task* task = nullptr;
        st::detail::cpu::__ksuSSDeleteTask(&task);
      }};
  for (void (*first_call)() : first_calls) {
    EXPECT_EXIT(
        {
          setenv("TESSEL_ESTIMATOR_MODULE", "/nonexistent/libtessel_estimator.so", 1);
          first_call();
          std::exit(0);
        },
        ExitedWithCode(2),
        "tessel: fatal error 771: the estimator module could not be loaded from "
        "'/nonexistent/libtessel_estimator.so'");
  }
}

// Every statistic but a double extreme, through the library; then the double extreme of the given
// kind: 0 min, 1 max, 2 min_max.
void compute_until_double_extreme(int extreme) {
  sycl::queue queue{sycl::cpu_selector_v};
  std::vector<float> xf = {1, 2, 3, 4, 10, -1, -2, -3, -4, -10};
  std::vector<double> xd(xf.begin(), xf.end());
  const st::dataset<row, float*> f(2, 5, xf.data());
  const st::dataset<row, double*> d(2, 5, xd.data());
  float low[2], high[2];
  double a[2], b[2], c[2], mean[2] = {4, -4};
  st::min_max<fast, float, row>(queue, f, low, high).wait();
  bool ok = low[1] == -10 && high[1] == -1;
  st::min<fast, float, row>(queue, f, low).wait();
  st::max<fast, float, row>(queue, f, high).wait();
  st::raw_sum<fast, double, row>(queue, d, a, b, c, nullptr).wait();
  ok = ok && a[0] == 20 && b[1] == 130;
  st::central_sum<st::method::estimator, double, row>(queue, d, a, b, c).wait();
  ok = ok && a[0] == 50;
  st::central_moment<fast, double, row>(queue, mean, d, a, b, c).wait();
  st::kurtosis<fast, double, row>(queue, d, b).wait();
  if (!ok || std::fabs(a[0] - 12.5) > 1e-12 || !std::isfinite(b[0])) {
    std::fprintf(stderr, "a statistic went wrong\n");
    std::exit(3);
  }
  std::fprintf(stderr, "every other statistic served\n");
  if (extreme == 0) {
    st::min<fast, double, row>(queue, d, a).wait();
  } else if (extreme == 1) {
    st::max<fast, double, row>(queue, d, a).wait();
  } else {
    st::min_max<fast, double, row>(queue, d, a, b).wait();
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
        "every other statistic served\ntessel: fatal error 772: the estimator module '.*' has no "
        "entry named '_ksudSSMinmax'");
  }
}

}  // namespace
}  // namespace tessel::test
