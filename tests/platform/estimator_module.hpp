// The estimator module as its consumers reach it: loaded with dlopen, entries found with dlsym,
// stages given a threading table of the threading service's entries.
#pragma once

#include <dlfcn.h>
#include <gtest/gtest.h>

#include <array>
#include <cstdint>
#include <string>
#include <type_traits>

#include "orv/orv_ksu_serv_threader.h"
#include "orv/ss_task.h"

namespace tessel::test {

// Every estimate of the Basic stage: the moments, kurtosis, skewness, variation, then the sums.
// clang-format off
constexpr std::uint64_t basic_bits[] = {
    SS_MEAN, SS_RAW_MOMENT2, SS_RAW_MOMENT3, SS_RAW_MOMENT4, SS_CENTRAL_MOMENT2, SS_CENTRAL_MOMENT3,
    SS_CENTRAL_MOMENT4, SS_KURTOSIS, SS_SKEWNESS, SS_VARIATION, SS_SUM, SS_RAW_SUM2, SS_RAW_SUM3,
    SS_RAW_SUM4, SS_CENTRAL_SUM2, SS_CENTRAL_SUM3, SS_CENTRAL_SUM4};
// clang-format on
constexpr std::uint64_t all_basic_bits = [] {
  std::uint64_t all = 0;
  for (const std::uint64_t bit : basic_bits) {
    all |= bit;
  }
  return all;
}();

// The module's address of an entry, or null; the module of the given path stays loaded.
inline void* module_symbol(const std::string& name, const char* path = TESSEL_ESTIMATOR_PATH) {
  void* handle = dlopen(path, RTLD_NOW | RTLD_LOCAL);
  EXPECT_NE(handle, nullptr) << dlerror();
  return handle == nullptr ? nullptr : dlsym(handle, name.c_str());
}

inline const ss_threading_entry* threading_table() {
  static const auto table = [] {
    const auto entry = [](auto f) { return reinterpret_cast<ss_threading_entry>(f); };
    const ss_threading_entry row[5] = {
        entry(&orv_ksu_serv_threader_for), entry(&orv_ksu_serv_threader_for_ordered),
        entry(&orv_ksu_serv_threader_sections), entry(&orv_ksu_serv_threader_ordered),
        entry(&orv_ksu_serv_threader_get_num_threads_limit)};
    std::array<ss_threading_entry, SS_THREADING_TABLE_SIZE> t{};
    for (std::size_t k = 0; k < t.size(); ++k) {
      t[k] = row[k % 5];
    }
    return t;
  }();
  return table.data();
}

// The entries of one element type, by their names.
template <class T>
struct typed_entries {
  static constexpr bool is_float = std::is_same_v<T, float>;
  static constexpr const char* letter = is_float ? "s" : "d";
  template <class Fn>
  static Fn entry(const char* prefix, const char* name) {
    void* address = module_symbol(prefix + std::string(letter) + "SS" + name);
    EXPECT_NE(address, nullptr) << name;
    return reinterpret_cast<Fn>(address);
  }
  std::conditional_t<is_float, ss_new_task_s_fn, ss_new_task_d_fn> new_task =
      entry<decltype(new_task)>("__ksu", "NewTask");
  ss_delete_task_fn delete_task =
      reinterpret_cast<ss_delete_task_fn>(module_symbol("__ksuSSDeleteTask"));
  std::conditional_t<is_float, ss_edit_task_s_fn, ss_edit_task_d_fn> edit_task =
      entry<decltype(edit_task)>("__ksu", "EditTask");
  std::conditional_t<is_float, ss_edit_moments_s_fn, ss_edit_moments_d_fn> edit_moments =
      entry<decltype(edit_moments)>("__ksu", "EditMoments");
  std::conditional_t<is_float, ss_edit_sums_s_fn, ss_edit_sums_d_fn> edit_sums =
      entry<decltype(edit_sums)>("__ksu", "EditSums");
  ss_stage_fn basic = entry<ss_stage_fn>("_ksu", "Basic");
  ss_stage_fn minmax = entry<ss_stage_fn>("_ksu", "Minmax");
};

}  // namespace tessel::test
