#include "host/compare/align.h"

#include "tests/host/compare/recordings.h"
#include "tests/host/input_error.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>

using mien::Align;
using mien::AlignBy;
using mien::Alignment;
using testing::AllOf;
using testing::HasSubstr;

namespace {

constexpr mien::FrameRate kNtsc = {30000, 1001};

/// "a-b" of each moment; with "+" behind it where it is between b and the next.
std::vector<std::string> Moments(const Alignment& alignment) {
  std::vector<std::string> texts;
  for (const auto& [a, b, exact] : alignment.moments)
    texts.push_back(std::to_string(a) + "-" + std::to_string(b) + (exact ? "" : "+"));
  return texts;
}

} // namespace

TEST(Align, EqualRatesWithoutTimecodesAreAlignedByFrameNumbers) {
  const Alignment alignment = Align(Frames(4), Frames(4, {30, 1}, 3));
  EXPECT_EQ(alignment.by, AlignBy::Frames);
  EXPECT_THAT(Moments(alignment), testing::ElementsAre("2-0", "3-1"));
  EXPECT_EQ(alignment.only_a, 2U);
  EXPECT_EQ(alignment.only_b, 2U);
  EXPECT_EQ(alignment.Text(), "by frame number; B starts 2 frames later");
}

TEST(Align, DroppedFramesAreFoundByTheirNumbersAndNotFilled) {
  mien::Recording a = Frames(6), b = Frames(6);
  for (mien::Recording* const r : {&a, &b}) {
    const std::ptrdiff_t dropped = r == &a ? 1 : 3; // a lacks frame 2, b frame 4
    std::move(r->frames.begin() + dropped + 1, r->frames.end(), r->frames.begin() + dropped);
    std::move(r->times.begin() + dropped + 1, r->times.end(), r->times.begin() + dropped);
    r->frames.pop_back();
    r->times.pop_back();
  }
  for (const AlignBy by : {AlignBy::Frames, AlignBy::Time}) {
    const Alignment alignment = Align(a, b, {.by = by});
    EXPECT_THAT(Moments(alignment), testing::ElementsAre("0-0", "1-2", "3-3", "4-4"));
    EXPECT_EQ(alignment.only_a, 1U);
    EXPECT_EQ(alignment.only_b, 1U);
  }
}

TEST(Align, OtherRatesAreAlignedByTime) {
  const Alignment alignment = Align(Frames(3, {30, 1}), Frames(4, {60, 1}, 7));
  EXPECT_EQ(alignment.by, AlignBy::Time);
  EXPECT_THAT(Moments(alignment), testing::ElementsAre("0-0", "1-2"));
  const Alignment back = Align(Frames(4, {60, 1}), Frames(3, {30, 1}));
  EXPECT_THAT(Moments(back), testing::ElementsAre("0-0", "1-0+", "2-1", "3-1+"));
  EXPECT_EQ(back.interpolated, 2U);
  EXPECT_EQ(Align(Frames(3, {30, 1}), Frames(3, kNtsc)).by, AlignBy::Time);
  EXPECT_EQ(Align(Frames(3, {30, 1}), Frames(3, kNtsc), {.by = AlignBy::Frames}).moments.size(), 3U);
}

TEST(Align, TimecodesAreAlignedAcrossMidnight) {
  const mien::Recording a = At(Frames(90), "23:59:59:00"), b = At(Frames(90, {30, 1}, 500), "00:00:00:10");
  const Alignment alignment = Align(a, b);
  EXPECT_EQ(alignment.by, AlignBy::Timecode);
  EXPECT_NEAR(alignment.b_starts, 40, 1e-9);
  EXPECT_EQ(Moments(alignment).front(), "40-0");
  EXPECT_EQ(alignment.moments.size(), 50U);
  EXPECT_EQ(alignment.interpolated, 0U);
  EXPECT_EQ(alignment.Text(), "by timecode; B starts 40 frames later");
  EXPECT_EQ(Align(b, a).Text(), "by timecode; B starts 40 frames earlier");
}

TEST(Align, DropFrameTimecodesAreCountedAndThoseOfOtherRatesCompareTheTimeOfDay) {
  // 10:00:59;29 is the frame before 10:01:00;02.
  const Alignment drop = Align(At(Frames(9, kNtsc), "10:00:59;29"), At(Frames(9, kNtsc), "10:01:00;02"));
  EXPECT_NEAR(drop.b_starts, 1, 1e-9);
  const Alignment other = Align(At(Frames(9), "10:00:00:15@30"), At(Frames(50, {60, 1}), "10:00:00:00@60"));
  EXPECT_NEAR(other.b_starts, -15, 1e-9);
  EXPECT_EQ(Moments(other).front(), "0-30");
}

TEST(Align, TheFractionBehindATimecodeCounts) {
  mien::Recording a = At(Frames(9), "10:00:00:00"), b = a;
  a.timecode_offset_s = 0.25 / 30, b.timecode_offset_s = 0.75 / 30;
  const Alignment alignment = Align(a, b);
  EXPECT_NEAR(alignment.b_starts, 0.5, 1e-9);
  EXPECT_THAT(Moments(alignment).front(), "1-0+");
  EXPECT_EQ(alignment.Text(), "by timecode; B starts 0.5 frames later");
}

TEST(Align, AFractionThatOnlyOneFileKeepsDoesNotCount) {
  mien::Recording a = At(Frames(9), "10:00:00:00"), b = a;
  b.timecode_offset_s = 0.5 / 30;
  EXPECT_EQ(Align(a, b).b_starts, 0);
  EXPECT_EQ(Align(b, a).b_starts, 0);
  EXPECT_NEAR(Align(At(a, "10:00:00:01"), b).b_starts, -0.5, 1e-9);
}

TEST(Align, AnOffsetIsHowMuchLaterBIs) {
  const Alignment later = Align(Frames(5), Frames(5), {.offset_frames = 2});
  EXPECT_THAT(Moments(later), testing::ElementsAre("0-2", "1-3", "2-4"));
  EXPECT_EQ(later.Text(), "by frame number; B is read 2 frames later");
  const Alignment earlier = Align(Frames(3), Frames(3), {.offset_frames = -0.5});
  EXPECT_THAT(Moments(earlier), testing::ElementsAre("1-0+", "2-1+"));
  EXPECT_EQ(earlier.Text(), "by frame number; B is read 0.5 frames earlier");
}

TEST(Align, TimesThatFilesRoundAreTheSameMoments) {
  mien::Recording b = Frames(300);
  for (double& time : b.times) time = std::round(time * 1e4) / 1e4;
  const Alignment alignment = Align(Frames(300), b, {.by = AlignBy::Time});
  EXPECT_EQ(alignment.moments.size(), 300U);
  EXPECT_EQ(alignment.interpolated, 0U);
}

TEST(Align, OneFrameIsAlignedWithOne) {
  EXPECT_THAT(Moments(Align(Frames(1), Frames(1))), testing::ElementsAre("0-0"));
  EXPECT_THAT(Moments(Align(Frames(1), Frames(5, {30, 1}, -3))), testing::ElementsAre("0-4"));
}

TEST(Align, WithoutACommonFrameBothRangesAreReported) {
  EXPECT_THAT(
      InputErrorOf([] {
        Align(Frames(10), Frames(10, {30, 1}, 100));
      }),
      HasSubstr("no frame is in both: aligned by frame number; B starts 99 frames later, A has frames "
                "1 to 10, B frames 100 to 109"));
  EXPECT_THAT(InputErrorOf([] { Align(At(Frames(10), "10:00:00:00"), At(Frames(10), "11:00:00:00")); }),
              HasSubstr("A has 10:00:00:00 to 10:00:00:09, B 11:00:00:00 to 11:00:00:09"));
  EXPECT_THAT(InputErrorOf([] {
                Align(Frames(31), Frames(31), {AlignBy::Time, 40});
              }),
              AllOf(HasSubstr("B is read 40 frames later"), HasSubstr("A has 1 s from its first frame")));
}

TEST(Align, WhatIsNotThereIsAnError) {
  EXPECT_EQ(ProblemOf([] { Align(Frames(0), Frames(3)); }), "empty at no place");
  EXPECT_EQ(ProblemOf([] { Align(Frames(3), Frames(0)); }), "empty at no place");
  EXPECT_EQ(ProblemOf([] { Align(At(Frames(3), "10:00:00:00"), Frames(3), {.by = AlignBy::Timecode}); }),
            "missing at no place");
}
