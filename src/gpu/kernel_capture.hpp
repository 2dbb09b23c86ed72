// Kernels capture exactly the values that their form uses; a value that a form lacks is held as
// `none`, which carries nothing.
#pragma once

#include <type_traits>

namespace vorlex::orv::stats::detail::gpu {

struct none {};

template <bool Present, typename V>
using capture_if = std::conditional_t<Present, V, none>;

template <bool Present, typename V>
capture_if<Present, V> keep_if(const V& value) {
  if constexpr (Present) {
    return value;
  } else {
    return none{};
  }
}

}  // namespace vorlex::orv::stats::detail::gpu
