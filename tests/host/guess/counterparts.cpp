#include "host/guess/counterparts.h"

#include <gtest/gtest.h>

#include <cstddef>
#include <optional>
#include <vector>

using mien::FindCounterparts;

namespace {

using Counterparts = std::vector<std::optional<std::size_t>>;

} // namespace

TEST(Counterparts, MirrorImagesArePairsAndTheMidLineIsItsOwn) {
  EXPECT_EQ(FindCounterparts({{30, 0, 0}, {0, 5, 0}, {-30, 0, 0}, {12, 40, 3}, {-12, 41, 3}}),
            (Counterparts{2, 1, 0, 4, 3}));
}

TEST(Counterparts, TheOrderOfPointsMakesNoDifference) {
  EXPECT_EQ(FindCounterparts({{-12, 41, 3}, {-30, 0, 0}, {12, 40, 3}, {30, 0, 0}, {0, 5, 0}}),
            (Counterparts{2, 3, 0, 1, 4}));
}

// The nearest pair is across: the left upper one and the right lower one. It would leave the others alone.
TEST(Counterparts, NeighboursOnAnUnevenFaceArePairedInOrder) {
  EXPECT_EQ(FindCounterparts({{33, 12, 0}, {25.5, 7, 0}, {-38, 13.5, 0}, {-30, 8.7, 0}}),
            (Counterparts{2, 3, 0, 1}));
}

TEST(Counterparts, APointFarFromEveryMirrorImageHasNone) {
  EXPECT_EQ(FindCounterparts({{30, 0, 0}, {-30, 14, 0}}), (Counterparts{std::nullopt, std::nullopt}));
  EXPECT_EQ(FindCounterparts({{30, 0, 0}, {-30, 12, 0}}), (Counterparts{1, 0}));
  EXPECT_EQ(FindCounterparts({{30, 0, 0}}), (Counterparts{std::nullopt}));
  EXPECT_EQ(FindCounterparts({}), Counterparts{});
}

TEST(Counterparts, ACloseLipMarkerIsNotAMidLine) {
  EXPECT_EQ(FindCounterparts({{4, 0, 0}, {-4, 1, 0}, {0.5, 0, 0}}), (Counterparts{1, 0, 2}));
  EXPECT_EQ(FindCounterparts({{4, 0, 0}}), (Counterparts{0})) << "alone it is on the mid-line";
  EXPECT_EQ(FindCounterparts({{6, 0, 0}}), (Counterparts{0})) << "put a little beside it";
  EXPECT_EQ(FindCounterparts({{8, 0, 0}}), (Counterparts{std::nullopt}));
}
