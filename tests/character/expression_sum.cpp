#include "mien/character/expression_sum.h"

#include "mien/character/character_face.h"
#include "mien/face/face.h"
#include "tests/character/characters.h"
#include "tests/character/plain_solves.h"
#include "tests/character/same_bits.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <memory>
#include <thread>
#include <vector>

using namespace tests;
using mien::ExpressionSum;

namespace {

/// A face with this number of expressions, with random template weights.
std::unique_ptr<VFace> FaceOf(int expressions, HardNumbers& numbers) {
  auto face = std::make_unique<VFace>();
  for (int e = 0; e < expressions; ++e)
    FillAll(face->mExpressions[face->CreateExpression("Expression")]->mTemplateState, numbers);
  return face;
}

/// A character with a define state for the face: some parts, some of them without shapes, and some
/// expressions that it does not define.
std::unique_ptr<VCharacterFace> CharacterOf(const VFace& face, HardNumbers& numbers) {
  constexpr int kShapes[] = {0, 1, 2, 3, 7, 8, 9, 0, 31, 52};
  auto character = std::make_unique<VCharacterFace>(face);
  for (int parts = numbers.Below(5); parts > 0; --parts) {
    const int shapes = kShapes[numbers.Below(10)];
    numbers.Below(3) == 0 ? AddClusterPart(*character, shapes, 0) : AddPart(*character, shapes);
  }
  FillDefinitions(*character, numbers);
  if (numbers.Below(4) > 0) UndefineSomeExpressions(*character);
  return character;
}

/// The weights of 50 frames, solved one after the other.
std::vector<double> Film(const ExpressionSum& sum, std::uint64_t seed) {
  HardNumbers numbers(seed, 0);
  auto out = std::make_unique<VCharacterFaceState>();
  std::vector<double> film;
  for (int frame = 0; frame < 50; ++frame) {
    const VFaceTemplateState templates = TemplateWeights(numbers);
    sum.Solve(*out, templates, ExpressionWeights(99, numbers));
    for (const auto& row : out->mWeights) film.insert(film.end(), row, row + 60);
  }
  return film;
}

} // namespace

// Every possible number of expressions; values of which none, one in six or one in sixty is special. And
// the same bits as the process-wide face with the same catalogue.
TEST(ExpressionSum, GivesTheBitsOfItsDefinitionForAnyCharacter) {
  for (int count = 0; count <= 99; ++count) {
    HardNumbers numbers(static_cast<std::uint64_t>(count), count % 3 == 0 ? 0 : count % 3 == 1 ? 6 : 60);
    const auto face = FaceOf(count, numbers);
    const auto character = CharacterOf(*face, numbers);
    CatalogueOnLoan global;
    for (int e = 0; e < count; ++e) global.Add() = face->mExpressions[e]->mTemplateState;
    const ExpressionSum sum(*character, *face);
    for (int frame = 0; frame < 2; ++frame) {
      SCOPED_TRACE(testing::Message() << count << " expressions, frame " << frame);
      const VFaceTemplateState templates = TemplateWeights(numbers);
      const VFaceExpressionState expressions = ExpressionWeights(count, numbers);
      VCharacterFaceState out, by_global;
      FillWeights(out, kNaN);
      sum.Solve(out, templates, expressions);
      PlainState expected;
      PlainActorSolve(*character, *face, expected, templates, expressions);
      ASSERT_TRUE(SameBits(out.mWeights, expected.weights));
      character->Actor2CharacterSolve(by_global, templates, expressions);
      ASSERT_TRUE(SameBits(out.mWeights, by_global.mWeights));
    }
  }
}

TEST(ExpressionSum, AcceptsTheLargestCharacter) {
  HardNumbers numbers(5, 40);
  const auto face = FaceOf(99, numbers);
  VCharacterFace character(*face);
  for (int p = 0; p < 15; ++p) AddPart(character, 500);
  FillDefinitions(character, numbers);
  UndefineSomeExpressions(character);
  const VFaceTemplateState templates = TemplateWeights(numbers);
  const VFaceExpressionState expressions = ExpressionWeights(99, numbers);
  VCharacterFaceState out;
  ExpressionSum(character, *face).Solve(out, templates, expressions);
  PlainState expected;
  PlainActorSolve(character, *face, expected, templates, expressions);
  EXPECT_TRUE(SameBits(out.mWeights, expected.weights));
}

TEST(ExpressionSum, AnExpressionDrivesItsDefinitionOrElseItsTemplates) {
  VFace face;
  for (const char* name : {"Shapes", "Templates"})
    face.mExpressions[face.CreateExpression(name)]->mTemplateState.mParts[0].mWeights[0] = 1;
  VCharacterFace character(face);
  AddPart(character, 2);
  character.mTemplateStates[0][0]->mWeights[0][0] = 3;
  character.mExpressionStates[0]->mWeights[0][1] = 5;
  const ExpressionSum sum(character, face);
  VFaceTemplateState templates;
  templates.mParts[0].mWeights[0] = 0.25;
  VFaceExpressionState expressions;
  expressions.mWeights[0] = 0.5, expressions.mWeights[1] = 2;
  VCharacterFaceState out;
  sum.Solve(out, templates, expressions);
  EXPECT_EQ(out.mWeights[0][0], 3 * (0.25 + 2));
  EXPECT_EQ(out.mWeights[0][1], 2.5);
}

// Sets of clusters belong to the result; their roots belong to the caller.
TEST(ExpressionSum, ClearsTheResultWithItsClustersAndLeavesRoots) {
  const VFace face;
  VCharacterFace character(face);
  AddPart(character, 1);
  for (const bool has_shapes : {true, false}) {
    if (!has_shapes) delete character.mParts.RemoveLast();
    VCharacterFaceState out;
    FillWeights(out, kNaN);
    for (VCharacterFaceClusterSetState& set : out.mClusters) {
      set.mClusters.Add(new VCharacterFaceClusterState);
      set.mClusters[0]->mLocalT.x = set.mRoot.mGlobalT.x = 5;
    }
    ExpressionSum(character, face).Solve(out, {}, {});
    EXPECT_TRUE(SameBits(out.mWeights, Weights{}));
    for (const VCharacterFaceClusterSetState& set : out.mClusters) {
      EXPECT_EQ(set.mClusters[0]->mLocalT.x, 0);
      EXPECT_EQ(set.mRoot.mGlobalT.x, 5);
    }
  }
}

// No part, or parts without shapes: there is nothing to sum, and definitions may be missing.
TEST(ExpressionSum, WithoutShapesNoDefinitionIsRead) {
  HardNumbers numbers(7, 0);
  const auto face = FaceOf(3, numbers);
  VCharacterFace character(*face);
  character.ClearDefineState();
  for (int parts = 0; parts < 3; ++parts) {
    VCharacterFaceState out;
    FillWeights(out, kNaN);
    ExpressionSum(character, *face).Solve(out, TemplateWeights(numbers), ExpressionWeights(3, numbers));
    EXPECT_TRUE(SameBits(out.mWeights, Weights{}));
    AddPart(character, 0);
  }
}

// --- Many at once.

TEST(ExpressionSum, DoesNotDependOnTheGlobalCatalogue) {
  HardNumbers numbers(11, 0);
  const auto face = FaceOf(6, numbers);
  const auto character = std::make_unique<VCharacterFace>(*face);
  AddPart(*character, 60);
  FillDefinitions(*character, numbers);
  UndefineSomeExpressions(*character);
  const std::vector<double> alone = Film(ExpressionSum(*character, *face), 1);

  CatalogueOnLoan somebody_elses;
  for (int e = 0; e < 40; ++e) FillAll(somebody_elses.Add(), numbers);
  const auto& catalogue = GetGlobalFace()->mExpressions;
  std::vector<const VFaceExpression*> before;
  for (int e = 0; e < catalogue.GetCount(); ++e) before.push_back(catalogue[e]);
  const VCharacterFace made_meanwhile(*face);
  EXPECT_EQ(made_meanwhile.mExpressionStates.GetCount(), 6);
  EXPECT_EQ(Film(ExpressionSum(*character, *face), 1), alone);
  ASSERT_EQ(catalogue.GetCount(), 40);
  for (int e = 0; e < 40; ++e) EXPECT_EQ(catalogue[e], before[static_cast<std::size_t>(e)]);
}

TEST(ExpressionSum, SeveralOnSeveralThreadsGiveTheSameAsEachAlone) {
  struct Example {
    std::unique_ptr<VFace> face;
    std::unique_ptr<VCharacterFace> character;
    std::unique_ptr<ExpressionSum> sum;
    std::vector<double> alone;
  };
  std::vector<Example> examples;
  for (const int count : {0, 5, 30, 99}) {
    HardNumbers numbers(static_cast<std::uint64_t>(count), 0);
    Example& example = examples.emplace_back();
    example.face = FaceOf(count, numbers);
    example.character = std::make_unique<VCharacterFace>(*example.face);
    AddPart(*example.character, 52);
    FillDefinitions(*example.character, numbers);
    UndefineSomeExpressions(*example.character);
    example.sum = std::make_unique<ExpressionSum>(*example.character, *example.face);
    example.alone = Film(*example.sum, 3);
  }
  // Also one that two threads share: a solve writes only its result.
  std::vector<std::vector<double>> films(2 * examples.size());
  std::vector<std::thread> threads;
  for (std::size_t i = 0; i < films.size(); ++i)
    threads.emplace_back([&films, &examples, i] { films[i] = Film(*examples[i / 2].sum, 3); });
  for (std::thread& thread : threads) thread.join();
  for (std::size_t i = 0; i < films.size(); ++i) EXPECT_EQ(films[i], examples[i / 2].alone) << i;
  for (std::size_t i = 1; i < examples.size(); ++i) EXPECT_NE(examples[i].alone, examples[0].alone);
}
