#include "host/files/whole_file.h"

#include "host/files/read_file.h"
#include "tests/host/input_error.h"
#include "tests/host/ordinary_user.h"
#include "tests/host/process.h"
#include "tests/host/temporary_folder.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <csignal>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <sstream>
#include <stdexcept>
#include <string>
#include <sys/resource.h>
#include <sys/stat.h>
#include <thread>
#include <unistd.h>
#include <vector>

using mien::CheckWritable;
using mien::ReadFile;
using mien::WriteWhole;
using testing::AllOf;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::SizeIs;
using testing::StartsWith;
using testing::UnorderedElementsAre;

namespace fs = std::filesystem;

namespace {

const auto kNew = [](std::ostream& out) { out << "new"; };

class WholeFile : public TemporaryFolder {
protected:
  /// Names of all that is in the folder.
  std::vector<std::string> Files() const {
    std::vector<std::string> names;
    for (const auto& entry : fs::directory_iterator(folder_)) names.push_back(entry.path().filename());
    return names;
  }
  std::string WriteError(const fs::path& path) const {
    return InputErrorOf([&] { WriteWhole(path, kNew); });
  }
  std::string CheckError(const fs::path& path) const {
    return InputErrorOf([&] { CheckWritable(path); });
  }
};

/// What WriteWhole writes to standard output, which is std::cout.
template <class Call>
std::string StandardOutputOf(const Call& call) {
  std::ostringstream out;
  std::streambuf* const before = std::cout.rdbuf(out.rdbuf());
  call();
  std::cout.rdbuf(before);
  return out.str();
}

} // namespace

TEST_F(WholeFile, HoldsExactlyWhatWasWritten) {
  const std::string bytes("a\r\n\0b\n", 6);
  WriteWhole(folder_ / "w.csv", [&](std::ostream& out) { out << bytes; });
  EXPECT_EQ(ReadFile(folder_ / "w.csv"), bytes);
  WriteWhole(folder_ / "empty.csv", [](std::ostream&) {});
  EXPECT_EQ(ReadFile(folder_ / "empty.csv"), "");
  EXPECT_THAT(Files(), UnorderedElementsAre("w.csv", "empty.csv"));
}

TEST_F(WholeFile, AppearsOnlyWhenWhole) {
  const fs::path path = folder_ / "w.csv";
  WriteWhole(path, [&](std::ostream& out) {
    out << std::string(1 << 20, 'x') << std::flush;
    EXPECT_FALSE(fs::exists(path));
    EXPECT_THAT(Files(), ElementsAre(AllOf(StartsWith("w.csv."), testing::EndsWith(".part"))));
  });
  EXPECT_EQ(fs::file_size(path), 1u << 20);
}

TEST_F(WholeFile, ReplacesTheFormerFileAtOnce) {
  const fs::path path = Write("w.csv", "former");
  WriteWhole(path, [&](std::ostream& out) {
    out << "new" << std::flush;
    EXPECT_EQ(ReadFile(path), "former");
  });
  EXPECT_EQ(ReadFile(path), "new");
  EXPECT_THAT(Files(), ElementsAre("w.csv"));
}

TEST_F(WholeFile, AWriterThatThrowsLeavesTheFormerFileAndNothingElse) {
  const fs::path former = Write("w.csv", "former");
  for (const fs::path& path : {former, folder_ / "none.csv"})
    EXPECT_THROW(WriteWhole(path,
                            [](std::ostream& out) {
                              out << "half" << std::flush;
                              throw std::runtime_error("no more");
                            }),
                 std::runtime_error);
  EXPECT_EQ(ReadFile(former), "former");
  EXPECT_THAT(Files(), ElementsAre("w.csv"));
}

TEST_F(WholeFile, AWriterWhoseStreamFailsIsAnErrorAndLeavesTheFormerFile) {
  const fs::path path = Write("w.csv", "former");
  EXPECT_THAT(
      InputErrorOf([&] { WriteWhole(path, [](std::ostream& out) { out.setstate(std::ios::badbit); }); }),
      StartsWith(path.string() + ": cannot be written: "));
  EXPECT_EQ(ReadFile(path), "former");
  EXPECT_THAT(Files(), ElementsAre("w.csv"));
}

// A limit on the size of files stands for a full disk: for root as for anybody else.
TEST_F(WholeFile, AFullDiskLeavesTheFormerFileAndSaysSo) {
  const fs::path path = Write("w.csv", "former"), message = folder_ / "message";
  Process process([&] {
    const rlimit limit = {10000, 10000};
    setrlimit(RLIMIT_FSIZE, &limit);
    std::signal(SIGXFSZ, SIG_IGN);
    const std::string error = InputErrorOf([&] {
      WriteWhole(path, [](std::ostream& out) {
        for (int i = 0; i < 1000; ++i) out << std::string(100, 'x');
      });
    });
    std::ofstream(message) << error;
    return 0;
  });
  ASSERT_EQ(process.Wait().exit_code, 0);
  EXPECT_THAT(ReadFile(message),
              AllOf(StartsWith(path.string() + ": cannot be written: "), HasSubstr("choose another place")));
  EXPECT_EQ(ReadFile(path), "former");
  EXPECT_THAT(Files(), UnorderedElementsAre("w.csv", "message"));
}

// --- Places.

TEST_F(WholeFile, AFolderIsRefused) {
  const std::string message = folder_.string() + ": this is a folder; name a file in it with -o";
  EXPECT_EQ(WriteError(folder_), message);
  EXPECT_EQ(CheckError(folder_), message);
  fs::create_directory_symlink(folder_, folder_ / "link");
  EXPECT_THAT(WriteError(folder_ / "link"), HasSubstr("this is a folder"));
  EXPECT_THAT(CheckError(folder_ / "link"), HasSubstr("this is a folder"));
}

TEST_F(WholeFile, PlacesWhereNothingCanBeWrittenAreRefusedBothBeforeAndAfter) {
  const fs::path file = Write("file", "");
  // /proc takes no file from anybody, root or not.
  for (const fs::path& path :
       {folder_ / "none" / "w.csv", file / "w.csv", fs::path("/proc/w.csv"),
        folder_ / (std::string(300, 'a') + ".csv"), folder_ / std::string(5000, 'a')}) {
    EXPECT_THAT(WriteError(path),
                AllOf(StartsWith(path.string() + ": cannot be written: "), HasSubstr("; choose")))
        << path;
    EXPECT_EQ(CheckError(path), WriteError(path)) << path;
  }
  EXPECT_THAT(Files(), ElementsAre("file"));
}

TEST_F(WholeFile, AMissingFolderIsNamed) {
  EXPECT_EQ(WriteError(folder_ / "none" / "w.csv"),
            (folder_ / "none" / "w.csv").string() + ": cannot be written: there is no folder \"" +
                (folder_ / "none").string() + "\"; choose another place, or make the folder");
}

TEST_F(WholeFile, AFolderWithoutPermissionIsRefused) {
  const fs::path closed = folder_ / "closed";
  fs::create_directory(closed);
  fs::permissions(closed, fs::perms::owner_read | fs::perms::owner_exec);
  const OrdinaryUser user;
  ASSERT_TRUE(user.IsOrdinary());
  EXPECT_EQ(WriteError(closed / "w.csv"),
            (closed / "w.csv").string() +
                ": cannot be written: Permission denied; choose another place, or make room there");
  EXPECT_EQ(CheckError(closed / "w.csv"), WriteError(closed / "w.csv"));
}

TEST_F(WholeFile, CheckingLeavesNoTrace) {
  const fs::path path = Write("w.csv", "former");
  const auto time = fs::last_write_time(path);
  EXPECT_EQ(CheckError(path), "no InputError");
  EXPECT_EQ(CheckError(folder_ / "new.csv"), "no InputError");
  EXPECT_EQ(CheckError("-"), "no InputError");
  EXPECT_EQ(CheckError("/dev/null"), "no InputError");
  EXPECT_EQ(ReadFile(path), "former");
  EXPECT_EQ(fs::last_write_time(path), time);
  EXPECT_THAT(Files(), ElementsAre("w.csv"));
}

TEST_F(WholeFile, APathWithoutFolderIsInTheCurrentOne) {
  Process process([&] {
    if (chdir(folder_.c_str()) != 0) return 1;
    CheckWritable("w.csv");
    WriteWhole("w.csv", kNew);
    return 0;
  });
  ASSERT_EQ(process.Wait().exit_code, 0);
  EXPECT_EQ(ReadFile(folder_ / "w.csv"), "new");
}

// --- Links, pipes, devices.

TEST_F(WholeFile, ASymbolicLinkStaysOneAndItsTargetIsReplaced) {
  fs::create_directory(folder_ / "elsewhere");
  const fs::path target = folder_ / "elsewhere" / "real.csv", link = folder_ / "link.csv";
  std::ofstream(target) << "former";
  fs::create_symlink("elsewhere/real.csv", link);
  CheckWritable(link);
  WriteWhole(link, [&](std::ostream& out) {
    out << "new";
    EXPECT_THAT(Files(), UnorderedElementsAre("elsewhere", "link.csv")) << "it is filled beside its target";
  });
  EXPECT_TRUE(fs::is_symlink(link));
  EXPECT_FALSE(fs::is_symlink(target));
  EXPECT_EQ(ReadFile(target), "new");
}

TEST_F(WholeFile, ADanglingLinkGetsItsTarget) {
  fs::create_symlink("later.csv", folder_ / "link.csv");
  WriteWhole(folder_ / "link.csv", kNew);
  EXPECT_TRUE(fs::is_symlink(folder_ / "link.csv"));
  EXPECT_EQ(ReadFile(folder_ / "later.csv"), "new");
}

TEST_F(WholeFile, LinksInACircleAreRefused) {
  fs::create_symlink("b.csv", folder_ / "a.csv");
  fs::create_symlink("a.csv", folder_ / "b.csv");
  EXPECT_THAT(WriteError(folder_ / "a.csv"), StartsWith((folder_ / "a.csv").string() + ": "));
  EXPECT_THAT(CheckError(folder_ / "a.csv"), StartsWith((folder_ / "a.csv").string() + ": "));
  EXPECT_THAT(Files(), SizeIs(2));
}

TEST_F(WholeFile, AFormerFileKeepsItsPermissions) {
  const fs::path path = Write("w.csv", "former");
  const fs::perms mine_alone = fs::perms::owner_read | fs::perms::owner_write;
  fs::permissions(path, mine_alone);
  WriteWhole(path, kNew);
  EXPECT_TRUE(fs::status(path).permissions() == mine_alone) << "others could read what was mine alone";
}

TEST_F(WholeFile, APipeIsWrittenToAndStaysOne) {
  const fs::path pipe = folder_ / "pipe";
  ASSERT_EQ(mkfifo(pipe.c_str(), 0600), 0);
  CheckWritable(pipe);
  std::string read;
  std::thread reader([&] { read = ReadFile(pipe); });
  WriteWhole(pipe, kNew);
  reader.join();
  EXPECT_EQ(read, "new");
  EXPECT_TRUE(fs::is_fifo(pipe));
  EXPECT_THAT(Files(), ElementsAre("pipe"));
}

TEST_F(WholeFile, DevicesAreWrittenTo) {
  EXPECT_EQ(WriteError("/dev/null"), "no InputError");
  EXPECT_TRUE(fs::is_character_file("/dev/null"));
  EXPECT_THAT(WriteError("/dev/full"), StartsWith("/dev/full: cannot be written"));
}

TEST_F(WholeFile, AMinusIsStandardOutput) {
  EXPECT_EQ(StandardOutputOf([] { WriteWhole("-", kNew); }), "new");
  EXPECT_THAT(StandardOutputOf([] {
                EXPECT_EQ(InputErrorOf([] {
                            WriteWhole("-", [](std::ostream& out) { out.setstate(std::ios::badbit); });
                          }),
                          "standard output: cannot be written: writing broke off; check where it goes");
                std::cout.clear();
              }),
              IsEmpty());
}
