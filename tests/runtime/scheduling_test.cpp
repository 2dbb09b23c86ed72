// Command ordering: explicit dependencies, in-order queues, host tasks that block until the test
// releases them, and the events that report all this.

#include <mutex>

#include "devices.hpp"
#include "gate.hpp"

namespace tessel::test {
namespace {

using status = sycl::info::event_command_status;

status status_of(const sycl::event& e) {
  return e.get_info<sycl::info::event::command_execution_status>();
}

sycl::event blocked_task(sycl::queue& q, const gate& g) {
  return q.submit([&](sycl::handler& cgh) { cgh.host_task([&] { g.pass(); }); });
}

class SchedulingOnDevice : public on_each_device {};

// More blocked host tasks than worker threads: their dependents wait, and independent work of every
// kind still runs.
TEST_P(SchedulingOnDevice, BlockedHostTasksHoldTheirDependentsOnly) {
  sycl::queue q(GetParam());
  gate g;
  std::vector<sycl::event> blocked;
  for (int i = 0; i < 12; ++i) {
    blocked.push_back(blocked_task(q, g));
  }
  std::atomic<bool> dependent_ran{false};
  sycl::event dependent = q.submit([&](sycl::handler& cgh) {
    cgh.depends_on(blocked.front());
    cgh.host_task([&] { dependent_ran = true; });
  });
  sycl::event empty = q.submit([&](sycl::handler& cgh) { cgh.depends_on(blocked.back()); });
  std::atomic<int> ran{0};
  std::vector<sycl::event> independent;
  for (int i = 0; i < 12; ++i) {
    independent.push_back(q.submit([&](sycl::handler& cgh) { cgh.host_task([&] { ++ran; }); }));
  }
  int* p = sycl::malloc_shared<int>(8, q);
  independent.push_back(q.parallel_for(sycl::range<1>(8), [=](sycl::id<1> i) { p[i] = 1; }));
  sycl::event::wait(independent);
  EXPECT_EQ(ran.load(), 12);
  EXPECT_EQ(p[7], 1);
  EXPECT_TRUE(eventually([&] { return status_of(blocked.front()) == status::running; }));
  EXPECT_FALSE(dependent_ran.load());
  EXPECT_EQ(status_of(dependent), status::submitted);
  EXPECT_EQ(status_of(empty), status::submitted);
  g.open();
  dependent.wait();
  empty.wait();
  EXPECT_TRUE(dependent_ran.load());
  EXPECT_EQ(status_of(blocked.back()), status::complete);
  sycl::free(p, q);
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
  sycl::event b = q.submit([&](sycl::handler& cgh) { cgh.host_task([&] { record(2); }); });
  sycl::event done;  // default-constructed: already complete
  EXPECT_EQ(status_of(done), status::complete);
  sycl::event last = q.submit([&](sycl::handler& cgh) {
    cgh.depends_on({done, b, a});
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

INSTANTIATE_TEST_SUITE_P(Devices, SchedulingOnDevice, testing::ValuesIn(all_devices()),
                         device_label);

}  // namespace
}  // namespace tessel::test
