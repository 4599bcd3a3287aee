#include "mien/face/face.h"
#include "tests/face/face_access.h"
#include "tests/face/poses.h"

#include <gtest/gtest.h>

#include <cmath>

namespace {

using namespace tests;

struct BrowWeights {
  double up, down;
};

BrowWeights Solve(const VFace& face, int part, const VFaceState& pose) {
  VFaceTemplateState result;
  VFaceTestAccess{face}.Face2TemplateSolveBrow(part, &result, &pose);
  return {result.mParts[part].mWeights[0], result.mParts[part].mWeights[1]};
}

// A brow with three chosen distances along x: the pose is at rest except "MidBrow", which is
// `from_rest` away; "MidBrow" is `from_up` away from its "Up" and "InBrow" `from_down` away from its "Down".
BrowWeights SolveAtDistances(int part, double from_rest, double from_up, double from_down) {
  VFace face;
  VFaceState pose = RestPose(face);
  VFacePart& brow = face.mParts[part];
  for (int slot = 0; slot < 3; ++slot) {
    SetXyz(pose.mParts[part].mPoints[slot], 0, 0, 0);
    SetXyz(brow.mDefaultPoints[slot], 0, 0, 0);
  }
  SetXyz(brow.mDefaultPoints[1], from_rest, 0, 0);
  SetXyz(brow.mTemplates[0]->mPoints[1], -from_up, 0, 0);
  SetXyz(brow.mTemplates[1]->mPoints[0], 0, from_down, 0);
  return Solve(face, part, pose);
}

TEST(BrowSolve, RestPoseGivesZeroWeights) {
  const VFace face;
  const VFaceState pose = RestPose(face);
  for (const int part : {kLeftBrow, kRightBrow}) {
    EXPECT_EQ(Solve(face, part, pose).up, 0);
    EXPECT_EQ(Solve(face, part, pose).down, 0);
  }
}

// Weights 0.5 and 0.25, a difference of 0.25: "Down" moves away from "Up" by 1.125 times the difference.
TEST(BrowSolve, LesserDownIsPushedBelowZero) {
  for (const int part : {kLeftBrow, kRightBrow}) {
    const BrowWeights weights = SolveAtDistances(part, 1, 1, 3);
    EXPECT_EQ(weights.up, 0.5);
    EXPECT_EQ(weights.down, -0.03125);
  }
}

// Weights 0.25 and 1, a difference of 0.75. Neither weight is limited to [0, 1]: the blend needs their
// separation.
TEST(BrowSolve, GreaterDownIsPushedAboveOne) {
  for (const int part : {kLeftBrow, kRightBrow}) {
    const BrowWeights weights = SolveAtDistances(part, 1, 3, 0);
    EXPECT_EQ(weights.up, 0.25);
    EXPECT_EQ(weights.down, 1 + 0.75 * 1.125);
  }
}

TEST(BrowSolve, EqualWeightsAreUnchanged) {
  const BrowWeights weights = SolveAtDistances(kLeftBrow, 2, 6, 6);
  EXPECT_EQ(weights.up, 0.25);
  EXPECT_EQ(weights.down, 0.25);
}

TEST(BrowSolve, OnItsTemplateAWeightIsOneBeforeTheSeparation) {
  const BrowWeights weights = SolveAtDistances(kLeftBrow, 1, 0, 3);
  EXPECT_EQ(weights.up, 1);
  EXPECT_EQ(weights.down, 0.25 - 0.75 * 1.125);
}

TEST(BrowSolve, AtRestOnBothTemplatesBothWeightsAreNaN) {
  const BrowWeights weights = SolveAtDistances(kLeftBrow, 0, 0, 0);
  EXPECT_TRUE(std::isnan(weights.up));
  EXPECT_TRUE(std::isnan(weights.down));
}

// 0 / (0 + 0) for "Up" and 0 / (0 + 3) for "Down"; a NaN difference moves nothing.
TEST(BrowSolve, UpWithoutAStrokeAtRestLeavesDownUnchanged) {
  const BrowWeights weights = SolveAtDistances(kRightBrow, 0, 0, 3);
  EXPECT_TRUE(std::isnan(weights.up));
  EXPECT_EQ(weights.down, 0);
}

TEST(BrowSolve, UpIsMeasuredOnTheMiddleAndDownOnTheInnerPoint) {
  const VFace face;
  for (const int part : {kLeftBrow, kRightBrow}) {
    VFaceState pose = RestPose(face);
    pose.mParts[part].mPoints[1] = face.mParts[part].mTemplates[0]->mPoints[1];
    EXPECT_EQ(Solve(face, part, pose).up, 1);

    pose = RestPose(face);
    pose.mParts[part].mPoints[0] = face.mParts[part].mTemplates[1]->mPoints[0];
    const BrowWeights weights = Solve(face, part, pose);
    EXPECT_GT(weights.down, 1); // 1 before the separation
    EXPECT_LT(weights.up, 1);
  }
}

TEST(BrowSolve, OtherPointsOfTheTemplatesDoNotMatter) {
  VFace face;
  Numbers numbers(51);
  const VFaceState pose = numbers.PoseAround(face, 2);
  const BrowWeights before = Solve(face, kLeftBrow, pose);
  for (int slot = 0; slot < 7; ++slot) {
    if (slot != 1) SetXyz(face.mParts[kLeftBrow].mTemplates[0]->mPoints[slot], kNaN, kNaN, kNaN);
    if (slot != 0) SetXyz(face.mParts[kLeftBrow].mTemplates[1]->mPoints[slot], kNaN, kNaN, kNaN);
  }
  const BrowWeights after = Solve(face, kLeftBrow, pose);
  EXPECT_EQ(after.up, before.up);
  EXPECT_EQ(after.down, before.down);
}

TEST(BrowSolve, DistanceFromRestIsSummedOverThePartsPoints) {
  VFace face;
  VFaceState pose = RestPose(face);
  pose.mParts[kLeftBrow].mPoints[2].x += 3; // "OutBrow", which no template measures
  const double all = 3, to_up = (0.7 - 0.15) * 6;
  EXPECT_NEAR(Solve(face, kLeftBrow, pose).up, all / (all + to_up), 1e-15);
  face.mParts[kLeftBrow].mPointCount = 2;
  EXPECT_EQ(Solve(face, kLeftBrow, pose).up, 0);
}

TEST(BrowSolve, FollowsItsDefinitionToTheBit) {
  const VFace face;
  Numbers numbers(52);
  const auto distance = [](const VgeTVector& a, const VgeTVector& b) {
    const double x = a.x - b.x, y = a.y - b.y, z = a.z - b.z;
    return std::sqrt(x * x + y * y + z * z);
  };
  int pushed_down = 0, pushed_up = 0;
  for (int round = 0; round < 500; ++round) {
    const VFaceState pose = numbers.PoseAround(face, 4);
    for (const int part : {kLeftBrow, kRightBrow}) {
      const VFacePart& brow = face.mParts[part];
      const VgeTVector* s = pose.mParts[part].mPoints;
      const VgeTVector* r = brow.mDefaultPoints;
      const double rest = distance(r[0], s[0]) + distance(r[1], s[1]) + distance(r[2], s[2]);
      const double up = rest / (rest + distance(brow.mTemplates[0]->mPoints[1], s[1]));
      const double down = rest / (rest + distance(brow.mTemplates[1]->mPoints[0], s[0]));
      const double push = std::abs(up - down) * 2.25 * 0.5;
      ++(up > down ? pushed_down : pushed_up);
      const BrowWeights weights = Solve(face, part, pose);
      EXPECT_EQ(weights.up, up);
      EXPECT_EQ(weights.down, up > down ? down - push : down + push);
    }
  }
  EXPECT_GT(pushed_down, 100); // both branches were tested
  EXPECT_GT(pushed_up, 100);
}

TEST(BrowSolve, MirroredBrowHasTheSameWeights) {
  const VFace face;
  Numbers numbers(53);
  for (int round = 0; round < 50; ++round) {
    VFaceState pose = numbers.PoseAround(face, 4);
    for (int slot = 0; slot < 7; ++slot) {
      pose.mParts[kRightBrow].mPoints[slot] = pose.mParts[kLeftBrow].mPoints[slot];
      pose.mParts[kRightBrow].mPoints[slot].x *= -1;
    }
    EXPECT_EQ(Solve(face, kRightBrow, pose).up, Solve(face, kLeftBrow, pose).up);
    EXPECT_EQ(Solve(face, kRightBrow, pose).down, Solve(face, kLeftBrow, pose).down);
  }
}

TEST(BrowSolve, ANaNPositionGivesNaNWeights) {
  const VFace face;
  VFaceState pose = RestPose(face);
  pose.mParts[kLeftBrow].mPoints[2].z = kNaN;
  EXPECT_TRUE(std::isnan(Solve(face, kLeftBrow, pose).up));
  EXPECT_TRUE(std::isnan(Solve(face, kLeftBrow, pose).down));
}

TEST(BrowSolve, WritesOnlyItsTwoWeights) {
  const VFace face;
  const VFaceState pose = RestPose(face);
  VFaceTemplateState result;
  FillWeights(result, 7);
  VFaceTestAccess{face}.Face2TemplateSolveBrow(kRightBrow, &result, &pose);
  for (int part = 0; part < 9; ++part)
    for (int j = 0; j < 25; ++j)
      EXPECT_EQ(result.mParts[part].mWeights[j], part == kRightBrow && j < 2 ? 0 : 7);
}

} // namespace
