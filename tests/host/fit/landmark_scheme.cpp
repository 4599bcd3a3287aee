#include "host/fit/landmark_scheme.h"

#include "host/performer/performer_file.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <set>
#include <string>

using mien::LandmarkScheme;
using mien::LoadPerformer;
using mien::MarkersOfLandmarks;
using mien::Performer;
using mien::SchemeOf;
using testing::Optional;

TEST(LandmarkScheme, FollowsFromTheNamesOfTheMarkers) {
  EXPECT_EQ(SchemeOf(LoadPerformer("landmarks68")), LandmarkScheme::Points68);
  EXPECT_EQ(SchemeOf(LoadPerformer("landmarks478")), LandmarkScheme::Mesh478);
  Performer performer;
  EXPECT_EQ(SchemeOf(performer), LandmarkScheme::None);
  performer.holders[0][0] = {"lm3", "lm67"};
  EXPECT_EQ(SchemeOf(performer), LandmarkScheme::Points68);
  for (const char* other : {"Chin", "lm", "lm-1", "lm478", "lm3x"}) {
    performer.holders[0][1] = {other};
    EXPECT_EQ(SchemeOf(performer), LandmarkScheme::None) << other;
  }
}

TEST(LandmarkScheme, TheEndsOfTheJawsContourAreNotPlacesOnTheSkin) {
  const auto markers = MarkersOfLandmarks(LandmarkScheme::Points68);
  for (std::size_t i = 0; i < markers.size(); ++i)
    if (i <= 2 || (i >= 14 && i <= 16))
      EXPECT_FALSE(markers[i]) << i;
    else
      EXPECT_THAT(markers[i], Optional("lm" + std::to_string(i)));
}

// The built-in performers say which points lids, lips and brows are: the two schemes must agree with each.
TEST(LandmarkScheme, OnTheMeshEachLandmarkIsInThePartOfThe68) {
  const Performer few = LoadPerformer("landmarks68"), mesh = LoadPerformer("landmarks478");
  const auto markers = MarkersOfLandmarks(LandmarkScheme::Mesh478);
  std::set<std::string> known;
  for (std::size_t i = 17; i < markers.size(); ++i) {
    ASSERT_TRUE(markers[i]) << i;
    EXPECT_TRUE(known.insert(*markers[i]).second) << *markers[i] << " twice";
  }
  EXPECT_THAT(markers[36], Optional(std::string("lm33"))) << "the right eye's outer corner";
  EXPECT_THAT(markers[45], Optional(std::string("lm263"))) << "the left eye's outer corner";
  EXPECT_THAT(markers[48], Optional(mesh.holders[0][3][0])) << "the right corner of the mouth";
  EXPECT_THAT(markers[54], Optional(mesh.holders[0][0][0])) << "the left corner of the mouth";
  EXPECT_THAT(markers[30], Optional(std::string("lm4"))) << "the tip of the nose";
  for (std::size_t i = 0; i < 17; ++i) EXPECT_FALSE(markers[i]) << i;
}
