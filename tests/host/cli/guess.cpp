#include "tests/host/cli/run_mien.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <string>

using nlohmann::json;
using testing::AllOf;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;
using testing::StartsWith;

namespace {

const std::string kMarkers = MIEN_SAMPLES_FOLDER "/markers.csv";

class GuessCommand : public MienTest {};

} // namespace

TEST_F(GuessCommand, PrintsWhatItFoundAndWritesAPerformerThatSolves) {
  const Ran ran = Run({"performer", "--guess", kMarkers, "-o", "guess.json"});
  ASSERT_EQ(ran.exit_code, 0) << ran.err;
  EXPECT_THAT(ran.out, StartsWith("head "));
  EXPECT_THAT(ran.out,
              AllOf(HasSubstr("Mouth         LeftMouthHolder    SmileL, MouthCornerL\n"),
                    HasSubstr("              UpperMouthHolder   LipUpperL, LipUpperMid, LipUpperR\n"),
                    HasSubstr("LeftEye       UpperEyeHolder     LidUpperInL, LidUpperOutL\n"),
                    HasSubstr("LipLowerL = LipLowerR"), HasSubstr("unused        none\n"),
                    HasSubstr("doubts        none\n")));
  EXPECT_EQ(ran.err, "wrote      guess.json\n");
  EXPECT_EQ(Run({"solve", kMarkers, "-p", "guess.json", "-o", "w.csv"}).exit_code, 0);
}

TEST_F(GuessCommand, ToStandardOutputWritesTheFileAlone) {
  const Ran ran = Run({"performer", kMarkers, "--guess", "-o", "-"});
  EXPECT_EQ(ran.exit_code, 0);
  EXPECT_EQ(json::parse(ran.out)["format"], "mien performer 1");
  EXPECT_THAT(ran.err, IsEmpty()) << "there is no doubt";
}

TEST_F(GuessCommand, PrintsNothingWithQuiet) {
  const Ran ran = Run({"performer", kMarkers, "--guess", "-o", "guess.json", "--quiet"});
  EXPECT_EQ(ran.exit_code, 0);
  EXPECT_THAT(ran.out + ran.err, IsEmpty());
  EXPECT_TRUE(Has("guess.json"));
}

TEST_F(GuessCommand, HasItsResultAsJson) {
  const Ran ran = Run({"performer", kMarkers, "--guess", "-o", "guess.json", "--json"});
  ASSERT_EQ(ran.exit_code, 0);
  const json result = json::parse(ran.out)["result"];
  EXPECT_EQ(result["output"], "guess.json");
  EXPECT_EQ(result["head"].size(), 5U);
  EXPECT_EQ(result["parts"].size(), 9U);
  EXPECT_EQ(result["parts"]["Mouth"]["ChinHolder"], json({"ChinL", "ChinMid", "ChinR"}));
  EXPECT_EQ(result["pairs"].size(), 21U);
  EXPECT_EQ(result["unused"], json::array());
  EXPECT_EQ(result["doubts"], json::array());
}

TEST_F(GuessCommand, NeedsThePerformerOrTheGuessAndNotBoth) {
  const Ran none = Run({"performer", kMarkers, "-o", "p.json"});
  EXPECT_EQ(none.exit_code, 2);
  EXPECT_THAT(none.err, HasSubstr("--performer: it is required, or --guess"));
  const Ran both = Run({"performer", kMarkers, "--guess", "-p", "landmarks68", "-o", "p.json"});
  EXPECT_EQ(both.exit_code, 2);
  EXPECT_THAT(both.err, HasSubstr("--performer: --guess finds the markers itself"));
  EXPECT_FALSE(Has("p.json"));
}

TEST_F(GuessCommand, ATakeWithoutAFaceLeavesNoFile) {
  Write("cube.csv", "frame,time,a.x,a.y,a.z,b.x,b.y,b.z\n1,0,0,0,0,50,0,0\n2,0.03,0,0,0,50,0,0\n");
  const Ran ran = Run({"performer", "cube.csv", "--guess", "-o", "p.json"});
  EXPECT_EQ(ran.exit_code, 1);
  EXPECT_THAT(ran.err, AllOf(HasSubstr("cube.csv: the largest group of markers near each other has 2"),
                             HasSubstr("docs/file-formats.md")));
  EXPECT_FALSE(Has("p.json"));
}
