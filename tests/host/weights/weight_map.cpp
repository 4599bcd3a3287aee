#include "host/weights/weight_map.h"

#include "host/character/character_file.h"
#include "host/solve/solve_character.h"
#include "tests/host/input_error.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>

using testing::ElementsAre;
using testing::HasSubstr;

TEST(Arkit52Map, GivesBackTheTemplatesThatTheShapesOfArkit52CameFrom) {
  // Each template alone at half its weight, then all that do not act on the same shapes in opposite directions.
  mien::Animation animation;
  const std::vector<std::string> names = animation.layout.WeightNames(mien::WeightKind::Templates);
  const std::size_t columns = names.size();
  for (std::size_t t = 0; t <= columns; ++t) {
    for (std::size_t c = 0; c < columns; ++c) {
      const bool all = t == columns && !names[c].ends_with("Brow.Down");
      animation.weights.push_back(c == t || all ? 0.5 : 0);
    }
    animation.frames.push_back(static_cast<std::int64_t>(t));
    animation.times.push_back(static_cast<double>(t));
  }
  animation.heads.resize(columns + 1);
  SolveCharacter(animation, mien::LoadCharacter("arkit52"));

  mien::WeightTake take;
  take.names = animation.layout.shapes;
  take.frames = animation.frames;
  take.weights = animation.shape_weights;
  std::vector<std::string> unused;
  const mien::LongVector<double> templates = TemplatesOf(take, mien::LoadWeightMap("arkit52"), unused);
  ASSERT_EQ(templates.size(), animation.weights.size());
  for (std::size_t i = 0; i < templates.size(); ++i) {
    // Puffing one cheek puffs half of cheekPuff, which puffs half of both.
    const bool one_cheek = i / columns < columns && names[i / columns].ends_with("Cheek.Out");
    const double expected =
        one_cheek && names[i % columns].ends_with("Cheek.Out") ? 0.25 : animation.weights[i];
    EXPECT_NEAR(templates[i], expected, 1e-12) << names[i % columns] << " in " << i / columns;
  }
  EXPECT_THAT(unused, testing::Contains("tongueOut"));
  EXPECT_THAT(unused, testing::Not(testing::Contains("jawOpen")));
}

TEST(WeightMap, AddsFactorsAndKeepsTemplatesFromFallingBelow0) {
  mien::WeightTake take;
  take.file = "w.csv";
  take.names = {"a", "b", "c"};
  take.frames = {1, 2};
  take.weights = {0.5, 0.25, 9, 0.25, 1, 9};
  const mien::WeightMap map = mien::ReadWeightMap(
      R"({"format": "mien weight map 1", "name": "m", "templates": {"Mouth.Open": {"a": 2, "b": -1, "z": 1}}})",
      "m.json");
  std::vector<std::string> unused;
  const mien::LongVector<double> templates = TemplatesOf(take, map, unused);
  EXPECT_EQ(templates[0], 0.75);
  EXPECT_EQ(templates[map.templates.size()], 0);
  EXPECT_THAT(unused, ElementsAre("c"));
  take.names = {"x", "y", "w"};
  EXPECT_EQ(InputErrorOf([&] { TemplatesOf(take, map, unused); }),
            "w.csv: the weight map \"m\" uses none of its weights: \"x\", \"y\", \"w\"; name a map of these "
            "weights with --map");
}

TEST(WeightMap, ReportsAllMistakes) {
  const std::string error = InputErrorOf([] {
    mien::ReadWeightMap(
        R"({"format": "mien weight map 1", "name": "m", "more": 1, "templates": {"Mouth.Opn": {"a": 1}, "Mouth.Open": {"a": "1"}}})",
        "m.json");
  });
  EXPECT_THAT(error, HasSubstr("m.json:/templates/Mouth.Opn: the face has no template of this name"));
  EXPECT_THAT(error, HasSubstr("m.json:/templates/Mouth.Open/a: a number is expected"));
  EXPECT_THAT(error, HasSubstr("m.json:/more"));
}
