#include "stats/max.hpp"

#include "stats/instantiate.hpp"

namespace vorlex::orv::stats {

template <method M, typename T, layout L>
sycl::event max(sycl::queue& queue, const dataset<L, T*>& data, T* max,
                const std::vector<sycl::event>& dependencies) {
  return detail::usm_entry<detail::max_statistic, M>(queue, detail::no_mean{}, data, dependencies,
                                                     max);
}

template <method M, typename T, layout L>
void max(sycl::queue& queue, const dataset<L, sycl::buffer<T, 1>>& data, sycl::buffer<T, 1> max) {
  detail::buffer_entry<detail::max_statistic, M>(queue, detail::no_mean{}, data, max);
}

#define TESSEL_STATS_PLAIN(M, T, L)                                               \
  template sycl::event max<M, T, L>(sycl::queue&, const dataset<L, T*>&, T*,      \
                                    const std::vector<sycl::event>&);             \
  template void max<M, T, L>(sycl::queue&, const dataset<L, sycl::buffer<T, 1>>&, \
                             sycl::buffer<T, 1>);

TESSEL_STATS_FOR_TYPES_AND_LAYOUTS(TESSEL_STATS_PLAIN, method::fast)

}  // namespace vorlex::orv::stats
