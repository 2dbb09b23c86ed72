// The min/max engine's host side: the step functions and the two drivers. The plan is the moment
// engine's (gpu/reduction_plan.hpp); the USM driver orders its steps by waiting on each, the buffer
// driver by the accessors on the scratch.
#pragma once

#include <sycl/sycl.hpp>

#include <cstdint>
#include <type_traits>
#include <vector>
#include <vorlex/orv/stats.hpp>

#include "common/memory_domain.hpp"
#include "gpu/dataset_view.hpp"
#include "gpu/launch.hpp"
#include "gpu/minmax_functors.hpp"
#include "gpu/minmax_kernels.hpp"
#include "gpu/reduction_plan.hpp"
#include "stats/dataset_helper.hpp"

namespace vorlex::orv::stats::detail::gpu {

// The buffer form's local blocks, one element a work-item for each half; the USM form has none.
template <typename F>
auto make_blocks(sycl::handler& cgh, std::uint64_t local_size) {
  if constexpr (F::usm) {
    return none{};
  } else {
    return make_halves<F>([&](auto) {
      return sycl::local_accessor<typename F::value_type, 1>(sycl::range<1>(local_size), cgh);
    });
  }
}

// The buffer form binds the dataset's, the functor's and the scratch's accessors.
template <typename F, typename Data, typename Scratch>
void require_minmax_step(sycl::handler& cgh, const Data& data, const F& functor,
                         const Scratch& scratch) {
  if constexpr (!F::usm) {
    data.require(cgh);
    functor.require(cgh);
    if constexpr (!std::is_same_v<Scratch, none>) {
      for_each_half<F>([&](auto half) { cgh.require(decltype(half)::of(scratch)); });
    }
  }
}

template <typename T, stats::layout L, bool Usm, bool WideIndices, typename F>
sycl::event minmax_single_step(sycl::queue& queue, dataset_helper<T, L, Usm, WideIndices>& data,
                               F& functor, std::uint64_t local_size) {
  constexpr bool row_layout = L == stats::layout::row_major;
  return queue.submit([&](sycl::handler& cgh) {
    require_minmax_step(cgh, data, functor, none{});
    const auto blocks = make_blocks<F>(cgh, local_size);
    cgh.parallel_for(
        launch_range(1, local_size),
        minmax_kernel_single_step<F, row_layout, WideIndices>(data, blocks, local_size, functor));
  });
}

template <typename T, stats::layout L, bool Usm, bool WideIndices, typename F, typename Scratch>
sycl::event minmax_first_step(sycl::queue& queue, dataset_helper<T, L, Usm, WideIndices>& data,
                              F& functor, const Scratch& scratch, std::uint64_t group_size,
                              std::uint64_t group_count, std::uint64_t remainder) {
  constexpr bool row_layout = L == stats::layout::row_major;
  return queue.submit([&](sycl::handler& cgh) {
    require_minmax_step(cgh, data, functor, scratch);
    const auto blocks = make_blocks<F>(cgh, group_size);
    cgh.parallel_for(launch_range(group_count, group_size),
                     minmax_kernel_first_step<F, row_layout, WideIndices>(
                         data, blocks, group_count, remainder, group_size, scratch));
  });
}

template <bool Last, typename T, stats::layout L, bool Usm, bool WideIndices, typename F,
          typename Scratch>
sycl::event minmax_next_step(sycl::queue& queue, dataset_helper<T, L, Usm, WideIndices>& data,
                             F& functor, const Scratch& scratch, std::uint64_t local_size,
                             std::uint64_t group_count, std::uint64_t remainder,
                             std::uint64_t prev_count, std::uint64_t load_offset,
                             std::uint64_t store_offset) {
  constexpr bool row_layout = L == stats::layout::row_major;
  return queue.submit([&](sycl::handler& cgh) {
    require_minmax_step(cgh, data, functor, scratch);
    const auto blocks = make_blocks<F>(cgh, local_size);
    cgh.parallel_for(launch_range(group_count, local_size),
                     minmax_kernel_next_step<F, row_layout, Last, WideIndices>(
                         data, blocks, scratch, local_size, prev_count, group_count, remainder,
                         functor, load_offset, store_offset));
  });
}

// Runs the launches of a plan. wait_each: the USM form, whose scratch is ordered by nothing else,
// waits for each launch on the host.
template <typename Data, typename F, typename Scratch>
sycl::event run_minmax_launches(sycl::queue& queue, Data& data, F& functor, const Scratch& scratch,
                                const reduction_plan& plan, std::uint64_t half_size,
                                bool wait_each) {
  sycl::event last;
  for (const reduction_launch& launch : plan.launches) {
    const std::uint64_t load_offset = launch.load_half * half_size;
    const std::uint64_t store_offset = launch.store_half * half_size;
    switch (launch.kind) {
      case step_kind::single:
        last = minmax_single_step(queue, data, functor, launch.local_size);
        break;
      case step_kind::first:
        last = minmax_first_step(queue, data, functor, scratch, plan.group_size, launch.group_count,
                                 launch.remainder);
        break;
      case step_kind::next:
        last = minmax_next_step<false>(queue, data, functor, scratch, launch.local_size,
                                       launch.group_count, launch.remainder, launch.prev_count,
                                       load_offset, store_offset);
        break;
      case step_kind::last:
        last = minmax_next_step<true>(queue, data, functor, scratch, launch.local_size,
                                      launch.group_count, launch.remainder, launch.prev_count,
                                      load_offset, store_offset);
        break;
    }
    if (wait_each) {
      last.wait();
    }
  }
  return last;
}

// A USM scratch block, freed when the driver leaves. Every launch that uses it has been waited for
// by then, also when a later submission throws.
template <typename T>
class device_scratch {
 public:
  device_scratch(sycl::queue& queue, std::uint64_t count)
      : queue_(queue), data_(count != 0 ? sycl::malloc_device<T>(count, queue) : nullptr) {}
  device_scratch(const device_scratch&) = delete;
  device_scratch& operator=(const device_scratch&) = delete;
  ~device_scratch() {
    if (data_ != nullptr) {
      sycl::free(data_, queue_);
    }
  }
  T* get() const { return data_; }

 private:
  sycl::queue& queue_;
  T* data_;
};

// Plans the launches for the device's group size. A plan of one step needs no scratch; otherwise
// run(plan, half_size, scratch_size) makes the scratch halves and runs the launches.
template <typename F, typename View, typename Run>
sycl::event plan_minmax(sycl::queue& queue, View& view, F& functor, Run run) {
  const std::uint64_t group_size =
      queue.get_device().get_info<sycl::info::device::max_work_group_size>();
  const reduction_plan plan = make_plan(view.n_obs, group_size);
  if (plan.launches.front().kind == step_kind::single) {
    return minmax_single_step(queue, view, functor, plan.launches.front().local_size);
  }
  const std::uint64_t half_size = view.dims * plan.n_groups;
  return run(plan, half_size, half_size * (plan.two_halves ? 2 : 1));
}

template <typename T, stats::layout L, typename F, bool WideIndices = true>
sycl::event submit_minmax_usm(sycl::queue& queue, const dataset<L, T*>& data, F& functor,
                              const std::vector<sycl::event>& deps) {
  sycl::event::wait_and_throw(deps);
  auto view = usm_dataset_helper<WideIndices>(data);
  return plan_minmax(
      queue, view, functor,
      [&](const reduction_plan& plan, std::uint64_t half_size, std::uint64_t scratch_size) {
        const auto blocks =
            make_halves<F>([&](auto) { return device_scratch<T>(queue, scratch_size); });
        // A failed allocation is reported as the library reports one; the blocks made are freed.
        bool allocated = true;
        for_each_half<F>([&](auto half) {
          allocated = allocated && decltype(half)::of(blocks).get() != nullptr;
        });
        if (scratch_size != 0 && !allocated) {
          throw vorlex::orv::device_bad_alloc(memory_domain, F::name, queue.get_device());
        }
        const auto scratch =
            make_halves<F>([&](auto half) { return decltype(half)::of(blocks).get(); });
        return run_minmax_launches(queue, view, functor, scratch, plan, half_size, true);
      });
}

// The caller's weights are not bound at all: the kernels never read them.
template <typename T, stats::layout L, typename F, bool WideIndices = true>
sycl::event submit_minmax(sycl::queue& queue, const dataset<L, sycl::buffer<T, 1>>& data,
                          F& functor) {
  sycl::buffer<T, 1> dummy_weights{sycl::range<1>(1)};
  sycl::buffer<std::int64_t, 1> dummy_indices{sycl::range<1>(1)};
  auto view = buffer_dataset_helper<WideIndices>(data, dummy_weights, dummy_indices, false);
  return plan_minmax(
      queue, view, functor,
      [&](const reduction_plan& plan, std::uint64_t half_size, std::uint64_t scratch_size) {
        auto buffers =
            make_halves<F>([&](auto) { return sycl::buffer<T, 1>(sycl::range<1>(scratch_size)); });
        const auto scratch = make_halves<F>(
            [&](auto half) { return scratch_accessor<T>(decltype(half)::of(buffers)); });
        return run_minmax_launches(queue, view, functor, scratch, plan, half_size, false);
      });
}

}  // namespace vorlex::orv::stats::detail::gpu
