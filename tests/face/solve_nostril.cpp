#include "mien/face/face.h"
#include "tests/face/face_access.h"
#include "tests/face/poses.h"

#include <gtest/gtest.h>

namespace {

using namespace tests;

// The weight of the nostril's "Up" for a nostril at height y; its rest and template heights are the face's.
double Up(const VFace& face, int part, double y) {
  VFaceState pose = RestPose(face);
  pose.mParts[part].mPoints[0].y = y;
  VFaceTemplateState result;
  VFaceTestAccess{face}.Face2TemplateSolveNostril(part, &result, &pose);
  return result.mParts[part].mWeights[0];
}

TEST(NostrilSolve, RampsFromRestToTheTemplate) {
  const VFace face; // rest 0, "Up" 1
  for (const int part : {kLeftNostril, kRightNostril}) {
    EXPECT_EQ(Up(face, part, 0), 0);
    EXPECT_EQ(Up(face, part, 0.25), 0.25);
    EXPECT_EQ(Up(face, part, 0.75), 0.75);
    EXPECT_EQ(Up(face, part, 1), 1);
  }
}

TEST(NostrilSolve, StaysFullAboveTheTemplateAndZeroBelowRest) {
  const VFace face;
  for (const int part : {kLeftNostril, kRightNostril}) {
    EXPECT_EQ(Up(face, part, 1.5), 1);
    EXPECT_EQ(Up(face, part, kInfinity), 1);
    EXPECT_EQ(Up(face, part, -0.5), 0);
    EXPECT_EQ(Up(face, part, -kInfinity), 0);
  }
}

TEST(NostrilSolve, MeasuresFromTheFacesOwnRest) {
  VFace face;
  face.mParts[kLeftNostril].mDefaultPoints[0].y = 2;
  face.mParts[kLeftNostril].mTemplates[0]->mPoints[0].y = 6;
  EXPECT_EQ(Up(face, kLeftNostril, 2), 0);
  EXPECT_EQ(Up(face, kLeftNostril, 3), 0.25);
  EXPECT_EQ(Up(face, kLeftNostril, 6), 1);
}

TEST(NostrilSolve, PositionThatIsNotANumberCountsAsRest) {
  const VFace face;
  EXPECT_EQ(Up(face, kLeftNostril, kNaN), 0);
}

// A ramp without a length: anything above rest is above the template as well.
TEST(NostrilSolve, TemplateAtOrBelowRestIsFullAsSoonAsTheNostrilRises) {
  VFace face;
  for (const double template_y : {0.0, -1.0}) {
    face.mParts[kLeftNostril].mTemplates[0]->mPoints[0].y = template_y;
    EXPECT_EQ(Up(face, kLeftNostril, 1e-9), 1);
    EXPECT_EQ(Up(face, kLeftNostril, 0), 0);
    EXPECT_EQ(Up(face, kLeftNostril, -2), 0);
  }
}

// A NaN quotient counts as full, because of the order of the limit's two comparisons.
TEST(NostrilSolve, QuotientThatIsNotANumberIsFull) {
  VFace face;
  face.mParts[kLeftNostril].mTemplates[0]->mPoints[0].y = kNaN;
  EXPECT_EQ(Up(face, kLeftNostril, 0.5), 1);
  EXPECT_EQ(Up(face, kLeftNostril, 0), 0); // not above rest: no quotient
  face.mParts[kLeftNostril].mTemplates[0]->mPoints[0].y = kInfinity;
  EXPECT_EQ(Up(face, kLeftNostril, 0.5), 0);
  EXPECT_EQ(Up(face, kLeftNostril, kInfinity), 1); // infinity / infinity
}

TEST(NostrilSolve, OnlyTheHeightOfTheNostrilIsRead) {
  const VFace face;
  VFaceState pose;
  for (VFacePartState& part : pose.mParts)
    for (VgeTVector& point : part.mPoints) point = {kNaN, kNaN, kNaN, kNaN};
  pose.mParts[kRightNostril].mPoints[0].y = 0.5;
  VFaceTemplateState result;
  VFaceTestAccess{face}.Face2TemplateSolveNostril(kRightNostril, &result, &pose);
  EXPECT_EQ(result.mParts[kRightNostril].mWeights[0], 0.5);
}

TEST(NostrilSolve, WritesOnlyItsWeight) {
  const VFace face;
  const VFaceState pose = RestPose(face);
  VFaceTemplateState result;
  FillWeights(result, 7);
  VFaceTestAccess{face}.Face2TemplateSolveNostril(kLeftNostril, &result, &pose);
  for (int part = 0; part < 9; ++part)
    for (int j = 0; j < 25; ++j)
      EXPECT_EQ(result.mParts[part].mWeights[j], part == kLeftNostril && j == 0 ? 0 : 7);
}

} // namespace
