// "-" as an input: takes, performers, characters and heads from standard input.

#include "host/files/read_file.h"
#include "tests/host/cli/run_mien.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <cstdlib>
#include <filesystem>
#include <string>
#include <vector>

using nlohmann::json;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::StartsWith;

namespace {

const std::string kSamples = MIEN_SAMPLES_FOLDER;

class StandardInputOption : public MienTest {
protected:
  StandardInputOption() {
    for (const char* name :
         {"landmarks.csv", "markers.csv", "markers.performer.json", "puppet.character.json", "head.glb"})
      std::filesystem::copy_file(kSamples + "/" + name, folder_ / name);
  }

  /// Runs a line of a shell in which "mien" is the command; answers the exit code, and what goes to standard
  /// error.
  std::pair<int, std::string> Shell(const std::string& line) const {
    const std::string script =
        "cd '" + folder_.string() + "'\nmien() { '" MIEN_COMMAND "' \"$@\"; }\n{ " + line + "; } 2>err";
    Write("script", script);
    const int status = std::system(("bash '" + (folder_ / "script").string() + "'").c_str());
    return {WEXITSTATUS(status), Saved("err")};
  }
};

} // namespace

TEST_F(StandardInputOption, IsATakeOfAnyFormatFromAFileOrAPipe) {
  ASSERT_EQ(Run({"convert", "markers.csv", "take.c3d"}).exit_code, 0);
  ASSERT_EQ(Run({"convert", "markers.csv", "take.trc"}).exit_code, 0);
  for (const std::string take : {"take.c3d", "take.trc", "markers.csv"}) {
    ASSERT_EQ(Run({"convert", take, "expected.csv"}).exit_code, 0);
    for (const std::string& line :
         {"mien convert - out.csv <" + take, "cat " + take + " | mien convert - out.csv"}) {
      const auto [exit_code, messages] = Shell(line);
      EXPECT_EQ(exit_code, 0) << messages;
      EXPECT_THAT(messages, StartsWith("take       standard input: ")) << line;
      EXPECT_TRUE(Saved("out.csv") == Saved("expected.csv")) << line;
    }
  }
}

TEST_F(StandardInputOption, IsTheTakeOfEveryCommandThatReadsOne) {
  EXPECT_EQ(Shell("mien info - <markers.csv >info.txt").first, 0);
  EXPECT_THAT(Saved("info.txt"), StartsWith("standard input: marker CSV"));
  EXPECT_EQ(Shell("mien info markers.csv - --json <landmarks.csv >info.json").first, 0);
  EXPECT_EQ(json::parse(Saved("info.json"))[1]["name"], "standard input");

  EXPECT_EQ(Shell("mien solve landmarks.csv -p landmarks68 -o file.csv").first, 0);
  EXPECT_EQ(Shell("cat landmarks.csv | mien solve - -p landmarks68 -o - >piped.csv").first, 0);
  EXPECT_TRUE(Saved("piped.csv") == Saved("file.csv"));

  EXPECT_EQ(Shell("mien performer landmarks.csv -p landmarks68 -o file.json").first, 0);
  EXPECT_EQ(Shell("mien performer - -p landmarks68 -o - <landmarks.csv >piped.json").first, 0);
  EXPECT_EQ(Saved("piped.json"), Saved("file.json"));
}

TEST_F(StandardInputOption, IsAPerformerACharacterOrAHead) {
  const std::string solve = "mien solve markers.csv -o ";
  EXPECT_EQ(Shell(solve + "a.csv -p markers.performer.json").first, 0);
  EXPECT_EQ(Shell(solve + "b.csv -p - <markers.performer.json").first, 0);
  EXPECT_TRUE(Saved("a.csv") == Saved("b.csv"));

  const std::string puppet = "mien solve markers.csv -p markers.performer.json -o ";
  EXPECT_EQ(Shell(puppet + "a.json -c puppet.character.json").first, 0);
  EXPECT_EQ(Shell(puppet + "b.json -c - --report r.json <puppet.character.json").first, 0);
  EXPECT_TRUE(Saved("a.json") == Saved("b.json"));
  EXPECT_EQ(json::parse(Saved("r.json"))["files"]["character"]["sha256"], "read from a pipe");

  EXPECT_EQ(Shell(puppet + "a.glb -c arkit52 --onto head.glb").first, 0);
  EXPECT_EQ(Shell(puppet + "b.glb -c arkit52 --onto - <head.glb").first, 0);
  EXPECT_TRUE(Saved("a.glb") == Saved("b.glb"));

  EXPECT_EQ(Shell("mien character from-glb head.glb -o a.json --name head").first, 0);
  EXPECT_EQ(Shell("mien character from-glb - -o b.json <head.glb").first, 0);
  EXPECT_TRUE(Saved("a.json") == Saved("b.json"));
  EXPECT_EQ(Shell("mien character save - -o c.json <a.json").first, 0);
  EXPECT_EQ(Saved("c.json"), Saved("a.json"));
}

TEST_F(StandardInputOption, IsNamedInErrors) {
  EXPECT_THAT(Shell("printf 'frame,time,A.x,A.y,A.z\\n1,0,1,many,3\\n' | mien convert - a.c3d").second,
              StartsWith("mien: standard input:2: "));
  EXPECT_THAT(Shell("mien info - </dev/null").second, StartsWith("mien: standard input: this is a device; "));
  EXPECT_THAT(Shell("true | mien info -").second, StartsWith("mien: standard input: the file is empty; "));
  EXPECT_THAT(Shell("mien info - <&-").second, StartsWith("mien: standard input: "));
  EXPECT_THAT(Shell("echo '{' | mien solve markers.csv -p - -o w.csv").second,
              StartsWith("mien: standard input:2:1: "));
}

TEST_F(StandardInputOption, IsReadOnce) {
  for (const std::string line :
       {"mien solve - -p - -o w.csv", "mien solve - -p landmarks68 -c - -o w.csv", "mien info - -",
        "mien solve a.csv -p - -c - -o w.csv", "mien performer - -p /dev/stdin -o p.json",
        "mien info /dev/stdin -", "mien solve - -p landmarks68 --onto - -o w.glb"}) {
    const auto [exit_code, messages] = Shell(line + " <landmarks.csv");
    EXPECT_EQ(exit_code, 2) << line;
    EXPECT_THAT(messages, HasSubstr(": standard input can be read once, and is the ")) << line;
  }
}

TEST_F(StandardInputOption, ThatIsTheOutputAsWellIsNotOverwritten) {
  const std::string before = Saved("markers.csv");
  const auto [exit_code, messages] = Shell("mien convert - markers.csv <markers.csv");
  EXPECT_EQ(exit_code, 2);
  EXPECT_THAT(messages, StartsWith("mien: --output: this is the take itself\n"));
  EXPECT_TRUE(Saved("markers.csv") == before);
}

// What a shell collects from several commands is not lost.
TEST_F(StandardInputOption, ItsCounterpartIsAppendedTo) {
  for (const std::string name : {"-", "/dev/stdout"}) {
    EXPECT_EQ(Shell("{ echo before; mien convert markers.csv " + name + "; echo after; } >all.csv").first, 0);
    EXPECT_TRUE(Saved("all.csv") == "before\n" + Saved("markers.csv") + "after\n") << name;
  }
}
