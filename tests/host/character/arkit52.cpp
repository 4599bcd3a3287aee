#include "host/character/arkit52.h"

#include "host/animation/animation.h"
#include "host/character/arkit_names.h"
#include "host/character/character_file.h"
#include "host/solve/character_solver.h"
#include "mien/face/face.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <map>
#include <set>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

using mien::Character;
using mien::CharacterSolver;
using mien::ShapeWeights;
using mien::TemplateColumn;
using testing::IsEmpty;
using testing::Pair;
using testing::UnorderedElementsAre;

namespace {

Character Arkit52() { return mien::LoadCharacter("arkit52"); }

const ShapeWeights& Of(const Character& character, const TemplateColumn& column) {
  return character.templates.at(static_cast<std::size_t>(column.part))
      .at(static_cast<std::size_t>(column.slot));
}

TemplateColumn Column(const std::string& name) {
  for (const TemplateColumn& column : mien::TemplateColumns())
    if (column.name == name) return column;
  throw std::out_of_range(name);
}

/// The shapes that each template of the face drives.
const std::map<std::string, std::set<std::string>> kStandsFor = {
    {"Mouth.Open", {"jawOpen"}},
    {"Mouth.Whistle", {"mouthPucker", "mouthFunnel"}},
    {"Mouth.CornersUpR", {"mouthSmileRight"}},
    {"Mouth.CornersUpL", {"mouthSmileLeft"}},
    {"Mouth.CornersDownR", {"mouthFrownRight"}},
    {"Mouth.CornersDownL", {"mouthFrownLeft"}},
    {"Mouth.Square", {"mouthUpperUpLeft", "mouthUpperUpRight", "mouthLowerDownLeft", "mouthLowerDownRight"}},
    {"LeftBrow.Up", {"browOuterUpLeft", "browInnerUp"}},
    {"LeftBrow.Down", {"browDownLeft"}},
    {"RightBrow.Up", {"browOuterUpRight", "browInnerUp"}},
    {"RightBrow.Down", {"browDownRight"}},
    {"LeftEye.Close", {"eyeBlinkLeft"}},
    {"LeftEye.Squint", {"eyeSquintLeft"}},
    {"LeftEye.WideOpen", {"eyeWideLeft"}},
    {"RightEye.Close", {"eyeBlinkRight"}},
    {"RightEye.Squint", {"eyeSquintRight"}},
    {"RightEye.WideOpen", {"eyeWideRight"}},
    {"LeftCheek.Up", {"cheekSquintLeft"}},
    {"LeftCheek.Out", {"cheekPuff"}},
    {"RightCheek.Up", {"cheekSquintRight"}},
    {"RightCheek.Out", {"cheekPuff"}},
    {"LeftNostril.Up", {"noseSneerLeft"}},
    {"RightNostril.Up", {"noseSneerRight"}},
};

/// "eyeBlinkLeft" for "eyeBlinkRight" and vice versa; a shape without a side is its own mirror image.
std::string Mirrored(const std::string& shape) {
  const auto exchange = [&](const std::string& from, const std::string& to) {
    return shape.substr(0, shape.size() - from.size()) + to;
  };
  if (shape.ends_with("Left")) return exchange("Left", "Right");
  if (shape.ends_with("Right")) return exchange("Right", "Left");
  return shape;
}

/// "RightEye.Close" for "LeftEye.Close", "Mouth.CornersUpR" for "Mouth.CornersUpL".
std::string MirroredTemplate(const std::string& name) {
  if (name.starts_with("Left")) return "Right" + name.substr(4);
  if (name.starts_with("Right")) return "Left" + name.substr(5);
  if (name.ends_with("L")) return name.substr(0, name.size() - 1) + 'R';
  if (name.ends_with("R")) return name.substr(0, name.size() - 1) + 'L';
  return name;
}

/// The character's shapes for a face posed with these template weights and then measured.
std::map<std::string, double> ShapesOfPose(const std::vector<std::string>& templates) {
  const VFace& face = *GetGlobalFace();
  VFaceTemplateState posed, measured;
  for (const std::string& name : templates) posed.mParts[Column(name).part].mWeights[Column(name).slot] = 1;
  VFaceState pose;
  face.Template2FaceSolve(&pose, &posed);
  face.Face2TemplateSolve(&measured, &pose);

  const Character character = Arkit52();
  CharacterSolver solver(character);
  const VCharacterFaceState& state = solver.Solve(measured);
  std::map<std::string, double> shapes;
  for (std::size_t s = 0; s < character.parts[0].shapes.size(); ++s)
    shapes[character.parts[0].shapes[s]] = state.mWeights[0][s];
  return shapes;
}

} // namespace

TEST(Arkit52, HasEachOfThe52NamesOnce) {
  const Character character = Arkit52();
  EXPECT_THAT(character.Shapes(), testing::UnorderedElementsAreArray(std::vector<std::string>(
                                      mien::kArkitNames.begin(), mien::kArkitNames.end())));
  EXPECT_EQ(character.parts.size(), 1u);
  EXPECT_THAT(character.parts[0].clusters, IsEmpty());
  EXPECT_THAT(character.expressions, IsEmpty());
  ASSERT_TRUE(character.range);
  EXPECT_EQ(character.range->least, 0);
  EXPECT_EQ(character.range->most, 1);
}

TEST(Arkit52, EveryTemplateRaisesOnlyItsShapes) {
  ASSERT_EQ(kStandsFor.size(), mien::TemplateColumns().size());
  const Character character = Arkit52();
  for (const TemplateColumn& column : mien::TemplateColumns()) {
    std::set<std::string> raised;
    for (const auto& [shape, weight] : Of(character, column))
      if (weight > 0) raised.insert(shape);
    EXPECT_EQ(raised, kStandsFor.at(column.name)) << column.name;
  }
}

TEST(Arkit52, LeftIsTheMirrorOfRight) {
  const Character character = Arkit52();
  for (const TemplateColumn& column : mien::TemplateColumns()) {
    std::map<std::string, double> here, mirrored;
    for (const auto& [shape, weight] : Of(character, column)) here[shape] = weight;
    for (const auto& [shape, weight] : Of(character, Column(MirroredTemplate(column.name))))
      mirrored[Mirrored(shape)] = weight;
    EXPECT_EQ(here, mirrored) << column.name;
  }
}

// The templates of a side move that side: left is the face's own left.
TEST(Arkit52, ASideMovesOnlyItsOwnSide) {
  const Character character = Arkit52();
  for (const TemplateColumn& column : mien::TemplateColumns()) {
    const bool left = column.name.starts_with("Left") || column.name.ends_with("L");
    const bool right = column.name.starts_with("Right") || column.name.ends_with("R");
    if (!left && !right) continue;
    for (const auto& [shape, weight] : Of(character, column))
      EXPECT_FALSE(shape.ends_with(left ? "Right" : "Left")) << column.name << ' ' << shape;
  }
}

TEST(Arkit52, TheMouthsShapesMatchTheirNames) {
  const Character character = Arkit52();
  EXPECT_THAT(Of(character, Column("Mouth.Open")), UnorderedElementsAre(Pair("jawOpen", 1)));
  EXPECT_THAT(Of(character, Column("Mouth.CornersUpL")), UnorderedElementsAre(Pair("mouthSmileLeft", 1)));
  EXPECT_THAT(Of(character, Column("Mouth.CornersDownR")), UnorderedElementsAre(Pair("mouthFrownRight", 1)));
}

TEST(Arkit52, ARestingFaceHasAllShapesAtZero) {
  for (const auto& [shape, weight] : ShapesOfPose({})) EXPECT_EQ(weight, 0) << shape;
}

// From a pose of the face, measured, to the shapes.
TEST(Arkit52, TheShapesOfAPoseAreTheLargest) {
  for (const auto& [name, stands_for] : kStandsFor) {
    const std::map<std::string, double> shapes = ShapesOfPose({name});
    double least = 1, other = 0;
    std::string most_of_others;
    for (const auto& [shape, weight] : shapes) {
      EXPECT_GE(weight, 0) << shape;
      EXPECT_LE(weight, 1) << shape;
      if (stands_for.contains(shape))
        least = std::min(least, weight);
      else if (weight > other)
        other = weight, most_of_others = shape;
    }
    EXPECT_GT(least, other) << name << ": " << most_of_others;
    EXPECT_GT(least, 0.3) << name;
  }
}

TEST(Arkit52, RaisedBrowsShowNoBrowDown) {
  auto shapes = ShapesOfPose({"LeftBrow.Up", "RightBrow.Up"});
  for (const std::string up : {"browOuterUpLeft", "browOuterUpRight", "browInnerUp"})
    EXPECT_GT(shapes.at(up), 0.9) << up;
  for (const std::string down : {"browDownLeft", "browDownRight"}) EXPECT_EQ(shapes.at(down), 0) << down;
}

TEST(Arkit52, LoweredBrowsShowNoBrowUp) {
  auto shapes = ShapesOfPose({"LeftBrow.Down", "RightBrow.Down"});
  for (const std::string down : {"browDownLeft", "browDownRight"}) EXPECT_GT(shapes.at(down), 0.9) << down;
  for (const std::string up : {"browOuterUpLeft", "browOuterUpRight", "browInnerUp"})
    EXPECT_EQ(shapes.at(up), 0) << up;
}

TEST(Arkit52, OneBrowMovesItsOwnSideAndHalfOfTheMiddle) {
  auto left = ShapesOfPose({"LeftBrow.Up"}), right = ShapesOfPose({"RightBrow.Up"});
  EXPECT_GT(left.at("browOuterUpLeft"), 0.9);
  EXPECT_EQ(left.at("browOuterUpRight"), 0);
  EXPECT_NEAR(left.at("browInnerUp"), 0.5, 0.05); // half of both brows, which is limited to 1
  EXPECT_GT(right.at("browOuterUpRight"), 0.9);
  EXPECT_EQ(right.at("browOuterUpLeft"), 0);
}

TEST(Arkit52, BothCheeksOutPuffFully) {
  EXPECT_GT(ShapesOfPose({"LeftCheek.Out", "RightCheek.Out"}).at("cheekPuff"), 0.9);
  EXPECT_NEAR(ShapesOfPose({"LeftCheek.Out"}).at("cheekPuff"), 0.5, 0.05); // half of that
}
