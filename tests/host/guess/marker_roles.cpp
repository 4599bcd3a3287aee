#include "host/guess/marker_roles.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cmath>
#include <cstddef>
#include <vector>

using mien::FaceSpot;
using mien::FindSpots;
using testing::HasSubstr;

namespace {

/// These places (left or on the mid-line) and their mirror images.
std::vector<VgeTVector> Both(const std::vector<VgeTVector>& left) {
  std::vector<VgeTVector> places = left;
  for (const VgeTVector& p : left)
    if (p.x > 0) places.push_back({-p.x, p.y, p.z});
  return places;
}

/// The spot of the place of this index.
FaceSpot SpotOf(const std::vector<VgeTVector>& places, std::size_t index) {
  for (const FaceSpot& spot : FindSpots(places))
    for (const std::size_t point : spot.points)
      if (point == index) return spot;
  return {};
}

const VgeTVector kCorner = {27, -69, 5}, kUpperLip = {9, -60, 20}, kLowerLip = {10, -77, 16};

} // namespace

TEST(MarkerRoles, AMarkerIsWhereItIs) {
  const std::vector<VgeTVector> places = Both({{14, 25, 12}, {34, -24, 2}, {0, -27, 36}, {15, -42, 15}});
  EXPECT_EQ(SpotOf(places, 0).region, mien::kInnerBrow);
  EXPECT_EQ(SpotOf(places, 1).region, mien::kUpperCheek);
  EXPECT_EQ(SpotOf(places, 2).region, mien::kNoseTip);
  EXPECT_TRUE(SpotOf(places, 2).on_mid_line);
  EXPECT_EQ(SpotOf(places, 3).region, mien::kNoseWing);
  EXPECT_EQ(SpotOf(places, 3).points.size(), 2U);
}

TEST(MarkerRoles, AMarkerFarFromTheFaceIsUnused) {
  const FaceSpot spot = SpotOf(Both({kCorner, {80, 90, -60}}), 1);
  EXPECT_FALSE(spot.region);
  EXPECT_EQ(spot.unused, "far from every part of the face");
}

TEST(MarkerRoles, TheFirstRowBelowTheCornersIsTheLowerLipHoweverOpenTheMouth) {
  for (const double open : {0, 8, 14}) {
    SCOPED_TRACE(open);
    const std::vector<VgeTVector> places =
        Both({kCorner, kUpperLip, {10, -77 - open, 16}, {14, -97 - open, 6}, {0, -98 - open, 10}});
    EXPECT_EQ(SpotOf(places, 1).region, mien::kUpperLip);
    EXPECT_EQ(SpotOf(places, 2).region, mien::kLowerLip);
    EXPECT_EQ(SpotOf(places, 3).region, mien::kSideChin);
    EXPECT_EQ(SpotOf(places, 4).region, mien::kMiddleChin);
  }
}

TEST(MarkerRoles, ASingleRowBelowTheCornersIsWhatItIs) {
  EXPECT_EQ(SpotOf(Both({kCorner, kUpperLip, kLowerLip}), 2).region, mien::kLowerLip);
  EXPECT_EQ(SpotOf(Both({kCorner, kUpperLip, {14, -98, 6}}), 2).region, mien::kSideChin);
}

TEST(MarkerRoles, LidsInTwoRowsAreUpperAndLower) {
  for (const double lower_lid : {-6.0, 0.0, 2.0}) {
    SCOPED_TRACE(lower_lid);
    const std::vector<VgeTVector> places =
        Both({{27, lower_lid + 9, 2}, {38, lower_lid + 8, 0}, {27, lower_lid, 1}, {38, lower_lid - 1, -1}});
    EXPECT_EQ(SpotOf(places, 0).region, mien::kUpperLid);
    EXPECT_EQ(SpotOf(places, 1).region, mien::kUpperLid);
    EXPECT_EQ(SpotOf(places, 2).region, mien::kLowerLid);
    EXPECT_EQ(SpotOf(places, 3).region, mien::kLowerLid);
  }
}

TEST(MarkerRoles, AMarkerFarBelowTheUpperLidIsTheCheekAndDoubted) {
  const FaceSpot spot = SpotOf(Both({{33, 9, 1}, {32, -7, 0}}), 1);
  EXPECT_EQ(spot.region, mien::kUpperCheek);
  EXPECT_THAT(spot.doubt, HasSubstr("taken for the cheek: 16 mm below the upper lid"));
}

TEST(MarkerRoles, LidsAreFoundBetweenLowEyeCorners) {
  // As where markers are on the bone around the eye.
  const std::vector<VgeTVector> places = Both({{12, -11, 13}, {49, -15, -12}, {29, 4, 2}, {27, -20, 5}});
  EXPECT_EQ(SpotOf(places, 0).region, mien::kInnerEyeCorner);
  EXPECT_EQ(SpotOf(places, 1).region, mien::kOuterEyeCorner);
  EXPECT_EQ(SpotOf(places, 2).region, mien::kUpperLid);
  EXPECT_EQ(SpotOf(places, 3).region, mien::kLowerLid);
}

TEST(MarkerRoles, BetweenTwoHoldersOneIsLeftOutWhereTheHolderHasOthers) {
  const VgeTVector wing = {15, -41, 16}, between = {21, -43, 6.5};
  const FaceSpot alone = SpotOf(Both({between}), 0);
  ASSERT_TRUE(alone.region);
  EXPECT_THAT(alone.doubt, HasSubstr("it may be the"));
  const FaceSpot beside = SpotOf(Both({between, wing, {38, -45, -2}}), 0);
  EXPECT_FALSE(beside.region);
  EXPECT_TRUE(beside.between);
  EXPECT_THAT(beside.unused,
              testing::AllOf(HasSubstr("between"), HasSubstr("wing of the nose"), HasSubstr("cheek")));
}

TEST(MarkerRoles, BesideACornerOfTheMouthIsTheCheek) {
  const FaceSpot spot = SpotOf(Both({{33, -60.5, 1.5}, kCorner}), 0);
  ASSERT_TRUE(spot.region);
  EXPECT_TRUE(spot.region == mien::kMiddleCheek || spot.region == mien::kLowerCheek);
  EXPECT_EQ(spot.doubt, "taken for the cheek; it may be the corner of the mouth");
}
