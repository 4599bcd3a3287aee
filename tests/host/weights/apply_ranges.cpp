#include "host/weights/apply_ranges.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cmath>
#include <limits>

using testing::ElementsAre;

TEST(ApplyRanges, ReadsZeroAtTheLowEndAndOneAtTheHigh) {
  mien::WeightTake take;
  take.names = {"eyeBlinkLeft", "jawOpen"};
  take.frames = {1, 2, 3, 4};
  take.weights = {0.25, 0.5, 0.75, 0.5, 1, 0.5, std::numeric_limits<double>::quiet_NaN(), 0.5};
  const mien::AppliedRanges ranges =
      ApplyRanges({{.name = "eyeBlink_L", .low = 0.25, .high = 0.75, .trusted = true},
                   {.name = "jawOpen", .low = 0, .high = 0.5, .trusted = false},
                   {.name = "cheekPuff", .low = 0, .high = 0.5, .trusted = true}},
                  take);
  EXPECT_EQ(take.weights[0], 0);
  EXPECT_EQ(take.weights[2], 1);
  EXPECT_EQ(take.weights[4], 1.5); // more than a usual blink
  EXPECT_TRUE(std::isnan(take.weights[6]));
  for (const std::size_t f : {0U, 1U, 2U, 3U}) EXPECT_EQ(take.Weight(f, 1), 0.5) << f;
  ASSERT_EQ(ranges.applied.size(), 1U);
  EXPECT_THAT(ranges.doubted, ElementsAre("jawOpen"));
  EXPECT_THAT(ranges.unmatched, ElementsAre("cheekPuff"));
}
