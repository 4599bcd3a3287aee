#include "mien/face/face.h"
#include "tests/face/poses.h"

#include <gtest/gtest.h>

#include <cmath>

namespace {

using namespace tests;

// A face with its own catalogue, which its destructor deletes.
struct ExpressionFace : VFace {
  VFaceTemplateState& Add(const char* name) { return mExpressions[CreateExpression(name)]->mTemplateState; }

  VFaceTemplateState Solve(const VFaceExpressionState& weights) const {
    VFaceTemplateState result;
    FillWeights(result, kNaN); // must all be written
    Expression2TemplateSolve(mExpressions, &result, &weights);
    return result;
  }
};

bool HasTemplate(const VFace& face, int part, int slot) {
  return slot < face.mParts[part].mTemplates.GetCount();
}

void FillWithNumbers(VFaceTemplateState& state, Numbers& numbers) {
  for (VFacePartTemplateState& part : state.mParts)
    for (double& weight : part.mWeights) weight = numbers.Between(-2, 2);
}

TEST(ExpressionSolve, EmptyCatalogueGivesZeroWeights) {
  const ExpressionFace face;
  VFaceExpressionState weights;
  weights.mWeights[0] = 1;
  const VFaceTemplateState result = face.Solve(weights);
  for (const VFacePartTemplateState& part : result.mParts)
    for (const double weight : part.mWeights) EXPECT_EQ(weight, 0);
}

TEST(ExpressionSolve, EmptiedCatalogueGivesZeroWeights) {
  ExpressionFace face;
  FillWeights(face.Add("Smile"), 1);
  delete face.mExpressions.RemoveLast(); // the list keeps its storage
  VFaceExpressionState weights;
  weights.mWeights[0] = 1;
  const VFaceTemplateState result = face.Solve(weights);
  for (const VFacePartTemplateState& part : result.mParts)
    for (const double weight : part.mWeights) EXPECT_EQ(weight, 0);
}

TEST(ExpressionSolve, FullWeightGivesTheExpressionOnTheTemplatesOfTheFace) {
  ExpressionFace face;
  Numbers numbers(81);
  VFaceTemplateState& smile = face.Add("Smile");
  FillWithNumbers(smile, numbers);
  VFaceExpressionState weights;
  weights.mWeights[0] = 1;
  const VFaceTemplateState result = face.Solve(weights);
  for (int part = 0; part < 9; ++part)
    for (int j = 0; j < 25; ++j)
      EXPECT_EQ(result.mParts[part].mWeights[j],
                HasTemplate(face, part, j) ? smile.mParts[part].mWeights[j] : 0);
}

TEST(ExpressionSolve, TwoHalvesAddUpToTheWhole) {
  ExpressionFace face;
  face.Add("Shout").mParts[kMouth].mWeights[0] = 1;
  face.Add("Yawn").mParts[kMouth].mWeights[0] = 1;
  VFaceExpressionState weights;
  weights.mWeights[0] = weights.mWeights[1] = 0.5;
  EXPECT_EQ(face.Solve(weights).mParts[kMouth].mWeights[0], 1);
}

TEST(ExpressionSolve, WeightsAreNeitherClampedNorNormalised) {
  ExpressionFace face;
  face.Add("Shout").mParts[kMouth].mWeights[0] = 0.75;
  VFaceExpressionState weights;
  for (const double weight : {2.0, -1.0, 1e6}) {
    weights.mWeights[0] = weight;
    EXPECT_EQ(face.Solve(weights).mParts[kMouth].mWeights[0], weight * 0.75);
  }
}

TEST(ExpressionSolve, ExpressionsAreAddedInCatalogueOrder) {
  ExpressionFace face;
  const double values[4] = {1e16, 1, -1e16, 1};
  for (const double value : values) face.Add("Order").mParts[kLeftEye].mWeights[2] = value;
  VFaceExpressionState weights;
  for (double& weight : weights.mWeights) weight = 1;
  // 1e16 absorbs the first 1 but not the last: any other order gives 0 or 2.
  EXPECT_EQ(face.Solve(weights).mParts[kLeftEye].mWeights[2], 1);
}

TEST(ExpressionSolve, FullCatalogueAddsUpToTheBit) {
  ExpressionFace face;
  Numbers numbers(82);
  VFaceExpressionState weights;
  for (int k = 0; k < 99; ++k) {
    FillWithNumbers(face.Add("Expression"), numbers);
    weights.mWeights[k] = numbers.Between(-1, 2);
  }
  weights.mWeights[99] = kNaN; // belongs to no expression
  const VFaceTemplateState result = face.Solve(weights);
  ASSERT_EQ(face.mExpressions.GetCount(), 99);
  for (int part = 0; part < 9; ++part)
    for (int j = 0; j < 25; ++j) {
      double sum = 0;
      if (HasTemplate(face, part, j))
        for (int k = 0; k < 99; ++k)
          sum += weights.mWeights[k] * face.mExpressions[k]->mTemplateState.mParts[part].mWeights[j];
      EXPECT_EQ(result.mParts[part].mWeights[j], sum) << "part " << part << ", slot " << j;
    }
}

TEST(ExpressionSolve, SlotsThatTheFaceDoesNotHaveStayZero) {
  ExpressionFace face;
  FillWeights(face.Add("Smile"), 1);
  delete face.mParts[kMouth].mTemplates.RemoveLast();
  RemoveTemplates(face.mParts[kLeftBrow], false);
  RemoveTemplates(face.mParts[kRightBrow], true);
  VFaceExpressionState weights;
  weights.mWeights[0] = 1;
  const VFaceTemplateState result = face.Solve(weights);
  for (int j = 0; j < 25; ++j) {
    EXPECT_EQ(result.mParts[kMouth].mWeights[j], j < 6 ? 1 : 0);
    EXPECT_EQ(result.mParts[kLeftBrow].mWeights[j], 0);
    EXPECT_EQ(result.mParts[kRightBrow].mWeights[j], 0);
  }
}

// No expression is left out for a zero weight: 0 times infinity is not a number.
TEST(ExpressionSolve, ZeroWeightIncludesItsExpression) {
  ExpressionFace face;
  face.Add("Broken").mParts[kMouth].mWeights[1] = kInfinity;
  const VFaceTemplateState result = face.Solve(VFaceExpressionState());
  EXPECT_TRUE(std::isnan(result.mParts[kMouth].mWeights[1]));
  EXPECT_EQ(result.mParts[kMouth].mWeights[0], 0);
}

TEST(ExpressionSolve, AcceptsAnyListAndNotOnlyTheFacesOwn) {
  const VFace face;
  VFaceExpression smile, frown;
  smile.mTemplateState.mParts[kMouth].mWeights[2] = 1;
  frown.mTemplateState.mParts[kMouth].mWeights[4] = 1;
  VArrayTemplate<VFaceExpression*, 16> list;
  list.Add(&smile);
  list.Add(&frown);
  list.Add(&smile);
  VFaceExpressionState weights;
  weights.mWeights[0] = 0.25, weights.mWeights[1] = 0.5, weights.mWeights[2] = 0.125;
  VFaceTemplateState result;
  face.Expression2TemplateSolve(list, &result, &weights);
  EXPECT_EQ(result.mParts[kMouth].mWeights[2], 0.375);
  EXPECT_EQ(result.mParts[kMouth].mWeights[4], 0.5);
}

TEST(ExpressionSolve, TagsAreNotRead) {
  ExpressionFace face;
  VFaceTemplateState& smile = face.Add("Smile");
  smile.mParts[kMouth].mWeights[2] = 1;
  smile.mIndex = 5;
  VFaceExpressionState weights;
  weights.mWeights[0] = 0.5;
  weights.mIndex = 6;
  VFaceTemplateState result;
  result.mIndex = 8;
  face.Expression2TemplateSolve(face.mExpressions, &result, &weights);
  EXPECT_EQ(result.mIndex, 8);
  EXPECT_EQ(result.mParts[kMouth].mWeights[2], 0.5);
}

} // namespace
