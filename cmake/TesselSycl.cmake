# Where <sycl/sycl.hpp> comes from. tessel::sycl is what every target that holds SYCL code links,
# through tessel_add_sycl() (TesselSyclTarget.cmake), which also gives the implementation its say
# in how the target is compiled.
#
#   bundled   the bundled runtime (runtime/), linked once its target exists
#   native    TESSEL_SYCL_IMPLEMENTATION names whose integration to use:
#     adaptivecpp  find_package(AdaptiveCpp) and its add_sycl_to_target; ACPP_TARGETS (cache or
#                  environment) says which devices the code is compiled for
#     simsycl      find_package(SimSYCL) and its target
#     flags        a compiler that takes -fsycl (CMAKE_CXX_COMPILER): TESSEL_SYCL_COMPILE_FLAGS,
#                  TESSEL_SYCL_LINK_FLAGS and TESSEL_SYCL_LIBRARIES
set(TESSEL_SYCL_IMPLEMENTATION "" CACHE STRING
  "Native mode: adaptivecpp, simsycl or flags")
set_property(CACHE TESSEL_SYCL_IMPLEMENTATION PROPERTY STRINGS adaptivecpp simsycl flags)
set(TESSEL_SYCL_COMPILE_FLAGS "-fsycl" CACHE STRING
  "Native flags mode: options that compile SYCL code")
set(TESSEL_SYCL_LINK_FLAGS "-fsycl" CACHE STRING
  "Native flags mode: options of every link that involves SYCL code")
set(TESSEL_SYCL_LIBRARIES "" CACHE STRING
  "Native flags mode: libraries of the SYCL runtime, linked after the objects")

add_library(tessel_sycl_api INTERFACE)
add_library(tessel::sycl ALIAS tessel_sycl_api)
set(TESSEL_SYCL_TARGET tessel::sycl)

if(TESSEL_SYCL STREQUAL "bundled")
  if(TESSEL_SYCL_IMPLEMENTATION)
    message(FATAL_ERROR "TESSEL_SYCL_IMPLEMENTATION is for TESSEL_SYCL=native")
  endif()
  # Linked in runtime/CMakeLists.txt once the runtime target exists.
elseif(TESSEL_SYCL_IMPLEMENTATION STREQUAL "adaptivecpp")
  find_package(AdaptiveCpp CONFIG REQUIRED)
  target_link_libraries(tessel_sycl_api INTERFACE AdaptiveCpp::acpp-rt)
elseif(TESSEL_SYCL_IMPLEMENTATION STREQUAL "simsycl")
  find_package(SimSYCL CONFIG REQUIRED)
  # Its headers need C++20.
  target_link_libraries(tessel_sycl_api INTERFACE SimSYCL::simsycl)
  target_compile_features(tessel_sycl_api INTERFACE cxx_std_20)
elseif(TESSEL_SYCL_IMPLEMENTATION STREQUAL "flags")
  separate_arguments(_tessel_sycl_compile UNIX_COMMAND "${TESSEL_SYCL_COMPILE_FLAGS}")
  separate_arguments(_tessel_sycl_link UNIX_COMMAND "${TESSEL_SYCL_LINK_FLAGS}")
  target_compile_options(tessel_sycl_api INTERFACE ${_tessel_sycl_compile})
  target_link_options(tessel_sycl_api INTERFACE ${_tessel_sycl_link})
  target_link_libraries(tessel_sycl_api INTERFACE ${TESSEL_SYCL_LIBRARIES})
else()
  message(FATAL_ERROR "TESSEL_SYCL=native needs TESSEL_SYCL_IMPLEMENTATION adaptivecpp, simsycl "
    "or flags, not '${TESSEL_SYCL_IMPLEMENTATION}'")
endif()

include(TesselSyclTarget)
