// What a collective costs each work-item on the emulated GPU, and a sum of 1e6 doubles in two
// launches with groups of 256.
#include <benchmark/benchmark.h>

#include <time.h>

#include <cstddef>
#include <sycl/sycl.hpp>

namespace {

// CPU time of every thread of the process: the work runs on the runtime's threads, and on a shared
// machine this is steadier than wall time.
double process_cpu_seconds() {
  timespec t{};
  clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &t);
  return static_cast<double>(t.tv_sec) + 1e-9 * static_cast<double>(t.tv_nsec);
}

sycl::queue& gpu() {
  static sycl::queue q{sycl::gpu_selector_v};
  return q;
}

std::size_t group_size() {
  return gpu().get_device().get_info<sycl::info::device::max_work_group_size>();
}

enum class collective { barrier, reduce };

// k collectives per item over 1024 groups of the device's largest size; the counters are wall time
// and CPU time (all threads) per item per collective, fiber starts included.
template <collective Kind>
void per_item_per_collective(benchmark::State& state) {
  const std::size_t local = group_size(), n = local * 1024;
  const int k = static_cast<int>(state.range(0));
  double* out = sycl::malloc_device<double>(n, gpu());
  const double cpu_start = process_cpu_seconds();
  for (auto _ : state) {
    gpu()
        .parallel_for(sycl::nd_range<1>(n, local),
                      [=](sycl::nd_item<1> it) {
                        double v = static_cast<double>(it.get_local_id(0));
                        for (int c = 0; c < k; ++c) {
                          if constexpr (Kind == collective::barrier) {
                            sycl::group_barrier(it.get_group());
                          } else {
                            v = sycl::reduce_over_group(it.get_group(), v, sycl::plus<double>());
                          }
                        }
                        out[it.get_global_id(0)] = v;
                      })
        .wait_and_throw();
  }
  const double item_collectives =
      static_cast<double>(state.iterations()) * static_cast<double>(n) * k;
  state.counters["cpu_ns_per_item_collective"] =
      1e9 * (process_cpu_seconds() - cpu_start) / item_collectives;
  sycl::free(out, gpu());
  state.counters["per_item_collective"] =
      benchmark::Counter(static_cast<double>(n) * k, benchmark::Counter::kIsIterationInvariantRate |
                                                         benchmark::Counter::kInvert);
}
BENCHMARK(per_item_per_collective<collective::barrier>)
    ->Arg(1)
    ->Arg(4)
    ->Arg(16)
    ->Unit(benchmark::kMillisecond)
    ->UseRealTime();
BENCHMARK(per_item_per_collective<collective::reduce>)
    ->Arg(1)
    ->Arg(4)
    ->Arg(16)
    ->Unit(benchmark::kMillisecond)
    ->UseRealTime();

// First launch: one partial sum per group of 256; second launch: one group folds the partials, each
// item a strided share, then reduce_over_group.
void multi_group_sum(benchmark::State& state) {
  constexpr std::size_t n = 1000000, local = 256, groups = (n + local - 1) / local;
  if (group_size() < local) {
    state.SkipWithError("the emulated GPU's largest group is below 256");
    return;
  }
  sycl::queue& q = gpu();
  double* x = sycl::malloc_shared<double>(n, q);
  double* partial = sycl::malloc_shared<double>(groups, q);
  double* total = sycl::malloc_shared<double>(1, q);
  for (std::size_t i = 0; i < n; ++i) {
    x[i] = static_cast<double>(i % 1000) * 0.25;
  }
  const double expected = 1000.0 * (999.0 * 1000.0 / 2.0) * 0.25;
  for (auto _ : state) {
    q.parallel_for(sycl::nd_range<1>(groups * local, local), [=](sycl::nd_item<1> it) {
      const std::size_t i = it.get_global_id(0);
      const double s =
          sycl::reduce_over_group(it.get_group(), i < n ? x[i] : 0.0, 0.0, sycl::plus<double>());
      if (it.get_local_id(0) == local - 1) {
        partial[it.get_group(0)] = s;
      }
    });
    q.wait_and_throw();
    q.parallel_for(sycl::nd_range<1>(local, local), [=](sycl::nd_item<1> it) {
      double share = 0.0;
      for (std::size_t g = it.get_local_id(0); g < groups; g += local) {
        share += partial[g];
      }
      const double s = sycl::reduce_over_group(it.get_group(), share, 0.0, sycl::plus<double>());
      if (it.get_local_id(0) == 0) {
        *total = s;
      }
    });
    q.wait_and_throw();
    if (*total != expected) {
      state.SkipWithError("wrong sum");
      break;
    }
  }
  state.SetItemsProcessed(static_cast<std::int64_t>(state.iterations() * n));
  sycl::free(x, q);
  sycl::free(partial, q);
  sycl::free(total, q);
}
BENCHMARK(multi_group_sum)->Unit(benchmark::kMillisecond)->UseRealTime();

}  // namespace

BENCHMARK_MAIN();
