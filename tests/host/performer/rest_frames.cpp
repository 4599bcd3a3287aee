#include "host/performer/rest_frames.h"

#include "tests/host/plain_face.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstddef>
#include <set>
#include <vector>

using mien::NeutralPose;
using mien::Performer;
using mien::RestFrames;
using mien::StabilisedMarkers;
using mien::Take;
using tests::EmptyTake;
using tests::Film;
using tests::Hide;
using tests::PlainFace;

namespace {

/// 101 frames, so that each percentile is a frame of its own: in frame f the eyes are open by `eyes(f)`
/// tenths of a millimetre more, and the mouth by `mouth(f)`.
template <class Eyes, class Mouth>
Take TakeOf(Eyes eyes, Mouth mouth) {
  Take take = EmptyTake();
  for (int f = 0; f < 101; ++f) {
    NeutralPose face = PlainFace();
    face["LidUpL"].y += 0.1 * eyes(f), face["LidUpR"].y += 0.1 * eyes(f);
    face["LipLow"].y -= 0.1 * mouth(f);
    Film(take, face);
  }
  return take;
}

/// Without head markers, so that nothing is rounded.
Performer Headless() {
  Performer performer = tests::PlainPerformer();
  performer.head.clear();
  return performer;
}

RestFrames RestOf(const Take& take, const Performer& performer = Headless()) {
  const StabilisedMarkers markers(take, performer, {0, take.FrameCount()}, nullptr);
  return RestFrames(markers, take, performer, {0, 1, 0});
}

std::set<int> Which(const std::vector<bool>& frames) {
  std::set<int> which;
  for (std::size_t f = 0; f < frames.size(); ++f)
    if (frames[f]) which.insert(static_cast<int>(f));
  return which;
}

std::set<int> Range(int first, int last) {
  std::set<int> range;
  for (int f = first; f <= last; ++f) range.insert(f);
  return range;
}

const auto kSteady = [](int) { return 0; };
const auto kMore = [](int f) { return f; };

} // namespace

TEST(RestFrames, HaveTheEyesAsOpenAsUsual) {
  const RestFrames rest = RestOf(TakeOf(kMore, kSteady));
  EXPECT_EQ(Which(rest.whole), Range(30, 80));
  EXPECT_EQ(Which(rest.eyes), Range(30, 80));
  EXPECT_EQ(Which(rest.stricter), Range(55, 80));
}

TEST(RestFrames, HaveTheMouthNoMoreOpenThanUsual) {
  const RestFrames rest = RestOf(TakeOf(kSteady, kMore));
  EXPECT_EQ(Which(rest.whole), Range(0, 50));
  EXPECT_EQ(Which(rest.eyes), Range(0, 100)) << "whatever the mouth does";
  EXPECT_EQ(Which(rest.stricter), Range(0, 15));
}

TEST(RestFrames, HaveBoth) {
  const RestFrames rest = RestOf(TakeOf(kMore, kMore));
  EXPECT_EQ(Which(rest.whole), Range(30, 50));
  EXPECT_EQ(Which(rest.eyes), Range(30, 80));
  EXPECT_EQ(Which(rest.stricter), std::set<int>());
}

TEST(RestFrames, AFrameThatHidesWhatOthersShowIsNone) {
  Take take = TakeOf(kMore, kSteady);
  Hide(take, 40, {"LidUpL", "LidUpR"}), Hide(take, 42, {"LipLow"}), Hide(take, 44, {"LidUpL"});
  const RestFrames rest = RestOf(take);
  EXPECT_FALSE(rest.whole[40]);
  EXPECT_FALSE(rest.whole[42]);
  EXPECT_TRUE(rest.eyes[42]) << "whatever the mouth does";
  EXPECT_TRUE(rest.whole[44]) << "one eye tells";
}

TEST(RestFrames, WhatIsNeverSeenExcludesNoFrame) {
  Take take = TakeOf(kMore, kMore);
  Performer no_mouth = Headless(), nothing = Headless();
  no_mouth.holders[0] = {};
  nothing.holders = {};
  EXPECT_EQ(Which(RestOf(take, no_mouth).whole), Range(30, 80));
  EXPECT_EQ(Which(RestOf(take, nothing).whole), Range(0, 100));
  EXPECT_EQ(Which(RestOf(take, nothing).stricter), Range(0, 100));
}

// Of noise and a blink alike: in any axes, by the head's up.
TEST(RestFrames, OpeningsAreMeasuredUpwards) {
  const Take take = TakeOf(kMore, kSteady);
  Take lying = EmptyTake(); // on the back: up is along z
  for (std::size_t f = 0; f < take.FrameCount(); ++f) {
    lying.AddFrame(take.frames[f], take.times[f]);
    for (std::size_t m = 0; m < take.MarkerCount(); ++m)
      lying.Set(f, m, {take.At(f, m)->x, -take.At(f, m)->z, take.At(f, m)->y});
  }
  const StabilisedMarkers markers(lying, Headless(), {0, 101}, nullptr);
  EXPECT_EQ(RestFrames(markers, lying, Headless(), {0, 0, 1}).whole, RestOf(take).whole);
}
