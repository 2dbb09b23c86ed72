#include "npy_reader.hpp"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdlib>
#include <fstream>
#include <limits>
#include <sstream>
#include <tuple>

#include "mapped_file.hpp"
#include "tool_test_support.hpp"

namespace tessel::test {
namespace {

using ::testing::ElementsAre;

npy_array read(const std::string& bytes, npy_options options = {}) {
  progress silent;
  return read_npy(bytes, "a.npy", options, heap(), silent);
}

std::string read_error(const std::string& bytes) {
  return error_text([&] { read(bytes); });
}

std::string dictionary(const std::string& descr, bool fortran, const std::string& shape) {
  return "{'descr': '" + descr + "', 'fortran_order': " + (fortran ? "True" : "False") +
         ", 'shape': " + shape + ", }";
}

// Header variants numpy has written: Python 2 long integers, double quotes, no trailing comma, keys
// in another order, no byte order.
TEST(Npy, HeaderVariantsNumpyHasWritten) {
  const std::string data = raw_bytes<double>({1, 2, 3, 4});
  EXPECT_EQ(read(npy_file(dictionary("<f8", false, "(2L, 2L)"), data)).n_rows, 2);
  EXPECT_EQ(read(npy_file("{\"shape\": (4,), \"fortran_order\": False, \"descr\": \"=f8\"}", data))
                .n_rows,
            4);
  EXPECT_EQ(read(npy_file(dictionary("f8", false, "(1,4)"), data)).n_columns, 4);
}

// The 3 x 2 array [[0.5, 1.5], [10.5, 11.5], [20.5, 21.5]] in C or Fortran order.
TEST(Npy, WeightsColumnInEitherOrder) {
  for (const bool fortran : {false, true}) {
    npy_options options;
    options.weights_column = "1";
    const std::vector<double> stored = fortran
                                           ? std::vector<double>{0.5, 10.5, 20.5, 1.5, 11.5, 21.5}
                                           : std::vector<double>{0.5, 1.5, 10.5, 11.5, 20.5, 21.5};
    const npy_array array =
        read(npy_file(dictionary("<f8", fortran, "(3, 2)"), raw_bytes(stored)), options);
    EXPECT_EQ(array.n_columns, 1);
    EXPECT_THAT(elements<double>(array.values, 3), ElementsAre(0.5, 10.5, 20.5));
    EXPECT_THAT(elements<double>(array.weights, 3), ElementsAre(1.5, 11.5, 21.5));
  }
  npy_options options;
  options.weights_column = "w";
  EXPECT_EQ(
      error_text<usage_error>([&] {
        read(npy_file(dictionary("<f8", false, "(1, 2)"), raw_bytes<double>({1, 2})), options);
      }),
      "--weights-column: a.npy has no column named \"w\" (it has no header row)");
}

TEST(Npy, NaNIsAMissingValueOrRefusedWhereItStands) {
  constexpr double nan = std::numeric_limits<double>::quiet_NaN();
  // Fortran order: [1, 0] comes before [0, 1] in the file.
  const std::string file =
      npy_file(dictionary("<f8", true, "(2, 2)"), raw_bytes<double>({1, nan, nan, 4}));
  npy_options options;
  options.weights_column = "1";
  const npy_array array = read(file, options);
  EXPECT_EQ(array.missing_values, 1);
  EXPECT_EQ(array.missing_weights, 1);
  options.missing = missing_policy::error;
  EXPECT_EQ(error_text([&] { read(file, options); }), "a.npy: missing value (NaN) at [1, 0]");
}

TEST(NpyErrors, SayWhyTheFileCannotBeRead) {
  const std::string two = raw_bytes<double>({1, 2});
  const auto plain = [&](const char* shape, const std::string& data) {
    return npy_file(dictionary("<f8", false, shape), data);
  };
  const std::string only_floats = "(tessel reads float32 and float64: '<f4', '>f4', '<f8', '>f8')";
  const std::string malformed = "malformed .npy header: ";
  const std::vector<std::pair<std::string, std::string>> cases = {
      {"PK\x03\x04 not numpy", "not a .npy file (it does not start with \\x93NUMPY)"},
      {std::string("\x93NUMPY", 6), "truncated .npy header"},
      {std::string("\x93NUMPY\x01\x00\x10", 9), "truncated .npy header"},
      {std::string("\x93NUMPY\x01\x00\xff\x00{}", 12),
       "truncated .npy header: it announces 255 bytes, 2 are there"},
      {npy_file(dictionary("<f8", false, "(2,)"), two, 4),
       "unsupported .npy format version 4.0 (tessel reads 1.0, 2.0 and 3.0)"},
      {npy_file(dictionary("<i8", false, "(2,)"), two),
       "unsupported .npy element type '<i8' " + only_floats},
      {npy_file(dictionary("<c16", false, "(1,)"), two),
       "unsupported .npy element type '<c16' " + only_floats},
      {npy_file("{'descr': [('x', '<f8')], 'fortran_order': False, 'shape': (2,)}", two),
       malformed + "a structured dtype (a list of fields); tessel reads plain float32 or "
                   "float64 arrays"},
      {plain("(1, 1, 2)", two),
       "unsupported .npy shape (1, 1, 2): tessel reads 1-D and 2-D arrays"},
      {plain("()", two), "unsupported .npy shape (): tessel reads 1-D and 2-D arrays"},
      {plain("(0, 3)", ""), "empty .npy array (shape (0, 3))"},
      {plain("(3,)", two), "truncated .npy data: shape (3,) needs 24 bytes, 16 are there"},
      {plain("(4294967296, 4294967296)", two), ".npy shape (4294967296, 4294967296) is too large"},
      {plain("(99999999999999999999,)", two), malformed + "an extent of the shape is too large"},
      {npy_file("{'descr': '<f8', 'shape': (2,)}", two),
       malformed + "no valid 'fortran_order' entry"},
      {npy_file("{'descr': '<f8', 'fortran_order': 0, 'shape': (2,)}", two),
       malformed + "unexpected value at byte 34 of the header"},
      {npy_file("{'descr': '<f8' 'fortran_order': False}", two),
       malformed + "expected '}' at byte 16 of the header"},
      {npy_file("{'descr': '<f8", two), malformed + "unterminated string"}};
  for (const auto& [bytes, message] : cases) {
    EXPECT_EQ(read_error(bytes), "a.npy: " + message);
  }
  npy_options single;
  single.type = element_type::f32;
  EXPECT_EQ(error_text([&] {
              read(plain("(1, 2)", raw_bytes<double>({1, 1e300})), single);
            }),
            "a.npy: value 1e+300 at [0, 1] is out of range for float");
}

std::vector<double> widened(const std::vector<float>& values) {
  return {values.begin(), values.end()};
}

// Files of every kind that numpy itself writes (a ctest fixture runs make_npy.py), read in the
// stored type and in each of the two, so that the reader is checked against the real writer and not
// only against this file's idea of it.
TEST(NpyFromNumpy, EveryKindNumpyWritesInEitherType) {
  const char* const folder = std::getenv("TESSEL_NPY_FIXTURES");
  ASSERT_NE(folder, nullptr) << "run through ctest, which makes the numpy files first";
  std::ifstream listing(std::string(folder) + "/expected.txt");
  ASSERT_TRUE(listing) << "no " << folder << "/expected.txt";
  int files = 0;
  for (std::string line; std::getline(listing, line); ++files) {
    // name rows columns fortran then the values as C-order doubles
    std::istringstream fields(line);
    std::string name;
    std::int64_t rows = 0, columns = 0;
    int fortran = 0;
    fields >> name >> rows >> columns >> fortran;
    std::vector<double> expected;
    for (double value; fields >> value;) {
      expected.push_back(value);
    }
    SCOPED_TRACE(name);
    const mapped_file file(std::string(folder) + "/" + name);
    const element_type stored =
        name.find("f4") != std::string::npos ? element_type::f32 : element_type::f64;
    EXPECT_EQ(read(std::string(file.text())).type, stored);
    for (const element_type type : {element_type::f32, element_type::f64}) {
      npy_options options;
      options.type = type;
      const npy_array array = read(std::string(file.text()), options);
      ASSERT_EQ(array.n_rows, rows);
      ASSERT_EQ(array.n_columns, columns);
      EXPECT_EQ(array.fortran_order, fortran == 1);
      const std::vector<double> got = type == element_type::f64
                                          ? elements<double>(array.values, rows * columns)
                                          : widened(elements<float>(array.values, rows * columns));
      for (std::int64_t r = 0; r < rows; ++r) {
        for (std::int64_t c = 0; c < columns; ++c) {
          const double want = expected[static_cast<std::size_t>(r * columns + c)];
          EXPECT_EQ(
              got[static_cast<std::size_t>(fortran ? r + c * rows : r * columns + c)],
              type == element_type::f64 ? want : static_cast<double>(static_cast<float>(want)));
        }
      }
    }
  }
  EXPECT_GE(files, 25);
}

}  // namespace
}  // namespace tessel::test
