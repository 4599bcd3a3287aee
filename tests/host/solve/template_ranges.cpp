#include "host/solve/template_ranges.h"

#include "host/cleaning/low_pass.h"
#include "host/solve/solve_take.h"
#include "tests/host/plain_face.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstddef>
#include <string>
#include <vector>

using mien::Animation;
using mien::NeutralPose;
using mien::Performer;
using mien::Range;
using mien::SolvedTake;
using mien::SolveOptions;
using mien::Take;
using testing::ElementsAre;
using testing::IsEmpty;

namespace {

const std::vector<Range> kRanges = {{"Mouth.Open", 0.05, 0.25, 1, true, ""},
                                    {"LeftEye.Close", 0, 0.4, 9, true, ""},
                                    {"RightEye.Close", 0, 0.4, 2, false, "2 blinks"}};

/// A mouth that opens and lids that close, under a moving head.
Take Talk() {
  tests::Random random(8);
  Take take = tests::EmptyTake();
  for (int f = 0; f < 60; ++f) {
    NeutralPose face = tests::PlainFace();
    face["Chin"].y -= f % 13, face["LipLow"].y -= f % 13;
    face["LidUpL"].y -= f % 7, face["LidUpR"].y -= f % 7;
    tests::Film(take, face, tests::AnyMotion(random));
  }
  return take;
}

Performer Calibrated() {
  Performer performer = tests::PlainPerformer();
  performer.ranges = kRanges;
  return performer;
}

SolvedTake Solved(const Performer& performer, const SolveOptions& options = {}) {
  return SolveTake(Talk(), performer, tests::PlainFace(), options);
}

/// A template's weight in every frame.
std::vector<double> Curve(const Animation& animation, const std::string& name) {
  std::vector<double> curve;
  for (std::size_t t = 0; t < animation.layout.templates.size(); ++t)
    if (animation.layout.templates[t].name == name)
      for (std::size_t f = 0; f < animation.frames.size(); ++f) curve.push_back(animation.Weight(f, t));
  return curve;
}

} // namespace

TEST(TemplateRanges, ChangeTheTemplatesWithATrustedRangeAlone) {
  const SolvedTake raw = Solved(tests::PlainPerformer()), solved = Solved(Calibrated());
  double highest = 0;
  for (const mien::TemplateColumn& column : raw.animation.layout.templates) {
    const auto before = Curve(raw.animation, column.name), after = Curve(solved.animation, column.name);
    for (std::size_t f = 0; f < before.size(); ++f) {
      if (column.name == "Mouth.Open")
        EXPECT_EQ(after[f], kRanges[0].Read(before[f]));
      else if (column.name == "LeftEye.Close")
        EXPECT_EQ(after[f], kRanges[1].Read(before[f]));
      else
        EXPECT_EQ(after[f], before[f]) << column.name;
      highest = std::max(highest, after[f]);
    }
  }
  EXPECT_GT(highest, 1); // weights beyond 1 stay possible
}

TEST(TemplateRanges, AreReported) {
  EXPECT_THAT(Solved(Calibrated()).report.ranges, ElementsAre(kRanges[0], kRanges[1]));
  EXPECT_THAT(Solved(tests::PlainPerformer()).report.ranges, IsEmpty());
}

TEST(TemplateRanges, ComeBeforeTheSmoothing) {
  SolveOptions smooth;
  smooth.smooth_weights_hz = 4;
  const Animation raw = Solved(tests::PlainPerformer()).animation,
                  solved = Solved(Calibrated(), smooth).animation;
  std::vector<double> expected = Curve(raw, "Mouth.Open");
  for (double& weight : expected) weight = kRanges[0].Read(weight);
  mien::LowPass(4, raw.layout.rate).Filter(expected);
  EXPECT_EQ(Curve(solved, "Mouth.Open"), expected);
}

// Jumps and limits are those of what was measured.
TEST(TemplateRanges, LeaveTheQualityAsItIs) {
  EXPECT_EQ(Solved(Calibrated()).report.quality.flags, Solved(tests::PlainPerformer()).report.quality.flags);
}
