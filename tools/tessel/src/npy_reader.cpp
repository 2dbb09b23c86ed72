#include "npy_reader.hpp"

#include <bit>
#include <cmath>
#include <cstring>
#include <vector>

#include <fmt/format.h>

#include "column_ref.hpp"
#include "errors.hpp"
#include "npy_header.hpp"

namespace tessel {
namespace {

template <class Stored>
Stored decode(const char* bytes, bool swap) {
  using bits = std::conditional_t<sizeof(Stored) == 4, std::uint32_t, std::uint64_t>;
  bits raw;
  std::memcpy(&raw, bytes, sizeof raw);
  if (swap) {
    if constexpr (sizeof(Stored) == 4) {
      raw = __builtin_bswap32(raw);
    } else {
      raw = __builtin_bswap64(raw);
    }
  }
  return std::bit_cast<Stored>(raw);
}

// Copies the file's elements into the array, one axis-1 column out to the weights if asked.
template <class T, class Stored>
class element_copy {
 public:
  element_copy(const npy_header& header, std::string_view bytes, std::string_view file_name,
               std::optional<std::size_t> weights_column, npy_array& array, progress& progress)
      : header_(header),
        data_(bytes.data() + header.data_offset),
        file_name_(file_name),
        weights_column_(weights_column),
        array_(array),
        progress_(progress) {}

  void run() {
    const auto rows = static_cast<std::size_t>(array_.n_rows);
    const std::size_t file_columns = header_.element_count / rows;
    const bool swap = header_.big_endian != (std::endian::native == std::endian::big);
    if (std::is_same_v<T, Stored> && !swap && !weights_column_) {
      copy_as_is();
      return;
    }
    // The file's inner axis is axis 1 in C order and axis 0 in Fortran order.
    const std::size_t outer = header_.fortran_order ? file_columns : rows;
    const std::size_t inner = header_.fortran_order ? rows : file_columns;
    T* const values = array_.values.template as<T>();
    T* const weights = array_.weights.template as<T>();
    const auto kept_columns = static_cast<std::size_t>(array_.n_columns);
    for (std::size_t o = 0; o < outer; ++o) {
      for (std::size_t i = 0; i < inner; ++i) {
        const std::size_t r = header_.fortran_order ? i : o;
        const std::size_t c = header_.fortran_order ? o : i;
        const T value =
            convert(decode<Stored>(data_ + (o * inner + i) * sizeof(Stored), swap), r, c);
        if (weights_column_ && c == *weights_column_) {
          weights[r] = value;
          continue;
        }
        const std::size_t kept = weights_column_ && c > *weights_column_ ? c - 1 : c;
        values[header_.fortran_order ? kept * rows + r : r * kept_columns + kept] = value;
      }
      progress_.update(header_.data_offset + (o + 1) * inner * sizeof(Stored));
    }
  }

 private:
  void copy_as_is() {
    constexpr std::size_t chunk = std::size_t{1} << 26;
    const std::size_t total = header_.element_count * sizeof(T);
    char* const target = array_.values.template as<char>();
    for (std::size_t done = 0; done < total; done += chunk) {
      std::memcpy(target + done, data_ + done, std::min(chunk, total - done));
      progress_.update(header_.data_offset + done);
    }
  }

  T convert(Stored value, std::size_t row, std::size_t column) const {
    const auto converted = static_cast<T>(value);
    if (std::isinf(converted) && std::isfinite(value)) {
      throw data_error(fmt::format("{}: value {} at [{}, {}] is out of range for float", file_name_,
                                   value, row, column));
    }
    return converted;
  }

  const npy_header& header_;
  const char* data_;
  std::string_view file_name_;
  std::optional<std::size_t> weights_column_;
  npy_array& array_;
  progress& progress_;
};

// A NaN element is a missing value; with missing_policy::error the first one in the file's order is
// refused.
template <class T>
void count_missing(const npy_header& header, std::string_view file_name,
                   std::optional<std::size_t> weights_column, missing_policy policy,
                   npy_array& array) {
  const auto rows = static_cast<std::size_t>(array.n_rows);
  const auto kept = static_cast<std::size_t>(array.n_columns);
  struct place {
    std::size_t row, column;
  };
  std::optional<place> first;
  const auto consider = [&](place at) {
    const auto order = [&](place p) {
      return header.fortran_order ? std::pair(p.column, p.row) : std::pair(p.row, p.column);
    };
    if (!first || order(at) < order(*first)) {
      first = at;
    }
  };
  const T* const values = array.values.template as<T>();
  for (std::size_t k = 0; k < rows * kept; ++k) {
    if (!std::isnan(values[k])) {
      continue;
    }
    ++array.missing_values;
    if (array.missing_values == 1) {
      const std::size_t row = header.fortran_order ? k % rows : k / kept;
      const std::size_t column = header.fortran_order ? k / rows : k % kept;
      consider({row, column + (weights_column && column >= *weights_column ? 1 : 0)});
    }
  }
  if (weights_column) {
    const T* const weights = array.weights.template as<T>();
    for (std::size_t r = 0; r < rows; ++r) {
      if (!std::isnan(weights[r])) {
        continue;
      }
      if (++array.missing_weights == 1) {
        consider({r, *weights_column});
      }
    }
  }
  if (first && policy == missing_policy::error) {
    throw data_error(
        fmt::format("{}: missing value (NaN) at [{}, {}]", file_name, first->row, first->column));
  }
}

template <class T>
void copy_elements(const npy_header& header, std::string_view bytes, std::string_view file_name,
                   std::optional<std::size_t> weights_column, npy_array& array,
                   progress& progress) {
  if (header.stored == element_type::f32) {
    element_copy<T, float>(header, bytes, file_name, weights_column, array, progress).run();
  } else {
    element_copy<T, double>(header, bytes, file_name, weights_column, array, progress).run();
  }
}

}  // namespace

npy_array read_npy(std::string_view bytes, std::string_view file_name, const npy_options& options,
                   std::pmr::memory_resource& memory, progress& progress) {
  const npy_header header = parse_npy_header(bytes, file_name);
  npy_array array;
  array.type = options.type.value_or(header.stored);
  array.fortran_order = header.fortran_order;
  array.rank = static_cast<int>(header.shape.size());
  array.n_rows = header.shape[0];
  const std::size_t file_columns =
      header.shape.size() == 2 ? static_cast<std::size_t>(header.shape[1]) : 1;
  array.n_columns = static_cast<std::int64_t>(file_columns);

  std::optional<std::size_t> weights_column;
  if (options.weights_column) {
    if (header.shape.size() != 2) {
      throw usage_error(
          fmt::format("--weights-column: {} holds a 1-D array, it has no columns", file_name));
    }
    weights_column =
        resolve_column("--weights-column", *options.weights_column, {}, file_columns, file_name);
    if (file_columns == 1) {
      throw usage_error(fmt::format(
          "--weights-column: {} has only that column, no dimension would be left", file_name));
    }
    --array.n_columns;
  }

  const std::size_t element_size = size_of(array.type);
  const auto rows = static_cast<std::size_t>(array.n_rows);
  array.values = block(memory, rows * static_cast<std::size_t>(array.n_columns) * element_size);
  if (weights_column) {
    array.weights = block(memory, rows * element_size);
  }
  if (array.type == element_type::f32) {
    copy_elements<float>(header, bytes, file_name, weights_column, array, progress);
    count_missing<float>(header, file_name, weights_column, options.missing, array);
  } else {
    copy_elements<double>(header, bytes, file_name, weights_column, array, progress);
    count_missing<double>(header, file_name, weights_column, options.missing, array);
  }
  return array;
}

}  // namespace tessel
