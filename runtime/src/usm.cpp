// USM allocations: host memory, recorded with their kind, device and context.
#include "sycl/usm.hpp"

#include <cstdint>
#include <limits>
#include <map>
#include <mutex>
#include <new>
#include <vector>

#include "context_impl.hpp"
#include "device_impl.hpp"

namespace sycl {
namespace detail {
namespace {

struct allocation {
  std::size_t bytes;
  std::size_t alignment;
  usm::alloc kind;
  std::shared_ptr<device_impl> device;  // null for host allocations
  std::shared_ptr<context_impl> context;
};

class usm_registry {
 public:
  static usm_registry& get() {
    static usm_registry* const instance = new usm_registry;
    return *instance;
  }

  usm_registry() { spare_nodes_.reserve(max_spare_nodes); }

  void* allocate(std::size_t alignment, std::size_t bytes, std::shared_ptr<device_impl> d,
                 const std::shared_ptr<context_impl>& ctx, usm::alloc kind) {
    if (bytes == 0 || kind == usm::alloc::unknown) {
      return nullptr;
    }
    if (alignment == 0) {
      alignment = alignof(std::max_align_t);
    }
    if ((alignment & (alignment - 1)) != 0) {
      return nullptr;
    }
    std::lock_guard<std::mutex> lock(mutex_);
    if (kind == usm::alloc::shared && shared_failure_due()) {
      return nullptr;
    }
    void* p = allocate_bytes(bytes, alignment);
    if (p == nullptr) {
      return nullptr;
    }
    // Records go in nodes kept from earlier releases: a loop of calls that allocate and free
    // scratch makes no allocation of its own for them.
    allocation record{bytes, alignment, kind, std::move(d), ctx};
    if (spare_nodes_.empty()) {
      allocations_.emplace(address(p), std::move(record));
    } else {
      auto node = std::move(spare_nodes_.back());
      spare_nodes_.pop_back();
      node.key() = address(p);
      node.mapped() = std::move(record);
      allocations_.insert(std::move(node));
    }
    return p;
  }

  void release(void* p, const context_impl& ctx) {
    if (p == nullptr) {
      return;
    }
    std::lock_guard<std::mutex> lock(mutex_);
    const auto found = allocations_.find(address(p));
    // Memory this context did not allocate is left alone rather than handed to the wrong
    // deallocator.
    if (found == allocations_.end() || found->second.context.get() != &ctx) {
      return;
    }
    auto node = allocations_.extract(found);
    release_bytes(p, node.mapped().alignment);
    if (spare_nodes_.size() < max_spare_nodes) {
      node.mapped().device.reset();
      node.mapped().context.reset();
      spare_nodes_.push_back(std::move(node));
    }
  }

  // The allocation of ctx that holds p, if any.
  const allocation* find(const void* p, const context_impl& ctx, std::lock_guard<std::mutex>&) {
    auto next = allocations_.upper_bound(address(p));
    if (next == allocations_.begin()) {
      return nullptr;
    }
    const auto& [start, a] = *std::prev(next);
    if (address(p) - start >= a.bytes || a.context.get() != &ctx) {
      return nullptr;
    }
    return &a;
  }
  std::mutex& mutex() { return mutex_; }

  void fail_shared_after(long long successes) {
    std::lock_guard<std::mutex> lock(mutex_);
    shared_successes_left_ = successes;
  }

 private:
  static std::uintptr_t address(const void* p) { return reinterpret_cast<std::uintptr_t>(p); }

  bool shared_failure_due() {
    if (shared_successes_left_ < 0) {
      return false;
    }
    if (shared_successes_left_ == 0) {
      return true;
    }
    --shared_successes_left_;
    return false;
  }

  // Plain allocations serve alignments that the allocator gives anyway.
  static void* allocate_bytes(std::size_t bytes, std::size_t alignment) {
    if (alignment <= __STDCPP_DEFAULT_NEW_ALIGNMENT__) {
      return ::operator new(bytes, std::nothrow);
    }
    return ::operator new(bytes, std::align_val_t(alignment), std::nothrow);
  }
  static void release_bytes(void* p, std::size_t alignment) {
    if (alignment <= __STDCPP_DEFAULT_NEW_ALIGNMENT__) {
      ::operator delete(p);
    } else {
      ::operator delete(p, std::align_val_t(alignment));
    }
  }

  using allocation_map = std::map<std::uintptr_t, allocation>;
  static constexpr std::size_t max_spare_nodes = 64;

  std::mutex mutex_;
  allocation_map allocations_;
  std::vector<allocation_map::node_type> spare_nodes_;
  long long shared_successes_left_ = -1;
};

const std::shared_ptr<context_impl>& context_of(const context& ctx) {
  return impl_access::get(ctx);
}

void* allocate(std::size_t alignment, std::size_t bytes, const device* d, const context& ctx,
               usm::alloc kind) {
  std::shared_ptr<device_impl> dev;
  if (kind != usm::alloc::host) {
    if (d == nullptr) {
      return nullptr;
    }
    dev = impl_access::get(*d);
    if (!context_of(ctx)->holds(*dev)) {
      throw exception(make_error_code(errc::invalid), "The device is not in the context");
    }
  }
  return usm_registry::get().allocate(alignment, bytes, std::move(dev), context_of(ctx), kind);
}

}  // namespace

void* typed_alloc(std::size_t alignment, std::size_t count, std::size_t size, const device* d,
                  const context& ctx, usm::alloc kind) {
  if (size != 0 && count > std::numeric_limits<std::size_t>::max() / size) {
    return nullptr;
  }
  return allocate(alignment, count * size, d, ctx, kind);
}

void fail_malloc_shared_after(long long successes) noexcept {
  usm_registry::get().fail_shared_after(successes);
}

}  // namespace detail

void* malloc_device(std::size_t bytes, const device& d, const context& ctx, const property_list&) {
  return detail::allocate(0, bytes, &d, ctx, usm::alloc::device);
}
void* malloc_device(std::size_t bytes, const queue& q, const property_list& props) {
  return malloc_device(bytes, q.get_device(), q.get_context(), props);
}
void* aligned_alloc_device(std::size_t alignment, std::size_t bytes, const device& d,
                           const context& ctx, const property_list&) {
  return detail::allocate(alignment, bytes, &d, ctx, usm::alloc::device);
}
void* aligned_alloc_device(std::size_t alignment, std::size_t bytes, const queue& q,
                           const property_list& props) {
  return aligned_alloc_device(alignment, bytes, q.get_device(), q.get_context(), props);
}

void* malloc_host(std::size_t bytes, const context& ctx, const property_list&) {
  return detail::allocate(0, bytes, nullptr, ctx, usm::alloc::host);
}
void* malloc_host(std::size_t bytes, const queue& q, const property_list& props) {
  return malloc_host(bytes, q.get_context(), props);
}
void* aligned_alloc_host(std::size_t alignment, std::size_t bytes, const context& ctx,
                         const property_list&) {
  return detail::allocate(alignment, bytes, nullptr, ctx, usm::alloc::host);
}
void* aligned_alloc_host(std::size_t alignment, std::size_t bytes, const queue& q,
                         const property_list& props) {
  return aligned_alloc_host(alignment, bytes, q.get_context(), props);
}

void* malloc_shared(std::size_t bytes, const device& d, const context& ctx, const property_list&) {
  return detail::allocate(0, bytes, &d, ctx, usm::alloc::shared);
}
void* malloc_shared(std::size_t bytes, const queue& q, const property_list& props) {
  return malloc_shared(bytes, q.get_device(), q.get_context(), props);
}
void* aligned_alloc_shared(std::size_t alignment, std::size_t bytes, const device& d,
                           const context& ctx, const property_list&) {
  return detail::allocate(alignment, bytes, &d, ctx, usm::alloc::shared);
}
void* aligned_alloc_shared(std::size_t alignment, std::size_t bytes, const queue& q,
                           const property_list& props) {
  return aligned_alloc_shared(alignment, bytes, q.get_device(), q.get_context(), props);
}

void* malloc(std::size_t bytes, const device& d, const context& ctx, usm::alloc kind,
             const property_list&) {
  return detail::allocate(0, bytes, &d, ctx, kind);
}
void* malloc(std::size_t bytes, const queue& q, usm::alloc kind, const property_list& props) {
  return malloc(bytes, q.get_device(), q.get_context(), kind, props);
}
void* aligned_alloc(std::size_t alignment, std::size_t bytes, const device& d, const context& ctx,
                    usm::alloc kind, const property_list&) {
  return detail::allocate(alignment, bytes, &d, ctx, kind);
}
void* aligned_alloc(std::size_t alignment, std::size_t bytes, const queue& q, usm::alloc kind,
                    const property_list& props) {
  return aligned_alloc(alignment, bytes, q.get_device(), q.get_context(), kind, props);
}

void free(void* ptr, const context& ctx) {
  detail::usm_registry::get().release(ptr, *detail::context_of(ctx));
}
void free(void* ptr, const queue& q) {
  free(ptr, q.get_context());
}

usm::alloc get_pointer_type(const void* ptr, const context& ctx) {
  auto& registry = detail::usm_registry::get();
  std::lock_guard<std::mutex> lock(registry.mutex());
  const detail::allocation* a = registry.find(ptr, *detail::context_of(ctx), lock);
  return a == nullptr ? usm::alloc::unknown : a->kind;
}

device get_pointer_device(const void* ptr, const context& ctx) {
  auto& registry = detail::usm_registry::get();
  std::shared_ptr<detail::device_impl> found;
  {
    std::lock_guard<std::mutex> lock(registry.mutex());
    const detail::allocation* a = registry.find(ptr, *detail::context_of(ctx), lock);
    if (a == nullptr) {
      throw exception(make_error_code(errc::invalid),
                      "The pointer is not of a USM allocation of this context");
    }
    found = a->device;
  }
  // Host allocations belong to no device; SYCL answers with one of the context's.
  if (!found) {
    found = detail::context_of(ctx)->devices().front();
  }
  return detail::impl_access::make<device>(found);
}

}  // namespace sycl
