#include "stats/min.hpp"

#include "stats/instantiate.hpp"

namespace vorlex::orv::stats {

template <method M, typename T, layout L>
sycl::event min(sycl::queue& queue, const dataset<L, T*>& data, T* min,
                const std::vector<sycl::event>& dependencies) {
  return detail::usm_entry<detail::min_statistic, M>(queue, detail::no_mean{}, data, dependencies,
                                                     min);
}

template <method M, typename T, layout L>
void min(sycl::queue& queue, const dataset<L, sycl::buffer<T, 1>>& data, sycl::buffer<T, 1> min) {
  detail::buffer_entry<detail::min_statistic, M>(queue, detail::no_mean{}, data, min);
}

#define TESSEL_STATS_PLAIN(M, T, L)                                               \
  template sycl::event min<M, T, L>(sycl::queue&, const dataset<L, T*>&, T*,      \
                                    const std::vector<sycl::event>&);             \
  template void min<M, T, L>(sycl::queue&, const dataset<L, sycl::buffer<T, 1>>&, \
                             sycl::buffer<T, 1>);

TESSEL_STATS_FOR_TYPES_AND_LAYOUTS(TESSEL_STATS_PLAIN, method::fast)

}  // namespace vorlex::orv::stats
