#include "host/formats/read_take.h"
#include "tests/host/cli/run_mien.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <string>
#include <utility>
#include <vector>

using mien::ReadTake;
using mien::Take;
using mien::ToText;
using testing::AllOf;
using testing::ElementsAre;
using testing::EndsWith;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;
using testing::StartsWith;

namespace {

const std::string kTake = "frame,time,A.x,A.y,A.z,B.x,B.y,B.z\n"
                          "10,0.3,0.1,2,3,4,5,6\n"
                          "11,0.4,,,,4,5,6\n"
                          "13,0.6,1,2,3,,,\n"
                          "14,0.7,1,2,3,4,5,6.5\n";

class Convert : public MienTest {
protected:
  Convert() { Write("take.csv", kTake); }
  Take Read(const std::string& name) const { return ReadTake(folder_ / name); }

  std::vector<std::string> Files() const {
    std::vector<std::string> names;
    for (const auto& entry : std::filesystem::directory_iterator(folder_))
      names.push_back(entry.path().filename());
    std::sort(names.begin(), names.end());
    return names;
  }
};

} // namespace

TEST_F(Convert, WritesWhatTheEndingSays) {
  for (const auto& [output, format] :
       {std::pair("a.c3d", "C3D"), {"a.trc", "TRC"}, {"a.csv", "marker CSV"}, {"b.C3D", "C3D"}}) {
    const Ran ran = Run({"convert", "take.csv", output});
    EXPECT_EQ(ran.exit_code, 0) << ran.err;
    EXPECT_THAT(ran.out, IsEmpty());
    EXPECT_THAT(ran.err, AllOf(StartsWith("take       take: marker CSV, 4 frames at 10 Hz, 2 markers\n"),
                               HasSubstr(std::string("wrote      ") + output + ": " + format + "\n")));
    const Take take = Read(output);
    EXPECT_EQ(take.format, format);
    EXPECT_THAT(take.markers, ElementsAre("A", "B"));
    EXPECT_EQ(take.frames.front(), 10);
    EXPECT_EQ(take.frames.back(), 14);
  }
  EXPECT_EQ(Saved("a.csv"), kTake);
}

TEST_F(Convert, ReportsWhatTheFormatCannotHold) {
  EXPECT_THAT(
      Run({"convert", "take.csv", "a.c3d"}).err,
      AllOf(HasSubstr("           1 missing frame becomes an empty one\n"),
            HasSubstr("           the first frame's time is 0.9 s instead of 0.3 s\n"),
            // A float nearest to 0.1 is 1.5e-9 from it.
            HasSubstr("           positions are rounded, by 1.5e-09 mm at most (\"A\" in frame 10)\n")));
  EXPECT_EQ(Run({"convert", "take.csv", "a.csv"}).err,
            "take       take: marker CSV, 4 frames at 10 Hz, 2 markers\n"
            "           frames missing: 1 after frame 11\n"
            "wrote      a.csv: marker CSV\n");
}

TEST_F(Convert, PrintsNothingWithQuiet) {
  const Ran ran = Run({"convert", "-q", "take.csv", "a.c3d"});
  EXPECT_EQ(ran.exit_code, 0);
  EXPECT_THAT(ran.out + ran.err, IsEmpty());
  EXPECT_TRUE(Has("a.c3d"));
}

TEST_F(Convert, WritesCsvOnStandardOutput) {
  for (const std::string output : {"-", "/dev/stdout"}) {
    const Ran ran = Run({"convert", "take.csv", output});
    EXPECT_EQ(ran.exit_code, 0) << ran.err;
    EXPECT_EQ(ran.out, kTake);
    EXPECT_THAT(ran.err, HasSubstr("frames"));
  }
}

TEST_F(Convert, TheOutputCanBeAnOptionAsElsewhere) {
  EXPECT_EQ(Run({"convert", "take.csv", "-o", "a.csv"}).exit_code, 0);
  EXPECT_EQ(Saved("a.csv"), kTake);
}

TEST_F(Convert, KeepsFramesAndMarkersThatAreAskedFor) {
  EXPECT_EQ(Run({"convert", "take.csv", "a.csv", "--frames", "11-13", "--markers", "B,A"}).exit_code, 0);
  EXPECT_EQ(Saved("a.csv"), "frame,time,B.x,B.y,B.z,A.x,A.y,A.z\n11,0.4,4,5,6,,,\n13,0.6,,,,1,2,3\n");
  const Ran cut =
      Run({"convert", "take.csv", "b.csv", "--frames", "12-99", "--markers", "A", "--markers", "A"});
  EXPECT_EQ(cut.exit_code, 0);
  EXPECT_THAT(cut.err, HasSubstr("of frames 12 to 99 the take has 13 to 14\n"));
  EXPECT_EQ(Saved("b.csv"), "frame,time,A.x,A.y,A.z\n13,0.6,1,2,3\n14,0.7,1,2,3\n");
}

TEST_F(Convert, FramesAndMarkersThatTheTakeLacksAreMistakes) {
  const std::pair<std::vector<std::string>, std::string> cases[] = {
      {{"--frames", "15-20"},
       "mien: take.csv: there are no frames 15 to 20; the take goes from frame 10 to 14\n"},
      {{"--frames", "12"},
       "mien: take.csv: there are no frames 12 to 12; the take goes from frame 10 to 14\n"},
      {{"--markers", "A,a"},
       "mien: take.csv: there is no marker \"a\"; `mien info` lists the markers that it has\n"}};
  for (const auto& [options, message] : cases) {
    std::vector<std::string> arguments = {"convert", "take.csv", "a.csv"};
    arguments.insert(arguments.end(), options.begin(), options.end());
    const Ran ran = Run(arguments);
    EXPECT_EQ(ran.exit_code, 1);
    EXPECT_EQ(ran.err, message);
  }
  EXPECT_THAT(Files(), ElementsAre("take.csv"));
}

TEST_F(Convert, SetsTheFirstFramesTimecode) {
  const std::pair<std::string, std::string> cases[] = {{"10:02:59:09", "10:02:59:09@10"},
                                                       {"10:02:59:24@25", "10:02:59:24@25"},
                                                       {"10:02:59;29", "10:02:59;29@30000/1001"}};
  for (const auto& [text, timecode] : cases) {
    EXPECT_EQ(Run({"convert", "take.csv", "a.c3d", "--timecode", text}).exit_code, 0);
    const Take take = Read("a.c3d");
    ASSERT_TRUE(take.timecode) << text;
    EXPECT_EQ(ToText(*take.timecode), timecode);
  }
  EXPECT_THAT(Run({"convert", "take.csv", "a.trc", "--timecode", "10:02:59:09"}).err,
              HasSubstr("           the timecode, 10:02:59:09@10, is left out\n"));
}

TEST_F(Convert, APartKeepsTheTimecodeOfItsFirstFrame) {
  ASSERT_EQ(Run({"convert", "take.csv", "a.c3d", "--timecode", "23:59:59:29@30"}).exit_code, 0);
  const Ran ran =
      Run({"convert", "a.c3d", "b.c3d", "--frames", "11-14"}); // 0.1 s later is 3 counts, past midnight
  EXPECT_EQ(ran.exit_code, 0);
  EXPECT_THAT(ran.err, Not(HasSubstr("between two timecodes")));
  EXPECT_EQ(ToText(Read("b.c3d").timecode.value()), "00:00:00:02@30");
  // And in a take whose frames are quicker than the counts:
  ASSERT_EQ(Run({"convert", "take.csv", "a.c3d", "--timecode", "10:00:00:00@25"}).exit_code, 0);
  EXPECT_THAT(Run({"convert", "a.c3d", "b.c3d", "--frames", "11-14"}).err,
              HasSubstr("frame 11 lies between two timecodes, 10:00:00:02.500; it gets the one before\n"));
  EXPECT_EQ(ToText(Read("b.c3d").timecode.value()), "10:00:00:02@25");
  // A timecode that is asked for is the part's.
  ASSERT_EQ(Run({"convert", "a.c3d", "c.c3d", "--frames", "11-14", "--timecode", "01:00:00:00@25"}).exit_code,
            0);
  EXPECT_EQ(ToText(Read("c.c3d").timecode.value()), "01:00:00:00@25");
}

TEST_F(Convert, NeverOverwritesTheTake) {
  std::filesystem::create_symlink("take.csv", folder_ / "link.csv");
  for (const std::string output : {"take.csv", "./take.csv", "link.csv"}) {
    const Ran ran = Run({"convert", "take.csv", output});
    EXPECT_EQ(ran.exit_code, 2);
    EXPECT_THAT(ran.err, HasSubstr("this is the take itself"));
  }
  EXPECT_EQ(Saved("take.csv"), kTake);
}

TEST_F(Convert, WrongUsageIsReported) {
  const std::pair<std::vector<std::string>, std::string> cases[] = {
      {{}, "TAKE"},
      {{"take.csv"}, "OUT is required"},
      {{"take.csv", "a"}, "\"a\" does not end in .c3d, .trc or .csv"},
      {{"take.csv", "a.json"}, "\"a.json\" does not end in .c3d, .trc or .csv"},
      {{"take.csv", "a.csv", "--frames", "5-3"}, "--frames: \"5-3\" is not FRAME or FROM-TO"},
      {{"take.csv", "a.csv", "--frames", "5-"}, "is not FRAME or FROM-TO"},
      {{"take.csv", "a.csv", "--frames", ""}, "is not FRAME or FROM-TO"},
      {{"take.csv", "a.csv", "--timecode", "10:00"}, "--timecode: \"10:00\" is not a timecode"},
      {{"take.csv", "a.csv", "--timecode", ""}, "--timecode: \"\" is not a timecode"},
      {{"take.csv", "a.csv", "--timecode", "10:02:59:10"}, "(10) unless it follows"},
      {{"take.csv", "a.csv", "--frob"}, "--frob"}};
  for (const auto& [rest, what] : cases) {
    std::vector<std::string> arguments = {"convert"};
    arguments.insert(arguments.end(), rest.begin(), rest.end());
    const Ran ran = Run(arguments);
    EXPECT_EQ(ran.exit_code, 2) << testing::PrintToString(rest);
    EXPECT_THAT(ran.err, AllOf(HasSubstr(what), EndsWith("mien: see mien convert --help\n")));
  }
  EXPECT_THAT(Files(), ElementsAre("take.csv"));
}

TEST_F(Convert, AFailureLeavesTheFormerOutputAndNoLitter) {
  Write("a.trc", "former");
  Write("bad.csv", "frame,time,A.x\n1,0,1\n");
  Write("tab.csv",
        "frame,time,A\tB.x,A\tB.y,A\tB.z\n1,0,1,2,3\n2,1,1,2,3\n"); // a name that TRC has no way to write
  for (const std::string take : {"none.csv", "bad.csv", "tab.csv"}) {
    const Ran ran = Run({"convert", take, "a.trc"});
    EXPECT_EQ(ran.exit_code, 1) << take;
    EXPECT_THAT(ran.err, StartsWith("mien: " + take.substr(0, 3))) << take;
    EXPECT_EQ(Saved("a.trc"), "former");
  }
  EXPECT_EQ(Run({"convert", "take.csv", "no/folder/a.csv"}).exit_code, 1);
  EXPECT_EQ(Run({"convert", "--strict", "take.csv", "a.trc"}).exit_code, 1); // a frame number is missing
  EXPECT_EQ(Saved("a.trc"), "former");
  EXPECT_THAT(Files(), ElementsAre("a.trc", "bad.csv", "tab.csv", "take.csv"));
}
