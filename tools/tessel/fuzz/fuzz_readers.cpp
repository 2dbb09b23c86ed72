// libFuzzer target over the CSV and .npy parsers: any input either parses into a table whose
// every element can be read, or is refused with data_error or usage_error. Anything else
// (a crash, a sanitizer report, another exception) is a finding.
#include <cstddef>
#include <cstdint>
#include <memory_resource>
#include <string_view>

#include "csv_reader.hpp"
#include "errors.hpp"
#include "npy_header.hpp"
#include "npy_reader.hpp"

namespace {

volatile double sink;

template <class T>
void touch(const tessel::block& values, std::int64_t count) {
  double sum = 0;
  for (const T value : values.view<T>(static_cast<std::size_t>(count)))
    sum += static_cast<double>(value);
  sink = sum;
}

void touch(tessel::element_type type, const tessel::block& values, std::int64_t count) {
  if (type == tessel::element_type::f32) {
    touch<float>(values, count);
  } else {
    touch<double>(values, count);
  }
}

template <class Action>
void refused_or_done(Action action) {
  try {
    action();
  } catch (const tessel::data_error&) {
  } catch (const tessel::usage_error&) {
  }
}

void fuzz_csv(std::string_view text) {
  struct variant {
    tessel::element_type type;
    char delimiter;
    tessel::header_mode header;
    const char* weights_column;
  };
  constexpr variant variants[] = {
      {tessel::element_type::f64, 0, tessel::header_mode::detect, nullptr},
      {tessel::element_type::f32, 0, tessel::header_mode::absent, nullptr},
      {tessel::element_type::f64, ';', tessel::header_mode::present, "1"},
      {tessel::element_type::f32, '\t', tessel::header_mode::detect, "w"},
  };
  for (const variant& v : variants) {
    refused_or_done([&] {
      tessel::csv_options options;
      options.type = v.type;
      options.delimiter = v.delimiter;
      options.header = v.header;
      if (v.weights_column)
        options.weights_column = v.weights_column;
      tessel::progress silent;
      const tessel::csv_table table =
          tessel::parse_csv(text, "fuzz.csv", options, *std::pmr::new_delete_resource(), silent);
      if (table.n_rows <= 0 || table.n_columns <= 0)
        __builtin_trap();
      if (!table.names.empty() && table.names.size() != static_cast<std::size_t>(table.n_columns)) {
        __builtin_trap();
      }
      touch(table.type, table.cells, table.n_rows * table.n_columns);
      if (v.weights_column)
        touch(table.type, table.weights, table.n_rows);
    });
  }
}

void fuzz_npy(std::string_view bytes) {
  for (const bool convert : {false, true}) {
    refused_or_done([&] {
      tessel::npy_options options;
      if (convert) {
        options.type = tessel::element_type::f32;
        options.weights_column = "1";
      }
      tessel::progress silent;
      const tessel::npy_array array =
          tessel::read_npy(bytes, "fuzz.npy", options, *std::pmr::new_delete_resource(), silent);
      if (array.n_rows <= 0 || array.n_columns <= 0)
        __builtin_trap();
      touch(array.type, array.values, array.n_rows * array.n_columns);
      if (convert)
        touch(array.type, array.weights, array.n_rows);
    });
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::string_view bytes(reinterpret_cast<const char*>(data), size);
  if (tessel::has_npy_magic(bytes)) {
    fuzz_npy(bytes);
  } else {
    fuzz_csv(bytes);
  }
  return 0;
}
