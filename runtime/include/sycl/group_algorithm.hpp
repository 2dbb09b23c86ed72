// Group barrier and group reductions.
#pragma once

#include <type_traits>

#include "sycl/atomic_fence.hpp"
#include "sycl/defines.hpp"
#include "sycl/detail/group_ops.hpp"
#include "sycl/functional.hpp"
#include "sycl/group.hpp"

namespace sycl {

namespace detail {

template <typename BinaryOperation>
struct reduce_operation_of;
template <typename T>
struct reduce_operation_of<plus<T>> {
  static constexpr reduce_operation value = reduce_operation::plus;
};
template <typename T>
struct reduce_operation_of<minimum<T>> {
  static constexpr reduce_operation value = reduce_operation::minimum;
};
template <typename T>
struct reduce_operation_of<maximum<T>> {
  static constexpr reduce_operation value = reduce_operation::maximum;
};

template <typename T, typename BinaryOperation>
T reduce(work_item* item, T value, const T* init) {
  collective_reduce(item, reduce_operation_of<BinaryOperation>::value, scalar_type_of<T>(), &value,
                    init, &fold<T, BinaryOperation>);
  return value;
}

}  // namespace detail

template <typename Group, typename = std::enable_if_t<is_group_v<Group>>>
void group_barrier(Group g, memory_scope fence_scope = Group::fence_scope) {
  detail::collective_barrier(detail::group_access::item(g), fence_scope);
}

// The fold runs in local-id order: x of item 0, then item 1, and so on.
template <typename Group, typename T, typename BinaryOperation,
          typename = std::enable_if_t<is_group_v<Group> && std::is_arithmetic_v<T>>>
T reduce_over_group(Group g, T x, BinaryOperation) {
  return detail::reduce<T, BinaryOperation>(detail::group_access::item(g), x, nullptr);
}

// init + x of item 0 + x of item 1 + ... for plus, and likewise for the others.
template <typename Group, typename V, typename T, typename BinaryOperation,
          typename = std::enable_if_t<is_group_v<Group> && std::is_arithmetic_v<V> &&
                                      std::is_arithmetic_v<T>>>
T reduce_over_group(Group g, V x, T init, BinaryOperation) {
  return detail::reduce<T, BinaryOperation>(detail::group_access::item(g), static_cast<T>(x),
                                            &init);
}

}  // namespace sycl
