# Warnings are errors for everything the project compiles itself.
# -Wnull-dereference is left out: g++ 12 raises it at -O2 inside libstdc++'s
# own inlined stream code, which no change of ours can silence.
add_library(tessel_warnings INTERFACE)
target_compile_options(tessel_warnings INTERFACE
  -Wall -Wextra -Wpedantic -Wshadow -Wnon-virtual-dtor -Wold-style-cast
  -Wcast-align -Woverloaded-virtual -Wdouble-promotion
  -Wformat=2 -Wimplicit-fallthrough -Werror)
# g++ 12 reports overlapping copies inside std::string's own inlined code at -O3
# (a known false positive of its -Wrestrict), never in ours.
if(CMAKE_CXX_COMPILER_ID STREQUAL "GNU")
  target_compile_options(tessel_warnings INTERFACE -Wno-restrict)
endif()

# Registers a target for installation in the TesselStats export set.
function(tessel_install_target target)
  set_property(GLOBAL APPEND PROPERTY TESSEL_INSTALL_TARGETS ${target})
endfunction()
