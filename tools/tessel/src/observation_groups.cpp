#include "observation_groups.hpp"

#include <algorithm>
#include <cmath>
#include <iterator>
#include <map>

namespace tessel {
namespace {

std::size_t index_of(const matrix& data, std::size_t d, std::size_t i) {
  const auto n_dims = static_cast<std::size_t>(data.n_dims);
  const auto n_obs = static_cast<std::size_t>(data.n_observations);
  return data.layout == matrix_layout::row_major ? d * n_obs + i : d + i * n_dims;
}

template <class T>
std::vector<std::size_t> nan_places(const T* values, std::size_t count, auto index) {
  std::vector<std::size_t> places;
  for (std::size_t i = 0; i < count; ++i) {
    if (std::isnan(values[index(i)])) {
      places.push_back(i);
    }
  }
  return places;
}

template <class T>
std::vector<observation_group> group_as(const matrix& data, const block& weights,
                                        std::int64_t missing_weights,
                                        const std::vector<std::int64_t>& selection) {
  const auto n_obs = static_cast<std::size_t>(data.n_observations);
  const std::vector<std::size_t> unweighable =
      missing_weights > 0 ? nan_places(weights.as<T>(), n_obs, [](std::size_t i) { return i; })
                          : std::vector<std::size_t>{};
  std::map<std::vector<std::size_t>, std::vector<std::size_t>> by_absent;
  by_absent[{}];  // the group of complete dimensions comes first
  for (std::size_t d = 0; d < selection.size(); ++d) {
    if (selection[d] == 0) {
      continue;
    }
    std::vector<std::size_t> absent = unweighable;
    if (data.missing_values > 0) {
      const std::vector<std::size_t> own = nan_places(
          data.values.as<T>(), n_obs, [&](std::size_t i) { return index_of(data, d, i); });
      absent.clear();
      std::set_union(own.begin(), own.end(), unweighable.begin(), unweighable.end(),
                     std::back_inserter(absent));
    }
    by_absent[std::move(absent)].push_back(d);
  }
  std::vector<observation_group> groups;
  for (auto& [absent, dims] : by_absent) {
    if (!dims.empty()) {
      groups.push_back({std::move(dims), absent});
    }
  }
  return groups;
}

template <class T>
gathered_group gather_as(const matrix& data, const block& weights, const observation_group& group,
                         std::pmr::memory_resource& memory) {
  const auto n_obs = static_cast<std::size_t>(data.n_observations);
  gathered_group gathered;
  gathered.count = n_obs - group.absent.size();
  gathered.values = block(memory, group.dims.size() * gathered.count * sizeof(T));
  if (!weights.empty()) {
    gathered.weights = block(memory, gathered.count * sizeof(T));
  }
  // Walks the observations beside the absent ones.
  const auto for_present = [&](auto visit) {
    std::size_t next_absent = 0, kept = 0;
    for (std::size_t i = 0; i < n_obs; ++i) {
      if (next_absent < group.absent.size() && group.absent[next_absent] == i) {
        ++next_absent;
        continue;
      }
      visit(i, kept++);
    }
  };
  T* const values = gathered.values.as<T>();
  for (std::size_t k = 0; k < group.dims.size(); ++k) {
    const T* const source = data.values.as<T>();
    T* const target = values + k * gathered.count;
    for_present([&](std::size_t i, std::size_t j) {
      target[j] = source[index_of(data, group.dims[k], i)];
    });
  }
  if (!weights.empty()) {
    const T* const source = weights.as<T>();
    T* const target = gathered.weights.as<T>();
    for_present([&](std::size_t i, std::size_t j) { target[j] = source[i]; });
  }
  return gathered;
}

}  // namespace

std::vector<observation_group> group_by_missing(const matrix& data, const block& weights,
                                                std::int64_t missing_weights,
                                                const std::vector<std::int64_t>& selection) {
  if (data.type == element_type::f32) {
    return group_as<float>(data, weights, missing_weights, selection);
  }
  return group_as<double>(data, weights, missing_weights, selection);
}

gathered_group gather_group(const matrix& data, const block& weights,
                            const observation_group& group, std::pmr::memory_resource& memory) {
  if (data.type == element_type::f32) {
    return gather_as<float>(data, weights, group, memory);
  }
  return gather_as<double>(data, weights, group, memory);
}

}  // namespace tessel
