#include "host/calibrate/blinks.h"

#include "tests/host/calibrate/lid_animation.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <array>
#include <cstddef>
#include <string>
#include <vector>

using mien::Animation;
using mien::Blink;
using mien::BlinkRange;
using mien::FindBlinks;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::SizeIs;
using tests::Close;
using tests::StillTake;

namespace {

constexpr std::array<bool, 2> kBoth = {true, true};

std::vector<std::size_t> Frames(const std::vector<Blink>& blinks) {
  std::vector<std::size_t> frames;
  for (const Blink& blink : blinks) frames.push_back(blink.frame);
  return frames;
}

std::vector<BlinkRange> RangesOf(const std::vector<Animation>& takes,
                                 const std::array<bool, 2>& eyes = kBoth) {
  return BlinkRanges(takes, FindBlinks(takes, eyes), eyes);
}

/// Twenty seconds with a blink of this height every three seconds from 2 s on: six.
Animation Talk(double peak = 0.4, int hz = 30) {
  Animation take = StillTake(20, hz);
  for (int i = 0; i < 6; ++i) tests::Blink(take, 2 + 3 * i, peak);
  return take;
}

} // namespace

TEST(Blinks, AreFoundAtTheirLowestFrameAtAnyRate) {
  for (const int hz : {24, 30, 60, 120}) {
    std::vector<std::size_t> seconds;
    for (const std::size_t frame : Frames(FindBlinks({Talk(0.4, hz)}, kBoth)))
      seconds.push_back(frame / static_cast<std::size_t>(hz));
    EXPECT_THAT(seconds, ElementsAre(2, 5, 8, 11, 14, 17)) << hz;
  }
}

TEST(Blinks, ReadOneAndTheLidsBetweenThemZero) {
  Animation take = StillTake(20);
  const double peaks[] = {0.3, 0.5, 0.4, 0.35, 0.45};
  for (int i = 0; i < 5; ++i) tests::Blink(take, 2 + 3 * i, peaks[i]);
  for (double& weight : take.weights) weight += 0.02; // the neutral is a little too open
  const auto ranges = RangesOf({take});
  ASSERT_THAT(ranges, SizeIs(2));
  for (const BlinkRange& blinks : ranges) {
    EXPECT_DOUBLE_EQ(blinks.range.low, 0.02);
    EXPECT_DOUBLE_EQ(blinks.range.high, 0.42);
    EXPECT_EQ(blinks.range.seen, 5);
    EXPECT_TRUE(blinks.range.trusted) << blinks.range.why;
    EXPECT_EQ(blinks.range.why, "5 blinks");
    EXPECT_EQ(blinks.quiet, 0);
  }
  EXPECT_EQ(ranges[0].range.name, "LeftEye.Close");
  EXPECT_EQ(ranges[1].range.name, "RightEye.Close");
}

TEST(Blinks, OfSeveralTakesCountTogether) {
  Animation first = StillTake(8), second = StillTake(8, 60);
  for (const double at : {2.0, 5.0}) {
    tests::Blink(first, at, 0.4);
    tests::Blink(second, at, 0.4);
  }
  EXPECT_THAT(RangesOf({first})[0].range.why, "2 blinks, and 4 are needed");
  const auto ranges = RangesOf({first, second});
  EXPECT_EQ(ranges[0].range.seen, 4);
  EXPECT_TRUE(ranges[0].range.trusted);
  EXPECT_DOUBLE_EQ(ranges[0].range.high, 0.4);
}

TEST(Blinks, AreNeitherWinksNorGlancesNorClosedEyes) {
  Animation take = Talk();
  const std::vector<std::size_t> blinks = Frames(FindBlinks({take}, kBoth));
  Close(take, "LeftEye.Close", 3.5, 0.4); // a wink
  for (const char* name : {"LeftEye.Close", "RightEye.Close"})
    Close(take, name, 9.5, 0.3, 0.6, 0.8); // a look down
  for (const char* name : {"LeftEye.Close", "RightEye.Close"}) Close(take, name, 12.5, 0.4, 0.1, 1); // closed
  for (const char* name : {"LeftEye.Close", "RightEye.Close"}) Close(take, name, 15.5, 0.15); // a twitch
  EXPECT_EQ(Frames(FindBlinks({take}, kBoth)), blinks);
}

TEST(Blinks, AreNotMeasuredAcrossDroppedFrames) {
  Animation take = StillTake(10);
  for (const char* name : {"LeftEye.Close", "RightEye.Close"})
    Close(take, name, 5, 0.4, 0.1, 4); // closed for 4 s
  EXPECT_THAT(FindBlinks({take}, kBoth), IsEmpty());
  Animation cut = StillTake(0);
  for (std::size_t f = 0; f < take.frames.size(); ++f) {
    if (take.times[f] > 3.2 && take.times[f] < 6.8) continue; // most of it was not recorded
    cut.frames.push_back(take.frames[f]);
    cut.times.push_back(take.times[f]);
    for (std::size_t t = 0; t < take.layout.templates.size(); ++t) cut.weights.push_back(take.Weight(f, t));
  }
  EXPECT_THAT(FindBlinks({cut}, kBoth), IsEmpty());
}

// Noise has quick motions of both lids as well, but never far from the rest of it.
TEST(Blinks, OfNoiseAreNotTrusted) {
  for (const double deviation : {0.03, 0.1, 0.3}) {
    Animation take = StillTake(40);
    tests::AddLidNoise(take, deviation);
    for (const BlinkRange& blinks : RangesOf({take})) EXPECT_FALSE(blinks.range.trusted) << deviation;
  }
}

TEST(Blinks, AreFoundInNoise) {
  Animation take = Talk(0.8);
  tests::AddLidNoise(take, 0.05);
  const auto ranges = RangesOf({take});
  for (const BlinkRange& blinks : ranges) {
    EXPECT_EQ(blinks.range.seen, 6);
    EXPECT_TRUE(blinks.range.trusted) << blinks.range.why;
    EXPECT_NEAR(blinks.range.high, 0.8, 0.08); // three times the standard error of a median of six
  }
}

TEST(Blinks, WithoutAnyThereIsNoRange) {
  EXPECT_THAT(RangesOf({StillTake(10)}), IsEmpty());
  EXPECT_THAT(RangesOf({StillTake(0)}), IsEmpty());
  EXPECT_THAT(RangesOf({Talk()}, {false, false}), IsEmpty());
}

TEST(Blinks, OfOneEyeWithMarkersCalibrateIt) {
  Animation take = StillTake(20);
  for (int i = 0; i < 6; ++i) Close(take, "RightEye.Close", 2 + 3 * i, 0.4);
  const auto ranges = RangesOf({take}, {false, true});
  ASSERT_THAT(ranges, SizeIs(1));
  EXPECT_EQ(ranges[0].range.name, "RightEye.Close");
  EXPECT_DOUBLE_EQ(ranges[0].range.high, 0.4);
}

TEST(Blinks, WhoseHeightsDifferTooMuchAreNotTrusted) {
  Animation take = StillTake(20);
  const double peaks[] = {0.3, 0.3, 0.9, 0.9};
  for (int i = 0; i < 4; ++i) tests::Blink(take, 2 + 3 * i, peaks[i]);
  const mien::Range range = RangesOf({take})[0].range;
  EXPECT_EQ(range.seen, 4);
  EXPECT_FALSE(range.trusted);
  EXPECT_THAT(range.why, HasSubstr("the 4 blinks differ: their median is uncertain by 46 %"));
}

TEST(Blinks, OfLidsThatHardlyMoveAreNotTrusted) {
  EXPECT_EQ(RangesOf({Talk(0.08)})[0].range.why, "the lid moves by 0.08 only");
}

// Where the lids are lowered, a small motion of them is at the height of a blink.
TEST(Blinks, OnLoweredLidsAreNotTrusted) {
  Animation take = StillTake(40);
  for (int i = 0; i < 6; ++i)
    for (const char* name : {"LeftEye.Close", "RightEye.Close"}) {
      Close(take, name, 2 + 6 * i, 0.5, 0.5, 0.6);
      Close(take, name, 2 + 6 * i, 0.1);
    }
  const mien::Range range = RangesOf({take})[0].range;
  EXPECT_FALSE(range.trusted);
  EXPECT_THAT(range.why, HasSubstr("lowered for longer than a blink lasts"));
}

TEST(Blinks, TheQuietFramesShowHowOftenTheLidsAreLowered) {
  Animation take = Talk();
  for (const char* name : {"LeftEye.Close", "RightEye.Close"}) Close(take, name, 18.8, 0.2, 0.2, 1.5);
  const auto ranges = RangesOf({take});
  EXPECT_TRUE(ranges[0].range.trusted) << ranges[0].range.why;
  EXPECT_DOUBLE_EQ(ranges[0].range.high, 0.4);
  EXPECT_NEAR(ranges[0].quiet, 0.5, 1e-12);
}
