#include "estimator_load.hpp"
#include "orv/orv_serv.h"

#include <dlfcn.h>

#include <atomic>
#include <cstdlib>

namespace tessel::core {
namespace {

std::atomic<const estimator_load*> finished{nullptr};

std::string default_estimator_file() {
  Dl_info info{};
  std::string file = TESSEL_ESTIMATOR_FILE_NAME;
  if (dladdr(reinterpret_cast<void*>(&orv_serv_load_qdn), &info) != 0 &&
      info.dli_fname != nullptr) {
    const std::string self = info.dli_fname;
    const auto slash = self.rfind('/');
    if (slash != std::string::npos) {
      file = self.substr(0, slash + 1) + file;
    }
  }
  return file;
}

estimator_load load() {
  estimator_load result;
  const char* chosen = std::getenv("TESSEL_ESTIMATOR_MODULE");
  result.file = chosen != nullptr && *chosen != '\0' ? chosen : default_estimator_file();
  result.handle = dlopen(result.file.c_str(), RTLD_NOW | RTLD_LOCAL);
  if (result.handle == nullptr) {
    const char* reason = dlerror();
    result.reason = reason != nullptr ? reason : "unknown reason";
  }
  return result;
}

}  // namespace

const estimator_load* finished_estimator_load() noexcept {
  return finished.load(std::memory_order_acquire);
}

}  // namespace tessel::core

extern "C" void* orv_serv_load_qdn(void) {
  static const tessel::core::estimator_load attempt = tessel::core::load();
  tessel::core::finished.store(&attempt, std::memory_order_release);
  return attempt.handle;
}
