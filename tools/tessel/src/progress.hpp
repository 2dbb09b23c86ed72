// Progress of reading a large file, on one line of stderr that rewrites itself.
#pragma once

#include <cstdint>
#include <cstdio>
#include <string>

namespace tessel {

class progress {
 public:
  static constexpr std::uint64_t threshold_bytes = 100'000'000;

  // Silent.
  progress() = default;
  // Reports to `out` (null: silent) in steps of one percent.
  progress(std::string name, std::uint64_t total_bytes, std::FILE* out);
  progress(const progress&) = delete;
  progress& operator=(const progress&) = delete;
  ~progress() { finish(); }

  // Shows progress only for a file over threshold_bytes read while stderr is a terminal.
  static progress for_file(std::string name, std::uint64_t total_bytes);
  static bool wanted(std::uint64_t total_bytes, bool on_terminal) {
    return total_bytes > threshold_bytes && on_terminal;
  }

  void update(std::uint64_t done_bytes) {
    if (out_ && done_bytes >= next_report_) {
      report(done_bytes);
    }
  }
  // Clears the line; idempotent.
  void finish();

 private:
  void report(std::uint64_t done_bytes);

  std::string name_;
  std::uint64_t total_ = 0;
  std::uint64_t next_report_ = 0;
  std::FILE* out_ = nullptr;
};

}  // namespace tessel
