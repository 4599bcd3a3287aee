#include "host/character/character_from_head.h"

#include "host/character/arkit_names.h"
#include "host/character/character_file.h"
#include "mien/face/face.h"
#include "tests/host/input_error.h"
#include "tests/host/note.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstddef>
#include <sstream>
#include <string>
#include <vector>

using mien::Character;
using mien::HeadMatch;
using mien::kArkitNames;
using mien::LoadCharacter;
using mien::MatchHead;
using mien::ReadCharacter;
using mien::ShapeWeights;
using mien::WriteCharacter;
using testing::Contains;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::Not;
using testing::Pair;
using testing::SizeIs;
using testing::UnorderedElementsAre;
using testing::UnorderedElementsAreArray;

namespace {

ShapeWeights Produced(const Character& character, const char* part, const char* name) {
  const int p = GetGlobalFace()->PartIndexByName(part);
  const int t = GetGlobalFace()->mParts[p].TemplateIndexByName(name);
  return character.templates[static_cast<std::size_t>(p)][static_cast<std::size_t>(t)];
}

std::vector<std::string> Numbered(std::size_t count) {
  std::vector<std::string> names;
  for (std::size_t n = 0; n < count; ++n) names.push_back("s" + std::to_string(n));
  return names;
}

} // namespace

TEST(CharacterFromHead, AHeadWithThe52IsTheBuiltInCharacter) {
  const Character arkit = LoadCharacter("arkit52");
  const HeadMatch match = MatchHead("Ada", {kArkitNames.begin(), kArkitNames.end()});
  EXPECT_EQ(match.character.name, "Ada");
  EXPECT_EQ(match.character.templates, arkit.templates);
  EXPECT_THAT(match.character.Shapes(), UnorderedElementsAreArray(arkit.Shapes()));
  ASSERT_TRUE(match.character.range);
  EXPECT_EQ(match.character.range->least, arkit.range->least);
  EXPECT_EQ(match.character.range->most, arkit.range->most);
  EXPECT_THAT(match.unmatched, IsEmpty());
  EXPECT_THAT(match.missing, IsEmpty());
  EXPECT_THAT(match.notes, IsEmpty());
}

TEST(CharacterFromHead, TheHeadsOwnSpellingsAreDriven) {
  const HeadMatch match = MatchHead("Ada", {"Horns", "A01_Jaw_Open", "teeth.jawOpen", "EyeBlink_L"});
  EXPECT_THAT(match.character.Shapes(), ElementsAre("Horns", "A01_Jaw_Open", "teeth.jawOpen", "EyeBlink_L"));
  EXPECT_THAT(Produced(match.character, "Mouth", "Open"),
              ElementsAre(Pair("A01_Jaw_Open", 1), Pair("teeth.jawOpen", 1)));
  EXPECT_THAT(Produced(match.character, "LeftEye", "Close"), ElementsAre(Pair("EyeBlink_L", 1)));
  EXPECT_THAT(Produced(match.character, "RightEye", "Close"), IsEmpty());
  EXPECT_THAT(match.unmatched, ElementsAre("Horns"));
}

TEST(CharacterFromHead, MissingTargetsThatWouldBeDrivenAreListed) {
  std::vector<std::string> names;
  for (const std::string_view name : kArkitNames)
    if (name != "jawOpen" && name != "tongueOut" && name != "eyeBlinkLeft") names.emplace_back(name);
  EXPECT_THAT(MatchHead("Ada", names).missing, ElementsAre("eyeBlinkLeft", "jawOpen"))
      << "nothing drives the tongue";
  EXPECT_THAT(MatchHead("Ada", {}).missing, Not(Contains("tongueOut")));
}

TEST(CharacterFromHead, HalvesAreDrivenOnlyByTheirOwnSide) {
  // arkit52 gives browInnerUp 0.6 for each brow, and cheekPuff 0.5 for each cheek.
  const Character halves =
      MatchHead("Ada", {"browInnerUpLeft", "browInnerUp_R", "cheekPuff_L", "cheekPuffRight"}).character;
  EXPECT_THAT(Produced(halves, "LeftBrow", "Up"), ElementsAre(Pair("browInnerUpLeft", 1.2)));
  EXPECT_THAT(Produced(halves, "LeftBrow", "Down"), ElementsAre(Pair("browInnerUpLeft", -1.2)));
  EXPECT_THAT(Produced(halves, "RightBrow", "Up"), ElementsAre(Pair("browInnerUp_R", 1.2)));
  EXPECT_THAT(Produced(halves, "LeftCheek", "Out"), ElementsAre(Pair("cheekPuff_L", 1)));
  EXPECT_THAT(Produced(halves, "RightCheek", "Out"), ElementsAre(Pair("cheekPuffRight", 1)));
  EXPECT_THAT(MatchHead("Ada", {"browInnerUpLeft"}).missing, Not(Contains("browInnerUp")));

  const Character whole = MatchHead("Ada", {"browInnerUp"}).character;
  EXPECT_THAT(Produced(whole, "LeftBrow", "Up"), ElementsAre(Pair("browInnerUp", 0.6)));
  EXPECT_THAT(Produced(whole, "RightBrow", "Up"), ElementsAre(Pair("browInnerUp", 0.6)));
}

TEST(CharacterFromHead, PartsHaveUpToFiveHundredShapes) {
  const Character character = MatchHead("Ada", Numbered(1001)).character;
  ASSERT_EQ(character.parts.size(), 3u);
  EXPECT_EQ(character.parts[0].name, "head");
  EXPECT_EQ(character.parts[1].name, "head 2");
  EXPECT_EQ(character.parts[2].name, "head 3");
  EXPECT_THAT(character.parts[0].shapes, SizeIs(500));
  EXPECT_THAT(character.parts[1].shapes, SizeIs(500));
  EXPECT_THAT(character.parts[2].shapes, ElementsAre("s1000"));
}

TEST(CharacterFromHead, MoreThanACharacterCanHaveIsAnError) {
  EXPECT_THAT(MatchHead("Ada", Numbered(7500)).character.parts, SizeIs(15));
  EXPECT_EQ(InputErrorOf([] { MatchHead("Ada", Numbered(7501)); }),
            "Ada: the head has more than 7500 morph targets; export fewer of its shape keys");
}

TEST(CharacterFromHead, TargetsWithoutUsableNamesAreLeftOut) {
  const std::string longest(255, 'n'), too_long(256, 'n');
  const HeadMatch match = MatchHead("Ada", {"", longest, too_long, "a", "a"});
  EXPECT_THAT(match.character.Shapes(), ElementsAre(longest, "a"));
  EXPECT_THAT(match.notes,
              UnorderedElementsAre("the morph target \"" + std::string(60, 'n') +
                                       "...\" is left out: its name has 256 bytes, the limit is 255",
                                   "a morph target is left out: it has no name"));
  EXPECT_THAT(MatchHead("Ada", {"", ""}).notes,
              ElementsAre("2 morph targets are left out: they have no name"));
}

TEST(CharacterFromHead, CanBeWrittenAndReadAgain) {
  const Character character = MatchHead("Ada", {"browInnerUp_L", "jawOpen", "Horns \"\\"}).character;
  std::ostringstream out;
  WriteCharacter(character, out);
  const Character again = ReadCharacter(out.str(), "again");
  EXPECT_EQ(again.Shapes(), character.Shapes());
  EXPECT_EQ(again.templates, character.templates);
}
