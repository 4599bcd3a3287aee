#include "host/calibrate/pose_marks.h"

#include "tests/host/input_error.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdint>
#include <string>
#include <vector>

using mien::FrameSpan;
using mien::PoseMark;
using mien::Take;
using testing::HasSubstr;

namespace {

/// Frames 101 to 400, the first at 2 s, 30 a second.
Take GuidedTake() {
  Take take({"chin"});
  take.name = "guided";
  take.rate = {30, 1};
  for (std::int64_t f = 0; f < 300; ++f) take.AddFrame(101 + f, 2 + static_cast<double>(f) / 30);
  return take;
}

std::vector<PoseMark> Marks(const std::string& rows) {
  return ReadPoseMarks(rows, "marks.csv", GuidedTake());
}

std::string Error(const std::string& rows) {
  return InputErrorOf([&] { Marks(rows); });
}

} // namespace

TEST(PoseMarks, AreInFramesOrInSecondsAndAreSorted) {
  for (const char* rows :
       {"pose,from,to\nsmile,161,190\nrest,101,130\n", "from_s;to_s;pose\n4;4,967;smile\n2,0;2,967;rest\n"}) {
    const std::vector<PoseMark> marks = Marks(rows);
    ASSERT_EQ(marks.size(), 2u) << rows;
    EXPECT_EQ(marks[0].pose, "rest");
    EXPECT_EQ(marks[0].frames, (FrameSpan{0, 30}));
    EXPECT_EQ(marks[1].pose, "smile");
    EXPECT_EQ(marks[1].frames, (FrameSpan{60, 90}));
  }
  EXPECT_EQ(Marks("pose,from,to\nsmile,161,161\nsmile,170,400\n").size(), 2u); // a pose may be there twice
}

TEST(PoseMarks, OfUnknownOrMissingNamesAreRefusedWithTheNearest) {
  EXPECT_EQ(Error("pose,from,to\nrest,101,130\njaw_open,161,190\n"),
            "marks.csv:3: column \"pose\": there is no pose \"jaw_open\"; did you mean jaw-open?");
  EXPECT_THAT(Error("pose,from,to\nyodelling,161,190\n"),
              HasSubstr("`mien calibrate --list-poses` lists the names"));
  EXPECT_THAT(Error("pose,from,to\n,161,190\n"),
              HasSubstr("marks.csv:2: column \"pose\": the pose has no name"));
}

TEST(PoseMarks, OutsideTheTakeAreRefused) {
  const std::string outside =
      "marks.csv:2: the take \"guided\" does not have all of these frames; it has 101 to 400";
  EXPECT_EQ(Error("pose,from,to\nsmile,90,110\n"), outside);
  EXPECT_EQ(Error("pose,from,to\nsmile,390,401\n"), outside);
  EXPECT_EQ(Error("pose,from,to\nsmile,900,910\n"), outside);
  EXPECT_EQ(Error("pose,from_s,to_s\nsmile,1,3\n"),
            "marks.csv:2: the take \"guided\" does not have all of these frames; it has 2.000 to 11.967 s");
  EXPECT_EQ(ProblemOf([] { Marks("pose,from_s,to_s\nsmile,11,12.1\n"); }), "not-found at 2");
  EXPECT_EQ(ProblemOf([] { Marks("pose,from_s,to_s\nsmile,3.005,3.02\n"); }),
            "not-found at 2"); // between frames
}

TEST(PoseMarks, ThatOverlapAreRefused) {
  EXPECT_EQ(Error("pose,from,to\nsmile,161,190\nfrown,190,220\n"),
            "marks.csv:3: frown and smile overlap, which is in line 2; a frame shows one pose: end the first "
            "before "
            "the second begins");
  EXPECT_EQ(ProblemOf([] { Marks("pose,from,to\nsmile,161,190\nfrown,120,161\n"); }), "contradiction at 3");
  EXPECT_EQ(Marks("pose,from,to\nsmile,161,190\nfrown,191,220\n").size(), 2u);
}

TEST(PoseMarks, InTheWrongOrderOrWithoutRowsOrColumnsAreRefused) {
  EXPECT_EQ(ProblemOf([] { Marks("pose,from,to\nsmile,190,161\n"); }), "wrong-order at 2");
  EXPECT_EQ(ProblemOf([] { Marks("pose,from,to\n"); }), "empty at no place");
  for (const char* header : {"pose,from\nsmile,3\n", "pose,start,end\nsmile,1,2\n",
                             "pose,from,to_s\nsmile,1,2\n", "pose,from,to,from_s,to_s\nsmile,1,2,3,4\n"})
    EXPECT_THAT(Error(header),
                HasSubstr("begin with pose,from,to for frame numbers, or with pose,from_s,to_s"));
  EXPECT_THAT(Error("pose,from,to\nsmile,161,late\n"), HasSubstr("marks.csv:2: column \"to\""));
  EXPECT_THAT(Error("pose,from_s,to_s\nsmile,nan,3\n"), HasSubstr("marks.csv:2: column \"from_s\""));
}
