// Files and checks shared by the tool's tests.
#pragma once

#include <gtest/gtest.h>

#include <cstdint>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <functional>
#include <memory_resource>
#include <string>
#include <vector>

#include "errors.hpp"
#include "matrix.hpp"

namespace tessel::test {

// A folder of its own per test, removed afterwards.
class scratch_dir {
 public:
  scratch_dir() {
    const auto* info = ::testing::UnitTest::GetInstance()->current_test_info();
    std::string name = std::string(info->test_suite_name()) + "." + info->name();
    for (char& c : name) {
      if (c == '/') {
        c = '_';
      }
    }
    path_ = std::filesystem::path(::testing::TempDir()) / ("tessel_tool_" + name);
    std::filesystem::remove_all(path_);
    std::filesystem::create_directories(path_);
  }
  ~scratch_dir() { std::filesystem::remove_all(path_); }

  std::string write(const std::string& name, const std::string& bytes) const {
    const std::string file = (path_ / name).string();
    std::ofstream(file, std::ios::binary) << bytes;
    return file;
  }
  std::string path(const std::string& name) const { return (path_ / name).string(); }

 private:
  std::filesystem::path path_;
};

// The bytes of a .npy file: header dictionary as given, padded like numpy pads it.
inline std::string npy_file(const std::string& dictionary, const std::string& data, int major = 1) {
  const std::size_t prefix = major == 1 ? 10 : 12;
  std::string header = dictionary;
  while ((prefix + header.size() + 1) % 64 != 0) {
    header += ' ';
  }
  header += '\n';
  std::string bytes = std::string("\x93NUMPY", 6) + static_cast<char>(major) + '\0';
  const std::uint32_t length = static_cast<std::uint32_t>(header.size());
  for (std::size_t k = 0; k < (major == 1 ? 2u : 4u); ++k) {
    bytes += static_cast<char>((length >> (8 * k)) & 0xff);
  }
  return bytes + header + data;
}

// The bytes of values as they lie in memory: little-endian here, as the "<" descriptions say (the
// files numpy writes cover the other order).
template <class T>
std::string raw_bytes(const std::vector<T>& values) {
  return {reinterpret_cast<const char*>(values.data()), values.size() * sizeof(T)};
}

template <class T>
std::vector<T> elements(const block& values, std::int64_t count) {
  const auto view = values.view<T>(static_cast<std::size_t>(count));
  return {view.begin(), view.end()};
}

// The message of the Error that action throws.
template <class Error = data_error>
std::string error_text(const std::function<void()>& action) {
  try {
    action();
  } catch (const Error& e) {
    return e.what();
  }
  return "(no " + std::string(typeid(Error).name()) + " thrown)";
}

inline std::pmr::memory_resource& heap() {
  return *std::pmr::new_delete_resource();
}

}  // namespace tessel::test
