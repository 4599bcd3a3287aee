#include "host/takes/frame_range.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <limits>
#include <vector>

using mien::FrameRange;
using mien::FramesIn;
using mien::FrameSpan;

TEST(FramesIn, HoldsBothEndsOfTheRange) {
  const std::vector<std::int64_t> numbers = {10, 11, 12, 15, 16};
  EXPECT_EQ(FramesIn(FrameRange{11, 15}, numbers), (FrameSpan{1, 4}));
  EXPECT_EQ(FramesIn(FrameRange{12, 12}, numbers), (FrameSpan{2, 3}));
  EXPECT_EQ(FramesIn(FrameRange{10, 16}, numbers), (FrameSpan{0, 5}));
}

TEST(FramesIn, EndsOfARangeNeedNotBeThere) {
  const std::vector<std::int64_t> numbers = {10, 11, 12, 15, 16};
  EXPECT_EQ(FramesIn(FrameRange{-5, 11}, numbers), (FrameSpan{0, 2}));
  EXPECT_EQ(FramesIn(FrameRange{13, 99}, numbers), (FrameSpan{3, 5}));
  constexpr std::int64_t kLeast = std::numeric_limits<std::int64_t>::min(),
                         kMost = std::numeric_limits<std::int64_t>::max();
  EXPECT_EQ(FramesIn(FrameRange{kLeast, kMost}, numbers), (FrameSpan{0, 5}));
}

TEST(FramesIn, AreNoneWhereTheTakeHasNoneOfThem) {
  const std::vector<std::int64_t> numbers = {10, 11, 12, 15, 16};
  for (const FrameRange range : {FrameRange{1, 9}, FrameRange{13, 14}, FrameRange{17, 20}})
    EXPECT_EQ(FramesIn(range, numbers).Count(), 0u) << range.first;
  EXPECT_EQ(FramesIn(FrameRange{1, 9}, {}).Count(), 0u);
}
