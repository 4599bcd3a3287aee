#include "host/live/live_statistics.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>

using mien::LatencyHistogram;

TEST(LatencyHistogram, QuantilesAreAtMostAnEighthOfAnOctaveTooLarge) {
  LatencyHistogram latency;
  for (int i = 1; i <= 1000; ++i) latency.Add(i * 1e-5);
  EXPECT_EQ(latency.Total(), 1000u);
  EXPECT_GE(latency.Quantile(0.5), 500e-5);
  EXPECT_LE(latency.Quantile(0.5), 500e-5 * 1.0906);
  EXPECT_GE(latency.Quantile(0.99), 990e-5);
  EXPECT_LE(latency.Quantile(0.99), 990e-5 * 1.0906);
}

TEST(LatencyHistogram, TakesAnyNumber) {
  LatencyHistogram latency;
  EXPECT_EQ(latency.Quantile(0.5), 0);
  for (const double seconds : {0.0, -1.0, 1e300, std::numeric_limits<double>::infinity(), std::nan("")})
    latency.Add(seconds);
  EXPECT_EQ(latency.Total(), 4u) << "without the NaN";
  EXPECT_EQ(latency.Quantile(0.5), 1e-6);
  EXPECT_GT(latency.Quantile(1), 60);
}
