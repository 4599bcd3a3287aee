#include "host/takes/reorder_frames.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstddef>
#include <cstdint>
#include <numeric>
#include <vector>

using mien::Origin;
using mien::Sighting;
using mien::Take;
using testing::ElementsAre;

TEST(ReorderFrames, NumbersTimesPositionsOriginsAndSightingsMoveTogether) {
  Take take({"A", "B"});
  take.residual_mm = 0.5;
  take.notes = {{mien::Code::Doubtful, "", "stays"}};
  for (int frame = 0; frame < 3; ++frame) {
    const std::size_t row = take.AddFrame(10 * frame, frame / 4.0);
    take.RowOf(row).positions[0] = {1.0 * frame, 0, 0};
    take.RowOf(row).origins[0] = frame == 1 ? Origin::Computed : Origin::Measured;
    take.RowOf(row).sightings[0] = {static_cast<std::uint8_t>(frame), 7};
  }
  take.Clear(2, 0);
  ReorderFrames(take, {2, 0, 1});
  EXPECT_THAT(take.frames, ElementsAre(20, 0, 10));
  EXPECT_THAT(take.times, ElementsAre(0.5, 0, 0.25));
  EXPECT_EQ(take.At(0, 0), nullptr);
  ASSERT_NE(take.At(1, 0), nullptr);
  EXPECT_EQ(take.At(1, 0)->x, 0);
  EXPECT_EQ(take.SightingAt(1, 0)->cameras, 0);
  ASSERT_NE(take.At(2, 0), nullptr);
  EXPECT_EQ(take.At(2, 0)->x, 1);
  EXPECT_EQ(take.OriginAt(2, 0), Origin::Computed);
  for (const std::size_t frame : {0u, 1u, 2u}) EXPECT_EQ(take.At(frame, 1), nullptr);
  EXPECT_EQ(take.notes.size(), 1u);
}

TEST(ReorderFrames, ALongTakeIsTurnedRound) {
  constexpr std::size_t kFrames = 70000; // several blocks
  Take take({"A"});
  for (std::size_t frame = 0; frame < kFrames; ++frame)
    take.Set(take.AddFrame(static_cast<std::int64_t>(frame), 0), 0, {static_cast<double>(frame), 0, 0});
  std::vector<std::size_t> order(kFrames);
  std::iota(order.rbegin(), order.rend(), std::size_t{0});
  ReorderFrames(take, order);
  for (std::size_t frame = 0; frame < kFrames; ++frame) {
    ASSERT_EQ(take.frames[frame], static_cast<std::int64_t>(kFrames - 1 - frame));
    ASSERT_EQ(take.At(frame, 0)->x, static_cast<double>(kFrames - 1 - frame));
  }
}
