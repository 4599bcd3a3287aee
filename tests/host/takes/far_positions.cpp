#include "host/takes/far_positions.h"

#include "tests/host/note.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <limits>
#include <vector>

using mien::FarPositions;
using mien::IsWithinReach;
using testing::ElementsAre;
using testing::IsEmpty;

TEST(FarPositions, BeginBeyondAKilometreAlongAnyAxis) {
  EXPECT_TRUE(IsWithinReach({0, 0, 0}));
  EXPECT_TRUE(IsWithinReach({1e6, -1e6, 1e6}));
  constexpr double kNan = std::numeric_limits<double>::quiet_NaN(),
                   kInfinity = std::numeric_limits<double>::infinity();
  for (const double far : {1000000.5, -1000000.5, 1e155, -kInfinity, kInfinity, kNan, -kNan}) {
    EXPECT_FALSE(IsWithinReach({far, 0, 0})) << far;
    EXPECT_FALSE(IsWithinReach({0, far, 0})) << far;
    EXPECT_FALSE(IsWithinReach({0, 0, far})) << far;
  }
}

TEST(FarPositions, AreOneNoteWithTheirNumberAndTheFirst) {
  FarPositions far;
  std::vector<mien::Note> notes;
  far.AppendTo(notes);
  EXPECT_THAT(notes, IsEmpty());
  far.Add("A", "frame", 11);
  far.Add("B", "frame", 9);
  far.AppendTo(notes);
  EXPECT_THAT(notes, ElementsAre(IsNote(
                         mien::Code::InvalidValue, "",
                         "positions beyond a kilometre, taken as gaps: 2, the first: \"A\" in frame 11")));
}
