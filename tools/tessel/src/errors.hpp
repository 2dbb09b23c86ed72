// What goes wrong in tessel, split by who must act: the person typing the command (usage) or the
// person who made the file (data). main() turns each into one line and its exit status.
#pragma once

#include <cstdint>
#include <stdexcept>
#include <string>
#include <string_view>

namespace tessel {

inline constexpr int exit_data_error = 1;
inline constexpr int exit_usage_error = 2;

// A wrong option, an option that does not fit the file, an unknown device.
class usage_error : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

// A file that cannot be read or does not hold what tessel needs.
class data_error : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

// "FILE:LINE:COLUMN: message", lines and columns counted from 1, columns in bytes.
data_error data_error_at(std::string_view file, std::int64_t line, std::int64_t column,
                         std::string_view message);

// Text from a file, made fit for a one-line message: cut to a readable length, with control and
// non-ASCII bytes written as \xNN.
std::string quoted_excerpt(std::string_view text);

}  // namespace tessel
