// The threading service's entries, alone, from many threads at once and nested.
#include "orv/orv_ksu_serv_threader.h"

#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <cstdlib>
#include <memory>
#include <thread>
#include <vector>

namespace {

// Marks each index it sees, and catches two bodies of one loop using one thread index at the
// same moment.
struct loop_record {
  explicit loop_record(std::int64_t count) : seen(static_cast<std::size_t>(count)) {}
  std::vector<std::atomic<int>> seen;
  std::atomic<int> busy_index[1024] = {};
  std::atomic<int> clashes{0};
  std::atomic<int> bad_index{0};

  void visit(std::int64_t index, int thread_index) {
    if (thread_index < 0 || thread_index >= orv_ksu_serv_threader_get_num_threads_limit()) {
      ++bad_index;
      return;
    }
    if (busy_index[thread_index].exchange(1))
      ++clashes;
    seen[static_cast<std::size_t>(index)].fetch_add(1);
    busy_index[thread_index].store(0);
  }
  void expect_each_once() const {
    EXPECT_EQ(clashes.load(), 0);
    EXPECT_EQ(bad_index.load(), 0);
    for (std::size_t i = 0; i < seen.size(); ++i)
      ASSERT_EQ(seen[i].load(), 1) << "index " << i;
  }
};

void record_visit(void* context, int64_t index, int thread_index) {
  static_cast<loop_record*>(context)->visit(index, thread_index);
}

TEST(Threading, LimitFollowsTheEnvironment) {
  const char* wanted = std::getenv("TESSEL_NUM_THREADS");
  ASSERT_NE(wanted, nullptr) << "the test runs with TESSEL_NUM_THREADS set";
  EXPECT_EQ(orv_ksu_serv_threader_get_num_threads_limit(), std::atoi(wanted));
}

TEST(Threading, ForRunsEveryIndexOnce) {
  for (int max_threads : {0, 1, 2, 3, 100}) {
    for (std::int64_t count : {1, 2, 7, 1000, 100000}) {
      auto record = std::make_unique<loop_record>(count);
      orv_ksu_serv_threader_for(count, max_threads, record.get(), record_visit);
      record->expect_each_once();
    }
  }
}

TEST(Threading, ForHonoursMaxThreads) {
  struct state {
    std::atomic<int> highest{0};
  } s;
  orv_ksu_serv_threader_for(2000, 2, &s, [](void* c, int64_t, int thread_index) {
    auto& highest = static_cast<state*>(c)->highest;
    int seen = highest.load();
    while (thread_index > seen && !highest.compare_exchange_weak(seen, thread_index)) {
    }
    std::this_thread::sleep_for(std::chrono::microseconds(5));
  });
  EXPECT_LE(s.highest.load(), 1);
}

TEST(Threading, EmptyAndNullWorkDoesNothing) {
  loop_record record(1);
  orv_ksu_serv_threader_for(0, 0, &record, record_visit);
  orv_ksu_serv_threader_for(-5, 0, &record, record_visit);
  EXPECT_EQ(record.seen[0].load(), 0);
  orv_ksu_serv_threader_for(10, 0, nullptr, nullptr);
  orv_ksu_serv_threader_for_ordered(10, 0, nullptr, nullptr);
  orv_ksu_serv_threader_sections(3, 0, nullptr);
  orv_ksu_serv_threader_ordered(nullptr, nullptr, nullptr);
}

// Ordered parts run in index order even when the bodies finish in another; iterations that
// skip their ordered part do not hold the others up.
struct ordered_record {
  std::vector<std::int64_t> order;  // written only inside ordered parts
  std::int64_t current = 0;
  std::atomic<int> body_runs{0};
  std::atomic<int> second_call_ran{0};
};

void ordered_body(void* context, int64_t index, int, orv_ksu_serv_threader_iteration* iteration) {
  auto& r = *static_cast<ordered_record*>(context);
  ++r.body_runs;
  if (index % 7 == 0)
    std::this_thread::sleep_for(std::chrono::microseconds(50));
  if (index % 3 == 2)
    return;  // no ordered part
  struct part {
    ordered_record* record;
    std::int64_t index;
  } p{&r, index};
  orv_ksu_serv_threader_ordered(iteration, &p, [](void* c) {
    auto& q = *static_cast<part*>(c);
    q.record->order.push_back(q.index);
  });
  orv_ksu_serv_threader_ordered(
      iteration, &r, [](void* c) { ++static_cast<ordered_record*>(c)->second_call_ran; });
}

TEST(Threading, OrderedPartsRunInIndexOrder) {
  for (int max_threads : {0, 1, 3}) {
    ordered_record r;
    orv_ksu_serv_threader_for_ordered(500, max_threads, &r, ordered_body);
    EXPECT_EQ(r.body_runs.load(), 500);
    EXPECT_EQ(r.second_call_ran.load(), 0);
    std::vector<std::int64_t> expected;
    for (std::int64_t i = 0; i < 500; ++i) {
      if (i % 3 != 2)
        expected.push_back(i);
    }
    EXPECT_EQ(r.order, expected);
  }
}

TEST(Threading, SectionsRunEachOnceAndSkipEmptyOnes) {
  std::atomic<int> runs[6] = {};
  std::vector<orv_ksu_serv_threader_section> sections;
  for (auto& counter : runs) {
    sections.push_back({[](void* c) { ++*static_cast<std::atomic<int>*>(c); }, &counter});
  }
  sections[4].run = nullptr;
  orv_ksu_serv_threader_sections(static_cast<int64_t>(sections.size()), 0, sections.data());
  for (int k = 0; k < 6; ++k)
    EXPECT_EQ(runs[k].load(), k == 4 ? 0 : 1) << k;
}

// A loop inside a loop body, on every participant at once: callers work in their own loops,
// so nothing waits for a free thread.
struct nested_state {
  std::atomic<std::int64_t> total{0};
  int depth;
};

void nested_body(void* context, int64_t, int) {
  auto& s = *static_cast<nested_state*>(context);
  if (s.depth == 0) {
    s.total.fetch_add(1);
    return;
  }
  nested_state inner{{0}, s.depth - 1};
  orv_ksu_serv_threader_for(6, 0, &inner, nested_body);
  s.total.fetch_add(inner.total.load());
}

TEST(Threading, NestedLoopsComplete) {
  nested_state s{{0}, 3};
  orv_ksu_serv_threader_for(6, 0, &s, nested_body);
  EXPECT_EQ(s.total.load(), 6 * 6 * 6 * 6);
}

TEST(Threading, NestedOrderedLoopInsideLoop) {
  struct outer_state {
    std::atomic<int> good{0};
  } outer;
  orv_ksu_serv_threader_for(8, 0, &outer, [](void* c, int64_t, int) {
    ordered_record r;
    orv_ksu_serv_threader_for_ordered(60, 0, &r, ordered_body);
    bool in_order = true;
    for (std::size_t k = 1; k < r.order.size(); ++k)
      in_order &= r.order[k - 1] < r.order[k];
    if (in_order && r.order.size() == 40)
      ++static_cast<outer_state*>(c)->good;
  });
  EXPECT_EQ(outer.good.load(), 8);
}

TEST(Threading, ConcurrentCallersFromEightThreads) {
  std::vector<std::thread> callers;
  std::atomic<int> failures{0};
  for (int t = 0; t < 8; ++t) {
    callers.emplace_back([&failures, t] {
      for (int round = 0; round < 40; ++round) {
        const std::int64_t count = 50 + 37 * t + round;
        loop_record record(count);
        orv_ksu_serv_threader_for(count, 0, &record, record_visit);
        for (auto& s : record.seen)
          failures += s.load() != 1;
        failures += record.clashes.load();
        nested_state nested{{0}, 2};
        orv_ksu_serv_threader_for(3, 0, &nested, nested_body);
        failures += nested.total.load() != 3 * 6 * 6;
        ordered_record ordered;
        orv_ksu_serv_threader_for_ordered(30, 0, &ordered, ordered_body);
        failures += ordered.order.size() != 20;
      }
    });
  }
  for (auto& caller : callers)
    caller.join();
  EXPECT_EQ(failures.load(), 0);
}

// What the bodies write is visible to the caller when the loop returns, with no atomics.
TEST(Threading, ResultsArePublishedToTheCaller) {
  std::vector<std::int64_t> squares(10000);
  orv_ksu_serv_threader_for(10000, 0, &squares, [](void* c, int64_t i, int) {
    (*static_cast<std::vector<std::int64_t>*>(c))[static_cast<std::size_t>(i)] = i * i;
  });
  for (std::int64_t i = 0; i < 10000; ++i)
    ASSERT_EQ(squares[static_cast<std::size_t>(i)], i * i);
}

}  // namespace
