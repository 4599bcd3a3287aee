#include "host/cleaning/fill_gaps.h"

#include "host/takes/far_positions.h"
#include "host/takes/gaps.h"
#include "tests/host/decimal_comma.h"
#include "tests/host/plain_face.h"
#include "tests/host/take_along.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <limits>
#include <numeric>
#include <optional>
#include <string>
#include <utility>
#include <vector>

using mien::FilledMarker;
using mien::FillGaps;
using mien::FillMethod;
using mien::FillPlan;
using mien::FrameRate;
using mien::FrameSpan;
using mien::Origin;
using mien::ParseFillPlan;
using mien::Point;
using mien::Take;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;
using tests::AnyMotion;
using tests::Carried;
using tests::Changes;
using tests::Distance;
using tests::Hide;
using tests::Numbers;
using tests::Same;
using tests::TakeAlong;

namespace {

// Powers of two, so that times, fractions of a gap and speeds are exact.
constexpr FrameRate k64Hz = {64, 1};
constexpr FrameRate k100Hz = {100, 1};
constexpr double kNoLimit = 1e9;

// A body of half a metre within two metres of the room's origin, where doubles are exact to 2e-13 m.
constexpr double kRounding = 1e-9;

Point Straight(double seconds, std::size_t) { return {64 * seconds, 1 - 128 * seconds, 3 + 32 * seconds}; }
Point Parabola(double seconds, std::size_t) { return {4096 * seconds * seconds, 0, 0}; }

std::vector<std::size_t> All(const Take& take) {
  std::vector<std::size_t> all(take.MarkerCount());
  std::iota(all.begin(), all.end(), std::size_t{0});
  return all;
}

/// "M" and the plain face's head markers, and a more distant one: all on one rigid body.
const std::vector<std::string> kBody = {"M", "H1", "H2", "H3", "H4", "H5", "Far"};
Point OnBody(std::size_t marker) {
  if (kBody[marker] == "M") return {10, 110, 60};
  if (kBody[marker] == "Far") return {0, 700, 0};
  return tests::PlainFace().at(kBody[marker]);
}

/// The body in a random position in each frame, at 64 Hz. Without `far`, M has five neighbours.
struct Tumbling {
  explicit Tumbling(std::size_t frames, bool far = false) : take({kBody.begin(), kBody.end() - !far}) {
    tests::Random random(41);
    take.rate = k64Hz;
    for (std::size_t f = 0; f < frames; ++f) {
      motions.push_back(AnyMotion(random));
      const auto number = static_cast<std::int64_t>(f);
      take.AddFrame(number, k64Hz.Seconds(number));
      for (std::size_t m = 0; m < take.MarkerCount(); ++m) take.Set(f, m, Carried(motions[f], OnBody(m)));
    }
  }
  /// The distance of a marker from where the body has carried it.
  double Off(std::size_t frame, std::size_t marker) const {
    return Distance(take.At(frame, marker), Carried(motions[frame], OnBody(marker)));
  }
  std::vector<VgeAMatrix> motions;
  Take take;
};

/// The frames of a marker that are gaps.
std::vector<std::size_t> EmptyFrames(const Take& take, std::size_t marker) {
  std::vector<std::size_t> empty;
  for (std::size_t f = 0; f < take.FrameCount(); ++f)
    if (!take.At(f, marker)) empty.push_back(f);
  return empty;
}

} // namespace

// --- Hold, Linear, Cubic.

TEST(FillGaps, HoldUsesTheLastPosition) {
  Take take = TakeAlong({"A"}, Numbers(0, 9), k64Hz, Straight);
  const Take whole = take;
  Hide(take, 0, 3, 5), Hide(take, 0, 7, 9);
  FillGaps(take, {0}, {{FillMethod::Hold, kNoLimit}});
  for (const std::size_t f : {3u, 4u}) EXPECT_TRUE(Same(take.At(f, 0), whole.At(2, 0))) << f;
  for (const std::size_t f : {7u, 8u}) EXPECT_TRUE(Same(take.At(f, 0), whole.At(6, 0))) << f;
}

TEST(FillGaps, LinearAndCubicFollowAStraightLineToTheBit) {
  for (const FillMethod method : {FillMethod::Linear, FillMethod::Cubic}) {
    Take take = TakeAlong({"A"}, Numbers(0, 16), k64Hz, Straight);
    const Take whole = take;
    Hide(take, 0, 4, 11);
    FillGaps(take, {0}, {{method, kNoLimit}});
    for (std::size_t f = 4; f < 11; ++f)
      EXPECT_TRUE(Same(take.At(f, 0), whole.At(f, 0))) << ToText(method) << f;
  }
}

// By their numbers, the frames of the gap would be a third of the way apart.
TEST(FillGaps, LinearAndCubicUseTimesIfFramesWereDropped) {
  const std::vector<std::int64_t> numbers = {0, 1, 3, 4, /* gap */ 5, 10, /* seen */ 12, 15, 16, 18};
  for (const FillMethod method : {FillMethod::Linear, FillMethod::Cubic}) {
    Take take = TakeAlong({"A"}, numbers, k64Hz, Straight);
    const Take whole = take;
    Hide(take, 0, 4, 6);
    FillGaps(take, {0}, {{method, kNoLimit}});
    for (std::size_t f = 4; f < 6; ++f)
      EXPECT_TRUE(Same(take.At(f, 0), whole.At(f, 0))) << ToText(method) << f;
  }
}

// The middle of the Hermite curve is (a + b) / 2 + T (v_a - v_b) / 8. On the parabola of frame numbers n^2,
// with 4 visible frames on each side of the gap from 7 to 15: a = 49, b = 225, T = 8 frames, and over three
// frames v_a = (49 - 16) / 3 = 11 and v_b = (324 - 225) / 3 = 33 per frame.
TEST(FillGaps, CubicLeavesAndArrivesWithTheSpeedOfThreeFrames) {
  Take take = TakeAlong({"A"}, Numbers(4, 15), k64Hz, Parabola);
  Hide(take, 0, 4, 11);
  FillGaps(take, {0}, {{FillMethod::Cubic, kNoLimit}});
  ASSERT_TRUE(take.At(7, 0));
  EXPECT_EQ(take.At(7, 0)->x, (49 + 225) / 2.0 + (11 - 33));
  EXPECT_EQ(take.At(7, 0)->y, 0);
}

// Frames more than three frames away, or beyond another gap, do not matter.
TEST(FillGaps, CubicTakesNoSpeedFromFarFramesNorFromBeyondAnotherGap) {
  Take take = TakeAlong({"A"}, Numbers(0, 24), k64Hz, Parabola);
  for (std::size_t f = 0; f < 4; ++f) take.Set(f, 0, {-1e6, 0, 0});
  take.Set(22, 0, {1e6, 0, 0}), take.Set(23, 0, {1e6, 0, 0});
  Hide(take, 0, 8, 15); // between 7 and 15, as above
  Take beside_gap = take;
  FillGaps(take, {0}, {{FillMethod::Cubic, kNoLimit}});
  EXPECT_EQ(take.At(11, 0)->x, (49 + 225) / 2.0 + (11 - 33));
  // Only 6 and 7 before: v_a = 13. Only 15 and 16 after: v_b = 31.
  beside_gap.Set(5, 0, {-1e6, 0, 0}), beside_gap.Set(18, 0, {1e6, 0, 0});
  beside_gap.Clear(5, 0), beside_gap.Clear(17, 0);
  FillGaps(beside_gap, {0}, {{FillMethod::Cubic, 7 / 64.0}});
  EXPECT_EQ(beside_gap.At(11, 0)->x, (49 + 225) / 2.0 + (13 - 31));
}

TEST(FillGaps, CubicBetweenSingleFramesIsAStraightLine) {
  Take take = TakeAlong({"A"}, Numbers(0, 9), k64Hz, Parabola);
  Hide(take, 0, 1, 8);
  FillGaps(take, {0}, {{FillMethod::Cubic, kNoLimit}});
  for (std::size_t f = 1; f < 8; ++f) EXPECT_EQ(take.At(f, 0)->x, 8.0 * static_cast<double>(f)) << f;
}

// The steps into and out of the gap equal those of the motion around it, at any rate.
TEST(FillGaps, CubicLeavesNoKinkAtTheEndsOfAGap) {
  const auto swing = [](double t, std::size_t) {
    return Point{100 * std::sin(2 * t), 100 * std::cos(3 * t), 0};
  };
  Take take = TakeAlong({"A"}, Numbers(0, 1200), {1000, 1}, swing);
  Take linear = take;
  const auto bend = [](const Take& of, std::size_t f) { // of the way, in millimetres over two frames
    const Point &a = *of.At(f - 1, 0), &b = *of.At(f, 0), &c = *of.At(f + 1, 0);
    return std::hypot(a.x - 2 * b.x + c.x, a.y - 2 * b.y + c.y);
  };
  Hide(take, 0, 400, 700), Hide(linear, 0, 400, 700);
  FillGaps(take, {0}, {{FillMethod::Cubic, kNoLimit}});
  FillGaps(linear, {0}, {{FillMethod::Linear, kNoLimit}});
  // The motion's own acceleration is below 1000 mm/s^2: 0.001 mm over two frames. The speed is that of one
  // and a half frames earlier: another 0.0015 mm; and the curve may bend a few times more than the motion.
  for (const std::size_t f : {399u, 400u, 699u, 700u}) EXPECT_LT(bend(take, f), 0.006) << f;
  EXPECT_GT(bend(linear, 399), 0.03) << "a kink is detected";
  EXPECT_GT(bend(linear, 700), 0.03);
}

TEST(FillGaps, WithoutTheMarkerOnBothSidesLinearAndCubicFillNothing) {
  for (const FillMethod method : {FillMethod::Linear, FillMethod::Cubic}) {
    Take take = TakeAlong({"A"}, Numbers(0, 8), k64Hz, Straight);
    Hide(take, 0, 0, 2), Hide(take, 0, 6, 8);
    const Take before = take;
    const std::vector<FilledMarker> report = FillGaps(take, {0}, {{method, kNoLimit}});
    EXPECT_EQ(Changes(take, before), 0u);
    EXPECT_EQ(report[0].gap_frames, 4u);
    EXPECT_EQ(report[0].FilledFrames(), 0u);
  }
}

TEST(FillGaps, HoldFillsNothingBeforeTheFirstPosition) {
  Take take = TakeAlong({"A"}, Numbers(0, 8), k64Hz, Straight);
  Hide(take, 0, 0, 2);
  FillGaps(take, {0}, {{FillMethod::Hold, kNoLimit}});
  EXPECT_THAT(EmptyFrames(take, 0), ElementsAre(0, 1));
}

// --- Pattern.

TEST(FillGaps, PatternIsExactUnderAnyMotionOfTheNeighbours) {
  for (const auto& [first, end] : {std::pair(0, 7), std::pair(5, 12), std::pair(13, 20)}) {
    Tumbling body(20);
    Hide(body.take, 0, static_cast<std::size_t>(first), static_cast<std::size_t>(end));
    const std::vector<FilledMarker> report =
        FillGaps(body.take, All(body.take), {{FillMethod::Pattern, kNoLimit}});
    for (std::size_t f = 0; f < 20; ++f) EXPECT_LT(body.Off(f, 0), kRounding) << first << ' ' << f;
    EXPECT_EQ(report[0].filled_by[static_cast<std::size_t>(FillMethod::Pattern)], 7u);
  }
}

TEST(FillGaps, PatternNeedsOnlyThreeNeighbours) {
  for (const std::size_t neighbours : {2u, 3u}) {
    Tumbling body(8);
    Hide(body.take, 0, 3, 5);
    std::vector<std::size_t> markers(neighbours + 1);
    std::iota(markers.begin(), markers.end(), std::size_t{0});
    FillGaps(body.take, markers, {{FillMethod::Pattern, kNoLimit}}); // the others are not among these markers
    for (const std::size_t f : {3u, 4u})
      if (neighbours == 3)
        EXPECT_LT(body.Off(f, 0), kRounding);
      else
        EXPECT_FALSE(body.take.At(f, 0));
  }
}

// Neighbours on a line do not determine the rotation about it.
TEST(FillGaps, PatternDoesNotUseNeighboursOnALine) {
  const auto way = [](double, std::size_t m) { return Point{static_cast<double>(m), m == 0 ? 5.0 : 0.0, 0}; };
  Take take = TakeAlong({"M", "A", "B", "C", "D"}, Numbers(0, 5), k64Hz, way);
  Hide(take, 0, 2, 3);
  FillGaps(take, All(take), {{FillMethod::Pattern, kNoLimit}});
  EXPECT_THAT(EmptyFrames(take, 0), ElementsAre(2));
}

// After the gap they are on a line. Carried only from before it, the marker would jump when it is visible
// again.
TEST(FillGaps, PatternNeedsTheNeighboursOnBothSidesOfAGap) {
  const auto way = [](double, std::size_t m) {
    return Point{m == 1 ? 90.0 : 0, m == 2 ? 90.0 : 0, m == 0 ? 9.0 : 0};
  };
  for (const bool before : {false, true}) {
    Take take = TakeAlong({"M", "A", "B", "C"}, Numbers(0, 8), k64Hz, way);
    take.Set(before ? 2 : 5, 2, {45, 0, 0}); // B, between A and C
    Hide(take, 0, 3, 5);
    Take unhidden = take;
    FillGaps(take, All(take), {{FillMethod::Pattern, kNoLimit}});
    EXPECT_THAT(EmptyFrames(take, 0), ElementsAre(3, 4)) << before;
    unhidden.Set(before ? 2 : 5, 2, {0, 90, 0});
    FillGaps(unhidden, All(unhidden), {{FillMethod::Pattern, kNoLimit}});
    EXPECT_THAT(EmptyFrames(unhidden, 0), IsEmpty()) << "if they are not";
  }
}

// The nearest neighbour moves on the body; it is visible in the whole gap, and hidden on one side of it.
TEST(FillGaps, PatternUsesNeighboursThatAreVisibleOnBothSidesOfAGap) {
  for (const std::size_t beside : {3u, 7u}) {
    Tumbling body(12, true);
    for (std::size_t f = 0; f < 12; ++f)
      body.take.Set(f, 1, Carried(body.motions[f], {10 + 5 * static_cast<double>(f % 3), 110, 62}));
    body.take.Clear(beside, 1);
    Hide(body.take, 0, 4, 7);
    FillGaps(body.take, {0, 1, 2, 3, 4, 5, 6}, {{FillMethod::Pattern, kNoLimit}});
    for (std::size_t f = 4; f < 7; ++f) EXPECT_LT(body.Off(f, 0), kRounding) << beside << ' ' << f;
  }
}

// In each frame of the gap, another two of the five are hidden: of any four, some frame would have only two.
TEST(FillGaps, PatternUsesUpToFiveNeighbours) {
  Tumbling body(12);
  Hide(body.take, 0, 4, 9);
  for (std::size_t i = 0; i < 5; ++i) body.take.Clear(4 + i, 1 + i), body.take.Clear(4 + i, 1 + (i + 1) % 5);
  FillGaps(body.take, {0, 1, 2, 3, 4, 5}, {{FillMethod::Pattern, kNoLimit}});
  for (std::size_t f = 4; f < 9; ++f) EXPECT_LT(body.Off(f, 0), kRounding) << f;
}

// M has moved on the body while it was hidden, by the offsets added here.
TEST(FillGaps, PatternInterpolatesBetweenTwoPositionsOnTheBodyByTime) {
  Tumbling body(12);
  const Point moved = {14, 102, 61};
  for (std::size_t f = 10; f < 12; ++f) body.take.Set(f, 0, Carried(body.motions[f], moved));
  Hide(body.take, 0, 2, 10);
  body.take.times[5] += 0.005; // unevenly
  FillGaps(body.take, All(body.take), {{FillMethod::Pattern, kNoLimit}});
  for (std::size_t f = 2; f < 10; ++f) {
    const double share =
        (body.take.times[f] - body.take.times[1]) / (body.take.times[10] - body.take.times[1]);
    const Point expected = Carried(body.motions[f], {10 + 4 * share, 110 - 8 * share, 60 + share});
    EXPECT_LT(Distance(body.take.At(f, 0), expected), kRounding) << f;
  }
}

TEST(FillGaps, PatternUsesTheFiveNearestNeighbours) {
  Tumbling body(10, true);
  for (std::size_t f = 0; f < 10; ++f)
    body.take.Set(f, 6, {1000.0 * static_cast<double>(f % 3), 9, 9}); // "Far"
  Hide(body.take, 0, 4, 7);
  FillGaps(body.take, All(body.take), {{FillMethod::Pattern, kNoLimit}});
  for (std::size_t f = 4; f < 7; ++f) EXPECT_LT(body.Off(f, 0), kRounding) << f;
}

TEST(FillGaps, PatternPrefersVisibleNeighboursToTheNearest) {
  Tumbling body(10, true);
  // H1, the nearest, is not on the body, and hidden in the middle of the gap; the distant "Far" is always
  // visible.
  for (std::size_t f = 0; f < 10; ++f)
    body.take.Set(f, 1, Carried(body.motions[f], {10 + static_cast<double>(f % 3), 110, 62}));
  Hide(body.take, 0, 4, 7), Hide(body.take, 1, 5, 6);
  FillGaps(body.take, {0, 1, 2, 3, 4, 5, 6}, {{FillMethod::Pattern, kNoLimit}});
  for (std::size_t f = 4; f < 7; ++f) EXPECT_LT(body.Off(f, 0), kRounding) << f;
}

// Otherwise errors would grow from marker to marker, and the result would depend on their order.
TEST(FillGaps, FilledPositionsAreNotUsedAsNeighbours) {
  Tumbling body(10, true);
  Hide(body.take, 0, 4, 7), Hide(body.take, 1, 4, 7), Hide(body.take, 2, 4, 7);
  Take other = body.take;
  Tumbling four(10); // M and one other of the five are left with three neighbours
  Hide(four.take, 0, 4, 7), Hide(four.take, 1, 4, 7), Hide(four.take, 2, 4, 7), Hide(four.take, 3, 4, 7);
  FillGaps(body.take, {0, 1, 2, 3, 4, 5, 6}, {{FillMethod::Pattern, kNoLimit}});
  FillGaps(other, {6, 5, 4, 3, 2, 1, 0}, {{FillMethod::Pattern, kNoLimit}});
  FillGaps(four.take, All(four.take), {{FillMethod::Pattern, kNoLimit}});
  for (std::size_t m = 0; m < 3; ++m)
    for (std::size_t f = 4; f < 7; ++f) EXPECT_LT(body.Off(f, m), kRounding) << m << ' ' << f;
  EXPECT_EQ(Changes(body.take, other), 0u);
  for (std::size_t m = 0; m < 4; ++m)
    EXPECT_THAT(EmptyFrames(four.take, m), ElementsAre(4, 5, 6)) << "H4 and H5 are too few";
}

TEST(FillGaps, WithFewerThanThreeVisibleNeighboursAPatternFrameStaysEmpty) {
  Tumbling body(12);
  Hide(body.take, 0, 3, 8);
  Hide(body.take, 1, 5, 6), Hide(body.take, 2, 5, 6), Hide(body.take, 3, 5, 7);
  const auto report = FillGaps(body.take, {0, 1, 2, 3, 4, 5}, {{FillMethod::Pattern, kNoLimit}});
  EXPECT_THAT(EmptyFrames(body.take, 0), ElementsAre(5)) << "two neighbours are left there";
  for (const std::size_t f : {3u, 4u, 6u, 7u}) EXPECT_LT(body.Off(f, 0), kRounding) << f;
  EXPECT_EQ(report[0].gap_frames, 5u);
  EXPECT_EQ(report[0].FilledFrames(), 4u);
}

TEST(FillGaps, AMarkerThatIsNeverVisibleStaysEmpty) {
  Tumbling body(10);
  Hide(body.take, 0, 0, 10);
  const auto report = FillGaps(body.take, All(body.take),
                               {{FillMethod::Cubic, kNoLimit},
                                {FillMethod::Pattern, kNoLimit},
                                {FillMethod::Linear, kNoLimit},
                                {FillMethod::Hold, kNoLimit}});
  EXPECT_THAT(EmptyFrames(body.take, 0), SizeIs(10));
  EXPECT_EQ(report[0].gaps, 1u);
  EXPECT_EQ(report[0].longest_gap, 10u);
  EXPECT_EQ(report[0].FilledFrames(), 0u);
}

// --- What may be filled.

TEST(FillGaps, TheLongestGapIsFilledAndOneFrameMoreIsNotEvenInPart) {
  for (const FillMethod method :
       {FillMethod::Hold, FillMethod::Linear, FillMethod::Cubic, FillMethod::Pattern})
    for (const auto& [rate, frames, longest_s] :
         {std::tuple(k100Hz, 15u, 0.15), std::tuple(k100Hz, 1u, 0.01), std::tuple(k100Hz, 50u, 0.5),
          std::tuple(FrameRate{30000, 1001}, 9u, 9 * 1001 / 30000.0),
          std::tuple(FrameRate{240, 1}, 24u, 0.1)})
      for (const std::int64_t first_number : {1, 8640000}) { // after a day, seconds are less exact
        const std::size_t end = 5 + frames;
        Take take = TakeAlong({"M", "A", "B", "C"}, Numbers(first_number, end + 20), rate,
                              [](double t, std::size_t m) {
                                return Point{t, m == 1 ? 90.0 : 0.0, m == 2 ? 90.0 : static_cast<double>(m)};
                              });
        Take longer = take;
        Hide(take, 0, 5, end), Hide(longer, 0, 5, end + 1);
        const Take unfilled = longer;
        const auto report = FillGaps(take, All(take), {{method, longest_s}});
        EXPECT_THAT(EmptyFrames(take, 0), IsEmpty())
            << ToText(method) << ' ' << frames << ' ' << first_number;
        EXPECT_EQ(report[0].filled_by[static_cast<std::size_t>(method)], frames);
        FillGaps(longer, All(longer), {{method, longest_s}});
        EXPECT_EQ(Changes(longer, unfilled), 0u) << ToText(method) << ' ' << frames << ' ' << first_number;
      }
}

// A gap at the beginning or end of a take lasts as long as its frames.
TEST(FillGaps, TheLongestGapIsTheSameAtTheEndsOfATake) {
  const auto still = [](double, std::size_t m) {
    return Point{m == 1 ? 90.0 : 0, m == 2 ? 90.0 : 0, m == 0 ? 9.0 : 0};
  };
  for (const FillMethod method : {FillMethod::Hold, FillMethod::Pattern})
    for (const auto& [first, end] : {std::pair(0, 8), std::pair(5, 13), std::pair(12, 20)}) {
      if (method == FillMethod::Hold && first == 0) continue; // Hold needs a position before it
      Take take = TakeAlong({"M", "A", "B", "C"}, Numbers(1, 20), k64Hz, still);
      Hide(take, 0, static_cast<std::size_t>(first), static_cast<std::size_t>(end));
      Take other = take;
      FillGaps(take, All(take), {{method, 8 / 64.0}});
      EXPECT_THAT(EmptyFrames(take, 0), IsEmpty()) << ToText(method) << ' ' << first;
      FillGaps(other, All(other), {{method, 7 / 64.0}});
      EXPECT_THAT(EmptyFrames(other, 0), SizeIs(8)) << ToText(method) << ' ' << first;
    }
}

// Rounded times, for instance milliseconds, make a gap seem longer than it is.
TEST(FillGaps, AGapMaySeemAQuarterOfAFrameTooLong) {
  constexpr double kFrame = 1 / 64.0;
  for (const auto& [late, filled] : {std::pair(kFrame / 4, true), std::pair(kFrame * 17 / 64, false)}) {
    Take take = TakeAlong({"A"}, Numbers(0, 12), k64Hz, Straight);
    for (std::size_t f = 7; f < 12; ++f) take.times[f] += late;
    Hide(take, 0, 3, 7);
    FillGaps(take, {0}, {{FillMethod::Linear, 4 * kFrame}});
    EXPECT_EQ(take.At(3, 0) != nullptr, filled) << late / kFrame;
  }
}

// Of the gap's nine frames, two were recorded and the seven between them were dropped.
TEST(FillGaps, DroppedFramesCountInAGapsLength) {
  const std::vector<std::int64_t> numbers = {9, 10, 11, /* gap */ 12, 20, /* seen */ 21, 22};
  Take take = TakeAlong({"A"}, numbers, k100Hz, Straight);
  Hide(take, 0, 3, 5);
  Take other = take;
  FillGaps(take, {0}, {{FillMethod::Linear, 0.08}});
  EXPECT_THAT(EmptyFrames(take, 0), ElementsAre(3, 4));
  FillGaps(other, {0}, {{FillMethod::Linear, 0.09}});
  EXPECT_THAT(EmptyFrames(other, 0), IsEmpty());
}

// The marker was missing for ten seconds, of which only one frame was recorded: a curve through it would
// swing far out with the speeds before and after.
TEST(FillGaps, DroppedFramesNextToAGapCountInItsLength) {
  const std::vector<std::int64_t> numbers = {1, 2, 3, /* gap */ 500, /* seen */ 1000, 1001, 1002};
  for (const FillMethod method : {FillMethod::Linear, FillMethod::Cubic, FillMethod::Hold}) {
    Take take = TakeAlong({"A"}, numbers, k100Hz, Parabola);
    Hide(take, 0, 3, 4);
    FillGaps(take, {0}, {{method, 0.15}});
    EXPECT_THAT(EmptyFrames(take, 0), ElementsAre(3)) << ToText(method);
  }
}

TEST(FillGaps, TheFirstStepThatMayFillAGapFillsIt) {
  const FillPlan plan = {{FillMethod::Cubic, 0.05},
                         {FillMethod::Linear, 0.1},
                         {FillMethod::Hold, 0.2},
                         {FillMethod::Pattern, 9}};
  const std::pair<std::size_t, FillMethod> expected[] = {{5, FillMethod::Cubic},   {6, FillMethod::Linear},
                                                         {10, FillMethod::Linear}, {11, FillMethod::Hold},
                                                         {20, FillMethod::Hold},   {21, FillMethod::Pattern}};
  for (const auto& [frames, method] : expected) {
    Take take = TakeAlong({"M", "A", "B", "C"}, Numbers(1, 40), k100Hz, [](double, std::size_t m) {
      return Point{m == 1 ? 50.0 : 0, m == 2 ? 50.0 : 0, m == 3 ? 50.0 : 0};
    });
    Hide(take, 0, 10, 10 + frames);
    const auto report = FillGaps(take, All(take), plan);
    EXPECT_EQ(report[0].filled_by[static_cast<std::size_t>(method)], frames) << ToText(method);
    EXPECT_EQ(report[0].FilledFrames(), frames);
  }
}

TEST(FillGaps, AStepThatCannotFillAGapLeavesItToTheNext) {
  const FillPlan plan = {{FillMethod::Cubic, 1}, {FillMethod::Hold, 1}, {FillMethod::Pattern, 1}};
  Tumbling body(30);
  Hide(body.take, 0, 0, 4), Hide(body.take, 0, 10, 12), Hide(body.take, 0, 25, 30);
  const Point last = *body.take.At(24, 0);
  const auto report = FillGaps(body.take, All(body.take), plan);
  EXPECT_THAT(report[0].filled_by, ElementsAre(0, 5, 0, 2, 4)); // none, hold, linear, cubic, pattern
  for (std::size_t f = 0; f < 4; ++f) EXPECT_LT(body.Off(f, 0), kRounding) << f;
  for (std::size_t f = 25; f < 30; ++f) EXPECT_TRUE(Same(body.take.At(f, 0), &last)) << f;
}

TEST(FillGaps, WithoutAPlanNothingIsFilled) {
  Tumbling body(10);
  Hide(body.take, 0, 4, 7);
  const Take before = body.take;
  for (const FillPlan& plan : {FillPlan{}, FillPlan{{FillMethod::None, kNoLimit}}}) {
    const auto report = FillGaps(body.take, All(body.take), plan);
    EXPECT_EQ(Changes(body.take, before), 0u);
    EXPECT_EQ(report[0].gap_frames, 3u);
    EXPECT_EQ(report[0].FilledFrames(), 0u);
  }
}

TEST(FillGaps, TakesWithVeryFewFramesAreAccepted) {
  const FillPlan plan = {{FillMethod::Cubic, kNoLimit},
                         {FillMethod::Linear, kNoLimit},
                         {FillMethod::Pattern, kNoLimit},
                         {FillMethod::Hold, kNoLimit}};
  Take none({"A", "B"});
  none.rate = k64Hz;
  EXPECT_THAT(FillGaps(none, {0, 1}, plan), SizeIs(2));
  EXPECT_THAT(FillGaps(none, {}, plan), IsEmpty());
  Take one = TakeAlong({"A", "B"}, {7}, k64Hz, Straight);
  one.Clear(0, 0);
  const auto report = FillGaps(one, {0, 1}, plan);
  EXPECT_FALSE(one.At(0, 0));
  EXPECT_EQ(report[0].gap_frames, 1u);
  EXPECT_EQ(report[1].gaps, 0u);
  Take two = TakeAlong({"A"}, {7, 8}, k64Hz, Straight);
  two.Clear(1, 0);
  FillGaps(two, {0}, plan);
  EXPECT_TRUE(Same(two.At(1, 0), two.At(0, 0)));
}

// --- What is filled, and what is unchanged.

TEST(FillGaps, FilledPositionsAreMarkedAndHaveNoCameras) {
  Take take({"A"});
  take.rate = k64Hz;
  take.residual_mm = 0.1;
  for (int f = 0; f < 5; ++f) take.AddFrame(f, f / 64.0);
  for (std::size_t f = 0; f < 5; ++f) {
    take.RowOf(f).sightings[0] = {3, 7};
    if (f != 2) take.Set(f, 0, {1, 2, 3}, f == 3 ? Origin::Computed : Origin::Measured);
  }
  FillGaps(take, {0}, {{FillMethod::Hold, kNoLimit}});
  EXPECT_EQ(take.OriginAt(2, 0), Origin::Filled);
  EXPECT_FALSE(take.SightingAt(2, 0));
  EXPECT_EQ(take.OriginAt(3, 0), Origin::Computed);
  EXPECT_EQ(take.OriginAt(4, 0), Origin::Measured);
  EXPECT_EQ(take.SightingAt(4, 0)->residual, 7);
}

TEST(FillGaps, FillsOnlyTheGivenMarkers) {
  Take take = TakeAlong({"A", "B", "C"}, Numbers(0, 6), k64Hz, Straight);
  for (std::size_t m = 0; m < 3; ++m) Hide(take, m, 2, 3 + m);
  const auto report = FillGaps(take, {2, 0}, {{FillMethod::Linear, kNoLimit}});
  EXPECT_THAT(EmptyFrames(take, 0), IsEmpty());
  EXPECT_THAT(EmptyFrames(take, 1), ElementsAre(2, 3));
  EXPECT_THAT(EmptyFrames(take, 2), IsEmpty());
  ASSERT_THAT(report, SizeIs(2));
  EXPECT_EQ(report[0].marker, "C");
  EXPECT_EQ(report[0].gap_frames, 3u);
  EXPECT_EQ(report[1].marker, "A");
  EXPECT_EQ(report[1].gap_frames, 1u);
}

TEST(FillGaps, ReportsGapsTheirFramesAndTheLongest) {
  Take take = TakeAlong({"A", "B"}, Numbers(0, 40), k100Hz, Straight);
  Hide(take, 0, 0, 3), Hide(take, 0, 5, 6), Hide(take, 0, 10, 17), Hide(take, 0, 38, 40);
  const auto report = FillGaps(take, {0, 1}, {{FillMethod::Linear, 0.02}, {FillMethod::Hold, 0.05}});
  EXPECT_EQ(report[0].gaps, 4u);
  EXPECT_EQ(report[0].gap_frames, 13u);
  EXPECT_EQ(report[0].longest_gap, 7u);
  EXPECT_THAT(report[0].filled_by, ElementsAre(0, 2, 1, 0, 0));
  EXPECT_EQ(report[0].FilledFrames(), 3u);
  EXPECT_EQ(report[1].gaps + report[1].gap_frames + report[1].longest_gap + report[1].FilledFrames(), 0u);
}

/// Markers that move and are hidden for random stretches, with irregular frame numbers.
Take RandomTake(tests::Random& random) {
  const auto below = [&random](double most) { return static_cast<std::size_t>(random.Between(0, most)); };
  Take take({"A", "B", "C", "D", "E", "F", "G"});
  take.rate = {60000, 1001};
  std::int64_t number = static_cast<std::int64_t>(below(2000)) - 1000;
  const std::size_t frames = below(60);
  for (std::size_t f = 0; f < frames; ++f) {
    number += below(10) == 0 ? 1 + static_cast<std::int64_t>(below(9)) : 1;
    take.AddFrame(number, take.rate.Seconds(number));
    for (std::size_t m = 0; m < take.MarkerCount(); ++m)
      take.Set(f, m, {random.Between(-200, 200), random.Between(-200, 200), random.Between(-200, 200)},
               below(4) == 0 ? Origin::Computed : Origin::Measured);
  }
  for (std::size_t m = 0; m < take.MarkerCount(); ++m)
    for (std::size_t n = below(4); n > 0; --n) {
      const std::size_t first = below(static_cast<double>(frames));
      Hide(take, m, first, std::min(frames, first + below(12)));
    }
  return take;
}

TEST(FillGaps, ChangesOnlyGapsAndTheReportAddsUp) {
  tests::Random random(42);
  std::size_t filled_in_all = 0, left_in_all = 0;
  for (int round = 0; round < 300; ++round) {
    const Take take = RandomTake(random);
    FillPlan plan;
    for (const FillMethod method :
         {FillMethod::Pattern, FillMethod::Cubic, FillMethod::Linear, FillMethod::Hold})
      if (random.Between(0, 1) < 0.5) plan.push_back({method, random.Between(0, 0.2)});
    Take filled = take;
    const auto report = FillGaps(filled, All(take), plan);
    ASSERT_THAT(report, SizeIs(take.MarkerCount()));
    for (std::size_t m = 0; m < take.MarkerCount(); ++m) {
      const std::vector<FrameSpan> gaps = mien::GapsOf(take, m);
      std::size_t gap_frames = 0, longest = 0, filled_frames = 0;
      for (const FrameSpan& gap : gaps) {
        gap_frames += gap.end - gap.first;
        longest = std::max(longest, gap.end - gap.first);
      }
      for (std::size_t f = 0; f < take.FrameCount(); ++f) {
        if (take.At(f, m)) {
          ASSERT_TRUE(Same(take, filled, f, m)) << round << ' ' << f << ' ' << m;
        } else if (const Point* p = filled.At(f, m)) {
          ASSERT_EQ(filled.OriginAt(f, m), Origin::Filled);
          ASSERT_TRUE(std::isfinite(p->x) && std::isfinite(p->y) && std::isfinite(p->z));
          ++filled_frames;
        }
      }
      ASSERT_EQ(report[m].marker, take.markers[m]);
      ASSERT_EQ(report[m].gaps, gaps.size());
      ASSERT_EQ(report[m].gap_frames, gap_frames);
      ASSERT_EQ(report[m].longest_gap, longest);
      ASSERT_EQ(report[m].FilledFrames(), filled_frames) << round << ' ' << m;
      filled_in_all += filled_frames, left_in_all += gap_frames - filled_frames;
    }
    ASSERT_EQ(filled.frames, take.frames);
    ASSERT_EQ(filled.times, take.times);
  }
  EXPECT_GT(filled_in_all, 1000u);
  EXPECT_GT(left_in_all, 1000u);
}

// Readers accept any finite number.
TEST(FillGaps, AbsurdPositionsNeverBecomeInfiniteOnes) {
  constexpr double kHuge = std::numeric_limits<double>::max();
  for (const FillMethod method :
       {FillMethod::Hold, FillMethod::Linear, FillMethod::Cubic, FillMethod::Pattern}) {
    Tumbling body(12);
    for (std::size_t f = 0; f < 12; ++f)
      for (std::size_t m = 0; m < 6; ++m)
        if (f != 6) body.take.Set(f, m, {(f + m) % 2 ? kHuge : -kHuge, m % 3 ? kHuge : 0, kHuge / 2});
    Hide(body.take, 0, 4, 8);
    const auto report = FillGaps(body.take, All(body.take), {{method, kNoLimit}});
    std::size_t filled = 0;
    for (std::size_t f = 4; f < 8; ++f)
      if (const Point* p = body.take.At(f, 0)) {
        EXPECT_TRUE(std::isfinite(p->x) && std::isfinite(p->y) && std::isfinite(p->z)) << ToText(method);
        ++filled;
      }
    EXPECT_EQ(report[0].FilledFrames(), filled) << ToText(method);
  }
}

// --- Plans as text.

TEST(FillPlan, ReadsWhatItWrites) {
  const std::pair<const char*, FillPlan> plans[] = {
      {"none", {}},
      {"hold:0.05", {{FillMethod::Hold, 0.05}}},
      {"cubic:0.15,pattern:0.5", {{FillMethod::Cubic, 0.15}, {FillMethod::Pattern, 0.5}}},
      {"linear:0,linear:30,hold:1e-07",
       {{FillMethod::Linear, 0}, {FillMethod::Linear, 30}, {FillMethod::Hold, 1e-7}}},
      {"pattern:0.3333333333333333", {{FillMethod::Pattern, 1 / 3.0}}}};
  for (const auto& [text, plan] : plans) {
    EXPECT_EQ(ToText(plan), text);
    const std::optional<FillPlan> parsed = ParseFillPlan(text);
    ASSERT_TRUE(parsed) << text;
    ASSERT_THAT(*parsed, SizeIs(plan.size())) << text;
    for (std::size_t i = 0; i < plan.size(); ++i) {
      EXPECT_EQ((*parsed)[i].method, plan[i].method) << text;
      EXPECT_EQ((*parsed)[i].longest_s, plan[i].longest_s) << text;
    }
  }
}

TEST(FillPlan, AMethodHasADefaultLength) {
  const std::optional<FillPlan> plan = ParseFillPlan("hold,linear,cubic:9,pattern");
  ASSERT_TRUE(plan);
  ASSERT_THAT(*plan, SizeIs(4));
  EXPECT_EQ((*plan)[0].longest_s, DefaultLongest(FillMethod::Hold));
  EXPECT_EQ((*plan)[1].longest_s, DefaultLongest(FillMethod::Linear));
  EXPECT_EQ((*plan)[2].longest_s, 9);
  EXPECT_EQ((*plan)[3].longest_s, DefaultLongest(FillMethod::Pattern));
}

// As in docs/cleaning.md: the better a method follows a face, the longer the gaps that it fills.
TEST(FillPlan, TheDefaultLengths) {
  EXPECT_EQ(DefaultLongest(FillMethod::None), 0);
  EXPECT_EQ(DefaultLongest(FillMethod::Hold), 0.05);
  EXPECT_EQ(DefaultLongest(FillMethod::Linear), 0.1);
  EXPECT_EQ(DefaultLongest(FillMethod::Cubic), 0.15);
  EXPECT_EQ(DefaultLongest(FillMethod::Pattern), 0.5);
}

TEST(FillPlan, RefusesOtherText) {
  for (const char* text : {"",
                           " ",
                           ",",
                           "spline",
                           "cubic,",
                           ",cubic",
                           "cubic,,hold",
                           "cubic:",
                           "cubic:x",
                           "cubic:0.1s",
                           "cubic:-0.1",
                           "cubic:nan",
                           "cubic:0,15",
                           "cubic: 0.1",
                           "cubic :0.1",
                           " cubic",
                           "cubic ",
                           "Cubic",
                           "CUBIC",
                           "cub",
                           "cubics",
                           "cubic:0.1:0.2",
                           "cubic:0.1;hold",
                           ":0.1",
                           "none:1",
                           "none,cubic",
                           "cubic,none",
                           "nan",
                           "cubic:1e999",
                           "cubic:0x1",
                           "cubic:+1"})
    EXPECT_FALSE(ParseFillPlan(text)) << '"' << text << '"';
  EXPECT_FALSE(ParseFillPlan(std::string_view("cubic\0", 6)));
  const auto plan =
      ParseFillPlan(std::string_view("cubic:0.15,hold", 9)); // does not read beyond the end of the text
  ASSERT_TRUE(plan);
  ASSERT_THAT(*plan, SizeIs(1));
  EXPECT_EQ(plan->front().longest_s, 0.1);
}

TEST(FillPlan, UsesDecimalPointsInAnyLocale) {
  const DecimalComma german;
  EXPECT_EQ(ToText(FillPlan{{FillMethod::Cubic, 0.15}, {FillMethod::Hold, 1234.5}}),
            "cubic:0.15,hold:1234.5");
  const auto plan = ParseFillPlan("cubic:0.15");
  ASSERT_TRUE(plan);
  EXPECT_EQ(plan->front().longest_s, 0.15);
}

// The curve continues the speed with which a marker enters the gap, here beyond a kilometre.
TEST(FillGaps, NoPositionLeavesTheReach) {
  const auto fast = [](double seconds, std::size_t) {
    return Point{9.5e5 - 4e6 * std::max(std::fabs(seconds - 0.3) - 0.1, 0.0), 0, 1};
  };
  Take take = tests::TakeAlong({"A"}, Numbers(1, 60), {100, 1}, fast);
  Hide(take, 0, 20, 39);
  const std::vector<FilledMarker> report = FillGaps(take, {0}, {{FillMethod::Cubic, 10}});
  std::size_t empty = 0;
  for (std::size_t f = 20; f < 39; ++f)
    if (const Point* const p = take.At(f, 0)) {
      EXPECT_TRUE(mien::IsWithinReach(*p)) << f;
    } else {
      ++empty;
    }
  EXPECT_GT(empty, 0u);
  EXPECT_EQ(report[0].FilledFrames(), 19 - empty);
}
