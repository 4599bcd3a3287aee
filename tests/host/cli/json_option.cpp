// --json on every command: one document on standard output, whatever happens.

#include "tests/host/cli/run_mien.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <string>
#include <vector>

using nlohmann::json;
using testing::HasSubstr;
using testing::IsEmpty;

namespace {

const std::string kSamples = MIEN_SAMPLES_FOLDER;
const std::string kTake = kSamples + "/landmarks.csv";

class JsonOption : public MienTest {
protected:
  json Document(std::vector<std::string> arguments, int exit_code) const {
    arguments.push_back("--json");
    const Ran ran = Run(arguments);
    EXPECT_EQ(ran.exit_code, exit_code) << ran.err;
    if (exit_code == 0) { EXPECT_THAT(ran.err, IsEmpty()); }
    return json::parse(ran.out);
  }
};

} // namespace

TEST_F(JsonOption, HoldsTheResultOfEachCommand) {
  const json solved = Document({"solve", kTake, "-p", "landmarks68", "-o", "w.csv"}, 0);
  EXPECT_EQ(solved["format"], "mien result 1");
  EXPECT_EQ(solved["command"], "solve");
  EXPECT_EQ(solved["exit_code"], 0);
  EXPECT_EQ(solved["result"]["format"], "mien report 1");
  EXPECT_EQ(solved["result"]["take"]["frames"], 360);
  EXPECT_EQ(solved["result"]["files"]["output"]["name"], "w.csv");
  EXPECT_EQ(solved["errors"], json::array());

  const json converted = Document({"convert", kTake, "t.trc"}, 0);
  EXPECT_EQ(converted["result"]["format"], "TRC");
  EXPECT_EQ(converted["result"]["frames"], 360);

  EXPECT_EQ(Document({"performer", kTake, "-p", "landmarks68", "-o", "p.json"}, 0)["result"]["output"],
            "p.json");
  EXPECT_EQ(Document({"character", "save", "arkit52", "-o", "c.json"}, 0)["result"]["character"], "arkit52");
  const json head = Document({"character", "from-glb", kSamples + "/head.glb", "-o", "h.json"}, 0);
  EXPECT_GT(head["result"]["morph_targets"], 0);
  EXPECT_TRUE(head["result"]["missing"].is_array());
}

TEST_F(JsonOption, OfInfoIsTheDescriptionAndTheErrors) {
  const json one = Document({"info", kTake}, 0);
  EXPECT_EQ(one["format"], "mien take description 1");
  EXPECT_EQ(one["errors"], json::array());
  const json two = Document({"info", kTake, "none.csv"}, 1);
  ASSERT_EQ(two.size(), 2u);
  EXPECT_EQ(two[0]["frames"]["count"], 360);
  EXPECT_EQ(two[1]["file"], "none.csv");
  EXPECT_EQ(two[1]["errors"][0]["code"], "not-found");
}

TEST_F(JsonOption, HoldsErrorsAsData) {
  Write("bad.csv", "frame,time,A.x,A.y,A.z\n1,0,1,2\n");
  const json bad = Document({"convert", "bad.csv", "b.trc"}, 1);
  EXPECT_EQ(bad["result"], nullptr);
  EXPECT_EQ(bad["errors"][0]["file"], "bad.csv");
  EXPECT_THAT(bad["errors"][0]["place"].get<std::string>(), HasSubstr("2"));
  EXPECT_FALSE(bad["errors"][0]["fix"].get<std::string>().empty());
}

TEST_F(JsonOption, HoldsFaultsOfTheCommandLineToo) {
  const json unknown = Document({"solve", "--frob"}, 2);
  EXPECT_EQ(unknown["exit_code"], 2);
  EXPECT_EQ(unknown["errors"][0]["code"], "usage");
  EXPECT_EQ(
      Document({"solve", kTake, "-p", "landmarks68", "-o", "w.glb", "--templates"}, 2)["errors"][0]["place"],
      "templates");
}

// Two documents in one stream are none.
TEST_F(JsonOption, DoesNotShareStandardOutput) {
  const std::vector<std::vector<std::string>> commands = {
      {"solve", kTake, "-p", "landmarks68", "-o", "-"},
      {"solve", kTake, "-p", "landmarks68", "-o", "w.csv", "--report", "-"},
      {"convert", kTake, "-"},
      {"performer", kTake, "-p", "landmarks68", "-o", "-"},
      {"character", "save", "arkit52", "-o", "-"},
      {"character", "from-glb", kSamples + "/head.glb", "-o", "-"}};
  for (const auto& command : commands) EXPECT_EQ(Document(command, 2)["errors"][0]["code"], "usage");
}

TEST_F(JsonOption, NotesCarryTheirCodes) {
  Write("gap.csv", "frame,time,A.x,A.y,A.z\n1,0,1,2,3\n2,0.5,1,2,3\n4,1.5,1,2,3\n");
  const json notes = Document({"convert", "gap.csv", "g.c3d"}, 0)["notes"];
  ASSERT_FALSE(notes.empty());
  EXPECT_EQ(notes[0]["file"], "gap.csv");
  EXPECT_THAT(notes[0]["what"].get<std::string>(), HasSubstr("frames missing"));
}
