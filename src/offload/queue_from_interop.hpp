// The queue of an OpenMP interop object, on the SYCL, Level Zero or OpenCL road.
#pragma once

#include <sycl/sycl.hpp>

#include <cstdint>

namespace vorlex::orv::stats::detail::offload {

// Foreign runtime numbers of the OpenMP interop properties, as the entries know them.
enum foreign_runtime : std::int32_t {
  runtime_none = 0,
  runtime_opencl = 3,
  runtime_sycl = 4,
  runtime_level_zero = 6,
};

// backend receives the foreign runtime number of the road taken; 0 means that no usable queue came
// out, whatever is returned. A property that cannot be read is not reported otherwise. Exceptions
// of the SYCL runtime pass through.
sycl::queue queue_from_interop(void* interop, std::int32_t* backend);

}  // namespace vorlex::orv::stats::detail::offload
