#include "host/takes/marker_indices.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <optional>

using mien::MarkerIndices;
using mien::Take;
using testing::ElementsAre;
using testing::IsEmpty;

TEST(MarkerIndices, FollowTheNames) {
  const Take take({"a", "b", "c"});
  EXPECT_THAT(MarkerIndices(take, {"c", "a", "c"}), ElementsAre(2u, 0u, 2u));
  EXPECT_THAT(MarkerIndices(take, {}), IsEmpty());
}

// Takes exist in which names differ by letter case alone; each is its own marker.
TEST(MarkerIndices, LetterCaseIsADifference) {
  EXPECT_THAT(MarkerIndices(Take({"Rcheek_up", "Rcheek_Up"}), {"Rcheek_Up"}), ElementsAre(1u));
}

TEST(MarkerIndices, OfEqualNamesTheFirstIsMeant) {
  EXPECT_THAT(MarkerIndices(Take({"a", "b", "b"}), {"b"}), ElementsAre(1u));
}

TEST(MarkerIndices, ThrowWhereTheTakeLacksAMarker) {
  EXPECT_THROW(MarkerIndices(Take({"a"}), {"a", "b"}), std::bad_optional_access);
}
