// fast_float::from_chars with a quicker road in front for the decimal a CSV file is mostly made of:
// [-]digits[.digits], at most 8 digits before the point and 19 in all, no exponent. Its end and its
// point are found from two 16-byte loads at once rather than digit by digit, so the next number's
// start does not wait on this one's value; the digits are combined 8 or 16 at a time, and the
// correctly rounded value comes from fast_float's own binary conversion of that mantissa and power
// of ten, straight to T. Any other text (exponents, inf and nan, long digit runs, the last bytes of
// the text, a refused number) goes to fast_float::from_chars, so every result, end and refusal is
// the same as its own.
#pragma once

#include <algorithm>
#include <array>
#include <bit>
#include <cstdint>
#include <cstring>
#include <system_error>

#include <fast_float/fast_float.h>

#if defined(__SSE2__)
#include <emmintrin.h>
#endif

namespace tessel {
#if defined(__SSE2__)
namespace decimal_detail {

inline std::uint64_t load_word(const char* p) {
  std::uint64_t word;
  std::memcpy(&word, p, sizeof word);
  return word;
}

constexpr auto powers_of_ten = [] {
  std::array<std::uint64_t, 20> powers{1};
  for (std::size_t k = 1; k < powers.size(); ++k) {
    powers[k] = powers[k - 1] * 10;
  }
  return powers;
}();

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

inline std::uint32_t equal_mask(__m128i bytes, char c) {
  return static_cast<std::uint32_t>(_mm_movemask_epi8(_mm_cmpeq_epi8(bytes, _mm_set1_epi8(c))));
}

inline std::uint32_t digit_mask(__m128i bytes) {
  const __m128i from_zero = _mm_cmpgt_epi8(bytes, _mm_set1_epi8('0' - 1));
  const __m128i to_nine = _mm_cmplt_epi8(bytes, _mm_set1_epi8('9' + 1));
  return static_cast<std::uint32_t>(_mm_movemask_epi8(_mm_and_si128(from_zero, to_nine)));
}

// The value of the last n (0 to 16) of the 16 bytes before `end`, all digits: the others are
// zeroed, and the digits combined in pairs, fours and eights by multiply-adds.
inline std::uint64_t trailing_digits_value(const char* end, unsigned n) {
  const __m128i positions = _mm_setr_epi8(0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 15);
  const __m128i before = _mm_cmplt_epi8(positions, _mm_set1_epi8(static_cast<char>(16 - n)));
  const __m128i bytes = _mm_loadu_si128(reinterpret_cast<const __m128i*>(end - 16));
  const __m128i digits = _mm_andnot_si128(before, _mm_sub_epi8(bytes, _mm_set1_epi8('0')));
  const __m128i zero = _mm_setzero_si128();
  const __m128i tens = _mm_setr_epi16(10, 1, 10, 1, 10, 1, 10, 1);
  const __m128i pairs = _mm_packs_epi32(_mm_madd_epi16(_mm_unpacklo_epi8(digits, zero), tens),
                                        _mm_madd_epi16(_mm_unpackhi_epi8(digits, zero), tens));
  __m128i fours = _mm_madd_epi16(pairs, _mm_setr_epi16(100, 1, 100, 1, 100, 1, 100, 1));
  fours = _mm_packs_epi32(fours, fours);
  const __m128i eights =
      _mm_madd_epi16(fours, _mm_setr_epi16(10000, 1, 10000, 1, 10000, 1, 10000, 1));
  const auto both = static_cast<std::uint64_t>(_mm_cvtsi128_si64(eights));
  return (both & 0xffffffffu) * 100000000u + (both >> 32);
}

// The value of the n (0 to 19) digits at `first`, in runs of 8, 8 and 3; a run past the end counts
// none.
inline std::uint64_t digits_value(const char* first, unsigned n) {
  const unsigned n1 = std::min(n, 8u);
  const unsigned n2 = std::clamp(n, 8u, 16u) - 8;
  const unsigned n3 = std::clamp(n, 16u, 19u) - 16;
  std::uint64_t value = leading_digits_value(load_word(first), n1) * powers_of_ten[n2] +
                        leading_digits_value(load_word(first + 8), n2);
  if (n3 > 0) {
    value = value * powers_of_ten[n3] + leading_digits_value(load_word(first + 16), n3);
  }
  return value;
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
  // A number of 16 bytes or more reads its fraction from the 16 bytes that end it, which lie in the
  // text.
  const std::uint64_t fraction_value = length >= 16 && fraction <= 16
                                           ? trailing_digits_value(digits + length, fraction)
                                           : digits_value(digits + point + 1, fraction);
  const std::uint64_t mantissa =
      leading_digits_value(load_word(digits), point) * powers_of_ten[fraction] + fraction_value;
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

}  // namespace decimal_detail
#endif

// Inlined into the row loop, where the compiler would rather call it.
template <class T>
[[gnu::always_inline]] inline fast_float::from_chars_result decimal_from_chars(const char* first,
                                                                               const char* last,
                                                                               T& value) {
#if defined(__SSE2__)
  const char* end;
  if (last - first >= decimal_detail::reach && decimal_detail::plain_decimal(first, value, end)) {
    return {end, std::errc()};
  }
#endif
  return fast_float::from_chars(first, last, value);
}

}  // namespace tessel
