// What a functor holds for each result array, and the scratch handles of the engines.
#pragma once

#include <sycl/sycl.hpp>

#include <type_traits>

#include "common/pointer_or_accessor.hpp"

namespace vorlex::orv::stats::detail::gpu {

// Scratch is a buffer on both roads of the moment engine, and on the buffer road of min/max.
template <typename T>
using scratch_accessor = sycl::accessor<T, 1, sycl::access_mode::read_write, sycl::target::device>;

// Binds the placeholder accessors among the handles; pointers need nothing.
template <typename... Handles>
void require_all(sycl::handler& cgh, const Handles&... handles) {
  auto bind = [&cgh](const auto& handle) {
    if constexpr (!std::is_pointer_v<std::decay_t<decltype(handle)>>) {
      cgh.require(handle);
    }
  };
  (bind(handles), ...);
}

}  // namespace vorlex::orv::stats::detail::gpu
