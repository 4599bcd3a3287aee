#include "host/solve/quality_flags.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstddef>

using mien::FlagKind;
using mien::QualityFlag;
using mien::QualityFlags;

TEST(QualityFlags, GivesTheFlagsThatWereAdded) {
  const QualityFlag jump = {FlagKind::Jump, 3, "LeftEye.Close", {}, 18, 19, -0.751};
  const QualityFlag swap = {FlagKind::Swap, 3, "", {"A", "B"}, 20, 50, 32};
  const QualityFlag mislabel = {FlagKind::Mislabel, 8, "", {"B", "A"}, 30, 30, 60.5};
  QualityFlags flags = {jump, swap};
  flags.push_back(mislabel);
  EXPECT_THAT(flags, testing::ElementsAre(jump, swap, mislabel));
  EXPECT_EQ(flags[1], swap);
  EXPECT_EQ(flags, (QualityFlags{jump, swap, mislabel}));
  EXPECT_NE(flags, (QualityFlags{jump, mislabel, swap}));
  EXPECT_TRUE(QualityFlags().empty());
}

TEST(QualityFlags, KeepsEachOfMoreThanFitOnTheHeap) {
  QualityFlags flags;
  constexpr std::size_t kCount = 50'000;
  for (std::size_t f = 0; f < kCount; ++f)
    flags.push_back({FlagKind::Limit, f % 9, f % 2 == 0 ? "Mouth.Open" : "Mouth.Up", {}, f, f + 1, 0.5});
  ASSERT_EQ(flags.size(), kCount);
  EXPECT_EQ(flags[0], (QualityFlag{FlagKind::Limit, 0, "Mouth.Open", {}, 0, 1, 0.5}));
  EXPECT_EQ(flags[kCount - 1],
            (QualityFlag{FlagKind::Limit, (kCount - 1) % 9, "Mouth.Up", {}, kCount - 1, kCount, 0.5}));
}
