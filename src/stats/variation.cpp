#include "stats/variation.hpp"

#include "stats/instantiate.hpp"

namespace vorlex::orv::stats {

template <method M, typename T, layout L>
sycl::event variation(sycl::queue& queue, const dataset<L, T*>& data, T* variation,
                      const std::vector<sycl::event>& dependencies) {
  return detail::usm_entry<detail::variation_statistic, M>(queue, detail::no_mean{}, data,
                                                           dependencies, variation);
}

template <method M, typename T, layout L>
void variation(sycl::queue& queue, const dataset<L, sycl::buffer<T, 1>>& data,
               sycl::buffer<T, 1> variation) {
  detail::buffer_entry<detail::variation_statistic, M>(queue, detail::no_mean{}, data, variation);
}

template <method M, typename T, layout L>
sycl::event variation(sycl::queue& queue, T* mean, const dataset<L, T*>& data, T* variation,
                      const std::vector<sycl::event>& dependencies) {
  return detail::usm_entry<detail::variation_statistic, M>(queue, mean, data, dependencies,
                                                           variation);
}

template <method M, typename T, layout L>
void variation(sycl::queue& queue, sycl::buffer<T, 1> mean,
               const dataset<L, sycl::buffer<T, 1>>& data, sycl::buffer<T, 1> variation) {
  detail::buffer_entry<detail::variation_statistic, M>(queue, mean, data, variation);
}

#define TESSEL_STATS_PLAIN(M, T, L)                                                     \
  template sycl::event variation<M, T, L>(sycl::queue&, const dataset<L, T*>&, T*,      \
                                          const std::vector<sycl::event>&);             \
  template void variation<M, T, L>(sycl::queue&, const dataset<L, sycl::buffer<T, 1>>&, \
                                   sycl::buffer<T, 1>);
#define TESSEL_STATS_USER_MEAN(M, T, L)                                                \
  template sycl::event variation<M, T, L>(sycl::queue&, T*, const dataset<L, T*>&, T*, \
                                          const std::vector<sycl::event>&);            \
  template void variation<M, T, L>(sycl::queue&, sycl::buffer<T, 1>,                   \
                                   const dataset<L, sycl::buffer<T, 1>>&, sycl::buffer<T, 1>);

// The method::estimator entries of the plain form are these functions under a second name, given at
// link time (src/CMakeLists.txt).
TESSEL_STATS_FOR_TYPES_AND_LAYOUTS(TESSEL_STATS_PLAIN, method::fast)
TESSEL_STATS_FOR_TYPES_AND_LAYOUTS(TESSEL_STATS_USER_MEAN, method::fast)

}  // namespace vorlex::orv::stats
