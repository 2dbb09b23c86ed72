#include "estimator_load.hpp"
#include "orv/orv_serv.h"

#include <unistd.h>

#include <cstdarg>
#include <string>

namespace tessel::core {
namespace {

std::string quoted_value(int count, std::va_list values) {
  if (count < 1) {
    return "(name not given)";
  }
  const char* text = va_arg(values, const char*);
  return text != nullptr ? text : "(null)";
}

std::string message_text(int message, int count, std::va_list values) {
  switch (message) {
    case ORV_SERV_MSG_RUNTIME_ENTRY_MISSING:
      return "the OpenMP offload runtime does not provide the entry " + quoted_value(count, values);
    case ORV_SERV_MSG_ESTIMATOR_NOT_LOADED: {
      const estimator_load* load = finished_estimator_load();
      if (load == nullptr) {
        return "the estimator module has not been loaded yet";
      }
      if (load->handle != nullptr) {
        return "the estimator module '" + load->file + "' is unusable";
      }
      return "the estimator module could not be loaded from '" + load->file + "': " + load->reason;
    }
    case ORV_SERV_MSG_ESTIMATOR_ENTRY_MISSING: {
      const estimator_load* load = finished_estimator_load();
      std::string text = "the estimator module ";
      if (load != nullptr) {
        text += "'" + load->file + "' ";
      }
      return text + "has no entry named '" + quoted_value(count, values) + "'";
    }
    default:
      return "no text is known for this message number";
  }
}

// One write, so that lines of concurrent callers do not interleave and nothing waits in a buffer
// when the process ends right after.
void write_line(const std::string& line) {
  const char* data = line.data();
  std::size_t left = line.size();
  while (left > 0) {
    const ssize_t written = write(STDERR_FILENO, data, left);
    if (written <= 0) {
      return;
    }
    data += written;
    left -= static_cast<std::size_t>(written);
  }
}

}  // namespace
}  // namespace tessel::core

extern "C" void orv_serv_print(int severity, int message, int count, ...) {
  std::va_list values;
  va_start(values, count);
  const std::string text = tessel::core::message_text(message, count, values);
  va_end(values);
  tessel::core::write_line(std::string("tessel: ") + (severity == 0 ? "error " : "fatal error ") +
                           std::to_string(message) + ": " + text + "\n");
}
