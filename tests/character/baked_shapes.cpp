#include "mien/character/baked_shapes.h"

#include "mien/character/character_face.h"
#include "mien/character/expression_sum.h"
#include "mien/face/face.h"
#include "tests/character/characters.h"
#include "tests/character/plain_solves.h"
#include "tests/character/same_bits.h"

#include <gtest/gtest.h>

#include <cstddef>
#include <cstdint>
#include <memory>
#include <thread>
#include <vector>

using namespace tests;
using mien::BakedShapes, mien::ExpressionSum;

namespace {

/// A face with expressions and a character for it: some parts, some of them without shapes, and some
/// expressions that it does not define.
struct Example {
  Example(int expressions, HardNumbers& numbers, std::vector<int> shapes) {
    for (int e = 0; e < expressions; ++e)
      FillAll(face.mExpressions[face.CreateExpression("Expression")]->mTemplateState, numbers);
    character = std::make_unique<VCharacterFace>(face);
    for (const int count : shapes) AddPart(*character, count);
    FillDefinitions(*character, numbers);
    if (numbers.Below(4) > 0) UndefineSomeExpressions(*character);
  }

  VFace face;
  std::unique_ptr<VCharacterFace> character;
};

std::vector<int> AnyShapes(HardNumbers& numbers) {
  constexpr int kShapes[] = {0, 1, 2, 3, 7, 8, 9, 0, 31, 52};
  std::vector<int> shapes;
  for (int parts = numbers.Below(5); parts > 0; --parts) shapes.push_back(kShapes[numbers.Below(10)]);
  return shapes;
}

/// Weights of frames: as a state for each, and as rows.
struct Frames {
  Frames(const VFace& face, std::size_t count, HardNumbers& numbers) {
    const int expression_count = face.mExpressions.GetCount();
    for (std::size_t f = 0; f < count; ++f) {
      templates.push_back(TemplateWeights(numbers));
      if (numbers.Below(2) == 0) { // templates and expressions that are at rest
        for (VFacePartTemplateState& part : templates.back().mParts) part.mWeights[f % 3] *= 0;
        for (VFacePartTemplateState& part : templates.back().mParts)
          if (part.mWeights[0] != part.mWeights[0]) part.mWeights[0] = -0.0;
      }
      expressions.push_back(ExpressionWeights(expression_count, numbers));
      for (int e = 0; e < expression_count; ++e)
        if (numbers.Below(3) > 0) expressions.back().mWeights[e] = e % 2 == 0 ? 0.0 : -0.0;
      for (int p = 0; p < 9; ++p)
        for (int t = 0; t < face.mParts[p].mTemplates.GetCount(); ++t)
          template_rows.push_back(templates.back().mParts[p].mWeights[t]);
      expression_rows.insert(expression_rows.end(), expressions.back().mWeights,
                             expressions.back().mWeights + expression_count);
    }
  }

  std::vector<VFaceTemplateState> templates;
  std::vector<VFaceExpressionState> expressions;
  std::vector<double> template_rows, expression_rows;
};

/// Compares `solved` with ExpressionSum, frame by frame.
void ExpectFrameByFrame(const Example& example, const Frames& frames, const std::vector<double>& solved) {
  const ExpressionSum sum(*example.character, example.face);
  VCharacterFaceState state;
  std::size_t i = 0;
  for (std::size_t f = 0; f < frames.templates.size(); ++f) {
    sum.Solve(state, frames.templates[f], frames.expressions[f]);
    for (int p = 0; p < example.character->mParts.GetCount(); ++p)
      for (int s = 0; s < example.character->mParts[p]->mShapes.GetCount(); ++s, ++i)
        ASSERT_TRUE(SameBits(solved[i], state.mWeights[p][s]))
            << "frame " << f << ", part " << p << ", shape " << s << ": " << solved[i] << " instead of "
            << state.mWeights[p][s];
  }
  ASSERT_EQ(i + 3, solved.size());
  for (; i < solved.size(); ++i) ASSERT_EQ(solved[i], 0.5) << "beyond the last frame";
}

std::vector<double> Solved(const BakedShapes& baked, const Frames& frames) {
  std::vector<double> shapes(frames.templates.size() * baked.Shapes() + 3, 0.5);
  baked.Solve(shapes.data(), frames.template_rows.data(), frames.expression_rows.data(), baked.Expressions(),
              frames.templates.size());
  return shapes;
}

} // namespace

// Every possible number of expressions, all counts of frames to 20, and values of which none, one in six or one in
// sixty is special.
TEST(BakedShapes, GiveTheBitsOfExpressionSumForAnyCharacter) {
  for (int count = 0; count <= 99; ++count) {
    HardNumbers numbers(static_cast<std::uint64_t>(count), count % 3 == 0 ? 0 : count % 3 == 1 ? 6 : 60);
    const Example example(count, numbers, AnyShapes(numbers));
    const BakedShapes baked(*example.character, example.face);
    SCOPED_TRACE(testing::Message() << count << " expressions");
    EXPECT_EQ(baked.Expressions(), static_cast<std::size_t>(count));
    EXPECT_EQ(baked.Templates(), 23U);
    const Frames frames(example.face, static_cast<std::size_t>(count) % 21, numbers);
    ExpectFrameByFrame(example, frames, Solved(baked, frames));
  }
}

TEST(BakedShapes, AcceptTheLargestCharacter) {
  HardNumbers numbers(5, 40);
  const Example example(99, numbers, std::vector<int>(15, 500));
  const BakedShapes baked(*example.character, example.face);
  EXPECT_EQ(baked.Shapes(), 7500U);
  const Frames frames(example.face, 3, numbers);
  ExpectFrameByFrame(example, frames, Solved(baked, frames));
}

// 0 times infinity is NaN: neither a row nor an expression's templates are left out then.
TEST(BakedShapes, WeightsOfZeroPassOnWhatIsNotFinite) {
  for (const double weight : {0.0, -0.0}) {
    HardNumbers numbers(6, 0);
    Example example(2, numbers, {3});
    UndefineSomeExpressions(*example.character); // 0
    const auto solve = [&] {
      const BakedShapes baked(*example.character, example.face);
      Frames frames(example.face, 2, numbers);
      for (auto* rows : {&frames.template_rows, &frames.expression_rows})
        for (double& number : *rows) number = weight;
      return Solved(baked, frames);
    };
    EXPECT_EQ(solve()[1], 0);
    example.character->mTemplateStates[3][0]->mWeights[0][1] = kInfinity;
    EXPECT_TRUE(std::isnan(solve()[1]));
    EXPECT_EQ(solve()[2], 0);
    example.character->mTemplateStates[3][0]->mWeights[0][1] = 1;
    example.character->mExpressionStates[1]->mWeights[0][2] = kInfinity;
    EXPECT_EQ(solve()[1], 0);
    EXPECT_TRUE(std::isnan(solve()[2]));
    example.character->mExpressionStates[1]->mWeights[0][2] = 1;
    for (int e = 0; e < 2; ++e) {
      auto& templates = example.face.mExpressions[e]->mTemplateState.mParts[4].mWeights[0];
      templates = -kInfinity;
      EXPECT_TRUE(std::isnan(solve()[0])) << "expression " << e;
      templates = 1;
    }
    EXPECT_EQ(solve()[0], 0);
  }
}

TEST(BakedShapes, AllFramesMayHaveTheSameExpressions) {
  HardNumbers numbers(8, 12);
  const Example example(7, numbers, {5, 20});
  const BakedShapes baked(*example.character, example.face);
  Frames frames(example.face, 19, numbers);
  for (VFaceExpressionState& expressions : frames.expressions) expressions = frames.expressions[0];
  std::vector<double> shapes(19 * 25 + 3, 0.5);
  baked.Solve(shapes.data(), frames.template_rows.data(), frames.expression_rows.data(), 0, 19);
  ExpectFrameByFrame(example, frames, shapes);
}

// Neither is read again.
TEST(BakedShapes, KeepNothingOfTheCharacterAndTheFace) {
  HardNumbers numbers(9, 0);
  auto example = std::make_unique<Example>(5, numbers, std::vector<int>{40});
  const BakedShapes baked(*example->character, example->face);
  const Frames frames(example->face, 6, numbers);
  const std::vector<double> before = Solved(baked, frames);
  ForEachDefinition(*example->character, [](VCharacterFaceState& state) { FillWeights(state, 7); });
  EXPECT_EQ(Solved(baked, frames), before);
  example.reset();
  EXPECT_EQ(Solved(baked, frames), before);
}

// No part, or parts without shapes: definitions may be missing, and nothing is written.
TEST(BakedShapes, WithoutShapesNoDefinitionIsRead) {
  HardNumbers numbers(7, 0);
  Example example(3, numbers, {});
  example.character->ClearDefineState();
  for (int parts = 0; parts < 3; ++parts) {
    const BakedShapes baked(*example.character, example.face);
    EXPECT_EQ(baked.Shapes(), 0U);
    EXPECT_EQ(baked.Templates(), 23U);
    EXPECT_EQ(baked.Expressions(), 3U);
    EXPECT_EQ(Solved(baked, Frames(example.face, 4, numbers)), std::vector<double>(3, 0.5));
    AddPart(*example.character, 0);
  }
}

TEST(BakedShapes, TwoThreadsMayUseOne) {
  HardNumbers numbers(10, 30);
  const Example example(12, numbers, {52, 30});
  const BakedShapes baked(*example.character, example.face);
  const Frames frames[2] = {{example.face, 200, numbers}, {example.face, 150, numbers}};
  std::vector<double> solved[2];
  std::thread other([&] { solved[1] = Solved(baked, frames[1]); });
  solved[0] = Solved(baked, frames[0]);
  other.join();
  for (int i = 0; i < 2; ++i) ExpectFrameByFrame(example, frames[i], solved[i]);
}
