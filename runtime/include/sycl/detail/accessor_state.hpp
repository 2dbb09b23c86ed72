// What every buffer accessor holds. Accessors stay trivially copyable because kernel objects are
// copied as bytes to a device: a device backend finds an accessor in its copy of a kernel object by
// the tag, which sits right after the data pointer, and replaces the pointer with its own copy of
// the storage.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>

#include "sycl/access.hpp"
#include "sycl/defines.hpp"

namespace sycl {
class handler;

namespace detail {
class buffer_impl;

struct accessor_state {
  void* data = nullptr;   // element 0 of the buffer, not of the accessed range
  std::uint64_t tag = 0;  // unique to one accessor construction
  buffer_impl* buffer = nullptr;
  std::size_t offset = 0;  // first element of the accessed range
  std::size_t count = 0;   // elements in the accessed range
  access_mode mode = access_mode::read_write;
  bool placeholder = false;
};

// Tags carry a fixed marker in their high half, so a scan of a kernel object's bytes does not take
// an ordinary value for one.
inline constexpr std::uint64_t accessor_tag_marker = 0x7e55e1ac00000000ull;
TESSEL_SYCL_API std::uint64_t next_accessor_tag() noexcept;

// Records the accessor as a requirement of the command group.
TESSEL_SYCL_API void add_requirement(handler& cgh, const accessor_state& acc);

// Blocks until the commands that conflict with this access have finished; commands submitted later
// that conflict wait until the token is released.
TESSEL_SYCL_API std::shared_ptr<void> acquire_host_access(buffer_impl& b, access_mode mode);

// Throws errc::invalid when the accessed range leaves the buffer.
TESSEL_SYCL_API void check_access_range(std::size_t offset, std::size_t count,
                                        std::size_t buffer_size);

}  // namespace detail
}  // namespace sycl
