#include "host/jobs/calibrate_weights_job.h"

#include "host/files/read_file.h"
#include "host/files/sha256.h"
#include "host/jobs/retarget_job.h"
#include "tests/host/input_error.h"
#include "tests/host/note.h"
#include "tests/host/temporary_folder.h"

#include <fmt/format.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <filesystem>
#include <string>
#include <vector>

using mien::CalibrateWeightsJob;
using mien::CalibrateWeightsResult;
using mien::Range;
using mien::ReadFile;
using testing::Contains;
using testing::HasSubstr;

namespace {

/// Half a minute at 30 Hz with a blink every four seconds: 0.05 between blinks, `peak` in them; and a jaw that
/// opens to 0.6 from 20 to 22 s.
std::string Talk(double peak, const std::string& names = "eyeBlinkLeft,eyeBlinkRight,jawOpen",
                 std::size_t lost_frame = 10'000) {
  std::string text = "frame,time_s," + names + "\n";
  for (std::size_t f = 0; f < 900; ++f) {
    const double time = static_cast<double>(f) / 30, away = std::fabs(std::remainder(time - 2, 4));
    const double lid = 0.05 + (peak - 0.05) * std::max(0.0, 1 - away / 0.13);
    const double jaw = time >= 20 && time <= 22 ? 0.6 : 0.1;
    text += f == lost_frame ? fmt::format("{},{:.4f},,,\n", f + 1, time)
                            : fmt::format("{},{:.4f},{:.6f},{:.6f},{}\n", f + 1, time, lid, lid, jaw);
  }
  return text;
}

class CalibrateWeightsJobs : public TemporaryFolder {
protected:
  CalibrateWeightsJob Job(const std::string& text) const {
    CalibrateWeightsJob job;
    job.takes = {Write("talk.csv", text)};
    job.output = folder_ / "ranges.json";
    return job;
  }
  bool Wrote() const { return std::filesystem::exists(folder_ / "ranges.json"); }
};

Range RangeOf(const CalibrateWeightsResult& result, const std::string& name) {
  for (const auto& weight : result.weights)
    if (weight.name == name && weight.range) return *weight.range;
  return {.name = "none"};
}

} // namespace

TEST_F(CalibrateWeightsJobs, ABlinkThatReadsLessReadsOneWhereTheRangesAreApplied) {
  const CalibrateWeightsJob job = Job(Talk(0.7));
  const CalibrateWeightsResult result = mien::Run(job);
  for (const char* lid : {"eyeBlinkLeft", "eyeBlinkRight"}) {
    const Range range = RangeOf(result, lid);
    EXPECT_TRUE(range.trusted) << range.why;
    EXPECT_EQ(range.seen, 7);
    EXPECT_NEAR(range.low, 0.05, 1e-12);
    EXPECT_NEAR(range.high, 0.7, 1e-6);
  }
  const mien::WeightRanges saved = mien::ReadRanges(ReadFile(job.output), "ranges.json");
  EXPECT_EQ(saved.name, "talk");
  ASSERT_EQ(saved.ranges.size(), 2U);
  ASSERT_EQ(saved.takes.size(), 1U);
  EXPECT_EQ(saved.takes[0].name, "talk.csv");
  EXPECT_EQ(saved.takes[0].sha256, mien::Sha256(ReadFile(job.takes[0])));

  mien::RetargetJob retarget;
  retarget.weights = job.takes[0];
  retarget.output = folder_ / "out.csv";
  retarget.ranges = job.output;
  const mien::RetargetResult put = mien::Run(retarget);
  EXPECT_EQ(put.ranges.applied.size(), 2U);
  EXPECT_EQ(put.take.Weight(0, 0), 0);
  EXPECT_NEAR(put.take.Weight(60, 0), 1, 1e-4); // ends are written with four decimals
  EXPECT_EQ(put.take.Weight(60, 2), 0.1);
}

TEST_F(CalibrateWeightsJobs, TheRangesAreOfTheFilesNamesWhateverSideTheyAreOn) {
  const CalibrateWeightsJob job = Job(Talk(0.7, "eyeBlinkLeft,cheekPuff,jawOpen"));
  EXPECT_TRUE(RangeOf(mien::Run(job), "eyeBlinkLeft").trusted);
  mien::RetargetJob retarget;
  retarget.weights = job.takes[0];
  retarget.output = folder_ / "out.csv";
  retarget.ranges = job.output;
  retarget.swap_sides = true;
  const mien::RetargetResult put = mien::Run(retarget);
  EXPECT_EQ(put.take.names[0], "eyeBlinkRight");
  EXPECT_NEAR(put.take.Weight(60, 0), 1, 1e-4);
}

TEST_F(CalibrateWeightsJobs, WeightsOfTemplatesAreCalibratedByTheirOwnNames) {
  const CalibrateWeightsResult result =
      mien::Run(Job("frame,time," + Talk(0.4, "LeftEye.Close,RightEye.Close,Mouth.Open").substr(13)));
  EXPECT_TRUE(RangeOf(result, "LeftEye.Close").trusted);
  EXPECT_NEAR(RangeOf(result, "RightEye.Close").high, 0.4, 1e-6);
}

TEST_F(CalibrateWeightsJobs, GuidedPosesShowOtherShapes) {
  CalibrateWeightsJob job = Job(Talk(0.7));
  job.poses = Write("marks.csv", "pose,from_s,to_s\nrest,10.5,13\njaw-open,20.2,21.8\n");
  const CalibrateWeightsResult result = mien::Run(job);
  const Range jaw = RangeOf(result, "jawOpen");
  EXPECT_TRUE(jaw.trusted) << jaw.why;
  EXPECT_EQ(jaw.low, 0.1);
  EXPECT_EQ(jaw.high, 0.6);
  EXPECT_EQ(jaw.why, "jaw-open");
  EXPECT_TRUE(RangeOf(result, "eyeBlinkLeft").trusted);
  EXPECT_THAT(result.notes,
              Contains(IsNote(mien::Code::Missing, "", "poses that are not marked: eyes-closed")));
}

TEST_F(CalibrateWeightsJobs, WhatCannotBeTrustedIsRefusedWithTheReason) {
  EXPECT_THAT(InputErrorOf([&] { mien::Run(Job(Talk(0.05))); }), HasSubstr("no blink is seen in 900 frames"));
  EXPECT_THAT(InputErrorOf([&] { mien::Run(Job(Talk(0.12))); }),
              HasSubstr("no range can be trusted: eyeBlinkLeft: the lid moves by 0.07 only"));
  EXPECT_THAT(InputErrorOf([&] { mien::Run(Job(Talk(0.7, "cheekPuff,mouthLeft,jawOpen"))); }),
              HasSubstr("not every file has eyeBlinkLeft or eyeBlinkRight"));
  const std::string talk = Talk(0.7);
  EXPECT_THAT(InputErrorOf([&] { mien::Run(Job(talk.substr(0, talk.find("\n300,")))); }),
              HasSubstr("eyeBlinkLeft: 2 blinks, and 4 are needed"));
  EXPECT_FALSE(Wrote());
}

TEST_F(CalibrateWeightsJobs, BlinksAreNotMeasuredAcrossALostFace) {
  const CalibrateWeightsResult result = mien::Run(Job(Talk(0.7, "eyeBlinkLeft,eyeBlinkRight,jawOpen", 180)));
  EXPECT_EQ(RangeOf(result, "eyeBlinkLeft").seen, 6); // the blink at 6 s has no peak
  EXPECT_NEAR(RangeOf(result, "eyeBlinkLeft").low, 0.05, 1e-12);
}

TEST_F(CalibrateWeightsJobs, AllRecordingsAreOfOneKind) {
  CalibrateWeightsJob job = Job(Talk(0.7));
  job.takes.push_back(Write("own.csv", "frame,time,Mouth.Open\n1,0,0\n2,0.1,0\n"));
  EXPECT_EQ(ProblemOf([&] { mien::Run(job); }), "contradiction at no place");
  job.takes[1] = Write("none.csv", "frame,time,jawOpen\n1,0,\n2,0.1,\n");
  EXPECT_THAT(InputErrorOf([&] { mien::Run(job); }), HasSubstr("no frame has weights"));
}
