#include "actions.hpp"

#include <cstring>
#include <utility>

#include "sycl/interop_handle.hpp"

namespace sycl::detail {

// Builds the interop_handle that a host task may take.
struct host_task_runner {
  static void run(host_task_invoker invoke, void* task, backend b) {
    const interop_handle ih(b);
    invoke(task, ih);
  }
};

namespace {

template <typename Launch>
class kernel_action final : public command_action {
 public:
  kernel_action(device_backend& runner, erased_object kernel, Launch launch,
                std::vector<requirement> requirements)
      : runner_(runner),
        kernel_(std::move(kernel)),
        launch_(launch),
        requirements_(std::move(requirements)) {
    launch_.kernel = kernel_.get();
    launch_.requirements = requirements_.data();
    launch_.requirement_count = requirements_.size();
  }
  void run() override { runner_.run(launch_); }

 private:
  device_backend& runner_;
  erased_object kernel_;
  Launch launch_;
  std::vector<requirement> requirements_;
};

class host_task_action final : public command_action {
 public:
  host_task_action(erased_object task, host_task_invoker invoke, backend b)
      : task_(std::move(task)), invoke_(invoke), backend_(b) {}
  void run() override { host_task_runner::run(invoke_, task_.get(), backend_); }
  bool runs_on_waiting_thread() const noexcept override { return true; }

 private:
  erased_object task_;
  host_task_invoker invoke_;
  backend backend_;
};

class copy_action final : public command_action {
 public:
  copy_action(void* dest, const void* src, std::size_t bytes)
      : dest_(dest), src_(src), bytes_(bytes) {}
  void run() override {
    if (bytes_ != 0) {
      std::memmove(dest_, src_, bytes_);
    }
  }

 private:
  void* dest_;
  const void* src_;
  std::size_t bytes_;
};

class fill_action final : public command_action {
 public:
  fill_action(void* dest, std::vector<unsigned char> pattern, std::size_t count)
      : dest_(static_cast<unsigned char*>(dest)), pattern_(std::move(pattern)), count_(count) {}
  void run() override {
    if (count_ == 0 || pattern_.empty()) {
      return;
    }
    if (pattern_.size() == 1) {
      std::memset(dest_, pattern_[0], count_);
      return;
    }
    for (std::size_t i = 0; i < count_; ++i) {
      std::memcpy(dest_ + i * pattern_.size(), pattern_.data(), pattern_.size());
    }
  }

 private:
  unsigned char* dest_;
  std::vector<unsigned char> pattern_;
  std::size_t count_;
};

}  // namespace

std::unique_ptr<command_action> make_kernel_action(device_backend& runner, erased_object kernel,
                                                   range_launch launch,
                                                   std::vector<requirement> requirements) {
  return std::make_unique<kernel_action<range_launch>>(runner, std::move(kernel), launch,
                                                       std::move(requirements));
}
std::unique_ptr<command_action> make_kernel_action(device_backend& runner, erased_object kernel,
                                                   nd_range_launch launch,
                                                   std::vector<requirement> requirements) {
  return std::make_unique<kernel_action<nd_range_launch>>(runner, std::move(kernel), launch,
                                                          std::move(requirements));
}
std::unique_ptr<command_action> make_host_task_action(erased_object task, host_task_invoker invoke,
                                                      backend b) {
  return std::make_unique<host_task_action>(std::move(task), invoke, b);
}
std::unique_ptr<command_action> make_copy_action(void* dest, const void* src, std::size_t bytes) {
  return std::make_unique<copy_action>(dest, src, bytes);
}
std::unique_ptr<command_action> make_fill_action(void* dest, std::vector<unsigned char> pattern,
                                                 std::size_t count) {
  return std::make_unique<fill_action>(dest, std::move(pattern), count);
}

}  // namespace sycl::detail
