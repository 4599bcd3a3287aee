#include "host/files/row_file.h"

#include "host/files/read_file.h"
#include "tests/host/input_error.h"
#include "tests/host/process.h"
#include "tests/host/temporary_folder.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <csignal>
#include <filesystem>
#include <string>
#include <sys/resource.h>

using mien::ReadFile;
using mien::RowFile;
using testing::EndsWith;
using testing::HasSubstr;

namespace {

class RowFiles : public TemporaryFolder {
protected:
  std::string Place(const std::string& name) const { return (folder_ / name).string(); }
};

} // namespace

TEST_F(RowFiles, EachRowIsInTheFileAtOnce) {
  RowFile file(Place("rows.csv"));
  EXPECT_EQ(ReadFile(Place("rows.csv")), "");
  EXPECT_TRUE(file.Append("a,b\n"));
  EXPECT_EQ(ReadFile(Place("rows.csv")), "a,b\n");
  EXPECT_TRUE(file.Append("1,2\n"));
  EXPECT_EQ(ReadFile(Place("rows.csv")), "a,b\n1,2\n");
  EXPECT_FALSE(file.Fault());
}

TEST_F(RowFiles, NoFileIsOverwritten) {
  Write("rows.csv", "former");
  EXPECT_THAT(InputErrorOf([&] { RowFile file(Place("rows.csv")); }),
              HasSubstr("a file with this name exists"));
  EXPECT_EQ(ReadFile(Place("rows.csv")), "former");
  EXPECT_THAT(InputErrorOf([&] { RowFile file(Place("no/rows.csv")); }),
              HasSubstr("cannot be created: No such file or directory"));
}

// A limit on the size of files stands for a full disk. The limit cuts the third row, and room for a shorter row
// that is left changes nothing.
TEST_F(RowFiles, AFileThatCannotGrowEndsWithItsLastWholeRow) {
  Process process([&] {
    const rlimit limit = {250, 250};
    setrlimit(RLIMIT_FSIZE, &limit);
    std::signal(SIGXFSZ, SIG_IGN);
    RowFile file(Place("rows.csv"));
    const std::string row = std::string(99, 'x') + '\n';
    if (!file.Append(row) || !file.Append(row) || file.Fault()) return 1;
    if (file.Append(row) || file.Append("y\n") || !file.Fault()) return 2;
    const bool says_so = file.Fault()->file == Place("rows.csv") &&
                         file.Fault()->what == "cannot be written: File too large" &&
                         file.Fault()->code == mien::Code::Unwritable;
    return says_so ? 0 : 3;
  });
  EXPECT_EQ(process.Wait().exit_code, 0);
  EXPECT_EQ(std::filesystem::file_size(Place("rows.csv")), 200u);
  EXPECT_THAT(ReadFile(Place("rows.csv")), EndsWith("x\n"));
}
