#include "host/files/part_file.h"

#include "host/files/read_file.h"
#include "host/files/whole_file.h"
#include "tests/host/input_error.h"
#include "tests/host/process.h"
#include "tests/host/temporary_folder.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <fcntl.h>
#include <filesystem>
#include <memory>
#include <string>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>
#include <vector>

using mien::PartFile;
using testing::ElementsAre;
using testing::UnorderedElementsAre;

namespace fs = std::filesystem;

namespace {

class PartFiles : public TemporaryFolder {
protected:
  std::vector<std::string> Files() const {
    std::vector<std::string> names;
    for (const auto& entry : fs::directory_iterator(folder_)) names.push_back(entry.path().filename());
    return names;
  }
  /// The name of this process' part file for w.csv, or of one with a further number.
  static std::string Name(int further = 0) { return "w.csv." + std::to_string(getpid() + further) + ".part"; }

  const fs::path target_ = folder_ / "w.csv";
};

} // namespace

TEST_F(PartFiles, AreLockedAsLongAsTheyAreFilled) {
  auto part = std::make_unique<PartFile>(target_, target_);
  ASSERT_THAT(Files(), ElementsAre(Name()));
  const int file = open((folder_ / Name()).c_str(), O_RDWR | O_CLOEXEC);
  EXPECT_NE(flock(file, LOCK_EX | LOCK_NB), 0);
  part->Stream() << "whole";
  part->Rename();
  EXPECT_THAT(Files(), ElementsAre("w.csv"));
  part.reset();
  EXPECT_EQ(flock(file, LOCK_EX | LOCK_NB), 0);
  close(file);
  EXPECT_EQ(mien::ReadFile(target_), "whole");
}

TEST_F(PartFiles, OfADeadWriterAreRemovedByTheNext) {
  Process writer([&] {
    const PartFile part(target_, target_);
    for (;;) pause();
    return 0;
  });
  const fs::path left = folder_ / ("w.csv." + std::to_string(writer.Id()) + ".part");
  ASSERT_TRUE(Eventually([&] { return fs::exists(left); }));
  mien::WriteWhole(target_, [](std::ostream& out) { out << "new"; });
  EXPECT_TRUE(fs::exists(left)) << "its writer lives";
  writer.Send(SIGKILL);
  ASSERT_EQ(writer.Wait().signal, SIGKILL);
  EXPECT_TRUE(fs::exists(left)) << "which nobody could prevent";
  mien::WriteWhole(target_, [](std::ostream& out) { out << "new"; });
  EXPECT_THAT(Files(), ElementsAre("w.csv"));
}

// Before the work as well, so that a disk which they have filled has room again.
TEST_F(PartFiles, OfADeadWriterAreRemovedByCheckingThePlace) {
  Write("w.csv.1.part", "half");
  mien::CheckWritable(target_);
  EXPECT_THAT(Files(), ElementsAre());
}

TEST_F(PartFiles, NothingElseIsRemoved) {
  for (const char* name : {"w.csv.part", "w.csv..part", "w.csv.1x.part", "w.csv.-1.part", "w.csv.1.parts",
                           "w.csv1.part", "v.csv.1.part", "w.csv.1", "aw.csv.1.part"})
    Write(name, "");
  fs::create_directory(folder_ / "w.csv.2.part");
  ASSERT_EQ(mkfifo((folder_ / "w.csv.3.part").c_str(), 0600), 0);
  fs::create_symlink("v.csv.1.part", folder_ / "w.csv.4.part");
  const std::vector<std::string> before = Files();
  mien::CheckWritable(target_);
  EXPECT_THAT(Files(), testing::UnorderedElementsAreArray(before));
}

TEST_F(PartFiles, ForOneTargetAtOnceHaveNamesOfTheirOwn) {
  {
    PartFile first(target_, target_), second(target_, target_);
    EXPECT_THAT(Files(), UnorderedElementsAre(Name(), Name(1)));
    first.Stream() << "first", second.Stream() << "second";
    second.Rename();
    first.Rename();
  }
  EXPECT_EQ(mien::ReadFile(target_), "first") << "the last to be renamed";
  EXPECT_THAT(Files(), ElementsAre("w.csv"));
}

TEST_F(PartFiles, AreNotWrittenThroughALink) {
  const fs::path precious = Write("precious", "former");
  fs::create_symlink("precious", folder_ / Name());
  mien::WriteWhole(target_, [](std::ostream& out) { out << "new"; });
  EXPECT_EQ(mien::ReadFile(precious), "former");
  EXPECT_EQ(mien::ReadFile(target_), "new");
}

// A large folder is not read anew for each file, but what was found in it is still removed.
TEST_F(PartFiles, OfADeadWriterAreRemovedFromALargeFolder) {
  for (int i = 0; i < 1500; ++i) Write(std::to_string(i), "");
  for (const char* name : {"w.csv.1.part", "v.csv.1.part", "v.csv.2.part"}) Write(name, "half");
  mien::CheckWritable(target_);
  EXPECT_FALSE(fs::exists(folder_ / "w.csv.1.part"));
  EXPECT_TRUE(fs::exists(folder_ / "v.csv.1.part")) << "another target's";
  mien::CheckWritable(folder_ / "v.csv");
  EXPECT_FALSE(fs::exists(folder_ / "v.csv.1.part"));
  EXPECT_FALSE(fs::exists(folder_ / "v.csv.2.part"));
}

TEST_F(PartFiles, ThatSomebodyElseHasReplacedAreNotRenamed) {
  auto part = std::make_unique<PartFile>(target_, target_);
  part->Stream() << "ours";
  fs::remove(folder_ / Name());
  Write(Name(), "theirs, half");
  EXPECT_EQ(InputErrorOf([&] { part->Rename(); }).substr(0, target_.string().size() + 19),
            target_.string() + ": cannot be written");
  EXPECT_FALSE(fs::exists(target_));
  part.reset();
  EXPECT_THAT(Files(), ElementsAre(Name())) << "nor removed";
}
