#include "mien/face/face.h"
#include "tests/face/poses.h"

#include <gtest/gtest.h>

#include <cmath>

namespace {

using namespace tests;

// R + the sum over the templates of w * (T - R), added in list order: the same operations, so the same bits.
VFacePartState SumOfDeltas(const VFacePart& part, const double* weights) {
  VFacePartState sum = PartPose(part.mDefaultPoints);
  for (int j = 0; j < part.mTemplates.GetCount(); ++j)
    for (int slot = 0; slot < 7; ++slot) {
      const VgeTVector &target = part.mTemplates[j]->mPoints[slot], &rest = part.mDefaultPoints[slot];
      sum.mPoints[slot].x += (target.x - rest.x) * weights[j];
      sum.mPoints[slot].y += (target.y - rest.y) * weights[j];
      sum.mPoints[slot].z += (target.z - rest.z) * weights[j];
    }
  return sum;
}

// Every template of every part, one at a time.
template <class Check>
void ForEachTemplate(const VFace& face, Check check) {
  int checked = 0;
  for (int part = 0; part < 9; ++part)
    for (int j = 0; j < face.mParts[part].mTemplates.GetCount(); ++j, ++checked) {
      SCOPED_TRACE(testing::Message()
                   << face.mParts[part].mName << " " << face.mParts[part].mTemplates[j]->mName);
      check(part, j);
    }
  ASSERT_EQ(checked, 23);
}

TEST(Template2FaceSolve, ZeroWeightsGiveTheRestPose) {
  const VFace face;
  const VFaceTemplateState weights;
  VFaceState result;
  face.Template2FaceSolve(&result, &weights);
  EXPECT_TRUE(SamePoints(result, RestPose(face)));
}

TEST(Template2FaceSolve, ZeroWeightsGiveWhatSetToDefaultStateGives) {
  const VFace face;
  const VFaceTemplateState weights;
  VFaceState solved, rest;
  face.Template2FaceSolve(&solved, &weights);
  face.SetToDefaultState(&rest);
  EXPECT_TRUE(SamePoints(solved, rest));
}

TEST(Template2FaceSolve, FullWeightOnOneTemplateIsItsPoseAndLeavesTheOtherPartsAtRest) {
  const VFace face;
  ForEachTemplate(face, [&](int part, int j) {
    VFaceTemplateState weights;
    weights.mParts[part].mWeights[j] = 1;
    VFaceState result, expected = RestPose(face);
    expected.mParts[part] = PartPose(face.mParts[part].mTemplates[j]->mPoints);
    face.Template2FaceSolve(&result, &weights);
    // Two roundings of coordinates below 10: at most an ulp of 8, 1.8e-15, each.
    EXPECT_TRUE(SamePoints(result, expected, 4e-15));
  });
}

TEST(Template2FaceSolve, DoubleWeightIsTwiceAsFarFromRest) {
  const VFace face;
  ForEachTemplate(face, [&](int part, int j) {
    VFaceTemplateState weights;
    weights.mParts[part].mWeights[j] = 2;
    VFaceState result;
    face.Template2FaceSolve(&result, &weights);
    VFacePartState expected;
    for (int slot = 0; slot < 7; ++slot) {
      const VgeTVector& target = face.mParts[part].mTemplates[j]->mPoints[slot];
      const VgeTVector& rest = face.mParts[part].mDefaultPoints[slot];
      SetXyz(expected.mPoints[slot], 2 * target.x - rest.x, 2 * target.y - rest.y, 2 * target.z - rest.z);
    }
    EXPECT_TRUE(SamePoints(result.mParts[part], expected, 8e-15)); // roundings of coordinates below 20
  });
}

TEST(Template2FaceSolve, NegativeWeightMirrorsThePoseThroughRest) {
  const VFace face;
  ForEachTemplate(face, [&](int part, int j) {
    VFaceTemplateState weights;
    weights.mParts[part].mWeights[j] = -1;
    VFaceState result;
    face.Template2FaceSolve(&result, &weights);
    VFacePartState expected;
    for (int slot = 0; slot < 7; ++slot) {
      const VgeTVector& target = face.mParts[part].mTemplates[j]->mPoints[slot];
      const VgeTVector& rest = face.mParts[part].mDefaultPoints[slot];
      SetXyz(expected.mPoints[slot], 2 * rest.x - target.x, 2 * rest.y - target.y, 2 * rest.z - target.z);
    }
    EXPECT_TRUE(SamePoints(result.mParts[part], expected, 8e-15)); // as above
  });
}

TEST(Template2FaceSolve, TemplatesAddUpInListOrderWithoutClampOrNormalisation) {
  const VFace face;
  Numbers numbers(11);
  for (int round = 0; round < 50; ++round) {
    VFaceTemplateState weights;
    VFaceState result;
    for (VFacePartTemplateState& part : weights.mParts)
      for (double& weight : part.mWeights) weight = numbers.Between(-3, 3);
    face.Template2FaceSolve(&result, &weights);
    for (int part = 0; part < 9; ++part)
      EXPECT_TRUE(
          SamePoints(result.mParts[part], SumOfDeltas(face.mParts[part], weights.mParts[part].mWeights)));
  }
}

TEST(Template2FaceSolve, WeightsWithoutATemplateAreIgnored) {
  const VFace face;
  VFaceTemplateState weights;
  for (int part = 0; part < 9; ++part)
    for (int j = face.mParts[part].mTemplates.GetCount(); j < 25; ++j)
      weights.mParts[part].mWeights[j] = kNaN;
  VFaceState result;
  face.Template2FaceSolve(&result, &weights);
  EXPECT_TRUE(SamePoints(result, RestPose(face)));
}

TEST(Template2FaceSolve, PartWithoutTemplatesRestsWhateverItsWeights) {
  for (const bool keep_storage : {false, true}) {
    VFace face;
    RemoveTemplates(face.mParts[kLeftEye], keep_storage);
    VFaceTemplateState weights;
    FillWeights(weights, 5);
    VFaceState result;
    face.Template2FaceSolve(&result, &weights);
    EXPECT_TRUE(SamePoints(result.mParts[kLeftEye], PartPose(face.mParts[kLeftEye].mDefaultPoints)));
  }
}

TEST(Template2FaceSolve, AllSevenSlotsTakePartWhateverThePointCount) {
  VFace face;
  SetXyz(face.mParts[kLeftNostril].mDefaultPoints[6], 1, 2, 3);
  SetXyz(face.mParts[kLeftNostril].mTemplates[0]->mPoints[6], 5, 4, 1);
  VFaceTemplateState weights;
  weights.mParts[kLeftNostril].mWeights[0] = 0.5;
  VFaceState result;
  face.Template2FaceSolve(&result, &weights);
  const VgeTVector& point = result.mParts[kLeftNostril].mPoints[6];
  EXPECT_EQ(point.x, 3);
  EXPECT_EQ(point.y, 3);
  EXPECT_EQ(point.z, 2);
}

// Templates with weight zero are included: 0 times an infinite delta is NaN, and shows that the
// face is invalid even if the template is not used.
TEST(Template2FaceSolve, ZeroWeightIncludesItsTemplate) {
  VFace face;
  face.mParts[kMouth].mTemplates[0]->mPoints[2].y = kInfinity;
  const VFaceTemplateState weights;
  VFaceState result;
  face.Template2FaceSolve(&result, &weights);
  EXPECT_TRUE(std::isnan(result.mParts[kMouth].mPoints[2].y));
  EXPECT_EQ(result.mParts[kMouth].mPoints[2].x, face.mParts[kMouth].mDefaultPoints[2].x);
}

// The added zero has another visible effect: a rest coordinate of -0.0 becomes +0.0.
TEST(Template2FaceSolve, ZeroWeightAddsAZeroDelta) {
  VFace face;
  face.mParts[kLeftNostril].mDefaultPoints[0].x = -0.0;
  const VFaceTemplateState weights;
  VFaceState result;
  face.Template2FaceSolve(&result, &weights);
  EXPECT_FALSE(std::signbit(result.mParts[kLeftNostril].mPoints[0].x));
}

TEST(Template2FaceSolve, ANaNWeightAffectsOnlyItsPart) {
  const VFace face;
  VFaceTemplateState weights;
  weights.mParts[kLeftCheek].mWeights[1] = kNaN;
  VFaceState result;
  face.Template2FaceSolve(&result, &weights);
  for (const VgeTVector& point : result.mParts[kLeftCheek].mPoints) {
    EXPECT_TRUE(std::isnan(point.x));
    EXPECT_TRUE(std::isnan(point.y));
    EXPECT_TRUE(std::isnan(point.z));
  }
  const VFaceState rest = RestPose(face);
  for (int part = 0; part < 9; ++part)
    if (part != kLeftCheek) { EXPECT_TRUE(SamePoints(result.mParts[part], rest.mParts[part])); }
}

TEST(Template2FaceSolve, ReadsTheFaceItIsCalledOn) {
  VFace face;
  SetXyz(face.mParts[kRightBrow].mDefaultPoints[1], 7, 8, 9);
  SetXyz(face.mParts[kRightBrow].mTemplates[1]->mPoints[1], 9, 8, 5);
  VFaceTemplateState weights;
  weights.mParts[kRightBrow].mWeights[1] = 0.25;
  VFaceState result;
  face.Template2FaceSolve(&result, &weights);
  const VgeTVector& point = result.mParts[kRightBrow].mPoints[1];
  EXPECT_EQ(point.x, 7.5);
  EXPECT_EQ(point.y, 8);
  EXPECT_EQ(point.z, 8);
}

TEST(Template2FaceSolve, OverwritesTheResult) {
  const VFace face;
  const VFaceTemplateState weights;
  VFaceState result;
  for (VFacePartState& part : result.mParts)
    for (VgeTVector& point : part.mPoints) SetXyz(point, kNaN, kNaN, kNaN);
  face.Template2FaceSolve(&result, &weights);
  EXPECT_TRUE(SamePoints(result, RestPose(face)));
}

TEST(Template2FaceSolve, KeepsTheHeadFrameAndEveryW) {
  const VFace face;
  VFaceTemplateState weights;
  FillWeights(weights, 0.5);
  VFaceState result;
  result.mGlobal = UnusualFrame();
  for (VFacePartState& part : result.mParts)
    for (VgeTVector& point : part.mPoints) point.w = 42;
  face.Template2FaceSolve(&result, &weights);
  EXPECT_EQ(result.mGlobal, UnusualFrame());
  for (const VFacePartState& part : result.mParts)
    for (const VgeTVector& point : part.mPoints) EXPECT_EQ(point.w, 42);
}

// Points computed from weights were not measured: the mouth solve must not use their chin.
TEST(Template2FaceSolve, LeavesTheResultInvalid) {
  const VFace face;
  const VFaceTemplateState weights;
  VFaceState result;
  result.mValid = true;
  face.Template2FaceSolve(&result, &weights);
  EXPECT_FALSE(result.mValid);
}

TEST(SetToDefaultState, WritesTheRestPoseIntoAllSlotsOfAllParts) {
  VFace face;
  Numbers numbers(12);
  for (VFacePart& part : face.mParts)
    for (VgeTVector& point : part.mDefaultPoints) point = numbers.Point(10);
  VFaceState state;
  for (VFacePartState& part : state.mParts)
    for (VgeTVector& point : part.mPoints) SetXyz(point, kNaN, kNaN, kNaN);
  face.SetToDefaultState(&state);
  EXPECT_TRUE(SamePoints(state, RestPose(face)));
}

TEST(SetToDefaultState, LeavesHeadFrameValidityAndW) {
  const VFace face;
  for (const bool valid : {false, true}) {
    VFaceState state;
    state.mGlobal = UnusualFrame();
    state.mValid = valid;
    for (VFacePartState& part : state.mParts)
      for (VgeTVector& point : part.mPoints) point.w = 42;
    face.SetToDefaultState(&state);
    EXPECT_EQ(state.mGlobal, UnusualFrame());
    EXPECT_EQ(state.mValid, valid);
    for (const VFacePartState& part : state.mParts)
      for (const VgeTVector& point : part.mPoints) EXPECT_EQ(point.w, 42);
  }
}

} // namespace
