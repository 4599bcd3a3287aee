#include "host/performer/calibration.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <string>
#include <vector>

using mien::LandmarkCount;
using mien::Range;

TEST(Range, ReadsZeroUpToLowOneAtHighAndMoreAbove) {
  const Range range{.name = "Mouth.Open", .low = 0.25, .high = 0.75};
  EXPECT_EQ(range.Read(-1), 0);
  EXPECT_EQ(range.Read(0.25), 0);
  EXPECT_EQ(range.Read(0.5), 0.5);
  EXPECT_EQ(range.Read(0.75), 1);
  EXPECT_EQ(range.Read(1.25), 2);
  EXPECT_TRUE(std::isnan(range.Read(std::numeric_limits<double>::quiet_NaN())));
}

TEST(LandmarkCount, DistinguishesTheSetsOfLandmarks) {
  const auto landmarks = [](int count) {
    std::vector<std::string> names;
    for (int i = 0; i < count; ++i) names.push_back("lm" + std::to_string(i));
    return names;
  };
  EXPECT_EQ(LandmarkCount(landmarks(68)), 68u);
  EXPECT_EQ(LandmarkCount(landmarks(468)), 478u);
  EXPECT_EQ(LandmarkCount(landmarks(478)), 478u);
  EXPECT_EQ(LandmarkCount(landmarks(67)), 0u);
  EXPECT_EQ(LandmarkCount(landmarks(100)), 0u);
  EXPECT_EQ(LandmarkCount({"chin", "brow"}), 0u);
}
