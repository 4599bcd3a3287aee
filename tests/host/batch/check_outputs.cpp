#include "host/batch/check_outputs.h"

#include "tests/host/input_error.h"
#include "tests/host/temporary_folder.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <string>
#include <vector>

using mien::BatchLine;
using mien::CheckOutputs;
using mien::LineOutput;

namespace {

class CheckOutputsTest : public TemporaryFolder {
protected:
  std::string In(const std::string& name) const { return folder_ / name; }
};

std::string ErrorOf(const std::vector<LineOutput>& outputs, const std::vector<BatchLine>& lines = {}) {
  return InputErrorOf([&] { CheckOutputs(outputs, lines, "m"); });
}

} // namespace

TEST_F(CheckOutputsTest, DifferentOnesPass) {
  EXPECT_EQ(ErrorOf({{In("a.csv"), 1, "1"}, {In("b.csv"), 2, "2"}, {In("x/a.csv"), 3, "3"}},
                    {{.number = 1, .take = In("a.c3d")}}),
            "no InputError");
}

TEST_F(CheckOutputsTest, OneFileByWhateverPathIsFoundTwice) {
  std::filesystem::create_directory(folder_ / "real");
  std::filesystem::create_directory_symlink("real", folder_ / "link");
  const std::string already = " is an output of line 1 already; give each output a place of its own";
  for (const std::string other :
       {"real/a.csv", "real/./a.csv", "link/a.csv", "link/../real/a.csv", "none/../real/a.csv"})
    EXPECT_EQ(ErrorOf({{In("real/a.csv"), 1, "1:2"}, {In(other), 2, "2:2"}}).substr(0, 7), "m:2:2: ")
        << other;
  EXPECT_EQ(ErrorOf({{"a.csv", 1, "1:2"}, {"./a.csv", 2, "2:2"}}), "m:2:2: \"./a.csv\"" + already);
  EXPECT_EQ(ErrorOf({{"a.csv", 2, "2:2"}, {"a.csv", 2, "2:5"}}),
            "m:2:5: \"a.csv\" is an output of the same line already; give each output a place of its own");
}

TEST_F(CheckOutputsTest, NoTakeOfTheBatchIsOverwritten) {
  EXPECT_EQ(ErrorOf({{"a.csv", 1, "1:2"}, {"b.csv", 2, "2:2"}},
                    {{.number = 1, .take = "x.c3d"}, {.number = 2, .take = "./a.csv"}}),
            "m:1:2: \"./a.csv\" is the take of line 2; give each output a place of its own");
}

TEST_F(CheckOutputsTest, OfManyTheFirstAreListed) {
  std::vector<LineOutput> outputs;
  for (std::size_t line = 1; line <= 100; ++line) outputs.push_back({"a.csv", line, ""});
  try {
    CheckOutputs(outputs, {}, "m");
    FAIL();
  } catch (const mien::InputError& error) { EXPECT_EQ(error.Problems().size(), 20u); }
}
