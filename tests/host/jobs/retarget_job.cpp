#include "host/jobs/retarget_job.h"

#include "host/files/read_file.h"
#include "host/files/sha256.h"
#include "host/gltf/glb.h"
#include "host/jobs/solve_job.h"
#include "tests/host/input_error.h"
#include "tests/host/temporary_folder.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <algorithm>
#include <filesystem>
#include <string>
#include <tuple>

using mien::ReadFile;
using mien::RetargetJob;
using mien::RetargetResult;
using Json = nlohmann::json;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

namespace {

const std::filesystem::path kSamples = MIEN_SAMPLES_FOLDER;

class RetargetJobs : public TemporaryFolder {
protected:
  RetargetJob Job(const std::string& text, const std::string& output) const {
    RetargetJob job;
    job.weights = Write("w.csv", text);
    job.output = folder_ / output;
    return job;
  }
  std::string Saved(const std::string& name) const { return ReadFile(folder_ / name); }
};

const std::string kScores =
    "frame,time,jawOpen,mouthSmileLeft,mouthSmileRight\n1,0,0.5,0.25,0\n2,0.1,1,0,0.75\n";
const std::string kPhone =
    "Timecode,BlendShapeCount,JawOpen,HeadYaw,HeadPitch,HeadRoll,LeftEyeYaw,LeftEyePitch,LeftEyeRoll,"
    "RightEyeYaw,RightEyePitch,RightEyeRoll\n"
    "10:00:00:10.250,10,0.5,0.1,0.2,0.3,0.4,0.5,0,0.25,0.125,0\n"
    "10:00:00:12.250,10,1.25,0,0,0,0,0,0,0,0,0\n";

} // namespace

TEST_F(RetargetJobs, WeightsKeepTheirNamesAndValues) {
  const RetargetResult result = mien::Run(Job(kScores, "out.csv"));
  EXPECT_EQ(Saved("out.csv"), kScores);
  EXPECT_EQ(result.character, "");
  EXPECT_THAT(result.unused, IsEmpty());
}

TEST_F(RetargetJobs, APhoneTableComesBackToTheDigit) {
  RetargetJob job = Job(kPhone, "out.csv");
  job.csv_style = mien::CsvStyle::LiveLink;
  mien::Run(job);
  const std::string once = Saved("out.csv");
  EXPECT_THAT(once, HasSubstr("\n10:00:00:10.250,61,"));
  EXPECT_THAT(once, HasSubstr("\n10:00:00:12.250,61,"));
  EXPECT_THAT(once,
              HasSubstr(",0.1000000000,0.2000000000,0.3000000000,0.4000000000,0.5000000000,0.0000000000,"
                        "0.2500000000,0.1250000000,0.0000000000\n"));
  EXPECT_THAT(once, HasSubstr(",1.2500000000,")); // above 1 stays

  job.weights = Write("again.csv", once);
  mien::Run(job);
  EXPECT_EQ(Saved("out.csv"), once);
}

TEST_F(RetargetJobs, ThePlainTableKeepsTheFractionOfTheTimecode) {
  mien::Run(Job(kPhone, "out.csv"));
  EXPECT_THAT(Saved("out.csv"), HasSubstr("frame,time,timecode,jawOpen\n1,0,10:00:00:10.250,0.5\n2,"));
}

TEST_F(RetargetJobs, JsonHasTheShapesUnderTheirNames) {
  mien::Run(Job(kScores, "out.json"));
  EXPECT_THAT(Saved("out.json"), HasSubstr(R"("names": ["jawOpen", "mouthSmileLeft", "mouthSmileRight"])"));
  RetargetJob again = Job(kScores, "again.csv");
  again.weights = folder_ / "out.json";
  mien::Run(again);
  EXPECT_EQ(Saved("again.csv"), kScores);
}

TEST_F(RetargetJobs, MovesAHeadAndTheSimpleOne) {
  RetargetJob job = Job(kPhone, "out.glb");
  job.onto = kSamples / "head.glb";
  job.head_node = "face";
  const RetargetResult onto = mien::Run(job);
  EXPECT_EQ(onto.written.head->driven_targets, 1U);
  const mien::Glb glb = mien::ReadGlb(Saved("out.glb"), "out.glb");
  EXPECT_EQ(glb.json["animations"].size(), 1U);

  const RetargetResult simple = mien::Run(Job(kScores, "simple.glb"));
  EXPECT_THAT(simple.written.missing_shapes, IsEmpty());
  EXPECT_EQ(mien::ReadGlb(Saved("simple.glb"), "simple.glb").json["animations"].size(), 1U);
}

TEST_F(RetargetJobs, DrivesACharacterThroughItsTemplates) {
  RetargetJob job = Job(kScores, "out.csv");
  job.character = "arkit52";
  const RetargetResult result = mien::Run(job);
  EXPECT_EQ(result.character, "arkit52");
  EXPECT_EQ(result.written.shapes, 52U);
  RetargetJob back = Job(Saved("out.csv"), "back.csv");
  const RetargetResult again = mien::Run(back);
  for (const auto& [name, first, second] :
       {std::tuple("jawOpen", 0.5, 1.0), std::tuple("mouthSmileLeft", 0.25, 0.0),
        std::tuple("mouthSmileRight", 0.0, 0.75), std::tuple("tongueOut", 0.0, 0.0)}) {
    const auto at = static_cast<std::size_t>(
        std::find(again.take.names.begin(), again.take.names.end(), name) - again.take.names.begin());
    EXPECT_EQ(again.take.Weight(0, at), first) << name;
    EXPECT_EQ(again.take.Weight(1, at), second) << name;
  }
}

TEST_F(RetargetJobs, TemplatesOfASolveDriveACharacterAsTheyAre) {
  RetargetJob job = Job("frame,time,Mouth.Open,Mouth.CornersUpL\n1,0,0.5,0.25\n", "out.csv");
  job.character = "arkit52";
  EXPECT_THAT(mien::Run(job).unused, IsEmpty());
  EXPECT_THAT(Saved("out.csv"), HasSubstr(",0.5,")); // jawOpen
  job.character = "";
  mien::Run(job);
  EXPECT_THAT(Saved("out.csv"), HasSubstr("frame,time,Mouth.Open,"));
  job.csv_style = mien::CsvStyle::LiveLink;
  EXPECT_EQ(ProblemOf([&] { mien::Run(job); }), "usage at csv-style");
}

TEST_F(RetargetJobs, SwapsSidesFillsAndSmooths) {
  RetargetJob job =
      Job("frame,time,mouthLeft,mouthRight\n1,0,0.5,0\n2,0.1,,\n3,0.2,0.5,0\n4,0.3,0.5,0\n", "out.csv");
  job.swap_sides = true;
  job.fade_s = 0.2;
  const RetargetResult result = mien::Run(job);
  EXPECT_EQ(result.missing_frames, 1U);
  EXPECT_THAT(Saved("out.csv"), HasSubstr("frame,time,mouthRight,mouthLeft\n1,0,0.5,0\n2,0.1,0.25,0\n"));
  job.smooth_weights_hz = 2;
  mien::Run(job);
  EXPECT_THAT(Saved("out.csv"), testing::Not(HasSubstr("2,0.1,0.25,")));
  job.smooth_weights_hz = 5;
  EXPECT_EQ(ProblemOf([&] { mien::Run(job); }), "usage at smooth-weights");
}

TEST_F(RetargetJobs, ResamplesAndKeepsTheTimecode) {
  RetargetJob job = Job(kPhone, "out.csv");
  job.output_rate = mien::FrameRate{60, 1};
  EXPECT_EQ(mien::Run(job).written.frames, 3U);
  EXPECT_THAT(Saved("out.csv"),
              HasSubstr("\n1,0,10:00:00:10.250,0.5\n2,0.016666666666666666,10:00:00:11.250,0.875\n"));
}

TEST_F(RetargetJobs, TheHeadAndTheEyesMayComeFromLandmarksOfTheSameRecording) {
  RetargetJob job = Job("", "out.json");
  job.weights = kSamples / "mesh/weights_long.csv";
  job.landmarks = kSamples / "mesh/long.csv";
  job.mesh.image = mien::ParseImageSize("1280x720");
  const RetargetResult result = mien::Run(job);
  ASSERT_TRUE(result.landmarks);
  EXPECT_EQ(result.joined.matched, 5U);
  EXPECT_EQ(result.landmarks->gaze, mien::GazeSource::Irises);

  mien::SolveJob solve; // the same head
  solve.take = job.landmarks;
  solve.performer = "landmarks478";
  solve.reading.mesh = job.mesh;
  solve.output = folder_ / "solved.json";
  mien::Run(solve);
  const Json retargeted = Json::parse(Saved("out.json")), solved = Json::parse(Saved("solved.json"));
  EXPECT_EQ(retargeted["head"], solved["head"]);
  EXPECT_EQ(retargeted["eyes"], solved["eyes"]);
  EXPECT_EQ(retargeted["shapes"]["weights"][1][0], 0.9596);

  job.weights = job.landmarks = kSamples / "mesh/results.json"; // one file has both
  EXPECT_EQ(mien::Run(job).joined.matched, 5U);
}

TEST_F(RetargetJobs, ReportsWhatWasDoneForPrograms) {
  RetargetJob job = Job(kPhone, "out.csv");
  job.report = folder_ / "report.json";
  job.character = "arkit52";
  job.timecode = "01:00:00:00@25";
  job.smooth_weights_hz = 2;
  const RetargetResult result = mien::Run(job);
  EXPECT_EQ(result.files.size(), 4U);
  const Json report = Json::parse(Saved("report.json"));
  EXPECT_EQ(report["format"], "mien retarget report 1");
  EXPECT_EQ(report["weights"]["layout"], "phone CSV");
  EXPECT_EQ(report["weights"]["timecode"], "01:00:00:00@25");
  EXPECT_EQ(report["files"]["weights"]["sha256"], mien::Sha256(kPhone));
  EXPECT_EQ(report["files"]["character"]["sha256"], "built in");
  EXPECT_EQ(report["files"]["output"]["sha256"], mien::Sha256(Saved("out.csv")));
  EXPECT_EQ(report["settings"]["smooth_weights_hz"], 2);
  EXPECT_EQ(report["angles"], "radians (largest 0.5)");
  EXPECT_EQ(report["eyes"], "angles");
  EXPECT_THAT(Saved("out.csv"), HasSubstr("\n1,0,01:00:00:00,"));
  job.report = job.output;
  EXPECT_EQ(ProblemOf([&] { mien::Run(job); }), "usage at report");
  job.report = "";
  job.timecode = "25:00";
  EXPECT_EQ(ProblemOf([&] { mien::Run(job); }), "usage at timecode");
}

TEST_F(RetargetJobs, WritesTheTemplatesThatDriveACharacter) {
  RetargetJob job = Job(kScores, "out.csv");
  job.character = "arkit52";
  job.only_templates = true;
  mien::Run(job);
  EXPECT_THAT(Saved("out.csv"), HasSubstr("frame,time,Mouth.Open,"));
  EXPECT_THAT(Saved("out.csv"), HasSubstr("\n2,0.1,1,0,0.75,0,")); // Open, Whistle, CornersUpR, CornersUpL
  job.character = "";
  EXPECT_EQ(ProblemOf([&] { mien::Run(job); }), "usage at templates");
}

TEST_F(RetargetJobs, SmoothsOnlyWhereTheEyesLook) {
  std::string text = "frame,time,jawOpen,eyeLookUpLeft,LeftEyeYaw,LeftEyePitch,RightEyeYaw,RightEyePitch\n";
  for (int f = 0; f < 60; ++f) {
    const char* const value = f % 2 == 0 ? ",0.5" : ",0";
    text += std::to_string(f) + "," + std::to_string(f) + "e-1";
    for (int column = 0; column < 6; ++column) text += value;
    text += "\n";
  }
  RetargetJob job = Job(text, "out.csv");
  job.smooth_gaze_hz = 0.5;
  const mien::WeightTake take = mien::Run(job).take;
  EXPECT_EQ(take.Weight(30, 0), 0.5);
  EXPECT_NEAR(take.Weight(30, 1), 0.25, 0.01);
  EXPECT_NEAR(take.eyes[30][0].yaw, -0.25, 0.01);
  EXPECT_NEAR(take.eyes[31][1].pitch, 0.25, 0.01);
  EXPECT_NO_THROW(mien::Run([&] {
    job.weights = Write("w.csv", kScores);
    job.smooth_gaze_hz = 1;
    return job;
  }()));
  job.smooth_gaze_hz = 5;
  EXPECT_EQ(ProblemOf([&] { mien::Run(job); }), "usage at smooth-gaze");
}

TEST_F(RetargetJobs, SettingsThatDoNotFitAreRefusedBeforeAnythingIsWritten) {
  const auto problem = [](const RetargetJob& job) { return ProblemOf([&] { mien::Run(job); }); };
  EXPECT_EQ(problem(Job(kScores, "out.bvh")), "usage at output");
  EXPECT_EQ(problem(Job(kScores, "w.csv")), "usage at output");
  RetargetJob job = Job(kScores, "out.csv");
  job.expressions = {{"Smile", 1}};
  EXPECT_EQ(problem(job), "usage at expression");
  job = Job(kScores, "out.csv");
  job.map = "own.json";
  EXPECT_EQ(problem(job), "usage at map");
  job = Job(kScores, "out.csv");
  job.onto = "head.glb";
  EXPECT_EQ(problem(job), "usage at onto");
  job = Job(kScores, "out.csv");
  job.mesh.mirrored = true;
  EXPECT_EQ(problem(job), "usage at landmarks");
  EXPECT_FALSE(std::filesystem::exists(folder_ / "out.csv"));
}

TEST_F(RetargetJobs, AllSampleLayoutsHaveTheSameWeights) {
  for (const char* sample : {"weights.csv", "weights_long.csv", "weights_phone.csv", "weights_recorded.json",
                             "results.json", "result_lines.json"}) {
    RetargetJob job = Job("", "out.csv");
    job.weights = kSamples / "mesh" / sample;
    const mien::WeightTake take = mien::Run(job).take;
    ASSERT_EQ(take.frames.size(), 5U) << sample;
    EXPECT_EQ(take.rate, (mien::FrameRate{4, 1})) << sample;
    const auto weight = [&](std::size_t frame, const char* name) {
      const auto at = std::find(take.names.begin(), take.names.end(), name) - take.names.begin();
      return take.Weight(frame, static_cast<std::size_t>(at));
    };
    EXPECT_EQ(weight(1, "eyeBlinkLeft"), 0.9596) << sample;
    EXPECT_EQ(weight(3, "jawOpen"), 1) << sample;
    EXPECT_EQ(weight(4, "jawOpen"), 0) << sample;
  }
}
