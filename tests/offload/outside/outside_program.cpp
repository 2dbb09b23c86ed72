// Kurtosis, minimum and maximum of two dimensions on the emulated GPU through an offload entry,
// with a task record laid out by hand and a SYCL-road interop object of the stand-in OpenMP
// runtime. Prints "status S: kurtosis K K, min m m, max M M" and exits 0 when the numbers are
// right.
#include <array>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <vorlex/orv/stats.hpp>

extern "C" std::int32_t orv_ksu_dSSCompute_omp_offload_ilp64(ss_task* task,
                                                             std::uint64_t estimate_mask,
                                                             std::int64_t method, void* interop);
// The stand-in OpenMP runtime's maker of interop objects.
extern "C" void* stand_in_sycl_interop(const char* device, int nowait, void (*completion)(void*));

int main() {
  sycl::queue queue{sycl::gpu_selector_v};
  const std::int64_t dims = 2, count = 4, row_major = 0x10000;
  double* x = sycl::malloc_shared<double>(8, queue);
  double* results = sycl::malloc_shared<double>(8, queue);   // mean, raw2, raw3, raw4 ...
  double* kurtosis = sycl::malloc_shared<double>(6, queue);  // ... kurtosis, min, max
  for (int i = 0; i < 4; ++i) {
    x[i] = i + 1;            // 1 2 3 4
    x[4 + i] = 2 * (i + 1);  // 2 4 6 8
  }
  // The record's 8-byte words: counts at bytes 16 and 24, observations at 40, the storage word at
  // 64, the mean and raw moments from 88, kurtosis at 200, min at 224, max at 232.
  std::array<const void*, 30> record{};
  record[2] = &dims;
  record[3] = &count;
  record[5] = x;
  record[8] = &row_major;
  for (int k = 0; k < 4; ++k) {
    record[11 + k] = results + 2 * k;
  }
  record[25] = kurtosis;
  record[28] = kurtosis + 2;
  record[29] = kurtosis + 4;
  void* interop = stand_in_sycl_interop("gpu", 0, nullptr);
  const std::int32_t status = orv_ksu_dSSCompute_omp_offload_ilp64(
      reinterpret_cast<ss_task*>(record.data()), 0x80 | 0x400 | 0x800, 1, interop);
  std::printf("status %d: kurtosis %g %g, min %g %g, max %g %g\n", status, kurtosis[0], kurtosis[1],
              kurtosis[2], kurtosis[3], kurtosis[4], kurtosis[5]);
  const bool right = status == 0 && std::fabs(kurtosis[0] + 2.0775) < 1e-12 &&
                     std::fabs(kurtosis[1] + 2.0775) < 1e-12 && kurtosis[2] == 1 &&
                     kurtosis[3] == 2 && kurtosis[4] == 4 && kurtosis[5] == 8;
  sycl::free(x, queue);
  sycl::free(results, queue);
  sycl::free(kurtosis, queue);
  return right ? 0 : 1;
}
