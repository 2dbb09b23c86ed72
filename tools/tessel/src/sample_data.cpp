#include "sample_data.hpp"

#include <fmt/format.h>

#include "errors.hpp"

namespace tessel {

std::string find_sample_dataset(const std::filesystem::path& executable) {
  const std::filesystem::path installed =
      executable.parent_path() / TESSEL_SAMPLE_FROM_BINDIR / "sample.csv";
  const std::filesystem::path source =
      std::filesystem::path(TESSEL_SAMPLE_SOURCE_DIR) / "sample.csv";
  std::error_code ignored;
  for (const auto& candidate : {installed, source}) {
    if (std::filesystem::is_regular_file(candidate, ignored)) {
      return candidate.lexically_normal().string();
    }
  }
  throw data_error(fmt::format("the sample dataset is missing: neither {} nor {} exists",
                               installed.lexically_normal().string(), source.string()));
}

std::filesystem::path current_executable() {
  std::error_code error;
  std::filesystem::path path = std::filesystem::read_symlink("/proc/self/exe", error);
  return error ? std::filesystem::path() : path;
}

}  // namespace tessel
