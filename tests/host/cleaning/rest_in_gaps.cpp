#include "host/cleaning/rest_in_gaps.h"

#include "tests/host/take_along.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <utility>
#include <vector>

using mien::FrameRate;
using mien::Point;
using mien::RestInGaps;
using mien::Take;
using tests::Distance;
using tests::Hide;
using tests::Numbers;
using tests::Same;
using tests::TakeAlong;

namespace {

constexpr double kFade = 0.25;          // seconds
constexpr FrameRate kFine = {10000, 1}; // so fine that no jump can hide between frames
constexpr double kRounding = 1e-12;     // of about 100 mm

const std::vector<Point> kRest = {{10, -20, 30}, {-5, 5, 0}};

/// A path at 20 to 60 mm from rest with a speed of 30 mm per second.
Point Way(double seconds, std::size_t marker) {
  return {kRest[marker].x + 20 + 30 * seconds, kRest[marker].y, kRest[marker].z};
}

/// Visible along the path except in the frames [first, end).
Take WithGap(std::size_t frames, std::size_t first, std::size_t end, const FrameRate& rate = kFine) {
  Take take = TakeAlong({"A", "B"}, Numbers(0, frames), rate, Way);
  Hide(take, 0, first, end);
  return take;
}

/// The weight of the position at rest in the blend with the straight line on which Way continues.
double Share(const RestInGaps& markers, const Take& take, std::size_t frame) {
  const Point on_way = Way(take.times[frame], 0);
  return Distance(markers.At(frame, 0), on_way) / Distance(kRest[0], on_way);
}

} // namespace

TEST(RestInGaps, VisiblePositionsAreNeverChanged) {
  const Take take = WithGap(8000, 2000, 6000);
  const RestInGaps markers(take, kRest, kFade);
  for (std::size_t f = 0; f < 8000; ++f)
    for (std::size_t m = 0; m < 2; ++m)
      if (const Point* seen = take.At(f, m)) {
        const Point place = markers.At(f, m);
        ASSERT_TRUE(Same(&place, seen)) << f << ' ' << m;
      }
}

// From both ends the weight rises from 0 to 1 within the fade time: it starts and ends without a kink, always
// rises, and is never steeper than twice the average slope.
TEST(RestInGaps, AMissingMarkerComesToRestOverTheFade) {
  const Take take = WithGap(20000, 5000, 15000);
  const RestInGaps markers(take, kRest, kFade);
  constexpr std::size_t kFadeFrames = 2500;
  double before = 0;
  for (std::size_t i = 0; i <= kFadeFrames; ++i) {
    const double share = Share(markers, take, 4999 + i), leaving = Share(markers, take, 15000 - i);
    ASSERT_NEAR(share, leaving, 1e-9) << "leaving mirrors arriving: " << i;
    ASSERT_GE(share, before - kRounding) << i;
    ASSERT_LE(share - before, 2.0 / kFadeFrames) << i;
    before = share;
  }
  EXPECT_NEAR(before, 1, 1e-9);
  for (const std::size_t near : {1u, 25u}) { // up to a hundredth of the fade
    EXPECT_LT(Share(markers, take, 4999 + near), 1e-3);
    EXPECT_GT(Share(markers, take, 4999 + kFadeFrames - near), 1 - 1e-3);
  }
  for (std::size_t f = 4999 + kFadeFrames; f <= 15000 - kFadeFrames; ++f)
    ASSERT_LT(Distance(markers.At(f, 0), kRest[0]), kRounding) << f;
}

// 3 f^2 - 2 f^3 of a fraction f of the fade, here of 4 seconds: nearly exact in binary fractions.
TEST(RestInGaps, TheWeightAtAFractionOfTheFade) {
  const Take take = WithGap(40, 10, 30, {1, 1});
  const RestInGaps markers(take, kRest, 4);
  for (const auto& [frames, share] : {std::pair(1u, 0.15625), {2u, 0.5}, {3u, 0.84375}, {4u, 1.0}}) {
    EXPECT_NEAR(Share(markers, take, 9 + frames), share, kRounding) << frames;
    EXPECT_NEAR(Share(markers, take, 30 - frames), share, kRounding) << frames;
  }
}

// The fade also starts from the first frame and ends at the last.
TEST(RestInGaps, ASingleVisibleFrameIsEnough) {
  const Take take = WithGap(8, 1, 7, {1, 1});
  const RestInGaps markers(take, kRest, 4);
  EXPECT_NEAR(Share(markers, take, 1), 0.15625, kRounding);
  EXPECT_NEAR(Share(markers, take, 6), 0.15625, kRounding);
}

TEST(RestInGaps, NothingJumps) {
  for (const std::size_t length : {1u, 2u, 100u, 2499u, 2500u, 4999u, 5000u, 5001u, 9000u})
    for (const double fade_s : {0.05, 0.25, 2.0}) {
      const Take take = WithGap(12000, 1500, 1500 + length);
      const RestInGaps markers(take, kRest, fade_s);
      // The path moves 30 mm per second; the blend moves at most 60 mm, with at most twice the average slope.
      const double most = (30 + 2 * 60 / fade_s) / 10000;
      for (std::size_t f = 1; f < 12000; ++f)
        ASSERT_LE(Distance(markers.At(f, 0), markers.At(f - 1, 0)), most)
            << length << ' ' << fade_s << ' ' << f;
    }
}

TEST(RestInGaps, InAShortGapItDoesNotReachRest) {
  const Take take = WithGap(12000, 2000, 6000); // less than two fades
  const RestInGaps markers(take, kRest, kFade);
  double most = 0;
  for (std::size_t f = 2000; f < 6000; ++f) most = std::max(most, Share(markers, take, f));
  EXPECT_LT(most, 0.99);
  EXPECT_GT(most, 0.5);
  EXPECT_LT(Share(markers, take, 3999), most + kRounding) << "its middle is nearest to rest";
  EXPECT_GT(Share(markers, take, 3999), most - 1e-6);
  // One or two frames at a camera's rate stay close to the path.
  const Take blink = WithGap(50, 20, 22, {100, 1});
  const RestInGaps in_blink(blink, kRest, kFade);
  EXPECT_LT(Share(in_blink, blink, 20), 0.02);
  EXPECT_LT(Share(in_blink, blink, 21), 0.02);
}

TEST(RestInGaps, TheStraightLineIsFromTheLastPositionToTheNext) {
  Take take = TakeAlong({"A", "B"}, Numbers(0, 12), {100, 1}, [](double, std::size_t) { return Point{}; });
  take.Set(2, 0, {0, 0, 0}), take.Set(9, 0, {70, 0, -14});
  Hide(take, 0, 3, 9);
  const RestInGaps markers(take, kRest, 1e6); // almost no blend with rest
  for (std::size_t f = 3; f < 9; ++f) {
    const double share = static_cast<double>(f - 2) / 7;
    EXPECT_LT(Distance(markers.At(f, 0), {70 * share, 0, -14 * share}), 1e-6) << f;
  }
}

TEST(RestInGaps, ItRestsBeforeItsFirstPositionAndAfterItsLast) {
  Take take = WithGap(12000, 0, 5000);
  Hide(take, 0, 7000, 12000);
  const RestInGaps markers(take, kRest, kFade);
  for (const std::size_t f : {0u, 1000u, 2500u, 9499u, 9500u, 11999u})
    EXPECT_LT(Distance(markers.At(f, 0), kRest[0]), kRounding) << f;
  EXPECT_GT(Distance(markers.At(2600, 0), kRest[0]), 1e-3) << "it leaves its rest in time";
  EXPECT_GT(Distance(markers.At(9300, 0), kRest[0]), 1e-3);
  // Near its first or last position, the fade applies to that position.
  const double step = Distance(*take.At(5000, 0), kRest[0]) * 2 / (kFade * 10000) + kRounding;
  for (std::size_t f = 1; f <= 5000; ++f)
    ASSERT_LE(Distance(markers.At(f, 0), markers.At(f - 1, 0)), step) << f;
  const double later_step = Distance(*take.At(6999, 0), kRest[0]) * 2 / (kFade * 10000) + kRounding;
  for (std::size_t f = 7000; f < 12000; ++f)
    ASSERT_LE(Distance(markers.At(f, 0), markers.At(f - 1, 0)), later_step) << f;
}

TEST(RestInGaps, AMarkerThatIsNeverVisibleRests) {
  Take take = WithGap(50, 0, 50);
  const RestInGaps markers(take, kRest, kFade);
  for (std::size_t f = 0; f < 50; ++f) {
    const Point place = markers.At(f, 0);
    EXPECT_TRUE(Same(&place, &kRest[0])) << f;
  }
}

// Only one frame between the numbers 3 and 300 was recorded: by its time the fade has long ended.
TEST(RestInGaps, TimeCountsNotTheNumberOfFrames) {
  Take take = TakeAlong({"A", "B"}, {1, 2, 3, 150, 300, 301}, {100, 1}, Way);
  take.Clear(3, 0);
  const RestInGaps markers(take, kRest, kFade);
  EXPECT_LT(Distance(markers.At(3, 0), kRest[0]), kRounding);
}

TEST(RestInGaps, WithoutAFadeItRestsImmediately) {
  const Take take = WithGap(50, 20, 30, {100, 1});
  const RestInGaps markers(take, kRest, 0);
  for (std::size_t f = 20; f < 30; ++f) EXPECT_LT(Distance(markers.At(f, 0), kRest[0]), kRounding) << f;
}

TEST(RestInGaps, EachMarkerHasItsOwnGapsAndRest) {
  Take take = WithGap(400, 100, 300, {100, 1});
  Hide(take, 1, 350, 400), Hide(take, 0, 320, 330);
  const RestInGaps markers(take, kRest, kFade);
  EXPECT_LT(Distance(markers.At(200, 0), kRest[0]), kRounding);
  EXPECT_LT(Distance(markers.At(399, 1), kRest[1]), kRounding);
  const Point place = markers.At(200, 1);
  EXPECT_TRUE(Same(&place, take.At(200, 1)));
}
