// Short vectors for the loops over observations (the vector extension that g++ and clang share):
// the loops are written once over a vector type V and keep one independent chain of sums per lane.
// They are built twice, for the SSE2 that every x86-64 processor has, and for AVX2 with FMA, chosen
// when the stage runs.
//
// The helpers are always inlined and take vectors only by reference: inlined into a function built
// for AVX2 they become AVX2 code, and no vector of 32 bytes ever crosses a call between functions
// built for different instruction sets.
#pragma once

#include <cstring>
#include <type_traits>
#include <utility>

#define TESSEL_INLINE inline __attribute__((always_inline))
#define TESSEL_TARGET_AVX2 __attribute__((target("avx2,fma")))

namespace tessel::estimator {

typedef double double2 __attribute__((vector_size(16)));
typedef double double4 __attribute__((vector_size(32)));
typedef float float4 __attribute__((vector_size(16)));
typedef float float8 __attribute__((vector_size(32)));

// Whether the AVX2 build of the loops may run: the processor has AVX2 and FMA, and the environment
// variable TESSEL_ESTIMATOR_SIMD does not ask for sse2.
bool avx2_enabled();

// The element type of a vector, or the type itself for a plain scalar.
template <class V, class = void>
struct scalar_type {
  using type = V;
};
template <class V>
struct scalar_type<V, std::void_t<decltype(std::declval<V&>()[0])>> {
  using type = std::remove_reference_t<decltype(std::declval<V&>()[0])>;
};
template <class V>
using scalar_of = typename scalar_type<V>::type;

template <class V>
constexpr int lanes_of = static_cast<int>(sizeof(V) / sizeof(scalar_of<V>));

template <class V>
TESSEL_INLINE scalar_of<V> lane_value(const V& v, int k) {
  if constexpr (lanes_of<V> == 1) {
    return v;
  } else {
    return v[k];
  }
}

// v's lane k becomes lane(k).
template <class V, class F>
TESSEL_INLINE void fill(V& v, const F& lane) {
  if constexpr (lanes_of<V> == 1) {
    v = lane(0);
  } else {
    V lanes = {};
    for (int k = 0; k < lanes_of<V>; ++k) {
      lanes[k] = lane(k);
    }
    v = lanes;
  }
}

// The elements at p, as they are.
template <class V, class T>
TESSEL_INLINE void load_native(V& v, const T* p) {
  std::memcpy(&v, p, sizeof v);
}

// The elements at p as doubles: floats are widened on the way in, so every sum runs in double.
template <class V>
TESSEL_INLINE void load(V& v, const double* p) {
  load_native(v, p);
}
template <class V>
TESSEL_INLINE void load(V& v, const float* p) {
  // Lane by lane, which compilers turn into one widening load; a vector conversion of a loaded
  // float vector they split into halves.
  fill(v, [p](int k) { return static_cast<double>(p[k]); });
}

// The weight rule: weights that are 0, negative or NaN count as 1.
template <class V>
TESSEL_INLINE void make_effective_weight(V& w) {
  if constexpr (lanes_of<V> == 1) {
    w = w > 0.0 ? w : 1.0;
  } else {
    V one;
    fill(one, [](int) { return 1.0; });
    w = w > 0.0 ? w : one;
  }
}

// Elements compared where they are, for the extremes: as many as the double vector V has bytes.
template <class T, class V>
using native_vector = std::conditional_t<std::is_same_v<T, float>,
                                         std::conditional_t<sizeof(V) == 16, float4, float8>, V>;

}  // namespace tessel::estimator
