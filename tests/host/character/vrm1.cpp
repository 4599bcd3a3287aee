#include "host/character/vrm1.h"

#include "host/base/face_parts.h"
#include "host/character/character_file.h"
#include "host/gltf/vrm.h"
#include "host/solve/character_solver.h"
#include "mien/face/face.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cstddef>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

using mien::Character;
using mien::CharacterSolver;
using testing::ElementsAreArray;

namespace {

/// The weight of a preset, for weights of templates.
double Shown(std::string_view preset, const std::vector<std::pair<std::string, double>>& templates) {
  const Character character = mien::LoadCharacter("vrm1");
  CharacterSolver solver(character, {});
  VFaceTemplateState state;
  for (const auto& [name, weight] : templates)
    for (const mien::TemplateColumn& column : mien::TemplateColumns())
      if (column.name == name) state.mParts[column.part].mWeights[column.slot] = weight;
  const std::vector<std::string> shapes = character.Shapes();
  const auto shape = std::find(shapes.begin(), shapes.end(), preset) - shapes.begin();
  return solver.Solve(state).mWeights[0][shape];
}

} // namespace

TEST(Vrm1, HasTheEighteenPresets) {
  EXPECT_THAT(mien::LoadCharacter("vrm1").Shapes(), ElementsAreArray(mien::kVrmPresets));
}

TEST(Vrm1, MoodsAreCombinationsOfWhichAllMakeOne) {
  EXPECT_EQ(Shown("happy", {{"Mouth.CornersUpL", 1}, {"Mouth.CornersUpR", 1}}), 1);
  EXPECT_EQ(Shown("happy", {{"Mouth.CornersUpL", 1}}), 0.5);
  EXPECT_EQ(Shown("sad", {{"Mouth.CornersDownL", 1}, {"Mouth.CornersDownR", 1}}), 1);
  EXPECT_EQ(Shown("angry", {{"LeftBrow.Down", 1}, {"RightBrow.Down", 1}}), 1);
  EXPECT_EQ(
      Shown("surprised",
            {{"LeftBrow.Up", 1}, {"RightBrow.Up", 1}, {"LeftEye.WideOpen", 1}, {"RightEye.WideOpen", 1}}),
      1);
}

TEST(Vrm1, ABrowIsNeverAngryAndSurprised) { // both of its templates leave 0 where closeness measures it
  EXPECT_EQ(Shown("angry", {{"LeftBrow.Up", 1}, {"LeftBrow.Down", 0.5}}), 0);
  EXPECT_EQ(Shown("surprised", {{"LeftBrow.Up", 0.5}, {"LeftBrow.Down", 1}}), 0);
}

TEST(Vrm1, VowelsAndBlinksAreTemplates) {
  EXPECT_EQ(Shown("aa", {{"Mouth.Open", 0.5}}), 0.5);
  EXPECT_EQ(Shown("ou", {{"Mouth.Whistle", 0.5}}), 0.5);
  EXPECT_EQ(Shown("ih", {{"Mouth.Square", 0.5}}), 0.5);
  EXPECT_EQ(Shown("blinkLeft", {{"LeftEye.Close", 0.5}}), 0.5);
  EXPECT_EQ(Shown("blinkRight", {{"LeftEye.Close", 0.5}}), 0);
  EXPECT_EQ(Shown("blink", {{"LeftEye.Close", 1}, {"RightEye.Close", 1}}), 0) << "the eyes would shut twice";
}
