#include "host/files/read_file.h"

#include "tests/host/input_error.h"
#include "tests/host/ordinary_user.h"
#include "tests/host/standard_input.h"
#include "tests/host/temporary_folder.h"

#include <gtest/gtest.h>

#include <fcntl.h>
#include <filesystem>
#include <fstream>
#include <string>
#include <sys/stat.h>
#include <thread>
#include <unistd.h>

using mien::ReadFile;

namespace {

// Bytes of any value, line ends of all kinds among them.
std::string Bytes(std::size_t size) {
  std::string bytes;
  for (std::size_t i = 0; i < size; ++i) bytes += static_cast<char>(i * 31 % 257 % 256);
  return bytes;
}

std::string Error(const std::filesystem::path& path) {
  return InputErrorOf([&] { ReadFile(path); });
}

class ReadFileTest : public TemporaryFolder {};

} // namespace

TEST_F(ReadFileTest, GivesTheFilesBytesWhateverItsSize) {
  // About the size of one piece that is read at a time, and several of them.
  for (const std::size_t size : {0u, 1u, 65535u, 65536u, 65537u, 300000u}) {
    const std::string bytes = Bytes(size);
    EXPECT_TRUE(ReadFile(Write("any", bytes)) == bytes) << size;
  }
}

TEST_F(ReadFileTest, ReadsAPipeToItsEnd) {
  const std::filesystem::path pipe = folder_ / "pipe";
  ASSERT_EQ(mkfifo(pipe.c_str(), 0600), 0);
  const std::string bytes = Bytes(300000);
  std::thread writer([&] { std::ofstream(pipe, std::ios::binary) << bytes; });
  const std::string read = ReadFile(pipe);
  writer.join();
  EXPECT_TRUE(read == bytes) << read.size();
}

TEST_F(ReadFileTest, ReadsStandardInputWhateverItIs) {
  const std::string bytes = Bytes(300000);
  {
    const int file = open(Write("in", bytes).c_str(), O_RDONLY | O_CLOEXEC);
    const StandardInput input(file);
    close(file);
    EXPECT_TRUE(ReadFile("-") == bytes);
    EXPECT_EQ(ReadFile("-"), "") << "it is read once";
  }
  int ends[2];
  ASSERT_EQ(pipe(ends), 0);
  std::thread writer([&] {
    for (std::size_t written = 0; written < bytes.size();) {
      const ssize_t size = write(ends[1], bytes.data() + written, bytes.size() - written);
      if (size <= 0) break;
      written += static_cast<std::size_t>(size);
    }
    close(ends[1]);
  });
  std::string read;
  {
    const StandardInput input(ends[0]);
    read = ReadFile("-");
  }
  writer.join();
  close(ends[0]);
  EXPECT_TRUE(read == bytes) << read.size();
}

TEST_F(ReadFileTest, AStandardInputThatCannotBeReadIsNamed) {
  const auto error_of = [](const char* path, int flags) {
    const int file = open(path, flags | O_CLOEXEC);
    const StandardInput input(file);
    close(file);
    return Error("-");
  };
  EXPECT_EQ(error_of("/dev/zero", O_RDONLY),
            "standard input: this is a device; name a file that can be read");
  EXPECT_EQ(error_of(folder_.c_str(), O_RDONLY), "standard input: this is a folder; name a file in it");
  EXPECT_EQ(error_of(Write("a", "").c_str(), O_WRONLY),
            "standard input: cannot be read beyond byte 0: Bad file descriptor; check what it comes from, or "
            "copy it again");
}

TEST_F(ReadFileTest, ReportsHowFarItIs) {
  const std::string bytes = Bytes(300000);
  std::size_t last = 0;
  ReadFile(Write("any", bytes), [&](std::size_t done, std::size_t total) {
    EXPECT_GT(done, last);
    EXPECT_EQ(total, bytes.size());
    last = done;
  });
  EXPECT_EQ(last, bytes.size());
}

TEST_F(ReadFileTest, MissingFileIsNamed) {
  const std::filesystem::path path = folder_ / "none.csv";
  EXPECT_EQ(Error(path), path.string() + ": there is no such file; check the path");
  const std::filesystem::path below_a_file = Write("a.csv", "a") / "b.csv";
  EXPECT_EQ(Error(below_a_file), below_a_file.string() + ": there is no such file; check the path");
}

TEST_F(ReadFileTest, FolderIsNotAFile) {
  EXPECT_EQ(Error(folder_), folder_.string() + ": this is a folder; name a file in it");
}

TEST_F(ReadFileTest, DeviceIsNotReadForEver) {
  EXPECT_EQ(Error("/dev/zero"), "/dev/zero: this is a device; name a file that can be read");
}

TEST_F(ReadFileTest, FileWithoutPermissionIsNamed) {
  const std::filesystem::path path = Write("secret.csv", "a");
  std::filesystem::permissions(path, std::filesystem::perms::none);
  const OrdinaryUser user;
  ASSERT_TRUE(user.IsOrdinary());
  EXPECT_EQ(Error(path),
            path.string() + ": cannot be opened: Permission denied; check the file's permissions");
}
