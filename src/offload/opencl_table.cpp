#include "offload/opencl_table.hpp"

#include <dlfcn.h>

#include <cstdint>
#include <cstdio>

#include "offload/opencl_entry_names.hpp"
#include "orv/orv_serv.h"

namespace vorlex::orv::stats::detail::offload {

void* opencl_table[opencl_entry_count] = {};
char opencl_load_message[opencl_message_size] = {};

namespace {

#define TESSEL_OPENCL_NAME(name) #name,
constexpr const char* opencl_entry_names[] = {TESSEL_OPENCL_ENTRY_NAMES(TESSEL_OPENCL_NAME)};
#undef TESSEL_OPENCL_NAME
static_assert(sizeof opencl_entry_names / sizeof opencl_entry_names[0] == opencl_entry_count);

constexpr const char* opencl_library = "libOpenCL.so.1";

volatile int opencl_lock = 0;
std::int32_t opencl_state = 0;  // 0 not tried, 1 loaded, -1 failed
std::int32_t opencl_status = -1;

// Both directories to try first are empty, so the dynamic loader's search has two goes at the bare
// name; the reason of the first failure is kept.
void* load_library() {
  if (void* module = dlopen(opencl_library, RTLD_NOW)) {
    return module;
  }
  const char* reason = dlerror();
  std::snprintf(opencl_load_message, sizeof opencl_load_message, "%s %s",
                reason != nullptr ? reason : "", opencl_library);
  return dlopen(opencl_library, RTLD_NOW);
}

// Stops at the first missing name, with the slots before it filled and the module loaded.
bool resolve_all(void* module) {
  for (std::size_t i = 0; i < opencl_entry_count; ++i) {
    opencl_table[i] = dlsym(module, opencl_entry_names[i]);
    if (opencl_table[i] == nullptr) {
      return false;
    }
  }
  return true;
}

std::int32_t load_locked() {
  if (opencl_state != 0) {
    opencl_status = opencl_state == 1 ? 0 : -1;
    return opencl_status;
  }
  // Never closed.
  void* module = load_library();
  if (module != nullptr && resolve_all(module)) {
    opencl_status = 0;
  }
  opencl_state = opencl_status == 0 ? 1 : -1;
  return opencl_status;
}

}  // namespace

std::int32_t load_opencl_table() {
  orv_serv_lock(&opencl_lock);
  const std::int32_t status = load_locked();
  orv_serv_unlock(&opencl_lock);
  return status;
}

}  // namespace vorlex::orv::stats::detail::offload
