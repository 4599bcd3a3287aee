#include "host/base/monotone_cubic.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <vector>

using mien::MonotoneCubic;

TEST(MonotoneCubic, GoesThroughItsValuesAndALineStaysOne) {
  const std::vector<double> times = {0, 1, 3, 4};
  const MonotoneCubic line(times, {0, 0.25, 0.75, 1});
  EXPECT_EQ(line.At(1, 1), 0.25);
  EXPECT_EQ(line.At(4, 3), 1);
  EXPECT_NEAR(line.At(2, 1), 0.5, 1e-15);
}

TEST(MonotoneCubic, DoesNotOvershoot) {
  const std::vector<double> times = {0, 1, 2, 3};
  const MonotoneCubic step(times, {0, 0, 1, 1});
  for (double t = 0; t <= 1; t += 1.0 / 64) {
    EXPECT_EQ(step.At(t, 0), 0);
    EXPECT_GE(step.At(1 + t, 1), 0);
    EXPECT_LE(step.At(1 + t, 1), 1);
  }
}

TEST(MonotoneCubic, IsMissingOnlyBesideAMissingValue) {
  const std::vector<double> times = {0, 1, 2, 3, 4};
  for (std::size_t missing = 0; missing < 5; ++missing) {
    std::vector<double> values = {0, 0.5, 0.25, 1, 0.75};
    values[missing] = std::numeric_limits<double>::quiet_NaN();
    const MonotoneCubic curve(times, values);
    for (std::size_t i = 0; i < 4; ++i)
      EXPECT_EQ(std::isnan(curve.At(static_cast<double>(i) + 0.5, i)), i == missing || i + 1 == missing)
          << missing << ' ' << i;
  }
}

TEST(MonotoneCubic, OfOneValueIsThat) {
  const std::vector<double> times = {3};
  EXPECT_EQ(MonotoneCubic(times, {0.5}).At(3, 0), 0.5);
}
