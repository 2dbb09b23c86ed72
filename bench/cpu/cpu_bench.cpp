// Statistics on a CPU queue against the time it takes to read their data once: a summing loop with
// eight independent accumulators on every hardware thread, over the same array, measured in the
// same run. Beside them, GSL's and Boost.Accumulators' kurtosis on one thread, and NumPy, SciPy and
// pandas (python_peers.py) on the same values. Then the cost of one call on small data.
//
//   tessel_cpu_bench [--runs N] [--quick] [--no-peers] [--no-python]
//
// Every figure is the best of N runs (default 5; peers: 2) and is printed as time over the read
// bound of its data. Element k of the array in memory order is 5 + 2 sqrt(12) (u - 1/2), with u
// uniform in [0, 1) from splitmix64 of k: mean 5, standard deviation 2; float data are those values
// rounded to float.
#include <gsl/gsl_statistics_double.h>
#include <gsl/gsl_statistics_float.h>
#include <boost/accumulators/accumulators.hpp>
#include <boost/accumulators/statistics/kurtosis.hpp>
#include <boost/accumulators/statistics/stats.hpp>
#include <sycl/sycl.hpp>

#include <algorithm>
#include <chrono>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <functional>
#include <map>
#include <string>
#include <thread>
#include <vector>
#include <vorlex/orv/stats.hpp>

#include "bench_timing.hpp"

namespace {

namespace st = vorlex::orv::stats;
using namespace tessel::bench;

struct options {
  int runs = 5;
  bool quick = false;
  bool peers = true;
  bool python = true;
};

// Where results go so that the loops that make them are not optimised away.
volatile double sink;

// Observations in USM shared memory, as a caller of the library holds them.
template <class T>
class usm_array {
 public:
  usm_array(sycl::queue& queue, std::size_t count)
      : queue_(queue), count_(count), values_(sycl::malloc_shared<T>(count, queue)) {
    if (values_ == nullptr) {
      std::fprintf(stderr, "tessel_cpu_bench: cannot allocate %zu values\n", count);
      std::exit(1);
    }
  }
  ~usm_array() { sycl::free(values_, queue_); }
  usm_array(const usm_array&) = delete;
  usm_array& operator=(const usm_array&) = delete;

  T* data() const { return values_; }
  std::size_t size() const { return count_; }

 private:
  sycl::queue& queue_;
  std::size_t count_;
  T* values_;
};

// The read bound: every hardware thread sums a slice with eight independent accumulators.
template <class T>
T sum_slice(const T* x, std::size_t n) {
  T a[8] = {};
  std::size_t i = 0;
  for (; i + 8 <= n; i += 8) {
    for (int k = 0; k < 8; ++k) {
      a[k] += x[i + static_cast<std::size_t>(k)];
    }
  }
  for (; i < n; ++i) {
    a[0] += x[i];
  }
  return ((a[0] + a[1]) + (a[2] + a[3])) + ((a[4] + a[5]) + (a[6] + a[7]));
}

template <class T>
double read_bound_seconds(const T* x, std::size_t n, int runs) {
  const unsigned threads = std::max(1u, std::thread::hardware_concurrency());
  std::vector<T> partial(threads);
  return best_of(runs, [&] {
    std::vector<std::thread> workers;
    const std::size_t slice = (n + threads - 1) / threads;
    for (unsigned t = 1; t < threads; ++t) {
      workers.emplace_back([&, t] {
        const std::size_t first = std::min(n, t * slice);
        partial[t] = sum_slice(x + first, std::min(n, first + slice) - first);
      });
    }
    partial[0] = sum_slice(x, std::min(n, slice));
    for (auto& w : workers) {
      w.join();
    }
    sink = static_cast<double>(partial[0]);
  });
}

struct shape {
  const char* key;  // as python_peers.py names it
  const char* label;
  std::int64_t n_dims;
  bool row_major;
};

// One row of the throughput table: seconds of each column, by name.
struct row {
  std::string label;
  double bytes = 0;
  double read_bound = 0;
  std::map<std::string, double> seconds;
};

const std::vector<std::string> library_columns = {"mean", "kurtosis", "central_moment", "min_max"};
const std::vector<std::string> peer_columns = {"GSL kurtosis", "Boost kurtosis"};
const std::vector<std::string> python_columns = {"NumPy mean", "NumPy var", "SciPy kurtosis",
                                                 "pandas kurt"};

// The library's statistics and the read bound take turns, a call each per round, so that every
// column meets the same phases of the machine's memory speed; the bound is read twice a round.
template <class T, st::layout L>
void time_library(sycl::queue& queue, const usm_array<T>& x, std::int64_t n_dims, int runs,
                  row& out) {
  const std::int64_t n_obs = static_cast<std::int64_t>(x.size()) / n_dims;
  const st::dataset<L, T*> data(n_dims, n_obs, x.data());
  std::vector<T> a(static_cast<std::size_t>(n_dims)), b(a), c(a);
  const std::vector<std::pair<std::string, std::function<void()>>> calls = {
      {"mean", [&] { st::mean<st::method::fast, T, L>(queue, data, a.data()).wait(); }},
      {"kurtosis", [&] { st::kurtosis<st::method::fast, T, L>(queue, data, a.data()).wait(); }},
      {"central_moment",
       [&] {
         st::central_moment<st::method::fast, T, L>(queue, data, a.data(), b.data(), c.data())
             .wait();
       }},
      {"min_max",
       [&] { st::min_max<st::method::fast, T, L>(queue, data, a.data(), b.data()).wait(); }},
  };
  const auto bound = [&] { return read_bound_seconds(x.data(), x.size(), 1); };
  out.read_bound = bound();
  for (const auto& [name, call] : calls) {
    out.seconds[name] = 1e300;
  }
  for (int r = 0; r < runs; ++r) {
    out.read_bound = std::min(out.read_bound, bound());
    for (const auto& [name, call] : calls) {
      out.seconds[name] = std::min(out.seconds[name], best_of(1, call));
      if (name == "kurtosis" &&
          (!std::isfinite(a[0]) || std::fabs(static_cast<double>(a[0]) + 1.2) > 0.01)) {
        std::fprintf(stderr, "tessel_cpu_bench: kurtosis %g, expected near -1.2\n",
                     static_cast<double>(a[0]));
        std::exit(1);
      }
    }
    out.read_bound = std::min(out.read_bound, bound());
  }
}

// Peers on one thread, a dimension at a time as their interfaces take it.
template <class T>
void time_peers(const usm_array<T>& x, std::int64_t n_dims, bool row_major, int runs, row& out) {
  const std::size_t dims = static_cast<std::size_t>(n_dims);
  const std::size_t n_obs = x.size() / dims;
  const std::size_t stride = row_major ? 1 : dims;
  out.seconds["GSL kurtosis"] = best_of(runs, [&] {
    for (std::size_t d = 0; d < dims; ++d) {
      const T* first = x.data() + (row_major ? d * n_obs : d);
      if constexpr (std::is_same_v<T, float>) {
        sink = gsl_stats_float_kurtosis(first, stride, n_obs);
      } else {
        sink = gsl_stats_kurtosis(first, stride, n_obs);
      }
    }
  });
  namespace ba = boost::accumulators;
  using kurtosis_set = ba::accumulator_set<double, ba::stats<ba::tag::kurtosis>>;
  out.seconds["Boost kurtosis"] = best_of(runs, [&] {
    std::vector<kurtosis_set> sets(dims);
    if (row_major) {
      for (std::size_t d = 0; d < dims; ++d) {
        for (std::size_t i = 0; i < n_obs; ++i) {
          sets[d](static_cast<double>(x.data()[d * n_obs + i]));
        }
      }
    } else {
      for (std::size_t i = 0; i < n_obs; ++i) {
        for (std::size_t d = 0; d < dims; ++d) {
          sets[d](static_cast<double>(x.data()[i * dims + d]));
        }
      }
    }
    sink = ba::kurtosis(sets[0]);
  });
}

template <class T>
void time_type(sycl::queue& queue, const std::vector<shape>& shapes, std::size_t count,
               const options& opt, const char* type, std::map<std::string, row>& rows) {
  usm_array<T> x(queue, count);
  for (std::size_t k = 0; k < count; ++k) {
    x.data()[k] = static_cast<T>(observation(k));
  }
  for (const shape& s : shapes) {
    row& r = rows[std::string(s.key) + " " + type];
    r.label = std::string(s.label) + "  " + type;
    r.bytes = static_cast<double>(count * sizeof(T));
    if (s.row_major) {
      time_library<T, st::layout::row_major>(queue, x, s.n_dims, opt.runs, r);
    } else {
      time_library<T, st::layout::col_major>(queue, x, s.n_dims, opt.runs, r);
    }
    if (opt.peers) {
      time_peers(x, s.n_dims, s.row_major, std::min(opt.runs, 2), r);
    }
  }
}

// Seconds of one call on n doubles, wait included: the best batch of 200 calls in a loop.
template <class Call>
double call_seconds(int batches, Call&& call) {
  constexpr int calls = 200;
  return best_of(batches,
                 [&] {
                   for (int k = 0; k < calls; ++k) {
                     call();
                   }
                 }) /
         calls;
}

struct python_results {
  std::map<std::string, double> throughput;  // "<shape> <type> <name>"
  std::map<long, double> mean_latency;       // n -> seconds
  bool ran = false;
};

python_results run_python(std::size_t count, const options& opt) {
  python_results found;
  const std::string command = std::string("/usr/bin/python3 ") + TESSEL_PYTHON_PEERS + " --count " +
                              std::to_string(count) + " --runs " +
                              std::to_string(std::min(opt.runs, 3)) + " --machine";
  std::FILE* pipe = popen(command.c_str(), "r");
  if (pipe == nullptr) {
    return found;
  }
  char line[512];
  while (std::fgets(line, sizeof line, pipe) != nullptr) {
    char kind[32], a[64], b[64], c[64];
    double value = 0;
    if (std::sscanf(line, "%31s %63s %63s %63[^\t]\t%lf", kind, a, b, c, &value) == 5 &&
        std::strcmp(kind, "throughput") == 0) {
      found.throughput[std::string(a) + " " + b + " " + c] = value;
    } else if (std::sscanf(line, "%31s %63s %lf", kind, a, &value) == 3 &&
               std::strcmp(kind, "latency") == 0) {
      found.mean_latency[std::atol(a)] = value;
    }
  }
  found.ran = pclose(pipe) == 0;
  return found;
}

void print_throughput(const std::map<std::string, row>& rows, const std::vector<shape>& shapes,
                      const options& opt) {
  std::vector<std::string> columns = library_columns;
  if (opt.peers) {
    columns.insert(columns.end(), peer_columns.begin(), peer_columns.end());
  }
  if (opt.python) {
    columns.insert(columns.end(), python_columns.begin(), python_columns.end());
  }
  std::printf(
      "\nTime over the read bound (both cores, eight accumulators, same array, same run)\n\n");
  std::printf("| data | read bound |");
  for (const auto& c : columns) {
    std::printf(" %s |", c.c_str());
  }
  std::printf("\n| --- | --- |");
  for (std::size_t k = 0; k < columns.size(); ++k) {
    std::printf(" --- |");
  }
  std::printf("\n");
  for (const char* type : {"double", "float"}) {
    for (const shape& s : shapes) {
      const auto found = rows.find(std::string(s.key) + " " + type);
      if (found == rows.end()) {
        continue;
      }
      const row& r = found->second;
      std::printf("| %s | %.1f ms, %.1f GB/s |", r.label.c_str(), r.read_bound * 1e3,
                  r.bytes / r.read_bound * 1e-9);
      for (const auto& c : columns) {
        const auto t = r.seconds.find(c);
        if (t == r.seconds.end()) {
          std::printf(" - |");
        } else {
          std::printf(" %.2f |", t->second / r.read_bound);
        }
      }
      std::printf("\n");
    }
  }
  // Float reads half the bytes of double: per byte it should cost no more.
  std::printf("\nFloat time per byte over double time per byte (library, same shape)\n\n");
  std::printf("| data |");
  for (const auto& c : library_columns) {
    std::printf(" %s |", c.c_str());
  }
  std::printf("\n| --- |");
  for (std::size_t k = 0; k < library_columns.size(); ++k) {
    std::printf(" --- |");
  }
  std::printf("\n");
  for (const shape& s : shapes) {
    const auto f = rows.find(std::string(s.key) + " float");
    const auto d = rows.find(std::string(s.key) + " double");
    if (f == rows.end() || d == rows.end()) {
      continue;
    }
    std::printf("| %s |", s.label);
    for (const auto& c : library_columns) {
      const double per_byte_float = f->second.seconds.at(c) / f->second.bytes;
      const double per_byte_double = d->second.seconds.at(c) / d->second.bytes;
      std::printf(" %.2f |", per_byte_float / per_byte_double);
    }
    std::printf("\n");
  }
}

bool parse(int argc, char** argv, options& opt) {
  for (int k = 1; k < argc; ++k) {
    const std::string a = argv[k];
    if (a == "--runs" && k + 1 < argc) {
      opt.runs = std::max(1, std::atoi(argv[++k]));
    } else if (a == "--quick") {
      opt.quick = true;
    } else if (a == "--no-peers") {
      opt.peers = false;
    } else if (a == "--no-python") {
      opt.python = false;
    } else {
      std::fprintf(stderr,
                   "usage: tessel_cpu_bench [--runs N] [--quick] [--no-peers] [--no-python]\n"
                   "unknown argument: %s\n",
                   a.c_str());
      return false;
    }
  }
  return true;
}

}  // namespace

int main(int argc, char** argv) {
  options opt;
  if (!parse(argc, argv, opt)) {
    return 2;
  }
  sycl::queue queue{sycl::cpu_selector_v};
  const std::size_t count = opt.quick ? 5'000'000 : 50'000'000;
  const std::string per_dim = std::to_string(count / 16);
  const std::string all = std::to_string(count);
  const std::string row_label = "1 x " + all + " row-major";
  const std::string row16_label = "16 x " + per_dim + " row-major";
  const std::string col16_label = "16 x " + per_dim + " col-major";
  const std::vector<shape> shapes = {{"1_row", row_label.c_str(), 1, true},
                                     {"16_row", row16_label.c_str(), 16, true},
                                     {"16_col", col16_label.c_str(), 16, false}};
  std::printf("tessel_cpu_bench: %s, %u hardware threads, best of %d runs\n",
              queue.get_device().get_info<sycl::info::device::name>().c_str(),
              std::thread::hardware_concurrency(), opt.runs);
  std::fflush(stdout);

  std::map<std::string, row> rows;
  time_type<double>(queue, shapes, count, opt, "double", rows);
  time_type<float>(queue, shapes, count, opt, "float", rows);

  // Latency: the fixed cost of a call, wait included.
  std::map<long, std::pair<double, double>> latency;
  for (long n : {1000L, 10000L, 100000L}) {
    usm_array<double> x(queue, static_cast<std::size_t>(n));
    for (long k = 0; k < n; ++k) {
      x.data()[k] = observation(static_cast<std::uint64_t>(k));
    }
    const st::dataset<st::layout::row_major, double*> data(1, n, x.data());
    double out = 0;
    const int batches = 10 * opt.runs;
    const double mean = call_seconds(batches, [&] {
      st::mean<st::method::fast, double, st::layout::row_major>(queue, data, &out).wait();
    });
    const double kurtosis = call_seconds(batches, [&] {
      st::kurtosis<st::method::fast, double, st::layout::row_major>(queue, data, &out).wait();
    });
    latency[n] = {mean, kurtosis};
  }

  python_results py;
  if (opt.python) {
    py = run_python(count, opt);
    if (!py.ran) {
      std::printf("(python_peers.py did not run to the end: its columns may be missing)\n");
    }
    for (auto& [key, r] : rows) {
      for (const auto& c : python_columns) {
        const auto t = py.throughput.find(key + " " + c);
        if (t != py.throughput.end()) {
          r.seconds[c] = t->second;
        }
      }
    }
  }
  print_throughput(rows, shapes, opt);

  std::printf("\nCost of one call on a CPU queue, USM form, wait included (best batch of 200)\n\n");
  std::printf("| observations | mean | kurtosis |%s\n", opt.python ? " NumPy mean |" : "");
  std::printf("| --- | --- | --- |%s\n", opt.python ? " --- |" : "");
  for (const auto& [n, t] : latency) {
    std::printf("| %ld | %.2f us | %.2f us |", n, t.first * 1e6, t.second * 1e6);
    const auto p = py.mean_latency.find(n);
    if (!opt.python) {
      std::printf("\n");
    } else if (p == py.mean_latency.end()) {
      std::printf(" - |\n");
    } else {
      std::printf(" %.2f us |\n", p->second * 1e6);
    }
  }
  return 0;
}
