#include "group_runner.hpp"

#include <algorithm>
#include <cstring>
#include <numeric>
#include <utility>

#include "sycl/exception.hpp"
#include "sycl/nd_item.hpp"

namespace sycl::detail::emu {

namespace {

thread_local group_runner* running = nullptr;

// Thrown into the blocked items of a failed group so that their frames unwind.
struct unwind_signal {};

// memcpy of a scalar, with the size known at compile time in the common cases.
void copy_scalar(void* dest, const void* src, std::size_t size) {
  switch (size) {
    case 4:
      std::memcpy(dest, src, 4);
      return;
    case 8:
      std::memcpy(dest, src, 8);
      return;
    default:
      std::memcpy(dest, src, size);
  }
}

}  // namespace

char* group_runner::current_arena() noexcept {
  return running ? running->arena_ : nullptr;
}

std::exception_ptr group_runner::run(const nd_range_launch& launch, std::size_t group_id,
                                     std::size_t group_count, char* arena, std::uint64_t seed) {
  launch_ = &launch;
  group_id_ = group_id;
  group_count_ = group_count;
  size_ = static_cast<std::uint32_t>(launch.local_size);
  arena_ = arena;

  if (items_.size() < size_) {
    items_.resize(size_);
  }
  for (std::uint32_t l = 0; l < size_; ++l) {
    items_[l] = work_item{};
    items_[l].group = this;
    items_[l].local_id = l;
  }
  order_.resize(size_);
  std::iota(order_.begin(), order_.end(), 0U);
  shuffled_ = seed != 0;
  if (shuffled_) {
    rng_ = order_rng(seed);
    rng_.shuffle(order_);
  }
  ready_.assign(order_.begin(), order_.end());
  ready_head_ = 0;
  ready_count_ = size_;
  values_.resize(std::size_t{size_} * max_scalar_size);
  if (records_.empty()) {
    records_.resize(4);
  }
  records_base_ = records_count_ = 0;
  finished_ = 0;
  fewest_passed_by_finished_ = UINT64_MAX;
  cancelled_ = false;
  error_ = nullptr;

  running = this;
  adopt_thread(thread_context_);
  for (;;) {
    work_item* next = next_ready(nullptr);
    if (next == nullptr) {
      if (finished_ == size_ || cancelled_) {
        break;
      }
      // Cannot happen while the records are checked; kept so that a fault in them ends the launch
      // instead of hanging it.
      fail(std::make_exception_ptr(sycl::exception(
          make_error_code(errc::kernel),
          "work-group " + std::to_string(group_id_) +
              ": every live work-item waits in a collective that cannot complete")));
      cancel();
      continue;
    }
    current_ = next;
    switch_fiber(thread_context_, next->runs_on->context);
  }
  running = nullptr;
  current_ = nullptr;
  return std::exchange(error_, nullptr);
}

// Never returns: each pass runs one item, and finish() comes back only when this fiber has its next
// item, of this group or of a later one.
void group_runner::fiber_main(boost::context::detail::transfer_t t) {
  enter_fiber(t);
  group_runner& group = *running;
  for (;;) {
    work_item& self = *group.current_;
    group.execute(self);
    group.finish(self);
  }
}

void group_runner::execute(work_item& self) noexcept {
  const nd_item<1> item =
      nd_item_factory::make(self.local_id, group_id_, size_, group_count_, &self);
  try {
    launch_->invoke(launch_->kernel, item);
  } catch (const unwind_signal&) {
    // A blocked item of a failed group has left its frames.
  } catch (...) {
    fail(std::current_exception());
  }
}

void group_runner::finish(work_item& self) {
  self.status = work_item::state::finished;
  ++finished_;
  if (!error_) {
    if (self.passed < records_end()) {
      const record& missed = record_at(self.passed);
      fail(std::make_exception_ptr(sycl::exception(
          make_error_code(errc::kernel),
          item_name(self.local_id) + " returned from the kernel without calling " +
              describe(missed.what) + ", which work-item " + std::to_string(missed.opener) +
              " called as collective #" + std::to_string(self.passed + 1))));
    } else if (self.passed < fewest_passed_by_finished_) {
      fewest_passed_by_finished_ = self.passed;
      first_finished_ = self.local_id;
    }
  }
  if (error_ && !cancelled_) {
    cancel();
  }
  fiber* mine = std::exchange(self.runs_on, nullptr);
  // An item that has not started runs on this fiber without a switch, so a group without
  // collectives runs all its items on one fiber.
  work_item* next = next_ready(mine);
  if (next != nullptr && next->runs_on == mine) {
    current_ = next;
    return;
  }
  // Safe before the switch: nothing else runs on this thread until then.
  fibers_.release(mine);
  current_ = next;
  switch_fiber(mine->context, next != nullptr ? next->runs_on->context : thread_context_);
}

group_runner::record& group_runner::arrive(work_item& self, const collective& c) {
  if (cancelled_) {
    throw unwind_signal{};
  }
  const std::uint64_t seq = self.passed++;
  if (seq >= fewest_passed_by_finished_) {
    throw_error(item_name(self.local_id) + " called " + describe(c) + " as collective #" +
                std::to_string(seq + 1) + ", but work-item " + std::to_string(first_finished_) +
                " had returned from the kernel after " +
                std::to_string(fewest_passed_by_finished_) + " collectives");
  }
  if (seq == records_end()) {
    push_record();
    record& r = record_at(seq);
    r.what = c;
    r.opener = self.local_id;
    r.arrivals = 1;
    return r;
  }
  record& r = record_at(seq);
  if (!same_arguments(r.what, c)) {
    throw_error(item_name(self.local_id) + " called " + describe(c) + " where work-item " +
                std::to_string(r.opener) + " called " + describe(r.what) + " as collective #" +
                std::to_string(seq + 1));
  }
  ++r.arrivals;
  return r;
}

void group_runner::retire() {
  ++records_base_;
  --records_count_;
}

void group_runner::push_record() {
  if (records_count_ == records_.size()) {
    std::vector<record> grown(records_.size() * 2);
    for (std::uint64_t seq = records_base_; seq < records_end(); ++seq) {
      grown[seq & (grown.size() - 1)] = record_at(seq);
    }
    records_.swap(grown);
  }
  ++records_count_;
}

void group_runner::barrier(work_item& self, memory_scope scope) {
  collective c;
  c.kind = collective_kind::barrier;
  c.scope = scope;
  record& r = arrive(self, c);
  if (r.arrivals < size_) {
    block(self);
    return;
  }
  // Items of a group share a thread, so any scope is program order here; other groups are not
  // ordered by a barrier.
  retire();
  release_all_but(self);
  yield(self);
}

void group_runner::reduce(work_item& self, const collective& c, void* value, const void* init,
                          fold_function fold) {
  record& r = arrive(self, c);
  const std::size_t size = c.type.size;
  if (r.arrivals == 1) {
    r.fold = fold;
    if (init != nullptr) {
      copy_scalar(r.init, init, size);
    }
  }
  copy_scalar(&values_[self.local_id * size], value, size);
  if (r.arrivals < size_) {
    block(self);
    // Safe until every item has reached the next reduction, after this read.
    copy_scalar(value, reduce_result_, size);
    return;
  }
  // Left fold in local-id order, so that results do not depend on the order in which the items
  // arrived.
  std::uint32_t first = 0;
  if (c.has_init) {
    copy_scalar(reduce_result_, r.init, size);
  } else {
    copy_scalar(reduce_result_, values_.data(), size);
    first = 1;
  }
  for (std::uint32_t l = first; l < size_; ++l) {
    r.fold(reduce_result_, &values_[l * size]);
  }
  copy_scalar(value, reduce_result_, size);
  retire();
  release_all_but(self);
  yield(self);
}

std::uint64_t group_runner::copy(work_item& self, const collective& c) {
  record& r = arrive(self, c);
  const std::uint64_t id = self.passed - 1;
  if (r.arrivals < size_) {
    return id;
  }
  // The last item to start the copy does it: every item has issued it, so whatever they stored
  // before is in place.
  auto* dest = static_cast<unsigned char*>(c.dest);
  const auto* src = static_cast<const unsigned char*>(c.src);
  const std::size_t n = c.element_size;
  if (c.src_stride == 1 && c.dest_stride == 1) {
    std::memmove(dest, src, c.count * n);
  } else {
    for (std::size_t i = 0; i < c.count; ++i) {
      std::memmove(dest + i * c.dest_stride * n, src + i * c.src_stride * n, n);
    }
  }
  retire();
  return id;
}

void group_runner::wait(work_item& self, std::uint64_t copy_id) {
  collective c;
  c.kind = collective_kind::wait;
  c.copy_id = copy_id;
  record& r = arrive(self, c);
  if (r.arrivals < size_) {
    block(self);
    return;
  }
  retire();
  release_all_but(self);
  yield(self);
}

void group_runner::block(work_item& self) {
  self.status = work_item::state::blocked;
  switch_to_next(self);
  if (cancelled_) {
    throw unwind_signal{};
  }
}

void group_runner::yield(work_item& self) {
  push_ready(self);
  switch_to_next(self);
  if (cancelled_) {
    throw unwind_signal{};
  }
}

void group_runner::switch_to_next(work_item& self) {
  work_item* next = next_ready(nullptr);
  if (next == &self) {
    return;
  }
  current_ = next;
  switch_fiber(self.runs_on->context, next != nullptr ? next->runs_on->context : thread_context_);
}

// An item that has not started gets `spare` when one is given, or a pooled fiber.
work_item* group_runner::next_ready(fiber* spare) {
  while (ready_count_ > 0) {
    work_item& item = items_[ready_[ready_head_]];
    ready_head_ = ready_head_ + 1 == size_ ? 0 : ready_head_ + 1;
    --ready_count_;
    if (item.status == work_item::state::not_started) {
      if (cancelled_) {
        item.status = work_item::state::finished;
        ++finished_;
        continue;
      }
      if (spare != nullptr) {
        item.runs_on = std::exchange(spare, nullptr);
      } else {
        try {
          item.runs_on = fibers_.acquire();
        } catch (...) {
          fail(std::current_exception());
          cancel();
          item.status = work_item::state::finished;
          ++finished_;
          continue;
        }
      }
    }
    item.status = work_item::state::ready;
    return &item;
  }
  return nullptr;
}

void group_runner::push_ready(work_item& item) {
  item.status = work_item::state::ready;
  std::size_t slot = ready_head_ + ready_count_;
  if (slot >= size_) {
    slot -= size_;
  }
  ready_[slot] = item.local_id;
  ++ready_count_;
}

void group_runner::release_all_but(const work_item& self) {
  if (shuffled_) {
    rng_.shuffle(order_);
  }
  for (std::uint32_t l : order_) {
    if (l != self.local_id) {
      push_ready(items_[l]);
    }
  }
}

void group_runner::fail(std::exception_ptr e) {
  if (!error_) {
    error_ = std::move(e);
  }
}

void group_runner::cancel() {
  cancelled_ = true;
  for (std::uint32_t l : order_) {
    if (items_[l].status == work_item::state::blocked) {
      push_ready(items_[l]);
    }
  }
}

void group_runner::throw_error(const std::string& message) const {
  throw sycl::exception(make_error_code(errc::kernel), message);
}

std::string group_runner::item_name(std::uint32_t local_id) const {
  return "work-group " + std::to_string(group_id_) + ": work-item " + std::to_string(local_id);
}

}  // namespace sycl::detail::emu
