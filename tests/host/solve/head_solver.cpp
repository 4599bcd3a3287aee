#include "host/solve/head_solver.h"

#include "host/performer/neutral_head.h"
#include "tests/host/rigid_face.h"
#include "tests/host/same_bits.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstddef>
#include <optional>
#include <string>
#include <vector>

using mien::HeadSolver;
using mien::LearnRigidHead;
using mien::NeutralPose;
using mien::Performer;
using mien::Product;
using mien::RigidBody;
using mien::RigidHead;
using mien::Take;
using testing::ElementsAre;
using tests::AnyMotion;
using tests::Carried;
using tests::Difference;
using tests::EmptyRigidTake;
using tests::Film;
using tests::RigidFace;
using tests::RigidPerformer;

namespace {

// Positions are up to three metres from the room's origin, of which a double knows 5e-13 m; rotations amplify
// that by the room's size over the head's, some ten times.
constexpr double kRounding = 1e-9;

/// Exactly rigid, as a take shows it that stands anywhere.
RigidHead Learned(const Performer& performer = RigidPerformer()) {
  tests::Random random(91);
  Take take = EmptyRigidTake();
  for (int f = 0; f < 10; ++f) Film(take, RigidFace(), AnyMotion(random));
  return LearnRigidHead(take, performer).value();
}

VgeAMatrix Axes(const NeutralPose& neutral = RigidFace()) { return NeutralHead(RigidPerformer(), neutral); }

HeadSolver Solver(const RigidHead* rigid, const Performer& performer = RigidPerformer(),
                  const NeutralPose& neutral = RigidFace()) {
  return HeadSolver(performer, neutral, NeutralHead(performer, neutral), rigid);
}

RigidBody::Points Seen(const HeadSolver& solver, const VgeAMatrix& motion) {
  RigidBody::Points seen;
  for (const std::string& name : solver.Markers()) seen.emplace_back(Carried(motion, RigidFace().at(name)));
  return seen;
}

void HideIn(RigidBody::Points& seen, const HeadSolver& solver, const std::vector<std::string>& hidden) {
  for (std::size_t m = 0; m < seen.size(); ++m)
    for (const std::string& name : hidden)
      if (solver.Markers()[m] == name) seen[m].reset();
}

const std::vector<std::string> kHead = {"H1", "H2", "H3", "H4", "H5"};

} // namespace

TEST(HeadSolver, TakesTheHeadMarkersOrTheRigidOnes) {
  const RigidHead rigid = Learned();
  const HeadSolver with = Solver(&rigid), without = Solver(nullptr);
  EXPECT_EQ(with.Markers(), rigid.markers);
  EXPECT_EQ(without.Markers(), kHead);
  EXPECT_EQ(with.HeadMarkers(), kHead);
  EXPECT_EQ(without.HeadMarkers(), kHead);
  EXPECT_TRUE(with.Fit());
  EXPECT_FALSE(without.Fit());
  EXPECT_TRUE(with.RemovesMotion());
  EXPECT_TRUE(without.RemovesMotion());
}

TEST(HeadSolver, FindsTheHeadFromEither) {
  tests::Random random(92);
  const RigidHead rigid = Learned();
  for (const RigidHead* const by : {&rigid, static_cast<const RigidHead*>(nullptr)}) {
    HeadSolver solver = Solver(by);
    for (int round = 0; round < 20; ++round) {
      const VgeAMatrix motion = AnyMotion(random);
      const auto head = solver.Solve(Seen(solver, motion));
      ASSERT_TRUE(head);
      EXPECT_LT(Difference(*head, Product(motion, Axes())), kRounding);
    }
  }
}

// The body stands where the take had it, the pose where its own take had it.
TEST(HeadSolver, WhereTheNeutralPoseStandsMakesNoDifference) {
  tests::Random random(93);
  const RigidHead rigid = Learned();
  for (int round = 0; round < 10; ++round) {
    HeadSolver solver = Solver(&rigid, RigidPerformer(), Carried(AnyMotion(random), RigidFace()));
    const VgeAMatrix motion = AnyMotion(random);
    EXPECT_LT(Difference(*solver.Solve(Seen(solver, motion)), Product(motion, Axes())), kRounding);
  }
}

TEST(HeadSolver, AnyThreeRigidMarkersAreEnough) {
  tests::Random random(94);
  const RigidHead rigid = Learned();
  HeadSolver solver = Solver(&rigid);
  const VgeAMatrix motion = AnyMotion(random);
  RigidBody::Points seen = Seen(solver, motion);
  HideIn(seen, solver, kHead);
  EXPECT_LT(Difference(*solver.Solve(seen), Product(motion, Axes())), kRounding) << "no head marker is seen";
  HideIn(seen, solver, {"EyeInL", "EyeInR", "EyeOutL", "EyeOutR"});
  EXPECT_TRUE(solver.Solve(seen)) << "the temples and the root of the nose";
  HideIn(seen, solver, {"TempleL"});
  EXPECT_FALSE(solver.Solve(seen));
}

TEST(HeadSolver, ARigidMarkerThatSlippedDoesNotMoveTheHead) {
  const RigidHead rigid = Learned();
  HeadSolver solver = Solver(&rigid);
  for (std::size_t m = 0; m < rigid.markers.size(); ++m) {
    RigidBody::Points seen = Seen(solver, {});
    seen[m]->y += 20;
    EXPECT_LT(Difference(*solver.Solve(seen), Axes()), 1e-6) << rigid.markers[m];
  }
}

TEST(HeadSolver, RigidMarkersTellTheHeadOfAPerformerWithoutHeadMarkers) {
  tests::Random random(95);
  const RigidHead rigid = Learned();
  Performer headless = RigidPerformer();
  headless.head.clear();
  const VgeAMatrix motion = AnyMotion(random), axes = NeutralHead(headless, RigidFace());
  HeadSolver solver = Solver(&rigid, headless);
  EXPECT_TRUE(solver.RemovesMotion());
  EXPECT_LT(Difference(*solver.Solve(Seen(solver, motion)), Product(motion, axes)), kRounding);
  HeadSolver still = Solver(nullptr, headless);
  EXPECT_FALSE(still.RemovesMotion());
  EXPECT_EQ(*still.Solve({}), axes);
}

// A pose that was kept without them, as with a take that had other markers: then it is the head markers
// alone.
TEST(HeadSolver, APoseWithFewerThanThreeRigidMarkersLeavesItToTheHeadMarkers) {
  Performer performer = RigidPerformer();
  performer.rigid = tests::RigidNames(); // none of the head's
  const RigidHead rigid = Learned(performer);
  NeutralPose neutral = tests::PlainFace();
  neutral["EyeInL"] = RigidFace()["EyeInL"], neutral["TempleR"] = RigidFace()["TempleR"];
  const HeadSolver solver = Solver(&rigid, performer, neutral);
  EXPECT_FALSE(solver.Fit());
  EXPECT_EQ(solver.Markers(), kHead);
  neutral["Root"] = RigidFace()["Root"];
  EXPECT_TRUE(Solver(&rigid, performer, neutral).Fit());
}

TEST(HeadSolver, NamesTheHeadMarkersThatTheNeutralPoseLacks) {
  const RigidHead rigid = Learned();
  NeutralPose neutral = RigidFace();
  neutral.erase("H2"), neutral.erase("EyeInL");
  EXPECT_THAT(Solver(&rigid, RigidPerformer(), neutral).LeftOut(), ElementsAre("H2"));
}

// With the fit and without it, in frames that show everything, too little, and a marker that slipped.
TEST(HeadSolver, SolvesManyFramesAsItSolvesEach) {
  tests::Random random(96);
  const RigidHead rigid = Learned();
  for (const RigidHead* const by : {&rigid, static_cast<const RigidHead*>(nullptr)}) {
    HeadSolver solver = Solver(by);
    std::vector<RigidBody::Points> frames;
    mien::Take markers(solver.Markers());
    for (std::size_t f = 0; f < 21; ++f) {
      frames.push_back(Seen(solver, AnyMotion(random)));
      if (f % 4 == 1) frames.back()[f % 5].reset();
      if (auto& slipped = frames.back()[f % 3]; slipped && f % 5 == 2) slipped->x += 15;
      if (f % 7 == 3) frames.back().assign(frames.back().size(), std::nullopt);
      markers.AddFrame(static_cast<std::int64_t>(f), static_cast<double>(f));
      for (std::size_t m = 0; m < frames.back().size(); ++m)
        if (const auto& p = frames.back()[m]) markers.Set(f, m, *p);
    }
    std::size_t count = 0;
    solver.SolveAll(markers, 1, [&](std::size_t f, const std::optional<VgeAMatrix>& head) {
      ++count;
      EXPECT_TRUE(tests::SameBits(head, solver.Solve(frames[f]))) << f;
      EXPECT_EQ(head.has_value(), f % 7 != 3) << f;
    });
    EXPECT_EQ(count, frames.size());
  }
}
