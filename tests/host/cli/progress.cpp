#include "host/cli/progress.h"

#include "host/files/read_file.h"
#include "tests/host/process.h"
#include "tests/host/pseudo_terminal.h"
#include "tests/host/temporary_folder.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <chrono>
#include <cstdlib>
#include <fcntl.h>
#include <filesystem>
#include <functional>
#include <string>
#include <thread>
#include <unistd.h>

using mien::JobStage;
using mien::ProgressLine;
using testing::IsEmpty;

namespace {

class ProgressTest : public TemporaryFolder {};

/// Takes longer than progress waits before it shows.
void TakeLong() { std::this_thread::sleep_for(std::chrono::milliseconds(800)); }

/// Work that has no time left to show, so that its line stays the same.
int Work(const char* terminal = "xterm", bool quiet = false, const std::function<void()>& go_on = TakeLong) {
  setenv("TERM", terminal, 1);
  mien::Progress progress("smile", quiet);
  progress(JobStage::Reading, 90, 100);
  progress(JobStage::Solving, 100, 100);
  go_on();
  return 0;
}

/// What a terminal is sent.
std::string Shown(const std::function<int()>& work) {
  const PseudoTerminal terminal;
  Process process([&] {
    terminal.Become(STDERR_FILENO);
    return work();
  });
  EXPECT_EQ(process.Wait().exit_code, 0);
  return terminal.Shown();
}

} // namespace

TEST_F(ProgressTest, IsSilentWhereNobodyWatches) {
  const std::filesystem::path messages = folder_ / "messages";
  Process process([&] {
    dup2(open(messages.c_str(), O_WRONLY | O_CREAT, 0600), STDERR_FILENO);
    return Work();
  });
  ASSERT_EQ(process.Wait().exit_code, 0);
  EXPECT_THAT(mien::ReadFile(messages), IsEmpty());
}

TEST_F(ProgressTest, ShowsOneLineOnATerminalAndWipesIt) {
  const PseudoTerminal terminal;
  const Steps steps;
  Process process([&] {
    terminal.Become(STDERR_FILENO);
    return Work("xterm", false, [&] { steps.Await(); });
  });
  const std::string line = "\r\033[Ksolving smile [##############################] 100 %";
  std::string shown;
  EXPECT_TRUE(Eventually([&] { return (shown += terminal.Shown(10)).size() >= line.size(); }));
  TakeLong(); // nothing changes meanwhile
  steps.Allow();
  EXPECT_EQ(process.Wait().exit_code, 0);
  EXPECT_EQ(shown + terminal.Shown(), line + "\r\033[K");
}

TEST_F(ProgressTest, IsSilentInTheBackground) {
  EXPECT_THAT(Shown([] {
                Process background([] {
                  setpgid(0, 0);
                  return Work();
                });
                return background.Wait().exit_code;
              }),
              IsEmpty());
}

TEST_F(ProgressTest, IsNotSeenOfShortWork) {
  // On a busy machine, the process may wait so long for a processor that its work is not short: then again.
  EXPECT_TRUE(Eventually([] {
    const PseudoTerminal terminal;
    Process process([&] {
      terminal.Become(STDERR_FILENO);
      setenv("TERM", "xterm", 1);
      const auto start = std::chrono::steady_clock::now();
      mien::Progress("smile")(JobStage::Solving, 42, 100);
      return std::chrono::steady_clock::now() - start < std::chrono::milliseconds(500) ? 0 : 1;
    });
    if (process.Wait().exit_code != 0) return false;
    EXPECT_THAT(terminal.Shown(), IsEmpty());
    return true;
  }));
}

TEST_F(ProgressTest, IsSilentWhereQuietIsAskedForOrTheTerminalIsDumb) {
  EXPECT_THAT(Shown([] { return Work("xterm", true); }), IsEmpty());
  EXPECT_THAT(Shown([] { return Work("dumb"); }), IsEmpty());
}

TEST(ProgressLine, ShowsTheTimeLeftFromTheSecondSecondOn) {
  EXPECT_EQ(ProgressLine(JobStage::Reading, "smile", 25, 100, 0.9, 80),
            "reading smile [#######-----------------------]  25 %");
  EXPECT_EQ(ProgressLine(JobStage::Writing, "smile", 25, 100, 1, 80),
            "writing smile [#######-----------------------]  25 %  3 s left");
  EXPECT_EQ(ProgressLine(JobStage::Solving, "smile", 1, 3, 31, 80),
            "solving smile [##########--------------------]  33 %  1 min 2 s left");
  EXPECT_EQ(ProgressLine(JobStage::Solving, "smile", 1, 2, 4000, 80),
            "solving smile [###############---------------]  50 %  1 h 6 min left");
  EXPECT_EQ(ProgressLine(JobStage::Solving, "smile", 0, 100, 5, 80),
            "solving smile [------------------------------]   0 %");
  EXPECT_EQ(ProgressLine(JobStage::Writing, "smile", 102, 100, 5, 80),
            "writing smile [##############################] 100 %");
}

TEST(ProgressLine, ShowsBytesWhereNobodyKnowsHowManyThereAre) {
  EXPECT_EQ(ProgressLine(JobStage::Reading, "standard input", 12'345'678, 0, 5, 80),
            "reading standard input, 12 MB");
  EXPECT_EQ(ProgressLine(JobStage::Writing, "smile", 0, 0, 0.9, 80), "writing smile");
  EXPECT_EQ(ProgressLine(JobStage::Preparing, "smile", 0, 0, 65.9, 80), "preparing smile, 1 min 5 s");
}

TEST(ProgressLine, FitsTheTerminal) {
  const std::string name(100, 'n');
  for (std::size_t columns = 3; columns < 200; ++columns)
    for (const std::size_t total : {0u, 100u})
      EXPECT_LE(ProgressLine(JobStage::Solving, name, 42, total, 5, columns).size(), columns);
  EXPECT_EQ(ProgressLine(JobStage::Solving, "smile", 42, 100, 5, 40),
            "solving smile [###-----]  42 %  7 s left");
  EXPECT_EQ(ProgressLine(JobStage::Solving, "smile", 42, 100, 5, 25), "solving..  42 %  7 s left");
  EXPECT_EQ(ProgressLine(JobStage::Solving, "smile", 42, 100, 5, 19), "solving smile  42 %");
}

TEST(ProgressLine, IsPrintable) {
  EXPECT_EQ(ProgressLine(JobStage::Solving, "\x1B[2J\u202E", 0, 0, 0, 80), "solving ?[2J?");
}
