#include "host/animation/resample.h"

#include "host/base/rotation.h"
#include "tests/host/input_error.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <numbers>

namespace {

constexpr double kDegree = std::numbers::pi / 180;

/// A take of one shape.
mien::Animation Shapes(const std::vector<double>& times, const std::vector<double>& weights) {
  mien::Animation take;
  take.layout.templates.clear();
  take.layout.shapes = {"jawOpen"};
  take.times = times;
  take.shape_weights = weights;
  for (std::size_t f = 0; f < times.size(); ++f) take.frames.push_back(static_cast<std::int64_t>(f) + 5);
  take.heads.resize(times.size());
  return take;
}

VgeAMatrix Turned(double yaw_degrees, const VgeTVector& place = {0, 0, 0}) {
  const VgeRMatrix rotation = mien::RotationBy(VgeTVector{0, yaw_degrees * kDegree, 0});
  VgeAMatrix head;
  for (int column = 0; column < 3; ++column) std::copy_n(rotation.m[column], 3, head.m[column]);
  head.m[3][0] = place.x, head.m[3][1] = place.y, head.m[3][2] = place.z;
  return head;
}

/// The angle about y, in degrees from -180 to 180.
double YawOf(const VgeAMatrix& head) { return std::atan2(head.m[2][0], head.m[2][2]) / kDegree; }

double AngleBetween(const VgeAMatrix& a, const VgeAMatrix& b) {
  double trace = 0;
  for (int i = 0; i < 3; ++i)
    for (int k = 0; k < 3; ++k) trace += a.m[i][k] * b.m[i][k];
  return std::acos(std::clamp((trace - 1) / 2, -1.0, 1.0)) / kDegree;
}

} // namespace

TEST(Resample, TheFilesOwnFramesStayAndALineStaysOne) {
  mien::Animation take = Shapes({10, 10.5, 11, 12}, {0, 0.25, 0.5, 1}); // a frame was dropped
  take.layout.timecode = mien::ParseTimecode("10:00:00:05", {2, 1});
  const std::optional<mien::Timecode> timecode = take.layout.timecode;
  Resample(take, {4, 1}, "w");
  EXPECT_THAT(take.frames, testing::ElementsAre(1, 2, 3, 4, 5, 6, 7, 8, 9));
  ASSERT_EQ(take.times.size(), 9U);
  for (std::size_t f = 0; f < 9; ++f) {
    EXPECT_EQ(take.times[f], 10 + 0.25 * static_cast<double>(f));
    EXPECT_NEAR(take.shape_weights[f], 0.125 * static_cast<double>(f), 1e-15);
  }
  EXPECT_EQ(take.layout.rate, (mien::FrameRate{4, 1}));
  EXPECT_EQ(take.layout.timecode, timecode);
}

TEST(Resample, NothingGoesBeyondItsNeighbours) {
  const std::vector<double> weights = {0, 0, 1, 1, 0.2, 0.9, 0, 0};
  mien::Animation take = Shapes({0, 1, 1.25, 2, 3, 3.5, 5, 6}, weights);
  take.eyes.assign(8, {mien::EyeAngles{0.25, -0.5}, mien::EyeAngles{0.125, 0}});
  mien::LongVector<double> fitted = weights;
  const mien::LongVector<double> times = take.times;
  Resample(take, {64, 1}, "w", &fitted);
  ASSERT_EQ(take.frames.size(), 6U * 64 + 1);
  for (std::size_t f = 0; f < take.times.size(); ++f) {
    const auto after = std::upper_bound(times.begin(), times.end() - 1, take.times[f]) - times.begin();
    const auto [low, high] =
        std::minmax(weights[static_cast<std::size_t>(after) - 1], weights[static_cast<std::size_t>(after)]);
    EXPECT_GE(take.shape_weights[f], low - 1e-15) << take.times[f];
    EXPECT_LE(take.shape_weights[f], high + 1e-15) << take.times[f];
    EXPECT_NEAR(take.eyes[f][0].pitch, -0.5, 1e-15);
  }
  EXPECT_EQ(take.shape_weights[80], 1); // 1.25 s
  EXPECT_EQ(fitted, take.shape_weights);
}

TEST(Resample, TemplatesAreResampledColumnByColumn) {
  mien::Animation take = Shapes({0, 1}, {0, 1});
  take.layout.templates = mien::TemplateColumns();
  take.weights.resize(2 * take.layout.templates.size());
  take.weights[take.layout.templates.size() + 3] = 0.5;
  Resample(take, {2, 1}, "w");
  ASSERT_EQ(take.weights.size(), 3 * take.layout.templates.size());
  EXPECT_EQ(take.Weight(1, 3), 0.25);
  EXPECT_EQ(take.Weight(1, 2), 0);
}

TEST(Resample, AHeadTurnsTheShortWayAcrossTheBack) {
  mien::Animation take = Shapes({0, 1, 2, 3}, {0, 0, 0, 0});
  take.heads = {Turned(150), Turned(170), Turned(-170), Turned(-150)};
  Resample(take, {8, 1}, "w");
  for (std::size_t f = 0; f < take.frames.size(); ++f) // 20 degrees a second, without a break
    EXPECT_NEAR(std::remainder(YawOf(take.heads[f]) - (150 + 2.5 * static_cast<double>(f)), 360), 0, 1e-9);
}

TEST(Resample, AboutOneAxisTheHeadIsOnTheMonotoneCubicOfItsAngle) {
  const std::vector<double> times = {0, 1, 1.25, 2, 3}, yaws = {0, 40, 50, 50, -30};
  mien::Animation take = Shapes(times, yaws);
  for (std::size_t f = 0; f < times.size(); ++f) take.heads[f] = Turned(yaws[f], {yaws[f], 0, 5});
  Resample(take, {64, 1}, "w");
  for (std::size_t f = 0; f < take.frames.size(); ++f) {
    EXPECT_NEAR(YawOf(take.heads[f]), take.shape_weights[f], 1e-9) << take.times[f];
    EXPECT_EQ(take.heads[f].m[3][0], take.shape_weights[f]) << take.times[f];
    EXPECT_NEAR(take.heads[f].m[3][2], 5, 1e-14) << take.times[f];
  }
}

TEST(Resample, ATurningHeadKeepsItsOwnFramesAndHasNoKink) {
  mien::Animation take = Shapes({0, 0.5, 1, 1.5, 2}, {0, 0, 0, 0, 0});
  const VTxRotationOrder order = {.mOrder = 4};
  const double angles[5][3] = {{0, 0, 0}, {30, 20, -10}, {10, 80, 40}, {-40, 120, 60}, {-60, 170, 90}};
  for (std::size_t f = 0; f < 5; ++f) {
    VgeRMatrix rotation;
    order.V2M(rotation, {angles[f][0], angles[f][1], angles[f][2]});
    for (int column = 0; column < 3; ++column) std::copy_n(rotation.m[column], 3, take.heads[f].m[column]);
  }
  const mien::LongVector<VgeAMatrix> before = take.heads;
  Resample(take, {1000, 1}, "w");
  ASSERT_EQ(take.heads.size(), 2001U);
  for (std::size_t f = 0; f < 5; ++f) EXPECT_NEAR(AngleBetween(take.heads[500 * f], before[f]), 0, 1e-5);
  double last = AngleBetween(take.heads[0], take.heads[1]);
  for (std::size_t f = 1; f < 2000; ++f) { // degrees a frame; a kink would change them at once
    const double step = AngleBetween(take.heads[f], take.heads[f + 1]);
    EXPECT_NEAR(step, last, 0.005) << f;
    last = step;
  }
}

TEST(Resample, OneFrameStaysAndTooManyAreRefused) {
  mien::Animation take = Shapes({3}, {0.5});
  Resample(take, {60, 1}, "w");
  EXPECT_THAT(take.shape_weights, testing::ElementsAre(0.5));
  mien::Animation far = Shapes({0, 1e9}, {0, 1});
  EXPECT_EQ(ProblemOf([&] { Resample(far, {60, 1}, "w"); }), "limit at no place");
}
