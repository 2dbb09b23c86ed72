// Every refusal of the entries: the argument checks and their texts, which come before the device
// is asked, the methods a device refuses; and the frame of a call against other commands: what it
// waits for, its order, and where a failure goes.
#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <future>
#include <memory>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

#include "cpu/host_command.hpp"
#include "statistic_call.hpp"
#include "test_setup.hpp"

#if TESSEL_SANITIZE_ADDRESS
// A failing estimator call leaves its task undeleted, as the CPU frame has no clean-up on that
// path; the handler test below provokes it on purpose. That a task is deleted on every other path
// is the binding tests' to show.
extern "C" __attribute__((visibility("default"))) const char* __lsan_default_suppressions();
extern "C" __attribute__((visibility("default"))) const char* __lsan_default_suppressions() {
  return "leak:tessel::estimator::new_task\n";
}
#endif

namespace tessel::test {
namespace {

constexpr entry_form both_forms[] = {entry_form::usm, entry_form::buffer};

template <typename Exception, typename Call>
::testing::AssertionResult throws_with(Call&& call, const std::string& text) {
  try {
    call();
  } catch (const Exception& e) {
    if (text == e.what()) {
      return ::testing::AssertionSuccess();
    }
    return ::testing::AssertionFailure() << "what() is \"" << e.what() << "\"";
  } catch (const std::exception& e) {
    return ::testing::AssertionFailure() << "another exception: \"" << e.what() << "\"";
  }
  return ::testing::AssertionFailure() << "nothing thrown";
}

enum class mean_form { none, given, without_mean };

// One refusal of the argument checks: the call, and what is missing ("all sums" and "all moments"
// are plural, and name every output of their statistic).
struct refusal {
  statistic s;
  output_mask given;
  mean_form mean;
  std::string missing;

  std::string text(entry_form form) const {
    const bool plural = missing.rfind("all ", 0) == 0;
    if (form == entry_form::usm) {
      return missing + (plural ? " are nullptr" : " is nullptr");
    }
    return missing + (plural ? " arrays length is 0" : " array length is 0");
  }
};

constexpr output_mask no_output = {false, false, false, false};
constexpr output_mask first = {true, false, false, false};
constexpr output_mask second = {false, true, false, false};

// Outputs are checked before the caller's mean, each output of min_max in order.
const refusal refusals[] = {
    {statistic::raw_sum, no_output, mean_form::none, "all sums"},
    {statistic::raw_moment, no_output, mean_form::none, "all moments"},
    {statistic::mean, no_output, mean_form::none, "mean"},
    {statistic::min, no_output, mean_form::none, "min"},
    {statistic::max, no_output, mean_form::none, "max"},
    {statistic::min_max, no_output, mean_form::none, "min"},
    {statistic::min_max, second, mean_form::none, "min"},
    {statistic::min_max, first, mean_form::none, "max"},
    {statistic::central_sum, no_output, mean_form::none, "all sums"},
    {statistic::central_sum, no_output, mean_form::given, "all sums"},
    {statistic::central_sum, no_output, mean_form::without_mean, "all sums"},
    {statistic::central_sum, first, mean_form::without_mean, "mean"},
    {statistic::central_moment, no_output, mean_form::none, "all moments"},
    {statistic::central_moment, no_output, mean_form::given, "all moments"},
    {statistic::central_moment, no_output, mean_form::without_mean, "all moments"},
    {statistic::central_moment, second, mean_form::without_mean, "mean"},
    {statistic::variation, no_output, mean_form::none, "variation"},
    {statistic::variation, no_output, mean_form::given, "variation"},
    {statistic::variation, first, mean_form::without_mean, "mean"},
    {statistic::skewness, no_output, mean_form::none, "skewness"},
    {statistic::skewness, no_output, mean_form::without_mean, "skewness"},
    {statistic::skewness, first, mean_form::without_mean, "mean"},
    {statistic::kurtosis, no_output, mean_form::none, "kurtosis"},
    {statistic::kurtosis, no_output, mean_form::given, "kurtosis"},
    {statistic::kurtosis, first, mean_form::without_mean, "mean"},
};

problem<float> small_problem(mean_form mean) {
  problem<float> p = problem_of<float>(st::layout::row_major, {{1, 2, 3, 4}, {5, 6, 7, 9}});
  if (mean == mean_form::given) {
    p.user_mean = {2, 6};
  }
  p.mean_form_without_mean = mean == mean_form::without_mean;
  return p;
}

template <st::method M>
auto call_on(sycl::queue& q, statistic s, entry_form form, const problem<float>& p,
             output_mask given) {
  return [&q, s, form, &p, given] {
    run_statistic<M, float, st::layout::row_major>(q, s, form, p, given);
  };
}

std::string prefix(statistic s) {
  return "vorlex::orv::stats::" + name_of(s) + ": ";
}

// The checks come before the device is asked, so both methods give the same refusal on every
// device.
TEST(Checks, RefusalsAndTheirTexts) {
  for (const refusal& r : refusals) {
    for (const entry_form form : both_forms) {
      SCOPED_TRACE(name_of(r.s) + " " + name_of(form) + " mean form " +
                   std::to_string(static_cast<int>(r.mean)));
      const problem<float> p = small_problem(r.mean);
      const std::string text = prefix(r.s) + "invalid argument: " + r.text(form);
      EXPECT_TRUE(throws_with<vorlex::orv::invalid_argument>(
          call_on<st::method::fast>(test_queue(), r.s, form, p, r.given), text));
      if (has_method2(r.s) && r.mean == mean_form::none) {
        EXPECT_TRUE(throws_with<vorlex::orv::invalid_argument>(
            call_on<st::method::estimator>(test_queue(), r.s, form, p, r.given), text));
      }
    }
  }
}

// Method 2 of the central families is the estimator's alone: a CPU queue hands it to the estimator
// module, a GPU queue refuses it after the checks.
TEST(Devices, CentralMethodTwoRunsOnlyOnACpu) {
  for (const statistic s : {statistic::central_sum, statistic::central_moment}) {
    for (const entry_form form : both_forms) {
      SCOPED_TRACE(name_of(s) + " " + name_of(form));
      const problem<float> p = small_problem(mean_form::none);
      auto method2 = call_on<st::method::estimator>(test_queue(), s, form, p, all_outputs);
      if (testing_gpu()) {
        EXPECT_TRUE(throws_with<vorlex::orv::unimplemented>(
            method2, prefix(s) + "unimplemented functionality: for this method"));
      } else {
        EXPECT_NO_THROW(method2());
      }
    }
  }
}

// A command that holds back what depends on it until released (ten seconds at most).
struct held_command {
  explicit held_command(sycl::queue& q)
      : event(q.submit([flag = released](sycl::handler& cgh) {
          vorlex::orv::stats::detail::cpu::host_command(cgh, [flag] {
            const auto until = std::chrono::steady_clock::now() + std::chrono::seconds(10);
            while (!*flag && std::chrono::steady_clock::now() < until) {
              std::this_thread::sleep_for(std::chrono::milliseconds(1));
            }
          });
        })) {}
  held_command(const held_command&) = delete;
  held_command& operator=(const held_command&) = delete;
  ~held_command() { release(); }
  void release() {
    *released = true;
    event.wait();
  }

  std::shared_ptr<std::atomic<bool>> released = std::make_shared<std::atomic<bool>>(false);
  sycl::event event;
};

bool ends_with(const std::string& text, const std::string& end) {
  return text.size() >= end.size() && text.compare(text.size() - end.size(), end.size(), end) == 0;
}

// A GPU queue refuses method 2 of the central families before it would wait for the event list.
TEST(Devices, GpuRefusalDoesNotWaitForTheEventList) {
  if (!testing_gpu() || !commands_run_asynchronously()) {
    GTEST_SKIP() << "needs a GPU queue and commands that can be held back";
  }
  held_command held(test_queue());
  std::vector<float> values = {1, 2, 3}, out(1, -1.0F);
  const st::dataset<st::layout::row_major, float*> data(1, 3, values.data());
  EXPECT_THROW((st::central_moment<st::method::estimator, float, st::layout::row_major>(
                   test_queue(), data, out.data(), nullptr, nullptr, {held.event})),
               vorlex::orv::unimplemented);
  EXPECT_NE(held.event.get_info<sycl::info::event::command_execution_status>(),
            sycl::info::event_command_status::complete);
}

// On the GPU road a failed dependency is thrown by the call, through the queue's asynchronous
// handler, before anything is computed.
TEST(Dependencies, FailedDependencyIsThrownByTheGpuCall) {
  if (!testing_gpu() || !commands_run_asynchronously()) {
    GTEST_SKIP() << "needs a GPU queue and commands that fail after submit returns";
  }
  sycl::queue q{test_queue().get_device(), [](const sycl::exception_list& errors) {
                  for (const std::exception_ptr& error : errors) {
                    std::rethrow_exception(error);
                  }
                }};
  float* values = sycl::malloc_shared<float>(4, q);
  float* out = sycl::malloc_shared<float>(1, q);
  std::fill(values, values + 4, 0.0F);
  values[0] = 1;
  values[3] = 9;
  *out = -1.0F;
  const st::dataset<st::layout::row_major, float*> data(1, 4, values);
  sycl::event failed = q.submit([](sycl::handler& cgh) {
    vorlex::orv::stats::detail::cpu::host_command(
        cgh, [] { throw std::runtime_error("dependency failed"); });
  });
  std::string thrown;
  try {
    st::mean<st::method::fast, float, st::layout::row_major>(q, data, out, {failed});
  } catch (const std::exception& e) {
    thrown = e.what();
  }
  EXPECT_TRUE(ends_with(thrown, "dependency failed")) << thrown;
  EXPECT_EQ(*out, -1.0F);
  const sycl::event done = st::mean<st::method::fast, float, st::layout::row_major>(q, data, out);
  EXPECT_EQ(done.get_info<sycl::info::event::command_execution_status>(),
            sycl::info::event_command_status::complete);
  EXPECT_EQ(*out, 2.5F);
  sycl::free(out, q);
  sycl::free(values, q);
}

// Without an asynchronous handler the runtime's default one reports the dependency's error and ends
// the process, from inside the call.
void mean_after_failed_dependency_without_handler() {
  sycl::queue q{test_queue().get_device()};
  std::vector<float> values = {1, 2, 3, 4};
  std::vector<float> out(1, -1.0F);
  const st::dataset<st::layout::row_major, float*> data(1, 4, values.data());
  sycl::event failed = q.submit([](sycl::handler& cgh) {
    vorlex::orv::stats::detail::cpu::host_command(
        cgh, [] { throw std::runtime_error("dependency failed"); });
  });
  st::mean<st::method::fast, float, st::layout::row_major>(q, data, out.data(), {failed});
}

TEST(DependenciesDeathTest, FailedDependencyWithoutHandlerEndsTheProcess) {
  if (!testing_gpu() || !commands_run_asynchronously()) {
    GTEST_SKIP() << "needs a GPU queue and commands that fail after submit returns";
  }
  GTEST_FLAG_SET(death_test_style, "threadsafe");
  EXPECT_DEATH(mean_after_failed_dependency_without_handler(), "dependency failed");
}

// On a CPU queue the event list holds back the call's host task, not the call: a call without
// scratch returns at once, one with scratch returns when its task has run.
TEST(HostTaskFrame, DependenciesHoldTheTaskAndOnlyAFrameWithScratchWaits) {
  if (testing_gpu() || !commands_run_asynchronously()) {
    GTEST_SKIP() << "needs a CPU queue and commands that can be held back";
  }
  std::vector<double> values = {1, 2, 3, 4, 10}, mean(1, -1.0), kurtosis(1, -1.0);
  const st::dataset<st::layout::row_major, double*> data(1, 5, values.data());
  held_command held(test_queue());
  sycl::event mean_done = st::mean<st::method::fast, double, st::layout::row_major>(
      test_queue(), data, mean.data(), {held.event});
  std::future<void> kurtosis_call = std::async(std::launch::async, [&] {
    st::kurtosis<st::method::fast, double, st::layout::row_major>(test_queue(), data,
                                                                  kurtosis.data(), {held.event});
  });
  EXPECT_EQ(kurtosis_call.wait_for(std::chrono::milliseconds(200)), std::future_status::timeout);
  EXPECT_EQ(mean[0], -1.0);
  held.release();
  kurtosis_call.get();
  EXPECT_NE(kurtosis[0], -1.0);
  mean_done.wait();
  EXPECT_EQ(mean[0], 4.0);
}

// A failure of the estimator does not leave the call: it goes to the queue's asynchronous handler.
// A missing first output, which the GPU engine replaces by scratch, is one: the estimator refuses
// to be given no place for it. A buffer of no elements stays absent after a call has seen it.
TEST(HostTaskFrame, EstimatorFailureReachesTheAsynchronousHandler) {
  std::vector<std::string> texts;
  sycl::queue q{test_queue().get_device(), [&texts](const sycl::exception_list& errors) {
                  for (const std::exception_ptr& error : errors) {
                    try {
                      std::rethrow_exception(error);
                    } catch (const std::exception& e) {
                      texts.emplace_back(e.what());
                    }
                  }
                }};
  std::vector<double> values = {1, 2, 3, 4}, sum2(1, -1.0);
  {
    sycl::buffer<double, 1> none{sycl::range<1>(0)};
    const st::dataset<st::layout::row_major, sycl::buffer<double, 1>> data(
        1, 4, sycl::buffer<double, 1>(values.data(), sycl::range<1>(4)));
    for (int call = 0; call < 2; ++call) {
      st::raw_sum<st::method::fast, double, st::layout::row_major>(
          q, data, none, sycl::buffer<double, 1>(sum2.data(), sycl::range<1>(1)), none, none);
    }
    q.wait_and_throw();
  }
  EXPECT_EQ(sum2[0], testing_gpu() ? 30.0 : -1.0);
  ASSERT_EQ(texts.size(), testing_gpu() ? 0U : 2U);
  for (const std::string& text : texts) {
    // A runtime without host tasks carries the text of the failure, with its own prefix.
    EXPECT_TRUE(ends_with(text, "vorlex::orv::stats: computation error")) << text;
  }
}

// A call on buffers comes after the commands submitted before it on those buffers and before those
// submitted after it, on every road.
TEST(HostTaskFrame, OrderedByItsBuffersAgainstOtherCommands) {
  std::vector<double> values(6, 0.0);
  std::vector<double> mean(2, -1.0);
  {
    sycl::buffer<double, 1> x(values.data(), sycl::range<1>(values.size()));
    sycl::buffer<double, 1> result(mean.data(), sycl::range<1>(mean.size()));
    test_queue().submit([&](sycl::handler& cgh) {
      sycl::accessor written(x, cgh, sycl::write_only);
      vorlex::orv::stats::detail::cpu::host_command(cgh, [written] {
        std::this_thread::sleep_for(std::chrono::milliseconds(50));
        for (std::size_t i = 0; i < 6; ++i) {
          written[i] = static_cast<double>(i + 1);
        }
      });
    });
    const st::dataset<st::layout::row_major, sycl::buffer<double, 1>> data(2, 3, x);
    st::mean<st::method::fast, double, st::layout::row_major>(test_queue(), data, result);
    test_queue().submit([&](sycl::handler& cgh) {
      sycl::accessor read_and_doubled(result, cgh, sycl::read_write);
      vorlex::orv::stats::detail::cpu::host_command(cgh, [read_and_doubled] {
        read_and_doubled[0] *= 2;
        read_and_doubled[1] *= 2;
      });
    });
  }
  EXPECT_EQ(mean, (std::vector<double>{4.0, 10.0}));
}

}  // namespace
}  // namespace tessel::test
