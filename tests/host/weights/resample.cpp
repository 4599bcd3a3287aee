#include "host/weights/resample.h"

#include "tests/host/input_error.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>

namespace {

mien::WeightTake Weights(const std::vector<double>& times, const std::vector<double>& weights) {
  mien::WeightTake take;
  take.names = {"jawOpen"};
  take.times = times;
  take.weights = weights;
  for (std::size_t f = 0; f < times.size(); ++f) take.frames.push_back(static_cast<std::int64_t>(f) + 5);
  return take;
}

} // namespace

TEST(Resample, TheFilesOwnFramesStayAndALineStaysOne) {
  mien::WeightTake take = Weights({10, 10.5, 11, 12}, {0, 0.25, 0.5, 1}); // a frame was dropped
  Resample(take, {4, 1});
  EXPECT_THAT(take.frames, testing::ElementsAre(1, 2, 3, 4, 5, 6, 7, 8, 9));
  ASSERT_EQ(take.times.size(), 9U);
  for (std::size_t f = 0; f < 9; ++f) {
    EXPECT_EQ(take.times[f], 10 + 0.25 * static_cast<double>(f));
    EXPECT_NEAR(take.weights[f], 0.125 * static_cast<double>(f), 1e-15);
  }
  EXPECT_EQ(take.rate, (mien::FrameRate{4, 1}));
}

TEST(Resample, NothingGoesBeyondItsNeighbours) {
  const std::vector<double> weights = {0, 0, 1, 1, 0.2, 0.9, 0, 0};
  mien::WeightTake take = Weights({0, 1, 1.25, 2, 3, 3.5, 5, 6}, weights);
  take.eyes.assign(8, {mien::EyeAngles{0.25, -0.5}, mien::EyeAngles{0.125, 0}});
  take.heads.assign(8, {0.1, 0.2, 0.3});
  const std::vector<double> times = take.times;
  Resample(take, {64, 1});
  ASSERT_EQ(take.frames.size(), 6U * 64 + 1);
  for (std::size_t f = 0; f < take.times.size(); ++f) {
    const auto after = std::upper_bound(times.begin(), times.end() - 1, take.times[f]) - times.begin();
    const auto [low, high] =
        std::minmax(weights[static_cast<std::size_t>(after) - 1], weights[static_cast<std::size_t>(after)]);
    EXPECT_GE(take.weights[f], low - 1e-15) << take.times[f];
    EXPECT_LE(take.weights[f], high + 1e-15) << take.times[f];
    EXPECT_NEAR(take.eyes[f][0].pitch, -0.5, 1e-15);
    EXPECT_NEAR(take.heads[f].roll, 0.3, 1e-15);
  }
  EXPECT_EQ(take.weights[80], 1); // 1.25 s
}

TEST(Resample, OneFrameStaysAndTooManyAreRefused) {
  mien::WeightTake take = Weights({3}, {0.5});
  Resample(take, {60, 1});
  EXPECT_THAT(take.weights, testing::ElementsAre(0.5));
  mien::WeightTake far = Weights({0, 1e9}, {0, 1});
  EXPECT_EQ(ProblemOf([&] { Resample(far, {60, 1}); }), "limit at no place");
}
