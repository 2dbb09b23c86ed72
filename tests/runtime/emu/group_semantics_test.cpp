// Group semantics through the queue, on every device that runs nd_range kernels: barriers,
// reductions, group copies and local memory.

#include <algorithm>
#include <cstring>
#include <functional>
#include <limits>
#include <memory>

#include "runtime/devices.hpp"

namespace tessel::test {
namespace {

// Sizes up to the device's largest group: one item, odd sizes, and a large one.
std::vector<std::size_t> group_sizes(const sycl::device& d) {
  const std::size_t largest = d.get_info<sycl::info::device::max_work_group_size>();
  std::vector<std::size_t> sizes;
  for (std::size_t l : {std::size_t{1}, std::size_t{2}, std::size_t{3}, std::size_t{7},
                        std::size_t{64}, std::min<std::size_t>(largest, 256)}) {
    if (l <= largest && (sizes.empty() || l > sizes.back())) {
      sizes.push_back(l);
    }
  }
  return sizes;
}

// n elements of USM shared memory, each value, freed at the end of the scope.
template <typename T>
std::unique_ptr<T[], std::function<void(T*)>> shared_array(sycl::queue& q, std::size_t n,
                                                           T value = T{}) {
  T* data = sycl::malloc_shared<T>(n, q);
  std::fill(data, data + n, value);
  return {data, [&q](T* p) { sycl::free(p, q); }};
}

TEST_P(on_each_device, BarriersInsideLoopsOrderLocalMemory) {
  sycl::queue q(GetParam());
  constexpr std::size_t rounds = 5;
  for (std::size_t local : group_sizes(GetParam())) {
    const std::size_t groups = 3, n = local * groups;
    const auto out = shared_array<long>(q, n);
    long* o = out.get();
    q.submit([&](sycl::handler& h) {
       sycl::local_accessor<long, 1> tile(sycl::range<1>(local), h);
       h.parallel_for(sycl::nd_range<1>(n, local), [=](sycl::nd_item<1> it) {
         const std::size_t l = it.get_local_id(0);
         long acc = 0;
         for (std::size_t r = 0; r < rounds; ++r) {
           tile[l] = static_cast<long>(it.get_global_id(0) * 10 + r);
           sycl::group_barrier(it.get_group());
           acc += tile[(l + r + 1) % local];
           sycl::group_barrier(it.get_group());
         }
         o[it.get_global_id(0)] = acc;
       });
     }).wait_and_throw();
    for (std::size_t i = 0; i < n; ++i) {
      const std::size_t g = i / local, l = i % local;
      long expected = 0;
      for (std::size_t r = 0; r < rounds; ++r) {
        expected += static_cast<long>((g * local + (l + r + 1) % local) * 10 + r);
      }
      EXPECT_EQ(out[i], expected) << "local size " << local << ", item " << i;
    }
  }
}

// Values with cancellation, so that a fold in another order gives other bits.
template <typename T>
T value_of(std::size_t i) {
  if constexpr (std::is_floating_point_v<T>) {
    const T big = std::is_same_v<T, float> ? T(1.0e7) : T(1.0e15);
    return (i % 3 == 0 ? big : T(0.375) * static_cast<T>(i % 11)) * (i % 2 ? T(-1) : T(1));
  } else if constexpr (std::is_signed_v<T>) {
    return static_cast<T>((i * 2654435761u) % 1999) - 999;
  } else {
    return std::numeric_limits<T>::max() - static_cast<T>((i * 2654435761u) % 1999);
  }
}

template <typename T>
class Reduction : public testing::Test {};
using reduced_types = testing::Types<float, double, std::int32_t, std::int64_t, std::uint64_t>;
TYPED_TEST_SUITE(Reduction, reduced_types);

// Every item gets the left fold of its group in local-id order: from init when given, else from
// item 0's value.
template <typename T, typename Op>
void check_reduction(sycl::queue& q, std::size_t local, Op op, const T* init) {
  const std::size_t groups = 4, n = local * groups;
  const auto x = shared_array<T>(q, n), out = shared_array<T>(q, n);
  for (std::size_t i = 0; i < n; ++i) {
    x[i] = value_of<T>(i);
  }
  const T* xs = x.get();
  T* o = out.get();
  const bool with_init = init != nullptr;
  const T start = with_init ? *init : T{};
  q.parallel_for(sycl::nd_range<1>(n, local), [=](sycl::nd_item<1> it) {
     const std::size_t i = it.get_global_id(0);
     o[i] = with_init ? sycl::reduce_over_group(it.get_group(), xs[i], start, op)
                      : sycl::reduce_over_group(it.get_group(), xs[i], op);
   }).wait_and_throw();
  for (std::size_t g = 0; g < groups; ++g) {
    T fold = with_init ? start : x[g * local];
    for (std::size_t l = with_init ? 0 : 1; l < local; ++l) {
      fold = op(fold, x[g * local + l]);
    }
    for (std::size_t l = 0; l < local; ++l) {
      const T got = out[g * local + l];
      EXPECT_EQ(std::memcmp(&got, &fold, sizeof(T)), 0)
          << "local size " << local << ", group " << g << ": " << got << " != " << fold;
    }
  }
}

TYPED_TEST(Reduction, EveryOperationFoldsInLocalIdOrder) {
  using T = TypeParam;
  const T zero = T(0), seven = T(7);
  for (const sycl::device& d : all_devices()) {
    sycl::queue q(d);
    for (std::size_t local : group_sizes(d)) {
      SCOPED_TRACE(d.get_info<sycl::info::device::name>());
      check_reduction<T>(q, local, sycl::plus<T>(), &zero);
      check_reduction<T>(q, local, sycl::plus<T>(), nullptr);
      check_reduction<T>(q, local, sycl::plus<>(), &seven);
      check_reduction<T>(q, local, sycl::minimum<T>(), nullptr);
      check_reduction<T>(q, local, sycl::minimum<>(), &seven);
      check_reduction<T>(q, local, sycl::maximum<T>(), nullptr);
      check_reduction<T>(q, local, sycl::maximum<>(), &zero);
    }
  }
}

// Two strided copies in, both waited for; every item reads a neighbour's element, so each copy is
// complete for the whole group. Then a strided copy out, which leaves its gaps alone.
TEST_P(on_each_device, GroupCopiesInAndOutContiguousAndStrided) {
  sycl::queue q(GetParam());
  for (std::size_t local : group_sizes(GetParam())) {
    for (const bool through_group : {false, true}) {
      const std::size_t groups = 3, n = local * groups, stride = 3;
      const auto src = shared_array<double>(q, n * stride), out = shared_array(q, n * 2, -5.0);
      for (std::size_t i = 0; i < n * stride; ++i) {
        src[i] = 0.5 * static_cast<double>(i);
      }
      const double* s = src.get();
      double* o = out.get();
      q.submit([&](sycl::handler& h) {
         sycl::local_accessor<double, 1> dense(sycl::range<1>(local), h);
         sycl::local_accessor<double, 1> strided(sycl::range<1>(local), h);
         h.parallel_for(sycl::nd_range<1>(n, local), [=](sycl::nd_item<1> it) {
           const std::size_t l = it.get_local_id(0), base = it.get_group(0) * local;
           auto from = sycl::address_space_cast<sycl::access::address_space::global_space,
                                                sycl::access::decorated::yes>(s + base * stride);
           auto to_dense = dense.get_multi_ptr<sycl::access::decorated::yes>();
           auto to_strided = strided.get_multi_ptr<sycl::access::decorated::yes>();
           sycl::device_event a = it.async_work_group_copy(to_dense, from, local);
           sycl::device_event b =
               through_group ? it.get_group().async_work_group_copy(to_strided, from, local, stride)
                             : it.async_work_group_copy(to_strided, from, local, stride);
           it.wait_for(a, b);
           const double sum = dense[(l + 1) % local] + strided[(l + 1) % local];
           sycl::group_barrier(it.get_group());
           dense[l] = sum;
           sycl::group_barrier(it.get_group());
           sycl::decorated_global_ptr<double> to(o + base * 2);
           auto e = it.async_work_group_copy(to, dense.get_multi_ptr<sycl::access::decorated::no>(),
                                             local, 2);
           e.wait();
         });
       }).wait_and_throw();
      for (std::size_t k = 0; k < n * 2; ++k) {
        const std::size_t i = k / 2, base = i / local * local * stride, m = (i % local + 1) % local;
        const double expected = k % 2 ? -5.0 : src[base + m] + src[base + m * stride];
        EXPECT_EQ(out[k], expected) << "local " << local << " element " << k;
      }
    }
  }
}

TEST_P(on_each_device, LocalMemoryIsTheGroupsOwnAndAligned) {
  sycl::queue q(GetParam());
  for (std::size_t local : group_sizes(GetParam())) {
    const std::size_t groups = 16, n = local * groups;
    const auto before = shared_array<std::uint64_t>(q, n);
    const auto sums = shared_array<double>(q, n);
    const auto aligned = shared_array<int>(q, n);
    std::uint64_t* bf = before.get();
    double* s = sums.get();
    int* al = aligned.get();
    q.submit([&](sycl::handler& h) {
       sycl::local_accessor<char, 1> odd(sycl::range<1>(3), h);
       sycl::local_accessor<double, 1> tile(sycl::range<1>(local), h);
       h.parallel_for(sycl::nd_range<1>(n, local), [=](sycl::nd_item<1> it) {
         const std::size_t l = it.get_local_id(0);
         double* t = tile.get_multi_ptr<sycl::access::decorated::no>().get();
         al[it.get_global_id(0)] =
             reinterpret_cast<std::uintptr_t>(t) % alignof(double) == 0 &&
             static_cast<void*>(t) != static_cast<void*>(odd.get_pointer().get()) &&
             tile.size() == local && tile.byte_size() == local * sizeof(double);
         std::memcpy(&bf[it.get_global_id(0)], &t[l], sizeof(double));
         odd[l % 3] = 'x';
         tile[l] = static_cast<double>(it.get_group(0) + 1);
         sycl::group_barrier(it.get_group());
         double sum = 0;
         for (double v : tile) {
           sum += v;
         }
         s[it.get_global_id(0)] = sum;
       });
     }).wait_and_throw();
    for (std::size_t i = 0; i < n; ++i) {
      EXPECT_EQ(sums[i], static_cast<double>(local * (i / local + 1))) << "item " << i;
      EXPECT_EQ(aligned[i], 1);
      // Unwritten local memory holds all ones bits, never another group's values.
      EXPECT_EQ(before[i], ~std::uint64_t{0}) << "item " << i;
    }
  }
}

INSTANTIATE_TEST_SUITE_P(Devices, on_each_device, testing::ValuesIn(all_devices()), device_label);

}  // namespace
}  // namespace tessel::test
