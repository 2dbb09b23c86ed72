// A read-only memory map of a whole regular file: the parsers read the page cache directly, so a
// file is never copied into memory before it is parsed.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace tessel {

class mapped_file {
 public:
  // Throws data_error naming the file and the system's reason when it cannot be mapped.
  explicit mapped_file(std::string path);
  mapped_file(const mapped_file&) = delete;
  mapped_file& operator=(const mapped_file&) = delete;
  ~mapped_file();

  const std::string& path() const { return path_; }
  std::string_view text() const { return {data_, size_}; }
  std::size_t size() const { return size_; }

 private:
  std::string path_;
  const char* data_ = nullptr;
  std::size_t size_ = 0;
};

}  // namespace tessel
