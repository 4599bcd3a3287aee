#include "host/inspect/describe.h"

#include "tests/host/inspect/sample_takes.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

using mien::Describe;
using mien::FrameSpan;
using mien::Point;
using mien::Take;
using mien::TakeDescription;
using testing::ElementsAre;
using testing::IsEmpty;
using tests::RichSample;
using tests::Sample;
using tests::Seen;

TEST(Describe, CountsFramesAndWhatIsMissing) {
  const TakeDescription d = Describe(Sample());
  EXPECT_EQ(d.name, "sample");
  EXPECT_EQ(d.format, "marker CSV");
  EXPECT_EQ(d.frames, 8u);
  EXPECT_EQ(d.first_frame, 10);
  EXPECT_EQ(d.last_frame, 18);
  EXPECT_EQ(d.missing_frames, 1);
  EXPECT_EQ(d.empty_frames, 2u);
  EXPECT_EQ(d.rate.Hz(), 20);
  EXPECT_DOUBLE_EQ(d.duration_s, 0.45); // 9 periods of 1/20 s, the last frame's own among them
  EXPECT_THAT(d.notes, ElementsAre("frames missing: 1 after frame 13"));
}

TEST(Describe, CountsGapsAndFindsTheLongest) {
  const TakeDescription d = Describe(Sample());
  ASSERT_EQ(d.markers.size(), 3u);
  EXPECT_EQ(d.markers[0].name, "A");
  EXPECT_EQ(d.markers[0].gap_frames, 2u);
  EXPECT_THAT(d.markers[0].gaps, ElementsAre(FrameSpan{2, 4}));
  EXPECT_EQ(d.markers[0].longest_gap, (FrameSpan{2, 4}));
  EXPECT_DOUBLE_EQ(d.markers[0].longest_gap_s, 0.1);
  EXPECT_EQ(d.markers[1].gap_frames, 5u);
  EXPECT_THAT(d.markers[1].gaps, ElementsAre(FrameSpan{1, 5}, FrameSpan{6, 7}));
  EXPECT_EQ(d.markers[1].longest_gap, (FrameSpan{1, 5}));
  EXPECT_DOUBLE_EQ(d.markers[1].longest_gap_s,
                   0.25); // frames 11 to 15: five periods, one of them the missing frame's
  EXPECT_EQ(d.markers[2].gap_frames, 8u);
  EXPECT_THAT(d.markers[2].gaps, ElementsAre(FrameSpan{0, 8}));
}

TEST(Describe, OfGapsOfOneLengthTheFirstIsTheLongest) {
  const TakeDescription d = Describe(Seen("x..x.x..x"));
  EXPECT_EQ(d.markers[0].longest_gap, (FrameSpan{1, 3}));
}

TEST(Describe, MarkerWithoutGapsHasNoLongestOne) {
  const TakeDescription d = Describe(Seen("xxx"));
  EXPECT_FALSE(d.markers[0].longest_gap);
  EXPECT_EQ(d.markers[0].longest_gap_s, 0);
  EXPECT_THAT(d.markers[0].gaps, IsEmpty());
}

TEST(Describe, CountsPositionsByTheirOrigin) {
  const TakeDescription d = Describe(RichSample());
  EXPECT_EQ(d.markers[0].computed, 1u);
  EXPECT_EQ(d.markers[0].filled, 0u);
  EXPECT_EQ(d.markers[0].residual_mm, 0.5); // of the measured ones, 0, 1 and 2 times half a millimetre
  EXPECT_EQ(d.markers[1].computed, 0u);
  EXPECT_EQ(d.markers[1].filled, 1u);
  EXPECT_FALSE(d.markers[1].residual_mm);
}

TEST(Describe, TimecodeGoesFromTheFirstFrameToTheLast) {
  EXPECT_FALSE(Describe(Sample()).timecode);
  EXPECT_EQ(Describe(Sample()).last_timecode, "");
  Take take = Seen("xxxx", {30, 1});
  take.timecode = mien::Timecode{29, {30, 1}, false};
  const TakeDescription d = Describe(take);
  EXPECT_EQ(d.timecode->At(0), "00:00:00:29");
  EXPECT_EQ(d.last_timecode, "00:00:01:02");
}

TEST(Describe, NamesThatDifferOnlyInLetterCaseAreLike) {
  EXPECT_THAT(Describe(Take({"Cheek_up", "b", "Cheek_Up", "B", "c", "chin", "cheek_up"})).like_names,
              ElementsAre(ElementsAre("Cheek_up", "Cheek_Up", "cheek_up"), ElementsAre("b", "B")));
  EXPECT_THAT(Describe(Take({"a", "ab", "\xC3\x84", "\xC3\xA4"})).like_names, IsEmpty());
}

TEST(Describe, ExtentsHoldSeenPositionsOnly) {
  const TakeDescription d = Describe(Sample());
  // A is never at 0 in z, nor B in x: a gap taken for a zero position would show there.
  EXPECT_EQ(d.markers[0].extents->low.x, 0);
  EXPECT_EQ(d.markers[0].extents->high.x, 7);
  EXPECT_EQ(d.markers[0].extents->low.y, -7);
  EXPECT_EQ(d.markers[0].extents->high.y, 0);
  EXPECT_EQ(d.markers[0].extents->low.z, 100);
  EXPECT_EQ(d.markers[0].extents->high.z, 107);
  EXPECT_EQ(d.markers[1].extents->low.x, -50);
  EXPECT_EQ(d.markers[1].extents->high.x, -50);
  EXPECT_EQ(d.extents->low.x, -50);
  EXPECT_EQ(d.extents->high.x, 7);
  EXPECT_EQ(d.extents->low.y, -7);
  EXPECT_EQ(d.extents->high.y, 2.25);
  EXPECT_EQ(d.extents->low.z, 0);
  EXPECT_EQ(d.extents->high.z, 107);
}

TEST(Describe, ExtentsOfAMarkerThatAppearsLateLeaveOutTheGap) {
  Take take({"A"});
  take.AddFrame(1, 0);
  take.AddFrame(2, 1);
  take.Set(1, 0, {5, 6, 7});
  const TakeDescription d = Describe(take);
  EXPECT_EQ(d.markers[0].extents->low.x, 5);
  EXPECT_EQ(d.markers[0].extents->high.z, 7);
  EXPECT_EQ(d.extents->low.y, 6);
}

TEST(Describe, MarkerThatIsNeverSeenHasNoPartInTheExtents) {
  Take take({"never", "A", "never either"});
  take.AddFrame(1, 0);
  take.Set(0, 1, {5, 6, 7});
  const TakeDescription d = Describe(take);
  EXPECT_FALSE(d.markers[0].extents);
  EXPECT_FALSE(d.markers[2].extents);
  EXPECT_EQ(d.extents->low.x, 5);
  EXPECT_EQ(d.extents->low.z, 7);
  EXPECT_EQ(d.extents->high.y, 6);
}

TEST(Describe, TakeWithoutAnyPositionHasNoExtents) {
  Take take({"A"});
  take.AddFrame(1, 0);
  EXPECT_FALSE(Describe(take).extents);
  EXPECT_EQ(Describe(take).empty_frames, 1u);
  EXPECT_FALSE(Describe(Take()).extents);
  EXPECT_EQ(Describe(Take()).empty_frames, 0u);
}

TEST(Describe, FramesOfATakeWithoutMarkersAreEmpty) {
  Take take;
  take.AddFrame(1, 0);
  EXPECT_EQ(Describe(take).empty_frames, 1u);
}

// One axis alone along which every marker is far from the origin, on the same side of it, is the height above
// a floor.
TEST(Describe, MarkersThatAreAllInOnePlaceAreNoted) {
  Take take({"A", "B"});
  for (int frame = 0; frame < 2; ++frame) {
    const std::size_t row = take.AddFrame(frame, frame);
    for (const std::size_t m : {0u, 1u}) take.Set(row, m, {1.0 * frame, 2, 3});
  }
  EXPECT_THAT(Describe(take).notes, ElementsAre("all markers are in one place in every frame"));
  take.Set(1, 1, {2, 2, 3});
  EXPECT_THAT(Describe(take).notes, IsEmpty());
}

TEST(Describe, UpIsGuessedFromTheHeightAboveTheOrigin) {
  const auto axes_of = [](const Point& a, const Point& b) {
    Take take({"A", "B"});
    take.AddFrame(1, 0);
    take.Set(0, 0, a), take.Set(0, 1, b);
    return Describe(take).axes;
  };
  EXPECT_EQ(axes_of({0, 100, 1500}, {-100, 0, 1612.6}),
            "guess: +z up, since no marker comes nearer to the origin than 1500 mm along it");
  EXPECT_EQ(axes_of({0, -700, 150}, {-100, -500, 0}),
            "guess: -y up, since no marker comes nearer to the origin than 500 mm along it");
  EXPECT_EQ(axes_of({0, 100, 499}, {-100, 0, 1612}), "") << "not far";
  EXPECT_EQ(axes_of({0, 100, 1500}, {-100, 0, -1500}), "") << "on both sides";
  EXPECT_EQ(axes_of({900, 100, 1500}, {900, 0, 1500}), "") << "two that could be";
  EXPECT_EQ(Describe(Take({"A"})).axes, "") << "nothing is seen";
}

TEST(Describe, WhatTheFormatSaysOfTheAxesIsNotAGuess) {
  Take take({"A"});
  take.axes = "+y up";
  take.AddFrame(1, 0);
  take.Set(0, 0, {0, 0, 2000});
  EXPECT_EQ(Describe(take).axes, "+y up");
}
