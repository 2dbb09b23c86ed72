// Calls any statistic, in either form, by a runtime description, so that one test body can sweep
// statistics, element types, layouts and forms. Outputs are filled with a poison value before the
// call and read back after it.
#pragma once

#include <sycl/sycl.hpp>

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <stdexcept>
#include <string>
#include <type_traits>
#include <vector>
#include <vorlex/orv/stats.hpp>

namespace tessel::test {

namespace st = vorlex::orv::stats;

// clang-format off
enum class statistic { raw_sum, raw_moment, mean, central_sum, central_moment, variation, skewness,
                       kurtosis, min, max, min_max };
// clang-format on

inline constexpr std::array<statistic, 11> all_statistics = {
    statistic::raw_sum,     statistic::raw_moment,     statistic::mean,
    statistic::central_sum, statistic::central_moment, statistic::variation,
    statistic::skewness,    statistic::kurtosis,       statistic::min,
    statistic::max,         statistic::min_max};

enum class entry_form { usm, buffer };

std::string name_of(statistic s);
std::size_t output_count(statistic s);
bool has_user_mean_form(statistic s);
// method::estimator exists as a symbol (an alias or a code of its own).
bool has_method2(statistic s);

// One call's inputs. Values lie in the given layout; an empty weights, indices or user_mean vector
// means absent (for user_mean: the plain form, unless mean_form_without_mean asks for the user mean
// form with a null pointer or an empty buffer).
template <typename T>
struct problem {
  std::int64_t n_dims = 0;
  std::int64_t n_obs = 0;
  std::vector<T> values;
  std::vector<T> weights;
  std::vector<std::int64_t> indices;
  std::vector<T> user_mean;
  bool mean_form_without_mean = false;
};

// Which outputs are given to the call, in the order of the public signature.
using output_mask = std::array<bool, 4>;
inline constexpr output_mask all_outputs = {true, true, true, true};

// Outputs after the call, poison where nothing was written; an output that was not given is an
// empty vector.
template <typename T>
using outputs = std::array<std::vector<T>, 4>;

namespace detail {

template <typename T>
struct usm_array {
  usm_array(sycl::queue& q, const std::vector<T>& host)
      : queue(q),
        pointer(host.empty() ? nullptr : sycl::malloc_shared<T>(host.size(), q)),
        size(host.size()) {
    if (!host.empty() && pointer == nullptr) {
      throw std::runtime_error("malloc_shared failed");
    }
    std::copy(host.begin(), host.end(), pointer);
  }
  usm_array(const usm_array&) = delete;
  usm_array& operator=(const usm_array&) = delete;
  ~usm_array() { sycl::free(pointer, queue); }
  std::vector<T> read() const { return std::vector<T>(pointer, pointer + size); }

  sycl::queue queue;
  T* pointer;
  std::size_t size;
};

// The entry of statistic s with outputs o (the first output_count(s) are used); with a user mean
// its user mean form. Tail is the event list of the USM form and nothing for the buffer form. The
// USM form waits for the returned event.
template <st::method M, typename T, st::layout L, typename Data, typename Out, typename Mean,
          typename... Tail>
void invoke(statistic s, sycl::queue& q, const Mean* user_mean, const Data& data,
            const std::array<Out, 4>& o, const Tail&... tail) {
  auto finish = [](auto&& call) {
    if constexpr (std::is_void_v<decltype(call())>) {
      call();
    } else {
      call().wait();
    }
  };
  auto fast_only = [&](auto&& call) {
    if constexpr (M == st::method::fast) {
      finish(call);
    } else {
      throw std::logic_error("no such entry with method::estimator");
    }
  };
  auto plain_or_user_mean = [&](auto&& plain, auto&& with_mean) {
    if (user_mean == nullptr) {
      finish(plain);
    } else {
      fast_only(with_mean);
    }
  };
  switch (s) {
    case statistic::raw_sum:
      return finish([&] { return st::raw_sum<M, T, L>(q, data, o[0], o[1], o[2], o[3], tail...); });
    case statistic::raw_moment:
      return finish(
          [&] { return st::raw_moment<M, T, L>(q, data, o[0], o[1], o[2], o[3], tail...); });
    case statistic::mean:
      return finish([&] { return st::mean<M, T, L>(q, data, o[0], tail...); });
    case statistic::central_sum:
      return plain_or_user_mean(
          [&] { return st::central_sum<M, T, L>(q, data, o[0], o[1], o[2], tail...); },
          [&] {
            return st::central_sum<st::method::fast, T, L>(q, *user_mean, data, o[0], o[1], o[2],
                                                           tail...);
          });
    case statistic::central_moment:
      return plain_or_user_mean(
          [&] { return st::central_moment<M, T, L>(q, data, o[0], o[1], o[2], tail...); },
          [&] {
            return st::central_moment<st::method::fast, T, L>(q, *user_mean, data, o[0], o[1], o[2],
                                                              tail...);
          });
    case statistic::variation:
      return plain_or_user_mean([&] { return st::variation<M, T, L>(q, data, o[0], tail...); },
                                [&] {
                                  return st::variation<st::method::fast, T, L>(q, *user_mean, data,
                                                                               o[0], tail...);
                                });
    case statistic::skewness:
      return plain_or_user_mean(
          [&] { return st::skewness<M, T, L>(q, data, o[0], tail...); },
          [&] { return st::skewness<st::method::fast, T, L>(q, *user_mean, data, o[0], tail...); });
    case statistic::kurtosis:
      return plain_or_user_mean(
          [&] { return st::kurtosis<M, T, L>(q, data, o[0], tail...); },
          [&] { return st::kurtosis<st::method::fast, T, L>(q, *user_mean, data, o[0], tail...); });
    case statistic::min:
      return fast_only([&] { return st::min<st::method::fast, T, L>(q, data, o[0], tail...); });
    case statistic::max:
      return fast_only([&] { return st::max<st::method::fast, T, L>(q, data, o[0], tail...); });
    case statistic::min_max:
      return fast_only(
          [&] { return st::min_max<st::method::fast, T, L>(q, data, o[0], o[1], tail...); });
  }
}

}  // namespace detail

// Runs statistic s on the queue and returns its outputs; the plain form when p.user_mean is empty,
// else the user mean form.
template <st::method M, typename T, st::layout L>
outputs<T> run_statistic(sycl::queue& q, statistic s, entry_form form, const problem<T>& p,
                         output_mask given = all_outputs, T poison = T(-777)) {
  const std::vector<T> poisoned(static_cast<std::size_t>(p.n_dims), poison);
  const std::size_t count = output_count(s);
  outputs<T> result;
  if (form == entry_form::usm) {
    detail::usm_array<T> x(q, p.values), w(q, p.weights), mean(q, p.user_mean);
    detail::usm_array<std::int64_t> idx(q, p.indices);
    std::array<std::unique_ptr<detail::usm_array<T>>, 4> out;
    std::array<T*, 4> pointers{};
    for (std::size_t k = 0; k < count; ++k) {
      if (given[k]) {
        out[k] = std::make_unique<detail::usm_array<T>>(q, poisoned);
        pointers[k] = out[k]->pointer;
      }
    }
    const st::dataset<L, T*> data(p.n_dims, p.n_obs, x.pointer, w.pointer, idx.pointer);
    T* const mean_pointer = mean.pointer;
    const bool mean_form = !p.user_mean.empty() || p.mean_form_without_mean;
    detail::invoke<M, T, L>(s, q, mean_form ? &mean_pointer : nullptr, data, pointers,
                            std::vector<sycl::event>{});
    for (std::size_t k = 0; k < count; ++k) {
      if (out[k]) {
        result[k] = out[k]->read();
      }
    }
    return result;
  }
  for (std::size_t k = 0; k < count; ++k) {
    if (given[k]) {
      result[k] = poisoned;
    }
  }
  {
    auto buffer_of = [](auto& host) {
      using E = typename std::remove_reference_t<decltype(host)>::value_type;
      return host.empty() ? sycl::buffer<E, 1>(sycl::range<1>(0))
                          : sycl::buffer<E, 1>(host.data(), sycl::range<1>(host.size()));
    };
    std::vector<T> values = p.values, weights = p.weights, user_mean = p.user_mean;
    std::vector<std::int64_t> indices = p.indices;
    std::array<sycl::buffer<T, 1>, 4> out = {buffer_of(result[0]), buffer_of(result[1]),
                                             buffer_of(result[2]), buffer_of(result[3])};
    const st::dataset<L, sycl::buffer<T, 1>> data(p.n_dims, p.n_obs, buffer_of(values),
                                                  buffer_of(weights), buffer_of(indices));
    const sycl::buffer<T, 1> mean = buffer_of(user_mean);
    const bool mean_form = !user_mean.empty() || p.mean_form_without_mean;
    detail::invoke<M, T, L>(s, q, mean_form ? &mean : nullptr, data, out);
  }  // the buffers write the outputs back here
  return result;
}

}  // namespace tessel::test
