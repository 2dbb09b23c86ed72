#include "stats/raw_sum.hpp"

#include "stats/instantiate.hpp"

namespace vorlex::orv::stats {

template <method M, typename T, layout L>
sycl::event raw_sum(sycl::queue& queue, const dataset<L, T*>& data, T* sum, T* sum2, T* sum3,
                    T* sum4, const std::vector<sycl::event>& dependencies) {
  return detail::usm_entry<detail::raw_sum_statistic, M>(queue, detail::no_mean{}, data,
                                                         dependencies, sum, sum2, sum3, sum4);
}

template <method M, typename T, layout L>
void raw_sum(sycl::queue& queue, const dataset<L, sycl::buffer<T, 1>>& data, sycl::buffer<T, 1> sum,
             sycl::buffer<T, 1> sum2, sycl::buffer<T, 1> sum3, sycl::buffer<T, 1> sum4) {
  detail::buffer_entry<detail::raw_sum_statistic, M>(queue, detail::no_mean{}, data, sum, sum2,
                                                     sum3, sum4);
}

#define TESSEL_STATS_PLAIN(M, T, L)                                                          \
  template sycl::event raw_sum<M, T, L>(sycl::queue&, const dataset<L, T*>&, T*, T*, T*, T*, \
                                        const std::vector<sycl::event>&);                    \
  template void raw_sum<M, T, L>(sycl::queue&, const dataset<L, sycl::buffer<T, 1>>&,        \
                                 sycl::buffer<T, 1>, sycl::buffer<T, 1>, sycl::buffer<T, 1>, \
                                 sycl::buffer<T, 1>);

// The method::estimator entries of the plain form are these functions under a second name, given at
// link time (src/CMakeLists.txt).
TESSEL_STATS_FOR_TYPES_AND_LAYOUTS(TESSEL_STATS_PLAIN, method::fast)

}  // namespace vorlex::orv::stats
