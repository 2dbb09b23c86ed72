// The estimator module's Basic and Minmax stages, in nanoseconds per element, beside a summing loop
// with eight independent accumulators over the same array on as many threads. Given several builds
// of the module, it runs them side by side in one process, alternating, so that their figures share
// the machine's load. On one thread by default; with --threads, the stages get the threading
// service's table and the read bound runs on every thread of its pool.
//
//   tessel_estimator_bench [--runs N] [--obs N] [--only TEXT] [--threads] MODULE...
//
// Every figure is the best of N runs (default 7) over 1 x obs and 16 x obs/16 observations (default
// 8e6), mean 5 and standard deviation 2; --only keeps the rows whose name holds TEXT.
#include "orv/orv_ksu_serv_threader.h"
#include "orv/ss_task.h"

#include <dlfcn.h>

#include <algorithm>
#include <chrono>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

#include "bench_timing.hpp"

namespace {

using namespace tessel::bench;

volatile double sink;

// Null, or the threading service's entries as the library hands them to a stage.
const ss_threading_entry* threading_table = nullptr;

template <class T>
double sum_slice(const T* x, std::size_t n) {
  double acc[8] = {};
  for (std::size_t i = 0; i + 8 <= n; i += 8) {
    for (int k = 0; k < 8; ++k) {
      acc[k] += static_cast<double>(x[i + static_cast<std::size_t>(k)]);
    }
  }
  double total = 0.0;
  for (double a : acc) {
    total += a;
  }
  return total;
}

template <class T>
void read_bound(const std::vector<T>& x) {
  if (threading_table == nullptr) {
    sink = sum_slice(x.data(), x.size());
    return;
  }
  struct slices {
    const std::vector<T>& x;
    std::int64_t count;
    double total[64];
  } work{x, std::min(64, orv_ksu_serv_threader_get_num_threads_limit()), {}};
  orv_ksu_serv_threader_for(work.count, 0, &work, [](void* context, std::int64_t k, int) {
    auto& w = *static_cast<slices*>(context);
    const std::size_t slice =
        (w.x.size() + static_cast<std::size_t>(w.count) - 1) / static_cast<std::size_t>(w.count);
    const std::size_t first = std::min(w.x.size(), static_cast<std::size_t>(k) * slice);
    w.total[k] = sum_slice(w.x.data() + first, std::min(w.x.size() - first, slice));
  });
  sink = work.total[0];
}

// The threading service's entries, in the order of the table's first row.
const ss_threading_entry threading_entries[SS_THREADING_TABLE_SIZE] = {
    reinterpret_cast<ss_threading_entry>(&orv_ksu_serv_threader_for),
    reinterpret_cast<ss_threading_entry>(&orv_ksu_serv_threader_for_ordered),
    reinterpret_cast<ss_threading_entry>(&orv_ksu_serv_threader_sections),
    reinterpret_cast<ss_threading_entry>(&orv_ksu_serv_threader_ordered),
    reinterpret_cast<ss_threading_entry>(&orv_ksu_serv_threader_get_num_threads_limit)};

struct module {
  std::string path;
  void* handle = nullptr;
  ss_new_task_d_fn new_task_d = nullptr;
  ss_new_task_s_fn new_task_s = nullptr;
  ss_edit_task_d_fn edit_d = nullptr;
  ss_edit_task_s_fn edit_s = nullptr;
  ss_delete_task_fn delete_task = nullptr;
  ss_stage_fn basic_d = nullptr;
  ss_stage_fn basic_s = nullptr;
  ss_stage_fn minmax_d = nullptr;
  ss_stage_fn minmax_s = nullptr;

  explicit module(const char* p) : path(p), handle(dlopen(p, RTLD_NOW | RTLD_LOCAL)) {
    if (handle == nullptr) {
      std::fprintf(stderr, "tessel_estimator_bench: cannot load %s: %s\n", p, dlerror());
      std::exit(1);
    }
    find(new_task_d, "__ksudSSNewTask");
    find(new_task_s, "__ksusSSNewTask");
    find(edit_d, "__ksudSSEditTask");
    find(edit_s, "__ksusSSEditTask");
    find(delete_task, "__ksuSSDeleteTask");
    find(basic_d, "_ksudSSBasic");
    find(basic_s, "_ksusSSBasic");
    find(minmax_d, "_ksudSSMinmax");
    find(minmax_s, "_ksusSSMinmax");
  }
  template <class Fn>
  void find(Fn& fn, const char* name) {
    fn = reinterpret_cast<Fn>(dlsym(handle, name));
    if (fn == nullptr) {
      std::fprintf(stderr, "tessel_estimator_bench: %s has no entry %s\n", path.c_str(), name);
      std::exit(1);
    }
  }

  // One call of the Basic or Minmax stage for `field` of every dimension.
  template <class T>
  void run(const std::vector<T>& x, std::int64_t dims, std::int64_t storage, std::uint64_t mask,
           std::int64_t field, std::vector<T>& out) const {
    const std::int64_t words[3] = {dims, static_cast<std::int64_t>(x.size()) / dims, storage};
    ss_task* task = nullptr;
    std::int32_t status;
    const bool extremes = (mask & SS_STAGE_MINMAX) != 0;
    if constexpr (sizeof(T) == sizeof(double)) {
      status = new_task_d(&task, &words[0], &words[1], &words[2], x.data(), nullptr, nullptr, 1);
      status |= edit_d(task, field, out.data());
      status |= (extremes ? minmax_d : basic_d)(task, mask, SS_METHOD_TWO_PASS, threading_table);
    } else {
      status = new_task_s(&task, &words[0], &words[1], &words[2], x.data(), nullptr, nullptr, 1);
      status |= edit_s(task, field, out.data());
      status |= (extremes ? minmax_s : basic_s)(task, mask, SS_METHOD_TWO_PASS, threading_table);
    }
    status |= delete_task(&task);
    if (status != 0) {
      std::fprintf(stderr, "tessel_estimator_bench: %s failed\n", path.c_str());
      std::exit(1);
    }
    sink = static_cast<double>(out[0]);
  }
};

struct workload {
  const char* name;
  std::int64_t dims;
  std::int64_t storage;
  std::uint64_t mask;
  std::int64_t field;
};

template <class T>
void measure(const char* type, std::int64_t obs, int runs, const std::string& only,
             const std::vector<module>& modules) {
  std::vector<T> x(static_cast<std::size_t>(obs));
  for (std::size_t k = 0; k < x.size(); ++k) {
    x[k] = static_cast<T>(observation(k));
  }
  std::vector<T> out(16);
  const workload loads[] = {
      {"mean 1 x n", 1, SS_STORAGE_ROW_MAJOR, SS_MEAN, SS_FIELD_MEAN},
      {"kurtosis 1 x n", 1, SS_STORAGE_ROW_MAJOR, SS_KURTOSIS, SS_FIELD_KURTOSIS},
      {"kurtosis 16 row", 16, SS_STORAGE_ROW_MAJOR, SS_KURTOSIS, SS_FIELD_KURTOSIS},
      {"kurtosis 16 col", 16, SS_STORAGE_COL_MAJOR, SS_KURTOSIS, SS_FIELD_KURTOSIS},
      {"mean 16 col", 16, SS_STORAGE_COL_MAJOR, SS_MEAN, SS_FIELD_MEAN},
      {"min 1 x n", 1, SS_STORAGE_ROW_MAJOR, SS_MIN, SS_FIELD_MIN},
      {"min 16 col", 16, SS_STORAGE_COL_MAJOR, SS_MIN, SS_FIELD_MIN},
  };
  const double per_element = 1e9 / static_cast<double>(obs);
  for (const workload& w : loads) {
    if (std::string(w.name).find(only) == std::string::npos) {
      continue;
    }
    std::vector<double> best(modules.size(), 1e300);
    double bound = 1e300;
    // Rounds alternate the modules and the read bound, so that each sees the same load.
    for (int r = 0; r < runs; ++r) {
      bound = std::min(bound, best_of(1, [&] { read_bound(x); }));
      for (std::size_t m = 0; m < modules.size(); ++m) {
        best[m] = std::min(best[m], best_of(1, [&] {
                             modules[m].run(x, w.dims, w.storage, w.mask, w.field, out);
                           }));
      }
    }
    std::printf("| %-6s | %-16s | %6.3f |", type, w.name, bound * per_element);
    for (double b : best) {
      std::printf(" %6.3f (%4.2f) |", b * per_element, b / bound);
    }
    std::printf("\n");
  }
}

}  // namespace

int main(int argc, char** argv) {
  int runs = 7;
  std::int64_t obs = 8000000;
  std::string only;
  std::vector<module> modules;
  for (int a = 1; a < argc; ++a) {
    if (std::strcmp(argv[a], "--runs") == 0 && a + 1 < argc) {
      runs = std::max(1, std::atoi(argv[++a]));
    } else if (std::strcmp(argv[a], "--obs") == 0 && a + 1 < argc) {
      obs = std::max<std::int64_t>(16, std::atoll(argv[++a])) / 16 * 16;
    } else if (std::strcmp(argv[a], "--only") == 0 && a + 1 < argc) {
      only = argv[++a];
    } else if (std::strcmp(argv[a], "--threads") == 0) {
      threading_table = threading_entries;
    } else {
      modules.emplace_back(argv[a]);
    }
  }
  if (modules.empty()) {
    std::fprintf(stderr,
                 "usage: tessel_estimator_bench [--runs N] [--obs N] [--only TEXT] [--threads] "
                 "MODULE...\n");
    return 2;
  }
  std::printf("ns per element on %s, best of %d; in brackets, over the read bound\n",
              threading_table == nullptr ? "one thread" : "every thread", runs);
  std::printf("| type   | what             | read   |");
  for (const module& m : modules) {
    std::printf(" %s |", m.path.c_str());
  }
  std::printf("\n");
  measure<double>("double", obs, runs, only, modules);
  measure<float>("float", obs, runs, only, modules);
}
