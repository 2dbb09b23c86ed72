// fast_float::from_chars with a quicker road in front for the decimal a CSV file is mostly made of:
// [-]digits[.digits], at most 8 digits before the point and 19 in all, no exponent. Its end and its
// point are found from two 16-byte loads at once rather than digit by digit, so the next number's
// start does not wait on this one's value; the digits are gathered 8 at a time, and the
// correctly rounded value comes from fast_float's own binary conversion of that mantissa and power
// of ten, straight to T. Any other text (exponents, inf and nan, long digit runs, the last bytes of
// the text, a refused number) goes to fast_float::from_chars, so every result, end and refusal is
// the same as its own.
#pragma once

#include <algorithm>
#include <bit>
#include <cstdint>
#include <cstring>
#include <system_error>

#include <fast_float/fast_float.h>

#if defined(__SSE2__)
#include <emmintrin.h>
#endif

namespace tessel {
namespace decimal_detail {

inline std::uint64_t load_word(const char* p) {
  std::uint64_t word;
  std::memcpy(&word, p, sizeof word);
  return word;
}

constexpr std::uint64_t powers_of_ten[] = {1,      10,      100,      1000,     10000,
                                           100000, 1000000, 10000000, 100000000};

// The value of the first n (0 to 8) digit characters of a little-endian word: the digits are
// shifted to the top so that the ones below read as leading zeros, then combined in pairs, fours
// and eights.
inline std::uint64_t leading_digits_value(std::uint64_t word, unsigned n) {
  std::uint64_t v = word - 0x3030303030303030u;
  v = n == 0 ? 0 : v << (8 * (8 - n));
  v = v * 10 + (v >> 8);
  v = ((v & 0x000000ff000000ffu) * (100 + (1000000ull << 32)) +
       ((v >> 16) & 0x000000ff000000ffu) * (1 + (10000ull << 32))) >>
      32;
  return static_cast<std::uint32_t>(v);
}

#if defined(__SSE2__)
inline std::uint32_t equal_mask(__m128i bytes, char c) {
  return static_cast<std::uint32_t>(_mm_movemask_epi8(_mm_cmpeq_epi8(bytes, _mm_set1_epi8(c))));
}

inline std::uint32_t digit_mask(__m128i bytes) {
  const __m128i from_zero = _mm_cmpgt_epi8(bytes, _mm_set1_epi8('0' - 1));
  const __m128i to_nine = _mm_cmplt_epi8(bytes, _mm_set1_epi8('9' + 1));
  return static_cast<std::uint32_t>(_mm_movemask_epi8(_mm_and_si128(from_zero, to_nine)));
}

// The bytes the quicker road may read past `first`.
constexpr std::ptrdiff_t reach = 40;

template <class T>
[[gnu::always_inline]] inline bool plain_decimal(const char* first, T& value, const char*& end) {
  const bool negative = *first == '-';
  const char* const digits = first + negative;
  const __m128i low = _mm_loadu_si128(reinterpret_cast<const __m128i*>(digits));
  const __m128i high = _mm_loadu_si128(reinterpret_cast<const __m128i*>(digits + 16));
  const std::uint32_t points = equal_mask(low, '.') | equal_mask(high, '.') << 16;
  const std::uint32_t numerals = digit_mask(low) | digit_mask(high) << 16;
  const auto length = static_cast<unsigned>(std::countr_one(numerals | points));
  const std::uint32_t points_in = length == 32 ? points : points & ((1u << length) - 1);
  const unsigned point =
      points_in == 0 ? length : static_cast<unsigned>(std::countr_zero(points_in));
  const unsigned fraction = point == length ? 0 : length - point - 1;
  const unsigned total = point + fraction;
  if (total == 0 || total > 19 || point > 8 || (points_in & (points_in - 1)) != 0 ||
      (digits[length] | 0x20) == 'e') {
    return false;
  }
  // The fraction in runs of 8, 8 and 3 digits; a run past its end counts none.
  const char* const fraction_digits = digits + point + 1;
  const unsigned n1 = std::min(fraction, 8u);
  const unsigned n2 = std::clamp(fraction, 8u, 16u) - 8;
  const unsigned n3 = std::clamp(fraction, 16u, 19u) - 16;
  std::uint64_t fraction_value =
      leading_digits_value(load_word(fraction_digits), n1) * powers_of_ten[n2] +
      leading_digits_value(load_word(fraction_digits + 8), n2);
  if (n3 > 0) {
    fraction_value = fraction_value * powers_of_ten[n3] +
                     leading_digits_value(load_word(fraction_digits + 16), n3);
  }
  const std::uint64_t scale = powers_of_ten[n1] * powers_of_ten[n2] * powers_of_ten[n3];
  const std::uint64_t mantissa =
      leading_digits_value(load_word(digits), point) * scale + fraction_value;
  // Always the full conversion: whether the cheaper exact division applies varies from number to
  // number in real data, and a branch that guesses wrong half the time costs more than it saves.
  const fast_float::adjusted_mantissa rounded =
      fast_float::compute_float<fast_float::binary_format<T>>(-static_cast<std::int64_t>(fraction),
                                                              mantissa);
  if (rounded.power2 < 0) {
    return false;  // too close to call from 64 bits: fast_float compares digits
  }
  fast_float::to_float(negative, rounded, value);
  end = digits + length;
  return true;
}
#endif

}  // namespace decimal_detail

// Inlined into the row loop, where the compiler would rather call it.
template <class T>
[[gnu::always_inline]] inline fast_float::from_chars_result decimal_from_chars(const char* first, const char* last, T& value) {
#if defined(__SSE2__)
  const char* end;
  if (last - first >= decimal_detail::reach && decimal_detail::plain_decimal(first, value, end)) {
    return {end, std::errc()};
  }
#endif
  return fast_float::from_chars(first, last, value);
}

}  // namespace tessel
