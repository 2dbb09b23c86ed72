// The offload entry: from a task record and an OpenMP interop object to a status. It derives a
// queue from the interop object, checks the task, runs one submission for each family of estimates
// that the mask selects, and waits for the last one or hands its completion back to the OpenMP
// runtime. Nothing leaves it as an exception.
#pragma once

#include <sycl/sycl.hpp>

#include <cstdint>
#include <cstdio>
#include <exception>
#include <vorlex/orv/stats.hpp>

#include "offload/completion.hpp"
#include "offload/interop_binding.hpp"
#include "offload/queue_from_interop.hpp"
#include "offload/submissions.hpp"
#include "offload/task_model.hpp"
#include "orv/ss_task.h"

namespace vorlex::orv::stats::detail::offload {

// The rows of estimates in their order. They are not chained: each is submitted on its own, none
// reads what another wrote, and each one's status overwrites the running status, so the status that
// comes back is that of the last row that ran.
template <typename T, stats::layout L, typename Model>
sycl::event run_rows(sycl::queue& queue, const ss_task& task, std::uint64_t mask,
                     typename Model::integer method, std::int32_t& status) {
  const auto data = [&] {
    return task_dataset<T>{read_integer<Model>(task.dims), read_integer<Model>(task.obs_count),
                           static_cast<const T*>(task.observations),
                           static_cast<const T*>(task.weights), task.indices};
  };
  offload_result running{sycl::event{}, 0};
  // A single-step min or max is still in flight when its submission returns, and once the entry has
  // returned the caller may free what it writes: a row's event is waited for before the next row's
  // replaces it, so that the last event stands for all the work.
  const auto record = [&](offload_result&& row) {
    running.event.wait();
    running = std::move(row);
  };
  T* const mean = result<T>(task.mean);
  T* const raw2 = result<T>(task.raw2);
  T* const raw3 = result<T>(task.raw3);
  T* const raw4 = result<T>(task.raw4);
  if (mask & SS_MIN) {
    record(submit_extreme<L, Model, false>(queue, result<T>(task.min), data(), method));
  }
  if (mask & SS_MAX) {
    record(submit_extreme<L, Model, true>(queue, result<T>(task.max), data(), method));
  }
  if (mask & (SS_SUM | SS_RAW_SUM2 | SS_RAW_SUM3 | SS_RAW_SUM4)) {
    record(submit_raw_sum<L, Model>(queue, result<T>(task.sum), result<T>(task.raw_sum2),
                                    result<T>(task.raw_sum3), result<T>(task.raw_sum4), data(),
                                    method, mask));
  }
  if (mask & (SS_MEAN | SS_RAW_MOMENT2 | SS_RAW_MOMENT3 | SS_RAW_MOMENT4)) {
    record(submit_raw_moment<L, Model>(queue, mean, raw2, raw3, raw4, data(), method, mask));
  }
  if (mask & (SS_CENTRAL_SUM2 | SS_CENTRAL_SUM3 | SS_CENTRAL_SUM4)) {
    record(submit_central_sum<L, Model>(queue, mean, raw2, raw3, raw4, result<T>(task.central_sum2),
                                        result<T>(task.central_sum3), result<T>(task.central_sum4),
                                        data(), method, mask));
  }
  if (mask & (SS_CENTRAL_MOMENT2 | SS_CENTRAL_MOMENT3 | SS_CENTRAL_MOMENT4)) {
    record(submit_central_moment<L, Model>(queue, mean, raw2, raw3, raw4, result<T>(task.central2),
                                           result<T>(task.central3), result<T>(task.central4),
                                           data(), method, mask));
  }
  if (mask & SS_VARIATION) {
    record(
        submit_variation<L, Model>(queue, mean, raw2, result<T>(task.variation), data(), method));
  }
  if (mask & SS_SKEWNESS) {
    record(submit_skewness<L, Model>(queue, mean, raw2, raw3, result<T>(task.skewness), data(),
                                     method));
  }
  if (mask & SS_KURTOSIS) {
    record(submit_kurtosis<L, Model>(queue, mean, raw2, raw3, raw4, result<T>(task.kurtosis),
                                     data(), method));
  }
  status = running.status;
  return running.event;
}

// Everything from the queue's derivation on: the counts are examined only once a queue is there
// (observations first, then dimensions), and only the SYCL, Level Zero and OpenCL roads pass the
// gate, OpenCL only without shared virtual memory.
template <typename T, stats::layout L, typename Model>
std::int32_t compute_on_interop(const ss_task& task, std::uint64_t mask,
                                typename Model::integer method, void* interop, bool nowait) {
  std::int32_t backend = runtime_none;
  sycl::queue queue = queue_from_interop(interop, &backend);
  if (backend == runtime_none) {
    return -2;
  }
  if (read_integer<Model>(task.obs_count) < 1) {
    return -4002;
  }
  if (read_integer<Model>(task.dims) < 1) {
    return -4001;
  }
  if (task.observations == nullptr) {
    return -4032;
  }
  const bool open = backend == runtime_level_zero || backend == runtime_sycl ||
                    (backend == runtime_opencl && opencl_usm_allowed() != 0);
  if (!open) {
    return -1;
  }
  std::int32_t status = 0;
  sycl::event last = run_rows<T, L, Model>(queue, task, mask, method, status);
  if (!nowait) {
    last.wait();
  } else if (backend == runtime_opencl) {
    if (!complete_through_opencl(last, interop)) {
      status = -2;
    }
  } else {
    complete_on_thread(last, interop);
  }
  return status;
}

// A nowait byte that cannot be read means a waiting call.
inline bool nowait_requested(void* interop) {
  void* flag = nullptr;
  return get_interop_property(interop, property_nowait, &flag) == 0 && flag != nullptr &&
         *static_cast<const std::uint8_t*>(flag) != 0;
}

template <typename T, stats::layout L, typename Model>
std::int32_t compute_with_layout(const ss_task& task, std::uint64_t mask,
                                 typename Model::integer method, void* interop) {
  if (bind_interop() != 0) {
    return -2;
  }
  const bool nowait = nowait_requested(interop);
  try {
    return compute_on_interop<T, L, Model>(task, mask, method, interop, nowait);
  } catch (const vorlex::orv::exception& e) {
    std::fprintf(stderr, "Tessel Stats: vorlex::orv::exception: what: %s\n", e.what());
  } catch (const sycl::exception& e) {
    std::fprintf(stderr, "Tessel Stats: sycl::exception what: %s \n", e.what());
  } catch (const std::exception& e) {
    std::fprintf(stderr, "Tessel Stats: std::exception what: %s\n", e.what());
  } catch (...) {
    std::fputs("Tessel Stats: unknown exception occured during Kelpa call", stderr);
  }
  return -2;
}

// The storage word is examined first of all, before the interop object; it picks the layout, which
// the submissions take as a template argument.
template <typename T, typename Model>
std::int32_t compute_omp_offload(ss_task* task, std::uint64_t mask, typename Model::integer method,
                                 void* interop) {
  switch (read_integer<Model>(task->storage)) {
    case SS_STORAGE_ROW_MAJOR:
      return compute_with_layout<T, stats::layout::row_major, Model>(*task, mask, method, interop);
    case SS_STORAGE_COL_MAJOR:
      return compute_with_layout<T, stats::layout::col_major, Model>(*task, mask, method, interop);
    default:
      return -3;
  }
}

}  // namespace vorlex::orv::stats::detail::offload

// An entry of an element type and integer model under its C name, and its wrapper, which takes the
// task pointer, the mask and the method by reference and tail-calls it.
#define TESSEL_OFFLOAD_ENTRY(T, MODEL, ENTRY, WRAPPER)                                        \
  extern "C" std::int32_t ENTRY(ss_task* task, std::uint64_t estimate_mask,                   \
                                vorlex::orv::stats::detail::offload::MODEL::integer method,   \
                                void* interop) {                                              \
    return vorlex::orv::stats::detail::offload::compute_omp_offload<                          \
        T, vorlex::orv::stats::detail::offload::MODEL>(task, estimate_mask, method, interop); \
  }                                                                                           \
  extern "C" std::int32_t WRAPPER(                                                            \
      ss_task* const* task, const std::uint64_t* estimate_mask,                               \
      const vorlex::orv::stats::detail::offload::MODEL::integer* method, void* interop) {     \
    return ENTRY(*task, *estimate_mask, *method, interop);                                    \
  }
