#include "host/files/standard_streams.h"

#include "tests/host/process.h"
#include "tests/host/temporary_folder.h"

#include <gtest/gtest.h>

#include <fcntl.h>
#include <filesystem>
#include <string>
#include <unistd.h>

using mien::IsStandardInput;
using mien::IsStandardOutput;

class StandardStreams : public TemporaryFolder {};

TEST_F(StandardStreams, HaveTheNamesOfTheSystem) {
  const std::filesystem::path link = folder_ / "link";
  std::filesystem::create_symlink("/dev/stdout", link);
  for (const std::string& name :
       {std::string("-"), std::string("/dev/stdout"), std::string("/dev/fd/1"),
        std::string("/proc/self/fd/1"), "/proc/" + std::to_string(getpid()) + "/fd/1",
        std::string("/dev/../dev/stdout"), link.string()}) {
    EXPECT_TRUE(IsStandardOutput(name)) << name;
    EXPECT_EQ(IsStandardInput(name), name == "-") << name;
  }
  EXPECT_TRUE(IsStandardInput("/dev/stdin"));
  EXPECT_TRUE(IsStandardInput("/dev/fd/0"));
  EXPECT_EQ(mien::InputName("-"), "standard input");
  EXPECT_EQ(mien::InputName("a.csv"), "a.csv");
}

TEST_F(StandardStreams, HaveNoOtherNames) {
  std::filesystem::create_symlink("loop", folder_ / "loop");
  for (const std::string& name :
       {std::string(), std::string("./-"), std::string("1"), std::string("/dev/null"),
        std::string("/dev/fd/2"), std::string("/dev/fd/11"), std::string("/dev/fd"), std::string("/none/1"),
        (folder_ / "loop").string(), Write("1", "").string()})
    EXPECT_FALSE(IsStandardOutput(name)) << name;
}

// A file that gets the number of a closed stream would be filled with what goes there.
TEST_F(StandardStreams, AreOccupiedWhereTheyAreClosed) {
  Process process([] {
    close(STDIN_FILENO), close(STDOUT_FILENO), close(STDERR_FILENO);
    mien::OccupyClosedStandardStreams();
    char byte = 0;
    const bool refuse = read(STDIN_FILENO, &byte, 1) < 0 && write(STDOUT_FILENO, &byte, 1) < 0 &&
                        write(STDERR_FILENO, &byte, 1) < 0;
    return refuse && open("/dev/null", O_RDONLY) > STDERR_FILENO ? 0 : 1;
  });
  EXPECT_EQ(process.Wait().exit_code, 0);
}
