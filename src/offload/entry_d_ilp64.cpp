// The double entry of the 64-bit integer model (ilp64), and its by-reference wrapper.
#include <cstdint>
#include <vorlex/orv/stats.hpp>

#include "offload/compute_entry.hpp"

namespace offload = vorlex::orv::stats::detail::offload;

extern "C" std::int32_t orv_ksu_dSSCompute_omp_offload_ilp64(ss_task* task,
                                                             std::uint64_t estimate_mask,
                                                             std::int64_t method, void* interop) {
  return offload::compute_omp_offload<double, offload::ilp64>(task, estimate_mask, method, interop);
}

extern "C" std::int32_t orv_ksu_dsscompute_omp_offload(ss_task* const* task,
                                                       const std::uint64_t* estimate_mask,
                                                       const std::int64_t* method, void* interop) {
  return orv_ksu_dSSCompute_omp_offload_ilp64(*task, *estimate_mask, *method, interop);
}
