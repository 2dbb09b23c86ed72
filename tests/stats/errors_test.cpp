// Every refusal of the entries: the argument checks and their texts, their order before the
// device is asked, the devices and methods refused, and a failed dependency on the GPU road.
#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <stdexcept>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "statistic_call.hpp"
#include "test_setup.hpp"

namespace tessel::test {
namespace {

constexpr entry_form both_forms[] = {entry_form::usm, entry_form::buffer};
constexpr output_mask no_outputs = {false, false, false, false};

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

std::string absent_text(statistic s, entry_form form) {
  const bool usm = form == entry_form::usm;
  switch (s) {
    case statistic::raw_sum:
    case statistic::central_sum:
      return usm ? "all sums are nullptr" : "all sums arrays length is 0";
    case statistic::raw_moment:
    case statistic::central_moment:
      return usm ? "all moments are nullptr" : "all moments arrays length is 0";
    case statistic::min_max:
      return usm ? "min is nullptr" : "min array length is 0";
    default:
      return name_of(s) + (usm ? " is nullptr" : " array length is 0");
  }
}

std::string invalid(statistic s, const std::string& message) {
  return "vorlex::orv::stats::" + name_of(s) + ": invalid argument: " + message;
}

problem<float> small_problem(bool user_mean) {
  problem<float> p = problem_of<float>(st::layout::row_major, {{1, 2, 3, 4}, {5, 6, 7, 9}});
  if (user_mean) {
    p.user_mean = {2, 6};
  }
  return p;
}

template <st::method M = st::method::fast>
auto call_on(sycl::queue& q, statistic s, entry_form form, const problem<float>& p,
             output_mask given = all_outputs) {
  return [&q, s, form, &p, given] {
    run_statistic<M, float, st::layout::row_major>(q, s, form, p, given);
  };
}

sycl::queue& cpu_queue() {
  static sycl::queue queue{sycl::cpu_selector_v};
  return queue;
}

TEST(Checks, NoOutputGiven) {
  for (const statistic s : all_statistics) {
    for (const entry_form form : both_forms) {
      for (const bool user_mean : {false, true}) {
        if (user_mean && !has_user_mean_form(s)) {
          continue;
        }
        const problem<float> p = small_problem(user_mean);
        SCOPED_TRACE(name_of(s) + " " + name_of(form));
        EXPECT_TRUE(throws_with<vorlex::orv::invalid_argument>(
            call_on(gpu_queue(), s, form, p, no_outputs), invalid(s, absent_text(s, form))));
      }
    }
  }
}

TEST(Checks, MinMaxChecksEachOutputInOrder) {
  for (const entry_form form : both_forms) {
    const problem<float> p = small_problem(false);
    const bool usm = form == entry_form::usm;
    EXPECT_TRUE(throws_with<vorlex::orv::invalid_argument>(
        call_on(gpu_queue(), statistic::min_max, form, p, {false, true, false, false}),
        invalid(statistic::min_max, usm ? "min is nullptr" : "min array length is 0")));
    EXPECT_TRUE(throws_with<vorlex::orv::invalid_argument>(
        call_on(gpu_queue(), statistic::min_max, form, p, {true, false, false, false}),
        invalid(statistic::min_max, usm ? "max is nullptr" : "max array length is 0")));
  }
}

// The user mean forms check the mean after the outputs; the text names the statistic.
TEST(Checks, UserMeanAbsent) {
  for (const statistic s : all_statistics) {
    if (!has_user_mean_form(s)) {
      continue;
    }
    for (const auto& [form_value, output_given_value] :
         {std::pair{entry_form::usm, true}, std::pair{entry_form::usm, false},
          std::pair{entry_form::buffer, true}, std::pair{entry_form::buffer, false}}) {
      const entry_form form = form_value;
      const bool output_given = output_given_value;
      SCOPED_TRACE(name_of(s) + " " + name_of(form) + (output_given ? "" : " without output"));
      const bool usm = form == entry_form::usm;
      const problem<float> p = small_problem(true);
      // run_statistic passes a null pointer or an empty buffer for an absent mean only through
      // the public forms directly, so call them here.
      std::vector<float> out(2, -1.0F);
      auto call = [&] {
        if (usm) {
          const st::dataset<st::layout::row_major, float*> data(
              p.n_dims, p.n_obs, const_cast<float*>(p.values.data()));
          float* const mean = nullptr;
          float* const result = output_given ? out.data() : nullptr;
          switch (s) {
            case statistic::central_sum:
              st::central_sum<st::method::fast, float, st::layout::row_major>(
                  gpu_queue(), mean, data, result, nullptr, nullptr);
              break;
            case statistic::central_moment:
              st::central_moment<st::method::fast, float, st::layout::row_major>(
                  gpu_queue(), mean, data, result, nullptr, nullptr);
              break;
            case statistic::variation:
              st::variation<st::method::fast, float, st::layout::row_major>(gpu_queue(), mean, data,
                                                                            result);
              break;
            case statistic::skewness:
              st::skewness<st::method::fast, float, st::layout::row_major>(gpu_queue(), mean, data,
                                                                           result);
              break;
            default:
              st::kurtosis<st::method::fast, float, st::layout::row_major>(gpu_queue(), mean, data,
                                                                           result);
          }
          return;
        }
        std::vector<float> values = p.values;
        const st::dataset<st::layout::row_major, sycl::buffer<float, 1>> data(
            p.n_dims, p.n_obs, sycl::buffer<float, 1>(values.data(), sycl::range<1>(8)));
        sycl::buffer<float, 1> mean{sycl::range<1>(0)};
        sycl::buffer<float, 1> result = output_given
                                            ? sycl::buffer<float, 1>(out.data(), sycl::range<1>(2))
                                            : sycl::buffer<float, 1>(sycl::range<1>(0));
        sycl::buffer<float, 1> none{sycl::range<1>(0)};
        switch (s) {
          case statistic::central_sum:
            st::central_sum<st::method::fast, float, st::layout::row_major>(gpu_queue(), mean, data,
                                                                            result, none, none);
            break;
          case statistic::central_moment:
            st::central_moment<st::method::fast, float, st::layout::row_major>(
                gpu_queue(), mean, data, result, none, none);
            break;
          case statistic::variation:
            st::variation<st::method::fast, float, st::layout::row_major>(gpu_queue(), mean, data,
                                                                          result);
            break;
          case statistic::skewness:
            st::skewness<st::method::fast, float, st::layout::row_major>(gpu_queue(), mean, data,
                                                                         result);
            break;
          default:
            st::kurtosis<st::method::fast, float, st::layout::row_major>(gpu_queue(), mean, data,
                                                                         result);
        }
      };
      const std::string message = !output_given ? absent_text(s, form)
                                  : usm         ? "mean is nullptr"
                                                : "mean array length is 0";
      EXPECT_TRUE(throws_with<vorlex::orv::invalid_argument>(call, invalid(s, message)));
      EXPECT_EQ(out, std::vector<float>(2, -1.0F));
    }
  }
}

// The checks come before the device is asked: a CPU queue reports the missing output too.
TEST(Checks, BeforeTheDevice) {
  for (const statistic s : all_statistics) {
    for (const entry_form form : both_forms) {
      const problem<float> p = small_problem(false);
      EXPECT_TRUE(throws_with<vorlex::orv::invalid_argument>(
          call_on(cpu_queue(), s, form, p, no_outputs), invalid(s, absent_text(s, form))));
    }
  }
}

// A CPU queue refuses no entry that passes the checks: every one goes to the estimator module,
// method 2 of the central families included, which a GPU queue refuses. (The CPU road's results
// are tested in tests/cpu.)
TEST(Devices, CpuQueueRefusesNoEntry) {
  for (const statistic s : all_statistics) {
    for (const entry_form form : both_forms) {
      for (const bool user_mean : {false, true}) {
        if (user_mean && !has_user_mean_form(s)) {
          continue;
        }
        SCOPED_TRACE(name_of(s) + " " + name_of(form) + (user_mean ? " user mean" : ""));
        const problem<float> p = small_problem(user_mean);
        EXPECT_NO_THROW(call_on(cpu_queue(), s, form, p)());
        if (has_method2(s) && !user_mean) {
          EXPECT_NO_THROW(call_on<st::method::estimator>(cpu_queue(), s, form, p)());
        }
      }
    }
  }
}

// Method 2 of the central families is the estimator's alone: a GPU queue refuses it after the
// checks, without waiting for the event list.
TEST(Devices, CentralMethodTwoIsRefusedOnAGpu) {
  for (const statistic s : {statistic::central_sum, statistic::central_moment}) {
    for (const entry_form form : both_forms) {
      const problem<float> p = small_problem(false);
      EXPECT_TRUE(throws_with<vorlex::orv::unimplemented>(
          call_on<st::method::estimator>(gpu_queue(), s, form, p),
          "vorlex::orv::stats::" + name_of(s) + ": unimplemented functionality: for this method"));
      EXPECT_TRUE(throws_with<vorlex::orv::invalid_argument>(
          call_on<st::method::estimator>(gpu_queue(), s, form, p, no_outputs),
          invalid(s, absent_text(s, form))));
    }
  }
  std::atomic<bool> release{false};
  sycl::event blocker = gpu_queue().submit([&](sycl::handler& cgh) {
    cgh.host_task([&release] {
      const auto until = std::chrono::steady_clock::now() + std::chrono::seconds(10);
      while (!release && std::chrono::steady_clock::now() < until) {
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
      }
    });
  });
  std::vector<float> values = {1, 2, 3}, out(1, -1.0F);
  const st::dataset<st::layout::row_major, float*> data(1, 3, values.data());
  EXPECT_THROW((st::central_moment<st::method::estimator, float, st::layout::row_major>(
                   gpu_queue(), data, out.data(), nullptr, nullptr, {blocker})),
               vorlex::orv::unimplemented);
  EXPECT_NE(blocker.get_info<sycl::info::event::command_execution_status>(),
            sycl::info::event_command_status::complete);
  release = true;
  blocker.wait();
}

// On the GPU road a failed dependency is thrown by the call, through the queue's asynchronous
// handler, before anything is computed.
TEST(Dependencies, FailedDependencyIsThrownByTheGpuCall) {
  sycl::queue q{sycl::gpu_selector_v, [](const sycl::exception_list& errors) {
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
    cgh.host_task([] { throw std::runtime_error("dependency failed"); });
  });
  std::string thrown;
  try {
    st::mean<st::method::fast, float, st::layout::row_major>(q, data, out, {failed});
  } catch (const std::runtime_error& e) {
    thrown = e.what();
  }
  EXPECT_EQ(thrown, "dependency failed");
  EXPECT_EQ(*out, -1.0F);
  const sycl::event done = st::mean<st::method::fast, float, st::layout::row_major>(q, data, out);
  EXPECT_EQ(done.get_info<sycl::info::event::command_execution_status>(),
            sycl::info::event_command_status::complete);
  EXPECT_EQ(*out, 2.5F);
  sycl::free(out, q);
  sycl::free(values, q);
}

// Without an asynchronous handler the runtime's default one reports the dependency's error and
// ends the process, from inside the call.
void mean_after_failed_dependency_without_handler() {
  sycl::queue q{sycl::gpu_selector_v};
  std::vector<float> values = {1, 2, 3, 4};
  std::vector<float> out(1, -1.0F);
  const st::dataset<st::layout::row_major, float*> data(1, 4, values.data());
  sycl::event failed = q.submit([](sycl::handler& cgh) {
    cgh.host_task([] { throw std::runtime_error("dependency failed"); });
  });
  st::mean<st::method::fast, float, st::layout::row_major>(q, data, out.data(), {failed});
}

TEST(DependenciesDeathTest, FailedDependencyWithoutHandlerEndsTheProcess) {
  GTEST_FLAG_SET(death_test_style, "threadsafe");
  EXPECT_DEATH(mean_after_failed_dependency_without_handler(), "dependency failed");
}

}  // namespace
}  // namespace tessel::test
