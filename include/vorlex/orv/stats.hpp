// Tessel Stats: weighted summary statistics of a matrix of observations on a SYCL queue.
//
// Every statistic is a function template stat<method, T, layout> whose combinations are compiled
// into the library; a combination that the library does not provide fails to link. Each comes in a
// USM form (pointers, an event list, returns the event of the work) and a buffer form (sycl::buffer
// objects, returns nothing). Outputs hold one element per dimension; a dimension that `indices`
// skips is never written.
#pragma once

#include <sycl/sycl.hpp>

#include <cstdint>
#include <exception>
#include <string>
#include <vector>

// Everything below is the library's interface and stays visible across the shared library boundary:
// exceptions are caught by type in the caller. The statistics are marked one by one as well, since
// a compiler may otherwise hide a function whose parameters are of hidden types.
#pragma GCC visibility push(default)
#define TESSEL_STATS_EXPORT __attribute__((visibility("default")))

namespace vorlex::orv {

// what() reads "vorlex::orv::<domain>::<function>: <info>", each part only when given.
class exception : public std::exception {
 public:
  exception(const std::string& domain, const std::string& function, const std::string& info);
  ~exception() override;
  const char* what() const noexcept override;

 private:
  std::string msg;
};

class invalid_argument : public exception {
 public:
  invalid_argument(const std::string& domain, const std::string& function, const std::string& info);
  ~invalid_argument() override;
};

class unimplemented : public exception {
 public:
  unimplemented(const std::string& domain, const std::string& function, const std::string& info);
  ~unimplemented() override;
};

class unsupported_device : public exception {
 public:
  unsupported_device(const std::string& domain, const std::string& function,
                     const sycl::device& device);
  ~unsupported_device() override;
};

class device_bad_alloc : public exception {
 public:
  device_bad_alloc(const std::string& domain, const std::string& function,
                   const sycl::device& device);
  ~device_bad_alloc() override;
};

class computation_error : public exception {
 public:
  computation_error(const std::string& domain, const std::string& function,
                    const std::string& info);
  ~computation_error() override;
};

}  // namespace vorlex::orv

namespace vorlex::orv::stats {

enum class method { fast = 1, estimator = 2 };

// Where element (d, i) of n_dims dimensions by n_observations observations lies.
enum class layout {
  row_major = 0x10000,  // d * n_observations + i
  col_major = 0x20000,  // d + i * n_dims
};

template <layout L, typename Data>
struct dataset;

// Null weights: every observation weighs 1. Null indices: every dimension is selected; otherwise a
// non-zero element selects its dimension.
template <layout L, typename T>
struct dataset<L, T*> {
  dataset(std::int64_t dims, std::int64_t observation_count, T* data, T* data_weights = nullptr,
          std::int64_t* selection = nullptr)
      : n_dims(dims),
        n_observations(observation_count),
        observations(data),
        weights(data_weights),
        indices(selection) {}

  std::int64_t n_dims;
  std::int64_t n_observations;
  T* observations;
  T* weights;
  std::int64_t* indices;
};

// A weights or indices buffer of zero elements stands for an absent one.
template <layout L, typename T>
struct dataset<L, sycl::buffer<T, 1>> {
  dataset(
      std::int64_t dims, std::int64_t observation_count, sycl::buffer<T, 1> data,
      sycl::buffer<T, 1> data_weights = sycl::buffer<T, 1>(sycl::range<1>(0)),
      sycl::buffer<std::int64_t, 1> selection = sycl::buffer<std::int64_t, 1>(sycl::range<1>(0)))
      : n_dims(dims),
        n_observations(observation_count),
        observations(data),
        weights(data_weights),
        indices(selection) {}

  std::int64_t n_dims;
  std::int64_t n_observations;
  sycl::buffer<T, 1> observations;
  sycl::buffer<T, 1> weights;
  sycl::buffer<std::int64_t, 1> indices;
};

// Weighted raw power sums of order 1 to 4. Every output after the first may be left out (nullptr,
// or a buffer of zero elements); at least one output must be given.
template <method M, typename T, layout L>
TESSEL_STATS_EXPORT sycl::event raw_sum(sycl::queue& queue, const dataset<L, T*>& data, T* sum,
                                        T* sum2, T* sum3, T* sum4,
                                        const std::vector<sycl::event>& dependencies = {});
template <method M, typename T, layout L>
TESSEL_STATS_EXPORT void raw_sum(sycl::queue& queue, const dataset<L, sycl::buffer<T, 1>>& data,
                                 sycl::buffer<T, 1> sum, sycl::buffer<T, 1> sum2,
                                 sycl::buffer<T, 1> sum3, sycl::buffer<T, 1> sum4);

// Mean and raw moments of order 2 to 4; outputs as for raw_sum.
template <method M, typename T, layout L>
TESSEL_STATS_EXPORT sycl::event raw_moment(sycl::queue& queue, const dataset<L, T*>& data, T* mean,
                                           T* raw_moment2, T* raw_moment3, T* raw_moment4,
                                           const std::vector<sycl::event>& dependencies = {});
template <method M, typename T, layout L>
TESSEL_STATS_EXPORT void raw_moment(sycl::queue& queue, const dataset<L, sycl::buffer<T, 1>>& data,
                                    sycl::buffer<T, 1> mean, sycl::buffer<T, 1> raw_moment2,
                                    sycl::buffer<T, 1> raw_moment3, sycl::buffer<T, 1> raw_moment4);

template <method M, typename T, layout L>
TESSEL_STATS_EXPORT sycl::event mean(sycl::queue& queue, const dataset<L, T*>& data, T* mean,
                                     const std::vector<sycl::event>& dependencies = {});
template <method M, typename T, layout L>
TESSEL_STATS_EXPORT void mean(sycl::queue& queue, const dataset<L, sycl::buffer<T, 1>>& data,
                              sycl::buffer<T, 1> mean);

// The statistics below also come with the caller's mean (one element per dimension) as an input;
// those forms exist for method::fast only.

// Central power sums of order 2 to 4; sum3 and sum4 may be left out.
template <method M, typename T, layout L>
TESSEL_STATS_EXPORT sycl::event central_sum(sycl::queue& queue, const dataset<L, T*>& data, T* sum2,
                                            T* sum3, T* sum4,
                                            const std::vector<sycl::event>& dependencies = {});
template <method M, typename T, layout L>
TESSEL_STATS_EXPORT sycl::event central_sum(sycl::queue& queue, T* mean, const dataset<L, T*>& data,
                                            T* sum2, T* sum3, T* sum4,
                                            const std::vector<sycl::event>& dependencies = {});
template <method M, typename T, layout L>
TESSEL_STATS_EXPORT void central_sum(sycl::queue& queue, const dataset<L, sycl::buffer<T, 1>>& data,
                                     sycl::buffer<T, 1> sum2, sycl::buffer<T, 1> sum3,
                                     sycl::buffer<T, 1> sum4);
template <method M, typename T, layout L>
TESSEL_STATS_EXPORT void central_sum(sycl::queue& queue, sycl::buffer<T, 1> mean,
                                     const dataset<L, sycl::buffer<T, 1>>& data,
                                     sycl::buffer<T, 1> sum2, sycl::buffer<T, 1> sum3,
                                     sycl::buffer<T, 1> sum4);

// Variance (moment2) and central moments of order 3 and 4; moment3 and moment4 may be left out.
template <method M, typename T, layout L>
TESSEL_STATS_EXPORT sycl::event central_moment(sycl::queue& queue, const dataset<L, T*>& data,
                                               T* moment2, T* moment3, T* moment4,
                                               const std::vector<sycl::event>& dependencies = {});
template <method M, typename T, layout L>
TESSEL_STATS_EXPORT sycl::event central_moment(sycl::queue& queue, T* mean,
                                               const dataset<L, T*>& data, T* moment2, T* moment3,
                                               T* moment4,
                                               const std::vector<sycl::event>& dependencies = {});
template <method M, typename T, layout L>
TESSEL_STATS_EXPORT void central_moment(sycl::queue& queue,
                                        const dataset<L, sycl::buffer<T, 1>>& data,
                                        sycl::buffer<T, 1> moment2, sycl::buffer<T, 1> moment3,
                                        sycl::buffer<T, 1> moment4);
template <method M, typename T, layout L>
TESSEL_STATS_EXPORT void central_moment(sycl::queue& queue, sycl::buffer<T, 1> mean,
                                        const dataset<L, sycl::buffer<T, 1>>& data,
                                        sycl::buffer<T, 1> moment2, sycl::buffer<T, 1> moment3,
                                        sycl::buffer<T, 1> moment4);

template <method M, typename T, layout L>
TESSEL_STATS_EXPORT sycl::event variation(sycl::queue& queue, const dataset<L, T*>& data,
                                          T* variation,
                                          const std::vector<sycl::event>& dependencies = {});
template <method M, typename T, layout L>
TESSEL_STATS_EXPORT sycl::event variation(sycl::queue& queue, T* mean, const dataset<L, T*>& data,
                                          T* variation,
                                          const std::vector<sycl::event>& dependencies = {});
template <method M, typename T, layout L>
TESSEL_STATS_EXPORT void variation(sycl::queue& queue, const dataset<L, sycl::buffer<T, 1>>& data,
                                   sycl::buffer<T, 1> variation);
template <method M, typename T, layout L>
TESSEL_STATS_EXPORT void variation(sycl::queue& queue, sycl::buffer<T, 1> mean,
                                   const dataset<L, sycl::buffer<T, 1>>& data,
                                   sycl::buffer<T, 1> variation);

template <method M, typename T, layout L>
TESSEL_STATS_EXPORT sycl::event skewness(sycl::queue& queue, const dataset<L, T*>& data,
                                         T* skewness,
                                         const std::vector<sycl::event>& dependencies = {});
template <method M, typename T, layout L>
TESSEL_STATS_EXPORT sycl::event skewness(sycl::queue& queue, T* mean, const dataset<L, T*>& data,
                                         T* skewness,
                                         const std::vector<sycl::event>& dependencies = {});
template <method M, typename T, layout L>
TESSEL_STATS_EXPORT void skewness(sycl::queue& queue, const dataset<L, sycl::buffer<T, 1>>& data,
                                  sycl::buffer<T, 1> skewness);
template <method M, typename T, layout L>
TESSEL_STATS_EXPORT void skewness(sycl::queue& queue, sycl::buffer<T, 1> mean,
                                  const dataset<L, sycl::buffer<T, 1>>& data,
                                  sycl::buffer<T, 1> skewness);

template <method M, typename T, layout L>
TESSEL_STATS_EXPORT sycl::event kurtosis(sycl::queue& queue, const dataset<L, T*>& data,
                                         T* kurtosis,
                                         const std::vector<sycl::event>& dependencies = {});
template <method M, typename T, layout L>
TESSEL_STATS_EXPORT sycl::event kurtosis(sycl::queue& queue, T* mean, const dataset<L, T*>& data,
                                         T* kurtosis,
                                         const std::vector<sycl::event>& dependencies = {});
template <method M, typename T, layout L>
TESSEL_STATS_EXPORT void kurtosis(sycl::queue& queue, const dataset<L, sycl::buffer<T, 1>>& data,
                                  sycl::buffer<T, 1> kurtosis);
template <method M, typename T, layout L>
TESSEL_STATS_EXPORT void kurtosis(sycl::queue& queue, sycl::buffer<T, 1> mean,
                                  const dataset<L, sycl::buffer<T, 1>>& data,
                                  sycl::buffer<T, 1> kurtosis);

// Extremes, method::fast only; weights play no part.
template <method M, typename T, layout L>
TESSEL_STATS_EXPORT sycl::event min(sycl::queue& queue, const dataset<L, T*>& data, T* min,
                                    const std::vector<sycl::event>& dependencies = {});
template <method M, typename T, layout L>
TESSEL_STATS_EXPORT void min(sycl::queue& queue, const dataset<L, sycl::buffer<T, 1>>& data,
                             sycl::buffer<T, 1> min);

template <method M, typename T, layout L>
TESSEL_STATS_EXPORT sycl::event max(sycl::queue& queue, const dataset<L, T*>& data, T* max,
                                    const std::vector<sycl::event>& dependencies = {});
template <method M, typename T, layout L>
TESSEL_STATS_EXPORT void max(sycl::queue& queue, const dataset<L, sycl::buffer<T, 1>>& data,
                             sycl::buffer<T, 1> max);

template <method M, typename T, layout L>
TESSEL_STATS_EXPORT sycl::event min_max(sycl::queue& queue, const dataset<L, T*>& data, T* min,
                                        T* max, const std::vector<sycl::event>& dependencies = {});
template <method M, typename T, layout L>
TESSEL_STATS_EXPORT void min_max(sycl::queue& queue, const dataset<L, sycl::buffer<T, 1>>& data,
                                 sycl::buffer<T, 1> min, sycl::buffer<T, 1> max);

}  // namespace vorlex::orv::stats

// OpenMP offload: a summary-statistics task record (made by the estimator module) and an OpenMP
// interop object in, the estimates that estimate_mask selects computed on the device behind the
// interop object. Every failure is a negative status, never an exception: -1 the device route is
// not available, -2 an unknown failure, -3 a storage word that is neither layout, -4001 and below a
// bad value in the task. The _lp64 entries read the counts, the storage word and the selection of
// dimensions as 32-bit integers, the _ilp64 ones as 64-bit integers. The lower-case names take
// their arguments by reference.
struct ss_task;
extern "C" {
TESSEL_STATS_EXPORT std::int32_t orv_ksu_sSSCompute_omp_offload_lp64(ss_task* task,
                                                                     std::uint64_t estimate_mask,
                                                                     std::int32_t method,
                                                                     void* interop);
TESSEL_STATS_EXPORT std::int32_t orv_ksu_dSSCompute_omp_offload_lp64(ss_task* task,
                                                                     std::uint64_t estimate_mask,
                                                                     std::int32_t method,
                                                                     void* interop);
TESSEL_STATS_EXPORT std::int32_t orv_ksu_sSSCompute_omp_offload_ilp64(ss_task* task,
                                                                      std::uint64_t estimate_mask,
                                                                      std::int64_t method,
                                                                      void* interop);
TESSEL_STATS_EXPORT std::int32_t orv_ksu_dSSCompute_omp_offload_ilp64(ss_task* task,
                                                                      std::uint64_t estimate_mask,
                                                                      std::int64_t method,
                                                                      void* interop);
TESSEL_STATS_EXPORT std::int32_t orv_ksu_ssscompute_omp_offload_lp64(
    ss_task* const* task, const std::uint64_t* estimate_mask, const std::int32_t* method,
    void* interop);
TESSEL_STATS_EXPORT std::int32_t orv_ksu_dsscompute_omp_offload_lp64(
    ss_task* const* task, const std::uint64_t* estimate_mask, const std::int32_t* method,
    void* interop);
TESSEL_STATS_EXPORT std::int32_t orv_ksu_ssscompute_omp_offload(ss_task* const* task,
                                                                const std::uint64_t* estimate_mask,
                                                                const std::int64_t* method,
                                                                void* interop);
TESSEL_STATS_EXPORT std::int32_t orv_ksu_dsscompute_omp_offload(ss_task* const* task,
                                                                const std::uint64_t* estimate_mask,
                                                                const std::int64_t* method,
                                                                void* interop);
}

// Native OpenCL and Level Zero handles mapped to the SYCL objects made from them, once per process.
// A returned pointer stays valid for the life of the process and is never freed by the caller.
namespace vorlex::orv::gpu {

enum orv_gpu_backend_t { orv_gpu_backend_opencl = 0, orv_gpu_backend_level_zero = 1 };

// device is read for Level Zero only.
TESSEL_STATS_EXPORT sycl::context* lookup_and_cache_kelpa_context(void* native_context,
                                                                  void* native_device,
                                                                  orv_gpu_backend_t backend,
                                                                  sycl::device* device);
// interop (an OpenMP interop object) is read for Level Zero only, and only to make the queue.
TESSEL_STATS_EXPORT sycl::queue* lookup_and_cache_kelpa_queue(void* native_queue,
                                                              orv_gpu_backend_t backend,
                                                              sycl::context context, void* interop);
// The queue and its context from an OpenMP interop object; null when a property is unreadable.
TESSEL_STATS_EXPORT sycl::queue* lookup_and_cache_kelpa_queue_and_context(void* interop);

}  // namespace vorlex::orv::gpu

#undef TESSEL_STATS_EXPORT
#pragma GCC visibility pop
