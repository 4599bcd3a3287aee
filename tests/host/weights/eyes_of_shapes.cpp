#include "host/weights/eyes_of_shapes.h"

#include <gtest/gtest.h>

#include <numbers>

constexpr double kDegree = std::numbers::pi / 180;

TEST(EyesOfShapes, TurnBy35DegreesInOutOrDownAnd25Up) {
  mien::WeightTake take;
  take.names = {"eyeLookInLeft",  "eyeLookOutLeft",  "eyeLookDownLeft",  "eyeLookUpLeft",
                "eyeLookInRight", "eyeLookOutRight", "eyeLookDownRight", "eyeLookUpRight"};
  take.frames = {1, 2};
  take.weights = {1, 0, 1, 0, 0, 1, 0, 1, /**/ 0, 0.5, 0, 0, 0.5, 0, 0, 0};
  ASSERT_TRUE(mien::SetEyesOfShapes(take));
  EXPECT_DOUBLE_EQ(take.eyes[0][0].yaw, -35 * kDegree); // the left eye inwards looks to the right
  EXPECT_DOUBLE_EQ(take.eyes[0][1].yaw, -35 * kDegree); // the right eye outwards as well
  EXPECT_DOUBLE_EQ(take.eyes[0][0].pitch, 35 * kDegree);
  EXPECT_DOUBLE_EQ(take.eyes[0][1].pitch, -25 * kDegree);
  EXPECT_DOUBLE_EQ(take.eyes[1][0].yaw, 17.5 * kDegree);
  EXPECT_DOUBLE_EQ(take.eyes[1][1].yaw, 17.5 * kDegree);
}

TEST(EyesOfShapes, TakesWithAnglesOrWithoutAllShapesStayAsTheyAre) {
  mien::WeightTake take;
  take.names = {"eyeLookInLeft"};
  take.frames = {1};
  take.weights = {1};
  EXPECT_FALSE(mien::SetEyesOfShapes(take));
  EXPECT_TRUE(take.eyes.empty());
}
