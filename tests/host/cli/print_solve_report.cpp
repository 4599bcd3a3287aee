#include "host/cli/print_solve_report.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

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

/// The lines of the report on a take with the frames 101 to 400 from the one with this title on.
std::vector<std::string> LinesFrom(const std::string& title, const Quality& quality) {
  mien::SolveResult result;
  for (int f = 0; f < 300; ++f) result.take.AddFrame(101 + f, f / 30.0);
  const std::vector<std::string> names = {"Mouth",     "LeftBrow",   "RightBrow",   "LeftEye",     "RightEye",
                                          "LeftCheek", "RightCheek", "LeftNostril", "RightNostril"};
  for (std::size_t p = 0; p < names.size(); ++p) result.report.parts[p].name = names[p];
  result.report.quality = quality;
  mien::Output output;
  testing::internal::CaptureStderr();
  PrintSolveReport({}, result, output);
  std::istringstream printed(testing::internal::GetCapturedStderr());
  std::vector<std::string> lines;
  for (std::string line; std::getline(printed, line);)
    if (line.starts_with(title) || !lines.empty()) lines.push_back(line);
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
  EXPECT_THAT(LinesFrom("grade", {}), IsEmpty());
  EXPECT_THAT(LinesFrom("flags", {}), ElementsAre("flags      none"));
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
