#include "tests/host/cli/run_mien.h"

#include <fmt/format.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <string>
#include <utility>
#include <vector>

using nlohmann::json;
using testing::AllOf;
using testing::EndsWith;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;
using testing::SizeIs;
using testing::StartsWith;

namespace {

const std::string kSamples = MIEN_SAMPLES_FOLDER;

class Info : public MienTest {
protected:
  Info() {
    Write("a.csv",
          "frame,time,A.x,A.y,A.z\n1,0,1,2,3\n2,0.5,,,\n4,1.5,1,2,3\n"); // with a note: frame 3 is missing
    Write("b.csv", "frame,time,B.x,B.y,B.z\n1,0,1,2,3\n2,0.5,1,2,3\n");
    Write("bad.csv", "frame,time,A.x,A.y,A.z\n1,0,1,2\n");
  }
};

} // namespace

TEST_F(Info, DescribesATakeOnStandardOutput) {
  const Ran ran = Run({"info", "a.csv"});
  EXPECT_EQ(ran.exit_code, 0);
  EXPECT_THAT(ran.err, IsEmpty());
  EXPECT_THAT(ran.out,
              AllOf(StartsWith("a: marker CSV"), HasSubstr("3 (1 to 4), 1 missing, 1 without any marker"),
                    HasSubstr("rate      2 Hz\n"), HasSubstr("axes      unknown"),
                    HasSubstr("note      frames missing: 1 after frame 2\n")));
}

TEST_F(Info, ListsTheFirstMarkersOfManyAndAllWhereAskedFor) {
  const auto take = [&](int markers) {
    std::string header = "frame,time", row;
    for (int m = 0; m < markers; ++m) {
      header += fmt::format(",M{0}.x,M{0}.y,M{0}.z", m);
      row += ",1,2,3";
    }
    Write("many.csv", fmt::format("{}\n1,0{}\n2,0.5{}\n", header, row, row));
  };
  take(20);
  const std::string twenty = Run({"info", "many.csv"}).out;
  EXPECT_THAT(twenty, AllOf(HasSubstr("\n  M0 "), HasSubstr("\n  M19 "), Not(HasSubstr(" more"))));
  EXPECT_EQ(Run({"info", "many.csv", "--all"}).out, twenty);
  take(23);
  EXPECT_THAT(Run({"info", "many.csv"}).out,
              AllOf(HasSubstr("\n  23 markers\n"), HasSubstr("\n  M19 "), Not(HasSubstr("M20")),
                    EndsWith("\n  and 3 more; --all lists them\n")));
  EXPECT_THAT(Run({"info", "many.csv", "--all"}).out, AllOf(HasSubstr("\n  M22 "), Not(HasSubstr(" more"))));
  EXPECT_THAT(json::parse(Run({"info", "many.csv", "--json"}).out)["markers"], SizeIs(23));
}

TEST_F(Info, DrawsInTheCharactersThatTheTerminalHas) {
  for (const std::string locale : {"C.UTF-8", "de_DE.utf8"})
    EXPECT_THAT(Run({"info", "a.csv"}, locale).out, HasSubstr("  A | \u2588 |\n")) << locale;
  for (const std::string locale : {"C", "de_DE.ISO-8859-1"})
    EXPECT_THAT(Run({"info", "a.csv"}, locale).out, HasSubstr("  A | # |\n")) << locale;
}

TEST_F(Info, APerformerShowsWhichWayTheFaceLooks) {
  const Ran landmarks = Run({"info", kSamples + "/landmarks.csv", "-p", "landmarks68"});
  EXPECT_EQ(landmarks.exit_code, 0) << landmarks.err;
  EXPECT_THAT(landmarks.out, HasSubstr("+y up, the face looks along +z, +x is the performer's left"));
  const Ran markers =
      Run({"info", kSamples + "/markers.csv", "--performer", kSamples + "/markers.performer.json", "--json"});
  EXPECT_EQ(markers.exit_code, 0) << markers.err;
  const json face = json::parse(markers.out)["face"];
  EXPECT_GT(face["up"][2], 0.99); // the sample's room has z up, and the performer sits upright
  EXPECT_LT(face["forward"][1], -0.7);
}

// The take is described nevertheless: what else would list the markers that it has?
TEST_F(Info, APerformerWhoseMarkersTheTakeLacksIsAMistake) {
  const Ran ran = Run({"info", "a.csv", "-p", "landmarks68"});
  EXPECT_EQ(ran.exit_code, 1);
  EXPECT_EQ(ran.out, Run({"info", "a.csv"}).out);
  EXPECT_THAT(ran.err, HasSubstr("has no marker"));
}

TEST_F(Info, SeveralTakesAreDescribedOneAfterTheOther) {
  const Ran ran = Run({"info", "b.csv", "a.csv"});
  EXPECT_EQ(ran.exit_code, 0);
  EXPECT_THAT(ran.out, StartsWith(Run({"info", "b.csv"}).out));
  EXPECT_THAT(ran.out, EndsWith("\n" + Run({"info", "a.csv"}).out));
}

TEST_F(Info, EveryLayoutOfTheMeshIsDescribed) {
  for (const auto& [file, format] :
       {std::pair("wide.csv", "wide: mesh CSV, lengths in image widths\n"),
        std::pair("planar_pixels.csv", "planar_pixels: mesh CSV, lengths in px\n"),
        std::pair("with_body.csv", "with_body: mesh CSV, lengths in image widths\n"),
        std::pair("long.csv", "long: long mesh CSV, lengths in image widths\n"),
        std::pair("results.json", "results: mesh JSON, lengths in image widths\n"),
        std::pair("result_lines.json", "result_lines: mesh JSON, lengths in im")}) {
    const Ran ran = Run({"info", kSamples + "/mesh/" + file});
    EXPECT_EQ(ran.exit_code, 0) << ran.err;
    EXPECT_THAT(ran.out, AllOf(StartsWith(format), HasSubstr("  frames    5 (")));
  }
  const Ran weights = Run({"info", kSamples + "/mesh/weights.csv"});
  EXPECT_EQ(weights.exit_code, 1);
  EXPECT_THAT(weights.err,
              HasSubstr("the file has shape weights (scores) and no landmarks, which are what is "
                        "solved; put the weights onto a character with mien retarget"));
}

TEST_F(Info, ATakeThatCannotBeReadDoesNotHideTheOthers) {
  for (const bool as_json : {false, true}) {
    std::vector<std::string> arguments = {"info", "none.csv", "a.csv", "bad.csv", "b.csv"};
    if (as_json) arguments.push_back("--json");
    const Ran ran = Run(arguments);
    EXPECT_EQ(ran.exit_code, 1);
    EXPECT_THAT(ran.err, AllOf(StartsWith("mien: none.csv: "), HasSubstr("\nmien: bad.csv:2: ")));
    if (as_json) {
      const json takes = json::parse(ran.out);
      ASSERT_THAT(takes, SizeIs(4));
      EXPECT_EQ(takes[1]["name"], "a");
      EXPECT_EQ(takes[3]["name"], "b");
    } else {
      EXPECT_THAT(ran.out, AllOf(StartsWith("a: "), HasSubstr("\nb: ")));
    }
  }
}

TEST_F(Info, JsonIsAListForSeveralTakesAndOnlyForThese) {
  const json one = json::parse(Run({"info", "--json", "a.csv"}).out);
  EXPECT_EQ(one["name"], "a");
  EXPECT_EQ(one["markers"][0]["gap_runs"], json::parse("[[2, 2]]"));
  const json two = json::parse(Run({"info", "--json", "a.csv", "b.csv"}).out);
  ASSERT_THAT(two, SizeIs(2));
  EXPECT_EQ(two[0], one);
}

// A program finds each of its files in the answer, in their order, also those that cannot be read.
TEST_F(Info, JsonOfATakeThatCannotBeReadIsItsNameAndErrors) {
  const Ran ran = Run({"info", "--json", "bad.csv"});
  EXPECT_EQ(ran.exit_code, 1);
  const json bad = json::parse(ran.out);
  EXPECT_THAT(bad, SizeIs(2));
  EXPECT_EQ(bad["file"], "bad.csv");
  EXPECT_EQ(bad["errors"][0]["place"], "2");
  const json three = json::parse(Run({"info", "--json", "none.csv", "a.csv", "none either.csv"}).out);
  ASSERT_THAT(three, SizeIs(3));
  EXPECT_EQ(three[0]["file"], "none.csv");
  EXPECT_EQ(three[1]["name"], "a");
  EXPECT_EQ(three[1]["errors"], json::array());
  EXPECT_EQ(three[2]["errors"][0]["code"], "not-found");
}

TEST_F(Info, WithStrictWhatWasForgivenIsAMistake) {
  EXPECT_EQ(Run({"info", "--strict", "b.csv"}).exit_code, 0);
  const Ran ran = Run({"info", "--strict", "a.csv"});
  EXPECT_EQ(ran.exit_code, 1);
  EXPECT_THAT(ran.err, StartsWith("mien: a.csv: frames missing: 1 after frame 2; "));
}

TEST_F(Info, OneOfSeveralFacesIsAskedFor) {
  std::string header = "frame,face_id,timestamp", zeros;
  for (const std::string axis : {"X_", "Y_", "Z_"})
    for (int i = 0; i < 68; ++i) header += "," + axis + std::to_string(i);
  const auto row = [](int frame, int face) {
    std::string text =
        std::to_string(frame) + "," + std::to_string(face) + "," + std::to_string(frame / 10.0);
    for (int i = 0; i < 3 * 68; ++i) text += "," + std::to_string(face * 100 + 1);
    return text + "\n";
  };
  Write("faces.csv", header + "\n" + row(1, 3) + row(1, 5) + row(2, 3) + row(2, 5));
  const auto highest = [&](const std::vector<std::string>& options) {
    std::vector<std::string> arguments = {"info", "faces.csv", "--json"};
    arguments.insert(arguments.end(), options.begin(), options.end());
    return json::parse(Run(arguments).out)["extents_mm"]["high"][0];
  };
  EXPECT_EQ(highest({}), 301);
  EXPECT_EQ(highest({"--face", "5"}), 501);
  EXPECT_EQ(highest({"--face", "3"}), 301);
  EXPECT_EQ(Run({"info", "faces.csv", "--face", "4"}).exit_code, 1);
}

TEST_F(Info, WrongUsageIsReported) {
  for (const std::vector<std::string>& arguments : std::vector<std::vector<std::string>>{
           {"info"}, {"info", "a.csv", "--face", "x"}, {"info", "a.csv", "--gaps"}}) {
    const Ran ran = Run(arguments);
    EXPECT_EQ(ran.exit_code, 2) << testing::PrintToString(arguments);
    EXPECT_THAT(ran.out, IsEmpty());
    EXPECT_THAT(ran.err, EndsWith("mien: see mien info --help\n"));
  }
}
