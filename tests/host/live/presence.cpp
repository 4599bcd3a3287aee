#include "host/live/presence.h"

#include <gtest/gtest.h>

using mien::Presence;

TEST(Presence, CountsInFullFromTheFirstFrame) {
  Presence presence(0.5, 1);
  EXPECT_EQ(presence.Step(true, 0), 1);
  EXPECT_EQ(presence.Step(true, 0.1), 1);
}

TEST(Presence, IsNothingBeforeAnythingWasSeenAndFadesInThen) {
  Presence presence(0.5, 1);
  EXPECT_EQ(presence.Step(false, 0), 0);
  EXPECT_EQ(presence.Step(false, 10), 0);
  EXPECT_EQ(presence.Step(true, 0.5), 0) << "it may have been missing until now";
  EXPECT_EQ(presence.Step(true, 0.5), 0.5);
  EXPECT_EQ(presence.Step(true, 0.5), 1);
}

TEST(Presence, AGapShorterThanTheHoldTimeChangesNothing) {
  Presence presence(0.5, 1);
  presence.Step(true, 0);
  EXPECT_EQ(presence.Step(false, 0.25), 1);
  EXPECT_EQ(presence.Step(false, 0.25), 1);
  EXPECT_EQ(presence.Step(true, 0.25), 1);
}

TEST(Presence, FadesAfterTheHoldTimeWhereverTheFramesAre) {
  Presence fine(0.5, 1), coarse(0.5, 1);
  fine.Step(true, 0), coarse.Step(true, 0);
  double share = 0;
  for (int f = 0; f < 16; ++f) share = fine.Step(false, 0.0625); // a second: half of the fade
  EXPECT_EQ(share, 0.5);
  EXPECT_EQ(coarse.Step(false, 1), 0.5);
  EXPECT_EQ(coarse.Step(false, 0.5), 0);
  EXPECT_EQ(coarse.Step(false, 100), 0);
}

// A face that comes back in the middle of its fade does not jump.
TEST(Presence, ComesBackFromWhereItWas) {
  Presence presence(0, 1);
  presence.Step(true, 0);
  EXPECT_EQ(presence.Step(false, 0.5), 0.5);
  EXPECT_EQ(presence.Step(true, 100), 0.5);
  EXPECT_EQ(presence.Step(true, 0.25), 0.75 * 0.75 * (3 - 1.5));
  EXPECT_EQ(presence.Step(true, 0.25), 1);
  EXPECT_EQ(presence.Step(false, 0.5), 0.5) << "the next gap is held and faded anew";
}

TEST(Presence, WithoutAFadeItIsThereOrNot) {
  Presence presence(0.1, 0);
  presence.Step(true, 0);
  EXPECT_EQ(presence.Step(false, 0.05), 1);
  EXPECT_EQ(presence.Step(false, 0.1), 0);
  EXPECT_EQ(presence.Step(true, 0.01), 1);
}
