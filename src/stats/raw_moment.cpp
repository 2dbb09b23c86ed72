#include "stats/raw_moment.hpp"

#include "stats/instantiate.hpp"

namespace vorlex::orv::stats {

template <method M, typename T, layout L>
sycl::event raw_moment(sycl::queue& queue, const dataset<L, T*>& data, T* mean, T* raw_moment2,
                       T* raw_moment3, T* raw_moment4,
                       const std::vector<sycl::event>& dependencies) {
  return detail::usm_entry<detail::raw_moment_statistic, M>(
      queue, detail::no_mean{}, data, dependencies, mean, raw_moment2, raw_moment3, raw_moment4);
}

template <method M, typename T, layout L>
void raw_moment(sycl::queue& queue, const dataset<L, sycl::buffer<T, 1>>& data,
                sycl::buffer<T, 1> mean, sycl::buffer<T, 1> raw_moment2,
                sycl::buffer<T, 1> raw_moment3, sycl::buffer<T, 1> raw_moment4) {
  detail::buffer_entry<detail::raw_moment_statistic, M>(queue, detail::no_mean{}, data, mean,
                                                        raw_moment2, raw_moment3, raw_moment4);
}

#define TESSEL_STATS_PLAIN(M, T, L)                                                             \
  template sycl::event raw_moment<M, T, L>(sycl::queue&, const dataset<L, T*>&, T*, T*, T*, T*, \
                                           const std::vector<sycl::event>&);                    \
  template void raw_moment<M, T, L>(sycl::queue&, const dataset<L, sycl::buffer<T, 1>>&,        \
                                    sycl::buffer<T, 1>, sycl::buffer<T, 1>, sycl::buffer<T, 1>, \
                                    sycl::buffer<T, 1>);

// The method::estimator entries of the plain form are these functions under a second name, given at
// link time (src/CMakeLists.txt).
TESSEL_STATS_FOR_TYPES_AND_LAYOUTS(TESSEL_STATS_PLAIN, method::fast)

}  // namespace vorlex::orv::stats
