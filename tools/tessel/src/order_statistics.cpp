#include "order_statistics.hpp"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <limits>
#include <optional>

#include "parallel.hpp"

namespace tessel {
namespace {

// Large columns: a sample places a window of values around each quartile's ranks, one sweep counts
// the values below each window and keeps those inside it, and the ranks are then selected among the
// few kept. Should a window miss its ranks, the column is sorted out whole.
constexpr std::size_t sample_size = 16384;
constexpr std::size_t whole_below = 4 * sample_size;
constexpr double margin_sigmas = 4;
constexpr std::size_t block_bytes = std::size_t{1} << 18;  // stays in the core's cache

std::uint64_t mix(std::uint64_t z) {
  z += 0x9e3779b97f4a7c15u;
  z = (z ^ (z >> 30)) * 0xbf58476d1ce4e5b9u;
  z = (z ^ (z >> 27)) * 0x94d049bb133111ebu;
  return z ^ (z >> 31);
}

// Quartile k (1 to 3) of n values lies at rank `rank` plus `fraction` of the way to the next.
struct quartile_place {
  std::size_t rank;
  double fraction;
};

quartile_place quartile(std::size_t n, std::size_t k) {
  return {(n - 1) * k / 4, static_cast<double>((n - 1) * k % 4) / 4};
}

// numpy's linear interpolation, which pandas' describe uses.
template <class T>
T interpolate(T low, T high, double fraction) {
  if (fraction == 0) {
    return low;
  }
  const T t = static_cast<T>(fraction);
  const T difference = high - low;
  return fraction >= 0.5 ? high - difference * (1 - t) : low + difference * t;
}

template <class T>
struct column_ref {
  const T* first;
  std::size_t count;
  std::size_t step;
  T at(std::size_t i) const { return first[i * step]; }
};

template <class T>
order_statistics from_sorted_ranks(std::size_t n, T min, T max, auto value_at) {
  order_statistics result;
  result.min = static_cast<double>(min);
  result.max = static_cast<double>(max);
  double* const quartiles[] = {&result.q1, &result.median, &result.q3};
  for (std::size_t k = 1; k <= 3; ++k) {
    const quartile_place place = quartile(n, k);
    const T low = value_at(k, place.rank);
    const T high = place.fraction == 0 ? low : value_at(k, place.rank + 1);
    *quartiles[k - 1] = static_cast<double>(interpolate(low, high, place.fraction));
  }
  return result;
}

template <class T>
order_statistics whole_column(const column_ref<T>& column) {
  if (column.count == 0) {
    constexpr double none = std::numeric_limits<double>::quiet_NaN();
    return {none, none, none, none, none};
  }
  std::vector<T> values(column.count);
  for (std::size_t i = 0; i < column.count; ++i) {
    values[i] = column.at(i);
  }
  const auto [min, max] = std::minmax_element(values.begin(), values.end());
  const T low = *min, high = *max;
  // Ranks are asked for in increasing order, so each selection works on what lies above the
  // previous one.
  std::size_t sorted_below = 0;
  return from_sorted_ranks<T>(column.count, low, high, [&](std::size_t, std::size_t rank) {
    const auto target = values.begin() + static_cast<std::ptrdiff_t>(rank);
    std::nth_element(values.begin() + static_cast<std::ptrdiff_t>(sorted_below), target,
                     values.end());
    sorted_below = rank;
    return *target;
  });
}

// The values of a column between two bounds, with the count of those below.
template <class T>
struct window {
  T low = -std::numeric_limits<T>::infinity();
  T high = std::numeric_limits<T>::infinity();
  std::size_t below = 0, at_low = 0, at_high = 0;
  std::vector<T> inside;

  void add(T value) {
    if (value == low) {
      ++at_low;
    } else if (value == high) {
      ++at_high;
    } else {
      inside.push_back(value);
    }
  }
  bool holds(std::size_t rank) const {
    return below <= rank && rank < below + at_low + inside.size() + at_high;
  }
  T at(std::size_t rank) {
    std::size_t k = rank - below;
    if (k < at_low) {
      return low;
    }
    k -= at_low;
    if (k >= inside.size()) {
      return high;
    }
    const auto target = inside.begin() + static_cast<std::ptrdiff_t>(k);
    if (selected && k == *selected + 1) {
      // The next rank after a selection is the least of what lies above it.
      std::iter_swap(target, std::min_element(target, inside.end()));
    } else {
      std::nth_element(inside.begin(), target, inside.end());
    }
    selected = k;
    return *target;
  }

 private:
  std::optional<std::size_t> selected;  // the place of inside the last selection settled
};

template <class T>
struct tally {
  T min = std::numeric_limits<T>::infinity();
  T max = -std::numeric_limits<T>::infinity();
  window<T> windows[3];
};

// Bounds of the windows from a sorted sample, wide enough that each holds its quartile's two ranks
// but for a chance of about 1e-4.
template <class T>
void place_windows(const column_ref<T>& column, tally<T>& bounds) {
  std::vector<T> sample(sample_size);
  for (std::size_t k = 0; k < sample_size; ++k) {
    sample[k] = column.at(mix(k) % column.count);
  }
  std::sort(sample.begin(), sample.end());
  for (std::size_t k = 1; k <= 3; ++k) {
    const quartile_place place = quartile(column.count, k);
    const double q = static_cast<double>(k) / 4;
    const double centre = static_cast<double>(place.rank) / static_cast<double>(column.count - 1) *
                          static_cast<double>(sample_size - 1);
    const double margin = margin_sigmas * std::sqrt(sample_size * q * (1 - q)) + 2;
    window<T>& w = bounds.windows[k - 1];
    if (centre - margin >= 0) {
      w.low = sample[static_cast<std::size_t>(centre - margin)];
    }
    if (centre + 1 + margin < static_cast<double>(sample_size - 1)) {
      w.high = sample[static_cast<std::size_t>(std::ceil(centre + 1 + margin))];
    }
  }
}

// A vector of values at a time, without a branch on where a value falls: the counts below each
// window and the extremes are kept lane by lane, every value is written to a staging run that keeps
// it only if it lies inside some window (a few in a hundred), and the staged values are then sorted
// into their windows the same way. A NaN is nowhere: below no window, inside none, never an
// extreme.
template <class T>
void sweep(const column_ref<T>& column, std::size_t begin, std::size_t end, tally<T>& into) {
  using values_t [[gnu::vector_size(16)]] = T;
  using mask_t = decltype(values_t{} < values_t{});
  constexpr std::size_t lanes = sizeof(values_t) / sizeof(T);
  constexpr std::size_t run = 512;
  const auto splat = [](T value) { return values_t{} + value; };
  window<T>* const w = into.windows;
  const T* const first = column.first;
  const std::size_t step = column.step;
  const values_t low[3] = {splat(w[0].low), splat(w[1].low), splat(w[2].low)};
  const values_t high[3] = {splat(w[0].high), splat(w[1].high), splat(w[2].high)};
  values_t min = splat(into.min), max = splat(into.max);
  mask_t below[3] = {};  // minus the count per lane: a true comparison is -1
  T staged[run + lanes];
  T placed[3][run + lanes];
  for (std::size_t run_begin = begin; run_begin < end; run_begin += run) {
    const std::size_t run_end = std::min(end, run_begin + run);
    std::size_t n_staged = 0;
    for (std::size_t i = run_begin; i < run_end; i += lanes) {
      values_t v{};
      for (std::size_t l = 0; l < lanes; ++l) {
        // Past the run's end a lane repeats the run's last value and counts for nothing.
        v[l] = first[std::min(i + l, run_end - 1) * step];
      }
      mask_t counted{};
      for (std::size_t l = 0; l < lanes; ++l) {
        counted[l] = i + l < run_end ? -1 : 0;
      }
      min = v < min ? v : min;
      max = v > max ? v : max;
      mask_t inside{};
      for (std::size_t k = 0; k < 3; ++k) {
        below[k] += (v < low[k]) & counted;
        inside |= (v >= low[k]) & (v <= high[k]);
      }
      inside &= counted;
      for (std::size_t l = 0; l < lanes; ++l) {
        staged[n_staged] = v[l];
        n_staged -= static_cast<std::size_t>(static_cast<std::ptrdiff_t>(inside[l]));
      }
    }
    std::size_t n_placed[3] = {0, 0, 0};
    for (std::size_t j = 0; j < n_staged; ++j) {
      const T value = staged[j];
      for (std::size_t k = 0; k < 3; ++k) {
        placed[k][n_placed[k]] = value;
        n_placed[k] += (value >= w[k].low) & (value <= w[k].high);
      }
    }
    for (std::size_t k = 0; k < 3; ++k) {
      for (std::size_t j = 0; j < n_placed[k]; ++j) {
        w[k].add(placed[k][j]);
      }
    }
  }
  for (std::size_t l = 0; l < lanes; ++l) {
    into.min = min[l] < into.min ? min[l] : into.min;
    into.max = max[l] > into.max ? max[l] : into.max;
    for (std::size_t k = 0; k < 3; ++k) {
      w[k].below += static_cast<std::size_t>(-static_cast<std::int64_t>(below[k][l]));
    }
  }
}

}  // namespace

template <class T>
std::vector<order_statistics> find_order_statistics(const std::vector<column_set<T>>& sets,
                                                    unsigned workers) {
  std::vector<column_ref<T>> columns;
  for (const column_set<T>& set : sets) {
    for (const std::size_t offset : set.offsets) {
      columns.push_back({set.first + offset, set.count, set.step});
    }
  }
  std::vector<order_statistics> results(columns.size());
  std::vector<tally<T>> bounds(columns.size());
  // A byte per column, not vector<bool>: workers write neighbouring columns at once, and packed
  // bits would share a word.
  std::vector<unsigned char> sampled(columns.size());
  parallel_for(columns.size(), workers, [&](std::size_t c, unsigned) {
    sampled[c] = columns[c].count >= whole_below ? 1 : 0;
    if (sampled[c]) {
      place_windows(columns[c], bounds[c]);
    } else {
      results[c] = whole_column(columns[c]);
    }
  });

  // Sweeps over blocks of observations, every sampled column of a block in turn, into one tally per
  // worker and column.
  struct task {
    std::size_t column, begin, end;
  };
  std::vector<task> tasks;
  for (std::size_t c = 0; c < columns.size(); ++c) {
    if (!sampled[c]) {
      continue;
    }
    const std::size_t rows =
        std::max<std::size_t>(1024, block_bytes / (columns[c].step * sizeof(T)));
    for (std::size_t begin = 0; begin < columns[c].count; begin += rows) {
      tasks.push_back({c, begin, std::min(columns[c].count, begin + rows)});
    }
  }
  std::sort(tasks.begin(), tasks.end(),
            [](const task& a, const task& b) { return a.begin < b.begin; });
  const unsigned used = std::max(1u, workers);
  std::vector<std::vector<tally<T>>> tallies(used, bounds);
  parallel_for(tasks.size(), used, [&](std::size_t t, unsigned worker) {
    const task& job = tasks[t];
    sweep(columns[job.column], job.begin, job.end, tallies[worker][job.column]);
  });

  parallel_for(columns.size(), workers, [&](std::size_t c, unsigned) {
    if (!sampled[c]) {
      return;
    }
    tally<T> total = bounds[c];
    for (const std::vector<tally<T>>& part : tallies) {
      total.min = std::min(total.min, part[c].min);
      total.max = std::max(total.max, part[c].max);
      for (std::size_t k = 0; k < 3; ++k) {
        window<T>& w = total.windows[k];
        const window<T>& p = part[c].windows[k];
        w.below += p.below;
        w.at_low += p.at_low;
        w.at_high += p.at_high;
        w.inside.insert(w.inside.end(), p.inside.begin(), p.inside.end());
      }
    }
    const std::size_t n = columns[c].count;
    for (std::size_t k = 1; k <= 3; ++k) {
      const quartile_place place = quartile(n, k);
      const std::size_t last = place.rank + (place.fraction == 0 ? 0 : 1);
      if (!total.windows[k - 1].holds(place.rank) || !total.windows[k - 1].holds(last)) {
        results[c] = whole_column(columns[c]);
        return;
      }
    }
    results[c] = from_sorted_ranks<T>(
        n, total.min, total.max,
        [&](std::size_t k, std::size_t rank) { return total.windows[k - 1].at(rank); });
  });
  return results;
}

template std::vector<order_statistics> find_order_statistics(const std::vector<column_set<float>>&,
                                                             unsigned);
template std::vector<order_statistics> find_order_statistics(const std::vector<column_set<double>>&,
                                                             unsigned);

}  // namespace tessel
