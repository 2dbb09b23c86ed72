// Link-time wrappers (ld --wrap) around what the engine calls, so that tests see each load of
// the module, each look-up of a name, and each USM allocation and release. They forward to the
// real functions.
#include <dlfcn.h>

#include <sycl/sycl.hpp>

#include <atomic>
#include <cstddef>
#include <cstring>
#include <mutex>
#include <vector>

#include "recording.hpp"

// Visible, as the linker checks the references of the libraries linked here against them too.
#define WRAPPER extern "C" __attribute__((visibility("default")))

// By their mangled names: sycl::detail::typed_alloc, behind every typed malloc_shared, and
// sycl::free(void*, const sycl::queue&).

extern "C" void* __real__ZN4sycl6detail11typed_allocEmmmPKNS_6deviceERKNS_7contextENS_3usm5allocE(
    std::size_t alignment, std::size_t count, std::size_t size, const sycl::device* device,
    const sycl::context& context, sycl::usm::alloc kind);
extern "C" void __real__ZN4sycl4freeEPvRKNS_5queueE(void* pointer, const sycl::queue& queue);
extern "C" void* __real_dlsym(void* handle, const char* name);
extern "C" void* __real_orv_serv_load_qdn(void);

namespace {

std::atomic<int> loads{0};

std::mutex usm_mutex;
std::vector<tessel::test::usm_event> usm_log;

void note(const tessel::test::usm_event& e) {
  std::lock_guard<std::mutex> lock(usm_mutex);
  usm_log.push_back(e);
}

}  // namespace

int tessel::test::module_loads() {
  return loads.load();
}

std::vector<tessel::test::usm_event> tessel::test::usm_events() {
  std::lock_guard<std::mutex> lock(usm_mutex);
  return usm_log;
}

void tessel::test::clear_usm_events() {
  std::lock_guard<std::mutex> lock(usm_mutex);
  usm_log.clear();
}

WRAPPER void* __wrap__ZN4sycl6detail11typed_allocEmmmPKNS_6deviceERKNS_7contextENS_3usm5allocE(
    std::size_t alignment, std::size_t count, std::size_t size, const sycl::device* device,
    const sycl::context& context, sycl::usm::alloc kind) {
  void* pointer = __real__ZN4sycl6detail11typed_allocEmmmPKNS_6deviceERKNS_7contextENS_3usm5allocE(
      alignment, count, size, device, context, kind);
  if (kind == sycl::usm::alloc::shared) {
    note({tessel::test::usm_event::allocation, pointer, count, size});
  }
  return pointer;
}

WRAPPER void __wrap__ZN4sycl4freeEPvRKNS_5queueE(void* pointer, const sycl::queue& queue) {
  note({tessel::test::usm_event::release, pointer, 0, 0});
  __real__ZN4sycl4freeEPvRKNS_5queueE(pointer, queue);
}

WRAPPER void* __wrap_orv_serv_load_qdn(void) {
  loads.fetch_add(1);
  return __real_orv_serv_load_qdn();
}

// A look-up of an estimator entry is noted in the log of the module it is made in, if that
// module keeps one.
WRAPPER void* __wrap_dlsym(void* handle, const char* name) {
  void* found = __real_dlsym(handle, name);
  if (std::strncmp(name, "_ksu", 4) == 0 || std::strncmp(name, "__ksu", 5) == 0) {
    if (void* note = __real_dlsym(handle, "recording_note_lookup"); note != nullptr) {
      reinterpret_cast<tessel::test::recording_note_lookup_fn>(note)(name);
    }
  }
  return found;
}
