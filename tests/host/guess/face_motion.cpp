#include "host/guess/face_motion.h"

#include "mien/base/affine.h"
#include "tests/host/guess/speaking_face.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstddef>
#include <vector>

using mien::FaceMotion;
using mien::Take;

namespace {

std::vector<std::size_t> All(const Take& take) {
  std::vector<std::size_t> markers(take.MarkerCount());
  for (std::size_t m = 0; m < markers.size(); ++m) markers[m] = m;
  return markers;
}

} // namespace

TEST(FaceMotion, TheHeadsMotionIsRemoved) {
  const Take take = tests::SpeakingTake({}, 0);
  const FaceMotion motion(take, All(take));
  const auto cap = motion.Of(*take.FindMarker("Cap1")), jaw = motion.Of(*take.FindMarker("ChinMid"));
  ASSERT_TRUE(cap && jaw);
  EXPECT_LT(cap->spread_mm, 0.5) << "the head wanders by decimetres";
  EXPECT_GT(jaw->spread_mm, 5);
  const double distance = mien::Length(mien::Difference(cap->place, jaw->place));
  EXPECT_NEAR(distance, 209.7, 6) << "the jaw is open in less than half of the frames";
}

TEST(FaceMotion, PlacesAtTheTopAreThoseOfAShutMouth) {
  const Take take = tests::SpeakingTake({}, 0);
  const FaceMotion motion(take, All(take));
  const std::vector<std::size_t> chin = {*take.FindMarker("ChinMid")};
  const std::size_t lip = *take.FindMarker("LipLowMid"), upper = *take.FindMarker("LipUpMid");
  const auto places = motion.PlacesAtTop({lip, upper}, chin, {});
  EXPECT_NEAR(mien::Distance(places[0], places[1]), 19.7, 1.5) << "at rest";
}

TEST(FaceMotion, MarkersMoveTogetherAgainstEachOtherOrNot) {
  const Take take = tests::SpeakingTake();
  const FaceMotion motion(take, All(take));
  const auto r = [&](const char* a, const char* b) {
    return motion.Correlation(*take.FindMarker(a), *take.FindMarker(b), {0, 1, 0});
  };
  EXPECT_GT(r("LipLowMid", "ChinMid").value_or(0), 0.9);
  EXPECT_GT(r("CornerL", "CornerR").value_or(0), 0.9);
  EXPECT_LT(std::fabs(r("BrowMidL", "ChinMid").value_or(1)), 0.5);
  EXPECT_FALSE(r("Cap1", "ChinMid")) << "the cap holds still";
}
