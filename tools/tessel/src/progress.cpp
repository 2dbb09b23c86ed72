#include "progress.hpp"

#include <unistd.h>

#include <fmt/format.h>

namespace tessel {

progress::progress(std::string name, std::uint64_t total_bytes, std::FILE* out)
    : name_(std::move(name)), total_(total_bytes), out_(total_bytes ? out : nullptr) {}

progress progress::for_file(std::string name, std::uint64_t total_bytes) {
  const bool show = wanted(total_bytes, ::isatty(STDERR_FILENO) == 1);
  return progress(std::move(name), total_bytes, show ? stderr : nullptr);
}

void progress::report(std::uint64_t done_bytes) {
  const std::uint64_t percent = done_bytes >= total_ ? 100 : done_bytes * 100 / total_;
  fmt::print(out_, "\rtessel: reading {}: {:3}%", name_, percent);
  std::fflush(out_);
  next_report_ = ((percent + 1) * total_ + 99) / 100;  // the first byte count of the next percent
}

void progress::finish() {
  if (!out_) {
    return;
  }
  if (next_report_ > 0) {
    fmt::print(out_, "\r\x1b[K");
    std::fflush(out_);
  }
  out_ = nullptr;
}

}  // namespace tessel
