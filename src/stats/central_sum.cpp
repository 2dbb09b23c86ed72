#include "stats/central_sum.hpp"

#include "stats/instantiate.hpp"

namespace vorlex::orv::stats {

template <method M, typename T, layout L>
sycl::event central_sum(sycl::queue& queue, const dataset<L, T*>& data, T* sum2, T* sum3, T* sum4,
                        const std::vector<sycl::event>& dependencies) {
  return detail::usm_entry<detail::central_sum_statistic, M>(queue, detail::no_mean{}, data,
                                                             dependencies, sum2, sum3, sum4);
}

template <method M, typename T, layout L>
void central_sum(sycl::queue& queue, const dataset<L, sycl::buffer<T, 1>>& data,
                 sycl::buffer<T, 1> sum2, sycl::buffer<T, 1> sum3, sycl::buffer<T, 1> sum4) {
  detail::buffer_entry<detail::central_sum_statistic, M>(queue, detail::no_mean{}, data, sum2, sum3,
                                                         sum4);
}

template <method M, typename T, layout L>
sycl::event central_sum(sycl::queue& queue, T* mean, const dataset<L, T*>& data, T* sum2, T* sum3,
                        T* sum4, const std::vector<sycl::event>& dependencies) {
  return detail::usm_entry<detail::central_sum_statistic, M>(queue, mean, data, dependencies, sum2,
                                                             sum3, sum4);
}

template <method M, typename T, layout L>
void central_sum(sycl::queue& queue, sycl::buffer<T, 1> mean,
                 const dataset<L, sycl::buffer<T, 1>>& data, sycl::buffer<T, 1> sum2,
                 sycl::buffer<T, 1> sum3, sycl::buffer<T, 1> sum4) {
  detail::buffer_entry<detail::central_sum_statistic, M>(queue, mean, data, sum2, sum3, sum4);
}

#define TESSEL_STATS_PLAIN(M, T, L)                                                          \
  template sycl::event central_sum<M, T, L>(sycl::queue&, const dataset<L, T*>&, T*, T*, T*, \
                                            const std::vector<sycl::event>&);                \
  template void central_sum<M, T, L>(sycl::queue&, const dataset<L, sycl::buffer<T, 1>>&,    \
                                     sycl::buffer<T, 1>, sycl::buffer<T, 1>, sycl::buffer<T, 1>);
#define TESSEL_STATS_USER_MEAN(M, T, L)                                                          \
  template sycl::event central_sum<M, T, L>(sycl::queue&, T*, const dataset<L, T*>&, T*, T*, T*, \
                                            const std::vector<sycl::event>&);                    \
  template void central_sum<M, T, L>(sycl::queue&, sycl::buffer<T, 1>,                           \
                                     const dataset<L, sycl::buffer<T, 1>>&, sycl::buffer<T, 1>,  \
                                     sycl::buffer<T, 1>, sycl::buffer<T, 1>);

TESSEL_STATS_FOR_CENTRAL_METHODS(TESSEL_STATS_PLAIN, TESSEL_STATS_USER_MEAN)

}  // namespace vorlex::orv::stats
