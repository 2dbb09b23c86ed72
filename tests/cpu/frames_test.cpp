// The CPU frames and functors against the recording module, on a CPU queue: what each statistic
// hands the estimator in each form (edits, masks, method values, the task's inputs), its USM
// scratch (order, size, release), the blocking rules, a failed scratch allocation, and estimator
// failures reaching the queue's asynchronous handler.
#include <gtest/gtest.h>

#include <sycl/sycl.hpp>

#include <array>
#include <chrono>
#include <cstdint>
#include <exception>
#include <functional>
#include <future>
#include <string>
#include <type_traits>
#include <vector>
#include <vorlex/orv/stats.hpp>

#include "cpu/frames_central.hpp"
#include "cpu/frames_raw.hpp"
#include "recording.hpp"

namespace {

namespace st = vorlex::orv::stats;
namespace cpu = st::detail::cpu;
using tessel::test::pointer_names;
using tessel::test::recorded_test;
using tessel::test::recording;
using tessel::test::usm_event;
constexpr auto row = st::layout::row_major;
constexpr auto col = st::layout::col_major;
constexpr st::method fast_method = st::method::fast;
constexpr st::method estimator = st::method::estimator;

constexpr std::int64_t n_dims = 3;
constexpr std::int64_t n_obs = 4;

sycl::queue& cpu_queue() {
  static sycl::queue queue{sycl::cpu_selector_v};
  return queue;
}

// The calls of one frame and the storage it took.
struct frame_run {
  std::vector<std::string> calls;
  std::vector<usm_event> usm;
};

template <typename T>
class CpuFrames : public recorded_test {
 public:
  using buffer = sycl::buffer<T, 1>;
  static constexpr char letter = std::is_same_v<T, float> ? 's' : 'd';

  void TearDown() override { sycl::detail::fail_malloc_shared_after(-1); }

  // The caller's arrays: observations, weights, indices, a mean, four outputs.
  std::vector<T> x = std::vector<T>(n_dims * n_obs, T(1));
  std::vector<T> w = std::vector<T>(n_obs, T(2));
  std::vector<std::int64_t> idx = {1, 0, 1};
  std::vector<T> mean = std::vector<T>(n_dims, T(1));
  std::array<std::vector<T>, 4> out{std::vector<T>(n_dims), std::vector<T>(n_dims),
                                    std::vector<T>(n_dims), std::vector<T>(n_dims)};

  // Whether the calls of usm() and buf() give the task weights and indices.
  bool weights = false;
  bool indices = false;

  T* o(std::size_t k) { return out[k].data(); }

  template <st::layout L = row>
  st::dataset<L, T*> usm_data() {
    return st::dataset<L, T*>(n_dims, n_obs, x.data(), weights ? w.data() : nullptr,
                              indices ? idx.data() : nullptr);
  }

  // Buffers over the caller's arrays themselves, so that the estimator sees their addresses.
  template <typename E>
  static sycl::buffer<E, 1> over(std::vector<E>& v) {
    return sycl::buffer<E, 1>(v.data(), sycl::range<1>(v.size()),
                              {sycl::property::buffer::use_host_ptr{}});
  }
  static buffer empty() { return buffer(sycl::range<1>(0)); }
  buffer out_buffer(std::size_t k, bool given = true) { return given ? over(out[k]) : empty(); }

  template <st::layout L = row>
  st::dataset<L, buffer> buffer_data() {
    return st::dataset<L, buffer>(
        n_dims, n_obs, over(x), weights ? over(w) : empty(),
        indices ? over(idx) : sycl::buffer<std::int64_t, 1>(sycl::range<1>(0)));
  }

  // A frame's USM and buffer forms over the fixture's dataset.
  template <typename Frame, st::method M = fast_method, st::layout L = row, typename... Out>
  void usm(T* user_mean, Out... outputs) {
    Frame::template usm<M, T, L>(cpu_queue(), user_mean, usm_data<L>(), {}, outputs...);
  }
  template <typename Frame, st::method M = fast_method, st::layout L = row, typename... Out>
  void buf(const buffer* user_mean, Out... outputs) {
    Frame::template buffer<M, T, L>(cpu_queue(), user_mean, buffer_data<L>(), outputs...);
  }

  // Runs a frame to its end and describes what it asked of the estimator; USM scratch is
  // named s1, s2, ... in the order of its allocation.
  frame_run run(const std::function<void()>& frame) {
    recording::module().clear();
    tessel::test::clear_usm_events();
    frame();
    cpu_queue().wait();
    frame_run result;
    result.usm = tessel::test::usm_events();
    pointer_names names = {{x.data(), "x"},         {w.data(), "w"},
                           {idx.data(), "idx"},     {mean.data(), "mean"},
                           {out[0].data(), "out0"}, {out[1].data(), "out1"},
                           {out[2].data(), "out2"}, {out[3].data(), "out3"}};
    int scratch = 0;
    for (const usm_event& e : result.usm) {
      if (e.what == usm_event::allocation && e.pointer != nullptr) {
        names[e.pointer] = "s" + std::to_string(++scratch);
      }
    }
    const auto log = recording::module().log();
    EXPECT_TRUE(tessel::test::calls_have_letter(log, letter));
    result.calls = tessel::test::describe_calls(log, names);
    return result;
  }

  // A whole task of the default dataset: its creation, the given calls, its deletion.
  static std::vector<std::string> task(std::vector<std::string> calls,
                                       const std::string& inputs = "x, -, -",
                                       const std::string& storage = "0x10000") {
    calls.insert(calls.begin(), "NewTask(" + inputs + ") 3x4 " + storage);
    calls.push_back("DeleteTask");
    return calls;
  }

  // USM scratch: `blocks` allocations of n_dims elements of T, then their release in the same
  // order.
  static void expect_scratch(const frame_run& r, std::size_t blocks) {
    ASSERT_EQ(r.usm.size(), 2 * blocks);
    for (std::size_t k = 0; k < blocks; ++k) {
      EXPECT_EQ(r.usm[k].what, usm_event::allocation);
      EXPECT_EQ(r.usm[k].count, static_cast<std::size_t>(n_dims));
      EXPECT_EQ(r.usm[k].element_size, sizeof(T));
      EXPECT_EQ(r.usm[blocks + k].what, usm_event::release);
      EXPECT_EQ(r.usm[blocks + k].pointer, r.usm[k].pointer);
    }
  }
};

using element_types = ::testing::Types<float, double>;
TYPED_TEST_SUITE(CpuFrames, element_types);

// One row per call: what it asks of the estimator (the whole task, creation to deletion) and
// how many USM scratch blocks it takes and gives back in order (buffer forms take none).
template <typename T>
struct frame_case {
  const char* what;
  std::function<void(CpuFrames<T>&)> call;
  std::vector<std::string> calls;
  std::size_t scratch_blocks = 0;
  std::string inputs = "x, -, -";
  std::string storage = "0x10000";
};

template <typename T>
std::vector<frame_case<T>> frame_cases() {
  using F = CpuFrames<T>;
  const std::vector<std::string> mean_calls = {"EditTask(7, out0)", "Basic(0x1, 1)"};
  const std::vector<std::string> min_max_calls = {"EditTask(16, out0)", "EditTask(17, out1)",
                                                  "Minmax(0xc00, 1)"};
  return {
      // The method of the plain statistics changes nothing: the estimator is told 1.
      {"mean", [](F& f) { f.template usm<cpu::mean_frame>(nullptr, f.o(0)); }, mean_calls},
      {"mean, estimator method",
       [](F& f) { f.template usm<cpu::mean_frame, estimator>(nullptr, f.o(0)); }, mean_calls},
      {"min",
       [](F& f) { f.template usm<cpu::min_frame>(nullptr, f.o(0)); },
       {"EditTask(16, out0)", "Minmax(0x400, 1)"}},
      {"max",
       [](F& f) { f.template usm<cpu::max_frame>(nullptr, f.o(0)); },
       {"EditTask(17, out0)", "Minmax(0x800, 1)"}},
      // Both extremes: two edits and one computation.
      {"min_max", [](F& f) { f.template usm<cpu::min_max_frame>(nullptr, f.o(0), f.o(1)); },
       min_max_calls},
      // A null first sum with a later one given: the first sum's bit stays in the mask.
      {"raw_sum, null first",
       [](F& f) { f.template usm<cpu::raw_sum_frame>(nullptr, nullptr, f.o(1), nullptr, nullptr); },
       {"EditSums(-, out1, -, -, -, -, -)", "Basic(0x6000000, 1)"}},
      {"raw_moment, 2 and 4 left out",
       [](F& f) {
         f.template usm<cpu::raw_moment_frame>(nullptr, f.o(0), nullptr, f.o(2), nullptr);
       },
       {"EditMoments(out0, -, out2, -, -, -, -)", "Basic(0x5, 1)"}},
      // The caller's mean is input: it goes where the scratch mean would go.
      {"central_sum, user mean",
       [](F& f) { f.template usm<cpu::central_sum_frame>(f.mean.data(), f.o(0), nullptr, f.o(2)); },
       {"EditTask(7, mean)", "EditSums(-, -, -, -, out0, -, out2)", "Basic(0xa0000000, 256)"}},
      // method::fast: the mean and raw moments as scratch, r3 and r4 only for wanted sums, and
      // the estimator's method 2.
      {"central_sum, third",
       [](F& f) { f.template usm<cpu::central_sum_frame>(nullptr, f.o(0), f.o(1), nullptr); },
       {"EditMoments(s1, s2, s3, -, -, -, -)", "EditSums(-, -, -, -, out0, out1, -)",
        "Basic(0x60000000, 2)"},
       3},
      {"central_sum, fourth",
       [](F& f) { f.template usm<cpu::central_sum_frame>(nullptr, f.o(0), nullptr, f.o(2)); },
       {"EditMoments(s1, s2, -, s3, -, -, -)", "EditSums(-, -, -, -, out0, -, out2)",
        "Basic(0xa0000000, 2)"},
       3},
      {"central_sum, second only",
       [](F& f) { f.template usm<cpu::central_sum_frame>(nullptr, f.o(0), nullptr, nullptr); },
       {"EditMoments(s1, s2, -, -, -, -, -)", "EditSums(-, -, -, -, out0, -, -)",
        "Basic(0x20000000, 2)"},
       2},
      // method::estimator: the mean alone, by a field edit.
      {"central_sum, estimator method",
       [](F& f) {
         f.template usm<cpu::central_sum_frame, estimator>(nullptr, f.o(0), nullptr, f.o(2));
       },
       {"EditTask(7, s1)", "EditSums(-, -, -, -, out0, -, out2)", "Basic(0xa0000000, 2)"},
       1},
      // The fourth moment alone: raw3 was not allocated, and goes as null.
      {"central_moment, fourth",
       [](F& f) { f.template usm<cpu::central_moment_frame>(nullptr, f.o(0), nullptr, f.o(2)); },
       {"EditMoments(s1, s2, -, s3, out0, -, out2)", "Basic(0x50, 1)"},
       3},
      {"central_moment, estimator method",
       [](F& f) {
         f.template usm<cpu::central_moment_frame, estimator>(nullptr, f.o(0), f.o(1), f.o(2));
       },
       {"EditMoments(s1, s2, s3, s4, out0, out1, out2)", "Basic(0x70, 2)"},
       4},
      {"central_moment, user mean",
       [](F& f) {
         f.template usm<cpu::central_moment_frame>(f.mean.data(), f.o(0), f.o(1), nullptr);
       },
       {"EditMoments(mean, s1, s2, -, out0, out1, -)", "Basic(0x30, 256)"},
       2},
      {"kurtosis",
       [](F& f) { f.template usm<cpu::kurtosis_frame>(nullptr, f.o(0)); },
       {"EditMoments(s1, s2, s3, s4, s5, -, s6)", "EditTask(14, out0)", "Basic(0x80, 1)"},
       6},
      {"kurtosis, estimator method",
       [](F& f) { f.template usm<cpu::kurtosis_frame, estimator>(nullptr, f.o(0)); },
       {"EditMoments(s1, s2, s3, s4, s5, -, s6)", "EditTask(14, out0)", "Basic(0x80, 1)"},
       6},
      {"kurtosis, user mean",
       [](F& f) { f.template usm<cpu::kurtosis_frame>(f.mean.data(), f.o(0)); },
       {"EditMoments(mean, s1, s2, s3, s4, -, s5)", "EditTask(14, out0)", "Basic(0x80, 256)"},
       5},
      {"skewness",
       [](F& f) { f.template usm<cpu::skewness_frame>(nullptr, f.o(0)); },
       {"EditMoments(s1, s2, s3, -, s4, s5, -)", "EditTask(15, out0)", "Basic(0x100, 1)"},
       5},
      {"skewness, user mean",
       [](F& f) { f.template usm<cpu::skewness_frame>(f.mean.data(), f.o(0)); },
       {"EditMoments(mean, s1, s2, -, s3, s4, -)", "EditTask(15, out0)", "Basic(0x100, 256)"},
       4},
      {"variation",
       [](F& f) { f.template usm<cpu::variation_frame>(nullptr, f.o(0)); },
       {"EditMoments(s1, s2, -, -, s3, -, -)", "EditTask(18, out0)", "Basic(0x200, 1)"},
       3},
      {"variation, user mean",
       [](F& f) { f.template usm<cpu::variation_frame>(f.mean.data(), f.o(0)); },
       {"EditMoments(mean, s1, -, -, s2, -, -)", "EditTask(18, out0)", "Basic(0x200, 256)"},
       2},
      // Weights and indices go to the task's creation, as they stand, in both forms.
      {"USM weights",
       [](F& f) {
         f.weights = true;
         f.template usm<cpu::min_max_frame>(nullptr, f.o(0), f.o(1));
       },
       min_max_calls, 0, "x, w, -"},
      {"USM indices",
       [](F& f) {
         f.indices = true;
         f.template usm<cpu::min_max_frame>(nullptr, f.o(0), f.o(1));
       },
       min_max_calls, 0, "x, -, idx"},
      {"buffer weights and indices",
       [](F& f) {
         f.weights = f.indices = true;
         f.template buf<cpu::min_max_frame>(nullptr, f.out_buffer(0), f.out_buffer(1));
       },
       min_max_calls, 0, "x, w, idx"},
      {"USM col_major",
       [](F& f) { f.template usm<cpu::mean_frame, fast_method, col>(nullptr, f.o(0)); }, mean_calls,
       0, "x, -, -", "0x20000"},
      {"buffer col_major",
       [](F& f) {
         f.indices = true;
         f.template buf<cpu::mean_frame, fast_method, col>(nullptr, f.out_buffer(0));
       },
       mean_calls, 0, "x, -, idx", "0x20000"},
      // Buffer forms: an output of no elements is withheld; a withheld optional output sits on a
      // dummy that never reaches the estimator, or, where the estimator must be given an array,
      // reaches it with its bit clear.
      {"buffer raw_sum",
       [](F& f) {
         f.template buf<cpu::raw_sum_frame>(nullptr, f.out_buffer(0), f.out_buffer(1), f.empty(),
                                            f.empty());
       },
       {"EditSums(out0, out1, -, -, -, -, -)", "Basic(0x6000000, 1)"}},
      // A first sum of no elements: its bit stays, and the estimator is told it has no array.
      {"buffer raw_sum, empty first",
       [](F& f) {
         f.template buf<cpu::raw_sum_frame>(nullptr, f.empty(), f.out_buffer(1), f.empty(),
                                            f.empty());
       },
       {"EditSums(-, out1, -, -, -, -, -)", "Basic(0x6000000, 1)"}},
      {"buffer raw_moment",
       [](F& f) {
         f.template buf<cpu::raw_moment_frame>(nullptr, f.out_buffer(0), f.out_buffer(1), f.empty(),
                                               f.empty());
       },
       {"EditMoments(out0, out1, -, -, -, -, -)", "Basic(0x3, 1)"}},
      // The fourth central moment only: raw3 and raw4 are real arrays, central3 is withheld.
      {"buffer central_moment, fourth",
       [](F& f) {
         f.template buf<cpu::central_moment_frame>(nullptr, f.out_buffer(0), f.empty(),
                                                   f.out_buffer(2));
       },
       {"EditMoments(#1, #2, #3, #4, out0, -, out2)", "Basic(0x50, 1)"}},
      {"buffer central_moment, estimator method",
       [](F& f) {
         f.template buf<cpu::central_moment_frame, estimator>(nullptr, f.out_buffer(0),
                                                              f.out_buffer(1), f.empty());
       },
       {"EditMoments(#1, #2, #3, -, out0, out1, -)", "Basic(0x30, 2)"}},
      {"buffer central_moment, user mean",
       [](F& f) {
         auto mean = f.over(f.mean);
         f.template buf<cpu::central_moment_frame>(&mean, f.out_buffer(0), f.out_buffer(1),
                                                   f.out_buffer(2));
       },
       {"EditMoments(mean, #1, #2, #3, out0, out1, out2)", "Basic(0x70, 256)"}},
      {"buffer kurtosis, user mean",
       [](F& f) {
         auto mean = f.over(f.mean);
         f.template buf<cpu::kurtosis_frame>(&mean, f.out_buffer(0));
       },
       {"EditMoments(mean, #1, #2, #3, #4, -, #5)", "EditTask(14, out0)", "Basic(0x80, 256)"}},
      // The fourth sum only: the third sum's pointer is the dummy's, with its bit clear; method 1.
      {"buffer central_sum, fourth",
       [](F& f) {
         f.template buf<cpu::central_sum_frame>(nullptr, f.out_buffer(0), f.empty(),
                                                f.out_buffer(2));
       },
       {"EditMoments(#1, #2, #3, #4, -, -, -)", "EditSums(-, -, -, -, out0, #5, out2)",
        "Basic(0xa0000000, 1)"}},
      {"buffer central_sum, all",
       [](F& f) {
         f.template buf<cpu::central_sum_frame>(nullptr, f.out_buffer(0), f.out_buffer(1),
                                                f.out_buffer(2));
       },
       {"EditMoments(#1, #2, #3, #4, -, -, -)", "EditSums(-, -, -, -, out0, out1, out2)",
        "Basic(0xe0000000, 1)"}},
      {"buffer central_sum, second only",
       [](F& f) {
         f.template buf<cpu::central_sum_frame>(nullptr, f.out_buffer(0), f.empty(), f.empty());
       },
       {"EditMoments(#1, #2, -, -, -, -, -)", "EditSums(-, -, -, -, out0, -, -)",
        "Basic(0x20000000, 1)"}},
      {"buffer central_sum, estimator method",
       [](F& f) {
         f.template buf<cpu::central_sum_frame, estimator>(nullptr, f.out_buffer(0), f.empty(),
                                                           f.out_buffer(2));
       },
       {"EditTask(7, #1)", "EditSums(-, -, -, -, out0, #2, out2)", "Basic(0xa0000000, 2)"}},
      {"buffer central_sum, user mean",
       [](F& f) {
         auto mean = f.over(f.mean);
         f.template buf<cpu::central_sum_frame>(&mean, f.out_buffer(0), f.empty(), f.empty());
       },
       {"EditTask(7, mean)", "EditSums(-, -, -, -, out0, -, -)", "Basic(0x20000000, 256)"}},
  };
}

TYPED_TEST(CpuFrames, EstimatorCallsAndScratch) {
  using T = TypeParam;
  for (const frame_case<T>& c : frame_cases<T>()) {
    SCOPED_TRACE(c.what);
    this->weights = this->indices = false;
    const frame_run r = this->run([&] { c.call(*this); });
    EXPECT_EQ(r.calls, this->task(c.calls, c.inputs, c.storage));
    this->expect_scratch(r, c.scratch_blocks);
  }
}

// A dependency that completes only when the test opens it.
class gate {
 public:
  explicit gate(sycl::queue& queue) {
    event_ = queue.submit(
        [opened = opened_](sycl::handler& cgh) { cgh.host_task([opened] { opened.wait(); }); });
  }
  ~gate() { open(); }
  gate(const gate&) = delete;
  gate& operator=(const gate&) = delete;
  void open() {
    if (!is_open_) {
      is_open_ = true;
      open_.set_value();
    }
  }
  sycl::event event() const { return event_; }

 private:
  std::promise<void> open_;
  std::shared_future<void> opened_ = open_.get_future().share();
  bool is_open_ = false;
  sycl::event event_;
};

TYPED_TEST(CpuFrames, UsmFramesWithScratchWaitOthersReturnAtOnce) {
  using T = TypeParam;
  auto& f = *this;
  {
    gate g(cpu_queue());
    // No scratch: the call returns while its dependency still holds the host task back.
    sycl::event done = cpu::central_sum_frame::usm<fast_method, T, row>(
        cpu_queue(), f.mean.data(), f.usm_data(), {g.event()}, f.o(0), nullptr, nullptr);
    EXPECT_NE(done.template get_info<sycl::info::event::command_execution_status>(),
              sycl::info::event_command_status::complete);
    EXPECT_TRUE(recording::module().log().empty());
    g.open();
    done.wait();
  }
  {
    gate g(cpu_queue());
    // Scratch: the call waits for its host task, so it cannot return before the gate opens.
    auto call = std::async(std::launch::async, [&] {
      return cpu::central_moment_frame::usm<fast_method, T, row>(
          cpu_queue(), f.mean.data(), f.usm_data(), {g.event()}, f.o(0), nullptr, nullptr);
    });
    EXPECT_EQ(call.wait_for(std::chrono::milliseconds(200)), std::future_status::timeout);
    g.open();
    const sycl::event done = call.get();
    EXPECT_EQ(done.template get_info<sycl::info::event::command_execution_status>(),
              sycl::info::event_command_status::complete);
  }
}

TYPED_TEST(CpuFrames, BufferFrameWithoutBuffersOfItsOwnReturnsAtOnce) {
  using T = TypeParam;
  auto& f = *this;
  std::promise<void> open;
  auto mean_out = f.out_buffer(0);
  {
    // The dataset's handles are the caller's only until the call returns; the host task holds
    // its own copy, so it may run after the caller has let go of them.
    auto data = f.buffer_data();
    auto held = open.get_future().share();
    cpu_queue().submit([&](sycl::handler& cgh) {
      // A writer of the observations, which the statistic's task must wait for.
      [[maybe_unused]] sycl::accessor writes(data.observations, cgh, sycl::read_write);
      cgh.host_task([held] { held.wait(); });
    });
    recording::module().clear();
    cpu::mean_frame::buffer<fast_method, T, row>(cpu_queue(), nullptr, data, mean_out);
    EXPECT_TRUE(recording::module().log().empty());
  }
  open.set_value();
  cpu_queue().wait();
  EXPECT_EQ(tessel::test::describe_calls(recording::module().log(),
                                         {{f.x.data(), "x"}, {f.o(0), "out0"}}),
            f.task({"EditTask(7, out0)", "Basic(0x1, 1)"}));
}

TYPED_TEST(CpuFrames, FailedScratchAllocationFreesTheRestAndSubmitsNothing) {
  auto& f = *this;
  struct scratch_frame {
    std::string statistic;
    std::size_t blocks;
    std::function<void()> frame;
  };
  const std::vector<scratch_frame> frames = {
      {"kurtosis", 6, [&] { f.template usm<cpu::kurtosis_frame>(nullptr, f.o(0)); }},
      {"central_sum", 4,
       [&] { f.template usm<cpu::central_sum_frame>(nullptr, f.o(0), f.o(1), f.o(2)); }},
      {"central_moment", 3,
       [&] {
         f.template usm<cpu::central_moment_frame, estimator>(f.mean.data(), f.o(0), f.o(1),
                                                              f.o(2));
       }},
      {"variation", 3, [&] { f.template usm<cpu::variation_frame>(nullptr, f.o(0)); }},
  };
  const std::string device = cpu_queue().get_device().get_info<sycl::info::device::name>();
  for (const scratch_frame& s : frames) {
    for (std::size_t successes = 0; successes < s.blocks; ++successes) {
      SCOPED_TRACE(s.statistic + " failing after " + std::to_string(successes));
      sycl::detail::fail_malloc_shared_after(static_cast<long long>(successes));
      recording::module().clear();
      tessel::test::clear_usm_events();
      try {
        s.frame();
        ADD_FAILURE() << "no exception";
      } catch (const vorlex::orv::device_bad_alloc& e) {
        EXPECT_EQ(std::string(e.what()),
                  "vorlex::orv::rng::" + s.statistic + ": cannot allocate memory on " + device);
      }
      // Every block is asked for before any is looked at; those obtained go back in order.
      const std::vector<usm_event> usm = tessel::test::usm_events();
      ASSERT_EQ(usm.size(), s.blocks + successes);
      for (std::size_t k = 0; k < s.blocks; ++k) {
        EXPECT_EQ(usm[k].what, usm_event::allocation);
        EXPECT_EQ(usm[k].pointer == nullptr, k >= successes);
      }
      for (std::size_t k = 0; k < successes; ++k) {
        EXPECT_EQ(usm[s.blocks + k].what, usm_event::release);
        EXPECT_EQ(usm[s.blocks + k].pointer, usm[k].pointer);
      }
      EXPECT_TRUE(recording::module().log().empty());
    }
    sycl::detail::fail_malloc_shared_after(static_cast<long long>(s.blocks));
    EXPECT_NO_THROW(s.frame()) << s.statistic;
    sycl::detail::fail_malloc_shared_after(-1);
  }
}

TYPED_TEST(CpuFrames, EstimatorFailuresReachTheAsynchronousHandler) {
  using T = TypeParam;
  auto& f = *this;
  std::vector<std::string> errors;
  sycl::queue queue{sycl::cpu_selector_v, [&errors](const sycl::exception_list& list) {
                      for (const std::exception_ptr& e : list) {
                        try {
                          std::rethrow_exception(e);
                        } catch (const vorlex::orv::computation_error& error) {
                          errors.emplace_back(error.what());
                        } catch (...) {
                          errors.emplace_back("another exception");
                        }
                      }
                    }};
  const std::string type_letter(1, f.letter);
  // A positive status is a failure too. The task is not deleted on this path.
  recording::module().program("_ksu" + type_letter + "SSBasic", 1);
  tessel::test::clear_usm_events();
  const sycl::event done =
      cpu::kurtosis_frame::usm<fast_method, T, row>(queue, nullptr, f.usm_data(), {}, f.o(0));
  EXPECT_EQ(done.template get_info<sycl::info::event::command_execution_status>(),
            sycl::info::event_command_status::complete);
  EXPECT_EQ(tessel::test::usm_events().size(), 12u);  // six blocks and their release
  EXPECT_EQ(recording::module().calls(),
            (std::vector<std::string>{
                "__ksu" + type_letter + "SSNewTask", "__ksu" + type_letter + "SSEditMoments",
                "__ksu" + type_letter + "SSEditTask", "_ksu" + type_letter + "SSBasic"}));
  EXPECT_TRUE(errors.empty());
  queue.wait_and_throw();
  EXPECT_EQ(errors, std::vector<std::string>{"vorlex::orv::stats: computation error"});

  // A failed edit stops the functor there, in the buffer form as well.
  errors.clear();
  recording::module().clear();
  recording::module().program("__ksu" + type_letter + "SSEditMoments", -3);
  cpu::skewness_frame::buffer<fast_method, T, row>(queue, nullptr, f.buffer_data(),
                                                   f.out_buffer(0));
  EXPECT_EQ(recording::module().calls(),
            (std::vector<std::string>{"__ksu" + type_letter + "SSNewTask",
                                      "__ksu" + type_letter + "SSEditMoments"}));
  queue.wait_and_throw();
  EXPECT_EQ(errors, std::vector<std::string>{"vorlex::orv::stats: computation error"});
}

}  // namespace
