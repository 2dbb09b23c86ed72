// What the statistics tests share: the queue of the device under test, the sweep over element types
// and layouts, and the building of test problems.
#pragma once

#include <sycl/sycl.hpp>

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "statistic_call.hpp"

namespace tessel::test {

// The queue of the device that this run tests: TESSEL_TEST_DEVICE is cpu or gpu (each ctest
// registration names one), and without it the implementation's default device. How the device is
// shaped (its group size, a shuffle) is the SYCL implementation's own setting.
sycl::queue& test_queue();
std::size_t test_group_size();
bool testing_gpu();

// Whether the implementation runs a command after submit returns, so that a command can be held
// back; a simulator that runs it inside submit cannot.
bool commands_run_asynchronously();

enum class element { f32, f64 };

std::string name_of(element e);
std::string name_of(st::layout l);
std::string name_of(entry_form f);

// Calls body.template operator()<T, L>() for the element type and layout.
template <typename Body>
void with_type_and_layout(element e, st::layout l, Body&& body) {
  const bool row = l == st::layout::row_major;
  if (e == element::f32) {
    row ? body.template operator()<float, st::layout::row_major>()
        : body.template operator()<float, st::layout::col_major>();
  } else {
    row ? body.template operator()<double, st::layout::row_major>()
        : body.template operator()<double, st::layout::col_major>();
  }
}

// Stores observation i of dimension d of a problem in the layout.
template <typename T>
void set_observation(problem<T>& p, st::layout l, std::int64_t d, std::int64_t i, T value) {
  const auto index = l == st::layout::row_major ? d * p.n_obs + i : d + i * p.n_dims;
  p.values[static_cast<std::size_t>(index)] = value;
}

// A problem whose dimension d holds column d of the given per-dimension series.
template <typename T>
problem<T> problem_of(st::layout l, const std::vector<std::vector<T>>& series) {
  problem<T> p;
  p.n_dims = static_cast<std::int64_t>(series.size());
  p.n_obs = series.empty() ? 0 : static_cast<std::int64_t>(series[0].size());
  p.values.resize(static_cast<std::size_t>(p.n_dims * p.n_obs));
  for (std::int64_t d = 0; d < p.n_dims; ++d) {
    for (std::int64_t i = 0; i < p.n_obs; ++i) {
      set_observation(p, l, d, i, series[static_cast<std::size_t>(d)][static_cast<std::size_t>(i)]);
    }
  }
  return p;
}

}  // namespace tessel::test
