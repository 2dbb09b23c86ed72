// The threading service's entries, alone, nested, and from many threads at once.
#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <cstdlib>
#include <memory>
#include <thread>
#include <vector>

#include "orv/orv_ksu_serv_threader.h"

namespace {

// Counts each index it sees, and catches a thread index out of range or used by two bodies of one
// loop at the same moment, and more threads than the loop allows.
struct loop_record {
  explicit loop_record(std::int64_t count, int max = 0)
      : seen(static_cast<std::size_t>(count)), max_threads(max) {}
  std::vector<std::atomic<int>> seen;
  int max_threads;
  std::atomic<int> busy[1024] = {};
  std::atomic<int> faults{0};

  static void visit(void* context, int64_t index, int thread) {
    auto& r = *static_cast<loop_record*>(context);
    const int limit =
        r.max_threads > 0 ? r.max_threads : orv_ksu_serv_threader_get_num_threads_limit();
    if (thread < 0 || thread >= limit || r.busy[thread].exchange(1) != 0) {
      ++r.faults;
      return;
    }
    r.seen[static_cast<std::size_t>(index)].fetch_add(1);
    std::this_thread::sleep_for(std::chrono::microseconds(index % 97 == 0 ? 20 : 0));
    r.busy[thread].store(0);
  }
  bool each_once() const {
    for (const auto& s : seen) {
      if (s.load() != 1) {
        return false;
      }
    }
    return faults.load() == 0;
  }
};

TEST(Threading, LimitFollowsTheEnvironment) {
  ASSERT_NE(std::getenv("TESSEL_NUM_THREADS"), nullptr) << "the test runs with it set";
  EXPECT_EQ(orv_ksu_serv_threader_get_num_threads_limit(),
            std::atoi(std::getenv("TESSEL_NUM_THREADS")));
}

TEST(Threading, ForRunsEveryIndexOnceWithinItsThreads) {
  for (int max_threads : {0, 1, 2, 3, 100}) {
    for (std::int64_t count : {1, 2, 7, 1000, 100000}) {
      auto record = std::make_unique<loop_record>(count, max_threads < 4 ? max_threads : 0);
      orv_ksu_serv_threader_for(count, max_threads, record.get(), &loop_record::visit);
      EXPECT_TRUE(record->each_once()) << max_threads << " threads, " << count << " indices";
    }
  }
  loop_record none(1);
  orv_ksu_serv_threader_for(0, 0, &none, &loop_record::visit);
  orv_ksu_serv_threader_for(-5, 0, &none, &loop_record::visit);
  EXPECT_EQ(none.seen[0].load(), 0);
  orv_ksu_serv_threader_for(10, 0, nullptr, nullptr);
  orv_ksu_serv_threader_for_ordered(10, 0, nullptr, nullptr);
  orv_ksu_serv_threader_sections(3, 0, nullptr);
  orv_ksu_serv_threader_ordered(nullptr, nullptr, nullptr);
}

// Ordered parts run in index order even when the bodies finish in another; iterations that skip
// their ordered part do not hold the others up, and a second ordered part is ignored.
struct ordered_record {
  std::vector<std::int64_t> order;  // written only inside ordered parts
  std::atomic<int> bodies{0}, second_parts{0};

  static void body(void* context, int64_t index, int, orv_ksu_serv_threader_iteration* it) {
    auto& r = *static_cast<ordered_record*>(context);
    ++r.bodies;
    std::this_thread::sleep_for(std::chrono::microseconds(index % 7 == 0 ? 50 : 0));
    if (index % 3 == 2) {
      return;
    }
    std::pair<ordered_record*, std::int64_t> part{&r, index};
    orv_ksu_serv_threader_ordered(it, &part, [](void* c) {
      auto& [record, i] = *static_cast<std::pair<ordered_record*, std::int64_t>*>(c);
      record->order.push_back(i);
    });
    orv_ksu_serv_threader_ordered(it, &r,
                                  [](void* c) { ++static_cast<ordered_record*>(c)->second_parts; });
  }
  bool in_order(std::int64_t count) const {
    std::vector<std::int64_t> expected;
    for (std::int64_t i = 0; i < count; ++i) {
      if (i % 3 != 2) {
        expected.push_back(i);
      }
    }
    return order == expected && bodies.load() == count && second_parts.load() == 0;
  }
};

TEST(Threading, OrderedPartsRunInIndexOrder) {
  for (int max_threads : {0, 1, 3}) {
    ordered_record r;
    orv_ksu_serv_threader_for_ordered(500, max_threads, &r, &ordered_record::body);
    EXPECT_TRUE(r.in_order(500)) << max_threads;
  }
}

TEST(Threading, SectionsRunEachOnceAndSkipEmptyOnes) {
  std::atomic<int> runs[6] = {};
  std::vector<orv_ksu_serv_threader_section> sections;
  for (auto& counter : runs) {
    sections.push_back({[](void* c) { ++*static_cast<std::atomic<int>*>(c); }, &counter});
  }
  sections[4].run = nullptr;
  orv_ksu_serv_threader_sections(6, 0, sections.data());
  for (int k = 0; k < 6; ++k) {
    EXPECT_EQ(runs[k].load(), k == 4 ? 0 : 1) << k;
  }
}

// Loops inside loop bodies, on every participant at once, from eight callers: callers work in their
// own loops, so nothing waits for a free thread.
void nested_body(void* context, int64_t, int) {
  auto& total = *static_cast<std::atomic<int>*>(context);
  loop_record inner(50);
  orv_ksu_serv_threader_for(50, 0, &inner, &loop_record::visit);
  ordered_record ordered;
  orv_ksu_serv_threader_for_ordered(30, 0, &ordered, &ordered_record::body);
  total += inner.each_once() && ordered.in_order(30);
}

TEST(Threading, NestedLoopsFromConcurrentCallers) {
  std::atomic<int> total{0};
  std::vector<std::thread> callers;
  for (int t = 0; t < 8; ++t) {
    callers.emplace_back([&total] {
      for (int round = 0; round < 10; ++round) {
        orv_ksu_serv_threader_for(6, 0, &total, nested_body);
      }
    });
  }
  for (auto& caller : callers) {
    caller.join();
  }
  EXPECT_EQ(total.load(), 8 * 10 * 6);
}

}  // namespace
