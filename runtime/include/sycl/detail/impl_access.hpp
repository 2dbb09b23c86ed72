// The runtime's sources reach the implementation object behind a SYCL handle through this one
// friend, so handles keep no public door to it.
#pragma once

#include <memory>
#include <utility>

namespace sycl::detail {

struct impl_access {
  template <typename Handle>
  static const auto& get(const Handle& handle) {
    return handle.impl_;
  }
  template <typename Handle, typename Impl>
  static Handle make(std::shared_ptr<Impl> impl) {
    return Handle(std::move(impl));
  }
};

}  // namespace sycl::detail
