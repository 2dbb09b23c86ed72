// An owned run of bytes from a memory resource. The tool passes a resource that gives memory the
// device can reach, so a file is parsed straight into the memory the library reads.
#pragma once

#include <cstddef>
#include <memory_resource>
#include <span>
#include <utility>

namespace tessel {

class block {
 public:
  block() = default;
  block(std::pmr::memory_resource& resource, std::size_t bytes)
      : resource_(&resource),
        bytes_(bytes),
        data_(bytes ? resource.allocate(bytes, alignment) : nullptr) {}
  block(block&& other) noexcept
      : resource_(other.resource_),
        bytes_(std::exchange(other.bytes_, 0)),
        data_(std::exchange(other.data_, nullptr)) {}
  block& operator=(block&& other) noexcept {
    if (this != &other) {
      release();
      resource_ = other.resource_;
      bytes_ = std::exchange(other.bytes_, 0);
      data_ = std::exchange(other.data_, nullptr);
    }
    return *this;
  }
  block(const block&) = delete;
  block& operator=(const block&) = delete;
  ~block() { release(); }

  std::size_t bytes() const { return bytes_; }
  bool empty() const { return data_ == nullptr; }

  template <class T>
  T* as() {
    return static_cast<T*>(data_);
  }
  template <class T>
  const T* as() const {
    return static_cast<const T*>(data_);
  }
  template <class T>
  std::span<const T> view(std::size_t count) const {
    return {as<T>(), count};
  }

 private:
  static constexpr std::size_t alignment = 64;

  void release() noexcept {
    if (data_) {
      resource_->deallocate(data_, bytes_, alignment);
    }
    data_ = nullptr;
  }

  std::pmr::memory_resource* resource_ = nullptr;
  std::size_t bytes_ = 0;
  void* data_ = nullptr;
};

}  // namespace tessel
