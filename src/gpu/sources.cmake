# The GPU engine is header templates: the statistics' sources instantiate them.
set(TESSEL_GPU_SOURCES)
