#include "cli.hpp"

#include <map>

#include <CLI/CLI.hpp>

#include "errors.hpp"

namespace tessel {
namespace {

// Maps the words an option accepts to values; CLI11 refuses any other word.
template <class Value>
CLI::Option* add_choice(CLI::App& app, const std::string& name, Value& target,
                        const std::map<std::string, Value>& choices, const std::string& help) {
  return app.add_option(name, target, help)->transform(CLI::CheckedTransformer(choices));
}

struct describe_fields {
  describe_options options;
  std::string file, type, dims, weights_file, weights_column, mean_file, delimiter;
};

void add_describe(CLI::App& app, describe_fields& fields) {
  CLI::App& describe = *app.add_subcommand(
      "describe", "Describe every dimension of a CSV or .npy file (the sample dataset without FILE)");
  describe_options& options = fields.options;
  describe.add_option("FILE", fields.file, "CSV or NumPy .npy file");
  describe.add_option("--device", options.device,
                      "auto, cpu, gpu, or a device's name as `tessel devices` lists it")
      ->default_str("auto");
  describe.add_option("--type", fields.type, "Element type: float or double (default: double, "
                                             "or what a .npy file stores)")
      ->check(CLI::IsMember({"float", "double"}));
  describe.add_option("--dims", fields.dims,
                      "Dimensions to describe: indices from 0, ranges and names, e.g. 0,2,5-7");
  CLI::Option* weights = describe.add_option("--weights", fields.weights_file,
                                             "File of one weight per observation");
  describe
      .add_option("--weights-column", fields.weights_column,
                  "Column (name, or number from 0) that holds the weights; it is then no dimension")
      ->excludes(weights);
  describe.add_option("--mean", fields.mean_file,
                      "File of one mean per dimension: central statistics are taken about it");
  add_choice<rows_are>(describe, "--rows-are", options.orientation,
                       {{"observations", rows_are::observations},
                        {"dimensions", rows_are::dimensions}},
                       "What a file row (axis 0 of an array) is: observations or dimensions")
      ->default_str("observations");
  add_choice<output_format>(describe, "--output", options.output,
                            {{"table", output_format::table},
                             {"csv", output_format::csv},
                             {"json", output_format::json}},
                            "table, csv or json")
      ->default_str("table");
  describe.add_flag("--all", options.all, "Also the raw and central sums and moments");
  describe.add_option("--delimiter", fields.delimiter,
                      "CSV delimiter: , ; or tab (default: detected from the first line)")
      ->check(CLI::IsMember({",", ";", "tab"}));
  add_choice<header_mode>(describe, "--header", options.header,
                          {{"auto", header_mode::detect},
                           {"yes", header_mode::present},
                           {"no", header_mode::absent}},
                          "Whether a CSV's first row holds names: auto, yes or no")
      ->default_str("auto");
}

std::optional<std::string> given(const CLI::App& app, const std::string& name,
                                 const std::string& value) {
  if (app.count(name) == 0) return std::nullopt;
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
  if (app.got_subcommand("devices")) return {devices_options{}, 0};
  return {finish(*app.get_subcommand("describe"), fields), 0};
}

}  // namespace tessel
