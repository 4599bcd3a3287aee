#include "host/solve/head_track.h"

#include "host/performer/neutral_head.h"
#include "tests/host/rigid_face.h"
#include "tests/host/take_along.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <string>
#include <utility>
#include <vector>

using mien::FillMethod;
using mien::HeadTrack;
using mien::InverseOfOrthogonalAxes;
using mien::NeutralPose;
using mien::Origin;
using mien::Performer;
using mien::Point;
using mien::Product;
using mien::SolveOptions;
using mien::Take;
using testing::Each;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;
using tests::AnyMotion;
using tests::Carried;
using tests::Difference;
using tests::EmptyTake;
using tests::Film;
using tests::Hide;
using tests::Motion;
using tests::PlainFace;
using tests::PlainPerformer;

namespace {

// Positions are up to three metres from the room's origin, of which a double knows 5e-13 m; rotations amplify
// that by the room's size over the head's, some ten times.
constexpr double kRounding = 1e-9;

const std::vector<std::string> kHead = {"H1", "H2", "H3", "H4", "H5"};

VgeAMatrix Axes() { return mien::NeutralHead(PlainPerformer(), PlainFace()); }

mien::HeadSolver SolverOf(const mien::Performer& performer, const NeutralPose& neutral,
                          const mien::RigidHead* rigid = nullptr) {
  return {performer, neutral, mien::NeutralHead(performer, neutral), rigid};
}

HeadTrack Track(const Take& take, const mien::Performer& performer, const NeutralPose& neutral,
                const SolveOptions& options) {
  return mien::TrackHead(take, SolverOf(performer, neutral), options);
}

bool RemovesMotion(const mien::Performer& performer = PlainPerformer(),
                   const NeutralPose& neutral = PlainFace()) {
  return SolverOf(performer, neutral).RemovesMotion();
}

HeadTrack Track(const Take& take, const SolveOptions& options = {}) {
  return Track(take, PlainPerformer(), PlainFace(), options);
}

/// The markers are exactly rigid: no place is doubtful, and none filled in.
SolveOptions Unfilled() {
  SolveOptions options;
  options.head_fill.clear();
  return options;
}

void Shift(Take& take, std::size_t frame, const std::string& marker, const Point& by) {
  const std::size_t m = take.FindMarker(marker).value();
  const Point p = *take.At(frame, m);
  take.Set(frame, m, {p.x + by.x, p.y + by.y, p.z + by.z});
}

/// By how much the axes are not those of a rotation.
double Skew(const VgeAMatrix& rigid) {
  const VgeAMatrix unit = Product(InverseOfOrthogonalAxes(rigid), rigid);
  double most = Difference(unit, {});
  for (int a = 0; a < 3; ++a)
    for (int b = 0; b < 3; ++b) {
      double dot = 0;
      for (int row = 0; row < 3; ++row) dot += rigid.m[a][row] * rigid.m[b][row];
      most = std::max(most, std::fabs(dot - (a == b)));
    }
  return most;
}

} // namespace

// --- Where the markers tell.

TEST(HeadTrack, IsTheMotionOfTheHead) {
  tests::Random random(71);
  Take take = EmptyTake();
  std::vector<VgeAMatrix> motions;
  for (int f = 0; f < 30; ++f) {
    motions.push_back(AnyMotion(random));
    Film(take, PlainFace(), motions.back());
  }
  const HeadTrack track = Track(take);
  ASSERT_THAT(track.heads, SizeIs(30));
  for (std::size_t f = 0; f < 30; ++f)
    EXPECT_LT(Difference(track.heads[f], Product(motions[f], Axes())), kRounding) << f;
  EXPECT_THAT(track.known, Each(true));
  EXPECT_THAT(track.known, SizeIs(30));
  EXPECT_EQ(track.UnknownFrames(), 0u);
  EXPECT_TRUE(RemovesMotion());
  EXPECT_THAT(SolverOf(PlainPerformer(), PlainFace()).LeftOut(), IsEmpty());
  EXPECT_THAT(track.slipped.markers, IsEmpty());
  EXPECT_EQ(track.slipped.doubtful_frames, 0u);
  ASSERT_THAT(track.fills, SizeIs(5));
  for (std::size_t i = 0; i < 5; ++i) {
    EXPECT_EQ(track.fills[i].marker, kHead[i]);
    EXPECT_EQ(track.fills[i].gaps, 0u);
  }
}

TEST(HeadTrack, WhereTheNeutralPoseStandsMakesNoDifference) {
  tests::Random random(72);
  for (int round = 0; round < 10; ++round) {
    const NeutralPose neutral = Carried(AnyMotion(random), PlainFace());
    const VgeAMatrix motion = AnyMotion(random);
    Take take = EmptyTake();
    Film(take, PlainFace(), motion);
    const HeadTrack track = Track(take, PlainPerformer(), neutral, {});
    EXPECT_LT(Difference(track.heads[0], Product(motion, Axes())), kRounding) << round;
  }
}

TEST(HeadTrack, ThreeMarkersInSightAreEnough) {
  tests::Random random(73);
  Take take = EmptyTake();
  std::vector<VgeAMatrix> motions;
  for (std::size_t hidden = 0; hidden < 5; ++hidden) {
    motions.push_back(AnyMotion(random));
    Film(take, PlainFace(), motions.back());
    Hide(take, hidden, {kHead[hidden], kHead[(hidden + 1) % 5]});
  }
  const HeadTrack track = Track(take, Unfilled());
  for (std::size_t f = 0; f < 5; ++f)
    EXPECT_LT(Difference(track.heads[f], Product(motions[f], Axes())), kRounding) << f;
  EXPECT_EQ(track.UnknownFrames(), 0u);
}

TEST(HeadTrack, OtherMarkersAndTheirOrderMakeNoDifference) {
  tests::Random random(74);
  Take take = EmptyTake(), other = EmptyTake({"stray", "H6"});
  std::reverse(other.markers.begin(), other.markers.end());
  for (int f = 0; f < 5; ++f) {
    const VgeAMatrix motion = AnyMotion(random);
    Film(take, PlainFace(), motion), Film(other, PlainFace(), motion);
    other.Set(static_cast<std::size_t>(f), other.FindMarker("H6").value(), {1e6, 0, 0});
  }
  Hide(take, 2, {"H3", "H4"}), Hide(other, 2, {"H3", "H4"});
  const HeadTrack a = Track(take), b = Track(other);
  EXPECT_EQ(a.heads, b.heads);
  EXPECT_EQ(a.known, b.known);
}

// --- Where they do not.

// Half way is half the angle, whichever of its two quaternions either end has.
TEST(HeadTrack, UnknownFramesAreTurnedAndMovedEvenlyBetweenTheKnownOnes) {
  tests::Random random(75);
  for (const double angle : {0.0, 1e-7, 1e-4, 10.0, 90.0, 150.0, 179.0})
    for (int round = 0; round < 20; ++round) {
      // A turn about z, and any place before and after: that of any axis.
      const VgeAMatrix before = AnyMotion(random), after = AnyMotion(random);
      const auto turned = [&](double share) {
        VgeAMatrix motion = Product(Product(before, Motion(VgeRVector(0, 0, share * angle), {})),
                                    Motion(VgeRVector(30, 50, 70), {}));
        for (int row = 0; row < 3; ++row)
          motion.m[3][row] = before.m[3][row] + share * (after.m[3][row] - before.m[3][row]);
        return motion;
      };
      // The head's origin goes the straight way, so the take is made from where it is.
      const auto film = [&](Take& take, double share) {
        Film(take, PlainFace(), Product(turned(share), InverseOfOrthogonalAxes(Axes())));
      };
      Take take = EmptyTake();
      for (int f = 0; f < 5; ++f) film(take, f / 4.0);
      take.times = {0, 0.1, 0.2, 0.35, 0.4}; // one of them late
      for (std::size_t f = 1; f < 4; ++f) Hide(take, f, kHead);
      const HeadTrack track = Track(take);
      EXPECT_THAT(track.known, ElementsAre(true, false, false, false, true));
      EXPECT_EQ(track.UnknownFrames(), 3u);
      for (std::size_t f = 0; f < 5; ++f) {
        EXPECT_LT(Difference(track.heads[f], turned(take.times[f] / 0.4)), kRounding) << angle << ' ' << f;
        EXPECT_LT(Skew(track.heads[f]), 1e-12) << angle << ' ' << f;
      }
    }
}

// Either way round is as good; neither may end in numbers that are none.
TEST(HeadTrack, AHalfTurnBetweenKnownFramesIsARotationToo) {
  for (const VgeRVector& turn : {VgeRVector(180, 0, 0), VgeRVector(0, 180, 0), VgeRVector(0, 0, 180)}) {
    Take take = EmptyTake();
    Film(take, PlainFace());
    for (int f = 0; f < 3; ++f) take.AddFrame(f + 2, (f + 1) / 30.0);
    Film(take, PlainFace(), Motion(turn, {}));
    const HeadTrack track = Track(take);
    for (std::size_t f = 0; f < 5; ++f) EXPECT_LT(Skew(track.heads[f]), 1e-9) << f;
  }
}

TEST(HeadTrack, AtTheEndsOfTheTakeTheHeadIsAsInTheNearestFrame) {
  tests::Random random(76);
  Take take = EmptyTake();
  for (int f = 0; f < 8; ++f) Film(take, PlainFace(), AnyMotion(random));
  for (const std::size_t f : {0u, 1u, 6u, 7u}) Hide(take, f, {"H1", "H3", "H5"}); // two are too few
  const HeadTrack track = Track(take, Unfilled());
  EXPECT_THAT(track.known, ElementsAre(false, false, true, true, true, true, false, false));
  EXPECT_EQ(track.heads[0], track.heads[2]);
  EXPECT_EQ(track.heads[1], track.heads[2]);
  EXPECT_EQ(track.heads[6], track.heads[5]);
  EXPECT_EQ(track.heads[7], track.heads[5]);
}

TEST(HeadTrack, AHeadThatIsNeverFoundIsNeutral) {
  tests::Random random(77);
  Take take = EmptyTake();
  for (std::size_t f = 0; f < 4; ++f) {
    Film(take, PlainFace(), AnyMotion(random));
    Hide(take, f, {"H2", "H3", "H4"});
  }
  const HeadTrack track = Track(take);
  EXPECT_THAT(track.heads, Each(Axes()));
  EXPECT_THAT(track.known, Each(false));
  EXPECT_EQ(track.UnknownFrames(), 4u);
  EXPECT_TRUE(RemovesMotion()) << "it would be, if the markers were seen";
}

TEST(HeadTrack, WithFewerThanThreeUsableMarkersOrThemOnALineTheHeadIsTakenAsStill) {
  NeutralPose without_three = PlainFace(), on_a_line = PlainFace();
  for (const char* name : {"H1", "H2", "H3"}) without_three.erase(name);
  on_a_line["H1"] = {0, 120, 20}; // between H2 and H3
  Performer two = PlainPerformer(), none = PlainPerformer(), three = PlainPerformer();
  two.head = {"H1", "H2"};
  none.head = {};
  three.head = {"H1", "H2", "H3"};
  for (const auto& [performer, neutral] :
       {std::pair(two, PlainFace()), std::pair(none, PlainFace()), std::pair(PlainPerformer(), without_three),
        std::pair(three, on_a_line)}) {
    Take take = EmptyTake();
    Film(take, PlainFace());
    Film(take, PlainFace(), Motion({}, {0, 0, 300}));
    Film(take, PlainFace());
    Hide(take, 2, kHead);
    const VgeAMatrix axes = mien::NeutralHead(performer, neutral);
    const HeadTrack track = Track(take, performer, neutral, {});
    EXPECT_FALSE(RemovesMotion(performer, neutral));
    EXPECT_THAT(track.heads, ElementsAre(axes, axes, axes));
    EXPECT_THAT(track.known, ElementsAre(true, true, true)) << "there is no head to be lost";
    EXPECT_EQ(track.UnknownFrames(), 0u);
  }
}

// A head marker that the neutral pose lacks is as good as hidden; the user should hear of it as of any other.
TEST(HeadTrack, MarkersThatTheNeutralPoseLacksAreTold) {
  tests::Random random(78);
  NeutralPose neutral = PlainFace();
  neutral.erase("H4"), neutral.erase("H2");
  const VgeAMatrix axes = mien::NeutralHead(PlainPerformer(), neutral), motion = AnyMotion(random);
  Take take = EmptyTake();
  Film(take, PlainFace(), motion);
  const HeadTrack track = Track(take, PlainPerformer(), neutral, {});
  EXPECT_THAT(SolverOf(PlainPerformer(), neutral).LeftOut(), ElementsAre("H2", "H4"));
  EXPECT_TRUE(RemovesMotion(PlainPerformer(), neutral));
  EXPECT_LT(Difference(track.heads[0], Product(motion, axes)), kRounding);
}

TEST(HeadTrack, ATakeWithoutFramesHasNoHeads) {
  const HeadTrack track = Track(EmptyTake());
  EXPECT_THAT(track.heads, IsEmpty());
  EXPECT_THAT(track.known, IsEmpty());
  EXPECT_EQ(track.UnknownFrames(), 0u);
  EXPECT_TRUE(RemovesMotion());
}

// --- Cleaning.

TEST(HeadTrack, AMarkerThatSlippedDoesNotTiltTheHead) {
  for (const std::string& slipping : kHead) {
    tests::Random random(79);
    Take take = EmptyTake();
    std::vector<VgeAMatrix> motions;
    for (std::size_t f = 0; f < 20; ++f) {
      motions.push_back(AnyMotion(random));
      Film(take, PlainFace(), motions.back());
      if (f >= 12) Shift(take, f, slipping, {20, 0, 5});
    }
    const HeadTrack track = Track(take);
    for (std::size_t f = 0; f < 20; ++f)
      EXPECT_LT(Difference(track.heads[f], Product(motions[f], Axes())), kRounding) << slipping << f;
    ASSERT_THAT(track.slipped.markers, SizeIs(1));
    EXPECT_EQ(track.slipped.markers[0].marker, slipping);
    EXPECT_EQ(track.slipped.markers[0].frames, 8u);
    EXPECT_EQ(track.slipped.markers[0].first_frame, 13) << "by its number";
    EXPECT_EQ(track.UnknownFrames(), 0u);
    std::size_t filled = 0;
    for (const auto& fill : track.fills)
      filled += fill.filled_by[static_cast<std::size_t>(FillMethod::Pattern)];
    EXPECT_EQ(filled, 8u) << "what was taken out is a gap like any other";

    SolveOptions trusting;
    trusting.head_tolerance_mm.reset();
    const HeadTrack tilted = Track(take, trusting);
    EXPECT_THAT(tilted.slipped.markers, IsEmpty());
    EXPECT_GT(Difference(tilted.heads[15], Product(motions[15], Axes())), 0.01);
  }
}

TEST(HeadTrack, AHiddenMarkerIsRebuiltFromTheOthers) {
  tests::Random random(80);
  Take take = EmptyTake();
  for (std::size_t f = 0; f < 100; ++f) {
    Film(take, PlainFace(), AnyMotion(random));
    if (f >= 10 && f < 70) Hide(take, f, {"H2"}); // two seconds: the longest to be filled
    if (f >= 15 && f < 76) Hide(take, f, {"H4"}); // a frame longer
  }
  const HeadTrack track = Track(take);
  EXPECT_EQ(track.fills[1].gap_frames, 60u);
  EXPECT_EQ(track.fills[1].filled_by[static_cast<std::size_t>(FillMethod::Pattern)], 60u);
  EXPECT_EQ(track.fills[3].gap_frames, 61u);
  EXPECT_EQ(track.fills[3].FilledFrames(), 0u);
  EXPECT_EQ(track.UnknownFrames(), 0u);
}

TEST(HeadTrack, SmoothedMarkersMakeASteadierHead) {
  tests::Random random(81);
  Take take = EmptyTake();
  for (std::size_t f = 0; f < 120; ++f) {
    Film(take, PlainFace());
    for (const std::string& name : kHead)
      Shift(take, f, name, {random.Between(-1, 1), random.Between(-1, 1), random.Between(-1, 1)});
  }
  SolveOptions smooth;
  smooth.smooth_positions_hz = 2;
  const auto jitter = [](const HeadTrack& track) {
    double sum = 0;
    for (std::size_t f = 1; f < track.heads.size(); ++f)
      sum += Difference(track.heads[f], track.heads[f - 1]);
    return sum;
  };
  EXPECT_LT(jitter(Track(take, smooth)), 0.3 * jitter(Track(take)));
}

// --- By a fit of all rigid markers.

namespace {

/// The rigid face under a head that nods and turns, at 30 frames a second, with noise of up to so much along
/// each axis.
Take RigidTalk(std::size_t frames, double noise) {
  tests::Random random(85);
  Take take = tests::EmptyRigidTake();
  for (std::size_t f = 0; f < frames; ++f) {
    NeutralPose face = tests::RigidFace();
    for (auto& [name, p] : face)
      for (double* axis : {&p.x, &p.y, &p.z}) *axis += random.Between(-noise, noise);
    const auto t = static_cast<double>(f);
    Film(take, face, Motion({3 * std::sin(0.1 * t), 20 * std::sin(0.04 * t), 0}, {2 * t, 1500, 0}));
  }
  return take;
}

VgeAMatrix TruthOf(std::size_t frame) {
  const auto t = static_cast<double>(frame);
  return Product(Motion({3 * std::sin(0.1 * t), 20 * std::sin(0.04 * t), 0}, {2 * t, 1500, 0}), Axes());
}

HeadTrack TrackRigid(const Take& take, const Performer& performer = tests::RigidPerformer(),
                     const SolveOptions& options = {}) {
  const mien::RigidHead rigid = LearnRigidHead(take, performer).value();
  return mien::TrackHead(take, SolverOf(performer, tests::RigidFace(), &rigid), options);
}

double WorstOf(const HeadTrack& track) {
  double worst = 0;
  for (std::size_t f = 0; f < track.heads.size(); ++f)
    worst = std::max(worst,
                     tests::Distance(Carried(track.heads[f], {0, 0, 100}), Carried(TruthOf(f), {0, 0, 100})));
  return worst;
}

} // namespace

TEST(HeadTrack, ByAFitIsTheMotionOfTheHeadToo) {
  const HeadTrack track = TrackRigid(RigidTalk(60, 0));
  EXPECT_LT(WorstOf(track), 1e-3) << "what calming takes for noise there is the least that can be";
  EXPECT_EQ(track.UnknownFrames(), 0u);
  EXPECT_EQ(track.fills.size(), 12u) << "of all rigid markers";
}

TEST(HeadTrack, AFitOfManyMarkersIsSteadierThanTheHeadMarkersAlone) {
  const Take take = RigidTalk(300, 1);
  const auto jitter = [&](const HeadTrack& track) {
    double squares = 0;
    for (std::size_t f = 0; f < 300; ++f)
      squares += std::pow(
          tests::Distance(Carried(track.heads[f], {0, 0, 100}), Carried(TruthOf(f), {0, 0, 100})), 2);
    return std::sqrt(squares / 300);
  };
  const double fitted = jitter(TrackRigid(take)),
               by_head_markers = jitter(Track(take, PlainPerformer(), PlainFace(), {}));
  // Of twelve markers in place of five, with 17/35 of the variance left.
  EXPECT_LT(fitted, 0.55 * by_head_markers);
}

TEST(HeadTrack, IsCalmedByTheSameShareInEverySpanOfKnownFrames) {
  Take take = RigidTalk(120, 0.5);
  std::vector<std::string> all = tests::RigidPerformer().rigid;
  for (std::size_t f = 40; f < 44; ++f)
    Hide(take, f, all); // a head that is lost, and frames that were dropped
  for (std::size_t f = 80; f < 120; ++f) take.frames[f] += 7;
  const mien::RigidHead rigid = LearnRigidHead(take, tests::RigidPerformer()).value();
  mien::HeadSolver solver = SolverOf(tests::RigidPerformer(), tests::RigidFace(), &rigid);
  const HeadTrack track = mien::TrackHead(take, solver, Unfilled());
  EXPECT_GT(track.calmed, 0.5);
  EXPECT_LE(track.calmed, 1);
  for (std::size_t f = 0; f < 120; ++f) {
    mien::RigidBody::Points seen;
    for (const std::string& name : rigid.markers) {
      const Point* const p = take.At(f, take.FindMarker(name).value());
      seen.push_back(p ? std::optional(*p) : std::nullopt);
    }
    const auto raw = solver.Solve(seen);
    EXPECT_EQ(track.known[f], raw.has_value());
    const auto near = [f](std::size_t edge) { return f + 2 >= edge && f < edge + 2; };
    const bool stays = f < 2 || f >= 118 || near(80) || (f >= 38 && f < 46);
    if (raw) { EXPECT_EQ(track.heads[f] == *raw, stays) << f; }
  }
}

TEST(HeadTrack, AHeadWhoseMarkersAreHiddenIsFoundByTheOtherRigidOnes) {
  Take take = RigidTalk(100, 0);
  for (std::size_t f = 10; f < 90; ++f) Hide(take, f, kHead); // longer than any gap that is filled
  const HeadTrack track = TrackRigid(take);
  EXPECT_EQ(track.UnknownFrames(), 0u);
  EXPECT_LT(WorstOf(track), 1e-3);
}

// The guard looks at the head markers, whatever the head is found from.
TEST(HeadTrack, ASlippedHeadMarkerIsTakenOutOfAFitToo) {
  Take take = RigidTalk(60, 0.05);
  for (std::size_t f = 20; f < 40; ++f) Shift(take, f, "H2", {0, 25, 0});
  const HeadTrack track = TrackRigid(take);
  ASSERT_THAT(track.slipped.markers, SizeIs(1));
  EXPECT_EQ(track.slipped.markers[0].marker, "H2");
  EXPECT_EQ(track.slipped.markers[0].frames, 20u);
  EXPECT_LT(WorstOf(track), 0.1);
  SolveOptions trusting;
  trusting.head_tolerance_mm.reset();
  const HeadTrack alone = TrackRigid(take, tests::RigidPerformer(), trusting);
  EXPECT_THAT(alone.slipped.markers, IsEmpty());
  EXPECT_LT(WorstOf(alone), 0.1) << "the fit by itself lets it count for nothing";
}

TEST(HeadTrack, AHeadMarkerThatThePerformerDoesNotCallRigidIsNotNeeded) {
  Take take = RigidTalk(60, 0);
  Performer performer = tests::RigidPerformer();
  std::erase(performer.rigid, "H1");
  for (std::size_t f = 20; f < 40; ++f) Shift(take, f, "H1", {0, 25, 0}), Shift(take, f, "H3", {0, 0, 30});
  const HeadTrack track = TrackRigid(take, performer);
  EXPECT_LT(WorstOf(track), 1e-3);
  ASSERT_THAT(track.slipped.markers, SizeIs(1)) << "nobody looks at H1";
  EXPECT_EQ(track.slipped.markers[0].marker, "H3");
  EXPECT_EQ(track.fills.size(), 11u);
}

// --- Stabilise.

TEST(Stabilise, PutsTheFaceWhereItIsWithoutTheHeadsMotion) {
  tests::Random random(82);
  Take take = EmptyTake();
  for (int f = 0; f < 20; ++f) Film(take, PlainFace(), AnyMotion(random));
  const std::vector<std::string> markers = PlainPerformer().FaceMarkers();
  const Take stable = Stabilise(take, Track(take), markers);
  EXPECT_EQ(stable.markers, markers);
  EXPECT_EQ(stable.frames, take.frames);
  EXPECT_EQ(stable.times, take.times);
  EXPECT_EQ(stable.rate, take.rate);
  const VgeAMatrix to_face = InverseOfOrthogonalAxes(Axes());
  for (std::size_t f = 0; f < 20; ++f)
    for (std::size_t m = 0; m < markers.size(); ++m)
      EXPECT_LT(tests::Distance(stable.At(f, m), Carried(to_face, PlainFace().at(markers[m]))), kRounding)
          << f << ' ' << markers[m];
}

TEST(Stabilise, FramesWithoutAKnownHeadAreGapsAndGapsStay) {
  tests::Random random(83);
  Take take = EmptyTake();
  for (int f = 0; f < 6; ++f) Film(take, PlainFace(), AnyMotion(random));
  Hide(take, 2, kHead), Hide(take, 5, kHead), Hide(take, 3, {"Chin"});
  const std::size_t lip = take.FindMarker("LipUp").value();
  take.Set(4, lip, *take.At(4, lip), Origin::Computed);
  const Take stable = Stabilise(take, Track(take), {"LipUp", "Chin"});
  const Origin none = Origin::None, measured = Origin::Measured;
  const Origin lips[] = {measured, measured, none, measured, Origin::Computed, none};
  const Origin chins[] = {measured, measured, none, none, measured, none};
  for (std::size_t f = 0; f < 6; ++f) {
    EXPECT_EQ(stable.OriginAt(f, 0), lips[f]) << f;
    EXPECT_EQ(stable.OriginAt(f, 1), chins[f]) << f;
  }
}

// Nobody can take its motion away; the face is seen all the same.
TEST(Stabilise, AHeadThatIsTakenAsStillLosesNoFrame) {
  Performer performer = PlainPerformer();
  performer.head = {"H1"};
  Take take = EmptyTake();
  Film(take, PlainFace());
  Film(take, PlainFace(), Motion({}, {0, 0, 300}));
  const Take stable = Stabilise(take, Track(take, performer, PlainFace(), {}), {"Chin"});
  ASSERT_TRUE(stable.At(0, 0) && stable.At(1, 0));
  EXPECT_NEAR(tests::Distance(*stable.At(0, 0), *stable.At(1, 0)), 300, kRounding);
}
