# tessel::sycl is the one target that gives a source <sycl/sycl.hpp>:
# the bundled runtime, or the flags of a native SYCL compiler.
add_library(tessel_sycl_api INTERFACE)
add_library(tessel::sycl ALIAS tessel_sycl_api)
if(TESSEL_SYCL STREQUAL "native")
  separate_arguments(_tessel_sycl_flags UNIX_COMMAND "${TESSEL_SYCL_FLAGS}")
  target_compile_options(tessel_sycl_api INTERFACE ${_tessel_sycl_flags})
  target_link_options(tessel_sycl_api INTERFACE ${_tessel_sycl_flags})
else()
  # Linked in runtime/CMakeLists.txt once the runtime target exists.
endif()
