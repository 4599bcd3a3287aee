#include "host/jobs/causal_solve.h"

#include "host/files/read_file.h"
#include "tests/host/input_error.h"
#include "tests/host/temporary_folder.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <functional>
#include <string>

using mien::RetargetJob;
using mien::SolveJob;
using testing::AllOf;
using testing::HasSubstr;

namespace {

class CausalSolve : public TemporaryFolder {
protected:
  SolveJob Landmarks(const std::string& output) const {
    SolveJob job;
    job.take = MIEN_SAMPLES_FOLDER "/landmarks.csv";
    job.performer = "landmarks68";
    job.output = (folder_ / output).string();
    job.causal.on = true;
    return job;
  }
};

} // namespace

TEST_F(CausalSolve, OfATakeWithALearnedFaceIsCloseToThatOfTheWholeTake) {
  SolveJob job = Landmarks("causal.csv");
  job.causal.neutral_take = job.take;
  const mien::SolveResult causal = mien::Run(job);
  ASSERT_TRUE(causal.causal);
  EXPECT_EQ(causal.causal->lost_frames, 4u);
  EXPECT_EQ(causal.causal->learning_frames, 0u);
  job.causal = {};
  const mien::SolveResult whole = mien::Run(job);
  EXPECT_FALSE(whole.causal);
  ASSERT_EQ(causal.animation.weights.size(), whole.animation.weights.size());
  double squares = 0;
  for (std::size_t i = 0; i < whole.animation.weights.size(); ++i) {
    const double off = causal.animation.weights[i] - whole.animation.weights[i];
    squares += off * off;
  }
  EXPECT_LT(squares / static_cast<double>(whole.animation.weights.size()), 0.004 * 0.004); // measured: 0.0025
}

TEST_F(CausalSolve, LearnsFromTheFirstSecondsWithoutATake) {
  SolveJob job = Landmarks("learned.csv");
  job.causal.learn_s = 0.5;
  const mien::SolveResult result = mien::Run(job);
  EXPECT_EQ(result.causal->learning_frames, 16u);
  EXPECT_EQ(result.animation.frames.size(), 360u);
}

TEST_F(CausalSolve, RefusesWhatNeedsTheFramesToCome) {
  const auto refused = [&](const std::function<void(SolveJob&)>& set) {
    SolveJob job = Landmarks("refused.csv");
    set(job);
    return InputErrorOf([&] { mien::Run(job); });
  };
  EXPECT_THAT(refused([](SolveJob& job) { job.solve.smooth_weights_hz = 5; }),
              AllOf(HasSubstr("smooth-weights"), HasSubstr("one-euro")));
  EXPECT_THAT(refused([](SolveJob& job) { job.solve.smooth_positions_hz = 5; }), HasSubstr("later frames"));
  EXPECT_THAT(refused([](SolveJob& job) { job.solve.face_fill.clear(); }), HasSubstr("later frames"));
  EXPECT_THAT(refused([](SolveJob& job) { job.solve.head_tolerance_mm.reset(); }), HasSubstr("keep-slipped"));
  EXPECT_THAT(refused([](SolveJob& job) { job.solve.level_lids = true; }), HasSubstr("level-lids"));
  EXPECT_THAT(refused([](SolveJob& job) {
                job.neutral = mien::FrameRange{1, 2};
              }),
              HasSubstr("neutral-take"));
  EXPECT_THAT(refused([](SolveJob& job) { job.report = "r.json"; }), HasSubstr("report"));
  EXPECT_THAT(refused([](SolveJob& job) {
                job.causal.on = false;
                job.causal.hold_s = 1;
              }),
              HasSubstr("needs --causal"));
}

TEST_F(CausalSolve, OfWeightsIsThatOfTheirStream) {
  RetargetJob job;
  job.weights = MIEN_SAMPLES_FOLDER "/mesh/talk_phone.csv";
  job.output = (folder_ / "whole.csv").string();
  mien::Run(job);
  const std::string whole = mien::ReadFile(job.output);
  job.causal.on = true;
  job.output = (folder_ / "causal.csv").string();
  mien::Run(job);
  EXPECT_EQ(mien::ReadFile(job.output), whole) << "nothing is missing in this recording";
  job.landmarks = "face.csv";
  EXPECT_THAT(InputErrorOf([&] { mien::Run(job); }), HasSubstr("later frames"));
}
