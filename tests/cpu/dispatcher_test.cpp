// The compute dispatcher against the recording module, one row per call: its validation and
// statuses, counts read by int_width, the stages each mask runs, in order, and their statuses; the
// route of every mask bit; the threading table.
#include <cstring>
#include <iterator>
#include <sstream>

#include "cpu/compute_dispatcher.hpp"
#include "orv/orv_ksu_serv_threader.h"
#include "recording.hpp"

namespace tessel::test {
namespace {

namespace cpu = vorlex::orv::stats::detail::cpu;

struct element_type {
  char letter;
  std::int32_t (*compute)(ss_task*, std::uint64_t, std::intptr_t);
  std::int32_t (*other_compute)(ss_task*, std::uint64_t, std::intptr_t);
};

class Dispatcher : public recorded_test, public ::testing::WithParamInterface<element_type> {
 protected:
  // The stages run, by their short names; a stage of the other type keeps its full name.
  static std::vector<std::string> events() {
    std::vector<std::string> list;
    const std::string prefix = std::string("_ksu") + GetParam().letter + "SS";
    for (std::string name : recorded_names()) {
      if (name.rfind(prefix, 0) == 0) {
        list.push_back(name.substr(prefix.size()));
      } else if (name != "load" && name.rfind("lookup", 0) != 0) {
        list.push_back(name);
      }
    }
    return list;
  }
  static std::vector<std::string> words(const std::string& text) {
    std::istringstream in(text);
    return {std::istream_iterator<std::string>(in), std::istream_iterator<std::string>()};
  }
};

INSTANTIATE_TEST_SUITE_P(
    Types, Dispatcher,
    ::testing::Values(element_type{'s', &cpu::__ksusSSCompute, &cpu::__ksudSSCompute},
                      element_type{'d', &cpu::__ksudSSCompute, &cpu::__ksusSSCompute}),
    [](const auto& p) { return p.param.letter == 's' ? "f32" : "f64"; });

// Edits of a valid task: "dims=0 count=null" sets the dimensions word to 0 and the observation
// count's pointer to null; x is the observations, width the integer width.
void spoil(task_record& r, const std::string& edits) {
  std::istringstream in(edits);
  for (std::string edit; in >> edit;) {
    const std::string key = edit.substr(0, edit.find('=')), value = edit.substr(key.size() + 1);
    const auto v = static_cast<std::int64_t>(value == "null" ? 0 : std::stoull(value, nullptr, 0));
    const void** pointer = key == "dims"      ? &r.task.dims
                           : key == "count"   ? &r.task.obs_count
                           : key == "storage" ? &r.task.storage
                                              : &r.task.observations;
    std::int64_t* word = key == "dims" ? &r.dims : key == "count" ? &r.count : &r.storage;
    if (key == "width") {
      r.task.int_width = static_cast<std::int32_t>(v);
    } else if (value == "null") {
      *pointer = nullptr;
    } else {
      *word = v;
    }
  }
}

struct dispatch_case {
  const char* edits;
  std::uint64_t mask;
  std::int32_t status;
  const char* stages;           // that run, in order
  const char* programmed = "";  // stage statuses: "Minmax 3 Basic -4"
  std::intptr_t method = 1;
};

constexpr std::uint64_t all_but_missing_values = ~std::uint64_t{0} & ~SS_STAGE_MISSING_VALUES;
constexpr const char* no_observations = "count=null x=null storage=null";

// clang-format off
const dispatch_case dispatch_cases[] = {
    // Validation comes first, in this order, and runs nothing.
    {"dims=null", SS_MEAN, -4001, ""},
    {"dims=0", SS_MEAN, -4001, ""},
    {"dims=-3", SS_MEAN, -4001, ""},
    {"dims=0", 0x100000, -4001, ""},
    {"dims=0", 0, -4001, ""},
    {"dims=0 count=null", SS_MEAN, -4001, ""},
    {"count=null", SS_MEAN, -4002, ""},
    {"count=0", SS_MEAN, -4002, ""},
    {"count=0 x=null", SS_MEAN, -4002, ""},
    {"x=null", SS_MIN, -4032, ""},
    {"x=null storage=null", SS_MIN, -4032, ""},
    {"storage=null", SS_KURTOSIS, -4044, ""},
    {"storage=0x30000", SS_KURTOSIS, -4003, ""},
    {"storage=0", 0, -4003, ""},
    {"count=null", SS_STAGE_MISSING_VALUES, -4002, ""},
    // Counts and storage are read as int_width says; any non-zero width means 64 bits.
    {"width=0 dims=0xFFFFFFFF", SS_MEAN, -4001, ""},
    {"dims=0xFFFFFFFF", 0, 0, ""},
    {"storage=0x100010000", SS_MEAN, -4003, ""},
    {"width=0 storage=0x100010000 count=0x300000003 dims=0xFFFFFFFF00000002", SS_MEAN, 0, "Basic"},
    {"width=0 count=0x100000000", SS_MEAN, -4002, ""},
    {"width=-7 count=0x100000000", 0, 0, ""},
    // Four stages need no observations, and excuse the whole mask.
    {no_observations, 0x100000, 0, "PartialCovariance"},
    {no_observations, 0x200000, 0, "PartialCovariance"},
    {no_observations, 0x800000, 0, "CorParametrization"},
    {no_observations, 0x1000000, 0, "StreamQuantiles"},
    {"count=-1", SS_MEAN | 0x100000, 0, "Basic PartialCovariance"},
    // Missing values runs alone, and its status is the result.
    {"", 0x400401, 0, "MissingValues"},
    {"", ~std::uint64_t{0}, -9, "MissingValues", "MissingValues -9"},
    {"", ~std::uint64_t{0}, 5, "MissingValues", "MissingValues 5"},
    // Every other stage in its order, each given the whole mask and the method.
    {"", all_but_missing_values, 0, "Minmax Sort Basic MAD PooledCovariance OutliersDetection "
     "RobustCovariance PartialCovariance Quantiles StreamQuantiles CorParametrization", "", 256},
    // A negative status stops the run; otherwise the last stage's status is the result.
    {"", 0xC01, -1, "Minmax", "Minmax -1"},
    {"", 0xC01, 0, "Minmax Basic", "Minmax 3"},
    {"", 0xC00, 3, "Minmax", "Minmax 3"},
    {"", 0xC01, 4, "Minmax Basic", "Minmax 3 Basic 4"},
    {"", 0x1800000, -8, "StreamQuantiles CorParametrization", "StreamQuantiles 6 CorParametrization -8"},
    {"", 0x1800000, -2, "StreamQuantiles", "StreamQuantiles -2"},
    {"", 0x1800000, 0, "StreamQuantiles CorParametrization", "StreamQuantiles 6"},
};
// clang-format on

TEST_P(Dispatcher, StatusesAndStagesOfEachCall) {
  EXPECT_EQ(GetParam().compute(nullptr, 0, 1), -4031);
  EXPECT_EQ(GetParam().compute(nullptr, SS_MEAN | SS_STAGE_PARTIAL_COVARIANCE, 1), -4031);
  for (const dispatch_case& c : dispatch_cases) {
    SCOPED_TRACE(std::string(c.edits) + " mask " + std::to_string(c.mask) + " " + c.programmed);
    clear_recording();
    std::istringstream programmed(c.programmed);
    std::string stage;
    for (std::int32_t status; programmed >> stage >> status;) {
      program_status(std::string("_ksu") + GetParam().letter + "SS" + stage, status);
    }
    task_record r;
    spoil(r, c.edits);
    EXPECT_EQ(GetParam().compute(&r.task, c.mask, c.method), c.status);
    EXPECT_EQ(events(), words(c.stages));
    for (const recorded_call& call : recorded()) {
      if (call.name.rfind("_ksu", 0) == 0) {
        EXPECT_EQ(call.task, &r.task);
        EXPECT_EQ(static_cast<std::uint64_t>(call.numbers[0]), c.mask);
        EXPECT_EQ(call.numbers[1], c.method);
      }
    }
  }
}

TEST_P(Dispatcher, EachBitReachesItsStageAndBitsOfNoStageCauseNothing) {
  // clang-format off
  const std::pair<std::uint64_t, const char*> stages[] = {
      {SS_STAGE_MISSING_VALUES, "MissingValues"}, {SS_STAGE_MINMAX, "Minmax"}, {SS_STAGE_SORT, "Sort"},
      {SS_STAGE_BASIC, "Basic"}, {SS_STAGE_MAD, "MAD"}, {SS_STAGE_POOLED_COVARIANCE, "PooledCovariance"},
      {SS_STAGE_OUTLIERS_DETECTION, "OutliersDetection"}, {SS_STAGE_ROBUST_COVARIANCE, "RobustCovariance"},
      {SS_STAGE_PARTIAL_COVARIANCE, "PartialCovariance"}, {SS_STAGE_QUANTILES, "Quantiles"},
      {SS_STAGE_STREAM_QUANTILES, "StreamQuantiles"}, {SS_STAGE_COR_PARAMETRIZATION, "CorParametrization"}};
  // clang-format on
  for (unsigned bit = 0; bit < 64; ++bit) {
    SCOPED_TRACE("bit " + std::to_string(bit));
    const std::uint64_t mask = std::uint64_t{1} << bit;
    std::vector<std::string> expected;
    for (const auto& [bits, name] : stages) {
      if ((bits & mask) != 0) {
        expected.push_back(name);
      }
    }
    EXPECT_EQ(expected.empty(), bit == 37 || bit == 38 || bit >= 40);
    clear_recording();
    task_record r;
    EXPECT_EQ(GetParam().compute(&r.task, mask, 1), 0);
    EXPECT_EQ(events(), expected);
  }
}

// Each type's stages get a table of their own that holds the threading service's five entries.
TEST_P(Dispatcher, StagesGetTheThreadingServiceEntries) {
  task_record r;
  ASSERT_EQ(GetParam().compute(&r.task, SS_MEAN | SS_MIN, 1), 0);
  ASSERT_EQ(GetParam().other_compute(&r.task, SS_MEAN, 1), 0);
  std::vector<const ss_threading_entry*> tables;
  for (const recorded_call& call : recorded()) {
    if (call.name.rfind("_ksu", 0) == 0) {
      tables.push_back(static_cast<const ss_threading_entry*>(call.pointers[0]));
    }
  }
  ASSERT_EQ(tables.size(), 3u);
  EXPECT_EQ(tables[0], tables[1]);
  EXPECT_NE(tables[1], tables[2]);
  EXPECT_EQ(std::memcmp(tables[1], tables[2], sizeof(ss_threading_entry) * SS_THREADING_TABLE_SIZE),
            0);
  const auto entry = [](auto f) { return reinterpret_cast<ss_threading_entry>(f); };
  const ss_threading_entry row[] = {
      entry(&orv_ksu_serv_threader_for), entry(&orv_ksu_serv_threader_for_ordered),
      entry(&orv_ksu_serv_threader_sections), entry(&orv_ksu_serv_threader_ordered),
      entry(&orv_ksu_serv_threader_get_num_threads_limit)};
  for (int k = 0; k < SS_THREADING_TABLE_SIZE; ++k) {
    EXPECT_EQ(tables[0][k], row[k % 5]) << "entry " << k;
  }
}

}  // namespace
}  // namespace tessel::test
