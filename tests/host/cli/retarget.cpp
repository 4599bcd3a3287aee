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

TEST_F(RetargetCommand, SaysInWhatAnglesAreAndMovesTheHead) {
  EXPECT_THAT(Run({"retarget", kMesh + "weights_phone.csv", "-o", "out.csv"}).err,
              HasSubstr("angles     radians (largest 0)\n"));
  Write("w.json", R"([{"timestampMs":0,"blendshapes":{"jawOpen":0},
                       "facialTransformationMatrixes":[[1,0,0,0,0,1,0,0,0,0,1,0,0,0,-50,1]]},
                      {"timestampMs":40,"blendshapes":{"jawOpen":0},
                       "facialTransformationMatrixes":[[0,0,-1,0,0,1,0,0,1,0,0,0,1,0,-50,1]]}])");
  const Ran ran = Run({"retarget", "w.json", "-o", "out.json"});
  EXPECT_THAT(ran.err,
              HasSubstr("angles     of the head from matrices (largest 90 degrees), its place in mm"));
  EXPECT_THAT(Saved("out.json"), HasSubstr("[10,0,0]"));
  EXPECT_THAT(Saved("out.json"), HasSubstr("[0,0.7071067811865475,0,0.707106781186547"));
}

TEST_F(RetargetCommand, SaysHowLandmarksFit) {
  Write("w.csv", "frame,time_s,jawOpen\n0,0,0\n1,0.25,0\n2,0.5,0\n9,2.25,0\n");
  const Ran ran = Run({"retarget", "w.csv", "--landmarks", kMesh + "long.csv", "--image", "1280x720", "-o",
                       "out.json", "--report", "report.json"});
  EXPECT_EQ(ran.exit_code, 0) << ran.err;
  EXPECT_THAT(ran.err,
              testing::AllOf(HasSubstr("landmarks  long: long mesh CSV, the head and the eyes of 3 frames\n"),
                             HasSubstr("1 frame of the weights without landmarks of the same time"),
                             HasSubstr("2 frames without weights of the same time, ignored\n"),
                             HasSubstr("wrote      report.json\n")));
  EXPECT_THAT(Saved("report.json"), HasSubstr("\"command\": [\"mien\", \"retarget\""));
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
  Write("own.csv", "frame,time,Mouth.Open\n1,0,0\n");
  Write("one.csv", "frame,time_s,jawOpen\n1,0,0\n");
  ASSERT_EQ(Run({"retarget", "own.csv", "-o", "own.json"}).exit_code, 0);
  for (const char* weights : {"own.csv", "one.csv", "own.json"})
    for (const char* command : {"solve", "calibrate"})
      EXPECT_THAT(Run({command, weights, "-p", "landmarks478", "-o", "out.csv"}).err,
                  HasSubstr("mien retarget"))
          << command << weights;
  EXPECT_THAT(Run({"solve", (Write("typo.csv", "frame,time,A.x,A.y\n1,0,1,2\n"), "typo.csv"), "-p",
                   "landmarks478", "-o", "out.csv"})
                  .err,
              testing::Not(HasSubstr("mien retarget")));
  EXPECT_FALSE(Has("out.csv"));
}

// --- Avatars

namespace {

const std::string kAvatar = std::string(MIEN_SAMPLES_FOLDER) + "/avatar.vrm";
const std::string kPhone = kMesh + "weights_phone.csv";

} // namespace

TEST_F(RetargetCommand, WritesAnAvatarWithItsAnimation) {
  const Ran ran = Run({"retarget", kPhone, "--onto", kAvatar, "-o", "out.vrm"});
  EXPECT_EQ(ran.exit_code, 0);
  EXPECT_THAT(ran.err, HasSubstr("wrote      out.vrm: 5 frames, 4 morph targets by 4 expressions"));
  EXPECT_THAT(Saved("out.vrm"), HasSubstr("VRMC_vrm"));
}

TEST_F(RetargetCommand, WritesAnAnimationForAnyAvatar) {
  const Ran ran = Run({"retarget", kPhone, "-o", "out.vrma"});
  EXPECT_THAT(ran.err, HasSubstr("wrote      out.vrma: 5 frames, 4 custom expressions"));
  const Ran presets = Run({"retarget", kPhone, "-c", "vrm1", "-o", "presets.vrma"});
  EXPECT_THAT(presets.err, HasSubstr("wrote      presets.vrma: 5 frames, 14 presets"));
  Write("t.csv", "frame,time,Mouth.Open\n1,0,0.5\n2,0.1,1\n");
  const Ran templates = Run({"retarget", "t.csv", "-o", "templates.vrma"});
  EXPECT_THAT(templates.err, HasSubstr("character  vrm1\n")) << "templates are nothing to an avatar";
}

TEST_F(RetargetCommand, AHeadThatIsNotAnAvatarDoesNotBecomeOne) {
  const std::string head = std::string(MIEN_SAMPLES_FOLDER) + "/head.glb";
  const Ran ran = Run({"retarget", kPhone, "--onto", head, "-o", "out.vrm"});
  EXPECT_EQ(ran.exit_code, 1);
  EXPECT_THAT(ran.err, HasSubstr("this head is not a VRM avatar, and cannot become a .vrm; write a .glb"));
  EXPECT_THAT(Run({"retarget", kPhone, "-o", "out.vrm"}).err,
              HasSubstr("a .vrm is an avatar: name it with --onto, or write a .vrma for any avatar"));
}

TEST_F(RetargetCommand, AnAvatarOfPresetsAloneNeedsTheirCharacter) {
  // Weights without the eyes' angles: its expressions of the gaze would show those.
  const std::string samples = MIEN_SAMPLES_FOLDER;
  const Ran ran =
      Run({"retarget", samples + "/mesh/weights.csv", "--onto", samples + "/avatar0.vrm", "-o", "o.vrm"});
  EXPECT_EQ(ran.exit_code, 1);
  EXPECT_THAT(ran.err, HasSubstr("name the character of the presets: --character vrm1"));
}
