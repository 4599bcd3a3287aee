#include "host/character/gaze_shapes.h"

#include "host/character/character_file.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <map>
#include <numbers>
#include <string>

using mien::Character;
using mien::GazeShape;
using mien::GazeShapesOf;

TEST(GazeShapes, AreTheEightThatFollowTheEyes) {
  const Character character = mien::LoadCharacter("arkit52");
  std::map<std::string, double> full; // degrees
  for (const GazeShape& shape : GazeShapesOf(character)) {
    const std::string& name = character.parts[shape.part].shapes[shape.shape];
    EXPECT_THAT(shape.eyes, name.ends_with("Right") ? testing::ElementsAre(0, 1) : testing::ElementsAre(1, 0))
        << name;
    EXPECT_EQ(shape.is_vertical, name.starts_with("eyeLookUp") || name.starts_with("eyeLookDown")) << name;
    full[name] = shape.full * 180 / std::numbers::pi;
  }
  const std::map<std::string, double> expected = {
      {"eyeLookOutLeft", 35}, {"eyeLookInLeft", -35},   {"eyeLookDownLeft", 35},  {"eyeLookUpLeft", -25},
      {"eyeLookInRight", 35}, {"eyeLookOutRight", -35}, {"eyeLookDownRight", 35}, {"eyeLookUpRight", -25}};
  ASSERT_EQ(full.size(), expected.size());
  for (const auto& [name, degrees] : expected) EXPECT_DOUBLE_EQ(full[name], degrees) << name;
}

TEST(GazeShapes, AreFoundInAnySpellingAndPart) {
  Character character;
  character.parts = {{"Mouth", {"jawOpen"}, {}, {}, {}}, {"Eyes", {"blink", "Eye_Look_Up_L"}, {}, {}, {}}};
  const auto shapes = GazeShapesOf(character);
  ASSERT_EQ(shapes.size(), 1u);
  EXPECT_EQ(shapes[0].part, 1u);
  EXPECT_EQ(shapes[0].shape, 1u);
}

TEST(GazeShapes, OfBothEyesFollowTheirMean) {
  const Character character = mien::LoadCharacter("vrm1");
  std::map<std::string, double> full; // degrees
  for (const GazeShape& shape : GazeShapesOf(character)) {
    const std::string& name = character.parts[shape.part].shapes[shape.shape];
    EXPECT_THAT(shape.eyes, testing::ElementsAre(0.5, 0.5)) << name;
    EXPECT_EQ(shape.is_vertical, name == "lookUp" || name == "lookDown") << name;
    full[name] = shape.full * 180 / std::numbers::pi;
  }
  const std::map<std::string, double> expected = {
      {"lookLeft", 35}, {"lookRight", -35}, {"lookDown", 35}, {"lookUp", -25}};
  ASSERT_EQ(full.size(), expected.size());
  for (const auto& [name, degrees] : expected) EXPECT_DOUBLE_EQ(full[name], degrees) << name;
}
