#include "host/compare/differences.h"

#include "tests/host/compare/recordings.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <numbers>

using mien::Curve;
using mien::CurveDifference;
using mien::Difference;
using mien::Size;

namespace {

constexpr double kNone = std::numeric_limits<double>::quiet_NaN();

CurveDifference Differ(const std::vector<double>& a, const std::vector<double>& b,
                       const std::string& unit = "") {
  return Difference({"G", "a", unit, a}, {"G", "b", unit, b}, Frames(a.size()).frames, {30, 1});
}

/// A face's weight over ten seconds at 30 Hz: without a period, and smooth.
double Smile(double frame) {
  const double t = frame / 30;
  return 0.5 + 0.2 * std::sin(2.1 * t) + 0.15 * std::sin(5.3 * t + 1) + 0.1 * std::sin(11 * t + 2);
}

/// With B later by so many frames.
CurveDifference Shifted(double frames, double scale = 1, double noise = 0) {
  std::vector<double> a, b;
  for (int f = 0; f < 300; ++f) {
    a.push_back(Smile(f));
    b.push_back(scale * Smile(f - frames) + noise * ((f * 7919) % 13 - 6) / 6);
  }
  return Differ(a, b);
}

} // namespace

TEST(Difference, OfACurveAndItselfIsNothing) {
  const CurveDifference same = Shifted(0);
  EXPECT_EQ(same.compared, 300U);
  EXPECT_EQ(same.largest, 0);
  EXPECT_EQ(same.rms, 0);
  EXPECT_EQ(same.correlation, 1);
  EXPECT_EQ(same.lag_frames, 0);
}

TEST(Difference, OfAScaledCopyIsExact) {
  const CurveDifference scaled = Differ({0, 0.25, 0.5, 1, 0.5}, {0, 0.5, 1, 2, 1});
  EXPECT_EQ(scaled.largest, 1);
  EXPECT_EQ(scaled.largest_frame, 3U);
  EXPECT_EQ(scaled.rms, std::sqrt((0.0625 + 0.25 + 1 + 0.25) / 5));
  EXPECT_DOUBLE_EQ(scaled.correlation.value(), 1);
}

TEST(Difference, FindsALagToATenthOfAFrame) {
  for (const double lag : {-14.0, -3.7, -0.5, 0.0, 0.25, 2.0, 7.5, 13.0}) {
    for (const double scale : {1.0, 0.6}) {
      EXPECT_NEAR(Shifted(lag, scale).lag_frames.value_or(99), lag, 0.1) << scale;
      EXPECT_NEAR(Shifted(lag, scale, 0.01).lag_frames.value_or(99), lag, 0.1) << scale;
    }
  }
  EXPECT_EQ(Shifted(3).lag_frames, 3); // a copy
}

TEST(Difference, FindsTheLagOfFramesWithGaps) {
  std::vector<double> a, b;
  std::vector<std::int64_t> frames;
  for (int f = 0; f < 300; ++f) {
    if (f % 50 == 20) continue; // dropped
    frames.push_back(f);
    a.push_back(f % 70 == 5 ? kNone : Smile(f));
    b.push_back(f % 60 == 9 ? kNone : Smile(f - 2));
  }
  const CurveDifference difference = Difference({"G", "a", "", a}, {"G", "b", "", b}, frames, {30, 1});
  EXPECT_EQ(difference.lag_frames, 2);
  EXPECT_EQ(difference.only_a, 5U);
  EXPECT_EQ(difference.only_b, 5U);
  EXPECT_EQ(difference.compared, 294U - 10);
}

TEST(Difference, WithoutAClearPeakThereIsNoLag) {
  std::vector<double> ramp, wave, noise;
  for (int f = 0; f < 300; ++f) {
    ramp.push_back(f / 300.0);
    wave.push_back(std::sin(2 * std::numbers::pi * f / 10)); // three periods a second
    noise.push_back((f * 7919 % 613) / 613.0);
  }
  EXPECT_EQ(Differ(ramp, ramp).lag_frames, std::nullopt);
  EXPECT_DOUBLE_EQ(Differ(ramp, ramp).correlation.value(), 1);
  EXPECT_EQ(Differ(wave, wave).lag_frames, std::nullopt);
  EXPECT_EQ(Differ(ramp, noise).lag_frames, std::nullopt);
  EXPECT_EQ(Shifted(25).lag_frames, std::nullopt); // more than half a second
}

TEST(Difference, ConstantCurvesHaveNoCorrelation) {
  const std::vector<double> constant(40, 0.1); // whose mean is not exactly 0.1
  std::vector<double> moving(40, 0.1);
  moving[7] = 0.4;
  for (const CurveDifference& difference :
       {Differ(constant, moving), Differ(moving, constant), Differ(constant, constant)}) {
    EXPECT_EQ(difference.correlation, std::nullopt);
    EXPECT_EQ(difference.lag_frames, std::nullopt);
  }
  EXPECT_EQ(Differ(constant, moving).largest_frame, 7U);
}

TEST(Difference, MissingValuesAreCountedAndNotCompared) {
  const CurveDifference difference = Differ({kNone, 0.5, 0.25, kNone, 1}, {9, 0.75, kNone, kNone, 1});
  EXPECT_EQ(difference.compared, 2U);
  EXPECT_EQ(difference.only_a, 1U);
  EXPECT_EQ(difference.only_b, 1U);
  EXPECT_EQ(difference.largest, 0.25);
  EXPECT_EQ(difference.largest_frame, 1U);
  const CurveDifference none = Differ({kNone, 1}, {1, kNone});
  EXPECT_EQ(none.compared, 0U);
  EXPECT_EQ(none.correlation, std::nullopt);
}

TEST(Difference, OneFrameHasADifferenceAndNoCorrelation) {
  const CurveDifference one = Differ({0.5}, {0.25});
  EXPECT_EQ(one.largest, 0.25);
  EXPECT_EQ(one.rms, 0.25);
  EXPECT_EQ(one.correlation, std::nullopt);
  EXPECT_EQ(one.lag_frames, std::nullopt);
}

TEST(Difference, OfMarkersIsTheDistance) {
  const double nan = kNone; // x of three frames, then y, then z
  const CurveDifference difference =
      Difference({"Markers", "a", "mm", {0, 1, nan, 0, 2, nan, 0, 3, nan}},
                 {"Markers", "b", "mm", {3, 1, 5, 4, 2, 5, 0, 3, 5}}, Frames(3).frames, {30, 1});
  EXPECT_EQ(difference.compared, 2U);
  EXPECT_EQ(difference.only_b, 1U);
  EXPECT_EQ(difference.largest, 5);
  EXPECT_EQ(difference.largest_frame, 0U);
  EXPECT_EQ(difference.rms, std::sqrt(12.5));
  EXPECT_EQ(difference.correlation, std::nullopt);
}

TEST(Difference, AnglesDifferByAtMostHalfATurn) {
  EXPECT_EQ(Differ({179, 10}, {-179, 12}, "deg").largest, 2);
  EXPECT_DOUBLE_EQ(Size({"Head", "Yaw", "deg", {}}, 180), std::numbers::pi);
  EXPECT_EQ(Size({"Shapes", "jawOpen", "", {}}, 0.25), 0.25);
}
