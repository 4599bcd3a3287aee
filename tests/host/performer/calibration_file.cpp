#include "host/performer/calibration_file.h"

#include "host/performer/performer_file.h"
#include "tests/host/input_error.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <sstream>
#include <string>
#include <vector>

using mien::CalibrationRecord;
using mien::Performer;
using mien::Range;
using mien::ReadPerformer;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;

namespace {

std::string File(const std::string& more, int version = 2) {
  return R"({ "format": "mien performer )" + std::to_string(version) +
         R"(", "name": "Ada", "parts": { "Mouth": { "ChinHolder": ["chin"] } }, )" + more + " }";
}

Performer Read(const std::string& more) { return ReadPerformer(File(more), "ada.json"); }

std::string Error(const std::string& more) {
  return InputErrorOf([&] { Read(more); });
}

std::string Written(const Performer& performer) {
  std::ostringstream out;
  WritePerformer(performer, out);
  return out.str();
}

Performer Calibrated() {
  Performer performer = Read(R"("ranges": {})");
  performer.ranges = {{"Mouth.Open", 0.01, 0.62, 1, true, "jaw-open"},
                      {"LeftEye.Close", 0, 0.38, 3, false, "3 blinks"}};
  performer.calibration.takes = {{"talk \"1\".csv", "00ff"}, {"-", "11"}};
  performer.calibration.landmarks = 68;
  performer.calibration.settings = {{"head_fit", "take"}, {"brows", "fit"}};
  performer.calibration.poses = {{"jaw-open", {-3, 30}, {{"chin", {0.5, -12, 95.25}}}},
                                 {"rest", {40, 50}, {}}};
  return performer;
}

} // namespace

TEST(CalibrationFile, ReadsBackWhatItWrites) {
  const Performer written = Calibrated();
  const std::string text = Written(written);
  const Performer read = ReadPerformer(text, "ada.json");
  EXPECT_EQ(read.ranges, written.ranges);
  EXPECT_EQ(read.calibration.takes, written.calibration.takes);
  EXPECT_EQ(read.calibration.landmarks, 68u);
  EXPECT_EQ(read.calibration.Setting("brows"), "fit");
  EXPECT_EQ(read.calibration.Setting("smooth_hz"), "");
  ASSERT_EQ(read.calibration.poses.size(), 2u);
  EXPECT_EQ(read.calibration.poses[0].name, "jaw-open");
  EXPECT_EQ(read.calibration.poses[0].frames.first, -3);
  EXPECT_EQ(read.calibration.poses[0].points.at("chin").z, 95.25);
  EXPECT_EQ(Written(read), text);
}

TEST(CalibrationFile, RangesAreLinesOfReadableNumbers) {
  EXPECT_THAT(
      Written(Calibrated()),
      HasSubstr(
          "    \"Mouth.Open\": { \"low\": 0.01, \"high\": 0.62, \"seen\": 1, \"trusted\": true, \"why\": "
          "\"jaw-open\" },\n"));
}

TEST(CalibrationFile, IsOfTheFirstVersionWithoutRanges) {
  Performer performer = Calibrated();
  performer.ranges.clear();
  performer.calibration = {};
  EXPECT_THAT(Written(performer), HasSubstr("\"mien performer 1\""));
  EXPECT_THAT(Written(performer), Not(HasSubstr("ranges")));
  EXPECT_THAT(Written(Calibrated()), HasSubstr("\"mien performer 2\""));
}

// Programs of before refuse the second version, rather than leave out the ranges.
TEST(CalibrationFile, RangesInTheFirstVersionAreRefused) {
  EXPECT_THAT(InputErrorOf([] { ReadPerformer(File(R"("ranges": {})", 1), "ada.json"); }),
              HasSubstr("ada.json:/ranges: this name is unknown"));
  EXPECT_THAT(InputErrorOf([] { ReadPerformer(File(R"("ranges": {})", 3), "ada.json"); }),
              HasSubstr("ada.json:/format: this is not a performer file of this version"));
}

// As somebody writes it by hand.
TEST(CalibrationFile, ARangeNeedsItsEndsAlone) {
  const Performer read = Read(R"("ranges": { "Mouth.Open": { "low": -0.1, "high": 2 } })");
  EXPECT_THAT(read.ranges, ElementsAre(Range{"Mouth.Open", -0.1, 2, 0, true, ""}));
  EXPECT_TRUE(read.calibration.IsEmpty());
}

TEST(CalibrationFile, RangesThatAreNoneAreRefusedByTheirPlace) {
  const auto range = [](const std::string& members) {
    return R"("ranges": { "Mouth.Open": {)" + members + "} }";
  };
  EXPECT_EQ(Error(range(R"("low": 0)")),
            "ada.json:/ranges/Mouth.Open/high: a range has two ends; write \"low\" and \"high\"");
  EXPECT_EQ(
      Error(range(R"("low": 0.5, "high": 0.5)")),
      "ada.json:/ranges/Mouth.Open: 0.5 to 0.5 is not a range; write weights from -100 to 100, high at least "
      "0.01 above low");
  for (const char* ends : {R"("low": 0, "high": 0.009)", R"("low": 1, "high": 0)", R"("low": 0, "high": 101)",
                           R"("low": -101, "high": 1)"})
    EXPECT_THAT(Error(range(ends)), HasSubstr("is not a range")) << ends;
  EXPECT_THAT(Error(range(R"("low": "0", "high": 1)")), HasSubstr("/Mouth.Open/low: this is not a number"));
  EXPECT_THAT(Error(range(R"("low": 0, "high": 1, "trusted": 1)")),
              HasSubstr("/Mouth.Open/trusted: this is neither true nor false"));
  EXPECT_THAT(Error(range(R"("low": 0, "high": 1, "weight": 1)")),
              HasSubstr("/weight: this name is unknown"));
  EXPECT_THAT(Error(R"("ranges": { "Mouth.Opened": { "low": 0, "high": 1 } })"),
              HasSubstr("/ranges/Mouth.Opened: this name is unknown"));
  EXPECT_THAT(Error(R"("ranges": [])"), HasSubstr("/ranges: this is not an object"));
}

TEST(CalibrationFile, ARecordOfSomethingElseIsRefusedByItsPlace) {
  const auto record = [](const std::string& members) { return R"("calibration": {)" + members + "}"; };
  EXPECT_THAT(Error(record(R"("landmarks": 5)")),
              HasSubstr("/calibration/landmarks: there are no takes with so many"));
  EXPECT_THAT(Error(record(R"("takes": {})")), HasSubstr("/calibration/takes: this is not a list"));
  EXPECT_THAT(Error(record(R"("takes": [{ "name": 3 }])")), HasSubstr("/takes/0/name: this is not text"));
  EXPECT_THAT(Error(record(R"("settings": { "brows": 1 })")), HasSubstr("/settings/brows: this is not text"));
  EXPECT_THAT(Error(record(R"("poses": [{ "pose": "rest" }])")),
              HasSubstr("/poses/0/frames: the pose is incomplete"));
  EXPECT_THAT(
      Error(record(R"("poses": [{ "pose": "rest", "frames": [2, 1], "points": { "chin": [1, 2] } }])")),
      testing::AllOf(HasSubstr("/poses/0/frames: these are not two frame numbers in order"),
                     HasSubstr("/poses/0/points/chin: this is not a position")));
}
