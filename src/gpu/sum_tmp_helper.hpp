// The running sums of a moment reduction: what a partial result is, where it lies in scratch, and
// the three ways to make one (from observations, from the previous step's partial results).
//
// Scratch layout: slot k of dimension d, group g of a step with G groups lies at k * slot_stride +
// d * G + g of sums; the weight sums, common to all dimensions, at g of sum_w and sum_w2. A plan
// with intermediate steps has two halves of that layout; a step loads from one and stores into the
// other, and the last step stores into the lower half, where the functors read
// (gpu/reduction_plan.hpp).
#pragma once

#include <sycl/sycl.hpp>

#include <cstdint>
#include <type_traits>

#include "gpu/device_memory.hpp"
#include "gpu/out_handle.hpp"

namespace vorlex::orv::stats::detail::gpu {

template <typename T, bool Usm, bool UserMean>
class sum_tmp_helper;

// Where a step's two halves start; all zero in a plan without intermediate steps.
struct scratch_halves {
  std::uint64_t sums_size = 0;     // elements of one half of sums
  std::uint64_t weights_size = 0;  // elements of one half of sum_w and sum_w2
  std::uint8_t load_upper = 0;
  std::uint8_t store_upper = 0;
};

// load and merge, common to both forms. Derived supplies the fields and for_each_higher(f), which
// calls f with the slot of every kept sum above slot 0, in order.
template <typename Derived, typename T>
class running_sums {
 public:
  void load(const sycl::local_accessor<T, 1>& local, std::uint64_t dim,
            const sycl::nd_item<1>& item, std::uint64_t remainder, std::uint64_t row_stride,
            bool first) const {
    const Derived& self = derived();
    T* blocks = local_pointer(local);
    const std::uint64_t group_size = item.get_local_range(0);
    const std::uint64_t run = item.get_group(0) * group_size + dim * row_stride;
    const std::uint64_t count = valid_count(item, remainder);
    const T* sums = device_pointer(self.sums) + self.halves.load_upper * self.halves.sums_size;
    group_copy(item, blocks, sums + run, count);
    self.for_each_higher([&](std::uint64_t slot) {
      group_copy(item, blocks + slot * group_size, sums + slot * self.slot_stride + run, count);
    });
    const bool weights = self.has_w && first;
    if (weights) {
      const std::uint64_t at =
          self.halves.load_upper * self.halves.weights_size + item.get_group(0) * group_size;
      group_copy(item, blocks + self.slot_w * group_size, device_pointer(self.sum_w) + at, count);
      group_copy(item, blocks + self.slot_w2 * group_size, device_pointer(self.sum_w2) + at, count);
    }
    if (is_tail(item, remainder)) {
      const std::uint64_t l = item.get_local_id(0);
      blocks[l] = T(0);
      self.for_each_higher([&](std::uint64_t slot) { blocks[slot * group_size + l] = T(0); });
      if (weights) {
        blocks[self.slot_w * group_size + l] = T(0);
        blocks[self.slot_w2 * group_size + l] = T(0);
      }
    }
  }

  // row_stride is the run length that the step read; the stores use this step's group count.
  void merge(const sycl::local_accessor<T, 1>& local, std::uint64_t dim,
             const sycl::nd_item<1>& item, std::uint64_t /*row_stride*/, bool first) const {
    const Derived& self = derived();
    const T* blocks = local_pointer(local);
    const std::uint64_t group_size = item.get_local_range(0);
    const std::uint64_t l = item.get_local_id(0);
    const std::uint64_t at = dim * item.get_group_range(0) + item.get_group(0);
    T* sums = device_pointer(self.sums) + self.halves.store_upper * self.halves.sums_size;
    self.store(item, sums + at, blocks[l]);
    self.for_each_higher([&](std::uint64_t slot) {
      self.store(item, sums + slot * self.slot_stride + at, blocks[slot * group_size + l]);
    });
    if (self.has_w && first) {
      const std::uint64_t g =
          self.halves.store_upper * self.halves.weights_size + item.get_group(0);
      self.store(item, device_pointer(self.sum_w) + g, blocks[self.slot_w * group_size + l]);
      self.store(item, device_pointer(self.sum_w2) + g, blocks[self.slot_w2 * group_size + l]);
    }
  }

  // Group sum of value, written by the group's last work-item.
  static void store(const sycl::nd_item<1>& item, T* place, T value) {
    const T sum = sycl::reduce_over_group(item.get_group(), value, T(0), sycl::plus<T>());
    if (item.get_local_id(0) == item.get_local_range(0) - 1) {
      *place = sum;
    }
  }

  // The finished sums, after the last step; an absent sum reads as 0.
  T kept_sum(std::uint8_t kept, std::uint64_t slot, std::uint64_t dim) const {
    const Derived& self = derived();
    return kept ? device_pointer(self.sums)[slot * self.slot_stride + dim] : T(0);
  }
  // W and W2; without weights both are the observation count.
  T weight_sum() const {
    const Derived& self = derived();
    return self.has_w ? device_pointer(self.sum_w)[0] : count_as_weight();
  }
  T weight_square_sum() const {
    const Derived& self = derived();
    return self.has_w ? device_pointer(self.sum_w2)[0] : count_as_weight();
  }

  void require(sycl::handler& cgh) const {
    const Derived& self = derived();
    cgh.require(self.sums);
    cgh.require(self.sum_w);
    cgh.require(self.sum_w2);
  }

 private:
  const Derived& derived() const { return static_cast<const Derived&>(*this); }
  T count_as_weight() const {
    return static_cast<T>(static_cast<std::int64_t>(derived().obs_count));
  }
};

// Raw power sums: S1 in slot 0, then S2, S3, S4 as kept.
template <typename T, bool Usm>
class sum_tmp_helper<T, Usm, false> : public running_sums<sum_tmp_helper<T, Usm, false>, T> {
 public:
  static constexpr bool user_mean = false;

  sum_tmp_helper(sycl::buffer<T, 1>& sums_buffer, sycl::buffer<T, 1>& sum_w_buffer,
                 sycl::buffer<T, 1>& sum_w2_buffer, std::uint8_t keep_s2, std::uint8_t keep_s3,
                 std::uint8_t keep_s4, std::uint8_t weights, std::uint64_t stride,
                 std::uint64_t count)
      : sums(sums_buffer),
        sum_w(sum_w_buffer),
        sum_w2(sum_w2_buffer),
        has_s2(keep_s2 != 0),
        has_s3(keep_s3 != 0),
        has_s4(keep_s4 != 0),
        has_w(weights != 0),
        slot_stride(stride),
        obs_count(count),
        slot_s2(has_s2),
        slot_s3(has_s2 + has_s3),
        slot_s4(has_s2 + has_s3 + has_s4),
        slot_w(slot_s4 + has_w),
        slot_w2(slot_w + has_w) {}

  // calculate: the group's power sums of its block of observations, and, once a group, the sums of
  // its weights. Tail work-items come with value and weight 0.
  void calculate(const T* local, std::uint64_t dim, const sycl::nd_item<1>& item, T weight,
                 std::uint64_t /*remainder*/, bool first) const {
    const std::uint64_t at = dim * item.get_group_range(0) + item.get_group(0);
    T* out = device_pointer(sums);
    const T x = local[item.get_local_id(0)];
    const T t1 = x * weight;
    this->store(item, out + at, t1);
    if (has_s2) {
      this->store(item, out + slot_s2 * slot_stride + at, t1 * x);
    }
    if (has_s3) {
      this->store(item, out + slot_s3 * slot_stride + at, (t1 * x) * x);
    }
    if (has_s4) {
      this->store(item, out + slot_s4 * slot_stride + at, ((t1 * x) * x) * x);
    }
    if (has_w && first) {
      this->store(item, device_pointer(sum_w) + item.get_group(0), weight);
      this->store(item, device_pointer(sum_w2) + item.get_group(0), weight * weight);
    }
  }

  template <typename F>
  void for_each_higher(F&& f) const {
    if (has_s2) {
      f(slot_s2);
    }
    if (has_s3) {
      f(slot_s3);
    }
    if (has_s4) {
      f(slot_s4);
    }
  }

  T s1(std::uint64_t dim) const { return this->kept_sum(1, 0, dim); }
  T s2(std::uint64_t dim) const { return this->kept_sum(has_s2, slot_s2, dim); }
  T s3(std::uint64_t dim) const { return this->kept_sum(has_s3, slot_s3, dim); }
  T s4(std::uint64_t dim) const { return this->kept_sum(has_s4, slot_s4, dim); }

  scratch_accessor<T> sums;
  scratch_accessor<T> sum_w;
  scratch_accessor<T> sum_w2;
  std::uint8_t has_s2;
  std::uint8_t has_s3;
  std::uint8_t has_s4;
  std::uint8_t has_w;
  std::uint64_t slot_stride;
  std::uint64_t obs_count;
  std::uint64_t slot_s2;
  std::uint64_t slot_s3;
  std::uint64_t slot_s4;
  std::uint64_t slot_w;
  std::uint64_t slot_w2;
  scratch_halves halves;
};

// Central power sums around the caller's mean: S2 in slot 0, then S3, S4 as kept.
template <typename T, bool Usm>
class sum_tmp_helper<T, Usm, true> : public running_sums<sum_tmp_helper<T, Usm, true>, T> {
 public:
  static constexpr bool user_mean = true;

  sum_tmp_helper(sycl::buffer<T, 1>& sums_buffer, sycl::buffer<T, 1>& sum_w_buffer,
                 sycl::buffer<T, 1>& sum_w2_buffer,
                 pointer_or_accessor<T, Usm, sycl::access_mode::read> mean, std::uint8_t keep_s3,
                 std::uint8_t keep_s4, std::uint8_t weights, std::uint64_t stride,
                 std::uint64_t count)
      : sums(sums_buffer),
        mean_in(mean),
        sum_w(sum_w_buffer),
        sum_w2(sum_w2_buffer),
        has_s3(keep_s3 != 0),
        has_s4(keep_s4 != 0),
        has_w(weights != 0),
        slot_stride(stride),
        obs_count(count),
        slot_s3(has_s3),
        slot_s4(has_s3 + has_s4),
        slot_w(slot_s4 + has_w),
        slot_w2(slot_w + has_w) {}

  // The deviation of a tail work-item is 0 outright: its value 0 less the mean is not.
  void calculate(const T* local, std::uint64_t dim, const sycl::nd_item<1>& item, T weight,
                 std::uint64_t remainder, bool first) const {
    const std::uint64_t at = dim * item.get_group_range(0) + item.get_group(0);
    T* out = device_pointer(sums);
    const T e = is_tail(item, remainder)
                    ? T(0)
                    : local[item.get_local_id(0)] - device_pointer(mean_in)[dim];
    const T t2 = (e * weight) * e;
    this->store(item, out + at, t2);
    if (has_s3) {
      this->store(item, out + slot_s3 * slot_stride + at, t2 * e);
    }
    if (has_s4) {
      this->store(item, out + slot_s4 * slot_stride + at, (t2 * e) * e);
    }
    if (has_w && first) {
      this->store(item, device_pointer(sum_w) + item.get_group(0), weight);
      this->store(item, device_pointer(sum_w2) + item.get_group(0), weight * weight);
    }
  }

  template <typename F>
  void for_each_higher(F&& f) const {
    if (has_s3) {
      f(slot_s3);
    }
    if (has_s4) {
      f(slot_s4);
    }
  }

  T s2(std::uint64_t dim) const { return this->kept_sum(1, 0, dim); }
  T s3(std::uint64_t dim) const { return this->kept_sum(has_s3, slot_s3, dim); }
  T s4(std::uint64_t dim) const { return this->kept_sum(has_s4, slot_s4, dim); }
  T mean(std::uint64_t dim) const { return device_pointer(mean_in)[dim]; }

  void require(sycl::handler& cgh) const {
    running_sums<sum_tmp_helper, T>::require(cgh);
    require_all(cgh, mean_in);
  }

  scratch_accessor<T> sums;
  pointer_or_accessor<T, Usm, sycl::access_mode::read> mean_in;
  scratch_accessor<T> sum_w;
  scratch_accessor<T> sum_w2;
  std::uint8_t has_s3;
  std::uint8_t has_s4;
  std::uint8_t has_w;
  std::uint64_t slot_stride;
  std::uint64_t obs_count;
  std::uint64_t slot_s3;
  std::uint64_t slot_s4;
  std::uint64_t slot_w;
  std::uint64_t slot_w2;
  scratch_halves halves;
};

}  // namespace vorlex::orv::stats::detail::gpu
