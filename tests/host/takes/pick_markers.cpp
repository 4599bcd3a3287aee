#include "host/takes/pick_markers.h"

#include "tests/host/take_along.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

using mien::Origin;
using mien::PickMarkers;
using mien::Take;
using testing::ElementsAre;
using testing::IsEmpty;

namespace {

Take FullTake() {
  Take take({"A", "B", "C", "D"});
  take.file = "folder/a.c3d", take.name = "a", take.format = "C3D", take.flavour = "Intel, float",
  take.unit = "m", take.axes = "+z up";
  take.rate = {30000, 1001};
  take.timecode = mien::Timecode{17, {30, 1}, false};
  take.residual_mm = 0.5;
  take.events = {{1.5, "clap"}};
  take.notes = {{mien::Code::Doubtful, "", "a note"}};
  for (int f = 0; f < 6; ++f) {
    take.AddFrame(2 * f - 3, f / 29.0);
    for (std::size_t m = 0; m < 4; ++m) {
      const double x = 10 * f + static_cast<double>(m);
      if ((static_cast<std::size_t>(f) + m) % 3 != 0)
        take.Set(static_cast<std::size_t>(f), m, {x, -x, x / 3},
                 m == 2 ? Origin::Computed : Origin::Measured);
    }
  }
  return take;
}

} // namespace

TEST(PickMarkers, TakesTheseMarkersInThisOrder) {
  const Take take = FullTake(), picked = PickMarkers(take, {3, 0, 2});
  EXPECT_THAT(picked.markers, ElementsAre("D", "A", "C"));
  const std::size_t from[] = {3, 0, 2};
  for (std::size_t f = 0; f < take.FrameCount(); ++f)
    for (std::size_t m = 0; m < 3; ++m) {
      EXPECT_TRUE(tests::Same(picked.At(f, m), take.At(f, from[m]))) << f << ' ' << m;
      EXPECT_EQ(picked.OriginAt(f, m), take.OriginAt(f, from[m])) << f << ' ' << m;
    }
}

TEST(PickMarkers, KeepsFramesAndWhereTheyComeFrom) {
  const Take take = FullTake(), picked = PickMarkers(take, {1});
  EXPECT_EQ(picked.frames, take.frames);
  EXPECT_EQ(picked.times, take.times);
  EXPECT_EQ(picked.rate, take.rate);
  EXPECT_EQ(picked.timecode, take.timecode);
  EXPECT_EQ(picked.file, take.file);
  EXPECT_EQ(picked.name, take.name);
  EXPECT_EQ(picked.format, take.format);
  EXPECT_EQ(picked.flavour, take.flavour);
  EXPECT_EQ(picked.unit, take.unit);
  EXPECT_EQ(picked.axes, take.axes);
}

TEST(PickMarkers, LeavesOutSightingsEventsAndNotes) {
  const Take picked = PickMarkers(FullTake(), {1});
  EXPECT_FALSE(picked.HasSightings());
  EXPECT_FALSE(picked.SightingAt(0, 0));
  EXPECT_THAT(picked.events, IsEmpty());
  EXPECT_THAT(picked.notes, IsEmpty());
}

TEST(PickMarkers, MayPickNoneOrAllOrOneTwice) {
  const Take take = FullTake();
  const Take none = PickMarkers(take, {}), all = PickMarkers(take, {0, 1, 2, 3}),
             twice = PickMarkers(take, {1, 1});
  EXPECT_EQ(none.frames, take.frames);
  EXPECT_EQ(none.MarkerCount(), 0u);
  EXPECT_EQ(tests::Changes(all, take), 0u);
  for (std::size_t f = 0; f < take.FrameCount(); ++f)
    EXPECT_TRUE(tests::Same(twice.At(f, 0), twice.At(f, 1))) << f;
}

TEST(WithoutFrames, HasTheMarkersAndTheAxesAlone) {
  const Take take = FullTake(), none = mien::WithoutFrames(take, {3, 0});
  EXPECT_THAT(none.markers, ElementsAre("D", "A"));
  EXPECT_EQ(none.FrameCount(), 0u);
  EXPECT_EQ(none.name, take.name);
  EXPECT_EQ(none.axes, take.axes);
  EXPECT_EQ(none.rate, take.rate);
}
