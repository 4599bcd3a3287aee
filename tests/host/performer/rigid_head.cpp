#include "host/performer/rigid_head.h"

#include "tests/host/rigid_face.h"
#include "tests/host/take_along.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <optional>
#include <string>
#include <vector>

using mien::LearnRigidHead;
using mien::NeutralPose;
using mien::Performer;
using mien::Point;
using mien::RigidHead;
using mien::Take;
using testing::ElementsAre;
using testing::ElementsAreArray;
using tests::Distance;
using tests::EmptyTake;
using tests::Film;
using tests::Hide;
using tests::PlainFace;
using tests::PlainPerformer;

namespace {

constexpr double kRounding = 1e-9; // millimetres, of positions up to two metres from the origin

/// A head that wanders by some 20 degrees and a decimetre.
VgeAMatrix Wandering(std::size_t frame) {
  const auto f = static_cast<double>(frame);
  return tests::Motion({12 * std::sin(f * 0.05), 20 * std::sin(f * 0.031), 6 * std::sin(f * 0.043)},
                       {50 * std::sin(f * 0.02) + 300, 1500 - f * 0.1, 40 * std::sin(f * 0.033)});
}

/// Of standard deviation 1.
double Normal(tests::Random& random) {
  double sum = 0;
  for (int i = 0; i < 12; ++i) sum += random.Between(-0.5, 0.5);
  return sum;
}

/// A marker that no performer names, and by how much it strays from its place on the head, per axis.
struct Other {
  std::string name;
  Point place;
  double strays_mm;
};

/// The plain face under a head that wanders, with noise of 0.3 mm on its head markers, and these markers
/// beside. The jaw talks; the brows hold still.
Take TakeWith(const std::vector<Other>& others, std::size_t frames = 240) {
  std::vector<std::string> names;
  for (const Other& other : others) names.push_back(other.name);
  Take take = EmptyTake(names);
  tests::Random random(17);
  for (std::size_t f = 0; f < frames; ++f) {
    NeutralPose face = PlainFace();
    face["Chin"].y -= static_cast<double>(f % 13);
    for (const Other& other : others) face[other.name] = other.place;
    const auto tremble = [&](const std::string& name, double sigma) {
      for (double* axis : {&face[name].x, &face[name].y, &face[name].z}) *axis += sigma * Normal(random);
    };
    for (const std::string& name : PlainPerformer().head) tremble(name, 0.3);
    for (const Other& other : others) tremble(other.name, other.strays_mm);
    Film(take, face, Wandering(f));
  }
  return take;
}

std::vector<std::string> MarkersOf(const std::optional<RigidHead>& head) {
  return head ? head->markers : std::vector<std::string>{"nothing"};
}

} // namespace

TEST(LearnRigidHead, ThePerformersRigidMarkersAreTheHead) {
  tests::Random random(1);
  Take take = tests::EmptyRigidTake();
  for (int f = 0; f < 20; ++f) Film(take, tests::RigidFace(), tests::AnyMotion(random));
  Performer performer = PlainPerformer();
  performer.rigid = {"TempleR", "H2", "Root", "TempleL", "NoseL"}; // one of them drives a part: so it is said
  const auto head = LearnRigidHead(take, performer);
  ASSERT_TRUE(head);
  EXPECT_EQ(head->markers, performer.rigid) << "no other head marker, and none that is found";
  ASSERT_EQ(head->body.places.size(), 5u);
  for (std::size_t m = 0; m < 5; ++m)
    EXPECT_LT(Distance(*head->body.places[m], *take.At(0, take.FindMarker(performer.rigid[m]).value())),
              kRounding);
}

TEST(LearnRigidHead, HeadMarkersAloneAreEnoughIfThereAreFour) {
  const Take take = TakeWith({});
  EXPECT_THAT(MarkersOf(LearnRigidHead(take, PlainPerformer())), ElementsAreArray(PlainPerformer().head));
  Performer four = PlainPerformer(), three = PlainPerformer();
  four.head.resize(4), three.head.resize(3);
  EXPECT_EQ(LearnRigidHead(take, four)->markers.size(), 5u) << "the fifth is found";
  for (const char* name : {"H4", "H5"})
    three.holders[5][0].push_back(name); // in the hair of an odd performer
  EXPECT_FALSE(LearnRigidHead(take, three));
}

// Twice as far as the head markers stray, of which 0.3 is the noise: 0.6 is the bound.
TEST(LearnRigidHead, WhatKeepsItsPlaceOnTheHeadIsPartOfIt) {
  const Take take = TakeWith({{"jaw line", {60, -10, 40}, 3},
                              {"ear", {-75, 60, 0}, 0.3},
                              {"forehead", {0, 90, 95}, 0.5},
                              {"temple", {68, 70, 40}, 0.75}});
  EXPECT_THAT(MarkersOf(LearnRigidHead(take, PlainPerformer())),
              ElementsAre("H1", "H2", "H3", "H4", "H5", "ear", "forehead"));
}

// What the head would take of its motion the part would lose, even if it moves as little as the brows here.
TEST(LearnRigidHead, AMarkerThatDrivesAPartIsNeverFoundToBeTheHead) {
  const Take take = TakeWith({});
  const auto head = LearnRigidHead(take, PlainPerformer());
  ASSERT_TRUE(head);
  for (const std::string& name : PlainPerformer().FaceMarkers())
    EXPECT_THAT(head->markers, testing::Not(testing::Contains(name)));
  Performer without_brow = PlainPerformer(); // then it is nobody's, and rigid as it is
  without_brow.holders[1] = {};
  EXPECT_THAT(MarkersOf(LearnRigidHead(take, without_brow)), testing::Contains("BrowL"));
}

TEST(LearnRigidHead, AMarkerThatIsSeenInLessThanHalfOfTheFramesIsNotPartOfIt) {
  Take take = TakeWith({{"ghost", {0, 90, 95}, 0.1}, {"half", {-75, 60, 0}, 0.1}, {"never", {0, 0, 0}, 0.1}});
  for (std::size_t f = 0; f < take.FrameCount(); ++f) {
    if (f % 2 == 0 || f == 7) Hide(take, f, {"ghost"});
    if (f % 2 == 0) Hide(take, f, {"half"});
    Hide(take, f, {"never"});
  }
  EXPECT_THAT(MarkersOf(LearnRigidHead(take, PlainPerformer())),
              ElementsAre("H1", "H2", "H3", "H4", "H5", "half"));
}

TEST(LearnRigidHead, ThreeHeadMarkersFindTheFourth) {
  const Take take = TakeWith({{"ear", {-75, 60, 0}, 0.1}});
  Performer performer = PlainPerformer();
  performer.head = {"H1", "H2", "H3"};
  performer.holders[5][0].insert(performer.holders[5][0].end(), {"H4", "H5"});
  EXPECT_THAT(MarkersOf(LearnRigidHead(take, performer)), ElementsAre("H1", "H2", "H3", "ear"));
}

TEST(LearnRigidHead, FewerThanFourMarkersAreNoHead) {
  const Take take = TakeWith({{"ear", {-75, 60, 0}, 0.1}});
  Performer two = PlainPerformer(), none = PlainPerformer(), three = PlainPerformer();
  two.head.resize(2); // they do not tell what else is rigid
  none.head.clear();
  three.rigid = {"H1", "H2", "ear"};
  for (const Performer& performer : {two, none, three}) EXPECT_FALSE(LearnRigidHead(take, performer));
}

TEST(LearnRigidHead, MarkersThatAreNeverSeenDoNotCount) {
  Take take = TakeWith({});
  for (std::size_t f = 0; f < take.FrameCount(); ++f) Hide(take, f, {"H4"});
  EXPECT_TRUE(LearnRigidHead(take, PlainPerformer()));
  for (std::size_t f = 0; f < take.FrameCount(); ++f) Hide(take, f, {"H5"});
  EXPECT_FALSE(LearnRigidHead(take, PlainPerformer()));
  EXPECT_FALSE(LearnRigidHead(EmptyTake(), PlainPerformer())) << "a take without frames";
}

TEST(LearnRigidHead, TheOrderOfTheMarkersInTheTakeMakesNoDifference) {
  const std::vector<Other> others = {
      {"ear", {-75, 60, 0}, 0.1}, {"forehead", {0, 90, 95}, 0.1}, {"cap", {20, 160, 60}, 0.1}};
  const Take take = TakeWith(others);
  Take reversed({take.markers.rbegin(), take.markers.rend()});
  for (std::size_t f = 0; f < take.FrameCount(); ++f) {
    reversed.AddFrame(take.frames[f], take.times[f]);
    for (std::size_t m = 0; m < take.MarkerCount(); ++m)
      reversed.Set(f, take.MarkerCount() - 1 - m, *take.At(f, m));
  }
  const auto head = LearnRigidHead(take, PlainPerformer()),
             other = LearnRigidHead(reversed, PlainPerformer());
  EXPECT_EQ(MarkersOf(head).size(), 8u);
  EXPECT_EQ(MarkersOf(other), MarkersOf(head));
  EXPECT_EQ(other->body.spread_mm, head->body.spread_mm);
}

// A thousand frames of a long take are looked at, evenly spread.
TEST(LearnRigidHead, OfALongTakeAThousandFramesTell) {
  Take take = TakeWith({{"ear", {-75, 60, 0}, 0.1}}, 2000);
  for (std::size_t f = 1; f < 2000; f += 2) // those that nobody looks at
    take.Set(f, take.FindMarker("ear").value(), {0, 0, 0});
  EXPECT_THAT(MarkersOf(LearnRigidHead(take, PlainPerformer())), testing::Contains("ear"));
}
