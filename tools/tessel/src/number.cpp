#include "number.hpp"

#include <fast_float/fast_float.h>

namespace tessel {

template <class T>
parsed_number<T> parse_number(std::string_view text) {
  if (text.size() > 1 && text.front() == '+' && text[1] != '-' && text[1] != '+') {
    text.remove_prefix(1);
  }
  T value = 0;
  const char* const last = text.data() + text.size();
  const auto [end, error] = fast_float::from_chars(text.data(), last, value);
  if (text.empty() || error != std::errc() || end != last) {
    return {number_status::not_a_number, 0};
  }
  if (!is_in_range(value, text.data())) {
    return {number_status::out_of_range, 0};
  }
  return {number_status::ok, value};
}

template parsed_number<float> parse_number<float>(std::string_view);
template parsed_number<double> parse_number<double>(std::string_view);

}  // namespace tessel
