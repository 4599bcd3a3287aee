#include "host/character/arkit_names.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cctype>
#include <ostream>
#include <set>
#include <string>
#include <utility>

using mien::ArkitMatch;
using mien::FindArkitName;
using mien::kArkitNames;

namespace {

using Half = ArkitMatch::Half;

/// The match as text: "eyeBlinkLeft", "browInnerUp left" for a half, or "nothing".
std::string Meaning(const std::string& name) {
  const auto match = FindArkitName(name);
  if (!match) return "nothing";
  return std::string(kArkitNames.at(match->name)) + (match->half == Half::Left    ? " left"
                                                     : match->half == Half::Right ? " right"
                                                                                  : "");
}

std::string Upper(std::string text) {
  std::transform(text.begin(), text.end(), text.begin(),
                 [](char c) { return c >= 'a' && c <= 'z' ? static_cast<char>(c - 'a' + 'A') : c; });
  return text;
}

std::string Lower(std::string text) {
  std::transform(text.begin(), text.end(), text.begin(),
                 [](char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c; });
  return text;
}

/// "eye_Blink_Left" for "eyeBlinkLeft" and "_".
std::string Separated(const std::string& name, const std::string& separator) {
  std::string separated;
  for (const char c : name) {
    if (c >= 'A' && c <= 'Z') separated += separator;
    separated += c;
  }
  return separated;
}

bool EndsInSide(const std::string& name) { return name.ends_with("Left") || name.ends_with("Right"); }

/// "eyeBlink" and 'L' for "eyeBlinkLeft".
std::pair<std::string, char> WithoutSide(const std::string& name) {
  const bool left = name.ends_with("Left");
  return {name.substr(0, name.size() - (left ? 4 : 5)), left ? 'L' : 'R'};
}

} // namespace

TEST(ArkitNames, Are52DifferentNamesEachWithItsOwnMeaning) {
  EXPECT_EQ(std::set<std::string_view>(kArkitNames.begin(), kArkitNames.end()).size(), 52u);
  for (const std::string_view name : kArkitNames) EXPECT_EQ(Meaning(std::string(name)), name);
}

TEST(ArkitNames, AreInTheOrderOfThePhonesCsv) {
  const auto at = [](std::string_view name) {
    return std::find(kArkitNames.begin(), kArkitNames.end(), name) - kArkitNames.begin();
  };
  EXPECT_EQ(at("eyeBlinkLeft"), 0);
  EXPECT_EQ(at("eyeBlinkRight"), 7);
  EXPECT_EQ(at("jawForward"), 14);
  EXPECT_EQ(at("jawRight"), 15);
  EXPECT_EQ(at("jawLeft"), 16);
  EXPECT_EQ(at("jawOpen"), 17);
  EXPECT_EQ(at("mouthRight"), 21);
  EXPECT_EQ(at("mouthLeft"), 22);
  EXPECT_EQ(at("browDownLeft"), 41);
  EXPECT_EQ(at("tongueOut"), 51);
}

// The match relies on this: it looks for a name at the end of another.
TEST(ArkitNames, NoneEndsWithAnother) {
  for (const std::string_view name : kArkitNames)
    for (const std::string_view other : kArkitNames)
      EXPECT_TRUE(name == other || !Lower(std::string(name)).ends_with(Lower(std::string(other))))
          << name << ' ' << other;
}

TEST(FindArkitName, IgnoresLetterCaseAndSeparators) {
  for (const std::string_view original : kArkitNames) {
    const std::string name(original);
    for (const std::string& spelling :
         {Upper(name), Lower(name), Separated(name, "_"), Separated(name, "-"), Separated(name, " "),
          Separated(name, "."), Upper(Separated(name, "_")), Lower(Separated(name, "__")),
          Upper(name.substr(0, 1)) + name.substr(1)})
      EXPECT_EQ(Meaning(spelling), name) << spelling;
  }
}

TEST(FindArkitName, AcceptsASideByItsFirstLetter) {
  int sided = 0;
  for (const std::string_view original : kArkitNames) {
    const std::string name(original);
    if (!EndsInSide(name)) continue;
    ++sided;
    const auto [stem, side] = WithoutSide(name);
    const std::string capital(1, side), small = Lower(capital);
    for (const std::string& spelling :
         {stem + "_" + capital, stem + "_" + small, stem + "." + capital, stem + " " + small,
          stem + "-" + small, stem + capital, Upper(stem) + "_" + capital, Lower(stem) + "_" + small,
          Lower(stem) + capital, Separated(stem, "_") + "_" + capital,
          stem + "_" + Lower(name.substr(stem.size())), stem + "_" + Upper(name.substr(stem.size()))})
      EXPECT_EQ(Meaning(spelling), name) << spelling;
    // A small letter, or a capital among capitals, belongs to the word.
    EXPECT_EQ(Meaning(stem + small), "nothing");
    EXPECT_EQ(Meaning(Upper(stem) + capital), "nothing");
    EXPECT_EQ(Meaning(stem), "nothing") << "without a side";
  }
  EXPECT_EQ(sided, 14 + 2 + 16 + 4 + 2 + 2); // eyes, jaw, mouth, brows, cheeks, nose
}

TEST(FindArkitName, MatchesTheExamplesOfItsHeader) {
  for (const std::string name : {"Eye_Blink_Left", "eyeBlink_L", "EyeBlinkL"})
    EXPECT_EQ(Meaning(name), "eyeBlinkLeft") << name;
  for (const std::string name : {"Head.jawOpen", "A01_Jaw_Open", "jawOpen.001"})
    EXPECT_EQ(Meaning(name), "jawOpen") << name;
}

TEST(FindArkitName, APrefixDoesNotEndInALetter) {
  for (const std::string prefix : {"Head.", "A01_", "CC_Base_", "blendShape1.", "face|", "12", "x:", "眉",
                                   "left_", "jaw_", "mesh Open "}) {
    EXPECT_EQ(Meaning(prefix + "mouthClose"), "mouthClose") << prefix;
    EXPECT_EQ(Meaning(prefix + "Mouth_Smile_L"), "mouthSmileLeft") << prefix;
    EXPECT_EQ(Meaning(prefix + "cheekPuff_R"), "cheekPuff right") << prefix;
  }
  for (const std::string prefix : {"Head", "x", "my", "Left"}) {
    EXPECT_EQ(Meaning(prefix + "mouthClose"), "nothing") << prefix;
    EXPECT_EQ(Meaning(prefix + "Mouth_Smile_L"), "nothing") << prefix;
  }
}

// Driven by only one of the two, a corrective would act when nothing needs correction.
TEST(FindArkitName, ACorrectiveForTwoOfThemMeansNone) {
  for (const std::string name :
       {"browDownL_browOuterUpL", "jawOpen_mouthClose", "mesh jawOpen mouthClose",
        "EyeBlinkLeft.EyeLookDownLeft.001", "Head.jaw_open_cheekPuff_R", "mouthLeft_jawOpen_tongueOut"})
    EXPECT_EQ(Meaning(name), "nothing") << name;
}

TEST(FindArkitName, EverythingAfterTheLastLetterIsIgnored) {
  const std::string suffixes[] = {".001", "_", "01", " ", "_1.2", "%", "眉", "\n", std::string("\0", 1)};
  for (const std::string& suffix : suffixes) {
    EXPECT_EQ(Meaning("mouthClose" + suffix), "mouthClose") << suffix;
    EXPECT_EQ(Meaning("mouthSmile_L" + suffix), "mouthSmileLeft") << suffix;
    EXPECT_EQ(Meaning("mouthSmileL" + suffix), "mouthSmileLeft") << suffix;
    EXPECT_EQ(Meaning("browInnerUp_r" + suffix), "browInnerUp right") << suffix;
  }
  for (const std::string suffix : {".copy", "_old", "s", "_mouth"})
    EXPECT_EQ(Meaning("mouthClose" + suffix), "nothing") << suffix;
}

TEST(FindArkitName, TwoOfThemHaveHalves) {
  for (const std::string name : {"browInnerUp", "cheekPuff"}) {
    EXPECT_EQ(Meaning(name), name);
    for (const std::string side : {"Left", "_L", "_l", "L", "_left", ".Left", "_LEFT"})
      EXPECT_EQ(Meaning(name + side), name + " left") << side;
    for (const std::string side : {"Right", "_R", "_r", "R", "_right"})
      EXPECT_EQ(Meaning(name + side), name + " right") << side;
  }
  EXPECT_EQ(Meaning("Head.Brow_Inner_Up_L.001"), "browInnerUp left");
}

TEST(FindArkitName, OthersHaveNoHalves) {
  for (const std::string name :
       {"tongueOut", "jawOpen", "jawForward", "mouthClose", "mouthFunnel", "mouthPucker", "mouthRollLower"})
    for (const std::string side : {"Left", "_L", "Right", "_R"})
      EXPECT_EQ(Meaning(name + side), "nothing") << name << side;
}

TEST(FindArkitName, ADoubleSideMeansNone) {
  for (const std::string name :
       {"eyeBlinkLeftL", "eyeBlinkLeft_L", "eyeBlinkLeft_R", "browInnerUp_L_L", "jawLeft_R"})
    EXPECT_EQ(Meaning(name), "nothing") << name;
}

TEST(FindArkitName, OtherWordsMeanNothing) {
  for (const std::string name : {"",           "_",           "1",         "L",         "R",
                                 "_L",         "left",        "Right",     "l",         "眉",
                                 "smile",      "mouth",       "jaw",       "open",      "_neutral",
                                 "eyeBlink",   "browOuterUp", "jawOpe",    "awOpen",    "eyeBlinkCenter",
                                 "eyeBlink_M", "Basis",       "viseme_aa", "mouthSmile"})
    EXPECT_EQ(Meaning(name), "nothing") << name;
  EXPECT_EQ(Meaning(std::string(100000, 'a') + "jawOpen"), "nothing");
  EXPECT_EQ(Meaning(std::string(100000, '_') + "jawOpen" + std::string(100000, '_')), "jawOpen");
}
