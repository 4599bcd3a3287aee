#include "mien/face/face.h"
#include "tests/face/face_access.h"
#include "tests/face/poses.h"

#include <gtest/gtest.h>

namespace {

using namespace tests;

struct EyeWeights {
  double close, squint, wide_open;
};

// The weights for an upper and a lower lid at the given heights. On the default face the upper lid rests at
// 1, closes at -0.5 and opens wide at 1.4; the lower lid rests at -1 and squints at -0.4. The weights are 7
// before the solve.
EyeWeights Solve(const VFace& face, int part, double upper, double lower) {
  VFaceState pose = RestPose(face);
  pose.mParts[part].mPoints[1].y = upper;
  pose.mParts[part].mPoints[3].y = lower;
  VFaceTemplateState result;
  FillWeights(result, 7);
  VFaceTestAccess{face}.Face2TemplateSolveEye(part, &result, &pose);
  const double(&weights)[25] = result.mParts[part].mWeights;
  return {weights[0], weights[1], weights[2]};
}

TEST(EyeSolve, LoweredLidCloses) {
  const VFace face;
  for (const int part : {kLeftEye, kRightEye}) {
    EXPECT_EQ(Solve(face, part, 0.25, -1).close, 0.5);
    EXPECT_EQ(Solve(face, part, 0.625, -1).close, 0.25);
    EXPECT_EQ(Solve(face, part, -0.5, -1).close, 1);
    EXPECT_EQ(Solve(face, part, -0.75, -1).close, 1);
    EXPECT_EQ(Solve(face, part, -kInfinity, -1).close, 1);
  }
}

TEST(EyeSolve, LoweredLidIsNotWideOpen) {
  const VFace face;
  EXPECT_EQ(Solve(face, kLeftEye, 0.25, -1).wide_open, 0);
  EXPECT_EQ(Solve(face, kRightEye, -9, -1).wide_open, 0);
}

TEST(EyeSolve, RaisedLidOpensWide) {
  VFace face;
  for (const int part : {kLeftEye, kRightEye}) {
    EXPECT_EQ(Solve(face, part, 0.7 * 2, -1).wide_open, 1);
    EXPECT_EQ(Solve(face, part, 2, -1).wide_open, 1);
    EXPECT_EQ(Solve(face, part, kInfinity, -1).wide_open, 1);
    EXPECT_DOUBLE_EQ(Solve(face, part, 1.2, -1).wide_open, 0.5); // 1.2 and 1.4 are not exact doubles
    face.mParts[part].mTemplates[2]->mPoints[1].y = 3;
    EXPECT_EQ(Solve(face, part, 1.5, -1).wide_open, 0.25);
  }
}

TEST(EyeSolve, RaisedLidIsNotClosed) {
  const VFace face;
  EXPECT_EQ(Solve(face, kLeftEye, 1.125, -1).close, 0);
  EXPECT_EQ(Solve(face, kRightEye, 5, -1).close, 0);
}

// Both weights of the result are unchanged: the caller has cleared them.
TEST(EyeSolve, RestingLidWritesNeitherCloseNorWideOpen) {
  const VFace face;
  for (const int part : {kLeftEye, kRightEye}) {
    EXPECT_EQ(Solve(face, part, 1, -1).close, 7);
    EXPECT_EQ(Solve(face, part, 1, -1).wide_open, 7);
  }
}

// It is neither above nor below rest.
TEST(EyeSolve, LidThatIsNotANumberWritesNeitherCloseNorWideOpen) {
  const VFace face;
  EXPECT_EQ(Solve(face, kLeftEye, kNaN, -1).close, 7);
  EXPECT_EQ(Solve(face, kLeftEye, kNaN, -1).wide_open, 7);
}

TEST(EyeSolve, LowerLidSquintsWhateverTheUpperLidDoes) {
  VFace face;
  for (const int part : {kLeftEye, kRightEye}) {
    face.mParts[part].mTemplates[1]->mPoints[3].y = 1; // from -1: two up
    for (const double upper : {1.0, 0.25, 2.0, kNaN}) {
      EXPECT_EQ(Solve(face, part, upper, -1).squint, 0);
      EXPECT_EQ(Solve(face, part, upper, -0.5).squint, 0.25);
      EXPECT_EQ(Solve(face, part, upper, 1).squint, 1);
      EXPECT_EQ(Solve(face, part, upper, 4).squint, 1);
    }
  }
}

TEST(EyeSolve, LowerLidMovingDownDoesNotSquint) {
  const VFace face;
  for (const int part : {kLeftEye, kRightEye}) {
    EXPECT_EQ(Solve(face, part, 1, -1.5).squint, 0);
    EXPECT_EQ(Solve(face, part, 1, -kInfinity).squint, 0);
  }
}

TEST(EyeSolve, DefaultSquintPoseIsFullSquint) {
  const VFace face;
  EXPECT_EQ(Solve(face, kLeftEye, 1, -0.2 * 2).squint, 1);
  EXPECT_EQ(Solve(face, kRightEye, 1, -0.2 * 2).squint, 1);
}

// Squint has no test of the direction: a template below rest is reached by moving down.
TEST(EyeSolve, SquintFollowsItsTemplateDownwardToo) {
  VFace face;
  face.mParts[kLeftEye].mTemplates[1]->mPoints[3].y = -3;
  EXPECT_EQ(Solve(face, kLeftEye, 1, -1.5).squint, 0.25);
  EXPECT_EQ(Solve(face, kLeftEye, 1, -0.5).squint, 0);
}

// A quotient that is not a number counts as full, so a squint without a stroke is full even at rest.
TEST(EyeSolve, SquintWithoutAStrokeIsFullUnlessTheLidGoesDown) {
  VFace face;
  face.mParts[kLeftEye].mTemplates[1]->mPoints[3].y = -1;
  EXPECT_EQ(Solve(face, kLeftEye, 1, -1).squint, 1);    // 0 / 0
  EXPECT_EQ(Solve(face, kLeftEye, 1, -0.5).squint, 1);  // +infinity
  EXPECT_EQ(Solve(face, kLeftEye, 1, -1.5).squint, 0);  // -infinity
  EXPECT_EQ(Solve(face, kRightEye, 1, kNaN).squint, 1); // any eye whose lower lid is not a number
}

TEST(EyeSolve, LidTemplatesWithoutAStrokeAreFullImmediately) {
  VFace face;
  face.mParts[kLeftEye].mTemplates[0]->mPoints[1].y = 1;
  face.mParts[kLeftEye].mTemplates[2]->mPoints[1].y = 1;
  EXPECT_EQ(Solve(face, kLeftEye, 0.999, -1).close, 1);
  EXPECT_EQ(Solve(face, kLeftEye, 1.001, -1).wide_open, 1);
  face.mParts[kLeftEye].mTemplates[0]->mPoints[1].y = kNaN;
  face.mParts[kLeftEye].mTemplates[2]->mPoints[1].y = kNaN;
  EXPECT_EQ(Solve(face, kLeftEye, 0.999, -1).close, 1);
  EXPECT_EQ(Solve(face, kLeftEye, 1.001, -1).wide_open, 1);
}

TEST(EyeSolve, OnlyTheHeightsOfTheLidsAreRead) {
  const VFace face;
  VFaceState pose;
  for (VFacePartState& part : pose.mParts)
    for (VgeTVector& point : part.mPoints) point = {kNaN, kNaN, kNaN, kNaN};
  pose.mParts[kRightEye].mPoints[1].y = 0.25;
  pose.mParts[kRightEye].mPoints[3].y = -1;
  VFaceTemplateState result;
  VFaceTestAccess{face}.Face2TemplateSolveEye(kRightEye, &result, &pose);
  EXPECT_EQ(result.mParts[kRightEye].mWeights[0], 0.5);
  EXPECT_EQ(result.mParts[kRightEye].mWeights[1], 0);
  EXPECT_EQ(result.mParts[kRightEye].mWeights[2], 0);
}

TEST(EyeSolve, WritesOnlyItsThreeWeights) {
  const VFace face;
  VFaceState pose = RestPose(face);
  pose.mParts[kLeftEye].mPoints[1].y = 0.25;
  VFaceTemplateState result;
  FillWeights(result, 7);
  VFaceTestAccess{face}.Face2TemplateSolveEye(kLeftEye, &result, &pose);
  for (int part = 0; part < 9; ++part)
    for (int j = 0; j < 25; ++j) {
      const bool written = part == kLeftEye && j < 3;
      EXPECT_EQ(result.mParts[part].mWeights[j] != 7, written) << "part " << part << ", slot " << j;
    }
}

} // namespace
