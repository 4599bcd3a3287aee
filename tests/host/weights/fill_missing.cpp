#include "host/weights/fill_missing.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>

namespace {

constexpr double kNone = std::numeric_limits<double>::quiet_NaN();

/// One weight at 10 Hz.
mien::WeightTake Weights(const std::vector<double>& weights) {
  mien::WeightTake take;
  take.names = {"jawOpen"};
  take.weights = weights;
  for (std::size_t f = 0; f < weights.size(); ++f) {
    take.frames.push_back(static_cast<std::int64_t>(f));
    take.times.push_back(static_cast<double>(f) / 10);
  }
  return take;
}

} // namespace

TEST(FillMissing, AShortGapIsCrossedOnALineThatLeansToRest) {
  mien::WeightTake take = Weights({0.4, kNone, 0.8});
  EXPECT_EQ(mien::FillMissing(take, 0.2), 1U);
  EXPECT_EQ(take.weights[0], 0.4);
  EXPECT_NEAR(take.weights[1], 0.6 * 0.5, 1e-15); // half of the fade: the share of the rest is 0.5
  EXPECT_EQ(take.weights[2], 0.8);
}

TEST(FillMissing, ALongGapRestsInItsMiddleAndTheEndsFadeOut) {
  mien::WeightTake take =
      Weights({kNone, kNone, kNone, 0.5, kNone, kNone, kNone, kNone, kNone, 1, kNone, kNone});
  EXPECT_EQ(mien::FillMissing(take, 0.2), 10U);
  EXPECT_EQ(take.weights[0], 0);
  EXPECT_NEAR(take.weights[2], 0.25, 1e-12);
  EXPECT_EQ(take.weights[3], 0.5);
  EXPECT_EQ(take.weights[6], 0);
  EXPECT_NEAR(take.weights[10], 0.5, 1e-12);
  EXPECT_NEAR(take.weights[11], 0, 1e-12);
}

TEST(FillMissing, NothingButGapsRests) {
  mien::WeightTake take = Weights({kNone, kNone});
  take.eyes.assign(2, {mien::EyeAngles{kNone, kNone}, mien::EyeAngles{0.5, kNone}});
  take.heads.assign(2, {kNone, 0.25, kNone});
  EXPECT_EQ(mien::FillMissing(take, 0.2), 2U);
  EXPECT_EQ(take.weights, (std::vector<double>{0, 0}));
  EXPECT_EQ(take.eyes[1], (mien::Eyes{mien::EyeAngles{0, 0}, mien::EyeAngles{0.5, 0}}));
  EXPECT_EQ(take.heads[1].yaw, 0);
  EXPECT_EQ(take.heads[1].pitch, 0.25);
}

TEST(FillMissing, AHeadThatTurnsAcrossTheBackKeepsTurning) {
  mien::WeightTake take;
  take.names = {"jawOpen"};
  take.frames = {1, 2, 3, 4};
  take.times = {0, 0.001, 0.002, 0.003};
  take.weights = {0, kNone, 0, 0};
  take.heads = {{3.0, 0, 0}, {kNone, kNone, kNone}, {-3.0, 0, 0}, {-2.9, 0, 0}};
  FillMissing(take, 1000); // hardly fades
  EXPECT_NEAR(take.heads[1].yaw, 3.1415926535897932, 1e-4);
  EXPECT_NEAR(take.heads[3].yaw - take.heads[2].yaw, 0.1, 1e-12);
}
