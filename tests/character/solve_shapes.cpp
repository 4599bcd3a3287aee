#include "mien/character/character_face.h"
#include "tests/character/characters.h"
#include "tests/character/plain_solves.h"
#include "tests/character/same_bits.h"

#include <gtest/gtest.h>

#include <cfenv>
#include <cmath>
#include <cstdint>

using namespace tests;

namespace {

/// The definition of CharacterExpression2CharacterSolve; the others are in plain_solves.h.
void PlainCharacterSolve(const VCharacterFace& character, PlainState& out,
                         const VArrayTemplate<double, 16>& weights) {
  ForEachShape(character, [&](int p, int s) {
    for (int k = 0; k < character.mCharacterExpressionCount; ++k)
      out.weights[p][s] += character.mCharacterExpressionStates[k]->mWeights[p][s] * weights[k];
  });
}

// --- Inputs

/// The character releases its own expressions too, as a host would.
struct Character : VCharacterFace {
  ~Character() override {
    while (mCharacterExpressionCount > 0) ExpressionDelete(0);
  }
  Character() = default;
};

VArrayTemplate<double, 16> CharacterWeights(const VCharacterFace& character, HardNumbers& numbers) {
  VArrayTemplate<double, 16> weights;
  for (int k = 0; k < character.mCharacterExpressionCount; ++k) weights.Add(numbers.Weight());
  weights.Add(kNaN); // one more than there are expressions
  return weights;
}

/// Compares all four solves of the character, each into a state full of NaN, with their definitions.
void ExpectDefinedBits(const VCharacterFace& character, const VFaceTemplateState& templates,
                       const VFaceExpressionState& expressions, const VArrayTemplate<double, 16>& weights) {
  VCharacterFaceState out;
  const auto Expect = [&](const char* solve, auto act, auto plain) {
    FillWeights(out, kNaN);
    PlainState expected;
    act();
    plain(expected);
    EXPECT_TRUE(SameBits(out.mWeights, expected.weights)) << solve;
  };
  Expect(
      "ActorTemplate2CharacterSolve", [&] { character.ActorTemplate2CharacterSolve(out, templates); },
      [&](PlainState& expected) { PlainTemplateSolve(character, *GetGlobalFace(), expected, templates); });
  Expect(
      "ActorExpression2CharacterSolve", [&] { character.ActorExpression2CharacterSolve(out, expressions); },
      [&](PlainState& expected) {
        PlainExpressionSolve(character, *GetGlobalFace(), expected, expressions);
      });
  Expect(
      "Actor2CharacterSolve", [&] { character.Actor2CharacterSolve(out, templates, expressions); },
      [&](PlainState& expected) {
        PlainActorSolve(character, *GetGlobalFace(), expected, templates, expressions);
      });
  Expect(
      "CharacterExpression2CharacterSolve",
      [&] { character.CharacterExpression2CharacterSolve(out, weights); },
      [&](PlainState& expected) { PlainCharacterSolve(character, expected, weights); });
}

/// Calls `check(name, solve)` for each of the four solves; `solve(out)` has every weight at 1.
template <class Check>
void ForEachSolve(const VCharacterFace& character, Check check) {
  VFaceTemplateState templates;
  for (VFacePartTemplateState& part : templates.mParts)
    for (double& weight : part.mWeights) weight = 1;
  VFaceExpressionState expressions;
  for (double& weight : expressions.mWeights) weight = 1;
  VArrayTemplate<double, 16> weights;
  for (int k = 0; k < character.mCharacterExpressionCount; ++k) weights.Add(1);
  check("ActorTemplate2CharacterSolve",
        [&](VCharacterFaceState& out) { character.ActorTemplate2CharacterSolve(out, templates); });
  check("ActorExpression2CharacterSolve",
        [&](VCharacterFaceState& out) { character.ActorExpression2CharacterSolve(out, expressions); });
  check("Actor2CharacterSolve",
        [&](VCharacterFaceState& out) { character.Actor2CharacterSolve(out, templates, expressions); });
  check("CharacterExpression2CharacterSolve",
        [&](VCharacterFaceState& out) { character.CharacterExpression2CharacterSolve(out, weights); });
}

} // namespace

// --- All four

TEST(CharacterSolves, GiveTheBitsOfTheirDefinitionForAnyCharacter) {
  constexpr int kShapes[] = {0, 1, 2, 3, 7, 8, 9, 31, 52, 64, 65, 150, 499, 500};
  constexpr int kExpressions[] = {0, 1, 2, 12, 99};
  for (std::uint64_t round = 0; round < 30; ++round) {
    HardNumbers numbers(round, round % 3 == 0 ? 0 : round % 3 == 1 ? 6 : 60);
    CatalogueOnLoan catalogue;
    const int catalogue_size = kExpressions[round % 5];
    for (int e = 0; e < catalogue_size; ++e) FillAll(catalogue.Add(), numbers);
    Character character;
    const int parts = round == 0 ? 15 : numbers.Below(round < 25 ? 5 : 16);
    for (int p = 0; p < parts; ++p) {
      const int shapes = kShapes[numbers.Below(round % 2 == 0 ? 10 : 14)];
      p % 3 == 2 ? AddClusterPart(character, shapes, 0) : AddPart(character, shapes);
    }
    for (int k = numbers.Below(20); k > 0; --k) character.ExpressionCreate();
    for (int frame = 0; frame < 3; ++frame) {
      FillDefinitions(character, numbers);
      if (frame > 0) UndefineSomeExpressions(character);
      SCOPED_TRACE(testing::Message() << "round " << round << ", frame " << frame);
      ExpectDefinedBits(character, TemplateWeights(numbers), ExpressionWeights(catalogue_size, numbers),
                        CharacterWeights(character, numbers));
    }
  }
}

TEST(CharacterSolves, ClearedDefinitionsGiveAClearState) {
  CatalogueOnLoan catalogue;
  catalogue.Add().mParts[0].mWeights[0] = 1;
  Character character;
  AddPart(character, 52);
  AddClusterPart(character, 3, 2);
  character.ExpressionCreate();
  ForEachSolve(character, [](const char* name, auto solve) {
    VCharacterFaceState out;
    FillWeights(out, kNaN);
    solve(out);
    EXPECT_TRUE(SameBits(out.mWeights, Weights{})) << name;
  });
}

TEST(CharacterSolves, ClearTheResultWithItsClustersAndLeaveRoots) {
  Character character;
  AddPart(character, 1);
  character.ExpressionCreate();
  ForEachSolve(character, [](const char* name, auto solve) {
    SCOPED_TRACE(name);
    VCharacterFaceState out;
    for (VCharacterFaceClusterSetState& set : out.mClusters) {
      set.mClusters.Add(new VCharacterFaceClusterState);
      set.mClusters[0]->mLocalT.x = set.mRoot.mGlobalT.x = 5;
    }
    solve(out);
    for (const VCharacterFaceClusterSetState& set : out.mClusters) {
      EXPECT_EQ(set.mClusters[0]->mLocalT.x, 0);
      EXPECT_EQ(set.mRoot.mGlobalT.x, 5);
    }
  });
}

// No part, parts without shapes, a catalogue that has grown, removed definitions: there is nothing to sum,
// so nothing is read.
TEST(CharacterSolves, WithoutShapesTheResultIsCleared) {
  CatalogueOnLoan catalogue;
  Character character;
  catalogue.Add();
  character.mCharacterExpressionCount = 3;
  for (int parts = 0; parts < 3; ++parts) {
    for (const bool defined : {true, false}) {
      if (!defined) character.ClearDefineState();
      ForEachSolve(character, [](const char* name, auto solve) {
        VCharacterFaceState out;
        FillWeights(out, kNaN);
        solve(out);
        EXPECT_TRUE(SameBits(out.mWeights, Weights{})) << name;
      });
      VCharacterFaceState out;
      character.CharacterExpression2CharacterSolve(out, VArrayTemplate<double, 16>());
      EXPECT_TRUE(out.IsClear());
    }
    AddPart(character, 0);
  }
  character.mCharacterExpressionCount = 0;
}

TEST(CharacterSolves, ColumnsBeyondAPartsShapesStayZero) {
  CatalogueOnLoan catalogue;
  catalogue.Add();
  catalogue.Add();
  Character character;
  constexpr int kShapes[] = {0, 1, 3, 7, 8, 52, 150, 499, 500};
  for (const int shapes : kShapes) AddPart(character, shapes);
  character.ExpressionCreate();
  ForEachDefinition(character, [&](VCharacterFaceState& state) {
    FillWeights(state, 1);
    FillBeyondShapes(character, state, kNaN);
  });
  ForEachSolve(character, [&](const char* name, auto solve) {
    VCharacterFaceState out;
    solve(out);
    for (int p = 0; p < 15; ++p)
      for (int s = 0; s < 500; ++s) {
        if (p < 9 && s < kShapes[p])
          ASSERT_GT(out.mWeights[p][s], 0) << name << ", part " << p << ", shape " << s;
        else
          ASSERT_TRUE(SameBits(out.mWeights[p][s], 0.0)) << name << ", part " << p << ", shape " << s;
      }
  });
}

// Not even for unused arithmetic: 0 times infinity would set the processor's flag.
TEST(CharacterSolves, ColumnsBeyondAPartsShapesAreNotRead) {
  CatalogueOnLoan catalogue;
  catalogue.Add();
  Character character;
  for (const int shapes : {0, 1, 3, 7, 8, 52, 150, 499}) AddPart(character, shapes);
  character.ExpressionCreate();
  ForEachDefinition(character,
                    [&](VCharacterFaceState& state) { FillBeyondShapes(character, state, kInfinity); });
  const VFaceTemplateState templates;
  const VFaceExpressionState expressions;
  VArrayTemplate<double, 16> weights;
  weights.Add(0);
  VCharacterFaceState out;
  std::feclearexcept(FE_ALL_EXCEPT);
  character.ActorTemplate2CharacterSolve(out, templates);
  EXPECT_EQ(std::fetestexcept(FE_INVALID), 0);
  character.ActorExpression2CharacterSolve(out, expressions);
  EXPECT_EQ(std::fetestexcept(FE_INVALID), 0);
  character.Actor2CharacterSolve(out, templates, expressions);
  EXPECT_EQ(std::fetestexcept(FE_INVALID), 0);
  character.CharacterExpression2CharacterSolve(out, weights);
  EXPECT_EQ(std::fetestexcept(FE_INVALID), 0);

  character.mTemplateStates[0][0]->mWeights[1][0] = kInfinity; // sets the flag if it is read
  character.ActorTemplate2CharacterSolve(out, templates);
  EXPECT_NE(std::fetestexcept(FE_INVALID), 0);
}

// In cluster parts, too, the shapes have weights, whatever the number of poses.
TEST(CharacterSolves, ClusterPartsAreSummedOverTheirShapes) {
  CatalogueOnLoan catalogue;
  catalogue.Add();
  Character character;
  VCharacterFacePartCluster& part = AddClusterPart(character, 2, 1);
  part.mShapeClusters.Add(new VCharacterFaceClusterSetState(1));
  character.ExpressionCreate();
  ForEachDefinition(character, [](VCharacterFaceState& state) { FillWeights(state, 1); });
  ForEachSolve(character, [](const char* name, auto solve) {
    VCharacterFaceState out;
    solve(out);
    EXPECT_GT(out.mWeights[0][0], 0) << name;
    EXPECT_GT(out.mWeights[0][1], 0) << name;
    EXPECT_EQ(out.mWeights[0][2], 0) << name;
  });
}

// Terms with a zero weight or a zero definition are included: 0 times infinity is NaN.
TEST(CharacterSolves, ZeroWeightIncludesItsDefinition) {
  CatalogueOnLoan catalogue;
  catalogue.Add();
  Character character;
  AddPart(character, 2);
  character.ExpressionCreate();
  ForEachDefinition(character, [](VCharacterFaceState& state) { state.mWeights[0][1] = kInfinity; });
  VArrayTemplate<double, 16> weights;
  weights.Add(0);
  VCharacterFaceState out;
  character.ActorTemplate2CharacterSolve(out, VFaceTemplateState());
  EXPECT_TRUE(std::isnan(out.mWeights[0][1]));
  character.ActorExpression2CharacterSolve(out, VFaceExpressionState());
  EXPECT_TRUE(std::isnan(out.mWeights[0][1]));
  character.CharacterExpression2CharacterSolve(out, weights);
  EXPECT_TRUE(std::isnan(out.mWeights[0][1]));
  EXPECT_EQ(out.mWeights[0][0], 0);
}

TEST(CharacterSolves, WorkingStateAndExpressionValuesAreNotRead) {
  CatalogueOnLoan catalogue;
  catalogue.Add();
  Character character;
  AddPart(character, 3);
  character.ExpressionCreate();
  character.mCharacterExpressionValues[0] = kNaN;
  FillWeights(character.mState, kNaN);
  ForEachDefinition(character, [](VCharacterFaceState& state) { FillWeights(state, 1); });
  ForEachSolve(character, [&](const char* name, auto solve) {
    VCharacterFaceState out;
    solve(out);
    EXPECT_GT(out.mWeights[0][2], 0) << name;
    solve(character.mState); // it may be the result
    EXPECT_TRUE(SameBits(character.mState.mWeights, out.mWeights)) << name;
    FillWeights(character.mState, kNaN);
  });
}

// --- ActorTemplate2CharacterSolve

TEST(TemplateToCharacter, OneTemplateGivesItsDefinitionTimesItsWeight) {
  Character character;
  AddPart(character, 2);
  AddPart(character, 3);
  VCharacterFaceState& definition = *character.mTemplateStates[3][1];
  definition.mWeights[0][1] = 0.75, definition.mWeights[1][0] = -2, definition.mWeights[1][2] = 1;
  VFaceTemplateState templates;
  for (const double weight : {0.5, 2.0, -1.0}) {
    templates.mParts[3].mWeights[1] = weight;
    VCharacterFaceState out;
    character.ActorTemplate2CharacterSolve(out, templates);
    EXPECT_EQ(out.mWeights[0][0], 0);
    EXPECT_EQ(out.mWeights[0][1], weight * 0.75);
    EXPECT_EQ(out.mWeights[1][0], weight * -2);
    EXPECT_EQ(out.mWeights[1][1], 0);
    EXPECT_EQ(out.mWeights[1][2], weight);
  }
}

TEST(TemplateToCharacter, TemplatesAreAddedInTheOrderOfPartsAndTemplates) {
  Character character;
  AddPart(character, 1);
  VFaceTemplateState templates;
  // 1e16 absorbs the first 1 but not the last: any other order gives 0 or 2.
  const struct {
    int part, slot;
    double value;
  } terms[] = {{0, 6, 1e16}, {1, 0, 1}, {1, 1, -1e16}, {8, 0, 1}};
  for (const auto& [part, slot, value] : terms) {
    character.mTemplateStates[part][slot]->mWeights[0][0] = value;
    templates.mParts[part].mWeights[slot] = 1;
  }
  VCharacterFaceState out;
  character.ActorTemplate2CharacterSolve(out, templates);
  EXPECT_EQ(out.mWeights[0][0], 1);
}

TEST(TemplateToCharacter, SlotsWithoutATemplateAreNotRead) {
  Character character;
  AddPart(character, 1);
  VFaceTemplateState templates;
  for (int f = 0; f < 9; ++f)
    for (int t = GetGlobalFace()->mParts[f].mTemplates.GetCount(); t < 25; ++t)
      templates.mParts[f].mWeights[t] = kNaN;
  VCharacterFaceState out;
  character.ActorTemplate2CharacterSolve(out, templates);
  EXPECT_TRUE(SameBits(out.mWeights, Weights{}));
}

// --- ActorExpression2CharacterSolve

TEST(ExpressionToCharacter, ExpressionsAreAddedInCatalogueOrder) {
  CatalogueOnLoan catalogue;
  for (int e = 0; e < 4; ++e) catalogue.Add().mParts[0].mWeights[0] = kNaN; // templates are not read
  Character character;
  AddPart(character, 1);
  VFaceExpressionState expressions;
  const double values[] = {1e16, 1, -1e16, 1};
  for (int e = 0; e < 4; ++e) {
    character.mExpressionStates[e]->mWeights[0][0] = values[e];
    expressions.mWeights[e] = 1;
  }
  expressions.mWeights[4] = kNaN; // belongs to no expression
  VCharacterFaceState out;
  character.ActorExpression2CharacterSolve(out, expressions);
  EXPECT_EQ(out.mWeights[0][0], 1);
}

// --- Actor2CharacterSolve

TEST(ActorToCharacter, AnExpressionThatTheCharacterDefinesIsNotCountedTwice) {
  CatalogueOnLoan catalogue;
  catalogue.Add().mParts[0].mWeights[0] = 1;
  Character character;
  AddPart(character, 5);
  character.mTemplateStates[0][0]->mWeights[0][2] = 1;
  character.mExpressionStates[0]->mWeights[0][3] = 1;
  VFaceExpressionState expressions;
  expressions.mWeights[0] = 1;
  VCharacterFaceState out;
  character.Actor2CharacterSolve(out, VFaceTemplateState(), expressions);
  EXPECT_EQ(out.mWeights[0][3], 1);
  EXPECT_EQ(out.mWeights[0][2], 0);
  EXPECT_EQ(expressions.mWeights[0], 1); // the caller's weights are unchanged
}

TEST(ActorToCharacter, OtherExpressionsDriveThroughTheTemplates) {
  CatalogueOnLoan catalogue;
  VFaceTemplateState& smile = catalogue.Add();
  smile.mParts[0].mWeights[0] = 0.5;
  smile.mParts[5].mWeights[1] = 0.25;
  Character character;
  AddPart(character, 5);
  character.mTemplateStates[0][0]->mWeights[0][2] = 1;
  character.mTemplateStates[5][1]->mWeights[0][4] = 3;
  VFaceTemplateState templates;
  templates.mParts[0].mWeights[0] = 0.125;
  VFaceExpressionState expressions;
  expressions.mWeights[0] = 0.5;
  VCharacterFaceState out;
  character.Actor2CharacterSolve(out, templates, expressions);
  EXPECT_EQ(out.mWeights[0][2], 0.125 + 0.25);
  EXPECT_EQ(out.mWeights[0][4], 0.375);
  EXPECT_EQ(templates.mParts[0].mWeights[0], 0.125); // the caller's weights are unchanged
}

// A definition beyond the shapes does not count.
TEST(ActorToCharacter, AnExpressionDefinedBeyondTheShapesDrivesThroughTheTemplates) {
  CatalogueOnLoan catalogue;
  catalogue.Add().mParts[0].mWeights[0] = 1;
  Character character;
  AddPart(character, 3);
  character.mTemplateStates[0][0]->mWeights[0][2] = 1;
  character.mExpressionStates[0]->mWeights[0][3] = 1;
  VFaceExpressionState expressions;
  expressions.mWeights[0] = 1;
  VCharacterFaceState out;
  character.Actor2CharacterSolve(out, VFaceTemplateState(), expressions);
  EXPECT_EQ(out.mWeights[0][2], 1);
  EXPECT_EQ(out.mWeights[0][3], 0);
}

TEST(ActorToCharacter, TemplatesAndExpressionsAreSummedSeparately) {
  CatalogueOnLoan catalogue;
  catalogue.Add();
  catalogue.Add();
  Character character;
  AddPart(character, 1);
  character.mTemplateStates[0][0]->mWeights[0][0] = 1e16;
  character.mExpressionStates[0]->mWeights[0][0] = character.mExpressionStates[1]->mWeights[0][0] = 1;
  VFaceTemplateState templates;
  templates.mParts[0].mWeights[0] = 1;
  VFaceExpressionState expressions;
  expressions.mWeights[0] = expressions.mWeights[1] = 1;
  VCharacterFaceState out;
  character.Actor2CharacterSolve(out, templates, expressions);
  EXPECT_EQ(out.mWeights[0][0], 1e16 + 2); // in one sum, 1e16 would absorb both
}

TEST(ActorToCharacter, TemplateWeightsAreAddedBeforeTheProducts) {
  CatalogueOnLoan catalogue;
  catalogue.Add().mParts[0].mWeights[0] = 1;
  Character character;
  AddPart(character, 1);
  character.mTemplateStates[0][0]->mWeights[0][0] = 3;
  VFaceTemplateState templates;
  templates.mParts[0].mWeights[0] = 1e16;
  VFaceExpressionState expressions;
  expressions.mWeights[0] = 1;
  VCharacterFaceState out;
  character.Actor2CharacterSolve(out, templates, expressions);
  EXPECT_EQ(out.mWeights[0][0], 3e16); // 3e16 + 3 is another number
  EXPECT_NE(3e16 + 3, 3e16);
}

// A NaN expression weight that the character defines does not affect the templates.
TEST(ActorToCharacter, AUsedExpressionDoesNotAffectTheTemplates) {
  CatalogueOnLoan catalogue;
  catalogue.Add().mParts[0].mWeights[0] = 1;
  Character character;
  AddPart(character, 2);
  AddPart(character, 1);
  character.mExpressionStates[0]->mWeights[1][0] = 1;
  character.mTemplateStates[0][0]->mWeights[0][0] = 1;
  VFaceExpressionState expressions;
  expressions.mWeights[0] = kInfinity;
  VCharacterFaceState out;
  character.Actor2CharacterSolve(out, VFaceTemplateState(), expressions);
  EXPECT_EQ(out.mWeights[1][0], kInfinity);
  EXPECT_TRUE(std::isnan(out.mWeights[0][0])); // through its definition, 0 there: infinity times 0
  expressions.mWeights[0] = 1e308;
  character.Actor2CharacterSolve(out, VFaceTemplateState(), expressions);
  EXPECT_EQ(out.mWeights[1][0], 1e308);
  EXPECT_EQ(out.mWeights[0][0], 0);
}

// An expression that the character does not define is a sum of zeros, which changes nothing unless its weight
// is infinite or NaN: then it is included.
TEST(ActorToCharacter, AnUnusedExpressionOfInfiniteWeightGivesNaN) {
  CatalogueOnLoan catalogue;
  VFaceTemplateState& all = catalogue.Add();
  for (auto& part : all.mParts) std::fill(std::begin(part.mWeights), std::end(part.mWeights), 1.0);
  Character character;
  AddPart(character, 1);
  for (auto& states : character.mTemplateStates)
    for (int t = 0; t < states.GetCount(); ++t) states[t]->mWeights[0][0] = 1;
  VFaceExpressionState expressions;
  VCharacterFaceState out;
  for (const double weight : {kInfinity, -kInfinity, kNaN}) {
    expressions.mWeights[0] = weight; // through the templates only, it would be infinite
    character.Actor2CharacterSolve(out, VFaceTemplateState(), expressions);
    EXPECT_TRUE(std::isnan(out.mWeights[0][0])) << weight;
  }
}

// --- CharacterExpression2CharacterSolve

TEST(CharacterExpressionToCharacter, OneExpressionGivesItsDefinitionTimesItsWeight) {
  Character character;
  AddPart(character, 2);
  character.ExpressionCreate();
  character.ExpressionCreate();
  character.mCharacterExpressionStates[0]->mWeights[0][0] = 8;
  character.mCharacterExpressionStates[1]->mWeights[0][1] = 0.5;
  VArrayTemplate<double, 16> weights;
  weights.Add(-0.25);
  weights.Add(3);
  VCharacterFaceState out;
  character.CharacterExpression2CharacterSolve(out, weights);
  EXPECT_EQ(out.mWeights[0][0], -2);
  EXPECT_EQ(out.mWeights[0][1], 1.5);
}

TEST(CharacterExpressionToCharacter, TheCountDeterminesHowManyAreRead) {
  Character character;
  AddPart(character, 1);
  for (int k = 0; k < 3; ++k) {
    character.ExpressionCreate();
    character.mCharacterExpressionStates[k]->mWeights[0][0] = 1;
  }
  VArrayTemplate<double, 16> weights;
  for (const double weight : {1.0, 10.0, kNaN}) weights.Add(weight);
  character.mCharacterExpressionCount = 2;
  VCharacterFaceState out;
  character.CharacterExpression2CharacterSolve(out, weights);
  character.mCharacterExpressionCount = 3;
  EXPECT_EQ(out.mWeights[0][0], 11);
}

// Unlike the face's expressions, their number has no limit.
TEST(CharacterExpressionToCharacter, HundredsOfExpressionsAddUpInOrder) {
  HardNumbers numbers(51, 0);
  Character character;
  AddPart(character, 9);
  AddPart(character, 1);
  for (const int count : {224, 225, 226, 450, 451}) {
    while (character.mCharacterExpressionCount < count) character.ExpressionCreate();
    FillDefinitions(character, numbers);
    const VArrayTemplate<double, 16> weights = CharacterWeights(character, numbers);
    PlainState expected;
    PlainCharacterSolve(character, expected, weights);
    VCharacterFaceState out;
    character.CharacterExpression2CharacterSolve(out, weights);
    EXPECT_TRUE(SameBits(out.mWeights, expected.weights)) << count;
  }
}
