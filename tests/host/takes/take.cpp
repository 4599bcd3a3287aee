#include "host/takes/take.h"

#include <gtest/gtest.h>

using mien::Point;
using mien::Take;

TEST(Take, AddedFrameIsAllGaps) {
  Take take({"A", "B"});
  EXPECT_EQ(take.AddFrame(7, 0.5), 0u);
  EXPECT_EQ(take.FrameCount(), 1u);
  EXPECT_EQ(take.MarkerCount(), 2u);
  EXPECT_EQ(take.frames[0], 7);
  EXPECT_EQ(take.times[0], 0.5);
  EXPECT_EQ(take.At(0, 0), nullptr);
  EXPECT_EQ(take.At(0, 1), nullptr);
}

TEST(Take, PositionsStayWithTheirFrameAndMarker) {
  Take take({"A", "B", "C"});
  for (int frame = 0; frame < 4; ++frame) take.AddFrame(frame + 10, frame / 30.0);
  take.Set(2, 1, {1, 2, 3});
  take.Set(3, 0, {4, 5, 6});
  for (std::size_t frame = 0; frame < 4; ++frame)
    for (std::size_t marker = 0; marker < 3; ++marker)
      EXPECT_EQ(take.At(frame, marker) != nullptr,
                (frame == 2 && marker == 1) || (frame == 3 && marker == 0));
  ASSERT_NE(take.At(2, 1), nullptr);
  EXPECT_EQ(take.At(2, 1)->x, 1);
  EXPECT_EQ(take.At(2, 1)->y, 2);
  EXPECT_EQ(take.At(2, 1)->z, 3);
}

TEST(Take, APositionAtTheOriginIsNoGap) {
  Take take({"A"});
  take.AddFrame(1, 0);
  take.Set(0, 0, {0, 0, 0});
  EXPECT_NE(take.At(0, 0), nullptr);
}

TEST(Take, ClearMakesAGap) {
  Take take({"A", "B"});
  take.AddFrame(1, 0);
  take.Set(0, 0, {1, 2, 3});
  take.Set(0, 1, {1, 2, 3});
  take.Clear(0, 0);
  EXPECT_EQ(take.At(0, 0), nullptr);
  EXPECT_NE(take.At(0, 1), nullptr);
}

TEST(Take, FindsMarkersByExactName) {
  const Take take({"Rcheek_up", "Rcheek_Up", "Chin", "Chin"});
  EXPECT_EQ(take.FindMarker("Rcheek_up"), 0u);
  EXPECT_EQ(take.FindMarker("Rcheek_Up"), 1u);
  EXPECT_EQ(take.FindMarker("Chin"), 2u);
  EXPECT_EQ(take.FindMarker("chin"), std::nullopt);
  EXPECT_EQ(take.FindMarker(""), std::nullopt);
}
