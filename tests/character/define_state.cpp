#include "mien/character/character_face.h"
#include "tests/character/characters.h"
#include "tests/character/same_bits.h"

#include <gtest/gtest.h>

#include <cmath>
#include <memory>
#include <utility>

using namespace tests;

namespace {

constexpr int kTemplateCounts[9] = {7, 2, 2, 3, 3, 2, 2, 1, 1};

void ExpectFreshState(const VCharacterFaceState* state) {
  ASSERT_NE(state, nullptr);
  EXPECT_TRUE(state->IsClear());
  for (const VCharacterFaceClusterSetState& set : state->mClusters) EXPECT_EQ(set.mClusters.GetCount(), 0);
}

} // namespace

TEST(DefineState, ANewCharacterHasAClearedStateForEveryTemplateAndExpression) {
  CatalogueOnLoan catalogue;
  for (int e = 0; e < 4; ++e) catalogue.Add().mParts[0].mWeights[0] = 1; // their templates do not matter
  const VCharacterFace character;
  for (int f = 0; f < 9; ++f) {
    ASSERT_EQ(character.mTemplateStates[f].GetCount(), kTemplateCounts[f]);
    for (int t = 0; t < kTemplateCounts[f]; ++t) ExpectFreshState(character.mTemplateStates[f][t]);
  }
  ASSERT_EQ(character.mExpressionStates.GetCount(), 4);
  for (int e = 0; e < 4; ++e) ExpectFreshState(character.mExpressionStates[e]);
}

TEST(DefineState, EmptyCatalogueGivesNoExpressionStates) {
  ASSERT_EQ(GetGlobalFace()->mExpressions.GetCount(), 0);
  const VCharacterFace character;
  EXPECT_EQ(character.mExpressionStates.GetCount(), 0);
}

TEST(DefineState, SetupAppends) {
  CatalogueOnLoan catalogue;
  catalogue.Add();
  VCharacterFace character;
  VCharacterFaceState* const first_template = character.mTemplateStates[8][0];
  VCharacterFaceState* const first_expression = character.mExpressionStates[0];
  first_template->mWeights[1][2] = 3;
  character.SetupDefineState();
  for (int f = 0; f < 9; ++f) EXPECT_EQ(character.mTemplateStates[f].GetCount(), 2 * kTemplateCounts[f]);
  EXPECT_EQ(character.mTemplateStates[8][0], first_template);
  EXPECT_EQ(first_template->mWeights[1][2], 3);
  ExpectFreshState(character.mTemplateStates[8][1]);
  ASSERT_EQ(character.mExpressionStates.GetCount(), 2);
  EXPECT_EQ(character.mExpressionStates[0], first_expression);
  ExpectFreshState(character.mExpressionStates[1]);
}

TEST(DefineState, ClearLeavesEmptyListsWithoutStorageAndKeepsCharacterExpressions) {
  CatalogueOnLoan catalogue;
  catalogue.Add();
  VCharacterFace character;
  character.ExpressionCreate();
  character.ExpressionCreate();
  character.ClearDefineState();
  for (const auto& states : character.mTemplateStates) EXPECT_EQ(states.GetCapacity(), 0);
  EXPECT_EQ(character.mExpressionStates.GetCapacity(), 0);
  EXPECT_EQ(character.mCharacterExpressionCount, 2);
  EXPECT_EQ(character.mCharacterExpressionStates.GetCount(), 2);
  character.ClearDefineState(); // nothing is left to clear
  EXPECT_EQ(character.mExpressionStates.GetCount(), 0);
  while (character.mCharacterExpressionCount > 0) character.ExpressionDelete(0);
}

TEST(DefineState, ClearSkipsNullStates) {
  VCharacterFace character;
  delete character.mTemplateStates[0][3];
  character.mTemplateStates[0][3] = nullptr;
  character.mExpressionStates.Add(nullptr);
  character.ClearDefineState();
  EXPECT_EQ(character.mTemplateStates[0].GetCount(), 0);
}

// After a change of the catalogue. All definitions are lost.
TEST(DefineState, ClearAndSetupFollowTheGlobalFace) {
  CatalogueOnLoan catalogue;
  VCharacterFace character;
  character.mTemplateStates[0][0]->mWeights[0][0] = 1;
  catalogue.Add();
  catalogue.Add();
  EXPECT_EQ(character.mExpressionStates.GetCount(), 0);
  character.ClearDefineState();
  character.SetupDefineState();
  EXPECT_EQ(character.mExpressionStates.GetCount(), 2);
  for (int f = 0; f < 9; ++f) EXPECT_EQ(character.mTemplateStates[f].GetCount(), kTemplateCounts[f]);
  ExpectFreshState(character.mTemplateStates[0][0]);
}

TEST(DefineState, CanBelongToAnotherFace) {
  CatalogueOnLoan catalogue;
  for (int e = 0; e < 4; ++e) catalogue.Add();
  VFace face;
  for (int e = 0; e < 2; ++e) face.CreateExpression("Its own");
  VCharacterFace character(face);
  const auto expect_states = [&](int times) {
    for (int f = 0; f < 9; ++f) {
      ASSERT_EQ(character.mTemplateStates[f].GetCount(), times * kTemplateCounts[f]);
      for (int t = 0; t < times * kTemplateCounts[f]; ++t) ExpectFreshState(character.mTemplateStates[f][t]);
    }
    ASSERT_EQ(character.mExpressionStates.GetCount(), times * 2);
    for (int e = 0; e < times * 2; ++e) ExpectFreshState(character.mExpressionStates[e]);
  };
  expect_states(1);
  character.SetupDefineState(face);
  expect_states(2);
}

// --- IsExpressionUsed

TEST(ExpressionUsed, NoneIfEveryStateIsClear) {
  CatalogueOnLoan catalogue;
  for (int e = 0; e < 3; ++e) catalogue.Add();
  VCharacterFace character;
  AddPart(character, 500);
  AddClusterPart(character, 3, 1);
  for (int e = -1; e <= 3; ++e) EXPECT_FALSE(character.IsExpressionUsed(e)) << e;
}

TEST(ExpressionUsed, AnIndexOutsideTheCatalogueIsNotUsed) {
  CatalogueOnLoan catalogue;
  catalogue.Add();
  VCharacterFace character;
  AddPart(character, 1);
  character.mExpressionStates[0]->mWeights[0][0] = 1;
  auto beyond = std::make_unique<VCharacterFaceState>();
  beyond->mWeights[0][0] = 1;
  character.mExpressionStates.Add(
      beyond.release()); // the character has more states than the face expressions
  EXPECT_TRUE(character.IsExpressionUsed(0));
  for (const int e : {-1, -1000, 1, 2, 100}) EXPECT_FALSE(character.IsExpressionUsed(e)) << e;
}

TEST(ExpressionUsed, AnyOneWeightOfAShapeIsEnough) {
  CatalogueOnLoan catalogue;
  for (int e = 0; e < 3; ++e) catalogue.Add();
  VCharacterFace character;
  AddPart(character, 2);
  AddPart(character, 0);
  AddPart(character, 500);
  for (const auto& [part, shape] : {std::pair{0, 0}, {0, 1}, {2, 0}, {2, 250}, {2, 499}})
    for (const double weight : {1.0, -1.0, 2.0, 5e-324, kInfinity, kNaN}) { // 2.0 has only one bit
      double& at = character.mExpressionStates[1]->mWeights[part][shape];
      at = weight;
      for (int e = 0; e < 3; ++e) EXPECT_EQ(character.IsExpressionUsed(e), e == 1);
      at = -0.0;
      EXPECT_FALSE(character.IsExpressionUsed(1));
    }
}

// An expression that is newer than the character has no definition; without shapes none is needed.
TEST(ExpressionUsed, WithoutAShapeNoDefinitionIsRead) {
  CatalogueOnLoan catalogue;
  VCharacterFace character;
  AddPart(character, 0);
  catalogue.Add();
  EXPECT_FALSE(character.IsExpressionUsed(0));
  VFaceExpressionState weights;
  weights.mWeights[0] = 1;
  character.ClearUsedExpression(&weights);
  EXPECT_EQ(weights.mWeights[0], 1);
}

TEST(ExpressionUsed, WeightsWithoutAShapeDoNotCount) {
  CatalogueOnLoan catalogue;
  catalogue.Add();
  VCharacterFace character;
  AddPart(character, 2);
  AddPart(character, 0);
  FillBeyondShapes(character, *character.mExpressionStates[0], 1);
  EXPECT_FALSE(character.IsExpressionUsed(0));
}

// For cluster parts, too, the shapes count, not the poses.
TEST(ExpressionUsed, OnlyTheShapesOfClusterPartsCount) {
  CatalogueOnLoan catalogue;
  catalogue.Add();
  VCharacterFace character;
  VCharacterFacePartCluster& part = AddClusterPart(character, 2, 1);
  part.mShapeClusters.Add(new VCharacterFaceClusterSetState(1));
  VCharacterFaceState& state = *character.mExpressionStates[0];
  state.mClusters[0].mClusters.Add(new VCharacterFaceClusterState);
  state.mClusters[0].mClusters[0]->mLocalT.x = 1;
  state.mWeights[0][2] = 1; // a pose without a shape
  EXPECT_FALSE(character.IsExpressionUsed(0));
  state.mWeights[0][1] = 1;
  EXPECT_TRUE(character.IsExpressionUsed(0));
}

// --- ClearUsedExpression

TEST(ClearUsedExpression, ZeroesOnlyTheUsedOnes) {
  CatalogueOnLoan catalogue;
  for (int e = 0; e < 5; ++e) catalogue.Add();
  VCharacterFace character;
  AddPart(character, 1);
  character.mExpressionStates[1]->mWeights[0][0] = 0.25;
  character.mExpressionStates[4]->mWeights[0][0] = kNaN;
  VFaceExpressionState weights;
  weights.mIndex = 7;
  for (int e = 0; e < 100; ++e) weights.mWeights[e] = 1 + e;
  character.ClearUsedExpression(&weights);
  for (int e = 0; e < 100; ++e) EXPECT_EQ(weights.mWeights[e], e == 1 || e == 4 ? 0 : 1 + e) << e;
  EXPECT_TRUE(SameBits(weights.mWeights[1], 0.0));
  EXPECT_EQ(weights.mIndex, 7);
}

TEST(ClearUsedExpression, EmptyCatalogueLeavesAllWeights) {
  VCharacterFace character;
  AddPart(character, 1);
  VFaceExpressionState weights;
  for (double& weight : weights.mWeights) weight = kNaN;
  character.ClearUsedExpression(&weights);
  for (const double weight : weights.mWeights) EXPECT_TRUE(std::isnan(weight));
}
