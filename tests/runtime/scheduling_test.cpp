// Command ordering: explicit dependencies, in-order queues, a host task that
// blocks until the test releases it, and the events that report all this.
#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <mutex>
#include <sycl/sycl.hpp>
#include <thread>
#include <vector>

#include "devices.hpp"
#include "gate.hpp"

namespace {

using tessel_test::eventually;
using tessel_test::gate;
using status = sycl::info::event_command_status;

status status_of(const sycl::event& e) {
  return e.get_info<sycl::info::event::command_execution_status>();
}

class SchedulingOnDevice : public tessel_test::on_each_device {};

TEST_P(SchedulingOnDevice, BlockedHostTaskHoldsItsDependentsOnly) {
  sycl::queue q(GetParam());
  gate g;
  std::atomic<bool> dependent_ran{false};
  std::atomic<bool> independent_ran{false};
  sycl::event blocked = q.submit([&](sycl::handler& cgh) { cgh.host_task([&] { g.pass(); }); });
  sycl::event dependent = q.submit([&](sycl::handler& cgh) {
    cgh.depends_on(blocked);
    cgh.host_task([&] { dependent_ran = true; });
  });
  // Independent work of every kind still runs while the host task blocks.
  std::vector<int> out(8, 0);
  int* p = out.data();
  sycl::event kernel = q.parallel_for(sycl::range<1>(8), [=](sycl::id<1> i) { p[i] = 1; });
  sycl::event independent =
      q.submit([&](sycl::handler& cgh) { cgh.host_task([&] { independent_ran = true; }); });
  independent.wait();
  kernel.wait();
  EXPECT_TRUE(independent_ran.load());
  EXPECT_EQ(out, std::vector<int>(8, 1));
  EXPECT_TRUE(eventually([&] { return status_of(blocked) == status::running; }));
  EXPECT_FALSE(dependent_ran.load());
  EXPECT_EQ(status_of(dependent), status::submitted);

  g.open();
  dependent.wait();
  EXPECT_TRUE(dependent_ran.load());
  EXPECT_EQ(status_of(blocked), status::complete);
  EXPECT_EQ(status_of(dependent), status::complete);
}

TEST_P(SchedulingOnDevice, ManyBlockedHostTasksDoNotStarveTheRest) {
  sycl::queue q(GetParam());
  gate g;
  std::vector<sycl::event> blocked;
  for (int i = 0; i < 12; ++i) {
    blocked.push_back(q.submit([&](sycl::handler& cgh) { cgh.host_task([&] { g.pass(); }); }));
  }
  std::atomic<int> ran{0};
  std::vector<sycl::event> free_ones;
  for (int i = 0; i < 12; ++i) {
    free_ones.push_back(q.submit([&](sycl::handler& cgh) { cgh.host_task([&] { ++ran; }); }));
  }
  sycl::event::wait(free_ones);
  EXPECT_EQ(ran.load(), 12);
  g.open();
  q.wait();
  for (const auto& e : blocked)
    EXPECT_EQ(status_of(e), status::complete);
}

TEST_P(SchedulingOnDevice, DependsOnAListAndOnCompletedEvents) {
  sycl::queue q(GetParam());
  std::mutex m;
  std::vector<int> order;
  const auto record = [&](int v) {
    std::lock_guard<std::mutex> lock(m);
    order.push_back(v);
  };
  gate g;
  sycl::event a = q.submit([&](sycl::handler& cgh) {
    cgh.host_task([&] {
      g.pass();
      record(1);
    });
  });
  sycl::event b = q.submit([&](sycl::handler& cgh) {
    cgh.host_task([&] {
      std::this_thread::sleep_for(std::chrono::milliseconds(5));
      record(2);
    });
  });
  sycl::event done;  // default-constructed: already complete
  EXPECT_EQ(status_of(done), status::complete);
  sycl::event last = q.submit([&](sycl::handler& cgh) {
    cgh.depends_on({a, b, done});
    cgh.host_task([&] { record(3); });
  });
  b.wait();
  g.open();
  last.wait();
  EXPECT_EQ(order, (std::vector<int>{2, 1, 3}));
}

TEST_P(SchedulingOnDevice, InOrderQueueRunsCommandsOneAfterAnother) {
  sycl::queue q(GetParam(), sycl::property::queue::in_order{});
  std::vector<int> order;
  gate g;
  q.submit([&](sycl::handler& cgh) {
    cgh.host_task([&] {
      g.pass();
      order.push_back(0);
    });
  });
  int* shared = sycl::malloc_shared<int>(1, q);
  *shared = 0;
  q.single_task([=] { *shared = 10; });
  q.submit([&](sycl::handler& cgh) { cgh.host_task([&] { order.push_back(*shared); }); });
  sycl::event last = q.memset(shared, 0, sizeof(int));
  std::this_thread::sleep_for(std::chrono::milliseconds(10));
  EXPECT_EQ(status_of(last), status::submitted);
  g.open();
  q.wait();
  EXPECT_EQ(order, (std::vector<int>{0, 10}));
  EXPECT_EQ(*shared, 0);
  sycl::free(shared, q);
}

TEST_P(SchedulingOnDevice, EmptyCommandGroupCompletesAfterItsDependencies) {
  sycl::queue q(GetParam());
  gate g;
  sycl::event blocked = q.submit([&](sycl::handler& cgh) { cgh.host_task([&] { g.pass(); }); });
  sycl::event barrier = q.submit([&](sycl::handler& cgh) { cgh.depends_on(blocked); });
  std::this_thread::sleep_for(std::chrono::milliseconds(10));
  EXPECT_EQ(status_of(barrier), status::submitted);
  g.open();
  barrier.wait();
  EXPECT_EQ(status_of(blocked), status::complete);
}

TEST_P(SchedulingOnDevice, HostTaskMayTakeAnInteropHandle) {
  sycl::queue q(GetParam());
  sycl::backend seen = sycl::backend::opencl;
  bool mismatch = false;
  q.submit([&](sycl::handler& cgh) {
     cgh.host_task([&](sycl::interop_handle ih) {
       seen = ih.get_backend();
       try {
         (void)ih.get_native_queue<sycl::backend::opencl>();
       } catch (const sycl::exception& e) {
         mismatch = e.code() == sycl::errc::backend_mismatch;
       }
     });
   }).wait();
  EXPECT_EQ(seen, sycl::backend::ext_tessel_host);
  EXPECT_TRUE(mismatch);
}

TEST_P(SchedulingOnDevice, ACommandGroupHoldsOneAction) {
  sycl::queue q(GetParam());
  try {
    q.submit([&](sycl::handler& cgh) {
      cgh.host_task([] {});
      cgh.single_task([] {});
    });
    FAIL() << "two actions were accepted";
  } catch (const sycl::exception& e) {
    EXPECT_EQ(e.code(), sycl::errc::invalid);
  }
  // What the command-group function throws comes out of submit.
  EXPECT_THROW(q.submit([](sycl::handler&) { throw std::runtime_error("in the group"); }),
               std::runtime_error);
}

INSTANTIATE_TEST_SUITE_P(Devices, SchedulingOnDevice, testing::ValuesIn(tessel_test::all_devices()),
                         tessel_test::device_label);

}  // namespace
