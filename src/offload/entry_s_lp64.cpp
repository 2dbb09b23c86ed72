// The float entry of the 32-bit integer model (lp64), and its by-reference wrapper.
#include "offload/compute_entry.hpp"

TESSEL_OFFLOAD_ENTRY(float, lp64, orv_ksu_sSSCompute_omp_offload_lp64,
                     orv_ksu_ssscompute_omp_offload_lp64)
