// The mouth solve by agreement of directions: a private alternative that Face2TemplateSolve does not call.

#include "mien/face/face.h"
#include "tests/face/face_access.h"
#include "tests/face/poses.h"

#include <gtest/gtest.h>

#include <cmath>

namespace {

using namespace tests;

VFaceTemplateState Solve(const VFace& face, const VFaceState& pose, double before = 0) {
  VFaceTemplateState result;
  FillWeights(result, before);
  VFaceTestAccess{face}.Face2TemplateSolveMouth(&result, &pose);
  return result;
}

// The product of (1 + cosine) over the closed outline of slots 0 to 5.
double Agreement(const VgeTVector* a, const VgeTVector* b) {
  double product = 1;
  for (int i = 0; i < 6; ++i) {
    const int from = i < 5 ? i : 0, to = i < 5 ? i + 1 : 5;
    const double u[3] = {b[to].x - b[from].x, b[to].y - b[from].y, b[to].z - b[from].z};
    const double v[3] = {a[to].x - a[from].x, a[to].y - a[from].y, a[to].z - a[from].z};
    const double u_length = std::hypot(u[0], u[1], u[2]), v_length = std::hypot(v[0], v[1], v[2]);
    if (u_length == 0 || v_length == 0) continue;
    product *= 1 + (u[0] * v[0] + u[1] * v[1] + u[2] * v[2]) / (u_length * v_length);
  }
  return product;
}

// A closed outline whose every segment lies along an axis, so that opposite directions cancel exactly.
void SetOutline(VgeTVector* points, double sign) {
  constexpr double outline[6][2] = {{0, 0}, {1, 0}, {1, 1}, {2, 1}, {2, 3}, {0, 3}};
  for (int slot = 0; slot < 6; ++slot)
    SetXyz(points[slot], sign * outline[slot][0], sign * outline[slot][1], 0);
}

TEST(MouthSolveByDirection, DistributesTheCubesOfTheAgreementsOverTemplatesAndRest) {
  const VFace face;
  const VFacePart& mouth = face.mParts[kMouth];
  Numbers numbers(71);
  for (int round = 0; round < 100; ++round) {
    const VFaceState pose = numbers.PoseAround(face, 1);
    const VgeTVector* points = pose.mParts[kMouth].mPoints;
    double shares[7], sum = std::pow(Agreement(mouth.mDefaultPoints, points), 3);
    for (int j = 0; j < 7; ++j)
      sum += shares[j] = std::pow(Agreement(mouth.mTemplates[j]->mPoints, points), 3);
    const VFaceTemplateState result = Solve(face, pose);
    // The cube through exp and log: the logarithm, up to 13, is rounded to an ulp of 1.8e-15, and exp turns
    // that into a relative error.
    for (int j = 0; j < 7; ++j) EXPECT_NEAR(result.mParts[kMouth].mWeights[j], shares[j] / sum, 1e-13);
  }
}

TEST(MouthSolveByDirection, TemplatesEqualToRestShareWithItEvenly) {
  VFace face;
  for (int j = 0; j < 7; ++j)
    for (int slot = 0; slot < 7; ++slot)
      face.mParts[kMouth].mTemplates[j]->mPoints[slot] = face.mParts[kMouth].mDefaultPoints[slot];
  const VFaceTemplateState result = Solve(face, RestPose(face));
  for (int j = 0; j < 7; ++j) EXPECT_DOUBLE_EQ(result.mParts[kMouth].mWeights[j], 1.0 / 8);
}

// The rest pose takes its share of the sum but has no weight: even a mouth at rest gives every template a
// small weight.
TEST(MouthSolveByDirection, WeightsAddUpToLessThanOne) {
  const VFace face;
  Numbers numbers(72);
  for (int round = 0; round < 100; ++round) {
    const VFaceTemplateState result = Solve(face, round == 0 ? RestPose(face) : numbers.PoseAround(face, 1));
    double sum = 0;
    for (const double weight : result.mParts[kMouth].mWeights) {
      EXPECT_GE(weight, 0);
      sum += weight;
    }
    EXPECT_GT(sum, 0);
    EXPECT_LT(sum, 1);
  }
}

// A template with one opposite direction has no share: the exponential of the logarithm of 0 is 0.
TEST(MouthSolveByDirection, OppositeDirectionGetsNoWeight) {
  VFace face;
  VFacePart& mouth = face.mParts[kMouth];
  VFaceState pose = RestPose(face);
  SetOutline(pose.mParts[kMouth].mPoints, 1);
  SetOutline(mouth.mDefaultPoints, 1);
  for (int j = 0; j < 7; ++j) SetOutline(mouth.mTemplates[j]->mPoints, j == 2 ? -1 : 1);
  const VFaceTemplateState result = Solve(face, pose);
  EXPECT_EQ(result.mParts[kMouth].mWeights[2], 0);
  EXPECT_DOUBLE_EQ(result.mParts[kMouth].mWeights[0], 1.0 / 7); // six templates and rest
}

TEST(MouthSolveByDirection, NothingIsWrittenIfNothingAgrees) {
  VFace face;
  VFacePart& mouth = face.mParts[kMouth];
  VFaceState pose = RestPose(face);
  SetOutline(pose.mParts[kMouth].mPoints, 1);
  SetOutline(mouth.mDefaultPoints, -1);
  for (int j = 0; j < 7; ++j) SetOutline(mouth.mTemplates[j]->mPoints, -1);
  const VFaceTemplateState result = Solve(face, pose, 7);
  for (const VFacePartTemplateState& part : result.mParts)
    for (const double weight : part.mWeights) EXPECT_EQ(weight, 7);
}

TEST(MouthSolveByDirection, NothingIsWrittenIfAPointIsNaN) {
  const VFace face;
  VFaceState pose = RestPose(face);
  pose.mParts[kMouth].mPoints[5].z = kNaN;
  const VFaceTemplateState result = Solve(face, pose, 7);
  for (const double weight : result.mParts[kMouth].mWeights) EXPECT_EQ(weight, 7);
}

TEST(MouthSolveByDirection, ChinIsNotRead) {
  const VFace face;
  VFaceState pose = RestPose(face), without_chin = pose;
  SetXyz(without_chin.mParts[kMouth].mPoints[6], kNaN, kNaN, kNaN);
  const VFaceTemplateState expected = Solve(face, pose), result = Solve(face, without_chin);
  for (int j = 0; j < 7; ++j)
    EXPECT_EQ(result.mParts[kMouth].mWeights[j], expected.mParts[kMouth].mWeights[j]);
}

TEST(MouthSolveByDirection, WritesOneWeightPerTemplateOfTheMouth) {
  VFace face;
  for (int removed = 0; removed < 3; ++removed) delete face.mParts[kMouth].mTemplates.RemoveLast();
  const VFaceTemplateState result = Solve(face, RestPose(face), 7);
  for (int part = 0; part < 9; ++part)
    for (int j = 0; j < 25; ++j) {
      const bool written = part == kMouth && j < 4;
      EXPECT_EQ(result.mParts[part].mWeights[j] != 7, written) << "part " << part << ", slot " << j;
    }
}

} // namespace
