#include "host/base/statistics.h"

#include <gtest/gtest.h>

#include <algorithm>
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
