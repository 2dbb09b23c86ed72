#include "cli.hpp"

#include <charconv>
#include <string>
#include <vector>

#include <CLI/CLI.hpp>

#include "errors.hpp"

namespace tessel {
namespace {

// An option that takes one of a few words; CLI11 refuses any other.
CLI::Option* add_word(CLI::App& app, const std::string& name, std::string& target,
                      const std::vector<std::string>& words, const std::string& help) {
  std::string listed;
  for (const std::string& word : words) {
    listed += (listed.empty() ? "" : "|") + word;
  }
  return app.add_option(name, target, help)
      ->check(CLI::IsMember(words).description(""))
      ->type_name(listed);
}

struct describe_fields {
  describe_options options;
  std::string file, type, dims, weights_file, weights_column, mean_file, delimiter;
  std::string rows_are = "observations", output = "table", header = "auto", missing = "skip";
  std::string precision = "6";
};

constexpr int max_precision = 17;  // round-trip digits of a double

// "full", or a number of significant digits from 1 to max_precision.
std::string check_precision(const std::string& text) {
  if (text == "full") {
    return "";
  }
  int digits = 0;
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), digits);
  if (error != std::errc() || end != text.data() + text.size() || digits < 1 ||
      digits > max_precision) {
    return "give a number of significant digits from 1 to " + std::to_string(max_precision) +
           ", or full";
  }
  return "";
}

void add_describe(CLI::App& app, describe_fields& fields) {
  CLI::App& describe = *app.add_subcommand(
      "describe",
      "Describe every dimension of a CSV or .npy file (the sample dataset without FILE)");
  describe.footer(
      "How the statistics are computed:\n"
      "  on the CPU device  the library's central moments, accurate to the last digit, in one\n"
      "                     call\n"
      "  on a GPU           the mean first, then the library's sums of deviations from it, so\n"
      "                     that a mean large against the spread costs no digits\n"
      "  with --one-pass    every statistic as the library's entries give it; on a GPU they\n"
      "                     expand raw power sums, which lose digits when the mean is large\n"
      "                     against the spread\n"
      "  min, quartiles and max are exact order statistics, found on the host; with weights\n"
      "  they remain those of the values.");
  describe_options& options = fields.options;
  describe.add_option("FILE", fields.file, "CSV or NumPy .npy file")->type_name("FILE");
  describe
      .add_option("--device", options.device,
                  "auto, cpu, gpu, or a device's name as `tessel devices` lists it "
                  "(default: auto)")
      ->type_name("DEVICE");
  describe.add_flag("--one-pass", options.one_pass,
                    "Every statistic as the library's entries give it (see below)");
  add_word(describe, "--type", fields.type, {"float", "double"},
           "Element type (default: double, or what a .npy file stores)");
  describe
      .add_option("--dims", fields.dims,
                  "Dimensions to describe: indices from 0, ranges and names, e.g. 0,2,5-7")
      ->type_name("LIST");
  CLI::Option* weights =
      describe.add_option("--weights", fields.weights_file, "File of one weight per observation")
          ->type_name("FILE");
  describe
      .add_option("--weights-column", fields.weights_column,
                  "Column (name, or number from 0) that holds the weights; it is then no dimension")
      ->type_name("COLUMN")
      ->excludes(weights);
  describe
      .add_option("--mean", fields.mean_file,
                  "File of one mean per dimension (or per selected dimension): central "
                  "statistics are taken about it")
      ->type_name("FILE");
  add_word(describe, "--rows-are", fields.rows_are, {"observations", "dimensions"},
           "What a file row (axis 0 of an array) holds (default: observations)");
  add_word(describe, "--output", fields.output, {"table", "csv", "json"},
           "Output format (default: table)");
  describe.add_flag("--all", options.all, "Also the raw and central sums and moments");
  add_word(describe, "--delimiter", fields.delimiter, {",", ";", "tab"},
           "CSV delimiter (default: the most frequent in the first line)");
  add_word(describe, "--header", fields.header, {"auto", "yes", "no"},
           "Whether a CSV's first row holds names (default: auto)");
  add_word(describe, "--missing", fields.missing, {"skip", "error"},
           "Missing values (empty, NA, NaN, null, ...): skipped dimension by dimension, or "
           "an error (default: skip)");
  describe
      .add_option("--precision", fields.precision,
                  "Significant digits in the table, or full for round-trip digits (default: 6; "
                  "CSV and JSON always carry round-trip digits)")
      ->check(check_precision)
      ->type_name("N|full");
}

std::optional<std::string> given(const CLI::App& app, const std::string& name,
                                 const std::string& value) {
  if (app.count(name) == 0) {
    return std::nullopt;
  }
  return value;
}

describe_options finish(const CLI::App& describe, describe_fields& fields) {
  describe_options options = fields.options;
  options.file = given(describe, "FILE", fields.file);
  options.dims = given(describe, "--dims", fields.dims);
  options.weights_file = given(describe, "--weights", fields.weights_file);
  options.weights_column = given(describe, "--weights-column", fields.weights_column);
  options.mean_file = given(describe, "--mean", fields.mean_file);
  if (describe.count("--delimiter")) {
    options.delimiter = fields.delimiter == "tab" ? '\t' : fields.delimiter.front();
  }
  if (describe.count("--type")) {
    options.type = fields.type == "float" ? element_type::f32 : element_type::f64;
  }
  options.orientation =
      fields.rows_are == "dimensions" ? rows_are::dimensions : rows_are::observations;
  options.output = fields.output == "csv"    ? output_format::csv
                   : fields.output == "json" ? output_format::json
                                             : output_format::table;
  options.header = fields.header == "yes"  ? header_mode::present
                   : fields.header == "no" ? header_mode::absent
                                           : header_mode::detect;
  options.missing = fields.missing == "error" ? missing_policy::error : missing_policy::skip;
  options.precision = fields.precision == "full" ? 0 : std::stoi(fields.precision);
  return options;
}

}  // namespace

cli_outcome parse_command_line(int argc, const char* const* argv, std::ostream& out,
                               std::ostream& err) {
  CLI::App app("Summary statistics of a data file, computed by Tessel Stats on a SYCL device",
               "tessel");
  app.require_subcommand(1);
  app.failure_message([](const CLI::App*, const CLI::Error& e) {
    return "tessel: " + std::string(e.what()) + " (see tessel --help)\n";
  });
  describe_fields fields;
  add_describe(app, fields);
  app.add_subcommand("devices", "List the devices the SYCL runtime sees, with their limits");

  try {
    app.parse(argc, argv);
  } catch (const CLI::ParseError& e) {
    const int code = app.exit(e, out, err);
    return {std::nullopt, code == 0 ? 0 : exit_usage_error};
  }
  if (app.got_subcommand("devices")) {
    return {devices_options{}, 0};
  }
  return {finish(*app.get_subcommand("describe"), fields), 0};
}

}  // namespace tessel
