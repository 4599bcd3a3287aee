#include "host/json_file.h"

#include "tests/host/input_error.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <string_view>
#include <utility>

using mien::JsonFile;
using testing::AllOf;
using testing::HasSubstr;
using testing::Not;
using testing::StartsWith;

namespace {

std::string ParseError(std::string_view text) {
  return InputErrorOf([&] { JsonFile(text, "p.json"); });
}

/// What is collected while parsing.
std::string MistakesOf(std::string_view text) {
  return InputErrorOf([&] { JsonFile(text, "p.json").ThrowMistakes(); });
}

std::string Repeated(const std::string& text, int times) {
  std::string repeated;
  for (int i = 0; i < times; ++i) repeated += text;
  return repeated;
}

} // namespace

TEST(JsonFile, ParsesAndKeepsTheOrderOfKeys) {
  const JsonFile file(R"({"b": 1, "a": [true, null, "\u00e4"]})", "p.json");
  EXPECT_EQ(file.Root().begin().key(), "b");
  EXPECT_EQ(file.Root()["a"][2], "\xC3\xA4");
  EXPECT_NO_THROW(file.ThrowMistakes());
}

TEST(JsonFile, ParsesAFileThatBeginsWithAByteOrderMark) {
  EXPECT_EQ(JsonFile("\xEF\xBB\xBF{\"a\": 1}", "p.json").Root()["a"], 1);
}

TEST(JsonFile, WhatIsNotJsonIsPlacedByLineAndColumn) {
  const std::pair<std::string, std::string> broken[] = {
      {"", "1:1"},
      {"   ", "1:4"},
      {"{", "1:2"},
      {"{\n  \"a\" 1\n}", "2:7"},        // the colon is missing before the 1
      {"{\n  \"a\": 1\n  \"b\"", "3:5"}, // a comma is missing; a string is known for wrong at its end
      {"{\r\n\"a\": 1,\r\n}", "3:1"},    // a comma too many
      {"{} x", "1:4"},
      {"'a'", "1:1"},
      {"// a comment", "1:1"},
      {"[1, 2", "1:6"},
      {"{\"a\": \"b\n\"}", "1:9"}, // a line break within a string
      {"{\"a\":\n\"\xFF\"}", "2:2"},
      {std::string("[\0]", 3), "1:2"},
      {"[NaN]", "1:2"},
      {"[1, .5]", "1:5"},
  };
  for (const auto& [text, place] : broken)
    EXPECT_EQ(ParseError(text),
              "p.json:" + place +
                  ": this is not JSON from here on; look for a missing comma, quote or bracket "
                  "just before")
        << text;
}

// JSON has numbers that no double holds.
TEST(JsonFile, ANumberBeyondAllBoundsIsAnInputError) {
  for (const std::string number : {"1e999", "-1e999", "1e99999999999999999999"})
    EXPECT_THAT(ParseError("{\n\"a\": " + number + "\n}"), HasSubstr("p.json:2:"));
  EXPECT_EQ(JsonFile("[1e-999]", "p.json").Root()[0], 0.0);
}

TEST(JsonFile, DeepNestingIsNoTrouble) {
  constexpr int kDepth = 100000;
  EXPECT_TRUE(JsonFile(Repeated("[", kDepth) + Repeated("]", kDepth), "p.json").Root().is_array());
  EXPECT_TRUE(
      JsonFile(Repeated("{\"a\":", kDepth) + "1" + Repeated("}", kDepth), "p.json").Root().is_object());
  EXPECT_THAT(ParseError(Repeated("[", kDepth)), HasSubstr("this is not JSON from here on"));
}

TEST(JsonFile, AKeyTwiceInOneObjectIsAMistake) {
  EXPECT_THAT(
      MistakesOf(R"({"a": 1, "b": 2, "a": 3})"),
      AllOf(StartsWith("p.json:"), HasSubstr("the key \"a\" is in one object twice; keep one of them")));
  // After an inner object the outer one's keys still count; and escapes do not hide that they are equal.
  EXPECT_THAT(MistakesOf(R"({"x": {"a": {"y": 1}, "\u0061": 2}})"), HasSubstr("the key \"a\""));
  EXPECT_THAT(MistakesOf(R"([{"k": 1, "k": 1}])"), HasSubstr("the key \"k\""));
  const std::string both = MistakesOf(R"({"a": 1, "a": 2, "b": {"c": 1, "c": 2}})");
  EXPECT_THAT(both, AllOf(HasSubstr("the key \"a\""), HasSubstr("\np.json:"), HasSubstr("the key \"c\"")));
}

TEST(JsonFile, EqualKeysInDifferentObjectsAreNone) {
  EXPECT_EQ(MistakesOf(R"({"a": {"a": 1}, "b": [{"a": 1}, {"a": 2}], "A": {"b": {}, "a": 1}})"),
            "no InputError");
}

TEST(JsonFile, MistakesAreThrownTogetherInTheOrderInWhichTheyWereFound) {
  JsonFile file("{}", "p.json");
  const JsonFile::Pointer here;
  EXPECT_NO_THROW(file.ThrowMistakes());
  file.Mistake(here / "parts" / "Mouth" / 2, "first", "mend it");
  file.Mistake(here, "second", "mend that");
  EXPECT_EQ(InputErrorOf([&] { file.ThrowMistakes(); }),
            "p.json:/parts/Mouth/2: first; mend it\np.json: second; mend that");
}

TEST(JsonFile, PointersEscapeSlashesAndTildes) {
  JsonFile file("{}", "p.json");
  file.Mistake(JsonFile::Pointer() / "a/b~c", "wrong", "mend it");
  EXPECT_THAT(InputErrorOf([&] { file.ThrowMistakes(); }), HasSubstr("p.json:/a~1b~0c: wrong"));
}

TEST(JsonFile, UnknownKeysAreMistakesAndKnownOnesAreNot) {
  JsonFile file(R"({"neutral": 1, "Neutral": 2, "": 3})", "p.json");
  file.CheckKeys(JsonFile::Pointer(), file.Root(), {"name", "neutral"});
  EXPECT_EQ(InputErrorOf([&] { file.ThrowMistakes(); }),
            "p.json:/Neutral: nothing is known by this name; use one of: name, neutral\n"
            "p.json:/: nothing is known by this name; use one of: name, neutral");
}

// A key is the file's own text: it must not clear the screen, nor pass for a line of ours.
TEST(JsonFile, KeysCannotSteerTheTerminal) {
  JsonFile file(R"({"\u001b[2J\n": 1, "\u001b[2J\n": 2})", "p.json");
  file.CheckKeys(JsonFile::Pointer(), file.Root(), {"name"});
  const std::string error = InputErrorOf([&] { file.ThrowMistakes(); });
  EXPECT_THAT(error, HasSubstr("the key \"?[2J?\""));
  EXPECT_THAT(error, HasSubstr("p.json:/?[2J?: nothing is known"));
  EXPECT_THAT(error, Not(HasSubstr("\x1B")));
}
