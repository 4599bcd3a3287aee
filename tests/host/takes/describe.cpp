#include "host/takes/describe.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>

using mien::Describe;
using mien::Take;
using mien::TakeDescription;
using mien::ToText;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::Not;

namespace {

// Eight frames 10 to 18 without 14. A is always there but in the two empty frames 12 and 13; B has gaps of 1,
// 4 (with the empty frames inside) and none at the end; C is never seen.
Take Sample() {
  Take take({"A", "B", "C"});
  take.name = "sample";
  take.format = "marker CSV";
  take.rate_hz = 20;
  take.notes = {"frames missing: 1 after frame 13"};
  for (const int number : {10, 11, 12, 13, 15, 16, 17, 18}) take.AddFrame(number, number / 20.0);
  for (const std::size_t frame : {0u, 1u, 4u, 5u, 6u, 7u}) {
    const double f = static_cast<double>(frame);
    take.Set(frame, 0, {f, -f, 100 + f});
  }
  for (const std::size_t frame : {0u, 5u, 7u}) take.Set(frame, 1, {-50, 2.25, static_cast<double>(frame)});
  return take;
}

} // namespace

TEST(Describe, CountsFramesAndWhatIsMissing) {
  const TakeDescription d = Describe(Sample());
  EXPECT_EQ(d.name, "sample");
  EXPECT_EQ(d.format, "marker CSV");
  EXPECT_EQ(d.frames, 8u);
  EXPECT_EQ(d.first_frame, 10);
  EXPECT_EQ(d.last_frame, 18);
  EXPECT_EQ(d.missing_frames, 1);
  EXPECT_EQ(d.empty_frames, 2u);
  EXPECT_EQ(d.rate_hz, 20);
  EXPECT_DOUBLE_EQ(d.duration_s, 0.45); // 9 periods of 1/20 s, the last frame's own among them
  EXPECT_THAT(d.notes, ElementsAre("frames missing: 1 after frame 13"));
}

TEST(Describe, CountsGapsAndTheLongestRunOfThem) {
  const TakeDescription d = Describe(Sample());
  ASSERT_EQ(d.markers.size(), 3u);
  EXPECT_EQ(d.markers[0].name, "A");
  EXPECT_EQ(d.markers[0].gaps, 2u);
  EXPECT_EQ(d.markers[0].longest_gap, 2u);
  EXPECT_EQ(d.markers[1].gaps, 5u);
  EXPECT_EQ(d.markers[1].longest_gap, 4u);
  EXPECT_EQ(d.markers[2].gaps, 8u);
  EXPECT_EQ(d.markers[2].longest_gap, 8u);
}

TEST(Describe, ExtentsHoldSeenPositionsOnly) {
  const TakeDescription d = Describe(Sample());
  // A is never at 0 in z, nor B in x: a gap taken for a zero position would show there.
  EXPECT_EQ(d.markers[0].low.x, 0);
  EXPECT_EQ(d.markers[0].high.x, 7);
  EXPECT_EQ(d.markers[0].low.y, -7);
  EXPECT_EQ(d.markers[0].high.y, 0);
  EXPECT_EQ(d.markers[0].low.z, 100);
  EXPECT_EQ(d.markers[0].high.z, 107);
  EXPECT_EQ(d.markers[1].low.x, -50);
  EXPECT_EQ(d.markers[1].high.x, -50);
  EXPECT_EQ(d.low.x, -50);
  EXPECT_EQ(d.high.x, 7);
  EXPECT_EQ(d.low.y, -7);
  EXPECT_EQ(d.high.y, 2.25);
  EXPECT_EQ(d.low.z, 0);
  EXPECT_EQ(d.high.z, 107);
}

TEST(Describe, ExtentsOfAMarkerThatAppearsLateLeaveOutTheGap) {
  Take take({"A"});
  take.AddFrame(1, 0);
  take.AddFrame(2, 1);
  take.Set(1, 0, {5, 6, 7});
  const TakeDescription d = Describe(take);
  EXPECT_EQ(d.markers[0].low.x, 5);
  EXPECT_EQ(d.markers[0].high.z, 7);
  EXPECT_EQ(d.low.y, 6);
}

TEST(Describe, MarkerThatIsNeverSeenHasNoPartInTheExtents) {
  Take take({"never", "A", "never either"});
  take.AddFrame(1, 0);
  take.Set(0, 1, {5, 6, 7});
  const TakeDescription d = Describe(take);
  EXPECT_EQ(d.low.x, 5);
  EXPECT_EQ(d.low.z, 7);
  EXPECT_EQ(d.high.y, 6);
}

TEST(Describe, TextShowsWhatWasCounted) {
  EXPECT_EQ(ToText(Describe(Sample())),
            "sample: marker CSV\n"
            "  frames    8 (10 to 18), 1 missing, 2 without any marker\n"
            "  rate      20 Hz\n"
            "  duration  0.450 s\n"
            "  extents   x -50.0 to 7.0, y -7.0 to 2.2, z 0.0 to 107.0 mm\n"
            "  note      frames missing: 1 after frame 13\n"
            "  3 markers\n"
            "  marker    gaps  longest                  x mm                  y mm                  z mm\n"
            "  A            2        2            0.0 to 7.0           -7.0 to 0.0        100.0 to 107.0\n"
            "  B            5        4        -50.0 to -50.0            2.2 to 2.2            0.0 to 7.0\n"
            "  C            8        8  never seen\n");
}

TEST(Describe, TakeWithoutAnyPositionSaysSo) {
  Take take({"A"});
  take.AddFrame(1, 0);
  EXPECT_THAT(ToText(Describe(take)), HasSubstr("  extents   none, no marker is ever seen\n"));
  EXPECT_THAT(ToText(Describe(Take())), HasSubstr("  extents   none, no marker is ever seen\n"));
}

TEST(Describe, NamesCannotSteerTheTerminal) {
  Take take({"\x1B[2JA"});
  take.AddFrame(1, 0);
  const std::string text = ToText(Describe(take));
  EXPECT_THAT(text, HasSubstr("?[2JA"));
  EXPECT_THAT(text, Not(HasSubstr("\x1B")));
}
