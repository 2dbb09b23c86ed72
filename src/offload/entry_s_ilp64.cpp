// The float entry of the 64-bit integer model (ilp64), and its by-reference wrapper.
#include "offload/compute_entry.hpp"

TESSEL_OFFLOAD_ENTRY(float, ilp64, orv_ksu_sSSCompute_omp_offload_ilp64,
                     orv_ksu_ssscompute_omp_offload)
