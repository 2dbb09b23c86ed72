# tessel_add_sycl(TARGET): TARGET holds SYCL code. It links the SYCL implementation that Tessel
# Stats is built with (TESSEL_SYCL_TARGET), and under AdaptiveCpp its sources are compiled by
# acpp. Call it once the target has all its sources: add_sycl_to_target reads them.
#
# Installed beside TesselStatsConfig.cmake, so that a program's own kernels are built the way
# the library's are.
function(tessel_add_sycl target)
  target_link_libraries(${target} PRIVATE ${TESSEL_SYCL_TARGET})
  if(TESSEL_SYCL_IMPLEMENTATION STREQUAL "adaptivecpp")
    add_sycl_to_target(TARGET ${target})
  endif()
endfunction()
