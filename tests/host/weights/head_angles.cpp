#include "host/weights/head_angles.h"

#include "host/base/rotation.h"
#include "mien/base/affine.h"

#include <gtest/gtest.h>

TEST(HeadAngles, TurnToTheLeftDownAndToTheRightShoulder) {
  const auto x = [](const VgeAMatrix& head, const VgeTVector& v) {
    return mien::TransformDirection(head, v);
  };
  EXPECT_GT(x(mien::RotationBy(mien::HeadAngles{.yaw = 0.5}), {0, 0, 1}).x, 0.4);    // the nose to the left
  EXPECT_LT(x(mien::RotationBy(mien::HeadAngles{.pitch = 0.5}), {0, 0, 1}).y, -0.4); // the nose down
  EXPECT_LT(x(mien::RotationBy(mien::HeadAngles{.roll = 0.5}), {0, 1, 0}).x, -0.4);  // the crown to the right
}

TEST(HeadAngles, ComeBackFromTheRotation) {
  const mien::HeadAngles head = {.yaw = 2.5, .pitch = -1.25, .roll = 0.75};
  const mien::HeadAngles back = mien::AnglesOf(mien::RotationOf(mien::RotationBy(head)));
  EXPECT_NEAR(back.yaw, head.yaw, 1e-12);
  EXPECT_NEAR(back.pitch, head.pitch, 1e-12);
  EXPECT_NEAR(back.roll, head.roll, 1e-12);
}
