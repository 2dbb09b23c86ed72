// Text to float or double with fast_float: correctly rounded straight to the target type (no detour
// through double for float), locale-free, no allocation, and header-only, so that the CSV reader's
// inner loop inlines it.
#pragma once

#include <cmath>
#include <string_view>

namespace tessel {

enum class number_status { ok, not_a_number, out_of_range };

template <class T>
struct parsed_number {
  number_status status = number_status::not_a_number;
  T value = 0;
};

// The whole of `text` must be the number; a leading '+' is accepted, surrounding blanks are not
// (the caller trims). "nan", "inf" and "infinity" are numbers. A value too small for T becomes 0 or
// a subnormal; one too large is out_of_range.
template <class T>
parsed_number<T> parse_number(std::string_view text);

extern template parsed_number<float> parse_number<float>(std::string_view);
extern template parsed_number<double> parse_number<double>(std::string_view);

// A finite result, or an infinity that the text spells out, rather than one that stands for a
// number too large for T.
template <class T>
bool is_in_range(T value, const char* first) {
  if (!std::isinf(value)) {
    return true;
  }
  if (*first == '-') {
    ++first;
  }
  return *first == 'i' || *first == 'I';
}

}  // namespace tessel
