// Group semantics through the queue, on every device that runs nd_range
// kernels: barriers, reductions, group copies, local memory, item queries.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <limits>
#include <sycl/sycl.hpp>
#include <vector>

#include "runtime/devices.hpp"

namespace {

using tessel_test::on_each_device;

// Sizes up to the device's largest group: one item, odd sizes, and a large one.
std::vector<std::size_t> group_sizes(const sycl::device& d) {
  const std::size_t largest = d.get_info<sycl::info::device::max_work_group_size>();
  std::vector<std::size_t> sizes;
  for (std::size_t l : {1, 2, 3, 7, 64}) {
    if (l <= largest)
      sizes.push_back(l);
  }
  if (largest > sizes.back())
    sizes.push_back(std::min<std::size_t>(largest, 256));
  return sizes;
}

template <typename T>
struct shared_array {
  shared_array(sycl::queue& q, std::size_t n) : q_(q), data(sycl::malloc_shared<T>(n, q)), size(n) {
    std::fill(data, data + n, T{});
  }
  shared_array(const shared_array&) = delete;
  ~shared_array() { sycl::free(data, q_); }
  T& operator[](std::size_t i) const { return data[i]; }
  sycl::queue& q_;
  T* data;
  std::size_t size;
};

TEST_P(on_each_device, ItemQueriesDescribeTheLaunch) {
  sycl::queue q(GetParam());
  for (std::size_t local : group_sizes(GetParam())) {
    const std::size_t groups = 3, n = local * groups;
    shared_array<std::size_t> out(q, n * 8);
    std::size_t* o = out.data;
    q.parallel_for(sycl::nd_range<1>(n, local), [=](sycl::nd_item<1> it) {
       const std::size_t i = it.get_global_linear_id();
       const sycl::group<1> g = it.get_group();
       o[i * 8 + 0] = it.get_global_id(0);
       o[i * 8 + 1] = it.get_local_id(0) + 1000 * it.get_local_linear_id();
       o[i * 8 + 2] = it.get_group(0) + 1000 * it.get_group_linear_id();
       o[i * 8 + 3] = it.get_local_range(0) + 1000 * it.get_group_range(0);
       o[i * 8 + 4] = it.get_global_range(0);
       o[i * 8 + 5] = g.get_group_id(0) + 1000 * g.get_local_id(0);
       o[i * 8 + 6] = g.get_local_range(0) + 1000 * g.get_group_range(0);
       o[i * 8 + 7] = g.leader() ? 1 : 0;
     }).wait_and_throw();
    for (std::size_t i = 0; i < n; ++i) {
      const std::size_t l = i % local, g = i / local;
      EXPECT_EQ(out[i * 8 + 0], i);
      EXPECT_EQ(out[i * 8 + 1], l * 1001);
      EXPECT_EQ(out[i * 8 + 2], g * 1001);
      EXPECT_EQ(out[i * 8 + 3], local + 1000 * groups);
      EXPECT_EQ(out[i * 8 + 4], n);
      EXPECT_EQ(out[i * 8 + 5], g + 1000 * l);
      EXPECT_EQ(out[i * 8 + 6], local + 1000 * groups);
      EXPECT_EQ(out[i * 8 + 7], l == 0 ? 1u : 0u);
    }
  }
}

TEST_P(on_each_device, BarriersInsideLoopsOrderLocalMemory) {
  sycl::queue q(GetParam());
  constexpr std::size_t rounds = 5;
  for (std::size_t local : group_sizes(GetParam())) {
    const std::size_t groups = 3, n = local * groups;
    shared_array<long> out(q, n);
    long* o = out.data;
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

// Every item gets the left fold of its group in local-id order: from init when
// given, else from item 0's value.
template <typename T, typename Op>
void check_reduction(sycl::queue& q, std::size_t local, Op op, const T* init) {
  const std::size_t groups = 4, n = local * groups;
  shared_array<T> x(q, n), out(q, n);
  for (std::size_t i = 0; i < n; ++i)
    x[i] = value_of<T>(i);
  const T* xs = x.data;
  T* o = out.data;
  const bool with_init = init != nullptr;
  const T start = with_init ? *init : T{};
  q.parallel_for(sycl::nd_range<1>(n, local), [=](sycl::nd_item<1> it) {
     const std::size_t i = it.get_global_id(0);
     o[i] = with_init ? sycl::reduce_over_group(it.get_group(), xs[i], start, op)
                      : sycl::reduce_over_group(it.get_group(), xs[i], op);
   }).wait_and_throw();
  for (std::size_t g = 0; g < groups; ++g) {
    T fold = with_init ? start : x[g * local];
    for (std::size_t l = with_init ? 0 : 1; l < local; ++l)
      fold = op(fold, x[g * local + l]);
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
  for (const sycl::device& d : tessel_test::all_devices()) {
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

enum class copy_form { nd_item, group };

TEST_P(on_each_device, GroupCopiesFromGlobalToLocalContiguousAndStrided) {
  sycl::queue q(GetParam());
  for (std::size_t local : group_sizes(GetParam())) {
    for (copy_form form : {copy_form::nd_item, copy_form::group}) {
      for (std::size_t stride : {1, 3}) {
        const std::size_t groups = 3, n = local * groups;
        shared_array<double> src(q, n * stride), out(q, n);
        for (std::size_t i = 0; i < n * stride; ++i)
          src[i] = 0.5 * static_cast<double>(i);
        const double* s = src.data;
        double* o = out.data;
        q.submit([&](sycl::handler& h) {
           sycl::local_accessor<double, 1> tile(sycl::range<1>(local), h);
           h.parallel_for(sycl::nd_range<1>(n, local), [=](sycl::nd_item<1> it) {
             auto dest = tile.get_multi_ptr<sycl::access::decorated::yes>();
             auto from = sycl::address_space_cast<sycl::access::address_space::global_space,
                                                  sycl::access::decorated::yes>(
                 s + it.get_group(0) * local * stride);
             sycl::device_event e =
                 form == copy_form::nd_item
                     ? (stride == 1 ? it.async_work_group_copy(dest, from, local)
                                    : it.async_work_group_copy(dest, from, local, stride))
                     : it.get_group().async_work_group_copy(dest, from, local, stride);
             e.wait();
             // A neighbour's element: the copy is complete for the whole group.
             o[it.get_global_id(0)] = tile[(it.get_local_id(0) + 1) % local];
           });
         }).wait_and_throw();
        for (std::size_t i = 0; i < n; ++i) {
          const std::size_t g = i / local, l = (i % local + 1) % local;
          EXPECT_EQ(out[i], src[(g * local + l) * stride]) << "local " << local << " item " << i;
        }
      }
    }
  }
}

TEST_P(on_each_device, GroupCopiesFromLocalToGlobalLeaveGapsAlone) {
  sycl::queue q(GetParam());
  for (std::size_t local : group_sizes(GetParam())) {
    for (copy_form form : {copy_form::nd_item, copy_form::group}) {
      const std::size_t groups = 2, stride = 2, n = local * groups;
      shared_array<int> dest(q, n * stride);
      std::fill(dest.data, dest.data + n * stride, -5);
      int* d = dest.data;
      q.submit([&](sycl::handler& h) {
         sycl::local_accessor<int, 1> tile(sycl::range<1>(local), h);
         h.parallel_for(sycl::nd_range<1>(n, local), [=](sycl::nd_item<1> it) {
           tile[it.get_local_id(0)] = static_cast<int>(it.get_global_id(0)) * 3 + 1;
           sycl::group_barrier(it.get_group());
           sycl::decorated_global_ptr<int> to(d + it.get_group(0) * local * stride);
           auto from = tile.get_multi_ptr<sycl::access::decorated::no>();
           auto e = form == copy_form::nd_item
                        ? it.async_work_group_copy(to, from, local, stride)
                        : it.get_group().async_work_group_copy(to, from, local, stride);
           it.wait_for(e);
         });
       }).wait_and_throw();
      for (std::size_t k = 0; k < n * stride; ++k) {
        EXPECT_EQ(dest[k], k % stride == 0 ? static_cast<int>(k / stride) * 3 + 1 : -5) << k;
      }
    }
  }
}

TEST_P(on_each_device, TwoCopiesInFlightAreBothCompleteAfterTheirWaits) {
  sycl::queue q(GetParam());
  const std::size_t local = group_sizes(GetParam()).back(), groups = 3, n = local * groups;
  shared_array<float> a(q, n), b(q, n), out(q, n);
  for (std::size_t i = 0; i < n; ++i) {
    a[i] = static_cast<float>(i);
    b[i] = -static_cast<float>(i);
  }
  const float *pa = a.data, *pb = b.data;
  float* o = out.data;
  q.submit([&](sycl::handler& h) {
     sycl::local_accessor<float, 1> ta(sycl::range<1>(local), h), tb(sycl::range<1>(local), h);
     h.parallel_for(sycl::nd_range<1>(n, local), [=](sycl::nd_item<1> it) {
       const std::size_t base = it.get_group(0) * local;
       auto ea = it.async_work_group_copy(ta.get_pointer(),
                                          sycl::global_ptr<const float>(pa + base), local);
       auto eb = it.async_work_group_copy(tb.get_pointer(),
                                          sycl::global_ptr<const float>(pb + base), local);
       ea.wait();
       eb.wait();
       const std::size_t other = local - 1 - it.get_local_id(0);
       o[it.get_global_id(0)] = ta[other] + 2.0f * tb[other];
     });
   }).wait_and_throw();
  for (std::size_t i = 0; i < n; ++i) {
    const std::size_t g = i / local, other = g * local + local - 1 - i % local;
    EXPECT_EQ(out[i], -static_cast<float>(other));
  }
}

TEST_P(on_each_device, LocalMemoryIsTheGroupsOwnAndAligned) {
  sycl::queue q(GetParam());
  for (std::size_t local : group_sizes(GetParam())) {
    const std::size_t groups = 16, n = local * groups;
    shared_array<std::uint64_t> before(q, n);
    shared_array<double> sums(q, n);
    shared_array<int> aligned(q, n);
    std::uint64_t* bf = before.data;
    double* s = sums.data;
    int* al = aligned.data;
    q.submit([&](sycl::handler& h) {
       sycl::local_accessor<char, 1> odd(sycl::range<1>(3), h);
       sycl::local_accessor<double, 1> tile(sycl::range<1>(local), h);
       h.parallel_for(sycl::nd_range<1>(n, local), [=](sycl::nd_item<1> it) {
         const std::size_t l = it.get_local_id(0);
         double* t = tile.get_multi_ptr<sycl::access::decorated::no>().get();
         al[it.get_global_id(0)] =
             reinterpret_cast<std::uintptr_t>(t) % alignof(double) == 0 &&
             static_cast<void*>(t) != static_cast<void*>(odd.get_pointer().get());
         std::memcpy(&bf[it.get_global_id(0)], &t[l], sizeof(double));
         odd[l % 3] = 'x';
         tile[l] = static_cast<double>(it.get_group(0) + 1);
         sycl::group_barrier(it.get_group());
         double sum = 0;
         for (double v : tile)
           sum += v;
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

TEST_P(on_each_device, LocalAccessorDescribesItsAllocation) {
  sycl::queue q(GetParam());
  shared_array<std::size_t> out(q, 4);
  std::size_t* o = out.data;
  q.submit([&](sycl::handler& h) {
     sycl::local_accessor<float, 1> tile(sycl::range<1>(5), h);
     static_assert(std::is_trivially_copyable_v<decltype(tile)>);
     h.parallel_for(sycl::nd_range<1>(1, 1), [=](sycl::nd_item<1>) {
       o[0] = tile.size();
       o[1] = tile.get_range()[0];
       o[2] = tile.byte_size();
       o[3] = static_cast<std::size_t>(tile.end() - tile.begin());
     });
   }).wait_and_throw();
  EXPECT_EQ(out[0], 5u);
  EXPECT_EQ(out[1], 5u);
  EXPECT_EQ(out[2], 5 * sizeof(float));
  EXPECT_EQ(out[3], 5u);
}

TEST_P(on_each_device, AWorkItemsExceptionReachesTheAsyncHandler) {
  std::vector<std::exception_ptr> caught;
  sycl::queue q(GetParam(), [&](sycl::exception_list errors) {
    for (const std::exception_ptr& e : errors)
      caught.push_back(e);
  });
  const std::size_t local = group_sizes(GetParam()).back();
  q.parallel_for(sycl::nd_range<1>(local * 4, local), [=](sycl::nd_item<1> it) {
    sycl::group_barrier(it.get_group());
    if (it.get_global_id(0) == local + 1)
      throw std::domain_error("bad item");
  });
  q.wait_and_throw();
  ASSERT_EQ(caught.size(), 1u);
  EXPECT_THROW(std::rethrow_exception(caught[0]), std::domain_error);
}

TEST_P(on_each_device, MathBuiltIns) {
  sycl::queue q(GetParam());
  shared_array<double> out(q, 8);
  double* o = out.data;
  q.single_task([=] {
     o[0] = sycl::mad(3.0, 0.5, 0.25);
     o[1] = sycl::sqrt(2.25);
     o[2] = sycl::fmin(1.0, -2.0);
     o[3] = sycl::fmax(1.0, -2.0);
     o[4] = static_cast<double>(sycl::mad(3.0f, 0.5f, 0.25f));
     o[5] = static_cast<double>(sycl::sqrt(6.25f));
     o[6] = static_cast<double>(sycl::fmin(std::numeric_limits<float>::quiet_NaN(), 4.0f));
     sycl::atomic_fence(sycl::memory_order::seq_cst, sycl::memory_scope::device);
     o[7] = static_cast<double>(sycl::fmax(1.0f, std::numeric_limits<float>::quiet_NaN()));
   }).wait_and_throw();
  EXPECT_EQ(out[0], 1.75);
  EXPECT_EQ(out[1], 1.5);
  EXPECT_EQ(out[2], -2.0);
  EXPECT_EQ(out[3], 1.0);
  EXPECT_EQ(out[4], 1.75);
  EXPECT_EQ(out[5], 2.5);
  EXPECT_EQ(out[6], 4.0);
  EXPECT_EQ(out[7], 1.0);
}

INSTANTIATE_TEST_SUITE_P(Devices, on_each_device, testing::ValuesIn(tessel_test::all_devices()),
                         tessel_test::device_label);

}  // namespace
