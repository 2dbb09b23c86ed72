// The entry points that the device-side headers call.
#include "group_runner.hpp"
#include "sycl/detail/group_ops.hpp"
#include "sycl/detail/kernel_launch.hpp"

namespace sycl::detail {

TESSEL_SYCL_API void collective_barrier(work_item* self, memory_scope scope) {
  self->group->barrier(*self, scope);
}

TESSEL_SYCL_API void collective_reduce(work_item* self, reduce_operation op, scalar_type type,
                                       void* value, const void* init, fold_function fold) {
  emu::collective c;
  c.kind = emu::collective_kind::reduce;
  c.op = op;
  c.type = type;
  c.has_init = init != nullptr;
  self->group->reduce(*self, c, value, init, fold);
}

TESSEL_SYCL_API std::uint64_t collective_copy(work_item* self, void* dest, const void* src,
                                              std::size_t element_size, std::size_t count,
                                              std::size_t src_stride, std::size_t dest_stride) {
  emu::collective c;
  c.kind = emu::collective_kind::copy;
  c.dest = dest;
  c.src = src;
  c.element_size = element_size;
  c.count = count;
  c.src_stride = src_stride;
  c.dest_stride = dest_stride;
  return self->group->copy(*self, c);
}

TESSEL_SYCL_API void collective_wait(work_item* self, std::uint64_t copy) {
  self->group->wait(*self, copy);
}

TESSEL_SYCL_API char* current_local_arena() noexcept {
  return emu::group_runner::current_arena();
}

}  // namespace sycl::detail
