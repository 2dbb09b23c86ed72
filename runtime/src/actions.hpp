// The things a command can do.
#pragma once

#include <cstddef>
#include <memory>
#include <vector>

#include "command_action.hpp"
#include "sycl/detail/backend_enum.hpp"
#include "sycl/detail/erased_object.hpp"
#include "sycl/detail/kernel_launch.hpp"
#include "sycl/handler.hpp"

namespace sycl::detail {

// The launch's kernel and requirement pointers are set to the action's own copies.
std::unique_ptr<command_action> make_kernel_action(device_backend& runner, erased_object kernel,
                                                   range_launch launch,
                                                   std::vector<requirement> requirements);
std::unique_ptr<command_action> make_kernel_action(device_backend& runner, erased_object kernel,
                                                   nd_range_launch launch,
                                                   std::vector<requirement> requirements);
std::unique_ptr<command_action> make_host_task_action(erased_object task, host_task_invoker invoke,
                                                      backend b);
std::unique_ptr<command_action> make_copy_action(void* dest, const void* src, std::size_t bytes);
std::unique_ptr<command_action> make_fill_action(void* dest, std::vector<unsigned char> pattern,
                                                 std::size_t count);

}  // namespace sycl::detail
