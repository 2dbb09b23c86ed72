#include "format.hpp"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cmath>
#include <limits>

#include <nlohmann/json.hpp>

namespace tessel::test {
namespace {

describe_result two_dimensions(element_type type) {
  describe_result result;
  result.source = "d.csv";
  result.device = "host cpu";
  result.type = type;
  result.n_observations = 3;
  result.n_dims = 2;
  for (std::int64_t d = 0; d < 2; ++d) {
    dimension_summary summary;
    summary.index = d;
    summary.name = d == 0 ? "height" : "w";
    for (std::size_t s = 0; s < all_statistics.size(); ++s) {
      summary.values[s] = static_cast<double>(s) + 0.25 * static_cast<double>(d);
    }
    summary[statistic::count] = 3;
    result.dimensions.push_back(summary);
  }
  return result;
}

TEST(FormatValue, RoundTripTextOrSignificantDigits) {
  describe_result result = two_dimensions(element_type::f32);
  dimension_summary dimension;
  dimension[statistic::mean] = static_cast<double>(0.1f);
  dimension[statistic::count] = 12345678901.0;
  EXPECT_EQ(format_value(result, dimension, statistic::mean), "0.1");
  EXPECT_EQ(format_value(result, dimension, statistic::mean, 12), "0.10000000149");
  EXPECT_EQ(format_value(result, dimension, statistic::count, 3), "12345678901");
  result.type = element_type::f64;
  EXPECT_EQ(format_value(result, dimension, statistic::mean), "0.10000000149011612");
  dimension[statistic::mean] = 1.0 / 3.0;
  EXPECT_EQ(format_value(result, dimension, statistic::mean), "0.3333333333333333");
  EXPECT_EQ(format_value(result, dimension, statistic::mean, 6), "0.333333");
  dimension[statistic::mean] = -std::numeric_limits<double>::infinity();
  EXPECT_EQ(format_value(result, dimension, statistic::mean, 6), "-inf");
}

TEST(FormatTable, StatisticsAsRowsDimensionsAlignedOnTheDecimalPoint) {
  describe_result result = two_dimensions(element_type::f64);
  result.method = compute_method::about_mean;
  result.missing_values = 4;
  const double column[] = {3, 1234.56789, 0.000123456, -2, 1e+20, 0.5, 6, 7, 8, 9, 10, 11};
  const std::vector<statistic_info> rows = result.statistics();
  for (std::size_t k = 0; k < rows.size(); ++k) {
    result.dimensions[0][rows[k].id] = column[k];
  }
  result.dimensions[1][statistic::skewness] = std::numeric_limits<double>::quiet_NaN();
  const std::string expected =
      "d.csv: 3 observations of 2 dimensions, double in col_major, on host cpu\n"
      "computed: the mean first, then sums of deviations from it\n"
      "missing: 4 values, left out of their dimensions\n"
      "\n"
      "                   height       w\n"
      "count         3              3\n"
      "mean       1234.57           1.25\n"
      "variance      0.000123456    3.25\n"
      "std dev      -2              4.25\n"
      "variation     1e+20          5.25\n"
      "skewness      0.5          nan\n"
      "kurtosis      6              7.25\n"
      "min           7              8.25\n"
      "25%           8              9.25\n"
      "50%           9             10.25\n"
      "75%          10             11.25\n"
      "max          11             12.25\n";
  EXPECT_EQ(format_table(result, 0, 6), expected);
  EXPECT_THAT(format_table(result, 0, 0), ::testing::HasSubstr("\nmean       1234.56789   "));
}

TEST(FormatTable, WideTablesGoOnInBlocks) {
  describe_result result = two_dimensions(element_type::f64);
  result.weights = "w.csv";
  result.user_mean = "m.csv";
  const std::string text = format_table(result, 20, 6);
  EXPECT_THAT(text, ::testing::HasSubstr("computed: the library's central moments\n"
                                         "weights: w.csv\n"
                                         "central statistics about the user mean from m.csv\n"
                                         "\n"
                                         "           height\n"
                                         "count           3\n"
                                         "mean            1\n"
                                         "user mean       2\n"));
  EXPECT_THAT(text, ::testing::HasSubstr("max            12\n"
                                         "\n"
                                         "               w\n"
                                         "count       3\n"
                                         "mean        1.25\n"));
  result.dimensions.clear();
  EXPECT_THAT(format_table(result, 0, 6), ::testing::EndsWith("no dimension selected\n"));
}

TEST(FormatCsv, OneRowPerDimensionWithEveryStatisticUnderAll) {
  describe_result result = two_dimensions(element_type::f64);
  result.all = true;
  result.dimensions[1].name = "a,\"b\"";
  const std::string text = format_csv(result);
  const std::string header = text.substr(0, text.find('\n'));
  EXPECT_EQ(header,
            "index,name,count,mean,variance,std_dev,variation,skewness,kurtosis,min,q1,median,q3,"
            "max,raw_sum,raw_sum2,raw_sum3,raw_sum4,raw_moment2,raw_moment3,raw_moment4,"
            "central_sum2,central_sum3,central_sum4,central_moment3,central_moment4");
  EXPECT_THAT(text, ::testing::HasSubstr("\n0,height,3,1,3,4,5,6,7,8,9,10,11,12,13,14,15,16,17,18,"
                                         "19,20,21,22,23,24\n"));
  EXPECT_THAT(text, ::testing::HasSubstr("\n1,\"a,\"\"b\"\"\",3,1.25,"));
}

TEST(FormatJson, ParsesAndCarriesEveryNumberExactly) {
  describe_result result = two_dimensions(element_type::f32);
  result.dimensions[0][statistic::mean] = static_cast<double>(0.1f);
  result.dimensions[0][statistic::skewness] = std::numeric_limits<double>::quiet_NaN();
  result.dimensions[1].name = "bad \xff utf-8";
  result.weights = "column 2 of d.csv";
  const nlohmann::json document = nlohmann::json::parse(format_json(result));
  EXPECT_EQ(document["type"], "float");
  EXPECT_EQ(document["weights_from"], "column 2 of d.csv");
  EXPECT_TRUE(document["user_mean_from"].is_null());
  const nlohmann::json& first = document["dimensions"][0];
  EXPECT_TRUE(first["count"].is_number_integer());
  EXPECT_EQ(first["mean"].get<double>(), 0.1);  // the float's shortest text, not its double
  EXPECT_TRUE(first["skewness"].is_null());
  EXPECT_FALSE(first.contains("user_mean") || first.contains("raw_sum"));
  EXPECT_EQ(document["dimensions"][1]["name"], "bad \xef\xbf\xbd utf-8");
  // Doubles carry every digit.
  result.type = element_type::f64;
  result.all = true;
  double value = 1.0 / 3.0;
  for (const statistic_info& s : result.statistics()) {
    result.dimensions[0][s.id] = s.id == statistic::count ? 3 : value;
    value = value * -37.1 + 1.0 / 7.0;
  }
  const nlohmann::json doubles = nlohmann::json::parse(format_json(result));
  for (const statistic_info& s : result.statistics()) {
    EXPECT_EQ(doubles["dimensions"][0][std::string(s.key)].get<double>(),
              result.dimensions[0][s.id])
        << s.key;
  }
}

}  // namespace
}  // namespace tessel::test
