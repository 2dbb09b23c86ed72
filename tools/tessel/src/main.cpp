// tessel: summary statistics of a data file, computed by Tessel Stats on a SYCL device.
#include <sys/ioctl.h>
#include <unistd.h>

#include <cstdio>
#include <iostream>
#include <new>

#include <fmt/format.h>
#include <sycl/sycl.hpp>
#include <vorlex/orv/stats.hpp>

#include "cli.hpp"
#include "compute.hpp"
#include "describe_input.hpp"
#include "devices.hpp"
#include "errors.hpp"
#include "format.hpp"
#include "sample_data.hpp"
#include "usm_resource.hpp"

namespace {

using namespace tessel;

// Errors of commands that run after the entry returned come back here.
void rethrow_first(const sycl::exception_list& errors) {
  for (const std::exception_ptr& error : errors) {
    std::rethrow_exception(error);
  }
}

std::size_t terminal_width() {
  winsize size{};
  if (::isatty(STDOUT_FILENO) != 1 || ::ioctl(STDOUT_FILENO, TIOCGWINSZ, &size) != 0) {
    return 0;
  }
  return size.ws_col;
}

std::string render(const describe_result& result, output_format format, int precision) {
  switch (format) {
    case output_format::csv:
      return format_csv(result);
    case output_format::json:
      return format_json(result);
    case output_format::table:
      break;
  }
  return format_table(result, terminal_width(), precision);
}

// The whole text at once, and only after every statistic is known.
int print(const std::string& text) {
  if (std::fwrite(text.data(), 1, text.size(), stdout) != text.size() || std::fflush(stdout) != 0) {
    std::perror("tessel: writing the result");
    return exit_data_error;
  }
  return 0;
}

int run(const describe_options& options) {
  const std::string path = options.file ? *options.file : find_sample_dataset(current_executable());
  sycl::queue queue(select_device(options.device), rethrow_first);
  usm_resource memory(queue);
  describe_input input = prepare_describe(options, path, memory);
  input.result.device = queue.get_device().get_info<sycl::info::device::name>();
  compute(input, queue, options.one_pass);
  return print(render(input.result, options.output, options.precision));
}

int run(const devices_options&) {
  return print(list_devices());
}

int fail(int status, std::string_view message) {
  fmt::print(stderr, "tessel: {}\n", message);
  return status;
}

}  // namespace

int main(int argc, char** argv) {
  try {
    const cli_outcome outcome = parse_command_line(argc, argv, std::cout, std::cerr);
    if (!outcome.run) {
      return outcome.exit_code;
    }
    return std::visit([](const auto& command) { return run(command); }, *outcome.run);
  } catch (const usage_error& e) {
    return fail(exit_usage_error, e.what());
  } catch (const data_error& e) {
    return fail(exit_data_error, e.what());
  } catch (const vorlex::orv::exception& e) {
    return fail(exit_data_error, e.what());
  } catch (const sycl::exception& e) {
    return fail(exit_data_error, fmt::format("SYCL runtime: {}", e.what()));
  } catch (const std::bad_alloc&) {
    return fail(exit_data_error, "out of memory");
  } catch (const std::exception& e) {
    return fail(exit_data_error, e.what());
  }
}
