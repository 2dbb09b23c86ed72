// The double entry of the 32-bit integer model (lp64), and its by-reference wrapper.
#include "offload/compute_entry.hpp"

TESSEL_OFFLOAD_ENTRY(double, lp64, orv_ksu_dSSCompute_omp_offload_lp64,
                     orv_ksu_dsscompute_omp_offload_lp64)
