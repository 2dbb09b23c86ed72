// The estimator module as its consumers reach it: loaded with dlopen, entries found with dlsym,
// stages given a threading table of the threading service's entries.
#pragma once

#include "orv/orv_ksu_serv_threader.h"
#include "orv/ss_task.h"

#include <dlfcn.h>
#include <gtest/gtest.h>

#include <array>
#include <cstdint>
#include <string>
#include <type_traits>

namespace tessel::test {

// Every estimate of the Basic stage.
constexpr std::uint64_t all_basic_bits =
    SS_MEAN | SS_RAW_MOMENT2 | SS_RAW_MOMENT3 | SS_RAW_MOMENT4 | SS_CENTRAL_MOMENT2 |
    SS_CENTRAL_MOMENT3 | SS_CENTRAL_MOMENT4 | SS_KURTOSIS | SS_SKEWNESS | SS_VARIATION | SS_SUM |
    SS_RAW_SUM2 | SS_RAW_SUM3 | SS_RAW_SUM4 | SS_CENTRAL_SUM2 | SS_CENTRAL_SUM3 | SS_CENTRAL_SUM4;

class estimator_module {
 public:
  explicit estimator_module(const char* path = TESSEL_ESTIMATOR_PATH)
      : handle_(dlopen(path, RTLD_NOW | RTLD_LOCAL)) {
    if (handle_ == nullptr)
      ADD_FAILURE() << "cannot load " << path << ": " << dlerror();
  }
  ~estimator_module() {
    if (handle_ != nullptr)
      dlclose(handle_);
  }
  estimator_module(const estimator_module&) = delete;
  estimator_module& operator=(const estimator_module&) = delete;

  void* symbol(const std::string& name) const {
    return handle_ == nullptr ? nullptr : dlsym(handle_, name.c_str());
  }
  template <class Fn>
  Fn entry(const std::string& name) const {
    void* address = symbol(name);
    if (address == nullptr)
      ADD_FAILURE() << "the module has no entry " << name;
    return reinterpret_cast<Fn>(address);
  }

 private:
  void* handle_;
};

inline const ss_threading_entry* threading_table() {
  static const auto table = [] {
    const ss_threading_entry row[5] = {
        reinterpret_cast<ss_threading_entry>(&orv_ksu_serv_threader_for),
        reinterpret_cast<ss_threading_entry>(&orv_ksu_serv_threader_for_ordered),
        reinterpret_cast<ss_threading_entry>(&orv_ksu_serv_threader_sections),
        reinterpret_cast<ss_threading_entry>(&orv_ksu_serv_threader_ordered),
        reinterpret_cast<ss_threading_entry>(&orv_ksu_serv_threader_get_num_threads_limit)};
    std::array<ss_threading_entry, SS_THREADING_TABLE_SIZE> t{};
    for (std::size_t k = 0; k < t.size(); ++k)
      t[k] = row[k % 5];
    return t;
  }();
  return table.data();
}

// The entries of one element type, by their names.
template <class T>
struct typed_entries {
  static constexpr const char* letter = std::is_same_v<T, float> ? "s" : "d";
  using new_task_fn =
      std::conditional_t<std::is_same_v<T, float>, ss_new_task_s_fn, ss_new_task_d_fn>;
  using edit_task_fn =
      std::conditional_t<std::is_same_v<T, float>, ss_edit_task_s_fn, ss_edit_task_d_fn>;
  using edit_moments_fn =
      std::conditional_t<std::is_same_v<T, float>, ss_edit_moments_s_fn, ss_edit_moments_d_fn>;
  using edit_sums_fn =
      std::conditional_t<std::is_same_v<T, float>, ss_edit_sums_s_fn, ss_edit_sums_d_fn>;

  explicit typed_entries(const estimator_module& m)
      : new_task(m.entry<new_task_fn>(std::string("__ksu") + letter + "SSNewTask")),
        delete_task(m.entry<ss_delete_task_fn>("__ksuSSDeleteTask")),
        edit_task(m.entry<edit_task_fn>(std::string("__ksu") + letter + "SSEditTask")),
        edit_moments(m.entry<edit_moments_fn>(std::string("__ksu") + letter + "SSEditMoments")),
        edit_sums(m.entry<edit_sums_fn>(std::string("__ksu") + letter + "SSEditSums")),
        basic(stage(m, "Basic")),
        minmax(stage(m, "Minmax")) {}

  static ss_stage_fn stage(const estimator_module& m, const char* name) {
    return m.entry<ss_stage_fn>(std::string("_ksu") + letter + "SS" + name);
  }

  new_task_fn new_task;
  ss_delete_task_fn delete_task;
  edit_task_fn edit_task;
  edit_moments_fn edit_moments;
  edit_sums_fn edit_sums;
  ss_stage_fn basic;
  ss_stage_fn minmax;
};

}  // namespace tessel::test
