// Errors of host tasks and kernels reach the asynchronous handler only at wait_and_throw,
// throw_asynchronous or the queue's end; event::wait never throws them.

#include <algorithm>
#include <stdexcept>

#include "devices.hpp"

namespace tessel::test {
namespace {

// What a handler is given, as sorted text, and how often it was called.
struct collected {
  std::vector<std::string> messages;
  int calls = 0;

  sycl::async_handler handler() {
    return [this](sycl::exception_list errors) {
      ++calls;
      for (const std::exception_ptr& e : errors) {
        try {
          std::rethrow_exception(e);
        } catch (const std::exception& x) {
          messages.emplace_back(x.what());
        }
      }
      std::sort(messages.begin(), messages.end());
    };
  }
};

sycl::event fail_in_host_task(sycl::queue& q, const char* what) {
  return q.submit(
      [&](sycl::handler& cgh) { cgh.host_task([what] { throw std::runtime_error(what); }); });
}

class AsyncErrorOnDevice : public on_each_device {};

TEST_P(AsyncErrorOnDevice, ErrorsWaitForTheHandlerAndDependentsStillRun) {
  collected seen;
  sycl::queue q(GetParam(), seen.handler());
  sycl::event failed = fail_in_host_task(q, "host task failed");
  EXPECT_NO_THROW(failed.wait());
  q.wait();
  EXPECT_EQ(seen.calls, 0);
  sycl::event::wait_and_throw({failed});
  EXPECT_EQ(seen.messages, std::vector<std::string>{"host task failed"});
  q.wait_and_throw();  // consumed: not handed over twice
  EXPECT_EQ(seen.calls, 1);

  seen.messages.clear();
  sycl::event kernel = q.parallel_for(sycl::range<1>(4), [](sycl::id<1> i) {
    if (i[0] == 2) {
      throw std::runtime_error("kernel failed");
    }
  });
  q.single_task([] { throw sycl::exception(sycl::make_error_code(sycl::errc::kernel), "task"); });
  bool ran = false;
  q.submit([&](sycl::handler& cgh) {
     cgh.depends_on(kernel);
     cgh.host_task([&] { ran = true; });
   }).wait();
  q.wait();
  EXPECT_TRUE(ran);
  q.throw_asynchronous();
  EXPECT_EQ(seen.calls, 2);
  EXPECT_EQ(seen.messages, (std::vector<std::string>{"kernel failed", "task"}));
}

TEST_P(AsyncErrorOnDevice, HandlerOfTheContextOrAtTheQueuesEnd) {
  collected by_context, at_end;
  sycl::queue q(sycl::context(GetParam(), by_context.handler()), GetParam());
  fail_in_host_task(q, "to the context");
  q.wait_and_throw();
  EXPECT_EQ(by_context.messages, std::vector<std::string>{"to the context"});
  {
    sycl::queue ending(GetParam(), at_end.handler());
    fail_in_host_task(ending, "left over");
    ending.wait();
  }
  EXPECT_EQ(at_end.messages, std::vector<std::string>{"left over"});
}

INSTANTIATE_TEST_SUITE_P(Devices, AsyncErrorOnDevice, testing::ValuesIn(all_devices()),
                         device_label);

// Without any handler, SYCL's default one reports and terminates.
TEST(AsyncErrorDeathTest, DefaultHandlerReportsAndTerminates) {
  GTEST_FLAG_SET(death_test_style, "threadsafe");
  EXPECT_DEATH(
      {
        sycl::queue q(sycl::gpu_selector_v);
        fail_in_host_task(q, "lost at the end");
        q.wait();
      },
      "unhandled asynchronous error: lost at the end");
}

}  // namespace
}  // namespace tessel::test
