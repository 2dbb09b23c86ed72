#include "cpu/compute_dispatcher.hpp"

#include <array>
#include <cstddef>
#include <cstring>
#include <iterator>

#include "cpu/estimator_binding.hpp"
#include "orv/orv_ksu_serv_threader.h"

namespace vorlex::orv::stats::detail::cpu {
namespace {

using threading_entries = std::array<ss_threading_entry, SS_THREADING_TABLE_SIZE>;

// The threading service's entries, handed to every stage and never called here: three rows of the
// same five addresses.
threading_entries make_threading_table() {
  const ss_threading_entry row[] = {
      reinterpret_cast<ss_threading_entry>(&orv_ksu_serv_threader_for),
      reinterpret_cast<ss_threading_entry>(&orv_ksu_serv_threader_for_ordered),
      reinterpret_cast<ss_threading_entry>(&orv_ksu_serv_threader_sections),
      reinterpret_cast<ss_threading_entry>(&orv_ksu_serv_threader_ordered),
      reinterpret_cast<ss_threading_entry>(&orv_ksu_serv_threader_get_num_threads_limit)};
  threading_entries table{};
  for (std::size_t k = 0; k < table.size(); ++k) {
    table[k] = row[k % std::size(row)];
  }
  return table;
}

// One table for the float stages and one for the double stages.
const threading_entries float_threading_table = make_threading_table();
const threading_entries double_threading_table = make_threading_table();

// A count or the storage word: 64-bit when the task says so, else 32-bit with sign extension.
std::int64_t read_word(const void* place, std::int32_t int_width) {
  if (int_width != 0) {
    std::int64_t value;
    std::memcpy(&value, place, sizeof value);
    return value;
  }
  std::int32_t value;
  std::memcpy(&value, place, sizeof value);
  return value;
}

std::int32_t validate(const ss_task* task, std::uint64_t estimate_mask) {
  if (task == nullptr) {
    return SS_STATUS_NULL_TASK;
  }
  if (task->dims == nullptr || read_word(task->dims, task->int_width) < 1) {
    return SS_STATUS_BAD_DIMENSIONS;
  }
  // Partial covariance, correlation parametrization and streaming quantiles need no observations.
  if ((estimate_mask & SS_NO_OBSERVATIONS_NEEDED) != 0) {
    return SS_STATUS_OK;
  }
  if (task->obs_count == nullptr || read_word(task->obs_count, task->int_width) < 1) {
    return SS_STATUS_BAD_OBSERVATION_COUNT;
  }
  if (task->observations == nullptr) {
    return SS_STATUS_NULL_OBSERVATIONS;
  }
  if (task->storage == nullptr) {
    return SS_STATUS_NULL_STORAGE;
  }
  const std::int64_t storage = read_word(task->storage, task->int_width);
  if (storage != SS_STORAGE_ROW_MAJOR && storage != SS_STORAGE_COL_MAJOR) {
    return SS_STATUS_BAD_STORAGE;
  }
  return SS_STATUS_OK;
}

struct stage_route {
  std::uint64_t mask;
  stage s;
};

// The order of the calls, which is not that of the bits.
constexpr stage_route ordered_stages[] = {
    {SS_STAGE_MINMAX, stage::minmax},
    {SS_STAGE_SORT, stage::sort},
    {SS_STAGE_BASIC, stage::basic},
    {SS_STAGE_MAD, stage::mad},
    {SS_STAGE_POOLED_COVARIANCE, stage::pooled_covariance},
    {SS_STAGE_OUTLIERS_DETECTION, stage::outliers_detection},
    {SS_STAGE_ROBUST_COVARIANCE, stage::robust_covariance},
    {SS_STAGE_PARTIAL_COVARIANCE, stage::partial_covariance},
    {SS_STAGE_QUANTILES, stage::quantiles},
    {SS_STAGE_STREAM_QUANTILES, stage::stream_quantiles},
};

template <typename T>
std::int32_t compute(ss_task* task, std::uint64_t estimate_mask, std::intptr_t method,
                     const ss_threading_entry* threading_table) {
  if (const std::int32_t status = validate(task, estimate_mask); status != SS_STATUS_OK) {
    return status;
  }
  if ((estimate_mask & SS_STAGE_MISSING_VALUES) != 0) {
    return run_stage<T>(stage::missing_values, task, estimate_mask, method, threading_table);
  }
  std::int32_t status = SS_STATUS_OK;
  for (const stage_route& route : ordered_stages) {
    if ((estimate_mask & route.mask) != 0) {
      status = run_stage<T>(route.s, task, estimate_mask, method, threading_table);
      if (status < 0) {
        return status;
      }
    }
  }
  // The last stage's status is the result as it is.
  if ((estimate_mask & SS_STAGE_COR_PARAMETRIZATION) != 0) {
    status = run_stage<T>(stage::cor_parametrization, task, estimate_mask, method, threading_table);
  }
  return status;
}

}  // namespace

std::int32_t __ksusSSCompute(ss_task* task, std::uint64_t estimate_mask, std::intptr_t method) {
  return compute<float>(task, estimate_mask, method, float_threading_table.data());
}

std::int32_t __ksudSSCompute(ss_task* task, std::uint64_t estimate_mask, std::intptr_t method) {
  return compute<double>(task, estimate_mask, method, double_threading_table.data());
}

}  // namespace vorlex::orv::stats::detail::cpu
