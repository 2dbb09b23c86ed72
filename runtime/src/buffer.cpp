#include <cstring>
#include <new>
#include <string>

#include "buffer_impl.hpp"
#include "scheduler.hpp"
#include "sycl/accessor.hpp"
#include "sycl/buffer.hpp"

namespace sycl::detail {
namespace {
// Wide enough for any element type and for vector loads.
constexpr std::align_val_t storage_alignment{64};
}  // namespace

buffer_impl::buffer_impl(const buffer_init& init)
    : bytes_(init.bytes), final_data_(init.final_data) {
  if (init.host_storage != nullptr) {
    data_ = init.host_storage;
    return;
  }
  // At least one byte, so that even an empty buffer has an address.
  data_ = ::operator new(bytes_ == 0 ? 1 : bytes_, storage_alignment);
  owned_ = true;
  if (init.initial != nullptr && bytes_ != 0) {
    std::memcpy(data_, init.initial, bytes_);
  } else {
    std::memset(data_, 0, bytes_ == 0 ? 1 : bytes_);
  }
}

buffer_impl::~buffer_impl() {
  if (owned_) {
    ::operator delete(data_, storage_alignment);
  }
}

void buffer_impl::release() {
  scheduler& s = scheduler::get();
  for (const auto& user : s.users(history)) {
    s.wait(user);
  }
  if (write_back_ && final_data_ != nullptr && final_data_ != data_ && bytes_ != 0) {
    std::memcpy(final_data_, data_, bytes_);
  }
}

std::shared_ptr<buffer_impl> make_buffer(const buffer_init& init) {
  auto storage = std::make_shared<buffer_impl>(init);
  buffer_impl* raw = storage.get();
  // The handles share a count of their own: when it ends the buffer is released, while commands may
  // still hold the storage itself.
  return std::shared_ptr<buffer_impl>(raw, [storage](buffer_impl* b) mutable {
    b->release();
    storage.reset();
  });
}

void* buffer_data(const buffer_impl& b) noexcept {
  return b.data();
}
void buffer_set_final_data(buffer_impl& b, void* destination) noexcept {
  b.set_final_data(destination);
}
void buffer_set_write_back(buffer_impl& b, bool write_back) noexcept {
  b.set_write_back(write_back);
}

std::shared_ptr<void> acquire_host_access(buffer_impl& b, access_mode mode) {
  scheduler& s = scheduler::get();
  std::shared_ptr<event_impl> hold = s.begin_host_access(b.history, writes(mode));
  // The token keeps the storage too, so a host accessor that outlives its buffer's handles still
  // points at memory.
  std::shared_ptr<buffer_impl> storage = b.shared_from_this();
  return std::shared_ptr<void>(
      hold.get(), [hold, storage](void*) mutable { scheduler::get().end_host_access(hold); });
}

void check_access_range(std::size_t offset, std::size_t count, std::size_t buffer_size) {
  if (offset > buffer_size || count > buffer_size - offset) {
    throw exception(make_error_code(errc::invalid),
                    "The accessed range (offset " + std::to_string(offset) + ", " +
                        std::to_string(count) + " elements) leaves the buffer of " +
                        std::to_string(buffer_size) + " elements");
  }
}

}  // namespace sycl::detail
