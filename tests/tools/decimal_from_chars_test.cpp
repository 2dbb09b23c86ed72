#include "decimal_from_chars.hpp"

#include <gtest/gtest.h>

#include <cstdint>
#include <cstring>
#include <random>
#include <sstream>
#include <string>
#include <vector>

namespace tessel::test {
namespace {

// fast_float's own from_chars is the reference: the same end, the same refusal and the same bits,
// for text followed by enough bytes that the quicker road is open.
template <class T>
void expect_as_fast_float(const std::string& number) {
  for (const char* follower : {",", "\n", "e5", "E-2", "x", ".5", "7"}) {
    const std::string text = number + follower + std::string(48, '0');
    const char* const first = text.data();
    const char* const last = first + text.size();
    T ours = 0, theirs = 0;
    const auto got = decimal_from_chars(first, last, ours);
    const auto want = fast_float::from_chars(first, last, theirs);
    ASSERT_EQ(got.ptr - first, want.ptr - first) << '"' << text << '"';
    ASSERT_EQ(got.ec, want.ec) << '"' << text << '"';
    ASSERT_EQ(std::memcmp(&ours, &theirs, sizeof(T)), 0) << '"' << text << "\": " << ours;
  }
}

template <class T>
void sweep() {
  // Signs, points at either end, leading zeros, the bounds of the quicker road (8 digits before
  // the point, 19 in all), the largest exact integers of float and double and their neighbours, a
  // float halfway case (ties to even) and just past it, and what it must leave to fast_float.
  std::istringstream table(
      "0 -0 0.0 -0.0 .5 -.5 5. -5. . -. - +1 --1 -+1 007 00.000100 00000000.00000000001 "
      "000000000.0000000001 12345678.5 123456789.5 1234567890123456789 1234567.890123456789 "
      "12345678.901234567890 99999999.99999999999 0.0000000000000000001 0.0000000000000000000001 "
      "0.00000000000000000000001 100000000000000000000000 10000000000000000000000 "
      "9007199254740992 9007199254740993 0.9007199254740993 90071992.54740993 16777216 16777217 "
      "1677721.7 0.16777217 1048576.0625 1048576.0625000001 1048576.1875 0.1 0.3 1.2.3 1..2 inf "
      "-nan 1e5 1.5E-3 Infinity 0x1p3 10000000.905864473 -3.0783319101980338");
  for (std::string number; table >> number;) {
    expect_as_fast_float<T>(number);
  }
  // Every length up to past the bounds, with the point at every place or none, digits at random.
  std::mt19937_64 random(13);
  for (std::size_t length = 1; length <= 22; ++length) {
    for (std::size_t point = 0; point <= length + 1; ++point) {
      for (int draw = 0; draw < 8; ++draw) {
        std::string digits;
        for (std::size_t k = 0; k < length; ++k) {
          digits += static_cast<char>('0' + random() % 10);
        }
        if (point <= length) {
          digits.insert(point, ".");
        }
        expect_as_fast_float<T>(digits);
        expect_as_fast_float<T>("-" + digits);
      }
    }
  }
}

TEST(DecimalFromChars, SameAsFastFloatForFloatAndDouble) {
  sweep<float>();
  sweep<double>();
}

}  // namespace
}  // namespace tessel::test
