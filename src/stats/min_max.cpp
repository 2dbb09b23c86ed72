#include "stats/min_max.hpp"

#include "stats/instantiate.hpp"

namespace vorlex::orv::stats {

template <method M, typename T, layout L>
sycl::event min_max(sycl::queue& queue, const dataset<L, T*>& data, T* min, T* max,
                    const std::vector<sycl::event>& dependencies) {
  return detail::usm_entry<detail::min_max_statistic, M>(queue, detail::no_mean{}, data,
                                                         dependencies, min, max);
}

template <method M, typename T, layout L>
void min_max(sycl::queue& queue, const dataset<L, sycl::buffer<T, 1>>& data, sycl::buffer<T, 1> min,
             sycl::buffer<T, 1> max) {
  detail::buffer_entry<detail::min_max_statistic, M>(queue, detail::no_mean{}, data, min, max);
}

#define TESSEL_STATS_PLAIN(M, T, L)                                                   \
  template sycl::event min_max<M, T, L>(sycl::queue&, const dataset<L, T*>&, T*, T*,  \
                                        const std::vector<sycl::event>&);             \
  template void min_max<M, T, L>(sycl::queue&, const dataset<L, sycl::buffer<T, 1>>&, \
                                 sycl::buffer<T, 1>, sycl::buffer<T, 1>);

TESSEL_STATS_FOR_TYPES_AND_LAYOUTS(TESSEL_STATS_PLAIN, method::fast)

}  // namespace vorlex::orv::stats
