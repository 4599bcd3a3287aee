#include "host/cli/bash_completion.h"

#include "host/cli/command_line.h"
#include "host/files/read_file.h"
#include "tests/host/temporary_folder.h"

#include <fmt/format.h>
#include <fmt/ranges.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <sstream>
#include <string>
#include <vector>

using testing::AllOf;
using testing::Contains;
using testing::IsEmpty;
using testing::Not;
using testing::UnorderedElementsAre;

namespace {

using Words = std::vector<std::string>;

class Completion : public TemporaryFolder {
protected:
  Completion() {
    std::filesystem::create_directory(folder_ / "work");
    std::filesystem::create_directory(folder_ / "work" / "takes");
    for (const char* name : {"a.csv", "ada.json", "head.glb", "my take.c3d"})
      Write(std::string("work/") + name, "");
    Write("mien.bash", mien::BashCompletion(mien::DescribeCommandLine()));
  }

  /// What bash offers for the last of these words, of which it has split those with an equals sign.
  Words Offered(const Words& words) const {
    std::vector<std::string> quoted;
    for (const std::string& word : words) quoted.push_back('\'' + word + '\'');
    Write("ask.bash",
          fmt::format("set -u\ncd '{0}/work'\nsource ../mien.bash\nCOMP_WORDS=(mien {1})\nCOMP_CWORD={2}\n"
                      "complete -p mien >/dev/null\n_mien\n"
                      "[[ ${{#COMPREPLY[@]}} == 0 ]] || printf '%s\\n' \"${{COMPREPLY[@]}}\"\n",
                      folder_.string(), fmt::join(quoted, " "), words.size()));
    const std::string line = fmt::format("bash '{0}/ask.bash' >'{0}/answer' 2>&1", folder_.string());
    EXPECT_EQ(std::system(line.c_str()), 0);
    Words offered;
    std::istringstream answer(mien::ReadFile(folder_ / "answer"));
    for (std::string word; std::getline(answer, word);) offered.push_back(word);
    return offered;
  }
};

} // namespace

TEST_F(Completion, OffersCommands) {
  EXPECT_THAT(Offered({""}),
              UnorderedElementsAre("info", "convert", "solve", "retarget", "live", "batch", "view", "compare",
                                   "performer", "calibrate", "character", "help"));
  EXPECT_THAT(Offered({"c"}), UnorderedElementsAre("convert", "compare", "calibrate", "character"));
  EXPECT_THAT(Offered({"character", ""}), UnorderedElementsAre("from-glb", "save"));
  EXPECT_THAT(Offered({"help", "s"}), UnorderedElementsAre("solve"));
}

TEST_F(Completion, OffersTheOptionsOfTheCommand) {
  EXPECT_THAT(Offered({"-"}), UnorderedElementsAre("-h", "--help", "--help-all", "--version"));
  EXPECT_THAT(Offered({"info", "--a"}), UnorderedElementsAre("--all"));
  EXPECT_THAT(Offered({"solve", "a.csv", "--p"}), UnorderedElementsAre("--performer"));
  EXPECT_THAT(Offered({"solve", "-p", "landmarks68", "a.csv", "--fi"}),
              UnorderedElementsAre("--fill", "--fill-head"));
  EXPECT_THAT(Offered({"character", "save", "--n"}), UnorderedElementsAre("--name"));
  EXPECT_THAT(Offered({"convert", "--"}),
              AllOf(Contains("--output"), Contains("--version"), Not(Contains("--fill"))));
}

TEST_F(Completion, OffersFilesAndBuiltIns) {
  EXPECT_THAT(Offered({"info", ""}), Contains("my take.c3d"));
  EXPECT_THAT(Offered({"info", "a"}), UnorderedElementsAre("a.csv", "ada.json"));
  EXPECT_THAT(Offered({"info", "a.csv", "my"}), UnorderedElementsAre("my take.c3d"));
  EXPECT_THAT(Offered({"solve", "a.csv", "-p", ""}),
              UnorderedElementsAre("landmarks68", "landmarks478", "ada.json", "takes"));
  EXPECT_THAT(Offered({"solve", "a.csv", "--onto", ""}), UnorderedElementsAre("head.glb", "takes"));
  EXPECT_THAT(Offered({"character", "from-glb", ""}), UnorderedElementsAre("head.glb", "takes"));
  EXPECT_THAT(Offered({"character", "save", "a"}), UnorderedElementsAre("arkit52", "ada.json"));
}

TEST_F(Completion, OffersTheValuesOfAnOptionBehindABlankOrAnEqualsSign) {
  EXPECT_THAT(Offered({"solve", "--csv-style", ""}), UnorderedElementsAre("plain", "livelink"));
  EXPECT_THAT(Offered({"solve", "--csv-style", "="}), UnorderedElementsAre("plain", "livelink"));
  EXPECT_THAT(Offered({"solve", "--csv-style", "=", "l"}), UnorderedElementsAre("livelink"));
  EXPECT_THAT(Offered({"solve", "--csv-style", "=", "plain", "--te"}), UnorderedElementsAre("--templates"));
  EXPECT_THAT(Offered({"solve", "--neutral", ""}), IsEmpty()) << "nobody knows";
}

// A value may be spelled like a command or an option.
TEST_F(Completion, TakesAValueForNothingElse) {
  EXPECT_THAT(Offered({"performer", "--name", "save", "--neu"}), UnorderedElementsAre("--neutral"));
  EXPECT_THAT(Offered({"solve", "--head", "--onto", "--fad"}), UnorderedElementsAre("--fade"));
}
