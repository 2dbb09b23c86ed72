// libFuzzer target over the CSV and .npy parsers: any input either parses into a table whose every
// element can be read, or is refused with data_error or usage_error, and the CSV reader cut into
// chunks of a few bytes on several threads gives what it gives reading the text whole; the row
// reader's number parser gives fast_float's end, refusal and bits from every offset of the input.
// Anything else (a crash, a sanitizer report, another exception, a difference) is a finding.
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <memory_resource>
#include <optional>
#include <string>
#include <string_view>

#include "csv_reader.hpp"
#include "decimal_from_chars.hpp"
#include "errors.hpp"
#include "npy_header.hpp"
#include "npy_reader.hpp"

namespace {

volatile double sink;

template <class T>
void touch(const tessel::block& values, std::int64_t count) {
  double sum = 0;
  for (const T value : values.view<T>(static_cast<std::size_t>(count))) {
    sum += static_cast<double>(value);
  }
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

// What a read gave: the table, or the message it was refused with.
struct csv_outcome {
  std::optional<tessel::csv_table> table;
  std::string refusal;
};

csv_outcome read_csv(std::string_view text, tessel::csv_options options) {
  csv_outcome outcome;
  try {
    tessel::progress silent;
    outcome.table =
        tessel::parse_csv(text, "fuzz.csv", options, *std::pmr::new_delete_resource(), silent);
  } catch (const tessel::data_error& e) {
    outcome.refusal = std::string("data: ") + e.what();
  } catch (const tessel::usage_error& e) {
    outcome.refusal = std::string("usage: ") + e.what();
  }
  return outcome;
}

std::size_t element_bytes(const tessel::csv_table& table) {
  return tessel::size_of(table.type);
}

bool same_bytes(const tessel::block& a, const tessel::block& b, std::size_t bytes) {
  return bytes == 0 || std::memcmp(a.as<char>(), b.as<char>(), bytes) == 0;
}

bool same_table(const tessel::csv_table& a, const tessel::csv_table& b, bool weights) {
  const auto rows = static_cast<std::size_t>(a.n_rows);
  const std::size_t cells = rows * static_cast<std::size_t>(a.n_columns) * element_bytes(a);
  return a.n_rows == b.n_rows && a.n_columns == b.n_columns && a.names == b.names &&
         a.delimiter == b.delimiter && a.missing_cells == b.missing_cells &&
         a.missing_weights == b.missing_weights && same_bytes(a.cells, b.cells, cells) &&
         (!weights || same_bytes(a.weights, b.weights, rows * element_bytes(a)));
}

template <class T>
void fuzz_decimal(std::string_view text) {
  const char* const last = text.data() + text.size();
  for (const char* first = text.data(); first < last; ++first) {
    T ours = 0, theirs = 0;
    const auto got = tessel::decimal_from_chars(first, last, ours);
    const auto want = fast_float::from_chars(first, last, theirs);
    if (got.ptr != want.ptr || got.ec != want.ec || std::memcmp(&ours, &theirs, sizeof(T)) != 0) {
      __builtin_trap();
    }
  }
}

void fuzz_csv(std::string_view text) {
  fuzz_decimal<float>(text);
  fuzz_decimal<double>(text);
  struct variant {
    tessel::element_type type;
    char delimiter;
    tessel::header_mode header;
    const char* weights_column;
    tessel::missing_policy missing;
  };
  constexpr variant variants[] = {
      {tessel::element_type::f64, 0, tessel::header_mode::detect, nullptr,
       tessel::missing_policy::skip},
      {tessel::element_type::f32, 0, tessel::header_mode::absent, nullptr,
       tessel::missing_policy::error},
      {tessel::element_type::f64, ';', tessel::header_mode::present, "1",
       tessel::missing_policy::skip},
      {tessel::element_type::f32, '\t', tessel::header_mode::detect, "w",
       tessel::missing_policy::skip},
  };
  for (const variant& v : variants) {
    tessel::csv_options options;
    options.type = v.type;
    options.delimiter = v.delimiter;
    options.header = v.header;
    options.missing = v.missing;
    if (v.weights_column) {
      options.weights_column = v.weights_column;
    }
    options.threads = 1;
    options.chunk_bytes = text.size() + 1;
    const csv_outcome whole = read_csv(text, options);
    if (whole.table) {
      const tessel::csv_table& table = *whole.table;
      if (table.n_rows <= 0 || table.n_columns <= 0) {
        __builtin_trap();
      }
      if (!table.names.empty() && table.names.size() != static_cast<std::size_t>(table.n_columns)) {
        __builtin_trap();
      }
      touch(table.type, table.cells, table.n_rows * table.n_columns);
      if (v.weights_column) {
        touch(table.type, table.weights, table.n_rows);
      }
    }
    for (const std::size_t chunk_bytes : {std::size_t{1}, std::size_t{7}}) {
      options.threads = 3;
      options.chunk_bytes = chunk_bytes;
      const csv_outcome chunked = read_csv(text, options);
      if (chunked.refusal != whole.refusal ||
          chunked.table.has_value() != whole.table.has_value()) {
        __builtin_trap();
      }
      if (whole.table && !same_table(*whole.table, *chunked.table, v.weights_column != nullptr)) {
        __builtin_trap();
      }
    }
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
      if (array.n_rows <= 0 || array.n_columns <= 0) {
        __builtin_trap();
      }
      touch(array.type, array.values, array.n_rows * array.n_columns);
      if (convert) {
        touch(array.type, array.weights, array.n_rows);
      }
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
