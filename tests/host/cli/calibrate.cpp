// What `mien calibrate` takes and reports, and what `mien solve` says of the ranges.

#include "tests/host/cli/run_mien.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

using testing::AllOf;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;
using testing::StartsWith;

namespace {

using Json = nlohmann::ordered_json;

class CalibrateCommand : public MienTest {
protected:
  CalibrateCommand() {
    std::filesystem::copy_file(std::filesystem::path(MIEN_SAMPLES_FOLDER) / "landmarks.csv",
                               folder_ / "talk.csv");
    std::ofstream(folder_ / "marks.csv") << "pose,from_s,to_s\nrest,0,0.4\njaw-open,0.633,0.767\n";
  }

  static std::vector<std::string> Calibrate(const std::vector<std::string>& more = {}) {
    std::vector<std::string> arguments = {"calibrate", "talk.csv", "-p", "landmarks68", "-o", "ada.json"};
    arguments.insert(arguments.end(), more.begin(), more.end());
    return arguments;
  }
};

} // namespace

TEST_F(CalibrateCommand, ReportsTheRangeOfEveryTemplateAndWhy) {
  const Ran ran = Run(Calibrate({"--poses", "marks.csv"}));
  EXPECT_EQ(ran.exit_code, 0) << ran.err;
  EXPECT_THAT(ran.out, IsEmpty());
  EXPECT_THAT(ran.err,
              AllOf(HasSubstr("neutral    the median of "), HasSubstr("poses that are not marked: "),
                    HasSubstr("ranges     Mouth.Open          0.00 to 0.9"),
                    HasSubstr(", trusted: jaw-open\n"), HasSubstr("LeftEye.Close       0.00 to "),
                    HasSubstr(", trusted: 4 blinks\n"), HasSubstr("LeftCheek.Up        none: no markers\n"),
                    HasSubstr("LeftBrow.Up         none: no pose of it is marked\n")));
  EXPECT_THAT(Saved("ada.json"), HasSubstr("\"mien performer 2\""));
}

TEST_F(CalibrateCommand, AnswersProgramsWithEveryTemplate) {
  const Ran ran = Run(Calibrate({"--json"}));
  EXPECT_EQ(ran.exit_code, 0);
  const Json result = Json::parse(ran.out)["result"];
  ASSERT_EQ(result["templates"].size(), 23u);
  const Json& mouth = result["templates"][0];
  EXPECT_EQ(mouth["template"], "Mouth.Open");
  EXPECT_TRUE(mouth["high"].is_null());
  EXPECT_EQ(mouth["trusted"], false);
  EXPECT_EQ(mouth["why"], "a guided take shows it");
  const Json& eye = result["templates"][11];
  EXPECT_EQ(eye["template"], "LeftEye.Close");
  EXPECT_NEAR(eye["high"].get<double>(), 1, 0.05);
  EXPECT_EQ(eye["seen"], 4);
  EXPECT_TRUE(eye["quiet"].is_number());
}

TEST_F(CalibrateCommand, ListsThePosesWithoutATake) {
  const Ran ran = Run({"calibrate", "--list-poses"});
  EXPECT_EQ(ran.exit_code, 0);
  EXPECT_THAT(ran.out, StartsWith("rest          3 s  relax the face"));
  EXPECT_THAT(ran.out, HasSubstr("jaw-open      2 s  open the mouth as wide as is comfortable"));
  EXPECT_THAT(ran.out, HasSubstr("mouthSmileLeft, mouthSmileRight"));
  const Json poses = Json::parse(Run({"calibrate", "--list-poses", "--json"}).out)["result"]["poses"];
  EXPECT_EQ(poses.size(), 17u);
  EXPECT_EQ(poses[1]["shapes"], Json::parse(R"(["eyeBlinkLeft", "eyeBlinkRight"])"));
  EXPECT_EQ(poses[1]["templates"], Json::parse(R"(["LeftEye.Close", "RightEye.Close"])"));
}

TEST_F(CalibrateCommand, RequiresATakeAndAnOutput) {
  for (const auto& [arguments, missing] : std::vector<std::pair<std::vector<std::string>, std::string>>{
           {{"calibrate"}, "TAKE is required"},
           {{"calibrate", "w.csv", "-o", "a.json", "--neutral", "1"}, "--neutral is for --performer"},
           {{"calibrate", "talk.csv", "-p", "landmarks68"}, "--output is required"}}) {
    const Ran ran = Run(arguments);
    EXPECT_EQ(ran.exit_code, 2);
    EXPECT_THAT(ran.err, HasSubstr(missing));
  }
}

TEST_F(CalibrateCommand, OptionsOfTakesAreRefusedForRecordedWeights) {
  for (const std::vector<std::string>& option :
       std::vector<std::vector<std::string>>{{"--neutral", "1"},
                                             {"--head-fit", "markers"},
                                             {"--brows", "core"},
                                             {"--fill", "none"},
                                             {"--fill-head", "none"},
                                             {"--keep-slipped"},
                                             {"--head-tolerance", "3"},
                                             {"--fade", "1"},
                                             {"--no-gaze"},
                                             {"--smooth", "6"},
                                             {"--smooth-weights", "6"},
                                             {"--smooth-gaze", "6"},
                                             {"--image", "1280x720"},
                                             {"--face-width", "140"},
                                             {"--mirrored"}}) {
    std::vector<std::string> arguments = {"calibrate", "w.csv", "-o", "a.json"};
    arguments.insert(arguments.end(), option.begin(), option.end());
    const Ran ran = Run(arguments);
    EXPECT_EQ(ran.exit_code, 2);
    EXPECT_THAT(ran.err, StartsWith("mien: " + option[0] +
                                    " is for --performer; leave it out for recorded weights\n"));
  }
}

TEST_F(CalibrateCommand, WithoutAPerformerItMeasuresRecordedWeights) {
  std::string talk = "frame,time_s,eyeBlinkLeft,jawOpen\n";
  for (int f = 0; f < 600; ++f) // a blink every two seconds
    talk +=
        std::to_string(f) + "," + std::to_string(f / 30.0) + "," + (f % 60 == 30 ? "0.7" : "0.1") + ",0\n";
  Write("w.csv", talk);
  const Ran ran = Run({"calibrate", "w.csv", "-o", "w.ranges.json", "--name", "Ada"});
  EXPECT_EQ(ran.exit_code, 0) << ran.err;
  EXPECT_THAT(ran.err, AllOf(HasSubstr("ranges     eyeBlinkLeft  0.10 to 0.70, trusted: 10 blinks\n"),
                             HasSubstr("none for 1 other weight: a guided take shows them\n"),
                             HasSubstr("wrote      w.ranges.json\n")));
  EXPECT_THAT(Saved("w.ranges.json"), HasSubstr("\"mien ranges 1\""));
  const std::vector<std::string> put = {"retarget", "w.csv", "--ranges", "w.ranges.json", "-o", "out.csv"};
  EXPECT_THAT(Run(put).err, HasSubstr("ranges     eyeBlinkLeft 0.10 to 0.70\n"));
  std::vector<std::string> as_json = put;
  as_json.push_back("--json");
  EXPECT_EQ(Json::parse(Run(as_json).out)["result"]["ranges"]["applied"][0]["weight"], "eyeBlinkLeft");
  EXPECT_EQ(
      Json::parse(
          Run({"calibrate", "w.csv", "-o", "w.ranges.json", "--json"}).out)["result"]["weights"][0]["high"],
      0.7);
  EXPECT_THAT(Run({"calibrate", "talk.csv", "-o", "a.json"}).err,
              HasSubstr("the file has points (landmark CSV) and no weights"));
}

TEST_F(CalibrateCommand, AFaultLeavesNothing) {
  const Ran ran = Run(Calibrate({"--poses", "talk.csv"}));
  EXPECT_EQ(ran.exit_code, 1);
  EXPECT_THAT(ran.err, HasSubstr("begin with pose,from,to for frame numbers"));
  EXPECT_FALSE(Has("ada.json"));
}

TEST_F(CalibrateCommand, SolveReportsWhichRangesItApplied) {
  ASSERT_EQ(Run(Calibrate({"--poses", "marks.csv", "-q"})).exit_code, 0);
  const std::vector<std::string> solve = {"solve", "talk.csv", "-p", "ada.json", "-o", "w.csv"};
  const auto with = [&](std::vector<std::string> more) {
    more.insert(more.begin(), solve.begin(), solve.end());
    return Run(more);
  };
  EXPECT_THAT(Run(solve).err, AllOf(HasSubstr("ranges     Mouth.Open 0.00 to 0.9"),
                                    HasSubstr(", LeftEye.Close 0.00 to "), Not(HasSubstr("not trusted"))));
  const std::string calibrated = Saved("w.csv");
  EXPECT_THAT(with({"--no-ranges"}).err, HasSubstr("ranges     3 ranges not applied: --no-ranges"));
  EXPECT_NE(Saved("w.csv"), calibrated);
  EXPECT_THAT(with({"--level-lids"}).err, HasSubstr("lids       the slow part of Eye.Close is taken out"));
  EXPECT_NE(Saved("w.csv"), calibrated);

  const Json report = Json::parse(with({"--json"}).out)["result"];
  EXPECT_EQ(report["ranges"].size(), 3u);
  EXPECT_EQ(report["ranges"][0]["template"], "Mouth.Open");

  // As somebody edits it by hand.
  std::string text = Saved("ada.json");
  const std::size_t eye = text.find("\"LeftEye.Close\": {");
  text.replace(text.find("true", eye), 4, "false");
  std::ofstream(folder_ / "ada.json") << text;
  EXPECT_THAT(Run(solve).err, AllOf(Not(HasSubstr("LeftEye.Close 0.00 to")),
                                    HasSubstr("not trusted, and not applied: LeftEye.Close\n")));
}

TEST_F(CalibrateCommand, ACalibrationOf68LandmarksIsRefusedFor478) {
  ASSERT_EQ(Run(Calibrate({"-q"})).exit_code, 0);
  std::ofstream mesh(folder_ / "mesh.csv");
  mesh << "frame,time";
  for (int i = 0; i < 478; ++i) mesh << ",lm" << i << ".x,lm" << i << ".y,lm" << i << ".z";
  for (int f = 1; f <= 3; ++f) {
    mesh << '\n' << f << ',' << f * 0.04;
    for (int i = 0; i < 478; ++i) mesh << ',' << i % 20 << ',' << i / 20 << ',' << i % 7;
  }
  mesh.close();
  const Ran ran = Run({"solve", "mesh.csv", "-p", "ada.json", "-o", "w.csv"});
  EXPECT_EQ(ran.exit_code, 1);
  EXPECT_THAT(ran.err, HasSubstr("was calibrated with 68 landmarks, and the take \"mesh\" has 478"));
  EXPECT_FALSE(Has("w.csv"));
}
