#include "host/solve/face_solver.h"

#include "host/animation/animation.h"
#include "host/performer/neutral_head.h"
#include "tests/host/input_error.h"
#include "tests/host/plain_face.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <array>
#include <cmath>
#include <cstddef>
#include <limits>
#include <map>
#include <string>
#include <vector>

using mien::FaceSolver;
using mien::NeutralPose;
using mien::Performer;
using mien::Point;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using tests::AnyMotion;
using tests::Carried;
using tests::PlainFace;
using tests::PlainPerformer;
using Weights = std::map<std::string, double>;

namespace {

// Markers are up to three metres from the room's origin and known to 5e-13 m there. The parts' units are some
// 5 mm and brows divide by their distance from neutral: a weight is known to about 1e-9.
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

/// The solver's markers where this face, in the axes of the neutral pose, has them.
std::vector<Point> Places(const FaceSolver& solver, const NeutralPose& face) {
  const VgeAMatrix to_head = mien::InverseOfOrthogonalAxes(solver.NeutralHead());
  std::vector<Point> places;
  for (const std::string& marker : solver.Markers()) places.push_back(Carried(to_head, face.at(marker)));
  return places;
}

FaceSolver::Frame Solve(FaceSolver& solver, const NeutralPose& face) {
  return solver.Solve(Places(solver, face));
}

Weights SolveOne(const NeutralPose& face) {
  FaceSolver solver(PlainPerformer(), PlainFace());
  return WeightsOf(Solve(solver, face));
}

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

// By closeness both leave 0 whichever way the brow goes; the two that give it back best tell which way.
TEST(FaceSolver, BrowsAreFittedOrMeasuredByCloseness) {
  FaceSolver fit(PlainPerformer(), PlainFace()), core(PlainPerformer(), PlainFace(), mien::BrowMethod::Core);
  NeutralPose raised = PlainFace();
  for (const char* name : {"BrowL", "BrowInL", "BrowOutL"}) raised[name].y += 3;
  const Weights fitted = WeightsOf(Solve(fit, raised)), close = WeightsOf(Solve(core, raised));
  EXPECT_GT(fitted.at("LeftBrow.Up"), 0.3);
  EXPECT_EQ(fitted.at("LeftBrow.Down"), 0);
  EXPECT_GT(close.at("LeftBrow.Up"), 0.1);
  EXPECT_GT(std::fabs(close.at("LeftBrow.Down")), 0.1);
  for (const auto& [name, weight] : close)
    if (!name.starts_with("LeftBrow")) { EXPECT_NEAR(fitted.at(name), weight, kRounding) << name; }
  EXPECT_LT(Solve(fit, raised).residual_mm[1], Solve(core, raised).residual_mm[1])
      << "of the weights that it has";
}

TEST(FaceSolver, WhereTheNeutralPoseStandsMakesNoDifference) {
  tests::Random random(7);
  const Weights upright = SolveOne(Grimace());
  for (int i = 0; i < 20; ++i) {
    const VgeAMatrix place = AnyMotion(random);
    FaceSolver solver(PlainPerformer(), Carried(place, PlainFace()));
    EXPECT_LT(Distance(WeightsOf(Solve(solver, Carried(place, Grimace()))), upright), kRounding) << i;
  }
}

// Nothing is left of the frames before.
TEST(FaceSolver, EachFrameStandsForItself) {
  FaceSolver solver(PlainPerformer(), PlainFace());
  const FaceSolver::Frame first = Solve(solver, Grimace());
  Solve(solver, PlainFace());
  const FaceSolver::Frame again = Solve(solver, Grimace());
  EXPECT_EQ(WeightsOf(again), WeightsOf(first));
  EXPECT_EQ(again.residual_mm, first.residual_mm);
}

// A take's frames, however many, have the bits that a live stream has for each of them.
TEST(FaceSolver, ManyFramesAreSolvedAsEachAlone) {
  tests::Random random(9);
  for (const mien::BrowMethod brows : {mien::BrowMethod::Fit, mien::BrowMethod::Core}) {
    FaceSolver solver(PlainPerformer(), PlainFace(), brows);
    for (const std::size_t frames : {0u, 1u, 7u, 8u, 31u, 32u, 33u, 100u}) {
      const std::size_t markers = solver.Markers().size();
      std::vector<Point> places;
      for (std::size_t f = 0; f < frames; ++f)
        for (const Point& p : Places(solver, Grimace()))
          places.push_back(
              {p.x + random.Between(-4, 4), p.y + random.Between(-4, 4), p.z + random.Between(-4, 4)});
      std::vector<double> weights(frames * 23);
      std::vector<std::array<double, 9>> residual_mm(frames);
      solver.SolveFrames(places, weights, residual_mm);
      for (std::size_t f = 0; f < frames; ++f) {
        const auto first = places.begin() + static_cast<std::ptrdiff_t>(f * markers);
        const FaceSolver::Frame& alone =
            solver.Solve(std::vector<Point>(first, first + static_cast<std::ptrdiff_t>(markers)));
        std::size_t column = f * 23;
        for (const auto& [part, slot, name] : mien::TemplateColumns())
          ASSERT_EQ(weights[column++], alone.weights.mParts[part].mWeights[slot])
              << name << " in frame " << f;
        ASSERT_EQ(residual_mm[f], alone.residual_mm) << f;
      }
    }
  }
}

TEST(FaceSolver, SolvesAPerformerWithAsManyMarkersAsTheFaceHolds) {
  Performer performer = PlainPerformer();
  NeutralPose neutral = PlainFace();
  for (std::size_t i = performer.FaceMarkers().size(); i < Performer::kMostMarkers; ++i) {
    const std::string name = "more" + std::to_string(i);
    neutral[name] = {static_cast<double>(i % 7), 20 + static_cast<double>(i % 5),
                     85 + static_cast<double>(i % 3)};
    performer.holders[5 + i % 4][0].push_back(name);
  }
  ASSERT_EQ(performer.FaceMarkers().size(), 225u);
  FaceSolver solver(performer, neutral);
  EXPECT_EQ(solver.Markers().size(), 225u);
  for (const auto& [name, weight] : WeightsOf(Solve(solver, neutral)))
    EXPECT_NEAR(weight, 0, kRounding) << name;
}

TEST(FaceSolver, AMarkerMayDriveTwoParts) {
  Performer performer = PlainPerformer();
  performer.holders[8][0] = performer.holders[7][0]; // the left wing of the nose drives both nostrils
  NeutralPose face = PlainFace();
  face["NoseL"].y += 2;
  FaceSolver solver(performer, PlainFace());
  const Weights weights = WeightsOf(Solve(solver, face));
  EXPECT_GT(weights.at("LeftNostril.Up"), 0.1);
  EXPECT_GT(weights.at("RightNostril.Up"), 0.1);
  ASSERT_EQ(solver.MarkersOf(7).size(), 1u);
  EXPECT_EQ(solver.MarkersOf(7), solver.MarkersOf(8)) << "it is one marker";
}

TEST(FaceSolver, NeedsAFaceThatTellsWhereItLooks) {
  Performer performer = PlainPerformer();
  for (std::size_t p = 1; p < 9; ++p) performer.holders[p] = {};
  EXPECT_THAT(InputErrorOf([&] { FaceSolver(performer, PlainFace()); }), HasSubstr("plain.json:/parts"));
}

// --- Its markers.

TEST(FaceSolver, TheNeutralFaceIsWithinAKilometre) {
  for (const char* marker : {"NoseL", "H2"})
    for (const double far : {1.001e6, -1e7, 1e155, std::numeric_limits<double>::infinity()}) {
      NeutralPose neutral = PlainFace();
      neutral[marker].z = far;
      EXPECT_EQ(InputErrorOf([&] { FaceSolver(PlainPerformer(), neutral); }),
                "plain.json:/neutral: the marker \"" + std::string(marker) +
                    "\" is more than a kilometre away; give its position in millimetres");
    }
}

TEST(FaceSolver, TellsItsMarkersTheirRestAndTheirParts) {
  tests::Random random(8);
  const NeutralPose neutral = Carried(AnyMotion(random), PlainFace());
  const FaceSolver solver(PlainPerformer(), neutral);
  EXPECT_EQ(solver.Markers(), PlainPerformer().FaceMarkers()) << "those of the head are not among them";
  EXPECT_EQ(solver.NeutralHead(), mien::NeutralHead(PlainPerformer(), neutral));
  const VgeAMatrix to_face = mien::InverseOfOrthogonalAxes(mien::NeutralHead(PlainPerformer(), PlainFace()));
  ASSERT_EQ(solver.RestPlaces().size(), solver.Markers().size());
  for (std::size_t m = 0; m < solver.Markers().size(); ++m) {
    const Point upright = Carried(to_face, PlainFace().at(solver.Markers()[m])),
                rest = solver.RestPlaces()[m];
    EXPECT_NEAR(rest.x, upright.x, kRounding);
    EXPECT_NEAR(rest.y, upright.y, kRounding);
    EXPECT_NEAR(rest.z, upright.z, kRounding);
  }
  std::vector<std::string> left_brow;
  for (const std::size_t m : solver.MarkersOf(1)) left_brow.push_back(solver.Markers()[m]);
  EXPECT_THAT(left_brow, testing::UnorderedElementsAre("BrowL", "BrowOutL", "BrowInL"));
  EXPECT_THAT(solver.LeftOut(), IsEmpty());
}

TEST(FaceSolver, APartWithoutMarkersRests) {
  Performer performer = PlainPerformer();
  performer.holders[5] = performer.holders[6] = {};
  NeutralPose neutral = PlainFace();
  neutral.erase("NoseL"); // never seen when the neutral pose was taken
  FaceSolver solver(performer, neutral);
  const FaceSolver::Frame frame = Solve(solver, Grimace());
  const Weights weights = WeightsOf(frame);
  for (const char* name :
       {"LeftCheek.Up", "LeftCheek.Out", "RightCheek.Up", "RightCheek.Out", "LeftNostril.Up"})
    EXPECT_NEAR(weights.at(name), 0, kRounding) << name;
  EXPECT_GT(weights.at("Mouth.Open"), 0.3);
  for (const std::size_t part : {5u, 6u, 7u}) {
    EXPECT_THAT(solver.MarkersOf(part), IsEmpty()) << part;
    EXPECT_EQ(frame.residual_mm[part], 0) << part;
  }
  EXPECT_THAT(solver.LeftOut(), ElementsAre("NoseL"));
}

TEST(FaceSolver, OneMarkerLeftOutLeavesItsPartToTheOthers) {
  NeutralPose neutral = PlainFace();
  neutral.erase("BrowOutL");
  FaceSolver solver(PlainPerformer(), neutral);
  EXPECT_GT(WeightsOf(Solve(solver, Grimace())).at("LeftBrow.Up"), 0.1);
  EXPECT_EQ(solver.MarkersOf(1).size(), 2u);
  EXPECT_THAT(solver.LeftOut(), ElementsAre("BrowOutL"));
}

// --- How well the weights tell what was seen.

TEST(FaceSolver, TheNeutralFaceLeavesNoResidual) {
  FaceSolver solver(PlainPerformer(), PlainFace());
  for (const double residual : Solve(solver, PlainFace()).residual_mm) EXPECT_NEAR(residual, 0, kRounding);
}

// A nostril knows no way but up, and one marker moves all of its points: what it goes sideways is left over
// whole.
TEST(FaceSolver, WhatNoTemplateMakesIsLeftOverInMillimetres) {
  for (const double off : {0.5, 3.0}) {
    NeutralPose face = PlainFace();
    face["NoseL"].x += off;
    FaceSolver solver(PlainPerformer(), PlainFace());
    const FaceSolver::Frame frame = Solve(solver, face);
    for (std::size_t part = 0; part < 9; ++part)
      EXPECT_NEAR(frame.residual_mm[part], part == 7 ? off : 0, kRounding) << part;
  }
}

// Twice the size is exact in binary: the same weights, and twice the millimetres.
TEST(FaceSolver, ResidualsAreMeasuredOnThePerformersFace) {
  const auto twice = [](NeutralPose face) {
    for (auto& [name, p] : face) p = {2 * p.x, 2 * p.y, 2 * p.z};
    return face;
  };
  FaceSolver solver(PlainPerformer(), PlainFace()), large(PlainPerformer(), twice(PlainFace()));
  const FaceSolver::Frame frame = Solve(solver, Grimace()), large_frame = Solve(large, twice(Grimace()));
  EXPECT_EQ(WeightsOf(large_frame), WeightsOf(frame));
  for (std::size_t part = 0; part < 9; ++part)
    EXPECT_EQ(large_frame.residual_mm[part], 2 * frame.residual_mm[part]) << part;
  EXPECT_GT(frame.residual_mm[0], 0.1) << "no templates make this mouth";
}
