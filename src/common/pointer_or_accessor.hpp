// How kernels and host tasks hold an array of the caller's: the pointer itself in the USM form, an
// accessor in the buffer form. A read-only pointer is const.
#pragma once

#include <sycl/sycl.hpp>

#include <type_traits>

namespace vorlex::orv::stats::detail {

template <typename T, bool Usm, sycl::access_mode Mode = sycl::access_mode::read_write>
using pointer_or_accessor =
    std::conditional_t<Usm, std::conditional_t<Mode == sycl::access_mode::read, const T*, T*>,
                       sycl::accessor<T, 1, Mode, sycl::target::device>>;

}  // namespace vorlex::orv::stats::detail
