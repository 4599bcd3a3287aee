#include "host/takes/part_of_take.h"

#include <gtest/gtest.h>

using mien::Origin;
using mien::Take;

TEST(PartOfTake, KeepsWhatTheCamerasSayOfMeasuredAndComputedPositions) {
  Take take({"A", "B"});
  take.residual_mm = 0.5;
  take.AddFrame(1, 0);
  take.AddFrame(2, 0.01);
  for (mien::Sighting& sighting : take.RowOf(1).sightings) sighting = {3, 7};
  take.Set(1, 0, {1, 2, 3});
  take.Set(1, 1, {4, 5, 6}, Origin::Computed);
  const Take part = PartOfTake(take, mien::FrameRange{2, 2}, {"B", "A"});
  ASSERT_EQ(part.FrameCount(), 1u);
  EXPECT_EQ(part.CamerasAt(0, 0), 3);
  EXPECT_FALSE(part.SightingAt(0, 0));
  EXPECT_EQ(part.CamerasAt(0, 1), 3);
  EXPECT_EQ(part.SightingAt(0, 1)->residual, 7);
}
