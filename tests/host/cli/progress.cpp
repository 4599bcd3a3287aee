#include "host/cli/progress.h"

#include "host/files/read_file.h"
#include "tests/host/process.h"
#include "tests/host/temporary_folder.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <chrono>
#include <cstdlib>
#include <fcntl.h>
#include <filesystem>
#include <string>
#include <thread>
#include <unistd.h>

using testing::HasSubstr;
using testing::IsEmpty;

namespace {

class ProgressTest : public TemporaryFolder {};

/// Work that takes longer than progress waits before it shows, with its messages going to `stderr_fd`.
int Work(int stderr_fd) {
  dup2(stderr_fd, STDERR_FILENO);
  {
    mien::Progress progress("solving smile");
    progress(0, 100);
    std::this_thread::sleep_for(std::chrono::milliseconds(110));
    progress(42, 100);
    progress(43, 100); // too soon to be shown
  }
  return 0;
}

} // namespace

TEST_F(ProgressTest, IsSilentWhereNobodyWatches) {
  const std::filesystem::path messages = folder_ / "messages";
  Process process([&] { return Work(open(messages.c_str(), O_WRONLY | O_CREAT, 0600)); });
  ASSERT_EQ(process.Wait().exit_code, 0);
  EXPECT_THAT(mien::ReadFile(messages), IsEmpty());
}

TEST_F(ProgressTest, ShowsOneLineOnATerminalAndWipesIt) {
  const int terminal = posix_openpt(O_RDWR | O_NOCTTY);
  ASSERT_TRUE(terminal >= 0 && grantpt(terminal) == 0 && unlockpt(terminal) == 0)
      << "needs a pseudo-terminal";
  Process process([&] { return Work(open(ptsname(terminal), O_RDWR | O_NOCTTY)); });
  ASSERT_EQ(process.Wait().exit_code, 0);
  char shown[1000];
  const ssize_t size = read(terminal, shown, sizeof shown);
  close(terminal);
  ASSERT_GT(size, 0);
  EXPECT_EQ(std::string(shown, static_cast<std::size_t>(size)),
            "\r\033[Ksolving smile: frame 42 of 100\r\033[K");
}
