#include "order_statistics.hpp"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <limits>
#include <numeric>
#include <random>
#include <vector>

namespace tessel::test {
namespace {

template <class T>
order_statistics of(const std::vector<T>& values, unsigned workers = 2) {
  const column_set<T> set{values.data(), values.size(), 1, {0}};
  return find_order_statistics<T>({set}, workers).front();
}

void expect_order(const order_statistics& found, double min, double q1, double median, double q3,
                  double max) {
  EXPECT_EQ(found.min, min);
  EXPECT_EQ(found.q1, q1);
  EXPECT_EQ(found.median, median);
  EXPECT_EQ(found.q3, q3);
  EXPECT_EQ(found.max, max);
}

// Ranks q (n - 1) with linear interpolation, as pandas' describe shows them.
TEST(OrderStatistics, QuartilesWorkedByHand) {
  expect_order(of<double>({4, 1, 3, 2}), 1, 1.75, 2.5, 3.25, 4);
  expect_order(of<double>({3, 1, 2}), 1, 1.5, 2, 2.5, 3);
  expect_order(of<float>({-7.5f}), -7.5, -7.5, -7.5, -7.5, -7.5);
  expect_order(of<double>({10, 0, 0, 10, 0}), 0, 0, 0, 10, 10);
  expect_order(of<double>({1, 2, 4, 8, 16, 32}), 1, 2.5, 6, 14, 32);
  const order_statistics none = of<double>({});
  EXPECT_TRUE(std::isnan(none.min) && std::isnan(none.median) && std::isnan(none.max));
}

// Columns long enough to be swept through windows around the quartiles, with ranks known by
// construction: the values 0 to n - 1 in any order have the value r at rank r.
template <class T>
void check_large(unsigned workers) {
  const std::size_t n = 300001;  // q (n - 1) falls on whole ranks
  std::vector<T> values(n);
  std::iota(values.begin(), values.end(), T{0});
  std::shuffle(values.begin(), values.end(), std::mt19937_64(3));
  expect_order(of(values, workers), 0, 75000, 150000, 225000, 300000);
  std::sort(values.begin(), values.end());
  values.pop_back();  // n - 1 = 299999: quartiles a quarter, a half, three quarters past a rank
  expect_order(of(values, workers), 0, 74999.75, 149999.5, 224999.25, 299999);
  // Ties across the windows, and infinities at both ends.
  std::fill(values.begin(), values.begin() + 180000, T{0});
  std::fill(values.begin() + 180000, values.end(), T{1});
  values.front() = -std::numeric_limits<T>::infinity();
  values.back() = std::numeric_limits<T>::infinity();
  std::shuffle(values.begin(), values.end(), std::mt19937_64(4));
  const order_statistics ties = of(values, workers);
  expect_order(ties, -std::numeric_limits<double>::infinity(), 0, 0, 1,
               std::numeric_limits<double>::infinity());
}

TEST(OrderStatistics, LargeColumnsOnOneOrSeveralThreads) {
  for (const unsigned workers : {1u, 3u}) {
    check_large<double>(workers);
    check_large<float>(workers);
  }
}

}  // namespace
}  // namespace tessel::test
