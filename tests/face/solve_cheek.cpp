#include "mien/face/face.h"
#include "tests/face/face_access.h"
#include "tests/face/poses.h"

#include <gtest/gtest.h>

namespace {

using namespace tests;

struct CheekWeights {
  double up, out;
};

// The weights for an "InUpperCheek" at height y and a "MidLowerCheek" at depth z.
CheekWeights Solve(const VFace& face, int part, double y, double z) {
  VFaceState pose = RestPose(face);
  pose.mParts[part].mPoints[0].y = y;
  pose.mParts[part].mPoints[1].z = z;
  VFaceTemplateState result;
  VFaceTestAccess{face}.Face2TemplateSolveCheek(part, &result, &pose);
  return {result.mParts[part].mWeights[0], result.mParts[part].mWeights[1]};
}

// A cheek of round numbers: "Up" from y = 1 to 3, "Out" from z = 2 to 6.
struct RoundCheek : VFace {
  RoundCheek() {
    for (const int part : {kLeftCheek, kRightCheek}) {
      mParts[part].mDefaultPoints[0].y = 1;
      mParts[part].mTemplates[0]->mPoints[0].y = 3;
      mParts[part].mDefaultPoints[1].z = 2;
      mParts[part].mTemplates[1]->mPoints[1].z = 6;
    }
  }
};

TEST(CheekSolve, UpIsTheHeightOfTheInnerPoint) {
  const RoundCheek face;
  for (const int part : {kLeftCheek, kRightCheek}) {
    EXPECT_EQ(Solve(face, part, 1, 2).up, 0);
    EXPECT_EQ(Solve(face, part, 1.5, 2).up, 0.25);
    EXPECT_EQ(Solve(face, part, 3, 2).up, 1);
    EXPECT_EQ(Solve(face, part, 9, 2).up, 1);
  }
}

TEST(CheekSolve, OutIsTheDepthOfTheLowerPoint) {
  const RoundCheek face;
  for (const int part : {kLeftCheek, kRightCheek}) {
    EXPECT_EQ(Solve(face, part, 1, 2).out, 0);
    EXPECT_EQ(Solve(face, part, 1, 5).out, 0.75);
    EXPECT_EQ(Solve(face, part, 1, 6).out, 1);
    EXPECT_EQ(Solve(face, part, 1, 60).out, 1);
  }
}

TEST(CheekSolve, MovingDownOrInIsZeroNotNegative) {
  const RoundCheek face;
  for (const int part : {kLeftCheek, kRightCheek}) {
    const CheekWeights weights = Solve(face, part, -5, -5);
    EXPECT_EQ(weights.up, 0);
    EXPECT_EQ(weights.out, 0);
  }
}

TEST(CheekSolve, DefaultFaceReachesFullWeightOnItsTemplatePoses) {
  const VFace face;
  for (const int part : {kLeftCheek, kRightCheek}) {
    EXPECT_EQ(Solve(face, part, 0.5 * 3, 0).up, 1);
    EXPECT_EQ(Solve(face, part, 0.2 * 3, 1.4).out, 1);
    // Halfway from 0.6 to 1.5, which are not exact doubles: within a few rounding errors of the quotient.
    EXPECT_DOUBLE_EQ(Solve(face, part, 1.05, 0).up, 0.5);
    EXPECT_DOUBLE_EQ(Solve(face, part, 0.2 * 3, 0.7).out, 0.5);
  }
}

// "Up" also pushes the lower point out a little, and "Out" does not compensate for that.
TEST(CheekSolve, UpPoseAlsoReadsSomeOut) {
  const VFace face;
  for (const int part : {kLeftCheek, kRightCheek}) {
    VFaceState pose = RestPose(face);
    Engage(pose, face, part, 0, 1);
    VFaceTemplateState result;
    VFaceTestAccess{face}.Face2TemplateSolveCheek(part, &result, &pose);
    EXPECT_DOUBLE_EQ(result.mParts[part].mWeights[0], 1);
    EXPECT_DOUBLE_EQ(result.mParts[part].mWeights[1], 0.2 / 1.4);
  }
}

TEST(CheekSolve, PositionThatIsNotANumberCountsAsRest) {
  const RoundCheek face;
  EXPECT_EQ(Solve(face, kLeftCheek, kNaN, 5).up, 0);
  EXPECT_EQ(Solve(face, kLeftCheek, 2, kNaN).out, 0);
}

TEST(CheekSolve, QuotientThatIsNotANumberIsFull) {
  RoundCheek face;
  face.mParts[kRightCheek].mTemplates[0]->mPoints[0].y = kNaN;
  face.mParts[kRightCheek].mTemplates[1]->mPoints[1].z = kNaN;
  const CheekWeights weights = Solve(face, kRightCheek, 1.5, 2.5);
  EXPECT_EQ(weights.up, 1);
  EXPECT_EQ(weights.out, 1);
}

TEST(CheekSolve, OnlyTheTwoCoordinatesAreRead) {
  const RoundCheek face;
  VFaceState pose;
  for (VFacePartState& part : pose.mParts)
    for (VgeTVector& point : part.mPoints) point = {kNaN, kNaN, kNaN, kNaN};
  pose.mParts[kLeftCheek].mPoints[0].y = 2;
  pose.mParts[kLeftCheek].mPoints[1].z = 3;
  VFaceTemplateState result;
  VFaceTestAccess{face}.Face2TemplateSolveCheek(kLeftCheek, &result, &pose);
  EXPECT_EQ(result.mParts[kLeftCheek].mWeights[0], 0.5);
  EXPECT_EQ(result.mParts[kLeftCheek].mWeights[1], 0.25);
}

TEST(CheekSolve, WritesOnlyItsTwoWeights) {
  const VFace face;
  const VFaceState pose = RestPose(face);
  VFaceTemplateState result;
  FillWeights(result, 7);
  VFaceTestAccess{face}.Face2TemplateSolveCheek(kRightCheek, &result, &pose);
  for (int part = 0; part < 9; ++part)
    for (int j = 0; j < 25; ++j)
      EXPECT_EQ(result.mParts[part].mWeights[j], part == kRightCheek && j < 2 ? 0 : 7);
}

} // namespace
