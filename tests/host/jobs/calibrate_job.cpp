#include "host/jobs/calibrate_job.h"

#include "host/files/read_file.h"
#include "host/files/sha256.h"
#include "host/jobs/convert_job.h"
#include "host/jobs/performer_job.h"
#include "host/jobs/solve_job.h"
#include "host/performer/performer_file.h"
#include "tests/host/input_error.h"
#include "tests/host/note.h"
#include "tests/host/temporary_folder.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <string>
#include <variant>
#include <vector>

using mien::CalibrateJob;
using mien::CalibrateResult;
using mien::Performer;
using mien::Range;
using mien::ReadFile;
using mien::SolveJob;
using testing::Contains;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

namespace {

const std::filesystem::path kSamples = MIEN_SAMPLES_FOLDER;

class CalibrateJobs : public TemporaryFolder {
protected:
  CalibrateJob Job() const {
    CalibrateJob job;
    job.takes = {kSamples / "landmarks.csv"};
    job.performer = "landmarks68";
    job.output = folder_ / "ada.json";
    job.name = "Ada";
    return job;
  }

  /// The job with this table of poses.
  CalibrateJob Guided(const std::string& marks) const {
    CalibrateJob job = Job();
    job.poses = folder_ / "marks.csv";
    std::ofstream(job.poses) << marks;
    return job;
  }

  /// The message of a job that fails, which must leave nothing behind.
  std::string Error(const CalibrateJob& job) const {
    const std::string message = InputErrorOf([&] { mien::Run(job); });
    EXPECT_FALSE(std::filesystem::exists(folder_ / "ada.json"));
    return message;
  }

  Performer Saved() const { return mien::LoadPerformer(folder_ / "ada.json"); }

  /// A part of the sample, which blinks at frames 7, 157, 287 and 323.
  std::string Part(std::int64_t first, std::int64_t last) const {
    mien::ConvertJob job;
    job.take = kSamples / "landmarks.csv";
    job.output = folder_ / "part.csv";
    job.frames = mien::FrameRange{first, last};
    mien::Run(job);
    return job.output;
  }

  SolveJob Solve() const {
    SolveJob job;
    job.take = kSamples / "landmarks.csv";
    job.performer = folder_ / "ada.json";
    job.output = folder_ / "weights.csv";
    return job;
  }
};

constexpr char kMarks[] = "pose,from,to\nrest,1,12\njaw-open,20,24\nbrows-up,118,126\n";

const Range* Find(const std::vector<Range>& ranges, const std::string& name) {
  for (const Range& range : ranges)
    if (range.name == name) return &range;
  return nullptr;
}

} // namespace

TEST_F(CalibrateJobs, SavesTheNeutralTheRangesAndWhereTheyComeFrom) {
  const CalibrateResult result = mien::Run(Job());
  const Performer saved = Saved();
  EXPECT_EQ(saved.name, "Ada");
  EXPECT_EQ(saved.holders, mien::LoadPerformer("landmarks68").holders);
  EXPECT_EQ(std::get<mien::NeutralPose>(saved.neutral).size(), result.neutral.pose.size());
  ASSERT_EQ(saved.ranges.size(), 2u);
  EXPECT_EQ(saved.ranges[0].name, "LeftEye.Close");
  EXPECT_TRUE(saved.ranges[0].trusted);
  EXPECT_EQ(saved.ranges[0].seen, 4); // three, and the eyes that are closed one shortly after the other
  EXPECT_NEAR(saved.ranges[0].high, 1, 0.05); // the performer has the default face's proportions
  ASSERT_EQ(saved.calibration.takes.size(), 1u);
  EXPECT_EQ(saved.calibration.takes[0].name, "landmarks.csv");
  EXPECT_EQ(saved.calibration.takes[0].sha256, mien::Sha256(ReadFile(kSamples / "landmarks.csv")));
  EXPECT_EQ(saved.calibration.landmarks, 68u);
  EXPECT_EQ(saved.calibration.Setting("brows"), "fit");
  EXPECT_THAT(saved.calibration.poses, IsEmpty());
}

TEST_F(CalibrateJobs, GuidedHasThePosesAndNamesThoseThatAreMissing) {
  const CalibrateResult result = mien::Run(Guided(kMarks));
  const Performer saved = Saved();
  ASSERT_TRUE(Find(saved.ranges, "Mouth.Open"));
  EXPECT_TRUE(Find(saved.ranges, "Mouth.Open")->trusted);
  EXPECT_NEAR(Find(saved.ranges, "Mouth.Open")->high, 0.94, 0.05); // the median of five frames around 1
  EXPECT_TRUE(Find(saved.ranges, "LeftEye.Close")->trusted);       // of the blinks
  ASSERT_EQ(saved.calibration.poses.size(), 3u);
  EXPECT_EQ(saved.calibration.poses[1].name, "jaw-open");
  EXPECT_EQ(saved.calibration.poses[1].frames.first, 20);
  // The lower lip is a centimetre or more below where it rests, in the head's frame.
  EXPECT_LT(saved.calibration.poses[1].points.at("lm66").y,
            saved.calibration.poses[0].points.at("lm66").y - 10);
  ASSERT_EQ(result.notes.size(), 1u);
  EXPECT_THAT(
      result.notes[0].what,
      HasSubstr("poses that are not marked: eyes-closed, eyes-wide, squint, cheeks-up, brows-down, sneer"));
}

TEST_F(CalibrateJobs, ASolveAppliesTheRangesUnlessAskedNotTo) {
  mien::Run(Guided(kMarks));
  SolveJob job = Solve();
  const mien::SolveResult with = mien::Run(job);
  std::vector<std::string> applied;
  for (const Range& range : with.report.ranges) applied.push_back(range.name);
  EXPECT_THAT(applied, ElementsAre("Mouth.Open", "LeftEye.Close", "RightEye.Close"));
  EXPECT_EQ(with.ranges.size(), 5u); // those of the brows are not trusted: the right one rises later
  const std::string calibrated = ReadFile(job.output);
  job.ranges = false;
  const mien::SolveResult without = mien::Run(job);
  EXPECT_THAT(without.report.ranges, IsEmpty());
  EXPECT_EQ(without.ranges, with.ranges);
  EXPECT_NE(ReadFile(job.output), calibrated);
  job.performer = "landmarks68";
  const std::string measured = ReadFile(job.output);
  mien::Run(job);
  EXPECT_EQ(ReadFile(job.output), measured); // the neutral is that of the take
}

// The ranges are of the weights that these settings give.
TEST_F(CalibrateJobs, ASolveWithOtherBrowsOrAnotherNeutralSaysSo) {
  mien::Run(Job());
  SolveJob job = Solve();
  job.solve.brows = mien::BrowMethod::Core;
  EXPECT_EQ(
      InputErrorOf([&] { mien::Run(job); }),
      "brows: the ranges of \"Ada\" were measured with --brows fit; solve with it, or with --no-ranges");
  job.ranges = false;
  EXPECT_NO_THROW(mien::Run(job));
  job = Solve();
  job.neutral = mien::FrameRange{1, 10};
  EXPECT_THAT(mien::Run(job).neutral.notes, Contains(Says(HasSubstr("measured from another neutral face"))));
}

TEST_F(CalibrateJobs, AnotherNeutralInThePerformerFileEndsTheRanges) {
  mien::Run(Job());
  mien::PerformerJob job;
  job.take = kSamples / "landmarks.csv";
  job.performer = job.output = folder_ / "ada.json";
  mien::Run(job); // its own neutral
  EXPECT_EQ(Saved().ranges.size(), 2u);
  job.neutral = mien::FrameRange{1, 10};
  EXPECT_THAT(mien::Run(job).notes, Contains(Says(HasSubstr("are left out; calibrate again"))));
  EXPECT_THAT(Saved().ranges, IsEmpty());
  EXPECT_TRUE(Saved().calibration.IsEmpty());
}

TEST_F(CalibrateJobs, ACalibratedPerformerIsCalibratedAgain) {
  mien::Run(Guided(kMarks));
  CalibrateJob job = Job();
  job.performer = job.output;
  mien::Run(job);
  EXPECT_EQ(Saved().ranges.size(), 2u); // without those of the poses
  EXPECT_EQ(Saved().calibration.takes.size(), 1u);
}

TEST_F(CalibrateJobs, SeveralTakesCountTogether) {
  CalibrateJob job = Job();
  job.takes = {Part(1, 262), kSamples / "landmarks.csv"};
  mien::Run(job);
  EXPECT_EQ(Saved().ranges[0].seen, 6); // 2 and 4
  EXPECT_EQ(Saved().calibration.takes.size(), 2u);
}

TEST_F(CalibrateJobs, ATakeWithoutBlinksLeavesNothing) {
  CalibrateJob job = Job();
  job.takes = {Part(12, 140)};
  EXPECT_THAT(Error(job), HasSubstr("no blink is seen in 129 frames"));
}

TEST_F(CalibrateJobs, AMarkAtFaultLeavesNothing) {
  EXPECT_THAT(
      Error(Guided("pose,from,to\njaw-open,350,370\n")),
      HasSubstr("marks.csv:2: the take \"landmarks\" does not have all of these frames; it has 1 to 360"));
  EXPECT_THAT(Error(Guided("pose,from,to\njaw-open,20,24\nsmile,24,26\n")), HasSubstr("overlap"));
  EXPECT_THAT(Error(Guided("pose,from,to\njaw-opened,20,24\n")), HasSubstr("did you mean jaw-open?"));
  EXPECT_THAT(Error(Guided("pose,from,to\nrest,1,4\njaw-open,12,16\n")),
              HasSubstr("nothing moves in jaw-open"));
  EXPECT_THAT(Error(Guided("pose,from,to\n")), HasSubstr("there is no pose in it"));
  CalibrateJob missing = Job();
  missing.poses = folder_ / "none.csv";
  EXPECT_THAT(Error(missing), HasSubstr("none.csv"));
}

TEST_F(CalibrateJobs, APerformerOfOtherMarkersLeavesNothing) {
  CalibrateJob job = Job();
  job.performer = kSamples / "markers.performer.json";
  EXPECT_THAT(Error(job), HasSubstr("the take \"landmarks\" has no marker"));
  job = Job();
  job.takes.push_back(kSamples / "markers.csv"); // the second take
  EXPECT_THAT(Error(job), HasSubstr("the take \"markers\" has no marker"));
}

TEST_F(CalibrateJobs, WritesNeitherOverATakeNorOverTheMarks) {
  CalibrateJob job = Job();
  job.output = job.takes[0];
  EXPECT_EQ(ProblemOf([&] { mien::Run(job); }), "usage at output");
  job = Guided(kMarks);
  job.output = job.poses;
  EXPECT_EQ(ProblemOf([&] { mien::Run(job); }), "usage at output");
  job = Job();
  job.takes = {"-", "-"};
  EXPECT_EQ(ProblemOf([&] { mien::Run(job); }), "usage at take");
}
