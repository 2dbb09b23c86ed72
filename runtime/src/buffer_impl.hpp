// What stands behind sycl::buffer: the storage and the history of the commands that access it.
#pragma once

#include <cstddef>
#include <memory>

#include "event_impl.hpp"
#include "sycl/buffer.hpp"

namespace sycl::detail {

class buffer_impl : public std::enable_shared_from_this<buffer_impl> {
 public:
  explicit buffer_impl(const buffer_init& init);
  buffer_impl(const buffer_impl&) = delete;
  buffer_impl& operator=(const buffer_impl&) = delete;
  ~buffer_impl();

  void* data() const noexcept { return data_; }
  std::size_t bytes() const noexcept { return bytes_; }
  void set_final_data(void* destination) noexcept { final_data_ = destination; }
  void set_write_back(bool write_back) noexcept { write_back_ = write_back; }

  // The last handle has gone: wait for the commands that use the storage, then write back.
  void release();

  access_history history;  // guarded by the scheduler's mutex

 private:
  void* data_ = nullptr;
  bool owned_ = false;
  std::size_t bytes_ = 0;
  void* final_data_ = nullptr;
  bool write_back_ = true;
};

}  // namespace sycl::detail
