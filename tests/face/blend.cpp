#include "mien/face/face.h"
#include "tests/face/poses.h"

#include <gtest/gtest.h>

#include <cmath>

namespace {

using namespace tests;

VFaceBlendState Weights(double first, double second, double third) {
  VFaceBlendState weights;
  weights.mWeights[0] = first, weights.mWeights[1] = second, weights.mWeights[2] = third;
  return weights;
}

// Three poses and three template states, in which all values differ.
struct Sources {
  VFaceState poses[3];
  VFaceTemplateState templates[3];

  explicit Sources(const VFace& face) {
    Numbers numbers(21);
    for (VFaceState& pose : poses) pose = numbers.PoseAround(face, 4);
    for (VFaceTemplateState& state : templates)
      for (VFacePartTemplateState& part : state.mParts)
        for (double& weight : part.mWeights) weight = numbers.Between(-2, 2);
  }
};

// R + the sum over the sources of b * (S - R), R added once at the end: the same operations, so the same
// bits.
double BlendOfOffsets(double rest, const double (&sources)[3], const VFaceBlendState& blend) {
  double sum = 0;
  for (int i = 0; i < 3; ++i)
    if (blend.mWeights[i] != 0) sum += (sources[i] - rest) * blend.mWeights[i];
  return sum + rest;
}

VFaceState ReferenceBlend(const VFace& face, const VFaceState* s, const VFaceBlendState& blend) {
  VFaceState result;
  for (int p = 0; p < 9; ++p)
    for (int k = 0; k < 7; ++k) {
      const VgeTVector &a = s[0].mParts[p].mPoints[k], &b = s[1].mParts[p].mPoints[k],
                       &c = s[2].mParts[p].mPoints[k], &rest = face.mParts[p].mDefaultPoints[k];
      SetXyz(result.mParts[p].mPoints[k], BlendOfOffsets(rest.x, {a.x, b.x, c.x}, blend),
             BlendOfOffsets(rest.y, {a.y, b.y, c.y}, blend), BlendOfOffsets(rest.z, {a.z, b.z, c.z}, blend));
    }
  return result;
}

TEST(FaceStateBlend, OneSourceAtFullWeightIsThatSource) {
  const VFace face;
  const Sources sources(face);
  for (int i = 0; i < 3; ++i) {
    const VFaceBlendState blend = Weights(i == 0, i == 1, i == 2);
    VFaceState result;
    face.FaceStateBlend(&result, sources.poses, &blend);
    // Rest is subtracted and added: two rounding errors of coordinates below 16.
    EXPECT_TRUE(SamePoints(result, sources.poses[i], 4e-15));
  }
}

TEST(FaceStateBlend, NoSourceGivesTheRestPose) {
  const VFace face;
  const Sources sources(face);
  const VFaceBlendState blend = Weights(0, 0, 0);
  VFaceState result;
  face.FaceStateBlend(&result, sources.poses, &blend);
  EXPECT_TRUE(SamePoints(result, RestPose(face)));
}

// Not an average: the offsets from rest add up, and rest is added once.
TEST(FaceStateBlend, DefaultWeightsAddTheOffsetsUp) {
  VFace face;
  Sources sources(face);
  SetXyz(face.mParts[kMouth].mDefaultPoints[0], 1, 2, 4);
  SetXyz(sources.poses[0].mParts[kMouth].mPoints[0], 3, 5, 9);
  SetXyz(sources.poses[1].mParts[kMouth].mPoints[0], 2, 2, 2);
  SetXyz(sources.poses[2].mParts[kMouth].mPoints[0], 1, -1, 0.5);
  VFaceState result;
  const VFaceBlendState blend;
  face.FaceStateBlend(&result, sources.poses, &blend);
  EXPECT_EQ(result.mParts[kMouth].mPoints[0].x, 3 + 2 + 1 - 2 * 1);
  EXPECT_EQ(result.mParts[kMouth].mPoints[0].y, 5 + 2 - 1 - 2 * 2);
  EXPECT_EQ(result.mParts[kMouth].mPoints[0].z, 9 + 2 + 0.5 - 2 * 4);
}

TEST(FaceStateBlend, WeightsThatSumToOneAverage) {
  const VFace face;
  const Sources sources(face);
  const VFaceBlendState blend = Weights(0.25, 0.25, 0.5);
  VFaceState result, average;
  face.FaceStateBlend(&result, sources.poses, &blend);
  for (int p = 0; p < 9; ++p)
    for (int k = 0; k < 7; ++k) {
      const VgeTVector &a = sources.poses[0].mParts[p].mPoints[k], &b = sources.poses[1].mParts[p].mPoints[k],
                       &c = sources.poses[2].mParts[p].mPoints[k];
      SetXyz(average.mParts[p].mPoints[k], (a.x + b.x + 2 * c.x) / 4, (a.y + b.y + 2 * c.y) / 4,
             (a.z + b.z + 2 * c.z) / 4);
    }
  EXPECT_TRUE(SamePoints(result, average, 1e-14)); // half a dozen rounding errors of coordinates below 16
}

TEST(FaceStateBlend, SourcesAreAddedInOrderWithoutClamp) {
  const VFace face;
  const Sources sources(face);
  for (const VFaceBlendState& blend :
       {Weights(0.3, 0.7, -0.1), Weights(1, 2.5, 0), Weights(-1, 1, 1), Weights(1e9, -1e9, 1)}) {
    VFaceState result;
    face.FaceStateBlend(&result, sources.poses, &blend);
    EXPECT_TRUE(SamePoints(result, ReferenceBlend(face, sources.poses, blend)));
  }
}

// A weight of exactly zero, of either sign, leaves a source out, whatever it contains.
TEST(FaceStateBlend, ZeroWeightSkipsItsSource) {
  const VFace face;
  Sources sources(face);
  sources.poses[1].mParts[kLeftEye].mPoints[1].y = kNaN;
  sources.poses[2].mParts[kLeftEye].mPoints[1].y = kInfinity;
  const VFaceBlendState blend = Weights(1, 0.0, -0.0);
  VFaceState result;
  face.FaceStateBlend(&result, sources.poses, &blend);
  EXPECT_TRUE(SamePoints(result, ReferenceBlend(face, sources.poses, blend)));
}

TEST(FaceStateBlend, TinyWeightDoesNotSkipItsSource) {
  const VFace face;
  Sources sources(face);
  sources.poses[1].mParts[kLeftEye].mPoints[1].y = kNaN;
  const VFaceBlendState blend = Weights(1, 1e-300, 1);
  VFaceState result;
  face.FaceStateBlend(&result, sources.poses, &blend);
  EXPECT_TRUE(std::isnan(result.mParts[kLeftEye].mPoints[1].y));
}

TEST(FaceStateBlend, WeightThatIsNotANumberMakesEveryPointNotANumber) {
  const VFace face;
  const Sources sources(face);
  for (int i = 0; i < 3; ++i) {
    VFaceBlendState blend = Weights(1, 0.5, 1);
    blend.mWeights[i] = kNaN;
    VFaceState result;
    face.FaceStateBlend(&result, sources.poses, &blend);
    for (const VFacePartState& part : result.mParts)
      for (const VgeTVector& point : part.mPoints) {
        EXPECT_TRUE(std::isnan(point.x));
        EXPECT_TRUE(std::isnan(point.y));
        EXPECT_TRUE(std::isnan(point.z));
      }
  }
}

TEST(FaceStateBlend, OverwritesTheResult) {
  const VFace face;
  const Sources sources(face);
  VFaceState result;
  for (VFacePartState& part : result.mParts)
    for (VgeTVector& point : part.mPoints) SetXyz(point, kNaN, kNaN, kNaN);
  const VFaceBlendState blend;
  face.FaceStateBlend(&result, sources.poses, &blend);
  EXPECT_TRUE(SamePoints(result, ReferenceBlend(face, sources.poses, blend)));
}

TEST(FaceStateBlend, LeavesTheResultInvalidWithItsOwnHeadFrameAndW) {
  const VFace face;
  Sources sources(face);
  for (VFaceState& pose : sources.poses) {
    pose.mValid = true;
    pose.mGlobal.m[3][0] = 77;
    for (VFacePartState& part : pose.mParts)
      for (VgeTVector& point : part.mPoints) point.w = 9;
  }
  VFaceState result;
  result.mValid = true;
  result.mGlobal = UnusualFrame();
  for (VFacePartState& part : result.mParts)
    for (VgeTVector& point : part.mPoints) point.w = 42;
  const VFaceBlendState blend;
  face.FaceStateBlend(&result, sources.poses, &blend);
  EXPECT_FALSE(result.mValid);
  EXPECT_EQ(result.mGlobal, UnusualFrame());
  for (const VFacePartState& part : result.mParts)
    for (const VgeTVector& point : part.mPoints) EXPECT_EQ(point.w, 42);
}

TEST(TemplateStateBlend, NoSourceGivesZeroWeights) {
  const VFace face;
  const Sources sources(face);
  const VFaceBlendState blend = Weights(0, 0, 0);
  VFaceTemplateState result;
  FillWeights(result, kNaN);
  face.TemplateStateBlend(&result, sources.templates, &blend);
  for (const VFacePartTemplateState& part : result.mParts)
    for (const double weight : part.mWeights) EXPECT_EQ(weight, 0);
}

TEST(TemplateStateBlend, HalfAndHalfIsTheMean) {
  const VFace face;
  const Sources sources(face);
  const VFaceBlendState blend = Weights(0.5, 0.5, 0);
  VFaceTemplateState result;
  face.TemplateStateBlend(&result, sources.templates, &blend);
  for (int p = 0; p < 9; ++p)
    for (int j = 0; j < 25; ++j)
      EXPECT_EQ(result.mParts[p].mWeights[j],
                (sources.templates[0].mParts[p].mWeights[j] + sources.templates[1].mParts[p].mWeights[j]) /
                    2);
}

// Template weights are already offsets from neutral: they are added directly, without subtracting or adding
// rest.
TEST(TemplateStateBlend, SourcesAddUpInOrderWithoutClamp) {
  const VFace face;
  const Sources sources(face);
  for (const VFaceBlendState& blend :
       {VFaceBlendState(), Weights(0.3, 0.7, -0.1), Weights(1, 2.5, 0), Weights(1e9, -1e9, 1)}) {
    VFaceTemplateState result;
    face.TemplateStateBlend(&result, sources.templates, &blend);
    for (int p = 0; p < 9; ++p)
      for (int j = 0; j < 25; ++j) {
        double sum = 0;
        for (int i = 0; i < 3; ++i) sum += sources.templates[i].mParts[p].mWeights[j] * blend.mWeights[i];
        EXPECT_EQ(result.mParts[p].mWeights[j], sum) << "part " << p << ", slot " << j;
      }
  }
}

TEST(TemplateStateBlend, SlotsWithoutATemplateAreBlendedAsWell) {
  VFace face;
  for (VFacePart& part : face.mParts) RemoveTemplates(part, false);
  Sources sources(face);
  sources.templates[0].mParts[kRightNostril].mWeights[24] = 3;
  const VFaceBlendState blend = Weights(2, 0, 0);
  VFaceTemplateState result;
  face.TemplateStateBlend(&result, sources.templates, &blend);
  EXPECT_EQ(result.mParts[kRightNostril].mWeights[24], 6);
}

TEST(TemplateStateBlend, ZeroWeightSkipsItsSource) {
  const VFace face;
  Sources sources(face);
  FillWeights(sources.templates[0], kNaN);
  FillWeights(sources.templates[1], kInfinity);
  FillWeights(sources.templates[2], 4);
  const VFaceBlendState blend = Weights(-0.0, 0.0, 0.5);
  VFaceTemplateState result;
  face.TemplateStateBlend(&result, sources.templates, &blend);
  for (const VFacePartTemplateState& part : result.mParts)
    for (const double weight : part.mWeights) EXPECT_EQ(weight, 2);
}

TEST(TemplateStateBlend, WeightThatIsNotANumberMakesEveryWeightNotANumber) {
  const VFace face;
  const Sources sources(face);
  for (int i = 0; i < 3; ++i) {
    VFaceBlendState blend = Weights(1, 0.5, 1);
    blend.mWeights[i] = kNaN;
    VFaceTemplateState result;
    face.TemplateStateBlend(&result, sources.templates, &blend);
    for (const VFacePartTemplateState& part : result.mParts)
      for (const double weight : part.mWeights) EXPECT_TRUE(std::isnan(weight));
  }
}

TEST(TemplateStateBlend, KeepsTheTagOfTheResult) {
  const VFace face;
  Sources sources(face);
  for (VFaceTemplateState& source : sources.templates) source.mIndex = 3;
  VFaceTemplateState result;
  result.mIndex = 8;
  const VFaceBlendState blend;
  face.TemplateStateBlend(&result, sources.templates, &blend);
  EXPECT_EQ(result.mIndex, 8);
}

} // namespace
