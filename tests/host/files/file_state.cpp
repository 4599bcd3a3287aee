#include "host/files/file_state.h"

#include "tests/host/temporary_folder.h"

#include <gtest/gtest.h>

#include <chrono>
#include <filesystem>
#include <string>

using mien::StateOf;

namespace fs = std::filesystem;

namespace {

class FileStateTest : public TemporaryFolder {};

} // namespace

TEST_F(FileStateTest, IsTheSameUntilTheFileChanges) {
  const fs::path file = Write("a", "abc");
  const auto before = StateOf(file);
  ASSERT_TRUE(before.has_value());
  EXPECT_EQ(StateOf(file), before);
  fs::last_write_time(file, fs::last_write_time(file) + std::chrono::microseconds(1));
  EXPECT_NE(StateOf(file), before) << "the time counts to less than a millisecond";
  const auto then = StateOf(file);
  const fs::file_time_type time = fs::last_write_time(file);
  Write("b", "abc");
  fs::last_write_time(folder_ / "b", time);
  fs::rename(folder_ / "b", file);
  EXPECT_NE(StateOf(file), then) << "another file with the same size and time";
  fs::resize_file(file, 2);
  fs::last_write_time(file, time);
  EXPECT_EQ(StateOf(file)->size, 2);
}

TEST_F(FileStateTest, IsNothingForWhatIsNotARegularFile) {
  EXPECT_EQ(StateOf(folder_ / "none"), std::nullopt);
  EXPECT_EQ(StateOf(folder_), std::nullopt);
  EXPECT_EQ(StateOf("/dev/null"), std::nullopt);
}
