#include "test_setup.hpp"

#include <atomic>
#include <chrono>
#include <cstdlib>
#include <stdexcept>
#include <thread>

#include "cpu/host_command.hpp"

namespace tessel::test {
namespace {

sycl::queue make_test_queue() {
  const char* wanted = std::getenv("TESSEL_TEST_DEVICE");
  const std::string kind = wanted == nullptr ? "" : wanted;
  if (kind.empty()) {
    return sycl::queue{sycl::default_selector_v};
  }
  if (kind == "cpu") {
    return sycl::queue{sycl::cpu_selector_v};
  }
  if (kind == "gpu") {
    return sycl::queue{sycl::gpu_selector_v};
  }
  throw std::invalid_argument("TESSEL_TEST_DEVICE must be cpu or gpu, not '" + kind + "'");
}

}  // namespace

sycl::queue& test_queue() {
  static sycl::queue queue = make_test_queue();
  return queue;
}

std::size_t test_group_size() {
  return test_queue().get_device().get_info<sycl::info::device::max_work_group_size>();
}

bool testing_gpu() {
  return test_queue().get_device().is_gpu();
}

// A command that waits for submit to return: it sees the return if the runtime runs it later, and
// gives up after a while if the runtime runs it inside submit.
bool commands_run_asynchronously() {
  static const bool asynchronous = [] {
    std::atomic<bool> returned{false};
    std::atomic<bool> seen{false};
    test_queue().submit([&](sycl::handler& cgh) {
      vorlex::orv::stats::detail::cpu::host_command(cgh, [&returned, &seen] {
        const auto until = std::chrono::steady_clock::now() + std::chrono::milliseconds(500);
        while (!returned && std::chrono::steady_clock::now() < until) {
          std::this_thread::sleep_for(std::chrono::milliseconds(1));
        }
        seen = returned.load();
      });
    });
    returned = true;
    test_queue().wait();
    return seen.load();
  }();
  return asynchronous;
}

std::string name_of(element e) {
  return e == element::f32 ? "float" : "double";
}

std::string name_of(st::layout l) {
  return l == st::layout::row_major ? "row" : "col";
}

std::string name_of(entry_form f) {
  return f == entry_form::usm ? "usm" : "buffer";
}

}  // namespace tessel::test
