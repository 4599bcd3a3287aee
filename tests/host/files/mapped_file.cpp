#include "host/files/mapped_file.h"

#include "host/files/read_file.h"
#include "tests/host/input_error.h"
#include "tests/host/ordinary_user.h"
#include "tests/host/standard_input.h"
#include "tests/host/temporary_folder.h"

#include <gtest/gtest.h>

#include <fcntl.h>
#include <filesystem>
#include <fstream>
#include <stdexcept>
#include <string>
#include <string_view>
#include <sys/stat.h>
#include <thread>
#include <unistd.h>
#include <vector>

using mien::MappedFile;

namespace {

class MappedFileTest : public TemporaryFolder {};

std::string Bytes(std::size_t size) {
  std::string bytes;
  for (std::size_t i = 0; i < size; ++i) bytes += static_cast<char>(i * 31 % 257 % 256);
  return bytes;
}

std::string Error(const std::filesystem::path& path) {
  return InputErrorOf([&] { const MappedFile file(path); });
}

std::string ErrorOfReadFile(const std::filesystem::path& path) {
  return InputErrorOf([&] { mien::ReadFile(path); });
}

} // namespace

TEST_F(MappedFileTest, GivesTheFilesBytesWhateverItsSize) {
  for (const std::size_t size : {0u, 1u, 4095u, 4096u, 4097u, 300000u}) { // about a page, and several
    const std::string bytes = Bytes(size);
    EXPECT_TRUE(MappedFile(Write("any", bytes)).Bytes() == bytes) << size;
  }
}

// Of a mapped file they would be gone, and reading them would raise SIGBUS.
TEST_F(MappedFileTest, BytesOfACopyStayWhateverHappensToTheFile) {
  for (const std::size_t size : {300'000u, 5'000'001u}) { // a long one has pages of its own
    const std::string bytes = Bytes(size);
    const std::filesystem::path path = Write("any", bytes);
    std::size_t done = 0;
    const MappedFile copy(
        path, [&](std::size_t read, std::size_t) { done = read; }, mien::FileAccess::Copy);
    EXPECT_EQ(done, size);
    std::filesystem::resize_file(path, 0);
    EXPECT_TRUE(copy.Bytes() == bytes);
    std::string parts;
    copy.EachPart([&](std::string_view part) { parts += part; });
    EXPECT_TRUE(parts == bytes);
  }
}

TEST_F(MappedFileTest, ReadsAPipeToItsEnd) {
  const std::filesystem::path pipe = folder_ / "pipe";
  ASSERT_EQ(mkfifo(pipe.c_str(), 0600), 0);
  const std::string bytes = Bytes(300000);
  // Opened a second time, it would give the rest or wait for ever.
  std::thread writer([&] { std::ofstream(pipe, std::ios::binary) << bytes; });
  const MappedFile read(pipe);
  writer.join();
  EXPECT_TRUE(read.Bytes() == bytes) << read.Bytes().size();
}

TEST_F(MappedFileTest, ReadsStandardInputFromAPipe) {
  int ends[2];
  ASSERT_EQ(pipe(ends), 0);
  const std::string bytes = Bytes(1000); // less than a pipe holds
  ASSERT_EQ(write(ends[1], bytes.data(), bytes.size()), static_cast<ssize_t>(bytes.size()));
  close(ends[1]);
  const StandardInput input(ends[0]);
  close(ends[0]);
  EXPECT_TRUE(MappedFile("-").Bytes() == bytes);
}

TEST_F(MappedFileTest, ReadsStandardInputFromAFile) {
  const std::string bytes = Bytes(5000);
  for (const std::string name : {"-", "/dev/stdin"}) {
    const int file = open(Write("in", bytes).c_str(), O_RDONLY | O_CLOEXEC);
    ASSERT_GE(file, 0);
    const StandardInput input(file);
    close(file);
    EXPECT_TRUE(MappedFile(name).Bytes() == bytes) << name;
  }
}

TEST_F(MappedFileTest, AFileOfTheNameOfStandardInputHasAPath) {
  Write("-", "a file");
  const StandardInput input(open(Write("in", "standard input").c_str(), O_RDONLY | O_CLOEXEC));
  const std::filesystem::path before = std::filesystem::current_path();
  std::filesystem::current_path(folder_);
  EXPECT_EQ(MappedFile("./-").Bytes(), "a file");
  EXPECT_EQ(MappedFile("-").Bytes(), "standard input");
  std::filesystem::current_path(before);
}

TEST_F(MappedFileTest, ReportsHowFarItIsAndMayBeStopped) {
  const std::filesystem::path path = Write("any", Bytes(5000000));
  std::vector<std::size_t> done;
  const MappedFile file(path, [&](std::size_t bytes, std::size_t total) {
    done.push_back(bytes);
    EXPECT_EQ(total, 5000000u);
  });
  EXPECT_EQ(done, (std::vector<std::size_t>{1u << 22, 5000000u}));
  EXPECT_THROW(MappedFile(path, [](std::size_t, std::size_t) { throw std::runtime_error("stop"); }),
               std::runtime_error);
}

TEST_F(MappedFileTest, StaysWhatItWasWhenTheFileIsReplaced) {
  const std::filesystem::path path = Write("take", "before");
  const MappedFile file(path);
  std::filesystem::rename(Write("new", "after!"), path);
  EXPECT_EQ(file.Bytes(), "before");
}

TEST_F(MappedFileTest, ErrorsAreThoseOfReadFile) {
  const std::filesystem::path missing = folder_ / "none.csv";
  EXPECT_EQ(Error(missing), missing.string() + ": there is no such file; check the path");
  EXPECT_EQ(Error(folder_), folder_.string() + ": this is a folder; name a file in it");
  EXPECT_EQ(Error("/dev/zero"), "/dev/zero: this is a device; name a file that can be read");
  for (const std::filesystem::path& path : {missing, folder_, std::filesystem::path("/dev/zero"),
                                            std::filesystem::path(), Write("a.csv", "a") / "b.csv"})
    EXPECT_EQ(Error(path), ErrorOfReadFile(path));
}

TEST_F(MappedFileTest, FileWithoutPermissionIsNamed) {
  const std::filesystem::path path = Write("secret.csv", "a");
  std::filesystem::permissions(path, std::filesystem::perms::none);
  const OrdinaryUser user;
  ASSERT_TRUE(user.IsOrdinary());
  EXPECT_EQ(Error(path),
            path.string() + ": cannot be opened: Permission denied; check the file's permissions");
}
