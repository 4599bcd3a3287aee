#include "host/live/weight_solver.h"

#include "host/animation/resample.h"
#include "host/character/character_file.h"
#include "host/live/solve_causally.h"
#include "host/solve/solve_character.h"
#include "host/weights/apply_ranges.h"
#include "host/weights/eyes_of_shapes.h"
#include "host/weights/swap_sides.h"
#include "host/weights/to_animation.h"
#include "tests/host/input_error.h"
#include "tests/random.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <memory>
#include <vector>

using mien::Animation;
using mien::LiveSetup;
using mien::WeightTake;
using testing::HasSubstr;

namespace {

WeightTake Recording(std::vector<std::string> names, std::size_t frames) {
  tests::Random random(5);
  WeightTake take;
  take.name = "phone";
  take.rate = {60, 1};
  take.names = std::move(names);
  for (std::size_t f = 0; f < frames; ++f) {
    take.frames.push_back(static_cast<std::int64_t>(f) + 1);
    take.times.push_back(static_cast<double>(f) / 60);
    for (std::size_t n = 0; n < take.names.size(); ++n) take.weights.push_back(random.Between(0, 1));
    take.heads.push_back({random.Between(-1, 1), random.Between(-1, 1), random.Between(-1, 1)});
    take.eyes.push_back({mien::EyeAngles{random.Between(-0.5, 0.5), 0.1}, mien::EyeAngles{0.2, 0}});
  }
  return take;
}

} // namespace

// Of a recording without gaps it makes what a retarget makes, to the bit: ranges, sides, map, eyes,
// character.
TEST(WeightSolver, GivesWhatARetargetGivesWhereNothingIsMissing) {
  const WeightTake take = Recording({"jawOpen", "mouthSmileLeft", "mouthSmileRight", "eyeBlinkLeft"}, 30);
  const std::vector<mien::Range> ranges = {
      {.name = "jawOpen", .low = 0.1, .high = 0.7, .seen = 1, .trusted = true},
      {.name = "eyeBlinkLeft", .low = 0.3, .high = 0.7, .seen = 1, .trusted = false}};
  WeightTake cleaned = take;
  ApplyRanges(ranges, cleaned);
  SwapSides(cleaned);
  Animation whole = ToAnimation(cleaned);
  std::vector<std::string> unused;
  whole.layout.templates = mien::TemplateColumns();
  whole.weights = TemplatesOf(cleaned, mien::LoadWeightMap("arkit52"), unused);
  const mien::Character character = mien::LoadCharacter("arkit52");
  SolveCharacter(whole, character);

  LiveSetup setup;
  setup.weight_ranges = ranges;
  setup.swap_sides = true;
  setup.map = std::make_shared<const mien::WeightMap>(mien::LoadWeightMap("arkit52"));
  setup.character = std::make_shared<const mien::Character>(character);
  const Animation causal = SolveCausally(take, setup).animation;
  ASSERT_EQ(causal.frames.size(), 30u);
  for (std::size_t f = 0; f < 30; ++f) {
    for (std::size_t t = 0; t < whole.layout.templates.size(); ++t)
      EXPECT_EQ(causal.Weight(f, t), whole.Weight(f, t));
    for (std::size_t s = 0; s < whole.layout.shapes.size(); ++s)
      EXPECT_EQ(causal.ShapeWeight(f, s), whole.ShapeWeight(f, s)) << whole.layout.shapes[s];
    EXPECT_EQ(causal.heads[f], whole.heads[f]);
    EXPECT_EQ(causal.eyes[f], whole.eyes[f]);
  }
}

TEST(WeightSolver, WithoutACharacterWeightsKeepTheirNames) {
  const WeightTake take = Recording({"EyeBlink_L", "Puff"}, 3);
  const Animation causal = SolveCausally(take, LiveSetup()).animation;
  EXPECT_EQ(causal.layout.shapes, (std::vector<std::string>{"eyeBlinkLeft", "Puff"}));
  EXPECT_TRUE(causal.layout.templates.empty());
  for (std::size_t f = 0; f < 3; ++f)
    for (std::size_t s = 0; s < 2; ++s) EXPECT_EQ(causal.ShapeWeight(f, s), take.Weight(f, s));
}

TEST(WeightSolver, WeightsOfTemplatesStayTemplates) {
  const WeightTake take = Recording({"LeftEye.Close", "Mouth.Open"}, 2);
  const Animation causal = SolveCausally(take, LiveSetup()).animation;
  EXPECT_TRUE(causal.layout.shapes.empty());
  for (std::size_t t = 0; t < causal.layout.templates.size(); ++t) {
    const std::string& name = causal.layout.templates[t].name;
    EXPECT_EQ(causal.Weight(1, t), name == "LeftEye.Close" ? take.Weight(1, 0)
                                   : name == "Mouth.Open"  ? take.Weight(1, 1)
                                                           : 0);
  }
}

TEST(WeightSolver, AMissingWeightIsHeldAndFades) {
  WeightTake take = Recording({"jawOpen", "mouthPucker"}, 60);
  for (std::size_t f = 10; f < 60; ++f) take.weights[f * 2] = std::nan("");
  const Animation causal = SolveCausally(take, LiveSetup()).animation;
  EXPECT_EQ(causal.ShapeWeight(14, 0), take.Weight(9, 0)) << "held";
  EXPECT_LT(causal.ShapeWeight(25, 0), take.Weight(9, 0));
  EXPECT_EQ(causal.ShapeWeight(40, 0), 0);
  EXPECT_EQ(causal.ShapeWeight(40, 1), take.Weight(40, 1));
}

TEST(WeightSolver, TheEyesFollowTheEyeLookShapesUntilAnglesCome) {
  const std::vector<std::string> names = {"eyeLookUpLeft",  "eyeLookDownLeft", "eyeLookInLeft",
                                          "eyeLookOutLeft", "eyeLookUpRight",  "eyeLookDownRight",
                                          "eyeLookInRight", "eyeLookOutRight"};
  WeightTake take = Recording(names, 4);
  WeightTake without = take;
  without.eyes.clear();
  SetEyesOfShapes(without);
  const mien::Eyes angles = take.eyes[2];
  for (const std::size_t f : {0U, 1U, 3U}) take.eyes[f][0].yaw = std::nan("");
  const Animation causal = SolveCausally(take, LiveSetup()).animation;
  EXPECT_EQ(causal.eyes[0], without.eyes[0]);
  EXPECT_EQ(causal.eyes[1], without.eyes[1]);
  EXPECT_EQ(causal.eyes[2], angles);
  EXPECT_EQ(causal.eyes[3], angles) << "held";
}

TEST(WeightSolver, RefusesAMapThatUsesNoneOfTheWeights) {
  LiveSetup setup;
  setup.map = std::make_shared<const mien::WeightMap>(mien::LoadWeightMap("arkit52"));
  setup.character = std::make_shared<const mien::Character>(mien::LoadCharacter("arkit52"));
  EXPECT_THAT(InputErrorOf([&] {
                SolveCausally(Recording({"a", "b"}, 1), setup);
              }),
              HasSubstr("uses none of its weights"));
  setup.map = nullptr;
  EXPECT_THAT(InputErrorOf([&] { SolveCausally(Recording({"jawOpen"}, 1), setup); }),
              HasSubstr("through a map"));
}
