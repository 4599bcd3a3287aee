#include "host/animation/eye_angles.h"

#include "host/base/rotation.h"
#include "mien/base/affine.h"
#include "tests/random.h"

#include <gtest/gtest.h>

#include <cmath>
#include <numbers>

using mien::AnglesOf;
using mien::EyeAngles;
using mien::RotationBy;

TEST(EyeAngles, YawIsPositiveToTheLeftAndPitchDown) {
  EXPECT_EQ(AnglesOf({0, 0, 5}), (EyeAngles{0, 0}));
  EXPECT_DOUBLE_EQ(AnglesOf({1, 0, 1}).yaw, std::numbers::pi / 4);
  EXPECT_DOUBLE_EQ(AnglesOf({0, -2, 2}).pitch, std::numbers::pi / 4);
  EXPECT_DOUBLE_EQ(AnglesOf({3, -5, 4}).pitch, std::numbers::pi / 4) << "against the horizontal length, 5";
}

TEST(EyeAngles, TheRotationTurnsStraightAheadIntoTheDirection) {
  tests::Random random(3);
  for (int i = 0; i < 100; ++i) {
    const EyeAngles angles = {.yaw = random.Between(-1.2, 1.2), .pitch = random.Between(-1.2, 1.2)};
    const VgeTVector ahead = mien::TransformPoint(RotationBy(angles), {0, 0, 1});
    EXPECT_NEAR(AnglesOf(ahead).yaw, angles.yaw, 1e-14);
    EXPECT_NEAR(AnglesOf(ahead).pitch, angles.pitch, 1e-14);
    const VgeTVector left = mien::TransformPoint(RotationBy(angles), {1, 0, 0});
    EXPECT_EQ(left.y, 0) << "an eye does not roll";
  }
}
