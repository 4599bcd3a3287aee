#include "host/files/read_file.h"
#include "tests/host/cli/run_mien.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>

using testing::HasSubstr;

namespace {

class RetargetCommand : public MienTest {};

const std::string kMesh = std::string(MIEN_SAMPLES_FOLDER) + "/mesh/";

} // namespace

TEST_F(RetargetCommand, ReportsTheLayoutWhatIsMissingAndWhatItWrote) {
  const Ran ran = Run({"retarget", kMesh + "weights_phone.csv", "-o", "out.json"});
  EXPECT_EQ(ran.exit_code, 0);
  EXPECT_THAT(ran.err, HasSubstr("weights    weights_phone: phone CSV, 5 frames at 4 Hz, 4 weights\n"));
  EXPECT_THAT(ran.err, HasSubstr("4 of the 52 shapes; missing: eyeLookDownLeft,"));
  EXPECT_THAT(ran.err, HasSubstr("wrote      out.json: 5 frames, 4 shapes\n"));
  EXPECT_THAT(Saved("out.json"), HasSubstr("\"timecode\": \"10:02:58:00@60\""));
}

TEST_F(RetargetCommand, DrivesACharacterAndNamesWhatItsTemplatesDoNotShow) {
  Write("w.csv", "frame,time,jawOpen,tongueOut\n1,0,0.5,0.5\n2,0.1,,\n3,0.2,1,0\n");
  const Ran ran = Run({"retarget", "w.csv", "-c", "arkit52", "-o", "-", "--swap-sides", "--fade", "0.5"});
  EXPECT_EQ(ran.exit_code, 0);
  EXPECT_THAT(ran.err, HasSubstr("gaps       weights are missing in 1 of 3 frames: they go to rest there\n"));
  EXPECT_THAT(ran.err, HasSubstr("no template of the face shows tongueOut\n"));
  EXPECT_THAT(ran.out, HasSubstr("frame,time,eyeBlinkLeft,"));
}

TEST_F(RetargetCommand, AnswersAsJson) {
  const Ran ran = Run({"retarget", kMesh + "weights.csv", "-o", "out.csv", "--json"});
  EXPECT_EQ(ran.exit_code, 0);
  EXPECT_THAT(ran.out, HasSubstr("\"layout\": \"score CSV\""));
  EXPECT_THAT(ran.out, HasSubstr("\"rate\": \"4\""));
}

TEST_F(RetargetCommand, SolveAndRetargetNameEachOther) {
  EXPECT_THAT(Run({"retarget", kMesh + "wide.csv", "-o", "out.csv"}).err,
              HasSubstr("the file has points (mesh CSV) and no weights; solve them with mien solve"));
  for (const char* weights :
       {"weights.csv", "weights_long.csv", "weights_phone.csv", "weights_recorded.json"})
    EXPECT_THAT(Run({"solve", kMesh + weights, "-p", "landmarks478", "-o", "out.csv"}).err,
                HasSubstr("mien retarget"))
        << weights;
  EXPECT_FALSE(Has("out.csv"));
}
