#include "csv_reader.hpp"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <map>
#include <tuple>

#include "csv_chunks.hpp"
#include "tool_test_support.hpp"

namespace tessel::test {
namespace {

using ::testing::ElementsAre;

csv_table parse(std::string_view text, csv_options options = {}) {
  progress silent;
  return parse_csv(text, "t.csv", options, heap(), silent);
}

std::vector<double> cells(const csv_table& table) {
  return elements<double>(table.cells, table.n_rows * table.n_columns);
}

std::string parse_error(std::string_view text, csv_options options = {}) {
  return error_text([&] { parse(text, options); });
}

// Default options with one field set.
template <auto Field, class Value>
csv_options with(Value value) {
  csv_options options;
  options.*Field = value;
  return options;
}

TEST(CsvShape, HeaderDelimiterAndQuotes) {
  const csv_table table = parse("a,b\n1,2\n3,4\n");
  EXPECT_THAT(table.names, ElementsAre("a", "b"));
  EXPECT_THAT(cells(table), ElementsAre(1, 2, 3, 4));
  // A header is a first row with a cell that is neither a number nor missing.
  EXPECT_THAT(parse("year,2019\n1,2\n").names, ElementsAre("year", "2019"));
  EXPECT_TRUE(parse("1,,NA\n3,4,5\n").names.empty());
  EXPECT_THAT(parse("1,2\n3,4\n", with<&csv_options::header>(header_mode::present)).names,
              ElementsAre("1", "2"));
  EXPECT_THAT(parse("\"a,b\",\"say \"\"hi\"\"\",\"two\nlines\"\n1,2,3\n").names,
              ElementsAre("a,b", "say \"hi\"", "two\nlines"));
  EXPECT_EQ(parse("a;b;c\n1;2;3\n").delimiter, ';');
  EXPECT_EQ(parse("a\tb\n1\t2\n").delimiter, '\t');
  EXPECT_EQ(parse("\"a;b;c\",d\n1,2\n").delimiter, ',');  // delimiters in quotes do not count
  EXPECT_THAT(parse("a,x;b\n1;2\n", with<&csv_options::delimiter>(';')).names,
              ElementsAre("a,x", "b"));
  EXPECT_THAT(cells(parse("\xef\xbb\xbfx,y\r\n1 , 2\r\n\r\n\n  \"3\",+4\r\n")),
              ElementsAre(1, 2, 3, 4));
}

TEST(CsvShape, NumbersAreCorrectlyRoundedForTheirType) {
  const csv_table single =
      parse("0.1,16777217,1e-45,-inf\n", with<&csv_options::type>(element_type::f32));
  EXPECT_THAT(elements<float>(single.cells, 4),
              ElementsAre(0.1f, 16777216.0f, std::numeric_limits<float>::denorm_min(),
                          -std::numeric_limits<float>::infinity()));
  const std::vector<double> values = cells(parse("0.1,1e-400,nan,2.5E+3\n"));
  EXPECT_EQ(values[0], 0.1);
  EXPECT_EQ(values[1], 0.0);  // underflow rounds to zero, it is no error
  EXPECT_TRUE(std::isnan(values[2]));
  EXPECT_EQ(values[3], 2500.0);
}

TEST(CsvMissing, MarkersBecomeNaNAndAreCountedApartFromWeights) {
  const csv_table table = parse(
      "a,b\nNA,1\nN/A,2\nn/a,3\n#N/A,4\n<NA>,5\nnull,6\nNULL,7\nNone,8\nnan,9\n-NaN,10\n,11\n"
      "\"\",12\n\"NA\",13\n");
  EXPECT_EQ(table.n_rows, 13);
  EXPECT_EQ(table.missing_cells, 13);
  const std::vector<double> values = cells(table);
  for (std::size_t row = 0; row < 13; ++row) {
    EXPECT_TRUE(std::isnan(values[2 * row])) << row;
    EXPECT_EQ(values[2 * row + 1], static_cast<double>(row + 1));
  }
  const csv_table data = parse("NA,1\n2,\n", with<&csv_options::weights_column>("0"));
  EXPECT_TRUE(data.names.empty());
  EXPECT_EQ(data.missing_weights, 1);
  EXPECT_EQ(data.missing_cells, 1);
}

TEST(CsvErrors, EveryMessageNamesFileLineAndColumn) {
  const csv_options absent = with<&csv_options::header>(header_mode::absent);
  const csv_options single = with<&csv_options::type>(element_type::f32);
  const csv_options strict = with<&csv_options::missing>(missing_policy::error);
  const std::vector<std::tuple<std::string, csv_options, std::string>> cases = {
      {"", {}, "1:1: empty file"},
      {"\n \n\r\n", {}, "1:1: empty file"},
      {"a,b\n", {}, "2:1: no data rows after the header"},
      {"x,y\n1,2\n", absent, "1:1: non-numeric cell \"x\""},
      {"a,b\n1,2\n3,1.5.2\n", {}, "3:3: non-numeric cell \"1.5.2\""},
      {"a;b\n1,5;2\n",
       {},
       "2:1: non-numeric cell \"1,5\" (tessel reads decimal points, not decimal commas)"},
      {"\"a\",\"two\nlines\"\n1,2\n4,x\n", {}, "4:3: non-numeric cell \"x\""},
      {"a,b\n1,2,3,4\n", {}, "2:5: ragged row: 4 cells where line 1 has 2"},
      {"a,b,c\n1,2,3\n1,2\n", {}, "3:4: ragged row: 2 cells where line 1 has 3"},
      // Too short to be a whole row, so no room was made for it (found by the fuzz target).
      {"a,b,c\ninf", {}, "2:4: ragged row: 1 cells where line 1 has 3"},
      {"1,2\n3,\"4\n", {}, "2:3: unterminated quoted cell"},
      {"1,2\n3,\"4\"x\n", {}, "2:6: unexpected \"x\" after a closing quote"},
      {"1,2\n1,\"2\"\"\"\n", {}, "2:3: non-numeric cell \"2\\x22\\x22\""},
      {"1\n" + std::string(100, 'z') + "\n",
       {},
       "2:1: non-numeric cell \"" + std::string(40, 'z') + "\"..."},
      {std::string("1\n\x01\xff\n", 5), {}, "2:1: non-numeric cell \"\\x01\\xff\""},
      {"1\n1e39\n", single, "2:1: number \"1e39\" is out of range for float"},
      {"1\n-1e309\n", {}, "2:1: number \"-1e309\" is out of range for double"},
      {"a,b\n1,\n", strict, "2:3: empty cell"},
      {"a,b\n1,2\n NA ,4\n", strict, "3:2: missing value \"NA\""},
      {"a,b\n1,nan\n", strict, "2:3: missing value \"nan\""}};
  for (const auto& [text, options, message] : cases) {
    EXPECT_EQ(parse_error(text, options), "t.csv:" + message);
  }
}

TEST(CsvWeightsColumn, ByNameOrNumberAndNoLongerADimension) {
  const csv_table table = parse("x,w,y\n1,10,2\n3,30,4\n", with<&csv_options::weights_column>("w"));
  EXPECT_THAT(table.names, ElementsAre("x", "y"));
  EXPECT_THAT(cells(table), ElementsAre(1, 2, 3, 4));
  EXPECT_THAT(elements<double>(table.weights, 2), ElementsAre(10, 30));
  const csv_table headerless = parse("5,1,2\n6,3,4\n", with<&csv_options::weights_column>("0"));
  EXPECT_THAT(cells(headerless), ElementsAre(1, 2, 3, 4));
  EXPECT_THAT(elements<double>(headerless.weights, 2), ElementsAre(5, 6));
  const std::vector<std::tuple<std::string, std::string, std::string>> refused = {
      {"x,y\n1,2\n", "w", "no column named \"w\""},
      {"1,2\n", "w", "no column named \"w\" (it has no header row)"},
      {"1,2\n", "2", "no column 2 (it has 2, counted from 0)"},
      {"1\n2\n", "0", "only that column, no dimension would be left"}};
  for (const auto& [text, column, message] : refused) {
    EXPECT_EQ(
        error_text<usage_error>([&] { parse(text, with<&csv_options::weights_column>(column)); }),
        "--weights-column: t.csv has " + message);
  }
}

// Counts what the parser asks for.
struct recording_resource : std::pmr::memory_resource {
  std::size_t allocations = 0, bytes = 0, largest = 0;
  void* do_allocate(std::size_t size, std::size_t alignment) override {
    ++allocations;
    bytes += size;
    largest = std::max(largest, size);
    return heap().allocate(size, alignment);
  }
  void do_deallocate(void* p, std::size_t size, std::size_t alignment) override {
    heap().deallocate(p, size, alignment);
  }
  bool do_is_equal(const memory_resource& other) const noexcept override { return this == &other; }
};

// The cells once, no second copy of the data; and since a row of n cells takes n bytes at least, no
// more than a double per byte of text, however many blank lines there are.
TEST(CsvMemory, OneAllocationSizedByTheRowsThatCanBeThere) {
  std::string text = "a,b,c\n";
  for (int row = 0; row < 1000; ++row) {
    text += "1,2,3\n";
  }
  recording_resource recorded;
  progress silent;
  EXPECT_EQ(parse_csv(text, "t.csv", {}, recorded, silent).n_rows, 1000);
  EXPECT_EQ(recorded.allocations, 1u);
  EXPECT_EQ(recorded.bytes, 1000u * 3 * sizeof(double));
  std::string wide;
  for (int column = 0; column < 500; ++column) {
    wide += "c" + std::to_string(column) + ",";
  }
  wide += "last\n" + std::string(10000, '\n');
  recording_resource blank;
  EXPECT_THROW(parse_csv(wide, "t.csv", {}, blank, silent), data_error);
  EXPECT_LE(blank.largest, sizeof(double) * wide.size());
}

// Read in chunks of a few bytes on three threads, a text gives the table or the first error it
// gives read whole: chunk starts fall inside quoted cells, between "\r" and "\n", in blank lines
// and at the last row.
using chunking = std::tuple<std::string, std::size_t>;

class CsvChunks : public ::testing::TestWithParam<chunking> {};

struct read_outcome {
  std::vector<double> values;  // the cells, then the weights
  std::int64_t rows = 0, missing = 0;
  std::string error;
  bool operator==(const read_outcome& other) const {
    return error == other.error && rows == other.rows && missing == other.missing &&
           std::equal(
               values.begin(), values.end(), other.values.begin(), other.values.end(),
               [](double a, double b) { return a == b || (std::isnan(a) && std::isnan(b)); });
  }
};

read_outcome read_in_chunks(const std::string& text, std::size_t chunk_bytes) {
  csv_options options = with<&csv_options::threads>(3u);
  options.chunk_bytes = chunk_bytes;
  if (text.starts_with("w,")) {
    options.weights_column = "w";
  }
  read_outcome outcome;
  outcome.error = error_text([&] {
    const csv_table table = parse(text, options);
    outcome.values = cells(table);
    for (const double weight :
         elements<double>(table.weights, table.weights.empty() ? 0 : table.n_rows)) {
      outcome.values.push_back(weight);
    }
    outcome.rows = table.n_rows;
    outcome.missing = table.missing_cells + table.missing_weights;
  });
  return outcome;
}

TEST_P(CsvChunks, GiveWhatTheWholeTextGives) {
  const auto& [text, chunk_bytes] = GetParam();
  EXPECT_TRUE(read_in_chunks(text, chunk_bytes) == read_in_chunks(text, text.size() + 1));
}

// The plan alone, since a chunk that starts amiss is read again whole and the table hides it: every
// chunk starts where a row starts, on its line, as one reading of the quotes from the start finds.
TEST_P(CsvChunks, StartWhereRowsStart) {
  const auto& [text, chunk_bytes] = GetParam();
  std::map<std::size_t, std::int64_t> row_starts{{0, 1}};
  bool quoted = false;
  std::int64_t line = 1;
  for (std::size_t k = 0; k < text.size(); ++k) {
    quoted = quoted != (text[k] == '"');
    line += text[k] == '\n';
    if (text[k] == '\n' && !quoted) {
      row_starts[k + 1] = line;
    }
  }
  for (const csv_chunk& chunk : plan_chunks(text, 0, 1, 2, chunk_bytes, 3)) {
    ASSERT_TRUE(row_starts.contains(chunk.begin)) << chunk.begin;
    EXPECT_EQ(chunk.line, row_starts.at(chunk.begin)) << chunk.begin;
  }
}

INSTANTIATE_TEST_SUITE_P(
    All, CsvChunks,
    ::testing::Combine(
        ::testing::Values("x,y\n1,2\n3,4\n5,6",                               // last row unended
                          "a;b\r\n\r\n1;2\r\n\r\n \"3\" ; 4\r\n\r\n5;6\r\n",  // blank lines, quotes
                          "\"two\nlines\",\"b,\"\"c\"\"\"\n1,2\n3,4\n",       // quoted header
                          "a,b,c\n1,,3\nNA,5,6\n,,\n7,8,null\n",              // missing values
                          "w,x\n1,2\nNA,4\n5,6\n",                            // weights column
                          "a,b\n1,2\n3,4\n5,\"6\n7\",8\n9,10\n",              // quoted line break
                          "a,b\n1,2\n3,4\"\n5,6\n7,8\n",                      // stray quote
                          "a,b\n1,2\n3,\"4\n5,6\n",                           // unterminated quote
                          "a,b\n1,2\n3,4\n5\n6,7\n8,9,10\n",                  // ragged rows
                          "a,b\n1,2\n3,4\n5,x\n6,7\n8,y\n"),                  // non-numeric cells
        ::testing::Values(1, 2, 3, 5, 8, 13)));

}  // namespace
}  // namespace tessel::test
