// Holds a host task until the test lets it go, and never hangs a test for long if the test fails
// before it opens.
#pragma once

#include <atomic>
#include <chrono>
#include <thread>

namespace tessel::test {

// Polls until done() holds or a generous deadline passes.
template <typename Predicate>
bool eventually(Predicate done) {
  const auto give_up = std::chrono::steady_clock::now() + std::chrono::seconds(30);
  while (!done()) {
    if (std::chrono::steady_clock::now() > give_up) {
      return false;
    }
    std::this_thread::sleep_for(std::chrono::milliseconds(1));
  }
  return true;
}

class gate {
 public:
  void open() { open_ = true; }
  void pass() const {
    eventually([this] { return open_.load(); });
  }

 private:
  std::atomic<bool> open_{false};
};

}  // namespace tessel::test
