#include "number.hpp"

#include <charconv>
#include <cmath>
#include <cstdlib>
#include <string>
#include <type_traits>

namespace tessel {
namespace {

// from_chars reports underflow and overflow alike; strtod tells them apart by its result.
template <class T>
parsed_number<T> classify_out_of_range(std::string_view text) {
  const std::string copy(text);
  char* end = nullptr;
  T value;
  if constexpr (std::is_same_v<T, float>) {
    value = std::strtof(copy.c_str(), &end);
  } else {
    value = std::strtod(copy.c_str(), &end);
  }
  if (std::isinf(value))
    return {number_status::out_of_range, 0};
  return {number_status::ok, value};
}

}  // namespace

template <class T>
parsed_number<T> parse_number(std::string_view text) {
  if (text.size() > 1 && text.front() == '+' && text[1] != '-' && text[1] != '+') {
    text.remove_prefix(1);
  }
  T value = 0;
  const char* const last = text.data() + text.size();
  const auto [end, error] = std::from_chars(text.data(), last, value);
  if (end != last || text.empty())
    return {number_status::not_a_number, 0};
  if (error == std::errc::result_out_of_range)
    return classify_out_of_range<T>(text);
  if (error != std::errc())
    return {number_status::not_a_number, 0};
  return {number_status::ok, value};
}

template parsed_number<float> parse_number<float>(std::string_view);
template parsed_number<double> parse_number<double>(std::string_view);

}  // namespace tessel
