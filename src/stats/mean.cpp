#include "stats/mean.hpp"

#include "stats/instantiate.hpp"

namespace vorlex::orv::stats {

template <method M, typename T, layout L>
sycl::event mean(sycl::queue& queue, const dataset<L, T*>& data, T* mean,
                 const std::vector<sycl::event>& dependencies) {
  return detail::usm_entry<detail::mean_statistic, M>(queue, detail::no_mean{}, data, dependencies,
                                                      mean);
}

template <method M, typename T, layout L>
void mean(sycl::queue& queue, const dataset<L, sycl::buffer<T, 1>>& data, sycl::buffer<T, 1> mean) {
  detail::buffer_entry<detail::mean_statistic, M>(queue, detail::no_mean{}, data, mean);
}

#define TESSEL_STATS_PLAIN(M, T, L)                                                \
  template sycl::event mean<M, T, L>(sycl::queue&, const dataset<L, T*>&, T*,      \
                                     const std::vector<sycl::event>&);             \
  template void mean<M, T, L>(sycl::queue&, const dataset<L, sycl::buffer<T, 1>>&, \
                              sycl::buffer<T, 1>);

// The method::estimator entries of the plain form are these functions under a second name, given at
// link time (src/CMakeLists.txt).
TESSEL_STATS_FOR_TYPES_AND_LAYOUTS(TESSEL_STATS_PLAIN, method::fast)

}  // namespace vorlex::orv::stats
