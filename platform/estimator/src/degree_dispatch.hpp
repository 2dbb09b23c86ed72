// Turns the degrees a request needs into template arguments, so that the loops over the
// observations carry no tests of what to compute.
#pragma once

#include <type_traits>

namespace tessel::estimator {

template <int N>
using degree = std::integral_constant<int, N>;

// f(degree<n>) for n in 0..4.
template <class F>
void with_raw_degree(int n, F&& f) {
  switch (n) {
    case 0:
      f(degree<0>{});
      break;
    case 1:
      f(degree<1>{});
      break;
    case 2:
      f(degree<2>{});
      break;
    case 3:
      f(degree<3>{});
      break;
    default:
      f(degree<4>{});
      break;
  }
}

// f(degree<n>) for n in 2..4, and degree<0> for no central sums.
template <class F>
void with_central_degree(int n, F&& f) {
  switch (n) {
    case 0:
      f(degree<0>{});
      break;
    case 2:
      f(degree<2>{});
      break;
    case 3:
      f(degree<3>{});
      break;
    default:
      f(degree<4>{});
      break;
  }
}

template <class F>
void with_weights(bool weighted, F&& f) {
  if (weighted) {
    f(std::true_type{});
  } else {
    f(std::false_type{});
  }
}

}  // namespace tessel::estimator
