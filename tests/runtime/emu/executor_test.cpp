// The work-group executor below the queue: shuffles, checked collectives, errors, geometry and
// settings.

#include <algorithm>
#include <atomic>
#include <numeric>
#include <set>
#include <stdexcept>

#include "launch.hpp"
#include "runtime/devices.hpp"

namespace tessel::test {
namespace {

using sycl::detail::device_backend;

std::unique_ptr<device_backend> make_gpu(std::uint64_t seed, std::size_t group_size = 8,
                                         unsigned compute_units = 2) {
  scoped_env wg("TESSEL_EMU_GPU_WORK_GROUP_SIZE", std::to_string(group_size));
  scoped_env cu("TESSEL_EMU_GPU_COMPUTE_UNITS", std::to_string(compute_units));
  scoped_env lm("TESSEL_EMU_GPU_LOCAL_MEM_SIZE", "1024");
  scoped_env sd("TESSEL_EMU_SHUFFLE_SEED", std::to_string(seed));
  return sycl::detail::make_emulated_gpu();
}

// What action throws must be a kernel error whose text holds each of texts.
template <typename Action>
void expect_kernel_error(Action&& action, std::initializer_list<std::string> texts) {
  const sycl::exception e = expect_sycl_error(action);
  EXPECT_EQ(e.code(), sycl::errc::kernel);
  for (const std::string& text : texts) {
    EXPECT_NE(std::string(e.what()).find(text), std::string::npos) << e.what();
  }
}

TEST(Shuffle, PermutesGroupsAndItemsExactlyOnce) {
  constexpr std::size_t local = 8, groups = 64;
  auto record_order = [&](std::uint64_t seed) {
    auto gpu = make_gpu(seed, local, 1);
    std::vector<std::size_t> group_order, item_order;
    run_nd(*gpu, local * groups, local, [&](const sycl::nd_item<1>& it) {
      if (it.get_local_id(0) == 0) {
        group_order.push_back(it.get_group(0));
      }
      if (it.get_group(0) == 5) {
        item_order.push_back(it.get_local_id(0));
      }
    });
    return std::make_pair(group_order, item_order);
  };
  std::vector<std::size_t> groups_in_order(groups), items_in_order(local);
  std::iota(groups_in_order.begin(), groups_in_order.end(), 0);
  std::iota(items_in_order.begin(), items_in_order.end(), 0);
  EXPECT_EQ(record_order(0), std::make_pair(groups_in_order, items_in_order));
  auto [groups_seen, items_seen] = record_order(42);
  EXPECT_NE(groups_seen, groups_in_order);
  EXPECT_NE(items_seen, items_in_order);
  EXPECT_EQ(record_order(42).first, groups_seen) << "a seed gives one order";
  std::sort(groups_seen.begin(), groups_seen.end());
  std::sort(items_seen.begin(), items_seen.end());
  EXPECT_EQ(std::make_pair(groups_seen, items_seen),
            std::make_pair(groups_in_order, items_in_order));
}

// Item 0 opens collective #1; the other items call something else.
struct mismatch_case {
  const char* name;
  void (*item_zero)(const sycl::nd_item<1>&, double*);
  void (*others)(const sycl::nd_item<1>&, double*);
  const char* opened;
  const char* called;
};
using item = const sycl::nd_item<1>&;

template <typename T, typename Op, bool WithInit = false>
void reduce(item it, double*) {
  if constexpr (WithInit) {
    sycl::reduce_over_group(it.get_group(), T(1), T(0), Op());
  } else {
    sycl::reduce_over_group(it.get_group(), T(1), Op());
  }
}
template <std::size_t Count, std::size_t Offset>
void copy_in(item it, double* global) {
  it.async_work_group_copy(sycl::local_ptr<double>(local_memory<double>()),
                           sycl::global_ptr<double>(global + Offset), Count)
      .wait();
}
template <bool FirstWaitsFirst>
void two_copies(item it, double* global) {
  auto g = it.get_group();
  auto a = g.async_work_group_copy(sycl::local_ptr<double>(local_memory<double>()),
                                   sycl::global_ptr<double>(global), 2);
  auto b = g.async_work_group_copy(sycl::local_ptr<double>(local_memory<double>(16)),
                                   sycl::global_ptr<double>(global + 2), 2);
  FirstWaitsFirst ? g.wait_for(a, b) : g.wait_for(b, a);
}
void barrier(item it, double*) {
  sycl::group_barrier(it.get_group());
}
void device_barrier(item it, double*) {
  sycl::group_barrier(it.get_group(), sycl::memory_scope::device);
}

using plus_double = sycl::plus<double>;
const char* const barrier_text = "group_barrier(memory_scope::work_group)";
const char* const plus_text = "reduce_over_group(plus, double)";
const mismatch_case mismatches[] = {
    {"barrier_and_reduce", barrier, reduce<double, plus_double>, barrier_text, plus_text},
    {"barrier_scopes", barrier, device_barrier, barrier_text,
     "group_barrier(memory_scope::device)"},
    {"reduce_operations", reduce<double, plus_double>, reduce<double, sycl::maximum<double>>,
     plus_text, "reduce_over_group(maximum, double)"},
    {"reduce_types", reduce<double, plus_double>, reduce<float, sycl::plus<float>>, plus_text,
     "reduce_over_group(plus, float)"},
    {"reduce_init", reduce<double, plus_double>, reduce<double, plus_double, true>, plus_text,
     "reduce_over_group(plus, double, with init)"},
    {"copy_counts", copy_in<4, 0>, copy_in<3, 0>, "async_work_group_copy(4 elements",
     "async_work_group_copy(3 elements"},
    {"copy_sources", copy_in<4, 0>, copy_in<4, 1>, "async_work_group_copy(4",
     "async_work_group_copy(4"},
    {"waits", two_copies<true>, two_copies<false>, "device_event::wait(for collective #1)",
     "device_event::wait(for collective #2)"}};

TEST(Mismatch, ThrowsNamingBothCollectivesAndItems) {
  auto gpu = make_gpu(0, 4);
  std::vector<double> global(16, 1.0);
  double* data = global.data();
  for (const mismatch_case& c : mismatches) {
    SCOPED_TRACE(c.name);
    expect_kernel_error(
        [&] {
          run_nd(
              *gpu, 8, 4,
              [=](item it) { (it.get_local_id(0) == 0 ? c.item_zero : c.others)(it, data); }, 64);
        },
        {std::string("work-item 1 called ") + c.called,
         std::string("where work-item 0 called ") + c.opened});
  }
}

// Items that leave a group's collectives unbalanced: an error that names the item, never a hang,
// whatever the order the items run in.
TEST(Divergence, UnbalancedCollectivesThrowInsteadOfHanging) {
  // Barriers by local id l: one for all but item 3, one for item 5 alone, l % 3 + 1.
  const std::pair<int, const char*> kernels[] = {
      {0,
       "work-item 3 returned from the kernel without calling "
       "group_barrier(memory_scope::work_group)"},
      {1, "work-item 5 called group_barrier"},
      {2, "work-item"}};
  for (std::uint64_t seed : {0, 7}) {
    auto gpu = make_gpu(seed);
    for (const auto& k : kernels) {
      const int kind = k.first;
      const auto kernel = [kind](const sycl::nd_item<1>& it) {
        const std::size_t l = it.get_local_id(0);
        const std::size_t rounds = kind == 0 ? l != 3 : kind == 1 ? l == 5 : l % 3 + 1;
        for (std::size_t r = 0; r < rounds; ++r) {
          sycl::group_barrier(it.get_group());
        }
      };
      expect_kernel_error([&] { run_nd(*gpu, 16, 8, kernel); }, {seed == 0 ? k.second : ""});
    }
  }
}

std::atomic<int> live_objects{0};
struct counted {
  counted() { ++live_objects; }
  counted(const counted&) = delete;
  ~counted() { --live_objects; }
};

TEST(ItemErrors, ReachTheCallerAfterTheOtherItemsUnwind) {
  auto gpu = make_gpu(0);
  for (int round = 0; round < 2; ++round) {
    EXPECT_THROW(run_nd(*gpu, 64, 8,
                        [](const sycl::nd_item<1>& it) {
                          counted held;
                          sycl::group_barrier(it.get_group());
                          if (it.get_global_id(0) == 13) {
                            throw std::runtime_error("item 13 fails");
                          }
                          sycl::group_barrier(it.get_group());
                        }),
                 std::runtime_error);
    EXPECT_EQ(live_objects.load(), 0);
  }
  // The device runs correct kernels after failed ones.
  std::vector<int> out(64);
  run_nd(*gpu, 64, 8, [&](const sycl::nd_item<1>& it) {
    out[it.get_global_id(0)] = sycl::reduce_over_group(it.get_group(), 1, sycl::plus<int>());
  });
  EXPECT_EQ(std::count(out.begin(), out.end(), 8), 64);
}

// The frame addresses of a launch's items: one per fiber that ran them.
std::set<const void*> fibers_used(device_backend& gpu, bool with_barrier) {
  std::set<const void*> frames;
  run_nd(gpu, 64, 8, [&](const sycl::nd_item<1>& it) {
    frames.insert(__builtin_frame_address(0));
    if (with_barrier) {
      sycl::group_barrier(it.get_group());
    }
  });
  return frames;
}

TEST(Fibers, ItemsShareOneUntilACollectiveBlocksAndLaterGroupsReuseThem) {
  auto gpu = make_gpu(0, 8, 1);  // every group on the calling thread
  EXPECT_EQ(fibers_used(*gpu, false).size(), 1u);
  const auto blocking = fibers_used(*gpu, true);
  EXPECT_EQ(blocking.size(), 8u);
  EXPECT_EQ(fibers_used(*gpu, true), blocking);
}

TEST(LocalMemory, OneBlockPastTheLargestRequestIsTheGroupsOwn) {
  constexpr std::size_t local = 8, groups = 6, n = local * groups;
  auto gpu = make_gpu(0, local);
  std::vector<double> out(n);
  run_nd(
      *gpu, n, local,
      [&](const sycl::nd_item<1>& it) {
        double* past = local_memory<double>(1024);
        past[it.get_local_id(0)] = static_cast<double>(it.get_global_id(0));
        sycl::group_barrier(it.get_group());
        out[it.get_global_id(0)] = past[local - 1 - it.get_local_id(0)];
      },
      1024);
  for (std::size_t i = 0; i < n; ++i) {
    EXPECT_EQ(out[i], static_cast<double>(i / local * local + local - 1 - i % local));
  }
}

// The checking mode lets a launch that stays inside its request pass, and fails one whose group
// wrote past it, naming the group and the bytes. Under AddressSanitizer the memory past the request
// is poisoned while the group runs, so the sanitizer reports the touch itself.
TEST(LocalMemory, CheckingModeFailsALaunchThatTouchesPastItsRequest) {
  scoped_env check("TESSEL_EMU_CHECK_LOCAL_MEMORY", "1");
  auto gpu = make_gpu(0, 8, 1);
  constexpr std::size_t local = 8, request = local * sizeof(double);
  const auto writes_until = [](std::size_t end) {
    return [end](const sycl::nd_item<1>& it) {
      double* block = local_memory<double>();
      for (std::size_t k = it.get_local_id(0); k < end; k += local) {
        block[k] = 1.0;
      }
    };
  };
  EXPECT_NO_THROW(run_nd(*gpu, 2 * local, local, writes_until(local), request));
#if TESSEL_SANITIZE_ADDRESS
  GTEST_FLAG_SET(death_test_style, "threadsafe");
  EXPECT_DEATH(run_nd(*gpu, 2 * local, local, writes_until(local + 1), request),
               "use-after-poison");
#else
  expect_kernel_error([&] { run_nd(*gpu, 2 * local, local, writes_until(local + 1), request); },
                      {"wrote local memory up to byte 72, past its request of 64"});
#endif
}

TEST(Settings, BadValuesAreInvalidErrorsNamingTheVariable) {
  for (const char* value : {"abc", "0", "-4", "12x", "99999999999999999999999"}) {
    scoped_env wg("TESSEL_EMU_GPU_WORK_GROUP_SIZE", value);
    const sycl::exception e = expect_sycl_error([] { sycl::detail::make_emulated_gpu(); });
    EXPECT_EQ(e.code(), sycl::errc::invalid) << value;
    EXPECT_NE(std::string(e.what()).find("TESSEL_EMU_GPU_WORK_GROUP_SIZE"), std::string::npos);
  }
  scoped_env seed("TESSEL_EMU_SHUFFLE_SEED", "seven");
  EXPECT_THROW(sycl::detail::make_emulated_gpu(), sycl::exception);
}

}  // namespace
}  // namespace tessel::test
