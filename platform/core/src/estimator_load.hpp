// What the one attempt to load the estimator module left behind, for the messages.
#pragma once

#include <string>

namespace tessel::core {

struct estimator_load {
  void* handle = nullptr;
  std::string file;
  std::string reason;  // the loader's words when handle is null
};

// Null until orv_serv_load_qdn has made its attempt.
const estimator_load* finished_estimator_load() noexcept;

}  // namespace tessel::core
