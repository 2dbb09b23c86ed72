// The road of a GPU queue: the statistic's functor over the outputs, handed to the GPU engine with
// the dataset. The engine waits for the event list itself (USM) and for its own kernels, so the
// call has finished when it returns.
#pragma once

#include <sycl/sycl.hpp>

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <tuple>
#include <type_traits>
#include <vector>
#include <vorlex/orv/stats.hpp>

#include "common/memory_domain.hpp"
#include "gpu/minmax_gpu_impl.hpp"
#include "gpu/moments_gpu_impl.hpp"
#include "gpu/out_handle.hpp"
#include "stats/output_checks.hpp"
#include "stats/statistic.hpp"

namespace vorlex::orv::stats::detail {

template <typename Statistic, typename T, bool Usm, bool UserMean>
struct gpu_functor_of {
  using type = typename Statistic::template gpu_functor<T, Usm>;
};

template <typename Statistic, typename T, bool Usm>
struct gpu_functor_of<Statistic, T, Usm, true> {
  using type = typename Statistic::template gpu_functor_user_mean<T, Usm>;
};

template <typename Statistic, typename T, bool Usm, typename Mean>
using gpu_functor_t =
    typename gpu_functor_of<Statistic, T, Usm, !std::is_same_v<Mean, no_mean>>::type;

// The functor's wanted-flags, one for every output after the first, then its output handles.
template <typename Statistic, typename F, typename Handle, std::size_t N>
F make_gpu_functor(const std::array<bool, N>& given, const std::array<Handle, N>& handles) {
  std::array<std::uint8_t, Statistic::outputs == output_rule::later_optional ? N - 1 : 0> wants{};
  for (std::size_t i = 0; i < wants.size(); ++i) {
    wants[i] = given[i + 1] ? 1 : 0;
  }
  return std::apply(
      [&handles](auto... flags) {
        return std::apply([&flags...](const auto&... outputs) { return F(flags..., outputs...); },
                          handles);
      },
      wants);
}

// A first output left out while later ones are given is still stored to by the engine: the stores
// go to a stand-in of n_dims elements, never to the caller's null pointer or empty buffer.
inline std::size_t stand_in_size(std::int64_t n_dims) {
  return static_cast<std::size_t>(std::max<std::int64_t>(n_dims, 1));
}

template <typename T>
struct usm_free {
  sycl::queue queue;
  void operator()(T* pointer) const { sycl::free(pointer, queue); }
};

template <typename Statistic, typename T, layout L, typename Mean, typename... Out>
sycl::event gpu_road_usm(sycl::queue& queue, Mean mean, const dataset<L, T*>& data,
                         const std::vector<sycl::event>& dependencies, Out... outputs) {
  using F = gpu_functor_t<Statistic, T, true, Mean>;
  constexpr std::size_t n = sizeof...(Out);
  const std::array<bool, n> given{is_given(outputs)...};
  std::array<T*, n> handles{outputs...};
  std::unique_ptr<T, usm_free<T>> stand_in(nullptr, usm_free<T>{queue});
  if (!given[0]) {
    stand_in.reset(sycl::malloc_device<T>(stand_in_size(data.n_dims), queue));
    if (!stand_in) {
      throw device_bad_alloc(memory_domain, Statistic::name, queue.get_device());
    }
    handles[0] = stand_in.get();
  }
  F functor = make_gpu_functor<Statistic, F>(given, handles);
  sycl::event done;
  if constexpr (Statistic::engine == gpu_engine::moments) {
    const T* user_mean = nullptr;
    if constexpr (!std::is_same_v<Mean, no_mean>) {
      user_mean = mean;
    }
    done = gpu::submit_basic_usm(queue, data, functor, dependencies, user_mean);
  } else {
    done = gpu::submit_minmax_usm(queue, data, functor, dependencies);
  }
  if (stand_in) {
    done.wait();
  }
  return done;
}

// The engine works on copies of the dataset and of the outputs (they share the caller's storage).
// An output left out binds its accessor to a buffer of the entry's own: one element for a flagged
// output, whose flag keeps it from being written, and a stand-in for the first. Those buffers end
// with the call, and their end waits for the kernels that use them.
template <typename Statistic, typename T, layout L, typename Mean, typename... Out>
void gpu_road_buffer(sycl::queue& queue, Mean mean, const dataset<L, sycl::buffer<T, 1>>& data,
                     Out... outputs) {
  using F = gpu_functor_t<Statistic, T, false, Mean>;
  constexpr std::size_t n = sizeof...(Out);
  const std::array<bool, n> given{is_given(outputs)...};
  std::array<sycl::buffer<T, 1>, n> targets{outputs...};
  for (std::size_t i = 0; i < n; ++i) {
    if (!given[i]) {
      targets[i] = sycl::buffer<T, 1>(sycl::range<1>(i == 0 ? stand_in_size(data.n_dims) : 1));
    }
  }
  std::array<pointer_or_accessor<T, false>, n> handles = std::apply(
      [](auto&... target) {
        return std::array<pointer_or_accessor<T, false>, n>{
            pointer_or_accessor<T, false>(target)...};
      },
      targets);
  F functor = make_gpu_functor<Statistic, F>(given, handles);
  dataset<L, sycl::buffer<T, 1>> data_copy = data;
  if constexpr (Statistic::engine == gpu_engine::moments) {
    sycl::buffer<T, 1>* user_mean = nullptr;
    if constexpr (!std::is_same_v<Mean, no_mean>) {
      user_mean = &mean;
    }
    gpu::submit_basic(queue, data_copy, functor, user_mean);
  } else {
    gpu::submit_minmax(queue, data_copy, functor);
  }
}

}  // namespace vorlex::orv::stats::detail
