// The three moment kernels. A work-group walks the selected dimensions in turn, one work-item per
// observation (first and single steps) or per partial result of the step before (next steps);
// sum_tmp_helper makes and stores the group's sums, and a single or last step finishes each
// dimension through the functor.
#pragma once

#include <sycl/sycl.hpp>

#include <cstdint>
#include <vorlex/orv/stats.hpp>

#include "gpu/device_memory.hpp"
#include "gpu/kernel_capture.hpp"
#include "gpu/sum_tmp_helper.hpp"
#include "stats/dataset_helper.hpp"

namespace vorlex::orv::stats::detail::gpu {

// The types that a functor fixes for its kernels.
template <typename F, bool RowLayout, bool WideIndices>
struct moment_kernel_types {
  using value_type = typename F::value_type;
  using data_type =
      detail::dataset_helper<value_type,
                             RowLayout ? stats::layout::row_major : stats::layout::col_major,
                             F::usm, WideIndices>;
  using helper_type = sum_tmp_helper<value_type, F::usm, F::user_mean>;
  using local_type = sycl::local_accessor<value_type, 1>;
};

template <typename F, bool RowLayout, bool WideIndices>
class basic_kernel_single_step {
  using types = moment_kernel_types<F, RowLayout, WideIndices>;
  using T = typename types::value_type;

 public:
  basic_kernel_single_step(const typename types::data_type& data,
                           const typename types::local_type& local, std::uint64_t group_size,
                           const typename types::helper_type& helper, const F& functor)
      : data_(data),
        local_(local),
        group_size_(keep_if<RowLayout>(group_size)),
        helper_(helper),
        functor_(functor) {}

  void operator()(sycl::nd_item<1> item) const {
    T* block = local_pointer(local_);
    const std::uint64_t l = item.get_local_id(0);
    bool first = true;
    for (std::uint64_t d = 0; d < data_.dims; ++d) {
      if (!is_selected(data_, d)) {
        continue;
      }
      if constexpr (RowLayout) {
        group_copy(item, block, device_pointer(data_.x) + d * data_.n_obs, group_size_);
      } else {
        block[l] = observation(data_, d, l);
      }
      sycl::group_barrier(item.get_group(), sycl::memory_scope::work_group);
      helper_.calculate(block, d, item, observation_weight(data_, l), 0, first);
      // The functor reads what the group's last work-item stored.
      sycl::group_barrier(item.get_group(), sycl::memory_scope::device);
      functor_(helper_, d);
      first = false;
    }
  }

 private:
  typename types::data_type data_;
  typename types::local_type local_;
  capture_if<RowLayout, std::uint64_t> group_size_;
  typename types::helper_type helper_;
  F functor_;
};

// The first step carries no functor: F only names the kernel and fixes its types.
template <typename F, bool RowLayout, bool WideIndices>
class basic_kernel_first_step {
  using types = moment_kernel_types<F, RowLayout, WideIndices>;
  using T = typename types::value_type;

 public:
  basic_kernel_first_step(const typename types::data_type& data,
                          const typename types::local_type& local, std::uint64_t group_size,
                          std::uint64_t group_count, std::uint64_t remainder,
                          const typename types::helper_type& helper)
      : data_(data),
        local_(local),
        group_size_(keep_if<RowLayout>(group_size)),
        group_count_(group_count),
        remainder_(remainder),
        helper_(helper) {}

  void operator()(sycl::nd_item<1> item) const {
    T* block = local_pointer(local_);
    const std::uint64_t l = item.get_local_id(0);
    const std::uint64_t i = item.get_global_id(0);
    const bool tail = is_tail(item, group_count_, remainder_);
    bool first = true;
    for (std::uint64_t d = 0; d < data_.dims; ++d) {
      if (!is_selected(data_, d)) {
        continue;
      }
      // Tail work-items read nothing: their value and weight are 0.
      if constexpr (RowLayout) {
        const T* run = device_pointer(data_.x) + item.get_group(0) * group_size_ + d * data_.n_obs;
        group_copy(item, block, run, valid_count(item, group_count_, remainder_));
      } else if (!tail) {
        block[l] = observation(data_, d, i);
      }
      T weight = T(0);
      if (tail) {
        block[l] = T(0);
      } else {
        weight = observation_weight(data_, i);
      }
      sycl::group_barrier(item.get_group(), sycl::memory_scope::work_group);
      helper_.calculate(block, d, item, weight, remainder_, first);
      first = false;
    }
  }

 private:
  typename types::data_type data_;
  typename types::local_type local_;
  capture_if<RowLayout, std::uint64_t> group_size_;
  std::uint64_t group_count_;
  std::uint64_t remainder_;
  typename types::helper_type helper_;
};

// RowLayout names the kernel only: a next step reads scratch, not observations.
template <typename F, bool RowLayout, bool Last, bool WideIndices>
class basic_kernel_next_step {
  using types = moment_kernel_types<F, RowLayout, WideIndices>;

 public:
  basic_kernel_next_step(const typename types::data_type& data,
                         const typename types::helper_type& helper,
                         const typename types::local_type& local, std::uint64_t remainder,
                         std::uint64_t row_stride, const F& functor)
      : data_(data),
        helper_(helper),
        local_(local),
        remainder_(remainder),
        row_stride_(row_stride),
        functor_(keep_if<Last>(functor)) {}

  void operator()(sycl::nd_item<1> item) const {
    bool first = true;
    for (std::uint64_t d = 0; d < data_.dims; ++d) {
      if (!is_selected(data_, d)) {
        continue;
      }
      helper_.load(local_, d, item, remainder_, row_stride_, first);
      helper_.merge(local_, d, item, row_stride_, first);
      if constexpr (Last) {
        sycl::group_barrier(item.get_group(), sycl::memory_scope::device);
        functor_(helper_, d);
      }
      first = false;
    }
  }

 private:
  typename types::data_type data_;
  typename types::helper_type helper_;
  typename types::local_type local_;
  std::uint64_t remainder_;
  std::uint64_t row_stride_;
  capture_if<Last, F> functor_;
};

}  // namespace vorlex::orv::stats::detail::gpu
