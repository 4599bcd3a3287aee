#include "host/calibrate/calibration.h"

#include "tests/host/calibrate/lid_animation.h"
#include "tests/host/input_error.h"
#include "tests/host/plain_face.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <vector>

using mien::Animation;
using mien::Calibrate;
using mien::Performer;
using mien::PoseMark;
using mien::Range;
using mien::TemplateCalibration;
using testing::SizeIs;
using tests::StillTake;
using tests::WeightAt;

namespace {

Animation Talk(int blinks) {
  Animation take = StillTake(20);
  for (int i = 0; i < blinks; ++i) tests::Blink(take, 2 + 3 * i, 0.4);
  return take;
}

TemplateCalibration Of(const std::vector<TemplateCalibration>& templates, const std::string& name) {
  for (const TemplateCalibration& t : templates)
    if (t.name == name) return t;
  return {};
}

} // namespace

TEST(Calibration, StatesOfEveryTemplateWhatIsKnown) {
  Performer performer = tests::PlainPerformer();
  performer.holders[5] = {}; // the left cheek
  const auto ordinary = Calibrate({Talk(5)}, performer, {});
  EXPECT_THAT(ordinary, SizeIs(mien::TemplateColumns().size()));
  EXPECT_EQ(Of(ordinary, "LeftEye.Close").range->why, "5 blinks");
  EXPECT_EQ(Of(ordinary, "LeftEye.Close").quiet, 0.0);
  EXPECT_EQ(Of(ordinary, "LeftCheek.Up").why_none, "no markers");
  EXPECT_EQ(Of(ordinary, "Mouth.Open").why_none, "a guided take shows it");
  const auto guided = Calibrate({Talk(5)}, performer, {{"cheeks-up", {0, 30}}});
  EXPECT_EQ(Of(guided, "Mouth.Open").why_none, "no pose of it is marked");
  EXPECT_FALSE(Of(guided, "LeftCheek.Up").range); // no range of what has no markers
  EXPECT_FALSE(Of(guided, "RightCheek.Up").range->trusted);
}

TEST(Calibration, PrefersATrustedPoseToBlinksAndBlinksToADoubtfulPose) {
  Animation take = Talk(5);
  for (std::size_t f = 540; f < 570; ++f) {
    WeightAt(take, f, "LeftEye.Close") = 0.5;
    WeightAt(take, f, "RightEye.Close") = f < 555 ? 0.5 : 0.1; // not held
  }
  const auto templates = Calibrate({take}, tests::PlainPerformer(), {{"eyes-closed", {540, 570}}});
  EXPECT_EQ(Of(templates, "LeftEye.Close").range->why, "eyes-closed");
  EXPECT_DOUBLE_EQ(Of(templates, "LeftEye.Close").range->high, 0.5);
  EXPECT_EQ(Of(templates, "RightEye.Close").range->why, "5 blinks");
}

TEST(Calibration, RefusesTakesThatShowNothing) {
  const Performer plain = tests::PlainPerformer();
  EXPECT_EQ(
      InputErrorOf([&] { Calibrate({Talk(0)}, plain, {}); }),
      "talk: no blink is seen in 600 frames; record half a minute of talking with blinks, or a guided take: "
      "`mien calibrate --list-poses`");
  EXPECT_EQ(
      InputErrorOf([&] { Calibrate({Talk(3)}, plain, {}); }),
      "talk: no range can be trusted: LeftEye.Close: 3 blinks, and 4 are needed; RightEye.Close: 3 blinks, "
      "and "
      "4 are needed; add a take with more blinks, or record a guided take: `mien calibrate --list-poses`");
  Performer without_lids = plain;
  without_lids.holders[3] = without_lids.holders[4] = {};
  EXPECT_EQ(ProblemOf([&] { Calibrate({Talk(5)}, without_lids, {}); }), "unsolvable at no place");
}

TEST(Calibration, RangesForAFileAreRoundedAndWideEnough) {
  std::vector<TemplateCalibration> templates(3);
  templates[0].range = Range{.name = "Mouth.Open", .low = 0.012345, .high = 0.987654};
  templates[1].range = Range{.name = "Mouth.Square", .low = 0, .high = 0.009};
  const std::vector<Range> ranges = RangesOf(templates);
  ASSERT_THAT(ranges, SizeIs(1));
  EXPECT_EQ(ranges[0].low, 0.0123);
  EXPECT_EQ(ranges[0].high, 0.9877);
}
