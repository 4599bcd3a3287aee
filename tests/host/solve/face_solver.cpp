#include "host/solve/face_solver.h"

#include "host/performer/face_axes.h"
#include "host/solve/animation.h"
#include "tests/host/input_error.h"
#include "tests/host/plain_face.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <map>
#include <string>
#include <utility>
#include <vector>

using mien::FaceSolver;
using mien::NeutralPose;
using mien::Performer;
using mien::Take;
using mien::detail::Product;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Pair;
using tests::AnyMotion;
using tests::Carried;
using tests::Difference;
using tests::EmptyTake;
using tests::Film;
using tests::Hide;
using tests::PlainFace;
using tests::PlainPerformer;
using Weights = std::map<std::string, double>;

namespace {

// Markers are up to three metres from the room's origin and known to 5e-13 m there. The parts' units are some 5 mm
// and brows divide by their distance from neutral: a weight is known to about 1e-9.
constexpr double kRounding = 1e-8;

/// A face that talks, blinks on one side, frowns and smiles a little.
NeutralPose Grimace() {
  NeutralPose face = PlainFace();
  face["Chin"].y -= 15, face["LipLow"].y -= 14, face["LipUp"].y += 1;
  face["CornerL"].y += 4, face["CornerL"].x += 2, face["CornerR"].y += 3;
  face["LidUpL"].y -= 5, face["LidLowR"].y += 1;
  for (const char* name : {"BrowL", "BrowInL", "BrowR", "BrowInR", "BrowOutR"}) face[name].y += 3;
  face["CheekL"].z += 2, face["CheekUpR"].y += 2;
  face["NoseL"].y += 1;
  return face;
}

Weights WeightsOf(const FaceSolver::Frame& frame) {
  Weights weights;
  for (const auto& [part, slot, name] : mien::TemplateColumns())
    weights[name] = frame.weights.mParts[part].mWeights[slot];
  return weights;
}

/// The largest difference of two frames' weights.
double Distance(const Weights& a, const Weights& b) {
  double most = 0;
  for (const auto& [name, weight] : a) {
    const double difference = std::fabs(weight - b.at(name));
    if (!(difference <= most)) most = difference; // a NaN is kept
  }
  return most;
}

Weights SolveOne(const NeutralPose& face, const VgeAMatrix& motion = {}) {
  Take take = EmptyTake();
  Film(take, face, motion);
  return WeightsOf(FaceSolver(PlainPerformer(), PlainFace(), take).Solve(take, 0));
}

std::vector<std::pair<std::string, std::size_t>> Held(const FaceSolver& solver) {
  std::vector<std::pair<std::string, std::size_t>> held;
  for (const auto& [marker, frames] : solver.GetReport().held) held.emplace_back(marker, frames);
  return held;
}

const std::vector<std::string> kHead = {"H1", "H2", "H3", "H4", "H5"};

} // namespace

// --- The weights.

TEST(FaceSolver, NeutralFaceHasNoWeight) {
  for (const auto& [name, weight] : SolveOne(PlainFace())) EXPECT_NEAR(weight, 0, kRounding) << name;
}

TEST(FaceSolver, MovedMarkersShowInTheirTemplates) {
  const Weights weights = SolveOne(Grimace());
  EXPECT_GT(weights.at("Mouth.Open"), 0.3);
  EXPECT_GT(weights.at("LeftEye.Close"), 0.3);
  EXPECT_NEAR(weights.at("RightEye.Close"), 0, kRounding);
  EXPECT_GT(weights.at("RightEye.Squint"), 0.1);
  EXPECT_GT(weights.at("LeftNostril.Up"), 0.1);
  EXPECT_NEAR(weights.at("RightNostril.Up"), 0, kRounding);
  EXPECT_GT(weights.at("LeftBrow.Up"), 0.1);
}

TEST(FaceSolver, HeadMotionDoesNotChangeWeights) {
  tests::Random random(6);
  const Weights still = SolveOne(Grimace());
  for (int i = 0; i < 50; ++i)
    EXPECT_LT(Distance(SolveOne(Grimace(), AnyMotion(random)), still), kRounding) << i;
}

TEST(FaceSolver, TheAxesOfTheNeutralPoseMakeNoDifference) {
  tests::Random random(7);
  const Weights upright = SolveOne(Grimace());
  for (int i = 0; i < 20; ++i) {
    Take take = EmptyTake();
    Film(take, Grimace(), AnyMotion(random));
    FaceSolver solver(PlainPerformer(), Carried(AnyMotion(random), PlainFace()), take);
    EXPECT_LT(Distance(WeightsOf(solver.Solve(take, 0)), upright), kRounding) << i;
  }
}

TEST(FaceSolver, TellsWhereTheHeadIs) {
  tests::Random random(8);
  const VgeAMatrix axes = mien::FaceAxes(PlainPerformer(), PlainFace());
  Take take = EmptyTake();
  FaceSolver solver(PlainPerformer(), PlainFace(), take);
  for (int i = 0; i < 20; ++i) {
    const VgeAMatrix motion = AnyMotion(random);
    const std::size_t f = Film(take, Grimace(), motion);
    EXPECT_LT(Difference(solver.Solve(take, f).head, Product(motion, axes)), 1e-9) << i;
  }
  EXPECT_TRUE(solver.GetReport().head_motion_removed);
  EXPECT_EQ(solver.GetReport().frames_without_head, 0u);
  EXPECT_EQ(solver.GetReport().frames, 20u);
}

// Marker sets of the library hold 225; takes may hold any number.
TEST(FaceSolver, SolvesATakeWithHundredsOfOtherMarkers) {
  std::vector<std::string> others;
  for (int i = 0; i < 300; ++i) others.push_back("other" + std::to_string(i));
  Take take = EmptyTake(others);
  Film(take, Grimace());
  for (std::size_t m = 0; m < others.size(); ++m) take.Set(0, m, {1e4, 0, static_cast<double>(m)});
  FaceSolver solver(PlainPerformer(), PlainFace(), take);
  EXPECT_EQ(WeightsOf(solver.Solve(take, 0)), SolveOne(Grimace()));
}

TEST(FaceSolver, SolvesAPerformerWithAsManyMarkersAsTheFaceHolds) {
  Performer performer = PlainPerformer();
  NeutralPose neutral = PlainFace();
  std::vector<std::string> more;
  for (std::size_t i = performer.FaceMarkers().size(); i < Performer::kMostMarkers; ++i) {
    more.push_back("more" + std::to_string(i));
    neutral[more.back()] = {static_cast<double>(i % 7), 20 + static_cast<double>(i % 5),
                            85 + static_cast<double>(i % 3)};
    performer.holders[5 + i % 4][0].push_back(more.back());
  }
  ASSERT_EQ(performer.FaceMarkers().size(), 225u);
  Take take = EmptyTake(more);
  Film(take, neutral);
  FaceSolver solver(performer, neutral, take);
  for (const auto& [name, weight] : WeightsOf(solver.Solve(take, 0)))
    EXPECT_NEAR(weight, 0, kRounding) << name;
  EXPECT_THAT(Held(solver), IsEmpty());
}

TEST(FaceSolver, AMarkerMayDriveTwoParts) {
  Performer performer = PlainPerformer();
  performer.holders[8][0] = performer.holders[7][0]; // the left wing of the nose drives both nostrils
  NeutralPose face = PlainFace();
  face["NoseL"].y += 2;
  Take take = EmptyTake();
  Film(take, face);
  FaceSolver solver(performer, PlainFace(), take);
  const Weights weights = WeightsOf(solver.Solve(take, 0));
  EXPECT_GT(weights.at("LeftNostril.Up"), 0.1);
  EXPECT_GT(weights.at("RightNostril.Up"), 0.1);
}

TEST(FaceSolver, NeedsAFaceThatTellsWhereItLooks) {
  Performer performer = PlainPerformer();
  for (std::size_t p = 1; p < 9; ++p) performer.holders[p] = {};
  EXPECT_THAT(InputErrorOf([&] { FaceSolver(performer, PlainFace(), EmptyTake()); }),
              HasSubstr("plain.json:/parts"));
}

// --- Gaps.

// In the take's axes the hidden markers would stay behind when the head moves on.
TEST(FaceSolver, AHiddenMarkerStaysWhereItWasInTheHeadsFrame) {
  tests::Random random(9);
  Take take = EmptyTake();
  Film(take, Grimace(), AnyMotion(random));
  for (int f = 1; f < 10; ++f) {
    Film(take, Grimace(), AnyMotion(random));
    Hide(take, static_cast<std::size_t>(f), {"LipLow", "Chin", "BrowL", "LidUpL"});
  }
  FaceSolver solver(PlainPerformer(), PlainFace(), take);
  const Weights seen = WeightsOf(solver.Solve(take, 0));
  for (std::size_t f = 1; f < 10; ++f)
    EXPECT_LT(Distance(WeightsOf(solver.Solve(take, f)), seen), kRounding) << f;
  EXPECT_THAT(Held(solver),
              ElementsAre(Pair("LipLow", 9), Pair("Chin", 9), Pair("BrowL", 9), Pair("LidUpL", 9)));
}

TEST(FaceSolver, BeforeItIsFirstSeenAMarkerIsNeutral) {
  tests::Random random(10);
  const std::vector<std::string> hidden = {"LipLow", "Chin", "NoseL"};
  NeutralPose half = Grimace(); // neutral where hidden
  for (const std::string& name : hidden) half[name] = PlainFace().at(name);
  Take take = EmptyTake();
  for (int f = 0; f < 3; ++f) Film(take, Grimace(), AnyMotion(random));
  Hide(take, 0, hidden), Hide(take, 1, hidden);
  FaceSolver solver(PlainPerformer(), PlainFace(), take);
  EXPECT_LT(Distance(WeightsOf(solver.Solve(take, 0)), SolveOne(half)), kRounding);
  EXPECT_LT(Distance(WeightsOf(solver.Solve(take, 1)), SolveOne(half)), kRounding);
  EXPECT_LT(Distance(WeightsOf(solver.Solve(take, 2)), SolveOne(Grimace())), kRounding) << "seen at last";
  EXPECT_THAT(Held(solver), ElementsAre(Pair("LipLow", 2), Pair("Chin", 2), Pair("NoseL", 2)));
}

TEST(FaceSolver, WithoutHeadMarkersInSightTheHeadStaysAndIsCounted) {
  tests::Random random(11);
  const VgeAMatrix here = AnyMotion(random);
  const VgeAMatrix axes = mien::FaceAxes(PlainPerformer(), PlainFace());
  Take take = EmptyTake();
  Film(take, Grimace()); // where the neutral pose is
  Film(take, Grimace(), here);
  Film(take, PlainFace(), here);
  Film(take, Grimace(), here);
  Hide(take, 0, {"H1", "H3", "H5"}); // two are too few
  Hide(take, 2, kHead);
  FaceSolver solver(PlainPerformer(), PlainFace(), take);
  EXPECT_LT(Difference(solver.Solve(take, 0).head, axes), 1e-9) << "before it is first seen it is neutral";
  EXPECT_LT(Distance(WeightsOf(solver.Solve(take, 0)), SolveOne(Grimace())), kRounding);
  const VgeAMatrix head = solver.Solve(take, 1).head;
  EXPECT_LT(Difference(head, Product(here, axes)), 1e-9);
  EXPECT_EQ(solver.Solve(take, 2).head, head);
  EXPECT_LT(Distance(WeightsOf(solver.Solve(take, 2)), SolveOne(PlainFace())), kRounding);
  EXPECT_LT(Distance(WeightsOf(solver.Solve(take, 3)), SolveOne(Grimace())), kRounding);
  EXPECT_EQ(solver.GetReport().frames_without_head, 4u); // frames 0 and 2 were solved twice
  EXPECT_EQ(solver.GetReport().frames, 6u);
  EXPECT_THAT(Held(solver), IsEmpty()) << "head markers drive no part";
}

TEST(FaceSolver, ALostFrameHoldsEverything) {
  tests::Random random(12);
  Take take = EmptyTake();
  Film(take, Grimace(), AnyMotion(random));
  take.AddFrame(2, 1);
  FaceSolver solver(PlainPerformer(), PlainFace(), take);
  const FaceSolver::Frame first = solver.Solve(take, 0), lost = solver.Solve(take, 1);
  EXPECT_EQ(lost.head, first.head);
  EXPECT_LT(Distance(WeightsOf(lost), WeightsOf(first)), kRounding);
  EXPECT_EQ(Held(solver).size(), PlainPerformer().FaceMarkers().size());
}

TEST(FaceSolver, ATakeThatNeverShowsTheFaceIsNeutral) {
  Take take = EmptyTake();
  take.AddFrame(1, 0);
  FaceSolver solver(PlainPerformer(), PlainFace(), take);
  for (const auto& [name, weight] : WeightsOf(solver.Solve(take, 0)))
    EXPECT_NEAR(weight, 0, kRounding) << name;
}

// --- What the performer or the neutral pose lacks.

TEST(FaceSolver, APartWithoutMarkersRestsAndIsReported) {
  Performer performer = PlainPerformer();
  performer.holders[5] = performer.holders[6] = {};
  NeutralPose neutral = PlainFace();
  neutral.erase("NoseL"); // never seen when the neutral pose was taken
  Take take = EmptyTake();
  Film(take, Grimace());
  FaceSolver solver(performer, neutral, take);
  const Weights weights = WeightsOf(solver.Solve(take, 0));
  for (const char* name :
       {"LeftCheek.Up", "LeftCheek.Out", "RightCheek.Up", "RightCheek.Out", "LeftNostril.Up"})
    EXPECT_NEAR(weights.at(name), 0, kRounding) << name;
  EXPECT_GT(weights.at("Mouth.Open"), 0.3);
  EXPECT_THAT(solver.GetReport().resting_parts, ElementsAre("LeftCheek", "RightCheek", "LeftNostril"));
  EXPECT_THAT(solver.GetReport().left_out, ElementsAre("NoseL"));
}

TEST(FaceSolver, OneMarkerLeftOutLeavesItsPartToTheOthers) {
  NeutralPose neutral = PlainFace();
  neutral.erase("BrowOutL");
  Take take = EmptyTake();
  Film(take, Grimace());
  FaceSolver solver(PlainPerformer(), neutral, take);
  EXPECT_GT(WeightsOf(solver.Solve(take, 0)).at("LeftBrow.Up"), 0.1);
  EXPECT_THAT(solver.GetReport().resting_parts, IsEmpty());
  EXPECT_THAT(solver.GetReport().left_out, ElementsAre("BrowOutL"));
}

TEST(FaceSolver, WithFewerThanThreeUsableHeadMarkersTheHeadStaysInPlace) {
  NeutralPose without_three = PlainFace();
  for (const char* name : {"H1", "H2", "H3"}) without_three.erase(name);
  Performer two = PlainPerformer();
  two.head = {"H1", "H2"};
  for (const auto& [performer, neutral] :
       {std::pair(two, PlainFace()), std::pair(PlainPerformer(), without_three)}) {
    Take take = EmptyTake();
    Film(take, Grimace());
    Film(take, PlainFace(), tests::Motion({}, {0, 0, 300}));
    FaceSolver solver(performer, neutral, take);
    EXPECT_LT(Distance(WeightsOf(solver.Solve(take, 0)), SolveOne(Grimace())), kRounding);
    EXPECT_EQ(solver.Solve(take, 1).head, mien::FaceAxes(performer, neutral));
    EXPECT_FALSE(solver.GetReport().head_motion_removed);
    EXPECT_EQ(solver.GetReport().frames_without_head, 0u) << "there is none to be lost";
  }
}

// A head marker that the neutral pose lacks is as good as hidden; the user should hear of it as of any other.
TEST(FaceSolver, AHeadMarkerThatTheNeutralPoseLacksIsReported) {
  NeutralPose neutral = PlainFace();
  neutral.erase("H2");
  Take take = EmptyTake();
  FaceSolver solver(PlainPerformer(), neutral, take);
  EXPECT_TRUE(solver.GetReport().head_motion_removed);
  EXPECT_THAT(solver.GetReport().left_out, ElementsAre("H2"));
}

// Three head markers on a line never tell where the head is, in any frame.
TEST(FaceSolver, HeadMarkersOnALineDoNotRemoveTheHeadsMotion) {
  Performer performer = PlainPerformer();
  performer.head = {"H1", "H2", "H3"};
  NeutralPose neutral = PlainFace();
  neutral["H1"] = {0, 120, 20};
  Take take = EmptyTake();
  Film(take, neutral);
  FaceSolver solver(performer, neutral, take);
  solver.Solve(take, 0);
  EXPECT_FALSE(solver.GetReport().head_motion_removed);
}
