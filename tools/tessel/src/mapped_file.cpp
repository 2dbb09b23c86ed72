#include "mapped_file.hpp"

#include <fcntl.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>

#include <fmt/format.h>

#include "errors.hpp"

namespace tessel {
namespace {

data_error system_error(const std::string& path, std::string_view what) {
  return data_error(fmt::format("{}: {}: {}", path, what, std::strerror(errno)));
}

class file_descriptor {
 public:
  explicit file_descriptor(int fd) : fd_(fd) {}
  file_descriptor(const file_descriptor&) = delete;
  file_descriptor& operator=(const file_descriptor&) = delete;
  ~file_descriptor() {
    if (fd_ >= 0) {
      ::close(fd_);
    }
  }
  int get() const { return fd_; }

 private:
  int fd_;
};

}  // namespace

mapped_file::mapped_file(std::string path) : path_(std::move(path)) {
  const file_descriptor fd(::open(path_.c_str(), O_RDONLY | O_CLOEXEC));
  if (fd.get() < 0) {
    throw system_error(path_, "cannot open");
  }
  struct stat info {};
  if (::fstat(fd.get(), &info) != 0) {
    throw system_error(path_, "cannot read");
  }
  if (S_ISDIR(info.st_mode)) {
    throw data_error(fmt::format("{}: is a directory", path_));
  }
  if (!S_ISREG(info.st_mode)) {
    throw data_error(
        fmt::format("{}: not a regular file (tessel maps files, it cannot read a "
                    "pipe or a device)",
                    path_));
  }
  size_ = static_cast<std::size_t>(info.st_size);
  if (size_ == 0) {
    return;  // mmap refuses a length of 0; an empty view serves
  }
  void* const address = ::mmap(nullptr, size_, PROT_READ, MAP_PRIVATE, fd.get(), 0);
  if (address == MAP_FAILED) {
    throw system_error(path_, "cannot map");
  }
  ::madvise(address, size_, MADV_SEQUENTIAL);
  data_ = static_cast<const char*>(address);
}

mapped_file::~mapped_file() {
  if (data_) {
    ::munmap(const_cast<char*>(data_), size_);
  }
}

}  // namespace tessel
