// A collective as the work-items of a group call it: what must match between them, and how an error
// message names it.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>

#include "sycl/detail/group_ops.hpp"

namespace sycl::detail::emu {

enum class collective_kind : unsigned char { barrier, reduce, copy, wait };

struct collective {
  collective_kind kind = collective_kind::barrier;
  memory_scope scope = memory_scope::work_group;     // barrier
  reduce_operation op = reduce_operation::plus;      // reduce
  scalar_type type{scalar_kind::floating_point, 0};  // reduce
  bool has_init = false;                             // reduce
  void* dest = nullptr;                              // copy
  const void* src = nullptr;                         // copy
  std::size_t element_size = 0, count = 0;           // copy
  std::size_t src_stride = 0, dest_stride = 0;       // copy
  std::uint64_t copy_id = 0;                         // wait
};

bool same_arguments(const collective& a, const collective& b);

// "reduce_over_group(plus, double)", "group_barrier(memory_scope::work_group)", ...
std::string describe(const collective& c);

}  // namespace sycl::detail::emu
