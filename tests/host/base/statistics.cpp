#include "host/base/statistics.h"

#include "tests/host/same_bits.h"
#include "tests/random.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <functional>
#include <limits>
#include <vector>

namespace {

double Median(std::vector<double> values) { return mien::Median(values); }
double Quantile(std::vector<double> values, double fraction) { return mien::Quantile(values, fraction); }

} // namespace

TEST(Mean, IsTheSumOverTheCount) {
  EXPECT_EQ(mien::Mean({3}), 3);
  EXPECT_EQ(mien::Mean({1, 2, 6}), 3);
  EXPECT_EQ(mien::Mean({1e16, 1, -1e16}), 0) << "added in their order";
}

TEST(Median, IsTheMiddleValueOrTheMeanOfTheMiddleTwo) {
  EXPECT_EQ(Median({7}), 7);
  EXPECT_EQ(Median({7, 2}), 4.5);
  std::vector<double> values = {1, 2, 4};
  do EXPECT_EQ(Median(values), 2);
  while (std::next_permutation(values.begin(), values.end()));
  values = {1, 2, 4, 8, 16, 16};
  do EXPECT_EQ(Median(values), 6);
  while (std::next_permutation(values.begin(), values.end()));
}

TEST(Quantile, IsTheLowerValueWhereItFallsBetweenTwo) {
  for (const double fraction : {0.0, 0.5, 1.0}) EXPECT_EQ(Quantile({3}, fraction), 3);
  const std::vector<double> values = {50, 20, 40, 10, 30};
  EXPECT_EQ(Quantile(values, 0), 10);
  EXPECT_EQ(Quantile(values, 0.24), 10);
  EXPECT_EQ(Quantile(values, 0.25), 20);
  EXPECT_EQ(Quantile(values, 0.5), 30);
  EXPECT_EQ(Quantile(values, 0.99), 40);
  EXPECT_EQ(Quantile(values, 1), 50);
}

TEST(Percentile, IsInterpolatedWhereItFallsBetweenTwoValues) {
  std::vector<double> one = {3}, values = {50, 20, 40, 10, 30};
  for (const double fraction : {0.0, 0.5, 1.0}) EXPECT_EQ(mien::Percentile(one, fraction), 3);
  EXPECT_EQ(mien::Percentile(values, 0), 10);
  EXPECT_EQ(mien::Percentile(values, 0.125), 15);
  EXPECT_EQ(mien::Percentile(values, 0.25), 20);
  EXPECT_EQ(mien::Percentile(values, 0.8125), 42.5);
  EXPECT_EQ(mien::Percentile(values, 1), 50);
}

namespace {

/// What all three are by definition.
void ExpectThoseOf(const std::vector<double>& values, const char* which) {
  std::vector<double> sorted = values;
  std::sort(sorted.begin(), sorted.end());
  const std::size_t last = sorted.size() - 1;
  EXPECT_EQ(Median(values), last % 2 == 0 ? sorted[last / 2] : (sorted[last / 2] + sorted[last / 2 + 1]) / 2)
      << which << ' ' << values.size();
  for (const double fraction : {0.0, 0.001, 0.05, 0.3, 0.5, 0.55, 0.8, 0.99, 1.0}) {
    const double rank = fraction * static_cast<double>(last);
    const auto below = static_cast<std::size_t>(rank);
    const double at = sorted[below], next = sorted[std::min(below + 1, last)];
    EXPECT_EQ(Quantile(values, fraction), at) << which << ' ' << values.size() << ' ' << fraction;
    std::vector<double> copy = values;
    EXPECT_TRUE(tests::SameBits(mien::Percentile(copy, fraction),
                                at + (rank - static_cast<double>(below)) * (next - at)))
        << which << ' ' << values.size() << ' ' << fraction;
  }
}

} // namespace

// Lists above and below the length from which the values are selected from between two bounds.
TEST(Median, OfLongListsIsThatOfTheSortedList) {
  tests::Random random(7);
  const auto list_of = [](std::size_t size, const std::function<double(double)>& value) {
    std::vector<double> values(size);
    for (std::size_t i = 0; i < size; ++i) values[i] = value(static_cast<double>(i));
    return values;
  };
  for (const std::size_t size : {4095u, 4096u, 4097u, 36000u}) {
    ExpectThoseOf(list_of(size, [&](double) { return random.Between(-5, 5); }), "noise");
    ExpectThoseOf(list_of(size, [](double i) { return i; }), "rising");
    ExpectThoseOf(list_of(size, [](double i) { return -i; }), "falling");
    ExpectThoseOf(list_of(size, [](double) { return 2.5; }), "constant");
    ExpectThoseOf(list_of(size, [](double i) { return std::fmod(i, 7); }), "repeating");
    ExpectThoseOf(list_of(size, [](double i) { return std::fmod(i, 100) < 95 ? 1 : i; }), "mostly equal");
    ExpectThoseOf(list_of(size, [&](double) { return std::pow(random.Between(-1, 1), 21) * 1e300; }), "wide");
    ExpectThoseOf(
        list_of(size, [&](double i) { return std::fmod(i, 2) == 0 ? 1 / i : -random.Between(1, 2); }),
        "half infinite or negative");
  }
}

// A list of zeros of both signs has a middle of the sign that a short list's would have: which one depends on
// their order.
TEST(Median, OfZerosOfBothSignsIsAZeroOfEither) {
  std::vector<double> values;
  for (int i = 0; i < 9001; ++i) values.push_back(i % 3 == 0 ? -0.0 : 0.0);
  std::vector<double> selected = values;
  std::nth_element(selected.begin(), selected.begin() + 4500, selected.end());
  const double median = Median(values);
  EXPECT_EQ(median, 0);
  EXPECT_EQ(std::signbit(median), std::signbit(selected[4500]));
}
