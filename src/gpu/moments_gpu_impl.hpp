// The moment engine's host side: the step functions, each one command group that binds the
// placeholder accessors, asks for local memory and launches one kernel, and the two drivers that
// run a reduction plan with them.
//
// A functor F tells the engine what it needs: F::value_type, F::usm, F::user_mean, kept() (the
// has_s2/has_s3/has_s4 flags of sum_tmp_helper), channels() (the multiplier of slot_stride in the
// size of sums, and of the local blocks of a next step), require() and operator()(helper, dim).
#pragma once

#include <sycl/sycl.hpp>

#include <algorithm>
#include <cstdint>
#include <vector>
#include <vorlex/orv/stats.hpp>

#include "gpu/basic_kernels.hpp"
#include "gpu/dataset_view.hpp"
#include "gpu/launch.hpp"
#include "gpu/moment_functors.hpp"
#include "gpu/moment_functors_ex.hpp"
#include "gpu/reduction_plan.hpp"
#include "gpu/sum_tmp_helper.hpp"
#include "stats/dataset_helper.hpp"

namespace vorlex::orv::stats::detail::gpu {

// USM binds the scratch only; the buffer form binds the dataset's, the functor's and the scratch's
// accessors, in this order, in every step.
template <typename Data, typename Helper, typename F>
void require_step(sycl::handler& cgh, const Data& data, const Helper& helper, const F& functor) {
  if constexpr (!F::usm) {
    data.require(cgh);
    functor.require(cgh);
  }
  helper.require(cgh);
}

template <bool Usm, bool UserMean, typename T, stats::layout L, typename F, bool WideIndices>
sycl::event basic_single_step(sycl::queue& queue, dataset_helper<T, L, Usm, WideIndices>& data,
                              sum_tmp_helper<T, Usm, UserMean>& helper, F& functor,
                              std::uint64_t local_size) {
  constexpr bool row_layout = L == stats::layout::row_major;
  return queue.submit([&](sycl::handler& cgh) {
    require_step(cgh, data, helper, functor);
    sycl::local_accessor<T, 1> local(sycl::range<1>(local_size), cgh);
    cgh.parallel_for(launch_range(1, local_size),
                     basic_kernel_single_step<F, row_layout, WideIndices>(data, local, local_size,
                                                                          helper, functor));
  });
}

template <bool Usm, bool UserMean, typename T, stats::layout L, typename F, bool WideIndices>
sycl::event basic_first_step(sycl::queue& queue, dataset_helper<T, L, Usm, WideIndices>& data,
                             sum_tmp_helper<T, Usm, UserMean>& helper, F& functor,
                             std::uint64_t group_size, std::uint64_t group_count,
                             std::uint64_t remainder) {
  constexpr bool row_layout = L == stats::layout::row_major;
  return queue.submit([&](sycl::handler& cgh) {
    require_step(cgh, data, helper, functor);
    sycl::local_accessor<T, 1> local(sycl::range<1>(group_size), cgh);
    cgh.parallel_for(launch_range(group_count, group_size),
                     basic_kernel_first_step<F, row_layout, WideIndices>(
                         data, local, group_size, group_count, remainder, helper));
  });
}

// The local request is (channels + w) blocks, w being 1 with weights, but never fewer than the
// blocks the kernel touches: the weight sums take blocks slot_w and slot_w2, and when the channels
// equal the sums kept, slot_w2 is the block right after (channels + w).
template <bool Last, bool Usm, bool UserMean, typename T, stats::layout L, typename F,
          bool WideIndices>
sycl::event basic_next_step(sycl::queue& queue, dataset_helper<T, L, Usm, WideIndices>& data,
                            sum_tmp_helper<T, Usm, UserMean>& helper, F& functor,
                            std::uint64_t local_size, std::uint64_t group_count,
                            std::uint64_t remainder, std::uint64_t prev_count) {
  constexpr bool row_layout = L == stats::layout::row_major;
  return queue.submit([&](sycl::handler& cgh) {
    require_step(cgh, data, helper, functor);
    const std::uint64_t w = data.has_weights ? 1 : 0;
    const std::uint64_t blocks = std::max(functor.channels() + w, w * (helper.slot_w2 + 1));
    sycl::local_accessor<T, 1> local(sycl::range<1>(blocks * local_size), cgh);
    cgh.parallel_for(launch_range(group_count, local_size),
                     basic_kernel_next_step<F, row_layout, Last, WideIndices>(
                         data, helper, local, remainder, prev_count, functor));
  });
}

template <typename T, bool Usm, typename F, typename... Mean>
sum_tmp_helper<T, Usm, F::user_mean> make_sum_tmp_helper(
    const F& functor, sycl::buffer<T, 1>& sums, sycl::buffer<T, 1>& sum_w,
    sycl::buffer<T, 1>& sum_w2, std::uint8_t has_w, std::uint64_t slot_stride,
    std::uint64_t obs_count, const Mean&... mean) {
  const kept_sums kept = functor.kept();
  if constexpr (F::user_mean) {
    return {sums, sum_w, sum_w2, mean..., kept.has_s3, kept.has_s4, has_w, slot_stride, obs_count};
  } else {
    return {sums,        sum_w, sum_w2,      kept.has_s2, kept.has_s3,
            kept.has_s4, has_w, slot_stride, obs_count};
  }
}

// The plan and its launches, common to both drivers. The scratch buffers end with this frame, and
// that end waits for the kernels.
template <bool WideIndices, typename T, stats::layout L, bool Usm, typename F, typename... Mean>
sycl::event run_moment_plan(sycl::queue& queue, dataset_helper<T, L, Usm, WideIndices>& data,
                            F& functor, const Mean&... mean) {
  const std::uint64_t group_size =
      queue.get_device().get_info<sycl::info::device::max_work_group_size>();
  const reduction_plan plan = make_plan(data.n_obs, group_size);
  const std::uint64_t slot_stride = data.dims * plan.n_groups;
  const std::uint64_t halves = plan.two_halves ? 2 : 1;
  const std::uint64_t sums_size = functor.channels() * slot_stride;
  const std::uint64_t weights_size = data.has_weights ? plan.n_groups : 0;
  sycl::buffer<T, 1> sums{sycl::range<1>(sums_size * halves)};
  sycl::buffer<T, 1> sum_w{sycl::range<1>(data.has_weights ? weights_size * halves : 1)};
  sycl::buffer<T, 1> sum_w2{sycl::range<1>(data.has_weights ? weights_size * halves : 1)};
  auto helper = make_sum_tmp_helper<T, Usm>(functor, sums, sum_w, sum_w2, data.has_weights,
                                            slot_stride, data.n_obs, mean...);
  helper.halves.sums_size = sums_size;
  helper.halves.weights_size = weights_size;

  sycl::event last;
  for (const reduction_launch& launch : plan.launches) {
    helper.halves.load_upper = launch.load_half;
    helper.halves.store_upper = launch.store_half;
    switch (launch.kind) {
      case step_kind::single:
        last = basic_single_step(queue, data, helper, functor, launch.local_size);
        break;
      case step_kind::first:
        last = basic_first_step(queue, data, helper, functor, group_size, launch.group_count,
                                launch.remainder);
        break;
      case step_kind::next:
        last = basic_next_step<false>(queue, data, helper, functor, launch.local_size,
                                      launch.group_count, launch.remainder, launch.prev_count);
        break;
      case step_kind::last:
        last = basic_next_step<true>(queue, data, helper, functor, launch.local_size,
                                     launch.group_count, launch.remainder, launch.prev_count);
        break;
    }
  }
  return last;
}

// F decides UserMean; mean is used only then. The wait on the dependencies is the only link to the
// caller's work: no kernel here depends on an event.
template <typename T, stats::layout L, typename F, bool WideIndices = true>
sycl::event submit_basic_usm(sycl::queue& queue, const dataset<L, T*>& data, F& functor,
                             const std::vector<sycl::event>& deps,
                             [[maybe_unused]] const T* mean = nullptr) {
  sycl::event::wait_and_throw(deps);
  auto view = usm_dataset_helper<WideIndices>(data);
  if constexpr (F::user_mean) {
    return run_moment_plan<WideIndices>(queue, view, functor, mean);
  } else {
    return run_moment_plan<WideIndices>(queue, view, functor);
  }
}

template <typename T, stats::layout L, typename F, bool WideIndices = true>
sycl::event submit_basic(sycl::queue& queue, const dataset<L, sycl::buffer<T, 1>>& data, F& functor,
                         [[maybe_unused]] sycl::buffer<T, 1>* mean = nullptr) {
  sycl::buffer<T, 1> dummy_weights{sycl::range<1>(1)};
  sycl::buffer<std::int64_t, 1> dummy_indices{sycl::range<1>(1)};
  auto view = buffer_dataset_helper<WideIndices>(data, dummy_weights, dummy_indices, true);
  if constexpr (F::user_mean) {
    return run_moment_plan<WideIndices>(
        queue, view, functor, pointer_or_accessor<T, false, sycl::access_mode::read>(*mean));
  } else {
    return run_moment_plan<WideIndices>(queue, view, functor);
  }
}

}  // namespace vorlex::orv::stats::detail::gpu
