#include "host/cli/batch_progress.h"

#include "tests/host/process.h"
#include "tests/host/pseudo_terminal.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <regex>
#include <string>
#include <vector>

using mien::BatchProgressLine;
using testing::AllOf;
using testing::EndsWith;
using testing::HasSubstr;

TEST(BatchProgress, ShowsTakesFramesPerSecondAndTheTimeLeft) {
  EXPECT_EQ(
      BatchProgressLine(
          {.ended = 10, .lines = 40, .frames = 5000, .cost_solved = 100, .cost_left = 300, .seconds = 2}, 90),
      "solving [#######-----------------------] 10 of 40 takes  2500 frames/s  6 s left");
}

TEST(BatchProgress, GuessesNothingInTheFirstSecondOrFromSkippedTakes) {
  EXPECT_EQ(
      BatchProgressLine(
          {.ended = 1, .lines = 2, .frames = 5000, .cost_solved = 100, .cost_left = 300, .seconds = 0.5}, 40),
      "solving [########---------] 1 of 2 takes");
  EXPECT_EQ(BatchProgressLine({.ended = 1, .lines = 2, .cost_left = 300, .seconds = 5}, 40),
            "solving [########---------] 1 of 2 takes");
}

TEST(BatchProgress, FitsAnyTerminalAndAnEmptyBatch) {
  for (std::size_t columns = 3; columns < 120; ++columns)
    EXPECT_LE(BatchProgressLine(
                  {.ended = 10, .lines = 40, .frames = 5000, .cost_solved = 1, .cost_left = 3, .seconds = 2},
                  columns)
                  .size(),
              columns);
  EXPECT_EQ(BatchProgressLine({}, 20), "solving 0 of 0 takes");
}

TEST(BatchProgress, IsShownOnATerminalBelowWhatIsPrinted) {
  const PseudoTerminal terminal(60);
  const Steps steps;
  Process process([&] {
    terminal.Become(STDERR_FILENO);
    setenv("TERM", "xterm", 1);
    const std::vector<mien::BatchLine> lines = {{.number = 1, .cost = 10}, {.number = 2, .cost = 10}};
    mien::BatchProgress progress(lines, 1, false);
    progress.Report(0, lines[0], mien::JobStage::Solving, 50, 100);
    steps.Await();
    progress.End(lines[0], {.kind = mien::LineEnd::Kind::Done, .frames = 100});
    progress.Above([] { std::fputs("done a\n", stderr); });
    steps.Await();
    return 0;
  });
  std::string shown;
  std::smatch found;
  const auto shows = [&](const std::regex& pattern) {
    return Eventually([&] {
      shown += terminal.Shown(10);
      return std::regex_search(shown, found, pattern);
    });
  };
  EXPECT_TRUE(shows(std::regex(" 0 of 2 takes")));
  steps.Allow();
  ASSERT_TRUE(shows(std::regex(" 1 of 2 takes  ([0-9]+) frames/s  ([0-9]+) s left"))) << shown;
  // Of the other take, which is as costly as the 100 frames, as much time is left.
  const double per_second = std::stod(found[1]), left_s = std::stod(found[2]);
  EXPECT_GE(per_second, std::floor(100 / left_s));
  EXPECT_LE(per_second, std::ceil(100 / std::max(left_s - 1, 1.0)));
  steps.Allow();
  ASSERT_EQ(process.Wait().exit_code, 0);
  shown += terminal.Shown();
  // The line may be drawn again before the text goes above it, or not.
  EXPECT_THAT(shown, AllOf(HasSubstr("\r\033[Ksolving ["), HasSubstr("] 0 of 2 takes"),
                           HasSubstr("\r\033[Kdone a\r\n\r\033[Ksolving ["), HasSubstr("] 1 of 2 takes"),
                           EndsWith("\r\033[K")));
}
