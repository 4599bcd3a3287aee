#include "host/performer/stabilised_markers.h"

#include "host/base/statistics.h"
#include "tests/host/rigid_face.h"
#include "tests/host/take_along.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstddef>
#include <string>
#include <vector>

using mien::NeutralPose;
using mien::Performer;
using mien::Point;
using mien::RigidHead;
using mien::StabilisedMarkers;
using mien::Take;
using tests::AnyMotion;
using tests::Carried;
using tests::Film;
using tests::Hide;
using tests::PlainPerformer;
using tests::RigidFace;
using tests::RigidPerformer;

namespace {

constexpr double kRounding = 1e-9; // millimetres, of positions up to two metres from the origin

/// The chin goes down by a millimetre a frame; the head tumbles about, but for the first frame.
Take Tumbling(int frames) {
  tests::Random random(61);
  Take take = tests::EmptyRigidTake();
  for (int f = 0; f < frames; ++f) {
    NeutralPose face = RigidFace();
    face["Chin"].y -= f;
    take.frames[Film(take, face, f == 0 ? VgeAMatrix() : AnyMotion(random))] = 100 + 2 * f;
  }
  return take;
}

double Off(const StabilisedMarkers& markers, const Take& take, std::size_t f, const std::string& name,
           double down = 0) {
  const auto p = markers.At(f, take.FindMarker(name).value());
  const Point place = RigidFace().at(name);
  return p ? tests::Distance({p->x, p->y, p->z}, {place.x, place.y - down, place.z}) : 1e9;
}

} // namespace

// Both ways the head's frame is where the head is in the first frame, which is as full as any.
TEST(StabilisedMarkers, StandStillHoweverTheHeadTumbles) {
  const Take take = Tumbling(20);
  const RigidHead rigid = LearnRigidHead(take, RigidPerformer()).value();
  for (const RigidHead* const by : {&rigid, static_cast<const RigidHead*>(nullptr)}) {
    const StabilisedMarkers markers(take, RigidPerformer(), {0, 20}, by);
    ASSERT_EQ(markers.FrameCount(), 20u);
    for (std::size_t f = 0; f < 20; ++f) {
      EXPECT_TRUE(markers.HeadIsFound(f));
      EXPECT_EQ(markers.Number(f), 100 + 2 * static_cast<std::int64_t>(f));
      EXPECT_LT(Off(markers, take, f, "LipUp"), kRounding);
      EXPECT_LT(Off(markers, take, f, "Chin", static_cast<double>(f)), kRounding);
    }
  }
}

TEST(StabilisedMarkers, FramesAreCountedFromTheFirstThatIsLookedAt) {
  const Take take = Tumbling(20);
  const RigidHead rigid = LearnRigidHead(take, RigidPerformer()).value();
  const StabilisedMarkers markers(take, RigidPerformer(), {5, 9}, &rigid);
  ASSERT_EQ(markers.FrameCount(), 4u);
  EXPECT_EQ(markers.Number(0), 110);
  EXPECT_LT(Off(markers, take, 3, "Chin", 8), kRounding);
}

TEST(StabilisedMarkers, AFrameWithoutAHeadShowsNothing) {
  Take take = Tumbling(10);
  for (const std::size_t f : {3u, 4u}) Hide(take, f, PlainPerformer().head);
  const RigidHead rigid = LearnRigidHead(take, RigidPerformer()).value();
  const StabilisedMarkers by_markers(take, RigidPerformer(), {0, 10}, nullptr),
      by_fit(take, RigidPerformer(), {0, 10}, &rigid);
  EXPECT_FALSE(by_markers.HeadIsFound(3));
  EXPECT_FALSE(by_markers.At(3, take.FindMarker("Chin").value()));
  EXPECT_TRUE(by_fit.HeadIsFound(3)) << "the other rigid markers tell";
  EXPECT_LT(Off(by_fit, take, 3, "Chin", 3), kRounding);
  const StabilisedMarkers lost(take, RigidPerformer(), {3, 5}, nullptr);
  EXPECT_TRUE(lost.HeadIsNeverFound());
  EXPECT_TRUE(lost.AnyIsSeen());
}

TEST(StabilisedMarkers, ASingleFrameAndAHeadWithoutMarkersStayAsTheyAre) {
  const Take take = Tumbling(10);
  const auto is_as_it_was = [&](const StabilisedMarkers& markers, std::size_t f) {
    const std::size_t chin = take.FindMarker("Chin").value();
    const auto p = markers.At(f, chin);
    return p && tests::Distance({p->x, p->y, p->z}, *take.At(markers.FrameCount() == 1 ? 7 : f, chin)) == 0;
  };
  const RigidHead rigid = LearnRigidHead(take, RigidPerformer()).value();
  EXPECT_TRUE(is_as_it_was(StabilisedMarkers(take, RigidPerformer(), {7, 8}, &rigid), 0));
  EXPECT_TRUE(is_as_it_was(StabilisedMarkers(take, RigidPerformer(), {7, 8}, nullptr), 0));
  Performer headless = PlainPerformer();
  headless.head.resize(2);
  EXPECT_TRUE(is_as_it_was(StabilisedMarkers(take, headless, {0, 10}, nullptr), 4));
}

TEST(StabilisedMarkers, CarriesMarkersOnAsATakeOfTheirOwn) {
  Take take = Tumbling(6);
  Hide(take, 2, {"Chin"});
  const RigidHead rigid = LearnRigidHead(take, RigidPerformer()).value();
  const StabilisedMarkers markers(take, RigidPerformer(), {1, 6}, &rigid);
  const VgeAMatrix to = tests::Motion({0, 0, 90}, {5, 0, 0});
  const Take carried = markers.Carried({"Root", "Chin"}, to);
  EXPECT_EQ(carried.markers, std::vector<std::string>({"Root", "Chin"}));
  EXPECT_EQ(carried.frames, std::vector<std::int64_t>(take.frames.begin() + 1, take.frames.end()));
  EXPECT_EQ(carried.times, std::vector<double>(take.times.begin() + 1, take.times.end()));
  for (std::size_t f = 0; f < 5; ++f) {
    EXPECT_LT(tests::Distance(carried.At(f, 0), Carried(to, RigidFace().at("Root"))), kRounding);
    EXPECT_EQ(carried.At(f, 1) == nullptr, f == 1);
  }
}

TEST(StabilisedMarkers, APoseIsOfTheFramesThatAreUsedAndOfWhatTheySee) {
  Take take = Tumbling(9);
  for (std::size_t f = 0; f < 9; ++f)
    if (f != 8) Hide(take, f, {"NoseL"});
  Hide(take, 2, {"Chin"});
  const RigidHead rigid = LearnRigidHead(take, RigidPerformer()).value();
  const StabilisedMarkers markers(take, RigidPerformer(), {0, 9}, &rigid);
  std::vector<bool> use(9, false);
  use[1] = use[2] = use[3] = use[7] = true;
  const NeutralPose pose = markers.Pose(use, mien::Median), mean = markers.Pose(use, mien::Mean);
  EXPECT_NEAR(pose.at("Chin").y, RigidFace().at("Chin").y - 3, kRounding);
  EXPECT_NEAR(mean.at("Chin").y, RigidFace().at("Chin").y - 11 / 3.0, kRounding);
  EXPECT_FALSE(pose.contains("NoseL"));
  EXPECT_EQ(pose.size() + 1, RigidPerformer().Markers().size());
}
