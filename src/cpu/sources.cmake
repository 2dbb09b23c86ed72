# The CPU engine: the estimator binding and the compute dispatcher. The functors, the frames and
# submit are header templates that the statistics' sources instantiate.
set(TESSEL_CPU_SOURCES
  cpu/compute_dispatcher.cpp
  cpu/estimator_binding.cpp)
