#include "host/performer/guided_poses.h"

#include "host/base/face_parts.h"
#include "host/character/arkit_names.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <set>
#include <string>
#include <string_view>
#include <vector>

using mien::GuidedPose;
using mien::GuidedPoses;
using testing::Contains;
using testing::IsEmpty;

TEST(GuidedPoses, AreSeventeenOfDifferentNamesAndBeginAtRest) {
  std::set<std::string_view> names;
  for (const GuidedPose& pose : GuidedPoses()) {
    names.insert(pose.name);
    EXPECT_GE(pose.seconds, 2) << pose.name;
    EXPECT_FALSE(pose.what.empty()) << pose.name;
    EXPECT_EQ(mien::FindGuidedPose(pose.name), &pose);
  }
  EXPECT_EQ(names.size(), 17u);
  EXPECT_EQ(GuidedPoses()[0].name, mien::kRestPose);
  EXPECT_THAT(GuidedPoses()[0].shapes, IsEmpty());
  EXPECT_EQ(mien::FindGuidedPose("jaw"), nullptr);
}

TEST(GuidedPoses, ShowEveryTemplateOfTheFaceOnce) {
  std::vector<std::string> shown;
  for (const GuidedPose& pose : GuidedPoses())
    shown.insert(shown.end(), pose.templates.begin(), pose.templates.end());
  std::vector<std::string> all;
  for (const mien::TemplateColumn& column : mien::TemplateColumns()) all.push_back(column.name);
  EXPECT_THAT(shown, testing::UnorderedElementsAreArray(all));
}

TEST(GuidedPoses, NameShapesOfPhoneFaceCaptureEachInOnePose) {
  std::set<std::string_view> seen;
  for (const GuidedPose& pose : GuidedPoses())
    for (const std::string_view shape : pose.shapes) {
      EXPECT_THAT(mien::kArkitNames, Contains(shape));
      EXPECT_TRUE(seen.insert(shape).second) << shape;
    }
  EXPECT_EQ(seen.size(), 29u);
}

// Both sides of what the face has twice are asked for at once: only the mouth is pushed to a side.
TEST(GuidedPoses, AreSymmetricExceptForTheMouthPushedToASide) {
  const std::set<std::string_view> to_a_side = {"mouthLeft", "mouthRight"};
  for (const GuidedPose& pose : GuidedPoses())
    for (const std::string_view shape : pose.shapes) {
      if (to_a_side.contains(shape)) continue;
      std::string other(shape);
      if (shape.ends_with("Left")) other.replace(other.size() - 4, 4, "Right");
      if (shape.ends_with("Right")) other.replace(other.size() - 5, 5, "Left");
      EXPECT_THAT(pose.shapes, Contains(other)) << pose.name;
    }
}
