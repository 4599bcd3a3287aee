#include "host/solve/frame_solver.h"

#include "host/character/character_file.h"
#include "host/solve/solve_character.h"
#include "host/solve/solve_take.h"
#include "tests/failing_heap.h"
#include "tests/host/rigid_face.h"
#include "tests/host/take_along.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstddef>
#include <optional>
#include <string>
#include <vector>

using mien::Animation;
using mien::FrameMarkers;
using mien::FrameSolver;
using mien::NeutralPose;
using mien::Point;
using mien::SolvedFrame;
using mien::Take;
using tests::EmptyTake;
using tests::Film;
using tests::Hide;
using tests::PlainFace;
using tests::PlainPerformer;

namespace {

/// A mouth that opens and closes under a head that turns and moves, every marker seen in every frame.
Take Talk() {
  tests::Random random(31);
  Take take = EmptyTake();
  for (int f = 0; f < 30; ++f) {
    NeutralPose face = PlainFace();
    face["Chin"].y -= f % 7, face["LipLow"].y -= f % 7, face["LidUpL"].y -= f % 5;
    Film(take, face, tests::AnyMotion(random));
  }
  return take;
}

FrameMarkers MarkersOf(const Take& take, std::size_t frame, const FrameSolver& solver) {
  const auto at = [&](const std::string& name) -> std::optional<Point> {
    const Point* const p = take.At(frame, take.FindMarker(name).value());
    return p ? std::optional(*p) : std::nullopt;
  };
  FrameMarkers markers;
  for (const std::string& name : solver.Head().Markers()) markers.head.push_back(at(name));
  for (const std::string& name : solver.Face().Markers()) markers.face.push_back(at(name));
  return markers;
}

} // namespace

// What a stream solves as frames arrive is what the take gives afterwards, to the bit, where nothing is
// cleaned.
TEST(FrameSolver, GivesAStreamWhatATakeGets) {
  const Take take = Talk();
  const mien::Character character = mien::LoadCharacter("arkit52");
  mien::SolveOptions uncleaned;
  uncleaned.head_tolerance_mm.reset();
  Animation whole = SolveTake(take, PlainPerformer(), PlainFace(), uncleaned).animation;
  SolveCharacter(whole, character);

  FrameSolver solver(PlainPerformer(), PlainFace(), nullptr, uncleaned.brows, &character);
  for (std::size_t f = 0; f < take.FrameCount(); ++f) {
    const SolvedFrame& frame = solver.Solve(MarkersOf(take, f, solver));
    EXPECT_TRUE(frame.head_known);
    EXPECT_EQ(frame.head, whole.heads[f]);
    for (std::size_t t = 0; t < whole.layout.templates.size(); ++t) {
      const auto& [part, slot, name] = whole.layout.templates[t];
      EXPECT_EQ(frame.face.weights.mParts[part].mWeights[slot], whole.Weight(f, t)) << name;
    }
    ASSERT_TRUE(frame.character);
    for (std::size_t s = 0; s < whole.layout.shapes.size(); ++s)
      EXPECT_EQ(frame.character->mWeights[0][s], whole.ShapeWeight(f, s)) << whole.layout.shapes[s];
  }
}

// So it is with a rigid head, learned beforehand. What a take's solve has beyond it, calm and anchors, needs
// the frames to come: neither has a part in this take, whose frames do not follow each other and whose brows
// and eyes have no rigid neighbours.
TEST(FrameSolver, GivesAStreamWithARigidHeadWhatATakeGets) {
  tests::Random random(32);
  Take take = EmptyTake({"TempleL", "TempleR"});
  mien::Performer performer = PlainPerformer();
  performer.rigid = performer.head;
  for (const char* name : {"TempleL", "TempleR"}) performer.rigid.push_back(name);
  NeutralPose neutral = tests::RigidFace();
  for (int f = 0; f < 40; ++f) {
    NeutralPose face = neutral;
    face["Chin"].y -= f % 7, face["LidUpL"].y -= f % 5, face["BrowR"].y += f % 3;
    for (const std::string& name : performer.rigid) // so that the fit is none of the markers' alone
      face[name].x += random.Between(-0.5, 0.5), face[name].y += random.Between(-0.5, 0.5);
    take.frames[Film(take, face, tests::AnyMotion(random))] = 3 * f;
  }
  const mien::RigidHead rigid = LearnRigidHead(take, performer).value();
  mien::SolveOptions uncleaned;
  uncleaned.head_tolerance_mm.reset();
  for (const mien::BrowMethod brows : {mien::BrowMethod::Fit, mien::BrowMethod::Core}) {
    uncleaned.brows = brows;
    const Animation whole = SolveTake(take, performer, neutral, uncleaned, &rigid).animation;
    FrameSolver solver(performer, neutral, &rigid, brows);
    EXPECT_EQ(solver.Head().Markers(), rigid.markers);
    for (std::size_t f = 0; f < take.FrameCount(); ++f) {
      const SolvedFrame& frame = solver.Solve(MarkersOf(take, f, solver));
      EXPECT_TRUE(frame.head_known);
      EXPECT_EQ(frame.head, whole.heads[f]);
      for (std::size_t t = 0; t < whole.layout.templates.size(); ++t) {
        const auto& [part, slot, name] = whole.layout.templates[t];
        EXPECT_EQ(frame.face.weights.mParts[part].mWeights[slot], whole.Weight(f, t)) << name;
      }
    }
    EXPECT_NE(whole.heads[7], SolveTake(take, performer, neutral, uncleaned).animation.heads[7])
        << "the head markers alone tell another head";
  }
}

// Nor does a head marker that slipped, or a face marker that is hidden.
TEST(FrameSolver, AFrameAllocatesNothingOnceItsHeadMarkersHaveOccurred) {
  const Take take = Talk();
  const mien::Character character = mien::LoadCharacter("arkit52");
  mien::Performer performer = PlainPerformer();
  performer.rigid = performer.head;
  const mien::RigidHead rigid = LearnRigidHead(take, performer).value();
  for (const mien::RigidHead* const by : {&rigid, static_cast<const mien::RigidHead*>(nullptr)}) {
    FrameSolver solver(performer, PlainFace(), by, mien::BrowMethod::Fit, &character);
    FrameMarkers markers = MarkersOf(take, 0, solver);
    solver.Solve(markers);
    markers = MarkersOf(take, 9, solver);
    markers.head[1]->x += 40, markers.face[3].reset();
    EXPECT_FALSE(tests::RunsOutOfMemory(0, [&] { solver.Solve(markers); }));
    EXPECT_FALSE(tests::has_failed) << "an allocation was asked for";
    EXPECT_TRUE(tests::RunsOutOfMemory(0, [&] { const FrameMarkers copy = markers; }))
        << "the heap would notice one";
  }
}

TEST(FrameSolver, HoldsALostHeadAndRestsTheFace) {
  Take take = Talk();
  Hide(take, 1, {"H1", "H2", "H3"});
  FrameSolver solver(PlainPerformer(), PlainFace());
  const VgeAMatrix seen = solver.Solve(MarkersOf(take, 0, solver)).head;
  const SolvedFrame lost = solver.Solve(MarkersOf(take, 1, solver));
  EXPECT_FALSE(lost.head_known);
  EXPECT_EQ(lost.head, seen);
  mien::FaceSolver fresh(PlainPerformer(), PlainFace());
  const auto at_rest = fresh.Solve(fresh.RestPlaces());
  for (int p = 0; p < 9; ++p)
    EXPECT_TRUE(std::equal(std::begin(lost.face.weights.mParts[p].mWeights),
                           std::end(lost.face.weights.mParts[p].mWeights),
                           std::begin(at_rest.weights.mParts[p].mWeights)));
}

TEST(FrameSolver, AMarkerThatIsNotSeenIsAtItsPlaceOnTheNeutralFace) {
  Take take = Talk();
  FrameSolver solver(PlainPerformer(), PlainFace());
  FrameMarkers markers = MarkersOf(take, 0, solver), hidden = markers;
  const NeutralPose neutral = PlainFace();
  Take still = EmptyTake();
  Film(still, neutral);
  const FrameMarkers at_rest = MarkersOf(still, 0, solver);
  hidden.head = at_rest.head;
  for (std::size_t m = 0; m < hidden.face.size(); ++m) hidden.face[m].reset();
  const auto rested = solver.Solve(hidden).face.residual_mm;
  mien::FaceSolver face(PlainPerformer(), PlainFace());
  EXPECT_EQ(rested, face.Solve(face.RestPlaces()).residual_mm);
}

// A head that cannot be found is taken as still, as in a take.
TEST(FrameSolver, WithoutHeadMarkersTheHeadIsNeutralAndKnown) {
  mien::Performer headless = PlainPerformer();
  headless.head.clear();
  const Take take = Talk();
  FrameSolver solver(headless, PlainFace());
  const SolvedFrame& frame = solver.Solve(MarkersOf(take, 3, solver));
  EXPECT_TRUE(frame.head_known);
  EXPECT_EQ(frame.head, solver.Head().NeutralHead());
}
