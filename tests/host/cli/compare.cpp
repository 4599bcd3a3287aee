#include "tests/host/cli/run_mien.h"

#include <fmt/format.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <string>

using nlohmann::json;
using testing::AllOf;
using testing::EndsWith;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;
using testing::StartsWith;

namespace {

const std::string kSamples = MIEN_SAMPLES_FOLDER;

class CompareCommand : public MienTest {
protected:
  CompareCommand() {
    Write("a.csv",
          "frame,time,timecode,jawOpen,browInnerUp,x\n1,0,10:00:00:00,0,0.5,0\n2,0.1,10:00:00:01,0,0.5,0\n");
    Write("b.csv",
          "frame,time,timecode,browInnerUp,jawOpen\n1,0,10:00:00:00,0.5,0\n2,0.1,10:00:00:01,0.25,0.125\n");
    Write("m.csv", "frame,time,A.x,A.y,A.z\n1,0,1,2,3\n2,0.1,1,2,3\n");
    Write("n.csv", "frame,time,A.x,A.y,A.z\n1,0,1,2,3\n2,0.1,1,2,3.5\n");
  }
};

} // namespace

TEST_F(CompareCommand, ShowsATableAndWhatItAmountsTo) {
  const Ran ran = Run({"compare", "a.csv", "b.csv"});
  EXPECT_EQ(ran.exit_code, 0);
  EXPECT_EQ(ran.out, "A         a.csv: score CSV, 2 frames at 10 Hz, 3 curves\n"
                     "B         b.csv: score CSV, 2 frames at 10 Hz, 2 curves\n"
                     "aligned   by timecode\n"
                     "common    2 frames, 1 to 2\n"
                     "\n"
                     "  curve        largest  frame     timecode     rms  correlation  lag\n"
                     "  browInnerUp   0.2500      2  10:00:00:01  0.1768            -    -\n"
                     "  jawOpen       0.1250      2  10:00:00:01  0.0884            -    -\n"
                     "\n"
                     "differ    2 of 2 curves\n"
                     "worst     browInnerUp by 0.2500 in frame 2 (10:00:00:01)\n"
                     "only in A x\n");
}

TEST_F(CompareCommand, TakesAreComparedByMarker) {
  const Ran ran = Run({"compare", "m.csv", "n.csv"});
  EXPECT_THAT(ran.out, AllOf(HasSubstr("A         m.csv: marker CSV, 2 frames at 10 Hz, 1 marker\n"),
                             HasSubstr("  marker   largest  frame       rms\n"
                                       "  A       0.500 mm      2  0.354 mm\n"),
                             EndsWith("worst     A by 0.500 mm in frame 2\n")));
}

TEST_F(CompareCommand, FilesThatAreTheSameDifferNowhere) {
  for (const std::string& file : {std::string("a.csv"), std::string("m.csv"), kSamples + "/landmarks.csv",
                                  kSamples + "/mesh/weights.csv"}) {
    const Ran ran = Run({"compare", file, file, "--fail-above", "0"});
    EXPECT_EQ(ran.exit_code, 0) << ran.err;
    EXPECT_THAT(ran.out, AllOf(HasSubstr("\ndiffer    0 of "), Not(HasSubstr("worst"))));
  }
}

TEST_F(CompareCommand, ADifferenceAboveTheLimitEndsWithThree) {
  const Ran above = Run({"compare", "a.csv", "b.csv", "--fail-above", "0.1", "--quiet"});
  EXPECT_EQ(above.exit_code, 3);
  EXPECT_THAT(above.out, IsEmpty());
  EXPECT_EQ(above.err,
            "mien: b.csv:frame 2: browInnerUp differs by 0.25 at 10:00:00:01, above the limit of 0.1; "
            "2 curves are above it\n");
  EXPECT_EQ(Run({"compare", "a.csv", "b.csv", "--fail-above", "0.25"}).exit_code, 0);
  const Ran markers = Run({"compare", "m.csv", "n.csv", "--fail-above", "0.4"});
  EXPECT_EQ(markers.exit_code, 3);
  EXPECT_THAT(markers.err, HasSubstr("A differs by 0.5 mm, above the limit of 0.4\n"));
  EXPECT_EQ(Run({"compare", "a.csv", "b.csv", "--fail-above", "-1"}).exit_code, 2);
}

TEST_F(CompareCommand, AnOffsetIsAFractionWithASign) {
  EXPECT_THAT(Run({"compare", "m.csv", "n.csv", "--offset", "-1"}).out,
              AllOf(HasSubstr("aligned   by frame number; B is read 1 frame earlier\n"),
                    HasSubstr("common    1 frame, 2 to 2; only in A 1, only in B 1\n")));
  EXPECT_THAT(Run({"compare", "m.csv", "n.csv", "--offset=0.5"}).err,
              HasSubstr("B is read between its frames in 1 of 1 frame: markers on a straight line"));
  EXPECT_THAT(Run({"compare", "m.csv", "n.csv", "--offset", "nan"}).err,
              HasSubstr("\"nan\" is not a number of frames, such as -2.5"));
  EXPECT_THAT(
      Run({"compare", "m.csv", "n.csv", "--offset", "5", "--align", "time"}).err,
      HasSubstr("no frame is in both: aligned by time from the first frame; B is read 5 frames later, A has "
                "0.1 s from its first frame, B 0.1 s"));
  EXPECT_THAT(Run({"compare", "m.csv", "n.csv", "--align", "name"}).err,
              HasSubstr("\"name\" is not timecode, frames or time"));
}

TEST_F(CompareCommand, OneOfEachIsAnErrorThatSaysWhatWasFound) {
  const Ran ran = Run({"compare", "m.csv", "b.csv"});
  EXPECT_EQ(ran.exit_code, 1);
  EXPECT_EQ(ran.err,
            "mien: m.csv is a take (marker CSV), and b.csv is an animation (score CSV); name two animations "
            "or two takes; mien solve makes an animation of a take\n");
}

TEST_F(CompareCommand, WritesTheWholeTable) {
  EXPECT_EQ(Run({"compare", "a.csv", "b.csv", "-o", "table.csv"}).exit_code, 0);
  EXPECT_THAT(Saved("table.csv"),
              AllOf(StartsWith("group,curve,unit,frames,"), HasSubstr("\nShapes,jawOpen,,2,")));
  EXPECT_EQ(Run({"compare", "a.csv", "b.csv", "-o", "-"}).out, Saved("table.csv"));
  EXPECT_EQ(Run({"compare", "a.csv", "b.csv", "-o", "b.csv"}).exit_code, 2);
  EXPECT_EQ(Run({"compare", "a.csv", "b.csv", "-o", "-", "--json"}).exit_code, 2);
}

TEST_F(CompareCommand, AnswersAsJson) {
  const Ran ran = Run({"compare", "a.csv", "b.csv", "--json", "--fail-above", "0.2"});
  EXPECT_EQ(ran.exit_code, 3);
  const json document = json::parse(ran.out);
  EXPECT_EQ(document["exit_code"], 3);
  EXPECT_EQ(document["errors"][0]["code"], "limit");
  EXPECT_EQ(document["result"]["curves"][0]["name"], "browInnerUp");
  EXPECT_EQ(document["result"]["curves"][0]["largest"], 0.25);
  EXPECT_EQ(document["result"]["alignment"]["text"], "by timecode");
}

TEST_F(CompareCommand, ListsTwentyCurvesAndAllWhereAskedFor) {
  std::string header = "frame,time", row = "\n1,0";
  for (int i = 0; i < 23; ++i) {
    header += fmt::format(",w{}", i);
    row += ",0";
  }
  Write("many.csv", header + row + '\n');
  EXPECT_THAT(
      Run({"compare", "many.csv", "many.csv"}).out,
      AllOf(HasSubstr("  w19 "), Not(HasSubstr("  w20 ")), HasSubstr("  and 3 more; --all lists them\n")));
  EXPECT_THAT(Run({"compare", "many.csv", "many.csv", "--all"}).out,
              AllOf(HasSubstr("  w22 "), Not(HasSubstr("more"))));
}

TEST_F(CompareCommand, ReadsStandardInputOnce) {
  EXPECT_THAT(Run({"compare", "-", "-"}).err, HasSubstr("standard input can be read once"));
}

TEST_F(CompareCommand, AnAnimationIsTheSameInEveryFormatThatIsReadAgain) {
  for (const std::string out : {"w.csv", "w.json"})
    ASSERT_EQ(Run({"solve", kSamples + "/landmarks.csv", "-p", "landmarks68", "-c", "arkit52", "-o", out})
                  .exit_code,
              0);
  ASSERT_EQ(Run({"solve", kSamples + "/landmarks.csv", "-p", "landmarks68", "--csv-style", "livelink", "-o",
                 "phone.csv"})
                .exit_code,
            0);
  EXPECT_EQ(Run({"compare", "w.csv", "w.json", "--fail-above", "0"}).exit_code, 0);
  const Ran phone = Run({"compare", "w.csv", "phone.csv", "--align", "frames", "--fail-above", "1e-6"});
  EXPECT_EQ(phone.exit_code, 0) << phone.err;
}
