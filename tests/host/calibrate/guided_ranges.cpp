#include "host/calibrate/guided_ranges.h"

#include "tests/host/calibrate/lid_animation.h"
#include "tests/host/input_error.h"
#include "tests/host/plain_face.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <vector>

using mien::Animation;
using mien::CalibrationRecord;
using mien::NeutralPose;
using mien::PoseMark;
using mien::Range;
using mien::Take;
using testing::ElementsAre;
using testing::IsEmpty;
using tests::StillTake;
using tests::WeightAt;

namespace {

void Hold(Animation& take, const std::string& name, std::size_t first, std::size_t end, double weight) {
  for (std::size_t f = first; f < end; ++f) WeightAt(take, f, name) = weight;
}

Range RangeOf(const Animation& take, const std::string& name, const std::vector<PoseMark>& marks) {
  for (const Range& range : GuidedRanges(take, marks))
    if (range.name == name) return range;
  return {.name = "none"};
}

} // namespace

TEST(GuidedRanges, GoFromRestToTheLevelOfThePose) {
  Animation take = StillTake(10);
  Hold(take, "Mouth.Open", 0, 60, 0.02);
  Hold(take, "Mouth.Open", 100, 160, 0.62);
  WeightAt(take, 120, "Mouth.Open") = 1.5; // an outlier does not count
  const Range range = RangeOf(take, "Mouth.Open", {{"rest", {0, 60}}, {"jaw-open", {100, 160}}});
  EXPECT_DOUBLE_EQ(range.low, 0.02);
  EXPECT_DOUBLE_EQ(range.high, 0.62);
  EXPECT_EQ(range.seen, 1);
  EXPECT_TRUE(range.trusted);
  EXPECT_EQ(range.why, "jaw-open");
  EXPECT_DOUBLE_EQ(RangeOf(take, "Mouth.Open", {{"jaw-open", {100, 160}}}).low,
                   0); // without a recording of rest
}

TEST(GuidedRanges, AreOfTheTemplatesThatTheMarkedPosesShow) {
  Animation take = StillTake(10);
  std::vector<std::string> names;
  for (const Range& range :
       GuidedRanges(take, {{"rest", {0, 60}}, {"smile", {100, 160}}, {"lips-round", {200, 220}}}))
    names.push_back(range.name);
  EXPECT_THAT(names, ElementsAre("Mouth.CornersUpR", "Mouth.CornersUpL"));
  EXPECT_THAT(GuidedRanges(take, {}), IsEmpty());
}

// One side after the other, or the same pose twice and once half-heartedly.
TEST(GuidedRanges, CountTheRecordingsThatReachHalfOfTheStrongest) {
  Animation take = StillTake(10);
  Hold(take, "LeftNostril.Up", 30, 60, 0.4);
  Hold(take, "RightNostril.Up", 90, 120, 0.6);
  Hold(take, "LeftNostril.Up", 150, 180, 0.5);
  const std::vector<PoseMark> marks = {{"sneer", {30, 60}}, {"sneer", {90, 120}}, {"sneer", {150, 180}}};
  const Range left = RangeOf(take, "LeftNostril.Up", marks), right = RangeOf(take, "RightNostril.Up", marks);
  EXPECT_DOUBLE_EQ(left.high, 0.45);
  EXPECT_EQ(left.seen, 2);
  EXPECT_EQ(left.why, "2 recordings of sneer");
  EXPECT_DOUBLE_EQ(right.high, 0.6);
  EXPECT_EQ(right.seen, 1);
}

TEST(GuidedRanges, OfWhatHardlyMovesIsNotHeldOrIsShortAreNotTrusted) {
  Animation take = StillTake(10);
  Hold(take, "Mouth.Open", 0, 30, 0.05);
  EXPECT_EQ(RangeOf(take, "Mouth.Open", {{"jaw-open", {0, 30}}}).why, "it moves by 0.05 only in jaw-open");
  Hold(take, "Mouth.Open", 60, 80, 0.8);
  Hold(take, "Mouth.Open", 80, 100, 0.4);
  EXPECT_EQ(RangeOf(take, "Mouth.Open", {{"jaw-open", {60, 100}}}).why, "jaw-open is not held");
  EXPECT_EQ(RangeOf(take, "Mouth.Open", {{"jaw-open", {61, 65}}}).why,
            "4 frames of jaw-open, and 5 are needed");
  EXPECT_TRUE(RangeOf(take, "Mouth.Open", {{"jaw-open", {61, 66}}}).trusted);
  EXPECT_FALSE(RangeOf(take, "Mouth.Open", {{"jaw-open", {200, 240}}}).trusted); // stays at rest
  for (std::size_t f = 120; f < 130; ++f) WeightAt(take, f, "Mouth.Open") = f % 2 ? 0.1 : 0.9;
  EXPECT_THAT(RangeOf(take, "Mouth.Open", {{"jaw-open", {120, 130}}}).why,
              testing::StartsWith("noise leaves it uncertain by "));
}

namespace {

/// A face that opens its mouth in frames 10 to 19, under a moving head, and its solve as far as poses need
/// it.
struct Guided {
  Take take = tests::EmptyTake();
  Animation animation;

  explicit Guided(double opening_mm) {
    tests::Random random(3);
    for (int f = 0; f < 30; ++f) {
      NeutralPose face = tests::PlainFace();
      if (f >= 10 && f < 20) face["Chin"].y -= opening_mm;
      animation.heads.push_back(tests::AnyMotion(random));
      tests::Film(take, face, animation.heads.back());
    }
  }
  std::vector<CalibrationRecord::Pose> Poses(const std::vector<PoseMark>& marks) const {
    return RecordPoses(take, animation, tests::PlainPerformer(), tests::PlainFace(), marks, "marks.csv");
  }
};

} // namespace

TEST(RecordPoses, HasTheFacesMarkersInTheHeadsFrame) {
  Guided guided(20);
  tests::Hide(guided.take, 12, {"Chin"});
  for (std::size_t f = 10; f < 20; ++f) tests::Hide(guided.take, f, {"CheekL"});
  const auto poses = guided.Poses({{"rest", {0, 10}}, {"jaw-open", {10, 20}}});
  ASSERT_EQ(poses.size(), 2u);
  EXPECT_EQ(poses[1].name, "jaw-open");
  EXPECT_EQ(poses[1].frames.first, 11);
  EXPECT_EQ(poses[1].frames.last, 20);
  EXPECT_FALSE(poses[1].points.contains("CheekL")); // never seen in it
  EXPECT_FALSE(poses[1].points.contains("H1"));
  NeutralPose expected = tests::PlainFace();
  expected["Chin"].y -= 20;
  for (const auto& [marker, p] : poses[1].points) {
    EXPECT_NEAR(p.x, expected[marker].x, 1e-9) << marker;
    EXPECT_NEAR(p.y, expected[marker].y, 1e-9) << marker;
    EXPECT_NEAR(p.z, expected[marker].z, 1e-9) << marker;
  }
}

TEST(RecordPoses, RefusesAPoseInWhichNothingMoves) {
  EXPECT_EQ(InputErrorOf([] {
              Guided(0.9).Poses({{"rest", {0, 10}, 2}, {"jaw-open", {10, 20}, 3}});
            }),
            "marks.csv:3: nothing moves in jaw-open: in frames 11 to 20 every marker is within 1 mm of its "
            "place at "
            "rest; correct the frames, or leave the pose out");
  EXPECT_EQ(Guided(1.1).Poses({{"rest", {0, 10}, 2}, {"jaw-open", {10, 20}, 3}}).size(), 2u);
  EXPECT_EQ(ProblemOf([] {
              Guided(0.9).Poses({{"jaw-open", {10, 20}, 2}});
            }),
            "unsolvable at 2"); // without rest
}
