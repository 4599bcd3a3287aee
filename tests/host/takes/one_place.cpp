#include "host/takes/one_place.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <initializer_list>
#include <optional>
#include <utility>

using mien::Point;
using mien::Take;

namespace {

// A take of the markers A and B, frame by frame; nothing is a gap.
Take TakeOf(std::initializer_list<std::pair<std::optional<Point>, std::optional<Point>>> frames) {
  Take take({"A", "B"});
  for (const auto& [a, b] : frames) {
    const std::size_t frame = take.AddFrame(static_cast<std::int64_t>(take.FrameCount()) + 10, 0);
    if (a) take.Set(frame, 0, *a);
    if (b) take.Set(frame, 1, *b);
  }
  return take;
}

} // namespace

TEST(OnePlace, IsFoundWhereverItIs) {
  EXPECT_TRUE(IsOnePlace(TakeOf({{{{1, 2, 3}}, {{1, 2, 3}}}})));
  EXPECT_TRUE(IsOnePlace(TakeOf({{{{1, 2, 3}}, {{1, 2, 3.0005}}}, {{{7, 8, 9}}, {{7, 8, 9}}}})));
  EXPECT_TRUE(IsOnePlace(TakeOf({{{{1, 2, 3}}, {{1, 2, 3}}}, {{{7, 8, 9}}, std::nullopt}})));
}

TEST(OnePlace, TwoPlacesInAnyFrameAreNone) {
  EXPECT_FALSE(IsOnePlace(TakeOf({{{{1, 2, 3}}, {{1, 2, 3}}}, {{{1, 2, 3}}, {{1, 2, 3.002}}}})));
  EXPECT_FALSE(IsOnePlace(TakeOf({{{{1, 2, 3}}, {{4, 2, 3}}}})));
}

TEST(OnePlace, MarkersThatAreNeverSeenTogetherHaveNone) {
  EXPECT_FALSE(IsOnePlace(TakeOf({{{{1, 2, 3}}, std::nullopt}, {std::nullopt, {{1, 2, 3}}}})));
  EXPECT_FALSE(IsOnePlace(TakeOf({})));
}
