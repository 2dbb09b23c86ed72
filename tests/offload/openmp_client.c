/* A real OpenMP program: it makes an interop object with the interop construct and asks an
 * offload entry for the kurtosis. Debian's LLVM OpenMP runtime has no
 * __tgt_get_interop_property, so the entry must return -2, and nothing may be printed. Exits 0
 * on that status. */
#include <omp.h>
#include <orv/ss_task.h>
#include <stdint.h>

int32_t orv_ksu_dSSCompute_omp_offload_ilp64(ss_task* task, uint64_t estimate_mask, int64_t method,
                                             void* interop);

int main(void) {
  const int64_t dims = 1, count = 4, storage = SS_STORAGE_ROW_MAJOR;
  const double x[4] = {1, 2, 3, 4};
  double mean = 0, raw[3] = {0}, kurtosis = 0;
  ss_task task = {0};
  task.dims = &dims;
  task.obs_count = &count;
  task.storage = &storage;
  task.observations = x;
  task.mean = &mean;
  task.raw2 = &raw[0];
  task.raw3 = &raw[1];
  task.raw4 = &raw[2];
  task.kurtosis = &kurtosis;

  omp_interop_t interop = omp_interop_none;
#pragma omp interop init(targetsync : interop)
  const int32_t status =
      orv_ksu_dSSCompute_omp_offload_ilp64(&task, SS_KURTOSIS, 1, (void*)interop);
#pragma omp interop destroy(interop)
  return status == -2 ? 0 : 1;
}
