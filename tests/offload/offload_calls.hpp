// Calls of the eight offload entries by a runtime description, over task records that the tests
// build in place of the estimator module, and interop objects of the stand-in OpenMP runtime.
#pragma once

#include <sycl/sycl.hpp>

#include <cstddef>
#include <cstdint>
#include <deque>
#include <optional>
#include <vector>
#include <vorlex/orv/stats.hpp>

#include "expected_outputs.hpp"
#include "omptarget/stand_in_interop.h"
#include "orv/ss_task.h"
#include "test_setup.hpp"

namespace tessel::test {

enum class model { lp64, ilp64 };
enum class form { direct, by_reference };

// One of the eight exports: the entry of the element type and model, or its wrapper.
std::int32_t compute(element e, model m, form f, ss_task* task, std::uint64_t mask,
                     std::int64_t method, void* interop);

// The result fields of a task record, in record order from byte 88 on.
// clang-format off
enum class field { mean, raw2, raw3, raw4, central2, central3, central4, sum, raw_sum2, raw_sum3,
                   raw_sum4, central_sum2, central_sum3, central_sum4, kurtosis, skewness, variation,
                   min, max };
// clang-format on
inline constexpr std::size_t field_count = 19;
void*& slot(ss_task& task, field f);

// What a field holds after a good call, from the reference; user_mean: method 256 ran.
expectation expected_field(field f, const dimension_expectations& e, bool user_mean);

// A task record over a problem, every result array given and poisoned (the mean holds the problem's
// user mean, if any); arrays are USM shared. The counts and storage word are 64-bit words, which an
// _lp64 entry reads by their low halves; the selection has the model's width.
template <typename T>
class offload_task {
 public:
  static constexpr T poison = T(-7777.25);

  offload_task(sycl::queue& queue, const problem<T>& p, st::layout layout, model m);

  ss_task* record() { return &task_; }
  const T* result(field f) { return static_cast<const T*>(slot(task_, f)); }
  std::int64_t dims, count, storage;

 private:
  ss_task task_{};
  std::deque<detail::usm_array<T>> arrays_;
  std::optional<detail::usm_array<std::int64_t>> wide_selection_;
  std::optional<detail::usm_array<std::int32_t>> narrow_selection_;
};

// A SYCL-road interop object for the queue: foreign runtime 4, property 5 the queue.
stand_in_interop sycl_interop(sycl::queue& queue);

}  // namespace tessel::test
