// Owns one heap object whose type only the code that made it knows: the command's copy of a kernel
// or host task.
#pragma once

#include <cstddef>
#include <utility>

namespace sycl::detail {

class erased_object {
 public:
  erased_object() = default;
  erased_object(const erased_object&) = delete;
  erased_object& operator=(const erased_object&) = delete;
  erased_object(erased_object&& other) noexcept
      : ptr_(std::exchange(other.ptr_, nullptr)), destroy_(other.destroy_) {}
  erased_object& operator=(erased_object&& other) noexcept {
    if (this != &other) {
      reset();
      ptr_ = std::exchange(other.ptr_, nullptr);
      destroy_ = other.destroy_;
    }
    return *this;
  }
  ~erased_object() { reset(); }

  template <typename T, typename Arg>
  static erased_object make(Arg&& value) {
    erased_object o;
    o.ptr_ = new T(std::forward<Arg>(value));
    o.destroy_ = [](void* p) { delete static_cast<T*>(p); };
    return o;
  }

  void* get() const noexcept { return ptr_; }

 private:
  void reset() noexcept {
    if (ptr_ != nullptr) {
      destroy_(ptr_);
    }
    ptr_ = nullptr;
  }

  void* ptr_ = nullptr;
  void (*destroy_)(void*) = nullptr;
};

}  // namespace sycl::detail
