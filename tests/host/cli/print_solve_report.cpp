#include "host/cli/print_solve_report.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cstddef>
#include <sstream>
#include <string>
#include <vector>

using mien::FlagKind;
using mien::Grade;
using mien::Quality;
using testing::ElementsAre;
using testing::IsEmpty;

namespace {

/// A take with the frames 101 to 400, of which nothing is reported yet.
mien::SolveResult Result() {
  mien::SolveResult result;
  for (int f = 0; f < 300; ++f) result.take.AddFrame(101 + f, f / 30.0);
  result.take.file = "take.csv";
  result.report.frames = 300;
  const std::vector<std::string> names = {"Mouth",     "LeftBrow",   "RightBrow",   "LeftEye",     "RightEye",
                                          "LeftCheek", "RightCheek", "LeftNostril", "RightNostril"};
  for (std::size_t p = 0; p < names.size(); ++p) result.report.parts[p].name = names[p];
  return result;
}

/// The lines of the report from the one with this title on.
std::vector<std::string> LinesFrom(const std::string& title, const mien::SolveResult& result,
                                   const mien::SolveJob& job = {}) {
  mien::Output output;
  testing::internal::CaptureStderr();
  PrintSolveReport(job, result, output);
  std::istringstream printed(testing::internal::GetCapturedStderr());
  std::vector<std::string> lines;
  for (std::string line; std::getline(printed, line);)
    if (line.starts_with(title) || !lines.empty()) lines.push_back(line);
  return lines;
}

std::vector<std::string> LinesFrom(const std::string& title, const Quality& quality) {
  mien::SolveResult result = Result();
  result.report.quality = quality;
  return LinesFrom(title, result);
}

/// The line with this title and those that belong to it.
std::vector<std::string> LinesOf(const std::string& title, const mien::SolveResult& result,
                                 const mien::SolveJob& job = {}) {
  std::vector<std::string> lines = LinesFrom(title, result, job);
  for (std::size_t i = 1; i < lines.size(); ++i)
    if (!lines[i].starts_with(' ')) lines.resize(i);
  return lines;
}

} // namespace

TEST(PrintSolveReport, NamesThePartsOfTheTakesGradeTheWorstFirst) {
  Quality quality;
  quality.eye_corners_mm = 91.26;
  quality.share = {0.071, 0.012, 0.094, {}, {}, {}, {}, 0.2, 0.3};
  quality.grades = {Grade::Fair, Grade::Good, Grade::Fair, Grade::None, Grade::None,
                    Grade::None, Grade::None, Grade::Good, Grade::Good};
  quality.grade = Grade::Fair;
  EXPECT_THAT(
      LinesFrom("grade", quality),
      ElementsAre("grade      fair: RightBrow 9.4 %, Mouth 7.1 % of 91.3 mm between the outer eye corners",
                  "flags      none"));
}

TEST(PrintSolveReport, LeavesOutTheGradeWhereThereIsNone) {
  EXPECT_THAT(LinesFrom("grade", Quality{}), IsEmpty());
  EXPECT_THAT(LinesFrom("flags", Quality{}), ElementsAre("flags      none"));
}

TEST(PrintSolveReport, HasALineForEachThingThatIsFlaggedMislabelledMarkersFirst) {
  Quality quality;
  quality.flags = {{FlagKind::Limit, 7, "LeftNostril.Up", {}, 0, 20, 0.67},
                   {FlagKind::Jump, 3, "LeftEye.Close", {}, 18, 19, 0.751},
                   {FlagKind::Mislabel, 4, "", {"C", "D"}, 30, 40, 60},
                   {FlagKind::Jump, 3, "LeftEye.Close", {}, 87, 88, -0.75},
                   {FlagKind::Swap, 3, "", {"A", "B"}, 150, 150, 32},
                   {FlagKind::Limit, 7, "LeftNostril.Up", {}, 200, 299, 3.3}};
  EXPECT_THAT(LinesFrom("flags", quality),
              ElementsAre("flags      A and B are swapped, frames 251",
                          "           C is where D belongs, frames 131-141",
                          "           LeftEye.Close jumps, frames 120 (+0.75), 189 (-0.75)",
                          "           LeftNostril.Up stays at its limit, frames 101-121, "
                          "301-400"));
}

TEST(PrintSolveReport, ShowsTenThingsAndFiveStretchesOfEach) {
  Quality quality;
  for (std::size_t m = 0; m < 12; ++m)
    for (std::size_t f = 0; f < 7; ++f)
      quality.flags.push_back({FlagKind::Swap, 0, "", {"A" + std::to_string(m), "B"}, f, f, 10});
  const std::vector<std::string> lines = LinesFrom("flags", quality);
  ASSERT_EQ(lines.size(), 11u);
  EXPECT_EQ(lines[0], "flags      A0 and B are swapped, frames 101, 102, 103, 104, 105 and 2 more");
  EXPECT_EQ(lines[9], "           A9 and B are swapped, frames 101, 102, 103, 104, 105 and 2 more");
  EXPECT_EQ(lines[10], "           and 2 more");
}

// --- The neutral face.

TEST(PrintSolveReport, NamesTheFramesOfTheNeutralAndTheSpreadOfEachPart) {
  mien::SolveResult result = Result();
  result.neutral.how = "the median of 11 rest frames";
  result.neutral.frames = {101, 102, 103, 110, 112, 113, 120, 122, 124, 125, 126};
  result.neutral.spread_mm = {0.5, 0, 0, 1.254};
  EXPECT_THAT(LinesOf("neutral", result),
              ElementsAre("neutral    the median of 11 rest frames",
                          "           frames 101-103, 110, 112-113, 120, 122 and 1 more",
                          "           spread in these, mm: Mouth 0.50, LeftEye 1.25"));
}

TEST(PrintSolveReport, OfASingleFrameOrAPerformersPoseThereIsNothingMoreToSay) {
  mien::SolveResult result = Result();
  result.neutral.how = "frame 101";
  result.neutral.frames = {101};
  EXPECT_THAT(LinesOf("neutral", result), ElementsAre("neutral    frame 101"));
  result.neutral.how = "the performer file's";
  result.neutral.frames = {};
  EXPECT_THAT(LinesOf("neutral", result), ElementsAre("neutral    the performer file's"));
}

TEST(PrintSolveReport, WarnsOfTemplatesThatAnotherChoiceOfFramesWouldChange) {
  mien::SolveResult result = Result();
  const auto warned = [&] {
    std::vector<std::string> lines = LinesFrom("", result);
    return std::count_if(lines.begin(), lines.end(), [](const std::string& line) {
      return line.find("weights would change: Mouth.Open 0.21, LeftEye.Close 0.12; name frames") !=
             std::string::npos;
    });
  };
  EXPECT_EQ(warned(), 0);
  result.report.neutral_doubts = {{"Mouth.Open", 0.21}, {"LeftEye.Close", 0.1249}};
  EXPECT_EQ(warned(), 1);
}

// --- The head.

TEST(PrintSolveReport, SaysFromHowManyMarkersTheHeadWasFound) {
  mien::SolveResult result = Result();
  mien::SolveJob by_markers;
  by_markers.solve.head_fit = mien::HeadFit::Markers;
  EXPECT_THAT(LinesOf("head ", result, by_markers), ElementsAre("head       found in every frame"));
  result.report.rigid = {{"H1", 0.1}, {"H2", 0.1}, {"H3", 0.1}, {"ear", 0.1}};
  EXPECT_THAT(LinesOf("head ", result), ElementsAre("head       found in every frame, by 4 rigid markers"));
  result.report.frames_without_head = 3;
  EXPECT_THAT(LinesOf("head ", result)[0],
              testing::StartsWith("head       not found in 3 of 300 frames, by 4 rigid markers: "));
}

TEST(PrintSolveReport, SaysThatTheHeadMarkersHadToDo) {
  mien::SolveResult result = Result();
  const std::string note =
      "           fewer than four rigid markers, or three in the neutral pose: the head is found from its "
      "head markers alone, as with --head-fit markers";
  EXPECT_THAT(LinesOf("head ", result), ElementsAre("head       found in every frame", note));
  result.report.head_motion_removed = false; // then there is no head at all
  EXPECT_THAT(LinesOf("head ", result), testing::Not(testing::Contains(note)));
}
