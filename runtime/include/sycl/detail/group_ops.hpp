// What the device-side headers ask of the executor: the group collectives, type-erased so that a
// kernel instantiates nothing but a small fold function.
#pragma once

#include <cstddef>
#include <cstdint>
#include <type_traits>

#include "sycl/atomic_fence.hpp"
#include "sycl/defines.hpp"

namespace sycl::detail {

// The executor's record of one running work-item; opaque to kernels.
struct work_item;

enum class reduce_operation : unsigned char { plus, minimum, maximum };

enum class scalar_kind : unsigned char {
  boolean,
  signed_integer,
  unsigned_integer,
  floating_point
};

struct scalar_type {
  scalar_kind kind;
  unsigned char size;
};

template <typename T>
constexpr scalar_type scalar_type_of() {
  static_assert(std::is_arithmetic_v<T>, "group reductions take arithmetic types");
  constexpr scalar_kind kind = std::is_same_v<T, bool>       ? scalar_kind::boolean
                               : std::is_floating_point_v<T> ? scalar_kind::floating_point
                               : std::is_signed_v<T>         ? scalar_kind::signed_integer
                                                             : scalar_kind::unsigned_integer;
  return scalar_type{kind, static_cast<unsigned char>(sizeof(T))};
}

// accumulator := op(accumulator, value), both pointing to T.
using fold_function = void (*)(void* accumulator, const void* value);

template <typename T, typename BinaryOperation>
void fold(void* accumulator, const void* value) {
  T& acc = *static_cast<T*>(accumulator);
  acc = static_cast<T>(BinaryOperation{}(acc, *static_cast<const T*>(value)));
}

// Every work-item of the group calls these with the same arguments; the executor checks that and
// throws sycl::exception (errc::kernel) otherwise.
TESSEL_SYCL_API void collective_barrier(work_item* self, memory_scope scope);
// Replaces *value with the fold, in local-id order, of every item's value, starting from *init when
// init is not null.
TESSEL_SYCL_API void collective_reduce(work_item* self, reduce_operation op, scalar_type type,
                                       void* value, const void* init, fold_function fold);
// Starts a copy of count elements; returns the id that a wait names.
TESSEL_SYCL_API std::uint64_t collective_copy(work_item* self, void* dest, const void* src,
                                              std::size_t element_size, std::size_t count,
                                              std::size_t src_stride, std::size_t dest_stride);
// Returns when the copy is complete for the whole group.
TESSEL_SYCL_API void collective_wait(work_item* self, std::uint64_t copy);

}  // namespace sycl::detail
