#include "host/base/json_file.h"

#include "tests/host/input_error.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <string_view>
#include <utility>

using mien::JsonFile;
using testing::ElementsAre;
using testing::EndsWith;
using testing::HasSubstr;
using testing::IsEmpty;
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

TEST(JsonFile, AnEmptyFileIsSaidToBeEmpty) {
  for (const std::string empty : {"", "   ", "\r\n\t"})
    EXPECT_EQ(ParseError(empty), "p.json: the file is empty; name a JSON file");
}

TEST(JsonFile, OfAFileOfAnotherKindOnlyTheKindIsReported) {
  const auto heading = [](const std::string& format) {
    JsonFile file("{\"format\": \"" + format + "\", \"hat\": 1}", "p.json");
    return InputErrorOf([&] {
      file.ReadHeading("mien hat 1", "hat");
      file.ThrowMistakes();
    });
  };
  EXPECT_EQ(heading("mien coat 1"), "p.json:/format: this is a \"coat\" file; name a hat file here");
  for (const std::string unknown : {"mien hat 2", "mien hat", "mien", "mien ", "mien  1", "coat 1", ""})
    EXPECT_THAT(heading(unknown), StartsWith("p.json:/format: this is not a hat file of this version; write"))
        << unknown;
}

TEST(JsonFile, WhatIsNotJsonIsPlacedByLineAndColumn) {
  const std::pair<std::string, std::string> broken[] = {
      {"{", "1:2"},
      {"{\n  \"a\" 1\n}", "2:7"},        // the colon is missing before the 1
      {"{\n  \"a\": 1\n  \"b\"", "3:5"}, // a comma is missing; the fault is found at the string's end
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

TEST(JsonFile, AnythingElseIsNotJsonAtAll) {
  const std::string others[] = {"frame,time,a.x\n", "\xEF\xBB\xBF frame,time", "x",
                                std::string("\x02P\0\0", 4)};
  for (const std::string& text : others)
    EXPECT_EQ(ParseError(text), "p.json: this is not a JSON file: it does not begin with {; name a JSON file")
        << text;
}

// JSON allows numbers beyond doubles.
TEST(JsonFile, ANumberBeyondDoublesIsAnInputError) {
  for (const std::string number : {"1e999", "-1e999", "1e99999999999999999999"})
    EXPECT_THAT(ParseError("{\n\"a\": " + number + "\n}"), HasSubstr("p.json:2:"));
  EXPECT_EQ(JsonFile("[1e-999]", "p.json").Root()[0], 0.0);
  EXPECT_EQ(ParseError("[1,\n 1e999]"),
            "p.json:2:2: the number \"1e999\" is beyond what a double holds; write a smaller one");
}

TEST(JsonFile, ANumberBeyondDoublesIsPlacedWhereItStandsAndNotWhereATextHasItsDigits) {
  EXPECT_THAT(ParseError("{\"1e999\":\n 1e999}"), StartsWith("p.json:2:2: the number"));
}

TEST(JsonFile, NestingIsLimited) {
  EXPECT_TRUE(JsonFile(Repeated("[", 256) + Repeated("]", 256), "p.json").Root().is_array());
  const std::string error =
      ": objects and arrays are nested more than 256 deep; write the file with fewer levels";
  EXPECT_EQ(ParseError("{\n \"a\":" + Repeated("[", 5'000'000)), "p.json:2:261" + error);
  EXPECT_EQ(ProblemOf([] { JsonFile(Repeated("[", 257), "p.json"); }), "limit at 1:257");
}

TEST(JsonFile, AKeyTwiceInOneObjectIsAMistakeThatIsPlaced) {
  const auto twice = [](const std::string& pointer) {
    return "p.json:" + pointer + ": this key is in the object twice; keep one of them";
  };
  EXPECT_EQ(MistakesOf(R"({"a": 1, "b": 2, "a": 3})"), twice("/a"));
  // After an inner object the outer one's keys still count, and escaped letters are equal to plain ones.
  EXPECT_EQ(MistakesOf(R"({"x": {"a": {"y": 1}, "\u0061": 2}})"), twice("/x/a"));
  EXPECT_EQ(MistakesOf(R"({"a": 1, "a": 2, "b": {"c": 1, "c": 2}})"), twice("/b/c") + '\n' + twice("/a"));
  EXPECT_EQ(MistakesOf(R"({"a": 1, "a": 2, "a": 3})"), twice("/a") + '\n' + twice("/a"))
      << "one a repetition";
  // The second value's own keys are checked as well.
  EXPECT_EQ(MistakesOf(R"({"a": {"b": 1}, "a": {"b": 1, "b": 2}})"), twice("/a/b") + '\n' + twice("/a"));
  EXPECT_EQ(MistakesOf(R"({"": 1, "": 2})"), twice("/"));
  EXPECT_EQ(MistakesOf(R"({"a/b~c": {"~1": 1, "~1": 2}})"), twice("/a~1b~0c/~01"));
}

TEST(JsonFile, PointersOfEqualKeysCountTheElementsOfLists) {
  for (const auto& [text, pointer] : {
           std::pair(R"([{"k": 1, "k": 1}])", "/0/k"),
           std::pair(R"([1, "x", null, true, {"k": 1, "k": 1}])", "/4/k"),
           std::pair(R"([[], {}, [{"a": 1}], {"k": 1, "k": 1}])", "/3/k"),
           std::pair(R"([[1, 2, {"k": {}, "k": []}]])", "/0/2/k"),
           std::pair(R"({"a": [1, [2, [3, {"x": [5, 6]}, {"k": [7], "k": 8}]]]})", "/a/1/1/2/k"),
           std::pair(R"({"a": [{}, {"b": [0, 0]}], "c": [{"k": [0], "k": 0}]})", "/c/0/k"),
       })
    EXPECT_EQ(MistakesOf(text),
              std::string("p.json:") + pointer + ": this key is in the object twice; keep one of them")
        << text;
}

// A file of a few hundred kilobytes must not give a message of gigabytes.
TEST(JsonFile, AKeyTwiceAtEveryDepthGivesAMessageOfLimitedLength) {
  constexpr int kDepth = 256;
  const std::string key = Repeated("a", 1000);
  const std::string text =
      Repeated("{\"" + key + "\":1,\"" + key + "\":", kDepth) + "1" + Repeated("}", kDepth);
  EXPECT_LT(MistakesOf(text).size(), 50000u);
}

TEST(JsonFile, EqualKeysInDifferentObjectsAreNoMistake) {
  EXPECT_EQ(MistakesOf(R"({"a": {"a": 1}, "b": [{"a": 1}, {"a": 2}], "A": {"b": {}, "a": 1}})"),
            "no InputError");
}

TEST(JsonFile, MistakesAreThrownTogetherInTheOrderInWhichTheyWereFound) {
  JsonFile file("{}", "p.json");
  const JsonFile::Pointer here;
  EXPECT_NO_THROW(file.ThrowMistakes());
  file.Mistake(mien::Code::InvalidValue, here / "parts" / "Mouth" / 2, "first", "fix it");
  file.Mistake(mien::Code::InvalidValue, here, "second", "fix that");
  EXPECT_EQ(InputErrorOf([&] { file.ThrowMistakes(); }),
            "p.json:/parts/Mouth/2: first; fix it\np.json: second; fix that");
}

TEST(JsonFile, TheHundredthMistakeIsTheLast) {
  JsonFile file("{}", "p.json");
  const JsonFile::Pointer here;
  const auto mistake = [&](std::size_t i) {
    file.Mistake(mien::Code::InvalidValue, here / i, "wrong", "fix it");
  };
  for (std::size_t i = 1; i < 100; ++i) EXPECT_NO_THROW(mistake(i));
  try {
    mistake(100);
    FAIL() << "the 100th mistake throws";
  } catch (const mien::InputError& error) {
    ASSERT_EQ(error.Problems().size(), 101u);
    EXPECT_EQ(error.Problems()[99].place, "/100");
    EXPECT_EQ(Message(error.Problems()[100]),
              "p.json: these are the first 100 mistakes in it; correct them, then read the file again");
    EXPECT_EQ(error.Problems()[100].code, mien::Code::Limit);
  }
}

TEST(JsonFile, PointersEscapeSlashesAndTildes) {
  JsonFile file("{}", "p.json");
  file.Mistake(mien::Code::InvalidValue, JsonFile::Pointer() / "a/b~c", "wrong", "fix it");
  EXPECT_THAT(InputErrorOf([&] { file.ThrowMistakes(); }), HasSubstr("p.json:/a~1b~0c: wrong"));
}

TEST(JsonFile, UnknownKeysAreMistakesAndKnownOnesAreNot) {
  JsonFile file(R"({"neutral": 1, "Neutral": 2, "": 3})", "p.json");
  file.CheckKeys(JsonFile::Pointer(), file.Root(), {"name", "neutral"});
  EXPECT_EQ(InputErrorOf([&] { file.ThrowMistakes(); }),
            "p.json:/Neutral: this name is unknown; use one of: name, neutral\n"
            "p.json:/: this name is unknown; use one of: name, neutral");
}

// Where a long pointer is shortened, what is left is still text.
TEST(JsonFile, APointerIsShownUpTo300BytesAndOfALongerOneItsEnds) {
  const auto shown = [](std::size_t bytes) {
    JsonFile file("{}", "p.json");
    std::string key;
    while (key.size() + 1 < bytes) key += static_cast<char>('a' + key.size() % 26);
    file.Mistake(mien::Code::InvalidValue, JsonFile::Pointer() / key, "wrong", "fix it");
    const std::string error = InputErrorOf([&] { file.ThrowMistakes(); }), pointer = '/' + key;
    if (error == "p.json:" + pointer + ": wrong; fix it") return "whole";
    const std::string ends = pointer.substr(0, 150) + "..." + pointer.substr(pointer.size() - 150);
    return error == "p.json:" + ends + ": wrong; fix it" ? "its ends" : "otherwise";
  };
  EXPECT_EQ(shown(300), std::string("whole"));
  EXPECT_EQ(shown(301), std::string("its ends"));
  EXPECT_EQ(shown(5000), std::string("its ends"));
}

TEST(JsonFile, AShortenedPointerKeepsItsCharactersWhole) {
  for (int shift = 0; shift < 3; ++shift) {
    JsonFile file("{}", "p.json");
    file.Mistake(mien::Code::InvalidValue,
                 JsonFile::Pointer() /
                     (std::string(static_cast<std::size_t>(shift), 'a') + Repeated("眉", 2000)),
                 "wrong", "fix it");
    const std::string error = InputErrorOf([&] { file.ThrowMistakes(); });
    EXPECT_THAT(error, EndsWith(": wrong; fix it"));
    EXPECT_NO_THROW(JsonFile::Json(error).dump()) << "not UTF-8: " << error;
  }
}

// A key is text from the file: it must not clear the screen or look like one of mien's own lines.
TEST(JsonFile, KeysCannotSteerTheTerminal) {
  JsonFile file(R"({"\u001b[2J\n": 1, "\u001b[2J\n": 2})", "p.json");
  file.CheckKeys(JsonFile::Pointer(), file.Root(), {"name"});
  const std::string error = InputErrorOf([&] { file.ThrowMistakes(); });
  EXPECT_THAT(error, HasSubstr("p.json:/?[2J?: this key is in the object twice"));
  EXPECT_THAT(error, HasSubstr("p.json:/?[2J?: this name is unknown"));
  EXPECT_THAT(error, Not(HasSubstr("\x1B")));
}

// --- What all files have

TEST(JsonFile, RequireObjectReportsOtherValues) {
  JsonFile file(R"({"a": {}, "b": [], "c": null})", "p.json");
  const JsonFile::Pointer here;
  EXPECT_TRUE(file.RequireObject(here, file.Root()));
  EXPECT_TRUE(file.RequireObject(here / "a", file.Root()["a"]));
  EXPECT_NO_THROW(file.ThrowMistakes());
  EXPECT_FALSE(file.RequireObject(here / "b", file.Root()["b"]));
  EXPECT_FALSE(file.RequireObject(here / "c", file.Root()["c"]));
  EXPECT_EQ(InputErrorOf([&] { file.ThrowMistakes(); }), "p.json:/b: this is not an object; write { ... }\n"
                                                         "p.json:/c: this is not an object; write { ... }");
}

TEST(JsonFile, TheHeadingIsFormatAndName) {
  JsonFile file(R"({"more": 1, "name": " ", "format": "mien hat 1"})", "p.json");
  EXPECT_EQ(file.ReadHeading("mien hat 1", "hat"), " ");
  EXPECT_NO_THROW(file.ThrowMistakes());
}

TEST(JsonFile, AWrongHeadingIsReportedWithItsFix) {
  const std::string format = "p.json:/format: this is not a hat file of this version; write \"format\": "
                             "\"mien hat 1\"",
                    name = "p.json:/name: the hat has no name; write \"name\": \"...\"";
  for (const auto& [text, error] : {
           std::pair(R"({})", format + '\n' + name),
           std::pair(R"({"name": "A"})", format),
           std::pair(R"({"format": "mien hat 1"})", name),
           std::pair(R"({"format": "mien hat 1", "name": ""})", name),
           std::pair(R"({"format": "mien hat 1", "name": ["A"]})", name),
           std::pair(R"({"format": "mien hat 1", "name": null})", name),
           std::pair(R"({"format": "mien hat 10", "name": "A"})", format),
           std::pair(R"({"format": "Mien hat 1", "name": "A"})", format),
           std::pair(R"({"format": "mien hat 1\u0000", "name": "A"})", format),
           std::pair(R"({"format": ["mien hat 1"], "name": "A"})", format),
           std::pair(R"({"Format": "mien hat 1", "Name": "A"})", format + '\n' + name),
       })
    EXPECT_EQ(InputErrorOf([&text = text] {
                JsonFile file(text, "p.json");
                file.ReadHeading("mien hat 1", "hat");
                file.ThrowMistakes();
              }),
              error)
        << text;
}

// Nothing more can be read, so all mistakes so far are thrown at once.
TEST(JsonFile, AHeadingThatIsNotAnObjectIsThrown) {
  for (const std::string text : {"[]", "null", "1", "\"mien hat 1\"", "true"})
    EXPECT_EQ(InputErrorOf([&] { JsonFile(text, "p.json").ReadHeading("mien hat 1", "hat"); }),
              "p.json: a hat is an object; begin with {")
        << text;
  EXPECT_EQ(
      InputErrorOf([] { JsonFile(R"([{"a": 1, "a": 2}])", "p.json").ReadHeading("mien hat 1", "hat"); }),
      "p.json:/0/a: this key is in the object twice; keep one of them\n"
      "p.json: a hat is an object; begin with {");
}

TEST(JsonFile, NamesAreAListInItsOrder) {
  JsonFile file(R"(["b", "a", "", "B", "b", 1, "a", null, ["c"], "\u0000"])", "p.json");
  EXPECT_THAT(file.ReadNames(JsonFile::Pointer("/list"), file.Root(), "hat"), ElementsAre("b", "a", "B"));
  EXPECT_EQ(InputErrorOf([&] { file.ThrowMistakes(); }),
            "p.json:/list/2: the hat name has 0 bytes; use 1 to 255\n"
            "p.json:/list/4: the hat \"b\" is already in the list; name it once\n"
            "p.json:/list/5: this is not a hat name; write it in quotes\n"
            "p.json:/list/6: the hat \"a\" is already in the list; name it once\n"
            "p.json:/list/7: this is not a hat name; write it in quotes\n"
            "p.json:/list/8: this is not a hat name; write it in quotes\n"
            "p.json:/list/9: the hat name has a zero byte; use letters and digits");
}

TEST(JsonFile, NamesAreAList) {
  for (const std::string text : {"{}", R"({"0": "a"})", "\"a\"", "null", "1"}) {
    JsonFile file(text, "p.json");
    EXPECT_THAT(file.ReadNames(JsonFile::Pointer(), file.Root(), "hat"), IsEmpty());
    EXPECT_EQ(InputErrorOf([&] { file.ThrowMistakes(); }),
              "p.json: this is not a list of hat names; write [\"NAME\", ...]")
        << text;
  }
}

// Names end up in the library's texts, which end with a zero.
TEST(JsonFile, NamesHaveNoZeroByte) {
  const std::string names[] = {std::string("\0", 1), std::string("\0a", 2), std::string("a\0", 2)};
  for (const std::string& name : names) {
    JsonFile file("{}", "p.json");
    EXPECT_FALSE(file.CheckName(JsonFile::Pointer("/x"), name, "hat"));
    EXPECT_EQ(InputErrorOf([&] { file.ThrowMistakes(); }),
              "p.json:/x: the hat name has a zero byte; use letters and digits");
  }
}

TEST(JsonFile, NamesHave1To255Bytes) {
  JsonFile file("{}", "p.json");
  const JsonFile::Pointer here;
  EXPECT_TRUE(file.CheckName(here, "a", "hat"));
  EXPECT_TRUE(file.CheckName(here, std::string(255, 'a'), "hat"));
  EXPECT_NO_THROW(file.ThrowMistakes());
  EXPECT_FALSE(file.CheckName(here / "x", "", "hat"));
  EXPECT_FALSE(file.CheckName(here / "y", std::string(256, 'a'), "hat"));
  EXPECT_EQ(InputErrorOf([&] { file.ThrowMistakes(); }),
            "p.json:/x: the hat name has 0 bytes; use 1 to 255\n"
            "p.json:/y: the hat name has 256 bytes; use 1 to 255");
}
