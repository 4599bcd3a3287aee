#include "host/solve/solve_gaze.h"

#include "host/animation/eye_angles.h"
#include "host/character/character_file.h"
#include "host/performer/neutral_head.h"
#include "host/solve/solve_character.h"
#include "mien/base/affine.h"
#include "tests/host/plain_face.h"
#include "tests/random.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <limits>
#include <string>
#include <vector>

using mien::Eyes;
using mien::GazeAxes;
using mien::GazeSource;
using mien::Neutral;
using mien::NeutralPose;
using mien::Performer;
using mien::Point;
using mien::SolvedTake;
using mien::SolveOptions;
using mien::Take;
using tests::EmptyTake;
using tests::Film;
using tests::PlainFace;
using tests::PlainPerformer;

namespace {

constexpr double kDegree = 0.017453292519943295;
constexpr double kNowhere = std::numeric_limits<double>::quiet_NaN();

Neutral PlainNeutral() { return {.pose = PlainFace(), .how = "", .notes = {}}; }

SolvedTake Solve(const Take& take, const Neutral& neutral = PlainNeutral(),
                 const Performer& performer = PlainPerformer(), const SolveOptions& options = {}) {
  SolvedTake solved = SolveTake(take, performer, neutral.pose, options);
  SolveGaze(solved, take, performer, neutral, options);
  return solved;
}

/// Of a vector in the axes of the plain face's head, which nods a little, in the take's after this motion.
Point InTake(const VgeTVector& v, const VgeAMatrix& motion = {}) {
  VgeAMatrix turn = mien::Product(motion, mien::NeutralHead(PlainPerformer(), PlainFace()));
  std::fill_n(turn.m[3], 3, 0.0);
  const VgeTVector turned = mien::TransformPoint(turn, v);
  return {turned.x, turned.y, turned.z};
}

/// The direction of an eye with these angles.
Point Direction(double yaw, double pitch, const VgeAMatrix& motion = {}) {
  return InTake(mien::Column(mien::RotationBy({yaw, pitch}), 2), motion);
}

/// Still but for the eyes: both look along `angle(f)` in frame f, or nowhere where it is a NaN.
template <class Angle>
Take Looking(std::size_t frames, const Angle& angle) {
  Take take = EmptyTake();
  take.gaze_axes = GazeAxes::Take;
  for (std::size_t f = 0; f < frames; ++f) {
    Film(take, PlainFace());
    if (const double yaw = angle(f); !std::isnan(yaw)) take.gaze[f] = {Direction(yaw, 0), Direction(yaw, 0)};
  }
  return take;
}

double Straight(std::size_t /*frame*/) { return 0; }

} // namespace

TEST(SolveGaze, ADirectionIsMeasuredAgainstTheHead) {
  tests::Random random(7);
  Take take = EmptyTake();
  take.gaze_axes = GazeAxes::Take;
  std::vector<mien::EyeAngles> looks;
  for (int f = 0; f < 20; ++f) {
    const VgeAMatrix head = tests::AnyMotion(random);
    Film(take, PlainFace(), head);
    looks.push_back(f == 0 ? mien::EyeAngles()
                           : mien::EyeAngles{random.Between(-0.5, 0.5), random.Between(-0.5, 0.5)});
    take.gaze.back().left = take.gaze.back().right = Direction(looks.back().yaw, looks.back().pitch, head);
  }
  Neutral neutral = PlainNeutral();
  neutral.frames = {1};
  const SolvedTake solved = Solve(take, neutral);
  EXPECT_EQ(solved.report.gaze.source, GazeSource::Columns);
  ASSERT_EQ(solved.animation.eyes.size(), looks.size());
  for (std::size_t f = 0; f < looks.size(); ++f)
    for (const auto& [yaw, pitch] : solved.animation.eyes[f]) {
      EXPECT_NEAR(yaw, looks[f].yaw, 1e-9) << f;
      EXPECT_NEAR(pitch, looks[f].pitch, 1e-9) << f;
    }
}

TEST(SolveGaze, WhatTheNeutralFaceLooksAtIsStraightAhead) {
  const Take take = Looking(10, [](std::size_t f) { return f < 3 ? 0.2 : 0.5; });
  Neutral neutral = PlainNeutral();
  neutral.frames = {1, 2, 3};
  SolvedTake solved = Solve(take, neutral);
  EXPECT_NEAR(solved.report.gaze.straight.yaw, 0.2, 1e-12);
  EXPECT_NEAR(solved.animation.eyes[0][0].yaw, 0, 1e-12);
  EXPECT_NEAR(solved.animation.eyes[9][0].yaw, 0.3, 1e-12);

  neutral.frames = {}; // a performer file's: most of the take is straight ahead
  solved = Solve(take, neutral);
  EXPECT_NEAR(solved.animation.eyes[0][0].yaw, -0.3, 1e-12);
  EXPECT_NEAR(solved.animation.eyes[9][0].yaw, 0, 1e-12);
}

TEST(SolveGaze, BothEyesOfATrackerLookInOneDirection) {
  Take take = Looking(9, Straight);
  take.gaze[4] = {Direction(0.3, 0.1), Direction(0.1, 0.3)};
  take.gaze[6] = {Direction(0.2, 0), std::nullopt};
  const auto eyes = Solve(take).animation.eyes;
  for (const std::size_t eye : {0U, 1U}) {
    EXPECT_NEAR(eyes[4][eye].yaw, 0.2, 1e-12);
    EXPECT_NEAR(eyes[4][eye].pitch, 0.2, 1e-12);
    EXPECT_NEAR(eyes[6][eye].yaw, 0.2, 1e-12);
  }
}

TEST(SolveGaze, AnAppsAnglesAreKeptApartWhateverTheHeadDoes) {
  tests::Random random(9);
  Take take = EmptyTake();
  take.gaze_axes = GazeAxes::Head;
  for (int f = 0; f < 9; ++f) {
    Film(take, PlainFace(), tests::AnyMotion(random));
    take.gaze.back() = {Point{0, 0, 1}, Point{0, 0, 1}};
  }
  const auto direction = [](double yaw, double pitch) {
    const VgeTVector d = mien::Column(mien::RotationBy({yaw, pitch}), 2);
    return Point{d.x, d.y, d.z};
  };
  take.gaze[4] = {direction(0.3, 0.1), direction(0.1, 0.3)};
  const SolvedTake solved = Solve(take);
  EXPECT_EQ(solved.report.gaze.source, GazeSource::EyeAngles);
  EXPECT_NEAR(solved.animation.eyes[4][0].yaw, 0.3, 1e-12);
  EXPECT_NEAR(solved.animation.eyes[4][1].pitch, 0.3, 1e-12);
}

TEST(SolveGaze, AnIrisTurnsWithAnEyeOf10And5Millimetres) {
  Performer performer = PlainPerformer();
  performer.irises = {{{"IrisL"}, {"IrisR"}}};
  Neutral neutral = PlainNeutral();
  neutral.pose["IrisL"] = {16, 48, 91}, neutral.pose["IrisR"] = {-16, 48, 91};
  tests::Random random(8);
  Take take = EmptyTake({"IrisL", "IrisR"});
  for (int f = 0; f < 5; ++f) {
    NeutralPose face = neutral.pose;
    for (const char* iris : {"IrisL", "IrisR"}) {
      const Point moved = InTake({10.5 * std::sin(0.1 * f), -10.5 * std::sin(0.05 * f), 0});
      face[iris].x += moved.x, face[iris].y += moved.y, face[iris].z += moved.z;
    }
    Film(take, face, tests::AnyMotion(random));
  }
  const SolvedTake solved = Solve(take, neutral, performer);
  EXPECT_EQ(solved.report.gaze.source, GazeSource::Irises);
  for (std::size_t f = 0; f < 5; ++f)
    for (const auto& [yaw, pitch] : solved.animation.eyes[f]) {
      EXPECT_NEAR(yaw, 0.1 * static_cast<double>(f), 1e-9);
      EXPECT_NEAR(pitch, 0.05 * static_cast<double>(f), 1e-9);
    }
}

TEST(SolveGaze, ABlinkIsCrossedOnAStraightLine) {
  Take take = Looking(30, [](std::size_t f) { return f < 12 ? 0.0 : 0.4; });
  const std::size_t lids[] = {take.FindMarker("LidUpL").value(), take.FindMarker("LidUpR").value()};
  for (std::size_t f = 10; f < 13; ++f) {
    take.gaze[f] = {Direction(0, 0.7), Direction(0, 0.7)}; // what a tracker makes of closed eyes
    for (const std::size_t lid : lids) {
      Point p = *take.At(f, lid);
      p.y -= 8;
      take.Set(f, lid, p);
    }
  }
  Neutral neutral = PlainNeutral();
  neutral.frames = {1};
  const SolvedTake solved = Solve(take, neutral);
  EXPECT_EQ(solved.report.gaze.closed_frames, 3u);
  EXPECT_EQ(solved.report.gaze.filled_frames, 3u);
  EXPECT_EQ(solved.report.gaze.measured_frames, 27u);
  for (std::size_t f = 10; f < 13; ++f) {
    EXPECT_NEAR(solved.animation.eyes[f][0].yaw, 0.1 * static_cast<double>(f - 9), 1e-12);
    EXPECT_NEAR(solved.animation.eyes[f][0].pitch, 0, 1e-12);
  }
}

TEST(SolveGaze, InALongGapTheEyesLookStraightAhead) {
  const Take take = Looking(90, [](std::size_t f) {
    return f >= 30 && f < 60 ? kNowhere : f < 10 ? 0.0 : 0.4;
  });
  Neutral neutral = PlainNeutral();
  neutral.frames = {1};
  const SolvedTake solved = Solve(take, neutral);
  EXPECT_EQ(solved.report.gaze.rest_frames, 30u);
  EXPECT_NEAR(solved.animation.eyes[29][0].yaw, 0.4, 1e-12);
  EXPECT_EQ(solved.animation.eyes[45][0].yaw, 0);
  for (std::size_t f = 30; f < 45; ++f)
    EXPECT_LE(solved.animation.eyes[f][0].yaw, solved.animation.eyes[f - 1][0].yaw);
}

TEST(SolveGaze, AnEyeTurnsBy50DegreesAtMost) {
  const Take take = Looking(20, [](std::size_t f) { return f == 7 ? 1.3 : 0; });
  const SolvedTake solved = Solve(take);
  EXPECT_DOUBLE_EQ(solved.animation.eyes[7][1].yaw, 50 * kDegree);
  EXPECT_EQ(solved.report.gaze.clipped_frames, 1u);
}

TEST(SolveGaze, IsSmoothedOnlyWhenAskedFor) {
  const Take take = Looking(60, [](std::size_t f) { return f % 2 == 0 ? 0.1 : -0.1; });
  const auto jitter = [](const SolvedTake& solved) {
    double most = 0;
    for (std::size_t f = 20; f < 40; ++f)
      most = std::max(most, std::abs(solved.animation.eyes[f][0].yaw - solved.animation.eyes[f - 1][0].yaw));
    return most;
  };
  EXPECT_NEAR(jitter(Solve(take)), 0.2, 1e-12);
  SolveOptions options;
  options.smooth_gaze_hz = 3;
  EXPECT_LT(jitter(Solve(take, PlainNeutral(), PlainPerformer(), options)), 0.01);
}

TEST(SolveGaze, IsLeftOutWithoutASourceAndOnRequest) {
  const SolvedTake without = Solve(Looking(3, [](std::size_t) { return kNowhere; }));
  EXPECT_THAT(without.animation.eyes, testing::IsEmpty());
  EXPECT_EQ(without.report.gaze.source, GazeSource::None);
  SolveOptions options;
  options.gaze = false;
  EXPECT_THAT(Solve(Looking(3, Straight), PlainNeutral(), PlainPerformer(), options).animation.eyes,
              testing::IsEmpty());
}

// A lid follows an eye that looks down: who drives eyeBlink and eyeLookDown lowers it twice.
TEST(SolveGaze, ReportsHowLookingDownLowersTheLids) {
  Take take = EmptyTake();
  take.gaze_axes = GazeAxes::Take;
  for (int f = 0; f < 40; ++f) {
    NeutralPose face = PlainFace();
    if (f >= 20) face["LidUpL"].y -= 2, face["LidUpR"].y -= 2;
    Film(take, face);
    take.gaze.back().left = take.gaze.back().right = Direction(0, f < 20 ? 0 : 0.3);
  }
  Neutral neutral = PlainNeutral();
  neutral.frames = {1};
  const SolvedTake solved = Solve(take, neutral);
  ASSERT_TRUE(solved.report.gaze.lids);
  EXPECT_EQ(solved.report.gaze.lids->down_frames, 20u);
  EXPECT_NEAR(solved.report.gaze.lids->close_straight, 0, 1e-9);
  const auto& names = solved.animation.layout.templates;
  const auto close =
      std::find_if(names.begin(), names.end(), [](const auto& t) { return t.name == "LeftEye.Close"; });
  const double weight = solved.animation.Weight(30, static_cast<std::size_t>(close - names.begin()));
  EXPECT_GT(weight, 0.05);
  EXPECT_NEAR(solved.report.gaze.lids->close_down, weight, 1e-9) << "both lids move alike";
}

TEST(SolveGaze, MovesTheShapesOfACharacter) {
  Take take = Looking(5, [](std::size_t f) { return f == 3 ? 17.5 * kDegree : 0; });
  SolvedTake solved = Solve(take);
  const mien::Character character = mien::LoadCharacter("arkit52");
  SolveCharacter(solved.animation, character);
  const auto weight = [&](const std::string& name) {
    const auto& shapes = solved.animation.layout.shapes;
    const auto shape = std::find(shapes.begin(), shapes.end(), name) - shapes.begin();
    return solved.animation.ShapeWeight(3, static_cast<std::size_t>(shape));
  };
  EXPECT_NEAR(weight("eyeLookOutLeft"), 0.5, 1e-12);
  EXPECT_NEAR(weight("eyeLookInRight"), 0.5, 1e-12);
  for (const char* still : {"eyeLookInLeft", "eyeLookOutRight", "eyeLookUpLeft", "eyeLookDownRight"})
    EXPECT_NEAR(weight(still), 0, 1e-12) << still;
}
