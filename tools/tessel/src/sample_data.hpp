// Where the sample dataset that `tessel describe` reads without FILE is.
#pragma once

#include <filesystem>
#include <string>

namespace tessel {

// Looks beside an installed executable (<prefix>/bin/tessel finds
// <prefix>/share/tessel/sample.csv), then in the source tree the tool was built from. Throws
// data_error listing both places when neither has it.
std::string find_sample_dataset(const std::filesystem::path& executable);

// This process's executable, from /proc/self/exe.
std::filesystem::path current_executable();

}  // namespace tessel
