#include "host/takes/frame_span.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdint>
#include <limits>
#include <vector>

using mien::FrameSpan;
using mien::UnbrokenSpans;
using testing::ElementsAre;
using testing::IsEmpty;

TEST(FrameSpan, CountsItsFramesWithoutItsEnd) {
  EXPECT_EQ((FrameSpan{3, 7}).Count(), 4u);
  EXPECT_EQ((FrameSpan{3, 3}).Count(), 0u);
  EXPECT_EQ(FrameSpan().Count(), 0u);
}

TEST(FrameSpan, IsOrderedByItsFirstFrameAndThenByItsEnd) {
  EXPECT_LT((FrameSpan{1, 9}), (FrameSpan{2, 3}));
  EXPECT_LT((FrameSpan{1, 2}), (FrameSpan{1, 3}));
  EXPECT_EQ((FrameSpan{1, 2}), (FrameSpan{1, 2}));
}

TEST(UnbrokenSpans, AreTheFramesWhoseNumbersFollowEachOther) {
  const auto spans = [](const std::vector<std::int64_t>& numbers) { return UnbrokenSpans(numbers); };
  EXPECT_THAT(spans({}), IsEmpty());
  EXPECT_THAT(spans({7}), ElementsAre(FrameSpan{0, 1}));
  EXPECT_THAT(spans({-1, 0, 1, 2}), ElementsAre(FrameSpan{0, 4}));
  EXPECT_THAT(spans({1, 2, 4, 6, 7}), ElementsAre(FrameSpan{0, 2}, FrameSpan{2, 3}, FrameSpan{3, 5}));
}

TEST(UnbrokenSpans, ReachTheLastNumberThereIs) {
  constexpr std::int64_t kLast = std::numeric_limits<std::int64_t>::max();
  EXPECT_THAT(UnbrokenSpans(std::vector<std::int64_t>{kLast - 3, kLast - 1, kLast}),
              ElementsAre(FrameSpan{0, 1}, FrameSpan{1, 3}));
}
