// Whether a buffer holds elements: a field of the buffer form that holds none is absent, as a null
// pointer is in the USM form.
#pragma once

#include <sycl/sycl.hpp>

#include "tessel/sycl_features.hpp"

#if TESSEL_SYCL_HAS_BUFFER_ALLOCATIONS
#include <algorithm>
#include <vector>
#endif

namespace vorlex::orv::stats::detail {

template <typename T>
bool has_elements(const sycl::buffer<T, 1>& buffer) {
#if TESSEL_SYCL_HAS_BUFFER_ALLOCATIONS
  // AdaptiveCpp makes a buffer of no elements one of a single element that has memory on no device
  // until a command group binds it; every other buffer has memory somewhere from the start. The
  // library never binds a buffer without elements, so only one that its owner bound before counts
  // as one of a single element.
  if (buffer.size() == 1) {
    static const std::vector<sycl::device> devices = sycl::device::get_devices();
    return std::any_of(devices.begin(), devices.end(), [&buffer](const sycl::device& device) {
      return buffer.has_allocation(device);
    });
  }
#endif
  return buffer.size() != 0;
}

template <typename T>
bool is_given(const T* pointer) {
  return pointer != nullptr;
}

template <typename T>
bool is_given(const sycl::buffer<T, 1>& buffer) {
  return has_elements(buffer);
}

}  // namespace vorlex::orv::stats::detail
