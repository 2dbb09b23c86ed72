// The double entry of the 64-bit integer model (ilp64), and its by-reference wrapper.
#include "offload/compute_entry.hpp"

TESSEL_OFFLOAD_ENTRY(double, ilp64, orv_ksu_dSSCompute_omp_offload_ilp64,
                     orv_ksu_dsscompute_omp_offload)
