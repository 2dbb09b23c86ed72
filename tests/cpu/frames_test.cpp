// The CPU frames against the recording module, one row per call: what the estimator is asked in
// each form, the USM scratch taken and given back, failures, and which frames wait for their task.
#include <future>
#include <string>
#include <vector>
#include <vorlex/orv/stats.hpp>

#include "cpu/frames_central.hpp"
#include "cpu/frames_raw.hpp"
#include "recording.hpp"

namespace tessel::test {
namespace {

namespace st = vorlex::orv::stats;
namespace cpu = st::detail::cpu;
constexpr auto row = st::layout::row_major;
constexpr auto col = st::layout::col_major;
constexpr auto fast = st::method::fast;
constexpr auto estimator = st::method::estimator;
constexpr std::int64_t n_dims = 3, n_obs = 4;

// clang-format off
enum frame_id { mean, min, max, min_max, raw_sum, raw_moment, central_sum, central_moment,
                variation, skewness, kurtosis };
const char* const frame_names[] = {"mean", "min", "max", "min_max", "raw_sum", "raw_moment",
    "central_sum", "central_moment", "variation", "skewness", "kurtosis"};
// clang-format on
enum form_id { usm, buf };

struct frame_case {
  frame_id frame;
  const char* given;  // "m" for the caller's mean, then 1 or 0 for each output
  form_id form;
  const char* calls;  // between the task's creation and its deletion, "; " apart; s1, s2, ... are
                      // USM scratch blocks of n_dims elements
  st::method method = fast;
  const char* inputs = "x, -, -";
  st::layout layout = row;
  const char* failing = nullptr;  // an entry ('?' for the type letter) that returns a failure
};

// clang-format off
const frame_case frame_cases[] = {
    // The method of the plain statistics changes nothing: the estimator is told 1.
    {mean, "1", usm, "EditTask(7, out0); Basic(0x1, 1)"},
    {mean, "1", usm, "EditTask(7, out0); Basic(0x1, 1)", estimator},
    {min, "1", usm, "EditTask(16, out0); Minmax(0x400, 1)"},
    {max, "1", usm, "EditTask(17, out0); Minmax(0x800, 1)"},
    // A null first sum with a later one given: its bit stays in the mask.
    {raw_sum, "0100", usm, "EditSums(-, out1, -, -, -, -, -); Basic(0x6000000, 1)"},
    {raw_moment, "1010", usm, "EditMoments(out0, -, out2, -, -, -, -); Basic(0x5, 1)"},
    // The caller's mean is input, where the scratch mean would go, and the method is 256.
    {central_sum, "m101", usm,
     "EditTask(7, mean); EditSums(-, -, -, -, out0, -, out2); Basic(0xa0000000, 256)"},
    // method::fast: the mean and raw moments as scratch, r3 and r4 only for the sums that need
    // them, and the estimator's method 2; method::estimator: the mean alone, by a field edit.
    {central_sum, "110", usm, "EditMoments(s1, s2, s3, -, -, -, -); "
     "EditSums(-, -, -, -, out0, out1, -); Basic(0x60000000, 2)"},
    {central_sum, "101", usm, "EditMoments(s1, s2, -, s3, -, -, -); "
     "EditSums(-, -, -, -, out0, -, out2); Basic(0xa0000000, 2)"},
    {central_sum, "101", usm,
     "EditTask(7, s1); EditSums(-, -, -, -, out0, -, out2); Basic(0xa0000000, 2)", estimator},
    {central_moment, "101", usm, "EditMoments(s1, s2, -, s3, out0, -, out2); Basic(0x50, 1)"},
    {central_moment, "111", usm,
     "EditMoments(s1, s2, s3, s4, out0, out1, out2); Basic(0x70, 2)", estimator},
    {central_moment, "m110", usm, "EditMoments(mean, s1, s2, -, out0, out1, -); Basic(0x30, 256)"},
    {central_moment, "m111", usm,
     "EditMoments(mean, s1, s2, s3, out0, out1, out2); Basic(0x70, 256)", estimator},
    // The shape statistics share one frame, in which the method changes nothing either.
    {kurtosis, "1", usm,
     "EditMoments(s1, s2, s3, s4, s5, -, s6); EditTask(14, out0); Basic(0x80, 1)", estimator},
    {kurtosis, "m1", usm,
     "EditMoments(mean, s1, s2, s3, s4, -, s5); EditTask(14, out0); Basic(0x80, 256)"},
    {skewness, "1", usm,
     "EditMoments(s1, s2, s3, -, s4, s5, -); EditTask(15, out0); Basic(0x100, 1)"},
    {skewness, "m1", usm,
     "EditMoments(mean, s1, s2, -, s3, s4, -); EditTask(15, out0); Basic(0x100, 256)"},
    {variation, "1", usm,
     "EditMoments(s1, s2, -, -, s3, -, -); EditTask(18, out0); Basic(0x200, 1)"},
    {variation, "m1", usm,
     "EditMoments(mean, s1, -, -, s2, -, -); EditTask(18, out0); Basic(0x200, 256)"},
    // Weights, indices and the layout go to the task's creation as they stand.
    {min_max, "11", usm, "EditTask(16, out0); EditTask(17, out1); Minmax(0xc00, 1)", fast,
     "x, w, idx"},
    {min_max, "11", buf, "EditTask(16, out0); EditTask(17, out1); Minmax(0xc00, 1)", fast,
     "x, w, idx"},
    {mean, "1", usm, "EditTask(7, out0); Basic(0x1, 1)", fast, "x, -, -", col},
    {mean, "1", buf, "EditTask(7, out0); Basic(0x1, 1)", fast, "x, -, idx", col},
    // Buffer forms: an output of no elements is withheld; a withheld optional output sits on a
    // dummy that never reaches the estimator or, where the estimator must be given an array,
    // reaches it with its bit clear. A first sum of no elements keeps its bit, with no array.
    {raw_sum, "1100", buf, "EditSums(out0, out1, -, -, -, -, -); Basic(0x6000000, 1)"},
    {raw_sum, "0100", buf, "EditSums(-, out1, -, -, -, -, -); Basic(0x6000000, 1)"},
    {raw_moment, "1100", buf, "EditMoments(out0, out1, -, -, -, -, -); Basic(0x3, 1)"},
    // The fourth central moment only: raw3 and raw4 are real arrays, central3 is withheld.
    {central_moment, "101", buf, "EditMoments(#1, #2, #3, #4, out0, -, out2); Basic(0x50, 1)"},
    {central_moment, "110", buf,
     "EditMoments(#1, #2, #3, -, out0, out1, -); Basic(0x30, 2)", estimator},
    {central_moment, "m111", buf,
     "EditMoments(mean, #1, #2, #3, out0, out1, out2); Basic(0x70, 256)"},
    {kurtosis, "m1", buf,
     "EditMoments(mean, #1, #2, #3, #4, -, #5); EditTask(14, out0); Basic(0x80, 256)"},
    // The fourth sum only: the third sum's pointer is a dummy's, with its bit clear; method 1.
    {central_sum, "101", buf, "EditMoments(#1, #2, #3, #4, -, -, -); "
     "EditSums(-, -, -, -, out0, #5, out2); Basic(0xa0000000, 1)"},
    {central_sum, "111", buf, "EditMoments(#1, #2, #3, #4, -, -, -); "
     "EditSums(-, -, -, -, out0, out1, out2); Basic(0xe0000000, 1)"},
    {central_sum, "100", buf,
     "EditMoments(#1, #2, -, -, -, -, -); EditSums(-, -, -, -, out0, -, -); Basic(0x20000000, 1)"},
    {central_sum, "101", buf,
     "EditTask(7, #1); EditSums(-, -, -, -, out0, #2, out2); Basic(0xa0000000, 2)", estimator},
    {central_sum, "m100", buf,
     "EditTask(7, mean); EditSums(-, -, -, -, out0, -, -); Basic(0x20000000, 256)"},
    // Any status but 0 fails the host task, which stops there and leaves the task undeleted.
    {kurtosis, "1", usm,
     "EditMoments(s1, s2, s3, s4, s5, -, s6); EditTask(14, out0); Basic(0x80, 1)", fast,
     "x, -, -", row, "_ksu?SSBasic"},
    {skewness, "1", buf, "EditMoments(#1, #2, #3, -, #4, #5, -)", fast, "x, -, -", row,
     "__ksu?SSEditMoments"},
};
// clang-format on

// The USM scratch blocks a case takes: s1, s2, ... in its calls.
int blocks_of(const frame_case& c) {
  const std::string calls = c.calls;
  int k = 0;
  while (calls.find("s" + std::to_string(k + 1) + ",") != std::string::npos ||
         calls.find("s" + std::to_string(k + 1) + ")") != std::string::npos) {
    ++k;
  }
  return k;
}

std::string name_of(const frame_case& c) {
  return std::string(frame_names[c.frame]) + " " + c.given + " row " +
         std::to_string(&c - frame_cases);
}

std::vector<std::string> estimator_errors;

sycl::queue& cpu_queue() {
  static sycl::queue queue{sycl::cpu_selector_v, [](const sycl::exception_list& list) {
                             for (const std::exception_ptr& e : list) {
                               try {
                                 std::rethrow_exception(e);
                               } catch (const std::exception& error) {
                                 estimator_errors.emplace_back(error.what());
                               }
                             }
                           }};
  return queue;
}

template <typename T>
class CpuFrames : public recorded_test {
 protected:
  void TearDown() override { sycl::detail::fail_malloc_shared_after(-1); }

  static constexpr char letter = std::is_same_v<T, float> ? 's' : 'd';
  std::vector<T> x = std::vector<T>(n_dims * n_obs, T(1)), w = std::vector<T>(n_obs, T(2));
  sycl::buffer<T, 1> x_buffer = over(x);
  // The last call's output buffers, kept so that the call's end does not wait for them.
  std::vector<sycl::buffer<T, 1>> outputs;
  std::vector<std::int64_t> idx = {1, 0, 1};
  std::vector<T> user_mean = std::vector<T>(n_dims, T(1));
  std::vector<T> out[4] = {std::vector<T>(n_dims), std::vector<T>(n_dims), std::vector<T>(n_dims),
                           std::vector<T>(n_dims)};

  // Buffers over the caller's arrays themselves, so that the estimator sees their addresses.
  template <typename E>
  static sycl::buffer<E, 1> over(std::vector<E>& v, bool given = true) {
    return given ? sycl::buffer<E, 1>(v.data(), sycl::range<1>(v.size()),
                                      {sycl::property::buffer::use_host_ptr{}})
                 : sycl::buffer<E, 1>(sycl::range<1>(0));
  }

  template <typename Frame, std::size_t N, st::method M, st::layout L>
  sycl::event call(const frame_case& c, const std::vector<sycl::event>& dependencies) {
    const bool with_mean = c.given[0] == 'm';
    const char* given = c.given + (with_mean ? 1 : 0);
    const std::string inputs = c.inputs;
    const bool weights = inputs.find('w') != std::string::npos;
    const bool indices = inputs.find("idx") != std::string::npos;
    return [&]<std::size_t... K>(std::index_sequence<K...>) {
      if (c.form == usm) {
        const st::dataset<L, T*> data(n_dims, n_obs, x.data(), weights ? w.data() : nullptr,
                                      indices ? idx.data() : nullptr);
        return Frame::template usm<M, T, L>(cpu_queue(), with_mean ? user_mean.data() : nullptr,
                                            data, dependencies,
                                            (given[K] == '1' ? out[K].data() : nullptr)...);
      }
      const st::dataset<L, sycl::buffer<T, 1>> data(n_dims, n_obs, x_buffer, over(w, weights),
                                                    over(idx, indices));
      auto mean = over(user_mean);
      outputs = {over(out[K], given[K] == '1')...};
      Frame::template buffer<M, T, L>(cpu_queue(), with_mean ? &mean : nullptr, data,
                                      outputs[K]...);
      return sycl::event();
    }(std::make_index_sequence<N>{});
  }

  template <typename Frame, std::size_t N>
  sycl::event call(const frame_case& c, const std::vector<sycl::event>& dependencies) {
    if (c.layout == col) {
      return call<Frame, N, fast, col>(c, dependencies);
    }
    return c.method == fast ? call<Frame, N, fast, row>(c, dependencies)
                            : call<Frame, N, estimator, row>(c, dependencies);
  }

  // The frames in frame_id's order, and their output counts.
  using frames = std::tuple<cpu::mean_frame, cpu::min_frame, cpu::max_frame, cpu::min_max_frame,
                            cpu::raw_sum_frame, cpu::raw_moment_frame, cpu::central_sum_frame,
                            cpu::central_moment_frame, cpu::variation_frame, cpu::skewness_frame,
                            cpu::kurtosis_frame>;
  static constexpr std::size_t output_counts[] = {1, 1, 1, 2, 4, 4, 3, 3, 1, 1, 1};

  sycl::event call(const frame_case& c, const std::vector<sycl::event>& dependencies = {}) {
    sycl::event e;
    [&]<std::size_t... F>(std::index_sequence<F...>) {
      ((c.frame == F
            ? (e = call<std::tuple_element_t<F, frames>, output_counts[F]>(c, dependencies), 0)
            : 0),
       ...);
    }(std::make_index_sequence<std::tuple_size_v<frames>>{});
    return e;
  }

  std::vector<std::string> describe() {
    pointer_names names{
        {x.data(), "x"}, {w.data(), "w"}, {idx.data(), "idx"}, {user_mean.data(), "mean"}};
    for (int k = 0; k < 4; ++k) {
      names[out[k].data()] = "out" + std::to_string(k);
    }
    return describe_calls(names);
  }

  std::string failing_entry(const frame_case& c) const {
    std::string entry = c.failing;
    entry[entry.find('?')] = letter;
    return entry;
  }
};

using element_types = ::testing::Types<float, double>;
TYPED_TEST_SUITE(CpuFrames, element_types);

// The whole log of a call: its scratch taken, the task from creation to deletion, the scratch given
// back in the order it was taken. Only a wrong entry's letter would show in no line. And when the
// allocation after a number of successes fails: every block is asked for before any is looked at,
// those obtained go back in order, and nothing reaches the estimator.
TYPED_TEST(CpuFrames, EstimatorCallsAndScratch) {
  const std::string device = cpu_queue().get_device().get_info<sycl::info::device::name>();
  const std::string block = " 3x" + std::to_string(sizeof(TypeParam));
  for (const frame_case& c : frame_cases) {
    const int blocks = blocks_of(c);
    for (int successes = 0; successes <= blocks; ++successes) {
      const bool fails = successes < blocks;
      SCOPED_TRACE(name_of(c) + (fails ? " failing after " + std::to_string(successes) : ""));
      clear_recording();
      estimator_errors.clear();
      std::vector<std::string> expected;
      for (int k = 1; k <= blocks; ++k) {
        expected.push_back("alloc " + (k <= successes ? "s" + std::to_string(k) : "-") + block);
      }
      if (fails) {
        sycl::detail::fail_malloc_shared_after(successes);
        try {
          this->call(c);
          ADD_FAILURE() << "no exception";
        } catch (const vorlex::orv::device_bad_alloc& e) {
          EXPECT_EQ(std::string(e.what()), std::string("vorlex::orv::rng::") +
                                               frame_names[c.frame] +
                                               ": cannot allocate memory on " + device);
        }
        sycl::detail::fail_malloc_shared_after(-1);
      } else {
        if (c.failing != nullptr) {
          program_status(this->failing_entry(c), c.frame == kurtosis ? 1 : -3);
        }
        this->call(c);
        cpu_queue().wait_and_throw();
        expected.push_back("NewTask(" + std::string(c.inputs) + ") 3x4 " +
                           (c.layout == row ? "0x10000" : "0x20000"));
        for (std::string calls = c.calls; !calls.empty();) {
          const std::size_t end = std::min(calls.find("; "), calls.size());
          expected.push_back(calls.substr(0, end));
          calls.erase(0, std::min(end + 2, calls.size()));
        }
        if (c.failing == nullptr) {
          expected.push_back("DeleteTask");
        }
      }
      for (int k = 1; k <= successes; ++k) {
        expected.push_back("free s" + std::to_string(k));
      }
      EXPECT_EQ(this->describe(), expected);
      for (const std::string& name : recorded_names()) {
        if (name != "load" && name.find("DeleteTask") == std::string::npos) {
          EXPECT_NE(name.find(this->letter + std::string("SS")), std::string::npos) << name;
        }
      }
      EXPECT_EQ(estimator_errors,
                std::vector<std::string>(!fails && c.failing != nullptr,
                                         "vorlex::orv::stats: computation error"));
    }
  }
}

// A USM frame with scratch returns when its host task has run; one without returns at once, as does
// a buffer frame without buffers of its own, whose task holds its own copy of the handles.
TYPED_TEST(CpuFrames, OnlyFramesWithScratchWaitForTheirHostTask) {
  for (const frame_case& c :
       {frame_case{central_sum, "m100", usm, ""}, frame_case{central_moment, "m100", usm, ""},
        frame_case{mean, "1", buf, ""}}) {
    SCOPED_TRACE(frame_names[c.frame]);
    clear_recording();
    std::promise<void> open;
    // Holds the statistic's task back: by a dependency, or as a writer of the observations.
    const sycl::event gate = cpu_queue().submit([&](sycl::handler& cgh) {
      [[maybe_unused]] sycl::accessor writes(this->x_buffer, cgh, sycl::read_write);
      cgh.host_task([held = open.get_future().share()] { held.wait(); });
    });
    auto returned = std::async(std::launch::async, [&] { return this->call(c, {gate}); });
    const bool waits = c.frame == central_moment;
    EXPECT_EQ(returned.wait_for(std::chrono::milliseconds(200)),
              waits ? std::future_status::timeout : std::future_status::ready);
    EXPECT_TRUE(recorded_names().empty());
    open.set_value();
    returned.get();
    cpu_queue().wait();
    EXPECT_EQ(recorded_names().back(), "__ksuSSDeleteTask");
  }
}

}  // namespace
}  // namespace tessel::test
