// The backends a SYCL object can belong to. The host CPU and the emulated GPU are ext_tessel_host;
// the others exist so that interop code compiles and learns at run time whether its backend is
// there. The values are those that interop callers compare with: OpenCL is 1.
#pragma once

namespace sycl {

enum class backend : char {
  ext_tessel_host = 0,
  opencl = 1,
  ext_tessel_level_zero = 2,
};

}  // namespace sycl
