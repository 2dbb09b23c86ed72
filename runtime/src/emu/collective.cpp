#include "collective.hpp"

#include <sstream>

namespace sycl::detail::emu {

namespace {

const char* scope_name(memory_scope s) {
  switch (s) {
    case memory_scope::work_item:
      return "work_item";
    case memory_scope::sub_group:
      return "sub_group";
    case memory_scope::work_group:
      return "work_group";
    case memory_scope::device:
      return "device";
    case memory_scope::system:
      return "system";
  }
  return "unknown";
}

const char* operation_name(reduce_operation op) {
  switch (op) {
    case reduce_operation::plus:
      return "plus";
    case reduce_operation::minimum:
      return "minimum";
    case reduce_operation::maximum:
      return "maximum";
  }
  return "unknown";
}

std::string type_name(scalar_type t) {
  const std::string bits = std::to_string(8 * t.size);
  switch (t.kind) {
    case scalar_kind::boolean:
      return "bool";
    case scalar_kind::signed_integer:
      return "int" + bits;
    case scalar_kind::unsigned_integer:
      return "uint" + bits;
    case scalar_kind::floating_point:
      return t.size == 4 ? "float" : t.size == 8 ? "double" : "float" + bits;
  }
  return "unknown";
}

}  // namespace

bool same_arguments(const collective& a, const collective& b) {
  if (a.kind != b.kind) {
    return false;
  }
  switch (a.kind) {
    case collective_kind::barrier:
      return a.scope == b.scope;
    case collective_kind::reduce:
      return a.op == b.op && a.type.kind == b.type.kind && a.type.size == b.type.size &&
             a.has_init == b.has_init;
    case collective_kind::copy:
      return a.dest == b.dest && a.src == b.src && a.element_size == b.element_size &&
             a.count == b.count && a.src_stride == b.src_stride && a.dest_stride == b.dest_stride;
    case collective_kind::wait:
      return a.copy_id == b.copy_id;
  }
  return false;
}

std::string describe(const collective& c) {
  std::ostringstream s;
  switch (c.kind) {
    case collective_kind::barrier:
      s << "group_barrier(memory_scope::" << scope_name(c.scope) << ")";
      break;
    case collective_kind::reduce:
      s << "reduce_over_group(" << operation_name(c.op) << ", " << type_name(c.type)
        << (c.has_init ? ", with init" : "") << ")";
      break;
    case collective_kind::copy:
      s << "async_work_group_copy(" << c.count << " elements of " << c.element_size
        << " bytes from " << c.src << " stride " << c.src_stride << " to " << c.dest << " stride "
        << c.dest_stride << ")";
      break;
    case collective_kind::wait:
      s << "device_event::wait(for collective #" << c.copy_id + 1 << ")";
      break;
  }
  return s.str();
}

}  // namespace sycl::detail::emu
