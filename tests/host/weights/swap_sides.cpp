#include "host/weights/swap_sides.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

using testing::ElementsAre;

TEST(SwapSides, ExchangesNamesEyesAndTurns) {
  mien::WeightTake take;
  take.names = {"mouthLeft",   "mouthRight",    "eyeBlinkRight",   "jawOpen",
                "browInnerUp", "LeftEye.Close", "Mouth.CornersUpL"};
  take.eyes = {{mien::EyeAngles{0.1, 0.2}, mien::EyeAngles{-0.3, 0.4}}};
  take.heads = {{0.1, 0.2, 0.3}};
  take.head_places = {{1, 2, 3}};
  mien::SwapSides(take);
  EXPECT_THAT(take.names, ElementsAre("mouthRight", "mouthLeft", "eyeBlinkLeft", "jawOpen", "browInnerUp",
                                      "RightEye.Close", "Mouth.CornersUpR"));
  EXPECT_EQ(take.eyes[0], (mien::Eyes{mien::EyeAngles{0.3, 0.4}, mien::EyeAngles{-0.1, 0.2}}));
  EXPECT_EQ(take.heads[0].yaw, -0.1);
  EXPECT_EQ(take.heads[0].pitch, 0.2);
  EXPECT_EQ(take.heads[0].roll, -0.3);
  EXPECT_EQ(take.head_places[0].x, -1);
  EXPECT_EQ(take.head_places[0].z, 3);
}
