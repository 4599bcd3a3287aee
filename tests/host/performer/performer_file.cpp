#include "host/performer/performer_file.h"

#include "host/performer/neutral_head.h"
#include "tests/host/cpu_seconds.h"
#include "tests/host/decimal_comma.h"
#include "tests/host/input_error.h"
#include "tests/host/temporary_folder.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <set>
#include <sstream>
#include <string>
#include <variant>
#include <vector>

using mien::FrameRange;
using mien::LoadPerformer;
using mien::NeutralPose;
using mien::Performer;
using mien::ReadPerformer;
using mien::WritePerformer;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::StartsWith;

namespace {

const std::string kOneMarker = R"({ "Mouth": { "ChinHolder": ["chin"] } })";

/// A performer file with these parts and, after them, `more` members.
std::string File(const std::string& parts = kOneMarker, const std::string& more = "") {
  return R"({ "format": "mien performer 1", "name": "Ada", "parts": )" + parts + (more.empty() ? "" : ", ") +
         more + " }";
}

Performer Read(const std::string& text) { return ReadPerformer(text, "p.json"); }

std::string Error(const std::string& text) {
  return InputErrorOf([&] { Read(text); });
}

std::vector<std::string> Lines(const std::string& text) {
  std::vector<std::string> lines;
  std::istringstream in(text);
  for (std::string line; std::getline(in, line);) lines.push_back(line);
  return lines;
}

std::string Written(const Performer& performer) {
  std::ostringstream out;
  WritePerformer(performer, out);
  return out.str();
}

/// A list of `count` marker names in JSON: ["m0", "m1", ...].
std::string Names(int count) {
  std::string names;
  for (int i = 0; i < count; ++i) names += (i > 0 ? ", \"m" : "\"m") + std::to_string(i) + '"';
  return '[' + names + ']';
}

void ExpectEqual(const Performer& a, const Performer& b) {
  EXPECT_EQ(a.name, b.name);
  EXPECT_EQ(a.head, b.head);
  EXPECT_EQ(a.rigid, b.rigid);
  EXPECT_EQ(a.anchors, b.anchors);
  EXPECT_EQ(a.irises, b.irises);
  EXPECT_EQ(a.holders, b.holders);
  ASSERT_EQ(a.neutral.index(), b.neutral.index());
  if (const auto* frames = std::get_if<FrameRange>(&a.neutral)) {
    EXPECT_EQ(frames->first, std::get<FrameRange>(b.neutral).first);
    EXPECT_EQ(frames->last, std::get<FrameRange>(b.neutral).last);
  }
  if (const auto* pose = std::get_if<NeutralPose>(&a.neutral)) {
    const auto& other = std::get<NeutralPose>(b.neutral);
    ASSERT_EQ(pose->size(), other.size());
    for (const auto& [name, p] : *pose) {
      ASSERT_TRUE(other.contains(name)) << name;
      EXPECT_EQ(p.x, other.at(name).x);
      EXPECT_EQ(p.y, other.at(name).y);
      EXPECT_EQ(p.z, other.at(name).z);
    }
  }
}

class PerformerFiles : public TemporaryFolder {};

} // namespace

// --- What is read.

TEST(ReadPerformer, TakesEveryMemberToItsPlace) {
  const Performer performer = Read(R"({
    "format": "mien performer 1", "name": "Ada",
    "head": ["top", "side", "front"],
    "parts": {
      "RightNostril": { "NostrilHolder": ["wing"] },
      "Mouth": { "LeftMouthHolder": ["l"], "UpperMouthHolder": ["u1", "u2"], "LowerMouthHolder": ["o"],
                 "RightMouthHolder": ["r"], "ChinHolder": ["c"] },
      "LeftBrow": { "InBrowHolder": ["bi"], "BrowHolder": ["b"] },
      "RightEye": { "LowerEyeHolder": ["el"], "UpperEyeHolder": ["eu"] },
      "LeftCheek": { "CheekHolder": [] }
    }
  })");
  EXPECT_EQ(performer.name, "Ada");
  EXPECT_EQ(performer.file, "p.json");
  EXPECT_THAT(performer.head, ElementsAre("top", "side", "front"));
  decltype(Performer::holders) expected;
  expected[0] = {{{"l"}, {"u1", "u2"}, {"o"}, {"r"}, {"c"}}};
  expected[1] = {{{"b"}, {"bi"}, {}, {}, {}}};
  expected[4] = {{{"eu"}, {"el"}, {}, {}, {}}};
  expected[8][0] = {"wing"};
  EXPECT_EQ(performer.holders, expected);
  EXPECT_TRUE(std::holds_alternative<std::monostate>(performer.neutral));
}

TEST(ReadPerformer, TakesNeutralFrames) {
  const Performer performer = Read(File(kOneMarker, R"("neutral": { "frames": [-3, 40] })"));
  EXPECT_EQ(std::get<FrameRange>(performer.neutral).first, -3);
  EXPECT_EQ(std::get<FrameRange>(performer.neutral).last, 40);
  EXPECT_NO_THROW(Read(File(kOneMarker, R"("neutral": { "frames": [7, 7] })")));
}

TEST(ReadPerformer, TakesNeutralPositions) {
  const Performer performer =
      Read(File(kOneMarker, R"("neutral": { "positions": { "chin": [1, -2.5, 3e2], "": [0, 0, 0] } })"));
  const auto& pose = std::get<NeutralPose>(performer.neutral);
  EXPECT_EQ(pose.at("chin").x, 1);
  EXPECT_EQ(pose.at("chin").y, -2.5);
  EXPECT_EQ(pose.at("chin").z, 300);
}

TEST(ReadPerformer, TakesRigidMarkersAndAnchors) {
  const Performer performer = Read(File(kOneMarker, R"("rigid": ["ear", "chin", "brow"], "anchors": {
      "RightEye": ["in", "out"], "LeftBrow": [] })"));
  EXPECT_THAT(performer.rigid, ElementsAre("ear", "chin", "brow")) << "one of them may drive a part";
  decltype(Performer::anchors) expected;
  expected[4] = {"in", "out"};
  EXPECT_EQ(performer.anchors, expected);
  EXPECT_THAT(performer.Markers(), ElementsAre("ear", "chin", "brow", "in", "out"));
  EXPECT_THAT(Read(File()).rigid, IsEmpty());
}

TEST(ReadPerformer, TakesIrises) {
  const Performer performer = Read(File(kOneMarker, R"("irises": { "RightEye": ["r1", "r2"] })"));
  EXPECT_THAT(performer.irises[0], IsEmpty());
  EXPECT_THAT(performer.irises[1], ElementsAre("r1", "r2"));
  EXPECT_THAT(performer.Markers(), ElementsAre("r1", "r2", "chin"));
  EXPECT_THAT(Lines(Error(File(kOneMarker, R"("irises": { "LeftBrow": ["a"], "LeftEye": "a" })"))),
              testing::UnorderedElementsAre(
                  "p.json:/irises/LeftBrow: this name is unknown; use one of: LeftEye, RightEye",
                  "p.json:/irises/LeftEye: this is not a list of marker names; write [\"NAME\", ...]"));
  EXPECT_THAT(Written(performer),
              testing::HasSubstr("\"irises\": {\n    \"RightEye\": [\"r1\",\"r2\"]\n  }"));
}

// Any number of them: the fit has no limit.
TEST(ReadPerformer, TakesAnyNumberOfRigidMarkers) {
  EXPECT_EQ(Read(File(kOneMarker, "\"rigid\": " + Names(300))).rigid.size(), 300u);
}

TEST(ReadPerformer, AMarkerMayDriveSeveralPartsAndTheHead) {
  const Performer performer = Read(File(R"({ "LeftNostril": { "NostrilHolder": ["n"] },
                                              "RightNostril": { "NostrilHolder": ["n"] } })",
                                        R"("head": ["n"])"));
  EXPECT_THAT(performer.Markers(), ElementsAre("n"));
}

TEST(ReadPerformer, MarkerNamesAreAnyText) {
  const std::vector<std::string> names = {"Augenbraue-\xC3\xA4u\xC3\x9F"
                                          "ere",
                                          "\xE7\x9C\x89",
                                          "a/b",
                                          "a~b",
                                          "say \"hi\"",
                                          "back\\slash",
                                          "with blank",
                                          "x.y",
                                          "lm54",
                                          "LM54"};
  const Performer performer = Read(File(
      R"({ "Mouth": { "ChinHolder": ["Augenbraue-äußere", "眉", "a/b", "a~b", "say \"hi\"", "back\\slash",
                                     "with blank", "x.y", "lm54", "LM54"] } })"));
  EXPECT_EQ(performer.FaceMarkers(), names);
}

TEST(ReadPerformer, MarkerNamesHaveUpTo255Bytes) {
  const std::string longest(255, 'a');
  EXPECT_THAT(Read(File(R"({ "Mouth": { "ChinHolder": [")" + longest + R"("] } })")).FaceMarkers(),
              ElementsAre(longest));
  EXPECT_EQ(Error(File(R"({ "Mouth": { "ChinHolder": ["c", ")" + longest + R"(a"] } })")),
            "p.json:/parts/Mouth/ChinHolder/1: the marker name has 256 bytes; use 1 to 255");
  // 128 characters of two bytes each
  std::string umlauts;
  for (int i = 0; i < 128; ++i) umlauts += "ä";
  EXPECT_THAT(Error(File(R"({ "Mouth": { "ChinHolder": [")" + umlauts + R"("] } })")),
              HasSubstr("256 bytes"));
}

TEST(ReadPerformer, TakesAsManyMarkersAsTheFaceHolds) {
  EXPECT_EQ(Read(File(R"({ "Mouth": { "ChinHolder": )" + Names(225) + " } }")).FaceMarkers().size(), 225u);
  EXPECT_EQ(Error(File(R"({ "Mouth": { "ChinHolder": )" + Names(226) + " } }")),
            "p.json:/parts/Mouth/ChinHolder: 226 markers; leave 1 of them out: the face takes 225 at most");
  EXPECT_EQ(Error(File(R"({ "LeftCheek": { "CheekHolder": )" + Names(225) +
                       R"( }, "Mouth": { "ChinHolder": ["chin"] } })")),
            "p.json:/parts: 226 markers drive the face; leave 1 of them out: the face takes 225 at most");
  // A marker in two parts is one marker, and those of the head do not count.
  EXPECT_EQ(Read(File(R"({ "LeftCheek": { "CheekHolder": )" + Names(225) +
                          R"( }, "RightCheek": { "CheekHolder": )" + Names(225) + " } }",
                      R"("head": ["a", "b", "c", "d", "e"])"))
                .Markers()
                .size(),
            230u);
}

// --- What is refused.

TEST(ReadPerformer, WhatIsNotJsonIsRefusedByLineAndColumn) {
  EXPECT_THAT(Error("frame,time,a.x"), StartsWith("p.json: this is not a JSON file"));
  EXPECT_EQ(Error(""), "p.json: the file is empty; name a JSON file");
  EXPECT_THAT(Error(File().substr(0, 60)), StartsWith("p.json:1:"));
}

TEST(ReadPerformer, AnythingButAnObjectIsRefused) {
  for (const std::string text : {"[]", "null", "1", "\"mien performer 1\"", "true"})
    EXPECT_EQ(Error(text), "p.json: a performer is an object; begin with {") << text;
}

TEST(ReadPerformer, SaysWhatAnEmptyObjectLacks) {
  EXPECT_THAT(Lines(Error("{}")),
              ElementsAre("p.json:/format: this is not a performer file of this version; write \"format\": "
                          "\"mien performer 1\"",
                          "p.json:/name: the performer has no name; write \"name\": \"...\"",
                          "p.json:/parts: no part has markers; write \"parts\": { \"Mouth\": { ... } }"));
}

TEST(ReadPerformer, ReportsEveryMistakeAtOnce) {
  const std::string error = Error(R"({
    "format": "mien performer 3",
    "name": "",
    "hat": 1,
    "head": ["a", "b", "c", "d", "e", "f"],
    "parts": {
      "Nose": {},
      "Mouth": { "Lips": ["x"], "ChinHolder": ["c", 5, "", "c"], "UpperMouthHolder": ["c"] },
      "LeftEye": [],
      "RightEye": { "UpperEyeHolder": "u" }
    },
    "neutral": { "frames": [3, 2], "positons": {} }
  })");
  EXPECT_THAT(
      Lines(error),
      testing::UnorderedElementsAre(
          "p.json:/hat: this name is unknown; use one of: format, name, head, rigid, anchors, irises, "
          "parts, neutral",
          "p.json:/format: this is not a performer file of this version; write \"format\": \"mien "
          "performer 1\"",
          "p.json:/name: the performer has no name; write \"name\": \"...\"",
          "p.json:/head: 6 head markers; name the 5 that move least with expression",
          "p.json:/parts/Nose: this name is unknown; use one of: Mouth, LeftBrow, RightBrow, "
          "LeftEye, "
          "RightEye, LeftCheek, RightCheek, LeftNostril, RightNostril",
          "p.json:/parts/Mouth/Lips: this name is unknown; use one of: LeftMouthHolder, "
          "UpperMouthHolder, "
          "LowerMouthHolder, RightMouthHolder, ChinHolder",
          "p.json:/parts/Mouth/ChinHolder/1: this is not a marker name; write it in quotes",
          "p.json:/parts/Mouth/ChinHolder/2: the marker name has 0 bytes; use 1 to 255",
          "p.json:/parts/Mouth/ChinHolder/3: the marker \"c\" is already in the list; name it once",
          "p.json:/parts/Mouth/UpperMouthHolder: the marker \"c\" is in another holder of Mouth already; a "
          "marker "
          "drives one holder of a part; keep it in one",
          "p.json:/parts/LeftEye: this is not an object; write { ... }",
          "p.json:/parts/RightEye/UpperEyeHolder: this is not a list of marker names; write [\"NAME\", ...]",
          "p.json:/neutral/positons: this name is unknown; use one of: frames, positions",
          "p.json:/neutral/frames: these are not two frame numbers in order; write [FROM, TO]"));
}

TEST(ReadPerformer, ReportsMistakesInRigidMarkersAndAnchors) {
  EXPECT_THAT(Lines(Error(File(kOneMarker, R"("rigid": ["a", 5, "a"], "anchors": {
        "Mouth": ["a", "b"], "LeftEye": ["a", ""], "RightBrow": "a", "Nose": [] })"))),
              testing::UnorderedElementsAre(
                  "p.json:/rigid/1: this is not a marker name; write it in quotes",
                  "p.json:/rigid/2: the marker \"a\" is already in the list; name it once",
                  "p.json:/anchors/Mouth: this name is unknown; use one of: LeftBrow, RightBrow, LeftEye, "
                  "RightEye",
                  "p.json:/anchors/LeftEye/1: the marker name has 0 bytes; use 1 to 255",
                  "p.json:/anchors/RightBrow: this is not a list of marker names; write [\"NAME\", ...]",
                  "p.json:/anchors/Nose: this name is unknown; use one of: LeftBrow, RightBrow, LeftEye, "
                  "RightEye"));
}

TEST(ReadPerformer, RefusesEveryWrongType) {
  const std::string values[] = {"null", "true", "1", "-1.5", "\"text\"", "[]", "{}", "[1]", "{\"a\": 1}"};
  struct Case {
    std::string pointer, before, after;
    std::set<std::string> fine; // of the values
  };
  const Case cases[] = {
      {"/format", R"({"name": "A", "parts": )" + kOneMarker + R"(, "format": )", "}", {}},
      {"/name",
       R"({"format": "mien performer 1", "parts": )" + kOneMarker + R"(, "name": )",
       "}",
       {"\"text\""}},
      {"/head", File().substr(0, File().size() - 1) + R"(, "head": )", "}", {"[]"}},
      {"/head/0", File().substr(0, File().size() - 1) + R"(, "head": [)", "]}", {"\"text\""}},
      {"/rigid", File().substr(0, File().size() - 1) + R"(, "rigid": )", "}", {"[]"}},
      {"/rigid/0", File().substr(0, File().size() - 1) + R"(, "rigid": [)", "]}", {"\"text\""}},
      {"/anchors", File().substr(0, File().size() - 1) + R"(, "anchors": )", "}", {"{}"}},
      {"/anchors/LeftEye",
       File().substr(0, File().size() - 1) + R"(, "anchors": {"LeftEye": )",
       "}}",
       {"[]"}},
      {"/parts", R"({"format": "mien performer 1", "name": "A", "parts": )", "}", {}},
      {"/parts/Mouth", R"({"format": "mien performer 1", "name": "A", "parts": {"Mouth": )", "}}", {"{}"}},
      {"/parts/LeftEye/UpperEyeHolder",
       R"({"format": "mien performer 1", "name": "A", "parts": {"Mouth": {"ChinHolder": ["c"]}, "LeftEye": {)"
       R"("UpperEyeHolder": )",
       "}}}",
       {"[]"}},
      {"/parts/Mouth/ChinHolder/1",
       R"({"format": "mien performer 1", "name": "A", "parts": {"Mouth": {"ChinHolder": ["c", )",
       "]}}}",
       {"\"text\""}},
      {"/neutral", File().substr(0, File().size() - 1) + R"(, "neutral": )", "}", {}},
      {"/neutral/frames", File().substr(0, File().size() - 1) + R"(, "neutral": {"frames": )", "}}", {}},
      {"/neutral/frames", File().substr(0, File().size() - 1) + R"(, "neutral": {"frames": [1, )", "]}}", {}},
      {"/neutral/frames", File().substr(0, File().size() - 1) + R"(, "neutral": {"frames": [)", ", 9]}}", {}},
      {"/neutral/positions",
       File().substr(0, File().size() - 1) + R"(, "neutral": {"positions": )",
       "}}",
       {"{}"}},
      {"/neutral/positions/c",
       File().substr(0, File().size() - 1) + R"(, "neutral": {"positions": {"c": )",
       "}}}",
       {}},
      {"/neutral/positions/c",
       File().substr(0, File().size() - 1) + R"(, "neutral": {"positions": {"c": [1, 2, )",
       "]}}}",
       {"1", "-1.5"}},
  };
  for (const Case& test : cases)
    for (const std::string& value : values) {
      const std::string text = test.before + value + test.after;
      if (test.fine.contains(value) || (test.pointer == "/neutral/frames" && value == "1"))
        continue; // whether 1 is a frame number depends on its place
      EXPECT_THAT(Error(text), StartsWith("p.json:" + test.pointer)) << text;
    }
}

TEST(ReadPerformer, RefusesPositionsThatAreNotThreeNumbers) {
  for (const std::string position :
       {"[1, 2]", "[1, 2, 3, 4]", "[1, 2, \"3\"]", "[1, null, 3]", "[[1, 2, 3]]"})
    EXPECT_EQ(Error(File(kOneMarker, R"("neutral": { "positions": { "a/b": )" + position + " } }")),
              "p.json:/neutral/positions/a~1b: this is not a position; write [x, y, z] in millimetres");
}

TEST(ReadPerformer, RefusesNumbersThatNoDoubleHolds) {
  EXPECT_THAT(Error(File(kOneMarker, R"("neutral": { "positions": { "chin": [1e999, 0, 0] } })")),
              StartsWith("p.json:"));
  EXPECT_THAT(Error(File(kOneMarker, R"("neutral": { "frames": [1, 1e999] })")), StartsWith("p.json:"));
}

// 2^64 - 1 is a whole number, but not one that a frame can have.
TEST(ReadPerformer, RefusesFrameNumbersThatDoNotFit) {
  for (const std::string frames : {"[18446744073709551615, 5]", "[1, 18446744073709551615]",
                                   "[9223372036854775808, 9223372036854775809]", "[1, 18446744073709551616]",
                                   "[1.0, 2.0]", "[1, 2, 3]", "[1]", "[]"})
    EXPECT_THAT(Error(File(kOneMarker, R"("neutral": { "frames": )" + frames + " }")),
                StartsWith("p.json:/neutral/frames: these are not two frame numbers in order"))
        << frames;
}

TEST(ReadPerformer, NeutralIsGivenInExactlyOneWay) {
  for (const std::string neutral : {"{}", R"({ "frames": [1, 2], "positions": {} })"})
    EXPECT_EQ(Error(File(kOneMarker, "\"neutral\": " + neutral)),
              "p.json:/neutral: the neutral pose is given in no way, or in two; write either \"frames\": "
              "[FROM, TO] "
              "or \"positions\": { ... }");
}

TEST(ReadPerformer, RefusesAPerformerWithoutAnyMarker) {
  for (const std::string parts : {"{}", R"({ "Mouth": {} })", R"({ "Mouth": { "ChinHolder": [] } })"})
    EXPECT_EQ(Error(File(parts, R"("head": ["a", "b", "c"])")),
              "p.json:/parts: no part has markers; name the markers of at least one holder");
}

TEST(ReadPerformer, RefusesAHeadMarkerTwiceAndMoreThanFive) {
  EXPECT_EQ(Error(File(kOneMarker, R"("head": ["a", "b", "a"])")),
            "p.json:/head/2: the marker \"a\" is already in the list; name it once");
  EXPECT_NO_THROW(Read(File(kOneMarker, R"("head": ["a", "b", "c", "d", "e"])")));
  EXPECT_THAT(Error(File(kOneMarker, R"("head": ["a", "b", "c", "d", "e", "f"])")),
              HasSubstr("6 head markers"));
}

// Names of parts and holders are compared exactly, as those of markers are.
TEST(ReadPerformer, LetterCaseOfPartsAndHoldersMatters) {
  EXPECT_THAT(Error(File(R"({ "mouth": { "ChinHolder": ["c"] } })")),
              HasSubstr("p.json:/parts/mouth: this name is"));
  EXPECT_THAT(Error(File(R"({ "Mouth": { "chinholder": ["c"] } })")),
              HasSubstr("p.json:/parts/Mouth/chinholder: this name is"));
}

TEST(ReadPerformer, AKeyTwiceIsAMistakeWhereverItIs) {
  EXPECT_EQ(Error(File(R"({ "Mouth": { "ChinHolder": ["a"] }, "Mouth": { "ChinHolder": ["b"] } })")),
            "p.json:/parts/Mouth: this key is in the object twice; keep one of them");
  EXPECT_EQ(Error(File(kOneMarker, R"("neutral": { "positions": { "c/d": [0, 0, 0], "c/d": [1, 1, 1] } })")),
            "p.json:/neutral/positions/c~1d: this key is in the object twice; keep one of them");
}

TEST(ReadPerformer, DeepNestingInAnyPlaceIsAMistakeAndNoCrash) {
  std::string deep;
  for (int i = 0; i < 250; ++i) deep += "[";
  for (int i = 0; i < 250; ++i) deep += "]";
  EXPECT_THAT(Error(File(deep)), StartsWith("p.json:/parts"));
  EXPECT_THAT(Error(File(kOneMarker, "\"head\": " + deep)), StartsWith("p.json:/head/0"));
  EXPECT_THAT(Error(File(kOneMarker, "\"neutral\": { \"frames\": " + deep + "}")),
              StartsWith("p.json:/neutral"));
  EXPECT_THAT(Error(R"({ "format": )" + deep + "}"), HasSubstr("p.json:/format"));
  EXPECT_EQ(ProblemOf([] { Read(File(std::string(50000, '['))); }), "limit at 1:312");
}

TEST(ReadPerformer, AFileGivenByMistakeIsNamed) {
  EXPECT_EQ(Error("\x1F\x8B\x08"),
            "p.json: this is a gzip archive, not a performer file; unpack it and name the file in it");
  EXPECT_EQ(Error("glTF\x02"), "p.json: this is a .glb, not a performer file; name a performer file");
  EXPECT_EQ(Error(std::string("\xFF\xFE{\0}\0", 6)),
            "p.json: this is UTF-16 text, not a performer file; save it as UTF-8");
}

TEST(ReadPerformer, AHundredThousandMarkersAreRefusedBeforeTheyAreComparedWithEachOther) {
  EXPECT_LT(CpuSecondsOf([] {
              EXPECT_THAT(Error(File(R"({ "Mouth": { "ChinHolder": )" + Names(100000) + " } }")),
                          HasSubstr("100000 markers; leave 99775 of them out"));
            }),
            20);
}

TEST(ReadPerformer, TheFilesOwnWordsCannotSteerTheTerminal) {
  const std::string error = Error(File(R"({ "Mouth": { "ChinHolder": ["\u001b[2J", "\u001b[2J"] } })",
                                       R"("neutral": { "positions": { "\u001b[3J\n": 1 } })"));
  EXPECT_THAT(error, HasSubstr("/parts/Mouth/ChinHolder/1"));
  EXPECT_EQ(error.find('\x1B'), std::string::npos) << "an escape sequence gets through";
}

// --- What is written.

TEST(WritePerformer, ReadsBackTheSame) {
  Performer performer = Read(File(R"({ "Mouth": { "ChinHolder": ["a/b", "ä\"\\~\u0001\n"] },
      "LeftBrow": { "BrowHolder": ["b1", "b2"], "InBrowHolder": ["b3"] }, "RightNostril": { "NostrilHolder": ["a/b"] }})",
                                  R"("head": ["top", "眉"], "rigid": ["top", "ear \"left\""],
                                     "anchors": { "RightBrow": ["a/b", "眉"], "LeftEye": ["in", "out"] })"));
  performer.name = "Ada \"the\" 1st\t\xC3\xA4";
  ExpectEqual(Read(Written(performer)), performer);
  performer.neutral = FrameRange{-12, 9007199254740993};
  ExpectEqual(Read(Written(performer)), performer);
  // Among them numbers whose shortest form is long, and some at the ends of what a double holds.
  performer.neutral = NeutralPose{{"a/b", {0.1, -1.0 / 3, 5e-324}},
                                  {"quote\"", {1.7976931348623157e308, -0.0, 123456789.123456789}},
                                  {"top", {1e22, 2.2250738585072014e-308, 100}}};
  ExpectEqual(Read(Written(performer)), performer);
  EXPECT_EQ(Written(Read(Written(performer))), Written(performer));
}

TEST(WritePerformer, WritesAFileForPeopleToRead) {
  EXPECT_EQ(Written(Read(File(R"({ "Mouth": { "ChinHolder": ["c", "d"], "LeftMouthHolder": ["l"] } })",
                              R"("head": ["top"], "neutral": { "positions": { "c": [1, 2.5, -3] } })"))),
            R"({
  "format": "mien performer 1",
  "name": "Ada",
  "head": ["top"],
  "parts": {
    "Mouth": {
      "LeftMouthHolder": ["l"],
      "ChinHolder": ["c","d"]
    }
  },
  "neutral": {
    "positions": {
      "c": [1.0,2.5,-3.0]
    }
  }
}
)");
}

TEST(WritePerformer, WritesRigidMarkersAndAnchorsOnlyWhereThereAreAny) {
  EXPECT_EQ(Written(Read(File(kOneMarker, R"("head": ["top"], "rigid": ["top", "ear"],
                              "anchors": { "LeftEye": ["in", "out"], "LeftBrow": ["out"], "RightEye": [] })"))),
            R"({
  "format": "mien performer 1",
  "name": "Ada",
  "head": ["top"],
  "rigid": ["top","ear"],
  "anchors": {
    "LeftBrow": ["out"],
    "LeftEye": ["in","out"]
  },
  "parts": {
    "Mouth": {
      "ChinHolder": ["chin"]
    }
  }
}
)");
}

TEST(WritePerformer, WritesPointsWhateverTheLocale) {
  const Performer performer =
      Read(File(kOneMarker, R"("neutral": { "positions": { "chin": [1234.5, 0.25, -1000000] } })"));
  const std::string written = Written(performer);
  const DecimalComma german;
  EXPECT_EQ(Written(performer), written);
  ExpectEqual(Read(written), performer);
  EXPECT_EQ(Written(Read(File(kOneMarker, R"("neutral": { "frames": [1000, 2000000] })"))).find("1.000"),
            std::string::npos);
}

// --- Built-in performers and files by name.

TEST(BuiltInPerformers, AreValidAndCanBeSavedAndReadAgain) {
  ASSERT_THAT(mien::BuiltInPerformers(), testing::Contains("landmarks68"));
  for (const std::string& name : mien::BuiltInPerformers()) {
    const Performer performer = LoadPerformer(name);
    EXPECT_EQ(performer.name, name);
    EXPECT_EQ(performer.file, name);
    EXPECT_GE(performer.head.size(), 3u) << name << " cannot tell the head's motion";
    ExpectEqual(Read(Written(performer)), performer);
  }
}

TEST(BuiltInPerformers, Landmarks68NamesLandmarksOnlyAndTheSameOnBothSides) {
  const Performer performer = LoadPerformer("landmarks68");
  std::set<std::string> landmarks;
  for (int i = 0; i < 68; ++i) landmarks.insert("lm" + std::to_string(i));
  for (const std::string& name : performer.Markers()) EXPECT_TRUE(landmarks.contains(name)) << name;
  // The landmarks' own mirror images, by the order in which trackers number contours.
  const auto mirrored = [](const std::string& name) {
    const int i = std::stoi(name.substr(2));
    const int other = i <= 16   ? 16 - i
                      : i <= 26 ? 43 - i
                      : i <= 30 ? i
                      : i <= 35 ? 66 - i
                      : i <= 39 ? 81 - i
                      : i <= 41 ? 87 - i
                      : i <= 45 ? 81 - i
                      : i <= 47 ? 87 - i
                      : i <= 54 ? 102 - i
                      : i <= 59 ? 114 - i
                      : i <= 64 ? 124 - i
                                : 132 - i;
    return "lm" + std::to_string(other);
  };
  const auto mirror = [&](const std::vector<std::string>& names) {
    std::set<std::string> mirror_names;
    for (const std::string& name : names) mirror_names.insert(mirrored(name));
    return mirror_names;
  };
  const auto set = [](const std::vector<std::string>& names) {
    return std::set<std::string>(names.begin(), names.end());
  };
  EXPECT_EQ(mirror(performer.head), set(performer.head));
  EXPECT_EQ(mirror(performer.rigid), set(performer.rigid));
  for (const std::size_t left : {1u, 3u})
    EXPECT_EQ(mirror(performer.anchors[left]), set(performer.anchors[left + 1])) << left;
  EXPECT_EQ(mirror(performer.holders[0][0]), set(performer.holders[0][3])); // the mouth's corners
  for (const std::size_t h : {1u, 2u, 4u})
    EXPECT_EQ(mirror(performer.holders[0][h]), set(performer.holders[0][h]));
  for (const std::size_t left : {1u, 3u, 5u, 7u})
    for (std::size_t h = 0; h < 5; ++h)
      EXPECT_EQ(mirror(performer.holders[left][h]), set(performer.holders[left + 1][h])) << left << ' ' << h;
}

// As docs/concepts.md and the performer itself say why.
TEST(BuiltInPerformers, Landmarks68GoesByTheNoseTheInnerCornersOfTheEyesAndTheInnerLips) {
  const Performer performer = LoadPerformer("landmarks68");
  const auto names = [](const std::vector<int>& landmarks) {
    std::vector<std::string> named;
    for (const int landmark : landmarks) named.push_back("lm" + std::to_string(landmark));
    return testing::UnorderedElementsAreArray(named);
  };
  EXPECT_THAT(performer.head, names({28, 39, 42, 31, 35}));
  EXPECT_THAT(performer.rigid,
              names({0, 1, 2, 14, 15, 16, 27, 28, 29, 30, 31, 32, 33, 34, 35, 36, 39, 42, 45}));
  EXPECT_THAT(performer.anchors[1], names({42, 45, 27}));
  EXPECT_THAT(performer.anchors[3], names({42, 45}));
  EXPECT_THAT(performer.holders[0][1], names({61, 62, 63}));
  EXPECT_THAT(performer.holders[0][2], names({65, 66, 67}));
  EXPECT_THAT(performer.holders[0][4], IsEmpty()) << "no chin";
  for (const std::size_t cheek : {5u, 6u}) EXPECT_THAT(performer.holders[cheek], testing::Each(IsEmpty()));
  const std::vector<std::string> markers = performer.Markers();
  for (const char* tail : {"lm17", "lm26"}) EXPECT_THAT(markers, testing::Not(testing::Contains(tail)));
}

TEST(LoadPerformer, AnUnknownNameListsTheBuiltInOnes) {
  EXPECT_EQ(InputErrorOf([] { LoadPerformer("landmarks67"); }),
            "landmarks67: there is no performer of this name and no such file; name a performer file, or one "
            "of the "
            "built-in ones: landmarks68, landmarks478");
}

TEST_F(PerformerFiles, AreFoundByPathAndNamedInMistakes) {
  const std::filesystem::path good = Write("good.json", File()), bad = Write("bad.json", "{}");
  EXPECT_EQ(LoadPerformer(good.string()).name, "Ada");
  EXPECT_EQ(LoadPerformer(good.string()).file, good.string());
  EXPECT_THAT(InputErrorOf([&] { LoadPerformer(bad.string()); }), StartsWith(bad.string() + ":/format"));
  EXPECT_THAT(InputErrorOf([&] { LoadPerformer(folder_.string()); }), HasSubstr("this is a folder"));
}

// What the file system cannot even look up is an input's fault, not the program's.
TEST_F(PerformerFiles, PathsThatCannotBeLookedUpAreInputErrors) {
  const std::string too_long(300, 'a');
  EXPECT_THAT(InputErrorOf([&] { LoadPerformer(too_long); }), StartsWith(too_long + ": "));
  const std::filesystem::path loop = folder_ / "loop.json";
  std::filesystem::create_symlink("loop.json", loop);
  EXPECT_THAT(InputErrorOf([&] { LoadPerformer(loop.string()); }), StartsWith(loop.string() + ": "));
}
