# The offload road: the eight entries (one source for each element type and integer model, each
# instantiating the GPU engine for its submissions), the interop binding, the caches and their
# exported look-ups, the OpenCL table, and the queue from an interop object.
set(TESSEL_OFFLOAD_SOURCES
  offload/entry_s_lp64.cpp
  offload/entry_d_lp64.cpp
  offload/entry_s_ilp64.cpp
  offload/entry_d_ilp64.cpp
  offload/completion.cpp
  offload/cache_lookups.cpp
  offload/interop_binding.cpp
  offload/native_objects.cpp
  offload/opencl_table.cpp
  offload/queue_from_interop.cpp)
