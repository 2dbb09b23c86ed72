// Running the GPU engine's drivers directly on the emulated GPU, in both forms, with outputs
// poisoned first so that a store where none belongs shows.
#pragma once

#include <sycl/sycl.hpp>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <limits>
#include <memory>
#include <vector>
#include <vorlex/orv/stats.hpp>

#include "gpu/minmax_gpu_impl.hpp"
#include "gpu/moments_gpu_impl.hpp"
#include "support/reference.hpp"

namespace tessel::gpu_test {

using vorlex::orv::stats::dataset;
using vorlex::orv::stats::layout;
namespace gpu = vorlex::orv::stats::detail::gpu;
using test::dimension_reference;
using test::quad;

inline sycl::queue& gpu_queue() {
  static sycl::queue queue{sycl::gpu_selector_v};
  return queue;
}

inline std::size_t device_group_size() {
  return gpu_queue().get_device().get_info<sycl::info::device::max_work_group_size>();
}

// Observation counts around the device's group size L: single steps (1, L - 1, L), first and
// last (L + 1, 2L), and up to groups of 64 a next step with more than one group (L * L + 1)
// and, for small groups, a chain of several next steps. (Large groups make the emulated
// device slow; the small ones cover the longer plans.)
inline std::vector<std::size_t> plan_sizes() {
  const std::size_t l = device_group_size();
  std::vector<std::size_t> sizes = {1, l - 1, l, l + 1, 2 * l};
  if (l <= 64) {
    sizes.push_back(l * l + 1);
  }
  if (l <= 7) {
    sizes.push_back(l * l * l * l + 3);
  }
  sizes.erase(std::remove(sizes.begin(), sizes.end(), std::size_t{0}), sizes.end());
  return sizes;
}

// The longest plan of plan_sizes(): a next step with several groups up to groups of 64.
inline std::size_t long_plan_size() {
  const std::size_t l = device_group_size();
  return l <= 64 ? l * l + 1 : 2 * l + 1;
}

// A value no engine computes from the test data.
template <typename T>
T poison() {
  return T(-7777.25);
}

template <typename T>
bool same_bits(T a, T b) {
  return std::memcmp(&a, &b, sizeof(T)) == 0;
}

constexpr test::storage storage_of(layout l) {
  return l == layout::row_major ? test::storage::row_major : test::storage::col_major;
}

// The inputs of one engine call. `values` lies in L's storage; empty weights, selection and
// mean mean absent. narrow_selection, when set, stands for the 32-bit selection of the
// WideIndices false kernels.
template <typename T, layout L>
struct problem {
  std::size_t dims = 1;
  std::size_t n = 0;
  std::vector<T> values;
  std::vector<T> weights;
  std::vector<std::int64_t> selection;
  std::vector<std::int32_t> narrow_selection;
  std::vector<T> user_mean;

  std::vector<dimension_reference> reference() const {
    if (!narrow_selection.empty()) {
      return test::compute_reference(test::matrix_input<T, std::int32_t>{
          values.data(), dims, n, storage_of(L), weights_or_null(), narrow_selection.data(),
          mean_or_null()});
    }
    return test::compute_reference(test::matrix_input<T, std::int64_t>{
        values.data(), dims, n, storage_of(L), weights_or_null(),
        selection.empty() ? nullptr : selection.data(), mean_or_null()});
  }
  const T* weights_or_null() const { return weights.empty() ? nullptr : weights.data(); }
  const T* mean_or_null() const { return user_mean.empty() ? nullptr : user_mean.data(); }
};

// USM shared memory that is freed however the test leaves.
template <typename T>
class usm_array {
 public:
  usm_array(std::size_t count, sycl::queue& queue)
      : data_(sycl::malloc_shared<T>(count, queue), deleter{&queue}) {}
  template <typename Source>
  usm_array(const std::vector<Source>& source, sycl::queue& queue)
      : usm_array(source.size(), queue) {
    std::copy(source.begin(), source.end(), data_.get());
  }
  T* get() const { return data_.get(); }

 private:
  struct deleter {
    sycl::queue* queue;
    void operator()(T* p) const { sycl::free(p, *queue); }
  };
  std::unique_ptr<T, deleter> data_;
};

template <typename T>
T* get_or_null(const std::unique_ptr<usm_array<T>>& array) {
  return array ? array->get() : nullptr;
}

template <typename T, typename Source>
std::unique_ptr<usm_array<T>> usm_copy(const std::vector<Source>& source, sycl::queue& queue) {
  return source.empty() ? nullptr : std::make_unique<usm_array<T>>(source, queue);
}

using outputs = std::vector<std::vector<double>>;

// A buffer over the vector's elements; zero elements, as a dataset's absent array, when empty.
template <typename V>
sycl::buffer<V, 1> buffer_or_empty(std::vector<V>& source) {
  if (source.empty()) {
    return sycl::buffer<V, 1>(sycl::range<1>(0));
  }
  return sycl::buffer<V, 1>(source.data(), sycl::range<1>(source.size()));
}

// Calls submit(queue, dataset, handles, mean) with the problem in USM form (Usm true) or as
// buffers, `count` output arrays of `dims` elements each holding poison; returns the outputs
// after the call, as double.
template <typename T, layout L, bool Usm, typename Submit>
outputs with_engine_inputs(const problem<T, L>& p, std::size_t count, Submit&& submit) {
  sycl::queue& queue = gpu_queue();
  std::vector<std::vector<T>> host(count, std::vector<T>(p.dims, poison<T>()));
  if constexpr (Usm) {
    usm_array<T> values(p.values, queue);
    auto weights = usm_copy<T>(p.weights, queue);
    auto mean = usm_copy<T>(p.user_mean, queue);
    // The narrow selection is an array of 32-bit elements, handed over as the dataset's words.
    auto selection = usm_copy<std::int64_t>(p.selection, queue);
    auto narrow = usm_copy<std::int32_t>(p.narrow_selection, queue);
    std::int64_t* indices =
        narrow ? reinterpret_cast<std::int64_t*>(narrow->get()) : get_or_null(selection);
    std::vector<std::unique_ptr<usm_array<T>>> outs;
    std::vector<T*> handles;
    for (const auto& h : host) {
      outs.push_back(std::make_unique<usm_array<T>>(h, queue));
      handles.push_back(outs.back()->get());
    }
    const dataset<L, T*> data(static_cast<std::int64_t>(p.dims), static_cast<std::int64_t>(p.n),
                              values.get(), get_or_null(weights), indices);
    submit(queue, data, handles, static_cast<const T*>(get_or_null(mean))).wait();
    for (std::size_t k = 0; k < count; ++k) {
      std::copy(outs[k]->get(), outs[k]->get() + p.dims, host[k].begin());
    }
  } else {
    std::vector<T> values = p.values;
    std::vector<T> weights = p.weights;
    std::vector<std::int64_t> selection = p.selection;
    std::vector<T> user_mean = p.user_mean.empty() ? std::vector<T>(1) : p.user_mean;
    {
      sycl::buffer<T, 1> values_buffer(values.data(), sycl::range<1>(values.size()));
      sycl::buffer<T, 1> weights_buffer = buffer_or_empty(weights);
      sycl::buffer<std::int64_t, 1> selection_buffer = buffer_or_empty(selection);
      sycl::buffer<T, 1> mean_buffer(user_mean.data(), sycl::range<1>(user_mean.size()));
      std::vector<sycl::buffer<T, 1>> buffers;
      std::vector<gpu::out_t<T, false>> handles;
      for (auto& h : host) {
        buffers.emplace_back(h.data(), sycl::range<1>(h.size()));
      }
      for (auto& b : buffers) {
        handles.emplace_back(b);
      }
      const dataset<L, sycl::buffer<T, 1>> data(static_cast<std::int64_t>(p.dims),
                                                static_cast<std::int64_t>(p.n), values_buffer,
                                                weights_buffer, selection_buffer);
      submit(queue, data, handles, &mean_buffer);
    }
  }
  outputs result(count, std::vector<double>(p.dims));
  for (std::size_t k = 0; k < count; ++k) {
    std::copy(host[k].begin(), host[k].end(), result[k].begin());
  }
  return result;
}

// A moment functor made by make(handles) through submit_basic_usm or submit_basic.
template <typename T, layout L, bool Usm, bool WideIndices = true, typename Make>
outputs run_moments(const problem<T, L>& p, std::size_t count, Make&& make) {
  return with_engine_inputs<T, L, Usm>(
      p, count, [&](sycl::queue& queue, const auto& data, const auto& handles, auto mean) {
        auto functor = make(handles);
        using F = decltype(functor);
        if constexpr (Usm) {
          return gpu::submit_basic_usm<T, L, F, WideIndices>(queue, data, functor, {}, mean);
        } else {
          return gpu::submit_basic<T, L, F, WideIndices>(queue, data, functor,
                                                         F::user_mean ? mean : nullptr);
        }
      });
}

// A min/max functor made by make(handles) through submit_minmax_usm or submit_minmax.
template <typename T, layout L, bool Usm, bool WideIndices = true, typename Make>
outputs run_extremes(const problem<T, L>& p, std::size_t count, Make&& make) {
  return with_engine_inputs<T, L, Usm>(
      p, count, [&](sycl::queue& queue, const auto& data, const auto& handles, auto) {
        auto functor = make(handles);
        using F = decltype(functor);
        if constexpr (Usm) {
          return gpu::submit_minmax_usm<T, L, F, WideIndices>(queue, data, functor, {});
        } else {
          return gpu::submit_minmax<T, L, F, WideIndices>(queue, data, functor);
        }
      });
}

// The combinations that the engine tests sweep.
template <typename T, layout L, bool Usm>
struct config {
  using value_type = T;
  static constexpr layout storage = L;
  static constexpr bool usm = Usm;
};

using all_configs = ::testing::Types<
    config<float, layout::row_major, true>, config<float, layout::col_major, true>,
    config<float, layout::row_major, false>, config<float, layout::col_major, false>,
    config<double, layout::row_major, true>, config<double, layout::col_major, true>,
    config<double, layout::row_major, false>, config<double, layout::col_major, false>>;

// Observations of `dims` dimensions in L's storage from a generator of one dimension's values.
template <typename T, layout L, typename Generate>
problem<T, L> make_problem(std::size_t dims, std::size_t n, Generate&& generate) {
  problem<T, L> p;
  p.dims = dims;
  p.n = n;
  p.values.resize(dims * n);
  for (std::size_t d = 0; d < dims; ++d) {
    const std::vector<T> column = generate(d);
    for (std::size_t i = 0; i < n; ++i) {
      p.values[test::element_index(storage_of(L), dims, n, d, i)] = column[i];
    }
  }
  return p;
}

}  // namespace tessel::gpu_test
