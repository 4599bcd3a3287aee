#include "host/live/one_euro.h"

#include <gtest/gtest.h>

#include <array>
#include <cmath>
#include <numbers>

using mien::OneEuroFilters;

TEST(OneEuroFilters, LeaveTheFirstFrameAndWhatStandsStill) {
  OneEuroFilters filters({.cutoff_hz = 1, .beta = 0}, 2);
  std::array<double, 2> values = {0.25, -3};
  filters.Apply(values, 0);
  EXPECT_EQ(values, (std::array<double, 2>{0.25, -3}));
  for (int f = 0; f < 10; ++f) {
    values = {0.25, -3};
    filters.Apply(values, 1.0 / 60);
    EXPECT_EQ(values, (std::array<double, 2>{0.25, -3}));
  }
}

// Without beta it is a low-pass filter of the first order: a ramp comes out later by its time constant.
TEST(OneEuroFilters, LagByTheirTimeConstant) {
  constexpr double kCutoff_hz = 2, kStep_s = 1.0 / 1000;
  OneEuroFilters filters({.cutoff_hz = kCutoff_hz, .beta = 0}, 1);
  std::array<double, 1> value{};
  double time_s = 0;
  for (int f = 0; f < 3000; ++f) {
    time_s = f * kStep_s;
    value = {time_s};
    filters.Apply(value, f == 0 ? 0 : kStep_s);
  }
  EXPECT_NEAR(time_s - value[0], 1 / (2 * std::numbers::pi * kCutoff_hz), 1e-9); // 80 ms
}

TEST(OneEuroFilters, LagLessWhereTheValueMovesFast) {
  constexpr double kStep_s = 1.0 / 60;
  OneEuroFilters slow({.cutoff_hz = 1, .beta = 0}, 1), quick({.cutoff_hz = 1, .beta = 2}, 1);
  std::array<double, 1> a{}, b{};
  for (int f = 0; f <= 60; ++f) {
    a = b = {4.0 * f * kStep_s};
    slow.Apply(a, f == 0 ? 0 : kStep_s);
    quick.Apply(b, f == 0 ? 0 : kStep_s);
  }
  EXPECT_LT(a[0], b[0]);
  EXPECT_LT(4 - b[0], 0.25 * (4 - a[0]));
}

TEST(OneEuroFilters, BeginAnewAfterARestart) {
  OneEuroFilters filters({.cutoff_hz = 0.1, .beta = 0}, 1);
  std::array<double, 1> value = {0};
  filters.Apply(value, 0);
  filters.Restart();
  value = {1};
  filters.Apply(value, 1.0 / 60);
  EXPECT_EQ(value[0], 1);
}
