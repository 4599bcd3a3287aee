#include "mien/face/face.h"
#include "tests/face/face_access.h"
#include "tests/face/poses.h"

#include <gtest/gtest.h>

#include <cmath>

namespace {

using namespace tests;

VFaceTemplateState Solve(const VFace& face, const VFaceState& pose) {
  VFaceTemplateState result;
  FillWeights(result, kNaN); // must all be written
  face.Face2TemplateSolve(&result, &pose);
  return result;
}

TEST(Face2TemplateSolve, RestPoseGivesZeroWeights) {
  const VFace face;
  VFaceState pose = RestPose(face);
  for (const bool measured_chin : {false, true}) {
    pose.mValid = measured_chin;
    const VFaceTemplateState result = Solve(face, pose);
    for (int part = 0; part < 9; ++part)
      for (int j = 0; j < 25; ++j)
        EXPECT_EQ(result.mParts[part].mWeights[j], 0) << "part " << part << ", slot " << j;
  }
}

TEST(Face2TemplateSolve, WeightsThatNoRegionWritesAreCleared) {
  const VFace face;
  Numbers numbers(91);
  const VFaceTemplateState result = Solve(face, numbers.PoseAround(face, 1));
  for (int part = 0; part < 9; ++part)
    for (int j = 0; j < 25; ++j) {
      if (j >= face.mParts[part].mTemplates.GetCount()) {
        EXPECT_EQ(result.mParts[part].mWeights[j], 0);
      } else {
        EXPECT_TRUE(std::isfinite(result.mParts[part].mWeights[j]));
      }
    }
}

// A lid exactly at rest is neither closed nor wide open: its solve writes neither weight, and the cleared
// values remain.
TEST(Face2TemplateSolve, RestingLidKeepsTheClearedWeights) {
  const VFace face;
  const VFaceTemplateState result = Solve(face, RestPose(face));
  for (const int eye : {kLeftEye, kRightEye}) {
    EXPECT_EQ(result.mParts[eye].mWeights[0], 0);
    EXPECT_EQ(result.mParts[eye].mWeights[2], 0);
  }
}

TEST(Face2TemplateSolve, EveryPartIsSolvedByItsRegionsSolve) {
  const VFace face;
  const VFaceTestAccess regions{face};
  Numbers numbers(92);
  for (int round = 0; round < 100; ++round) {
    VFaceState pose = numbers.PoseAround(face, 2);
    pose.mValid = round % 2 == 0;
    VFaceTemplateState expected;
    regions.Face2TemplateSolveMouth2(&expected, &pose);
    for (const int part : {kLeftBrow, kRightBrow}) regions.Face2TemplateSolveBrow(part, &expected, &pose);
    for (const int part : {kLeftEye, kRightEye}) regions.Face2TemplateSolveEye(part, &expected, &pose);
    for (const int part : {kLeftCheek, kRightCheek}) regions.Face2TemplateSolveCheek(part, &expected, &pose);
    for (const int part : {kLeftNostril, kRightNostril})
      regions.Face2TemplateSolveNostril(part, &expected, &pose);
    const VFaceTemplateState result = Solve(face, pose);
    for (int part = 0; part < 9; ++part)
      for (int j = 0; j < 25; ++j)
        EXPECT_EQ(result.mParts[part].mWeights[j], expected.mParts[part].mWeights[j])
            << "part " << part << ", slot " << j;
  }
}

TEST(Face2TemplateSolve, MirroredSidesGetTheSameWeights) {
  const VFace face;
  Numbers numbers(93);
  for (int round = 0; round < 100; ++round) {
    VFaceState pose = numbers.PoseAround(face, 2);
    for (const int left : {kLeftBrow, kLeftEye, kLeftCheek, kLeftNostril})
      for (int slot = 0; slot < 7; ++slot) {
        VgeTVector& point = pose.mParts[left + 1].mPoints[slot];
        point = pose.mParts[left].mPoints[slot];
        point.x *= -1;
      }
    const VFaceTemplateState result = Solve(face, pose);
    for (const int left : {kLeftBrow, kLeftEye, kLeftCheek, kLeftNostril})
      for (int j = 0; j < 3; ++j)
        EXPECT_EQ(result.mParts[left].mWeights[j], result.mParts[left + 1].mWeights[j]) << "part " << left;
  }
}

// The solve returns the weights from which the points were made, for templates that do not affect each other.
TEST(Face2TemplateSolve, RecoversLidsSquintCheeksAndNostrilsFromTheirPoints) {
  const VFace face;
  struct Wanted {
    int part, template_index;
    double weight;
  };
  const Wanted wanted[] = {{kLeftEye, 0, 0.3},   {kLeftEye, 1, 0.6},     {kRightEye, 1, 0.2},
                           {kRightEye, 2, 0.9},  {kLeftCheek, 1, 0.4},   {kRightCheek, 0, 0.7},
                           {kLeftNostril, 0, 1}, {kRightNostril, 0, 0.1}};
  VFaceState pose = RestPose(face);
  for (const Wanted& w : wanted) Engage(pose, face, w.part, w.template_index, w.weight);
  const VFaceTemplateState result = Solve(face, pose);
  for (const Wanted& w : wanted) // roundings of coordinates below 2 over strokes down to 0.4
    EXPECT_NEAR(result.mParts[w.part].mWeights[w.template_index], w.weight, 1e-14)
        << face.mParts[w.part].mName << ", template " << w.template_index;
}

TEST(Face2TemplateSolve, InvertsTheTemplateSolveOfTheWholeFace) {
  const VFace face;
  VFaceTemplateState weights;
  weights.mParts[kMouth].mWeights[0] = 0.5;       // Open
  weights.mParts[kLeftEye].mWeights[0] = 0.25;    // Close
  weights.mParts[kRightCheek].mWeights[1] = 0.75; // Out
  VFaceState pose;
  face.Template2FaceSolve(&pose, &weights);
  const VFaceTemplateState result = Solve(face, pose);
  // Roundings of coordinates below 16 over strokes down to 0.5.
  for (int part = 0; part < 9; ++part)
    for (int j = 0; j < 25; ++j)
      EXPECT_NEAR(result.mParts[part].mWeights[j], weights.mParts[part].mWeights[j], 1e-13);
}

TEST(Face2TemplateSolve, HeadFrameAndFourthComponentsAreNotRead) {
  const VFace face;
  Numbers numbers(94);
  VFaceState pose = numbers.PoseAround(face, 2);
  const VFaceTemplateState before = Solve(face, pose);
  for (auto& column : pose.mGlobal.m)
    for (double& element : column) element = kNaN;
  for (VFacePartState& part : pose.mParts)
    for (VgeTVector& point : part.mPoints) point.w = kNaN;
  const VFaceTemplateState after = Solve(face, pose);
  for (int part = 0; part < 9; ++part)
    for (int j = 0; j < 25; ++j) EXPECT_EQ(after.mParts[part].mWeights[j], before.mParts[part].mWeights[j]);
}

TEST(Face2TemplateSolve, PointsThatNoRegionMeasuresAreNotRead) {
  const VFace face;
  Numbers numbers(95);
  VFaceState pose = numbers.PoseAround(face, 2);
  const VFaceTemplateState before = Solve(face, pose);
  constexpr int point_counts[9] = {7, 3, 3, 4, 4, 2, 2, 1, 1};
  for (int part = 0; part < 9; ++part)
    for (int slot = point_counts[part]; slot < 7; ++slot)
      SetXyz(pose.mParts[part].mPoints[slot], kNaN, kNaN, kNaN);
  for (const int eye : {kLeftEye, kRightEye})
    for (const int corner : {0, 2}) SetXyz(pose.mParts[eye].mPoints[corner], kNaN, kNaN, kNaN);
  const VFaceTemplateState after = Solve(face, pose);
  for (int part = 0; part < 9; ++part)
    for (int j = 0; j < 25; ++j) EXPECT_EQ(after.mParts[part].mWeights[j], before.mParts[part].mWeights[j]);
}

TEST(Face2TemplateSolve, KeepsTheTagOfTheResult) {
  const VFace face;
  const VFaceState pose = RestPose(face);
  VFaceTemplateState result;
  result.mIndex = 8;
  face.Face2TemplateSolve(&result, &pose);
  EXPECT_EQ(result.mIndex, 8);
}

} // namespace
