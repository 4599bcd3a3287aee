#include "host/takes/take.h"

#include <gtest/gtest.h>

#include <cstddef>
#include <cstdint>
#include <string>
#include <utility>
#include <vector>

using mien::Origin;
using mien::Point;
using mien::Take;

TEST(Take, AddedFrameIsAllGaps) {
  Take take({"A", "B"});
  EXPECT_EQ(take.AddFrame(7, 0.5), 0u);
  EXPECT_EQ(take.FrameCount(), 1u);
  EXPECT_EQ(take.MarkerCount(), 2u);
  EXPECT_EQ(take.frames[0], 7);
  EXPECT_EQ(take.times[0], 0.5);
  EXPECT_EQ(take.At(0, 0), nullptr);
  EXPECT_EQ(take.At(0, 1), nullptr);
}

TEST(Take, PositionsStayWithTheirFrameAndMarker) {
  Take take({"A", "B", "C"});
  for (int frame = 0; frame < 4; ++frame) take.AddFrame(frame + 10, frame / 30.0);
  take.Set(2, 1, {1, 2, 3});
  take.Set(3, 0, {4, 5, 6});
  for (std::size_t frame = 0; frame < 4; ++frame)
    for (std::size_t marker = 0; marker < 3; ++marker)
      EXPECT_EQ(take.At(frame, marker) != nullptr,
                (frame == 2 && marker == 1) || (frame == 3 && marker == 0));
  ASSERT_NE(take.At(2, 1), nullptr);
  EXPECT_EQ(take.At(2, 1)->x, 1);
  EXPECT_EQ(take.At(2, 1)->y, 2);
  EXPECT_EQ(take.At(2, 1)->z, 3);
}

TEST(Take, APositionAtTheOriginIsNoGap) {
  Take take({"A"});
  take.AddFrame(1, 0);
  take.Set(0, 0, {0, 0, 0});
  EXPECT_NE(take.At(0, 0), nullptr);
}

TEST(Take, ClearMakesAGap) {
  Take take({"A", "B"});
  take.AddFrame(1, 0);
  take.Set(0, 0, {1, 2, 3});
  take.Set(0, 1, {1, 2, 3});
  take.Clear(0, 0);
  EXPECT_EQ(take.At(0, 0), nullptr);
  EXPECT_NE(take.At(0, 1), nullptr);
}

// Positions are kept in blocks of frames: a few markers fill many frames, and very many more than one.
TEST(Take, PositionsStayWhereTheyAreHoweverManyFramesAndMarkersThereAre) {
  for (const auto& [markers, frames] :
       {std::pair<std::size_t, std::size_t>(1, 70000), {2, 40000}, {3, 30000}, {1000, 100}, {40000, 3}}) {
    Take take(std::vector<std::string>(markers, "A"));
    take.residual_mm = 0.5;
    const auto value = [count = markers](std::size_t f, std::size_t m) {
      return static_cast<double>(f * count + m);
    };
    for (std::size_t f = 0; f < frames; ++f) {
      ASSERT_EQ(take.AddFrame(static_cast<std::int64_t>(f), value(f, 0)), f);
      const Take::Row row = take.RowOf(f);
      ASSERT_EQ(row.positions.size(), markers);
      for (std::size_t m = 0; m < markers; ++m)
        if ((f + m) % 5 != 0) {
          take.Set(f, m, {value(f, m), 0, 0});
          row.sightings[m].residual = static_cast<std::uint8_t>((f + 3 * m) % 256);
        }
    }
    for (std::size_t f = 0; f < frames; ++f)
      for (std::size_t m = 0; m < markers; ++m) {
        const Point* const p = take.At(f, m);
        ASSERT_EQ(p != nullptr, (f + m) % 5 != 0) << markers << ' ' << f << ' ' << m;
        if (!p) continue;
        ASSERT_EQ(p->x, value(f, m)) << markers << ' ' << f << ' ' << m;
        ASSERT_EQ(take.SightingAt(f, m)->residual, (f + 3 * m) % 256) << markers << ' ' << f << ' ' << m;
      }
  }
}

TEST(Take, ALastFrameThatIsRemovedLeavesTheOthersAndMakesRoomForAnother) {
  for (const std::size_t markers : {1u, 1000u}) // in one block of frames and at the edge of several
    for (const std::size_t kept : {0u, 1u, 31u, 32u, 33u, 32767u, 32768u}) {
      if (markers * kept > 40000) continue;
      Take take(std::vector<std::string>(markers, "A"));
      take.residual_mm = 0.5;
      for (std::size_t f = 0; f <= kept; ++f) {
        take.AddFrame(static_cast<std::int64_t>(f), 0.5 * static_cast<double>(f));
        take.Set(f, 0, {static_cast<double>(f), 0, 0});
      }
      take.RemoveLastFrame();
      ASSERT_EQ(take.FrameCount(), kept);
      ASSERT_EQ(take.times.size(), kept);
      if (kept > 0) { EXPECT_EQ(take.At(kept - 1, 0)->x, static_cast<double>(kept - 1)); }
      ASSERT_EQ(take.AddFrame(70000, 1e6), kept);
      EXPECT_EQ(take.At(kept, 0), nullptr) << "what the frame had is gone";
      EXPECT_EQ(take.RowOf(kept).sightings.size(), markers);
      take.Set(kept, markers - 1, {7, 8, 9});
      EXPECT_EQ(take.At(kept, markers - 1)->z, 9);
    }
}

TEST(Take, ASightingIsOfWhatTheCamerasMeasuredAlone) {
  Take take({"A", "B", "C", "D"});
  take.residual_mm = 0.1;
  take.AddFrame(1, 0);
  for (mien::Sighting& sighting : take.RowOf(0).sightings) sighting = {3, 7};
  take.Set(0, 0, {1, 2, 3}), take.Set(0, 1, {1, 2, 3}, Origin::Computed),
      take.Set(0, 2, {1, 2, 3}, Origin::Filled);
  ASSERT_TRUE(take.SightingAt(0, 0));
  EXPECT_EQ(take.SightingAt(0, 0)->cameras, 3);
  EXPECT_EQ(take.SightingAt(0, 0)->residual, 7);
  for (const std::size_t m : {1u, 2u, 3u}) EXPECT_FALSE(take.SightingAt(0, m)) << m;
  Take without({"A"});
  without.AddFrame(1, 0);
  without.Set(0, 0, {1, 2, 3});
  EXPECT_FALSE(without.HasSightings());
  EXPECT_FALSE(without.SightingAt(0, 0));
}

TEST(Take, CamerasAreThoseOfTheFilesOwnPositionsMeasuredOrComputed) {
  Take take({"A", "B", "C", "D"});
  take.residual_mm = 0.1;
  take.AddFrame(1, 0);
  for (mien::Sighting& sighting : take.RowOf(0).sightings) sighting = {3, 7};
  take.Set(0, 0, {1, 2, 3});
  take.Set(0, 1, {1, 2, 3}, Origin::Computed);
  take.Set(0, 2, {1, 2, 3}, Origin::Filled);
  EXPECT_EQ(take.CamerasAt(0, 0), 3);
  EXPECT_EQ(take.CamerasAt(0, 1), 3);
  EXPECT_EQ(take.CamerasAt(0, 2), 0);
  EXPECT_EQ(take.CamerasAt(0, 3), 0) << "a gap";
  Take without({"A"});
  without.AddFrame(1, 0);
  without.Set(0, 0, {1, 2, 3});
  EXPECT_EQ(without.CamerasAt(0, 0), 0);
}

TEST(Take, FindsMarkersByExactName) {
  const Take take({"Rcheek_up", "Rcheek_Up", "Chin", "Chin"});
  EXPECT_EQ(take.FindMarker("Rcheek_up"), 0u);
  EXPECT_EQ(take.FindMarker("Rcheek_Up"), 1u);
  EXPECT_EQ(take.FindMarker("Chin"), 2u);
  EXPECT_EQ(take.FindMarker("chin"), std::nullopt);
  EXPECT_EQ(take.FindMarker(""), std::nullopt);
}
