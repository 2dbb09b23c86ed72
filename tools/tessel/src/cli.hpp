// The command line: `tessel describe [FILE] [options]` and `tessel devices`.
#pragma once

#include <iosfwd>
#include <optional>
#include <string>
#include <variant>

#include "csv_reader.hpp"
#include "element_type.hpp"
#include "format.hpp"

namespace tessel {

struct describe_options {
  std::optional<std::string> file;  // unset: the sample dataset
  std::string device = "auto";      // auto, cpu, gpu or a name that `tessel devices` lists
  std::optional<element_type> type;
  std::optional<std::string> dims;
  std::optional<std::string> weights_file;
  std::optional<std::string> weights_column;
  std::optional<std::string> mean_file;
  rows_are orientation = rows_are::observations;
  output_format output = output_format::table;
  bool all = false;
  char delimiter = 0;  // 0: detect
  header_mode header = header_mode::detect;
  missing_policy missing = missing_policy::skip;
  int precision = 6;  // significant digits in the table; 0: as many as round-trip needs
  bool one_pass = false;
};

struct devices_options {};

using command = std::variant<describe_options, devices_options>;

// Either a command to run, or the exit status after help or a usage error has been written to `out`
// or `err`.
struct cli_outcome {
  std::optional<command> run;
  int exit_code = 0;
};

cli_outcome parse_command_line(int argc, const char* const* argv, std::ostream& out,
                               std::ostream& err);

}  // namespace tessel
