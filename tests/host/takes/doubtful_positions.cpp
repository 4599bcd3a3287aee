#include "host/takes/doubtful_positions.h"

#include "tests/host/note.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <initializer_list>
#include <optional>
#include <vector>

using mien::Code;
using mien::Origin;
using mien::Point;
using mien::Take;
using testing::ElementsAre;
using testing::IsEmpty;

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

TEST(DoubtfulPositions, BeyondAKilometreAreGapsWithOneNote) {
  Take take = TakeOf({{{{1e6, -1e6, 1e6}}, {{1, 2, 3}}},
                      {{{0, 1e6 + 1, 0}}, {{1, 2, 3}}},
                      {{{1, 2, 3}}, {{1, 2, -1e155}}},
                      {std::nullopt, {{1, 2, 3}}}});
  ClearFarPositions(take);
  EXPECT_NE(take.At(0, 0), nullptr) << "a kilometre is not beyond";
  EXPECT_EQ(take.At(1, 0), nullptr);
  EXPECT_EQ(take.At(2, 1), nullptr);
  for (const auto& [frame, marker] : {std::pair<std::size_t, std::size_t>{0, 1}, {1, 1}, {2, 0}, {3, 1}})
    EXPECT_NE(take.At(frame, marker), nullptr) << frame;
  EXPECT_THAT(take.notes,
              ElementsAre(IsNote(Code::InvalidValue, "",
                                 "positions beyond a kilometre, taken as gaps: 2, the first: \"A\" in "
                                 "frame 11")));
}

TEST(DoubtfulPositions, WhatIsAGapAlreadyIsNotCounted) {
  Take take = TakeOf({{{{2e6, 0, 0}}, {{1, 2, 3}}}});
  take.Clear(0, 0); // its position stays behind
  ClearFarPositions(take);
  EXPECT_THAT(take.notes, IsEmpty());
}

TEST(DoubtfulPositions, OtherTakesStayAsTheyAre) {
  Take take = TakeOf({{{{1, 2, 3}}, std::nullopt}, {{{-5, 0, 0}}, {{1, 2, 3}}}});
  ClearFarPositions(take);
  EXPECT_THAT(take.notes, IsEmpty());
  EXPECT_NE(take.At(0, 0), nullptr);
  EXPECT_NE(take.At(1, 1), nullptr);
}

TEST(DoubtfulPositions, AllMarkersInOnePlaceAreFoundWhereverThePlaceIs) {
  EXPECT_TRUE(IsOnePlace(TakeOf({{{{1, 2, 3}}, {{1, 2, 3}}}})));
  EXPECT_TRUE(IsOnePlace(TakeOf({{{{1, 2, 3}}, {{1, 2, 3.0005}}}, {{{7, 8, 9}}, {{7, 8, 9}}}})));
  EXPECT_TRUE(IsOnePlace(TakeOf({{{{1, 2, 3}}, {{1, 2, 3}}}, {{{7, 8, 9}}, std::nullopt}})));
}

TEST(DoubtfulPositions, TwoPlacesInAnyFrameAreEnough) {
  EXPECT_FALSE(IsOnePlace(TakeOf({{{{1, 2, 3}}, {{1, 2, 3}}}, {{{1, 2, 3}}, {{1, 2, 3.002}}}})));
  EXPECT_FALSE(IsOnePlace(TakeOf({{{{1, 2, 3}}, {{4, 2, 3}}}})));
}

TEST(DoubtfulPositions, MarkersThatAreNeverSeenTogetherAreInNoPlace) {
  EXPECT_FALSE(IsOnePlace(TakeOf({{{{1, 2, 3}}, std::nullopt}, {std::nullopt, {{1, 2, 3}}}})));
  EXPECT_FALSE(IsOnePlace(TakeOf({})));
}
