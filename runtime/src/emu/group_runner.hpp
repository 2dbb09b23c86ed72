// Runs the work-items of one work-group on the calling thread, and every collective checked as a
// record shared by the group. Items run one after another on one pooled fiber; only an item that
// blocks in a collective keeps its fiber, and the next item takes another one.
#pragma once

#include <cstddef>
#include <cstdint>
#include <exception>
#include <memory>
#include <string>
#include <vector>

#include "collective.hpp"
#include "fiber.hpp"
#include "shuffle.hpp"
#include "sycl/detail/kernel_launch.hpp"

namespace sycl::detail {

namespace emu {
class group_runner;
}

struct work_item {
  enum class state : unsigned char { not_started, ready, blocked, finished };

  emu::group_runner* group = nullptr;
  std::uint32_t local_id = 0;
  state status = state::not_started;
  std::uint64_t passed = 0;       // collectives this item has entered
  emu::fiber* runs_on = nullptr;  // from its start to its end
};

}  // namespace sycl::detail

namespace sycl::detail::emu {

class group_runner {
 public:
  group_runner() : fibers_(&fiber_main) {}
  group_runner(const group_runner&) = delete;
  group_runner& operator=(const group_runner&) = delete;

  // Runs group `group_id` of `launch` to its end with `arena` as its local memory. Item order is
  // shuffled when `seed` is not 0. Returns the first error of the group (a kernel's exception or a
  // collective error), or null.
  std::exception_ptr run(const nd_range_launch& launch, std::size_t group_id,
                         std::size_t group_count, char* arena, std::uint64_t seed);

  void barrier(work_item& self, memory_scope scope);
  void reduce(work_item& self, const collective& c, void* value, const void* init,
              fold_function fold);
  std::uint64_t copy(work_item& self, const collective& c);
  void wait(work_item& self, std::uint64_t copy_id);

  // The local memory of the group that the calling thread runs, or null.
  static char* current_arena() noexcept;

 private:
  struct record {
    collective what;
    std::uint32_t opener = 0;
    std::uint32_t arrivals = 0;
    fold_function fold = nullptr;
    alignas(16) unsigned char init[16] = {};
  };

  static void fiber_main(boost::context::detail::transfer_t t);

  void execute(work_item& self) noexcept;
  void finish(work_item& self);

  record& arrive(work_item& self, const collective& c);
  void block(work_item& self);
  void yield(work_item& self);
  void switch_to_next(work_item& self);
  work_item* next_ready(fiber* spare);
  void push_ready(work_item& item);
  void release_all_but(const work_item& self);
  void retire();  // the oldest record: records complete in order

  void fail(std::exception_ptr e);
  [[noreturn]] void throw_error(const std::string& message) const;
  std::string item_name(std::uint32_t local_id) const;
  void cancel();

  std::uint64_t records_end() const { return records_base_ + records_count_; }
  record& record_at(std::uint64_t seq) { return records_[seq & (records_.size() - 1)]; }
  void push_record();

  // The launch and the group being run.
  const nd_range_launch* launch_ = nullptr;
  std::size_t group_id_ = 0, group_count_ = 0;
  std::uint32_t size_ = 0;
  char* arena_ = nullptr;
  order_rng rng_{0};
  bool shuffled_ = false;

  std::vector<work_item> items_;
  std::vector<std::uint32_t> order_;  // item order for starting and releasing
  std::vector<std::uint32_t> ready_;  // ring of items ready to run
  std::size_t ready_head_ = 0, ready_count_ = 0;
  std::uint32_t finished_ = 0;
  work_item* current_ = nullptr;  // set before every switch to the item a fiber is to run
  fiber_context thread_context_;
  fiber_pool fibers_;

  std::vector<record> records_;  // ring, power-of-two size, by collective number
  std::uint64_t records_base_ = 0, records_count_ = 0;
  static constexpr std::size_t max_scalar_size = 16;
  std::vector<unsigned char> values_;  // one slot per item for the reduction in progress
  alignas(16) unsigned char reduce_result_[max_scalar_size] = {};
  std::uint64_t fewest_passed_by_finished_ = UINT64_MAX;
  std::uint32_t first_finished_ = 0;
  bool cancelled_ = false;  // the group has failed: blocked items unwind, others never start
  std::exception_ptr error_;
};

}  // namespace sycl::detail::emu
