// Holds a host task until the test lets it go, and never hangs a test for
// long if the test fails before it opens.
#pragma once

#include <atomic>
#include <chrono>
#include <thread>

namespace tessel_test {

class gate {
 public:
  void open() { open_ = true; }
  bool is_open() const { return open_; }
  void pass() const {
    const auto give_up = std::chrono::steady_clock::now() + std::chrono::seconds(30);
    while (!open_ && std::chrono::steady_clock::now() < give_up) {
      std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
  }

 private:
  std::atomic<bool> open_{false};
};

// Polls until done() holds or a generous deadline passes.
template <typename Predicate>
bool eventually(Predicate done) {
  const auto give_up = std::chrono::steady_clock::now() + std::chrono::seconds(30);
  while (!done()) {
    if (std::chrono::steady_clock::now() > give_up)
      return false;
    std::this_thread::sleep_for(std::chrono::milliseconds(1));
  }
  return true;
}

}  // namespace tessel_test
