#include "host/solve/solve_take.h"

#include "host/cleaning/low_pass.h"
#include "host/cleaning/rest_in_gaps.h"
#include "host/performer/local_anchors.h"
#include "host/solve/face_solver.h"
#include "host/solve/head_track.h"
#include "tests/host/input_error.h"
#include "tests/host/rigid_face.h"
#include "tests/host/take_along.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>
#include <numbers>
#include <numeric>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

using mien::Animation;
using mien::FaceSolver;
using mien::FillMethod;
using mien::NeutralPose;
using mien::Performer;
using mien::Point;
using mien::SolvedTake;
using mien::SolveOptions;
using mien::SolveReport;
using mien::SolveTake;
using mien::Take;
using testing::Each;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Pair;
using testing::SizeIs;
using tests::EmptyTake;
using tests::Film;
using tests::Hide;
using tests::PlainFace;
using tests::PlainPerformer;

namespace {

// Markers are up to three metres from the room's origin and known to 5e-13 m there. The parts' units are some
// 5 mm and brows divide by their distance from neutral: a weight is known to about 1e-9.
constexpr double kRounding = 1e-8;

const std::vector<std::string> kHead = {"H1", "H2", "H3", "H4", "H5"};
const std::vector<std::string> kMouth = {"CornerL", "CornerR", "LipUp", "LipLow", "Chin"};

/// Five frames with odd numbers and times, a mouth that opens, a head that moves, and gaps.
Take OddTake() {
  tests::Random random(13);
  Take take = EmptyTake();
  for (int f = 0; f < 5; ++f) {
    NeutralPose face = PlainFace();
    face["Chin"].y -= 4 * f, face["LipLow"].y -= 4 * f;
    Film(take, face, tests::AnyMotion(random));
  }
  Hide(take, 2, {"Chin", "H1"});
  Hide(take, 3, {"H1", "H2", "H3"});
  take.frames = {-2, 0, 7, 8, 1000000007};
  take.times = {-0.1, 0, 0.25, 0.3, 4000};
  take.rate = {30000, 1001};
  return take;
}

/// A face that talks, blinks, frowns and smiles without pause, at 100 Hz, on a head that nods and turns.
Take Talk(std::size_t frames) {
  Take take = EmptyTake();
  const auto wave = [](double seconds, double hz) {
    return (1 - std::cos(2 * std::numbers::pi * hz * seconds)) / 2;
  };
  for (std::size_t f = 0; f < frames; ++f) {
    const double t = static_cast<double>(f) / 100;
    NeutralPose face = PlainFace();
    const double jaw = 4 + 10 * wave(t, 1.3);
    face["Chin"].y -= jaw, face["LipLow"].y -= 0.9 * jaw;
    for (const std::string side : {"L", "R"}) {
      face["Corner" + side].y += 0.7 * wave(t, 0.5) - 0.4 * jaw; // an open mouth draws them down
      face["Brow" + side].y += 2.4 * wave(t, 0.7), face["BrowIn" + side].y += 1.8 * wave(t, 0.7);
      face["BrowOut" + side].y += 1.8 * wave(t, 0.7);
      face["LidUp" + side].y -= 3 * wave(t, 0.9);
      face["Cheek" + side].y += 2 * wave(t, 0.5), face["CheekUp" + side].y += 2 * wave(t, 0.5);
      face["Nose" + side].y += wave(t, 0.4);
    }
    Film(take, face,
         tests::Motion(VgeRVector(15 * wave(t, 0.6), 20 * wave(t, 0.35), 5 * wave(t, 0.8)),
                       {30 * wave(t, 0.3), 1500 + 10 * wave(t, 0.7), 200}));
    take.times[f] = t;
  }
  take.rate = {100, 1};
  return take;
}

void HideFor(Take& take, std::size_t first, std::size_t end, const std::vector<std::string>& markers) {
  for (std::size_t f = first; f < end; ++f) Hide(take, f, markers);
}

SolvedTake Solve(const Take& take, const SolveOptions& options = {}) {
  return SolveTake(take, PlainPerformer(), PlainFace(), options);
}

SolveOptions NothingFilled() {
  SolveOptions options;
  options.face_fill.clear(), options.head_fill.clear();
  return options;
}

/// The largest difference of two animations' weights in the frames [first, end).
double Distance(const Animation& a, const Animation& b, std::size_t first, std::size_t end) {
  double most = 0;
  for (std::size_t i = first * a.layout.templates.size(); i < end * a.layout.templates.size(); ++i) {
    const double difference = std::fabs(a.weights[i] - b.weights[i]);
    if (!(difference <= most)) most = difference; // a NaN is kept
  }
  return most;
}

double Distance(const Animation& a, const Animation& b) { return Distance(a, b, 0, a.frames.size()); }

/// The largest step of any weight from one frame to the next.
double LargestStep(const Animation& animation) {
  const std::size_t columns = animation.layout.templates.size();
  double most = 0;
  for (std::size_t i = columns; i < animation.weights.size(); ++i) {
    const double step = std::fabs(animation.weights[i] - animation.weights[i - columns]);
    if (!(step <= most)) most = step;
  }
  return most;
}

double LargestWeight(const Animation& animation) {
  double most = 0;
  for (const double weight : animation.weights) most = std::max(most, std::fabs(weight));
  return most;
}

/// What is performed steps by its own; a weight fades with at most twice the even step.
double LargestStepWithFades(const Animation& seen, std::size_t fade_frames) {
  EXPECT_LT(LargestWeight(seen), 0.999)
      << "where a weight is limited it would have further to go than it shows";
  return LargestStep(seen) + 2 * LargestWeight(seen) / static_cast<double>(fade_frames);
}

double WeightOf(const Animation& animation, std::size_t frame, const std::string& name) {
  for (std::size_t c = 0; c < animation.layout.templates.size(); ++c)
    if (animation.layout.templates[c].name == name) return animation.Weight(frame, c);
  throw std::logic_error("no template " + name);
}

} // namespace

// --- The animation.

TEST(SolveTake, CarriesFramesTimesRateAndTimecodeOver) {
  Take take = OddTake();
  take.timecode = mien::Timecode{1234, {30, 1}, false};
  const Animation animation = Solve(take).animation;
  EXPECT_EQ(animation.frames, take.frames);
  EXPECT_EQ(animation.times, take.times);
  EXPECT_EQ(animation.layout.rate, take.rate);
  EXPECT_EQ(animation.layout.timecode, take.timecode);
  EXPECT_EQ(animation.weights.size(), 5u * 23);
  EXPECT_EQ(animation.heads.size(), 5u);
}

TEST(SolveTake, NamesTakeAndPerformerAndNoCharacter) {
  const Animation animation = Solve(OddTake()).animation;
  EXPECT_EQ(animation.layout.take, "plain take");
  EXPECT_EQ(animation.layout.performer, "plain");
  EXPECT_EQ(animation.layout.character, "");
  EXPECT_TRUE(animation.layout.shapes.empty());
  EXPECT_TRUE(animation.shape_weights.empty());
  EXPECT_TRUE(animation.layout.clusters.empty());
}

TEST(SolveTake, TheHeadMovesFromWhereTheNeutralPoseHasIt) {
  using mien::InverseOfOrthogonalAxes, mien::Product;
  tests::Random random(29);
  const VgeAMatrix place = tests::AnyMotion(random); // of the neutral pose in the take
  const NeutralPose neutral = tests::Carried(place, PlainFace());
  const VgeAMatrix turn =
      tests::Motion(VgeRVector(0, 20, 0), {0, 0, 0}); // of the plain face, to its own left
  Take take = EmptyTake();
  Film(take, neutral);
  Film(take, PlainFace(), Product(place, turn));
  const Animation animation = SolveTake(take, PlainPerformer(), neutral).animation;
  EXPECT_EQ(animation.layout.neutral_head, FaceSolver(PlainPerformer(), neutral).NeutralHead());
  // Metres away, in millimetres: 1e-9 is a picometre.
  EXPECT_LT(tests::Difference(animation.HeadMotion(0), {}), 1e-9);
  const VgeAMatrix upright =
      Product(InverseOfOrthogonalAxes(place), animation.layout.neutral_head); // of the plain face
  const VgeAMatrix expected = Product(InverseOfOrthogonalAxes(upright), Product(turn, upright));
  EXPECT_LT(tests::Difference(animation.HeadMotion(1), expected), 1e-9);
  EXPECT_GT(animation.HeadMotion(1).m[2][0], 0.33) << "its front goes to its left by the sine of 20 degrees";
}

TEST(SolveTake, HeadMotionDoesNotChangeWeights) {
  tests::Random random(6);
  const Take talk = Talk(40);
  Take still = talk, tumbling = talk;
  for (std::size_t f = 0; f < 40; ++f) {
    const VgeAMatrix motion = tests::AnyMotion(random);
    for (std::size_t m = 0; m < talk.MarkerCount(); ++m)
      tumbling.Set(f, m, tests::Carried(motion, *talk.At(f, m)));
  }
  EXPECT_LT(Distance(Solve(tumbling).animation, Solve(still).animation), kRounding);
}

// What the header says is done, done here step by step.
TEST(SolveTake, IsTheStepsThatItIsMadeOf) {
  Take talk = Talk(200);
  HideFor(talk, 30, 40, {"Chin", "H2"}), HideFor(talk, 50, 55, kHead),
      HideFor(talk, 90, 160, {"LipUp", "NoseL"});
  SolveOptions fit, core;
  core.head_fit = mien::HeadFit::Markers, core.brows = mien::BrowMethod::Core;
  for (const auto& [take, options] :
       {std::pair(OddTake(), fit), {OddTake(), core}, {talk, fit}, {talk, core}}) {
    const Performer performer = PlainPerformer();
    FaceSolver solver(performer, PlainFace(), options.brows);
    const mien::HeadSolver head(performer, PlainFace(), solver.NeutralHead());
    const mien::HeadTrack track = TrackHead(take, head, options);
    Take face = Stabilise(take, track, solver.Markers());
    std::vector<std::size_t> all(face.MarkerCount());
    std::iota(all.begin(), all.end(), std::size_t{0});
    FillGaps(face, all, options.face_fill);
    const mien::RestInGaps markers(face, solver.RestPlaces(), options.fade_s);

    const SolvedTake solved = Solve(take, options);
    EXPECT_EQ(solved.animation.heads, track.heads);
    std::vector<Point> places(all.size());
    for (std::size_t f = 0; f < take.FrameCount(); ++f) {
      for (const std::size_t m : all) places[m] = markers.At(f, m);
      const FaceSolver::Frame& frame = solver.Solve(places);
      for (std::size_t c = 0; c < solved.animation.layout.templates.size(); ++c) {
        const auto& [part, slot, name] = solved.animation.layout.templates[c];
        ASSERT_EQ(solved.animation.Weight(f, c), frame.weights.mParts[part].mWeights[slot])
            << f << ' ' << name;
      }
    }
  }
}

TEST(SolveTake, SameTakeSameBits) {
  Take take = Talk(100);
  HideFor(take, 20, 60, {"Chin", "H2"}), HideFor(take, 70, 80, kHead);
  SolveOptions smooth;
  smooth.smooth_positions_hz = 8, smooth.smooth_weights_hz = 8;
  for (const SolveOptions& options : {SolveOptions(), smooth}) {
    const SolvedTake one = Solve(take, options), other = Solve(take, options);
    EXPECT_EQ(one.animation.weights, other.animation.weights);
    EXPECT_EQ(one.animation.heads, other.animation.heads);
  }
}

// Marker sets of the library hold 225; takes may hold any number.
TEST(SolveTake, MarkersThatThePerformerDoesNotUseMakeNoDifference) {
  Take plain = Talk(60);
  HideFor(plain, 20, 24, {"Chin", "H2"}), HideFor(plain, 30, 33, kHead);
  std::vector<std::string> names;
  for (int i = 0; i < 300; ++i) names.push_back("other" + std::to_string(i));
  names.insert(names.end(), plain.markers.rbegin(), plain.markers.rend());
  Take crowded(names);
  crowded.name = plain.name, crowded.rate = plain.rate;
  for (std::size_t f = 0; f < 60; ++f) {
    crowded.AddFrame(plain.frames[f], plain.times[f]);
    for (std::size_t m = 0; m < 300; m += 1 + f % 2) crowded.Set(f, m, {1e4, 0, static_cast<double>(m)});
    for (std::size_t m = 300; m < names.size(); ++m)
      if (const Point* p = plain.At(f, plain.FindMarker(names[m]).value())) crowded.Set(f, m, *p);
  }
  const SolvedTake a = Solve(plain), b = Solve(crowded);
  EXPECT_EQ(a.animation.weights, b.animation.weights);
  EXPECT_EQ(a.animation.heads, b.animation.heads);
}

TEST(SolveTake, TheTakeAsItWasGivenIsLeftAlone) {
  Take take = Talk(50);
  HideFor(take, 20, 24, {"Chin", "H2"});
  take.Set(30, take.FindMarker("H1").value(), {0, 0, 0});
  const Take before = take;
  Solve(take);
  EXPECT_EQ(tests::Changes(take, before), 0u);
}

// --- Gaps.

TEST(SolveTake, WithoutGapsThePlanMakesNoDifference) {
  const Take take = Talk(80);
  const Animation unfilled = Solve(take, NothingFilled()).animation;
  for (const char* plan : {"hold:9", "linear:9", "cubic:9", "pattern:9", "cubic,pattern"}) {
    SolveOptions options;
    options.face_fill = options.head_fill = mien::ParseFillPlan(plan).value();
    options.fade_s = 3;
    const SolvedTake filled = Solve(take, options);
    EXPECT_EQ(filled.animation.weights, unfilled.weights) << plan;
    EXPECT_EQ(filled.animation.heads, unfilled.heads) << plan;
  }
}

TEST(SolveTake, AMarkerThatIsHiddenForAShortTimeIsFilled) {
  const Take whole = Talk(200);
  const Animation seen = Solve(whole).animation;
  for (const std::vector<std::string>& hidden :
       {std::vector<std::string>{"Chin", "LipLow"}, std::vector<std::string>{"BrowL", "LidUpR", "NoseL"}}) {
    Take take = whole;
    HideFor(take, 100, 110, hidden);
    const SolvedTake filled = Solve(take), rested = Solve(take, NothingFilled());
    EXPECT_EQ(Distance(filled.animation, seen, 0, 100), 0) << "before and after nothing changes";
    EXPECT_EQ(Distance(filled.animation, seen, 110, 200), 0);
    // A tenth of a second of waves of up to 1.3 Hz, of which the curve misses some hundredths.
    EXPECT_LT(Distance(filled.animation, seen), 0.05);
    EXPECT_LT(2 * Distance(filled.animation, seen), Distance(rested.animation, seen))
        << "it would sag to rest";
    for (const auto& part : filled.report.parts)
      EXPECT_EQ(part.rest_frames + part.partial_frames, 0u) << part.name;
  }
}

// As docs/cleaning.md says: cubic up to 0.15 s, then pattern up to 0.5 s, and what is longer not even in
// part.
TEST(SolveTake, HowLongAGapIsTellsWhatFillsIt) {
  for (const auto& [frames, method] : {std::pair<std::size_t, FillMethod>(15, FillMethod::Cubic),
                                       {16, FillMethod::Pattern},
                                       {50, FillMethod::Pattern},
                                       {51, FillMethod::None}}) {
    Take take = Talk(100);
    HideFor(take, 20, 20 + frames, {"BrowL"});
    const SolveReport report = Solve(take).report;
    std::array<std::size_t, 5> filled_by{};
    if (method != FillMethod::None) filled_by[static_cast<std::size_t>(method)] = frames;
    for (const auto& fill : report.face_fills)
      if (fill.marker == "BrowL") { EXPECT_EQ(fill.filled_by, filled_by) << frames; }
    EXPECT_EQ(report.parts[1].partial_frames, method == FillMethod::None ? frames : 0) << frames;
  }
}

// In the take's axes the hidden markers would stay behind when the head moves on.
TEST(SolveTake, WhatIsHiddenIsCarriedAlongByTheHead) {
  tests::Random random(9);
  NeutralPose face = PlainFace();
  face["Chin"].y -= 12, face["LipLow"].y -= 11, face["BrowL"].y += 3;
  Take take = EmptyTake();
  for (int f = 0; f < 12; ++f) Film(take, face, tests::AnyMotion(random));
  const Animation seen = Solve(take).animation;
  HideFor(take, 4, 8, {"Chin", "LipLow", "BrowL"}); // 4 of 30 a second
  EXPECT_LT(Distance(Solve(take).animation, seen), kRounding);
}

TEST(SolveTake, APartThatIsHiddenForLongRestsAndNothingJumps) {
  const Take whole = Talk(500);
  Take take = whole;
  HideFor(take, 100, 300, kMouth);
  const Animation seen = Solve(whole).animation;
  for (const double fade_s : {0.25, 0.5}) {
    SolveOptions options;
    options.fade_s = fade_s;
    const SolvedTake solved = Solve(take, options);
    const auto fade = static_cast<std::size_t>(fade_s * 100);
    const std::size_t columns = solved.animation.layout.templates.size();
    for (std::size_t f = 99 + fade; f <= 300 - fade; ++f)
      for (std::size_t c = 0; c < columns; ++c)
        if (solved.animation.layout.templates[c].part == 0) {
          ASSERT_NEAR(solved.animation.Weight(f, c), 0, kRounding) << f;
        } else {
          ASSERT_EQ(solved.animation.Weight(f, c), seen.Weight(f, c)) << "other parts go on: " << f;
        }
    EXPECT_GT(WeightOf(solved.animation, 99, "Mouth.Open"), 0.1);
    EXPECT_GT(WeightOf(solved.animation, 99 + fade / 2, "Mouth.Open"), 0.01) << "half way to rest";
    EXPECT_LT(LargestStep(solved.animation), LargestStepWithFades(seen, fade)) << fade_s;
    EXPECT_LT(Distance(solved.animation, seen, 0, 100), kRounding);
    EXPECT_LT(Distance(solved.animation, seen, 300, 500), kRounding);
  }
}

// At the cameras' usual rates a jump could hide in what is performed. Here a still face loses and finds its
// mouth.
TEST(SolveTake, TheStepsOfAFadeAreAsSmallAsTheFramesAreFine) {
  NeutralPose face = PlainFace();
  face["Chin"].y -= 12, face["LipLow"].y -= 11, face["CornerL"].y += 2;
  const auto step = [&](std::int64_t hz) {
    Take take = EmptyTake();
    take.rate = {hz, 1};
    const auto second = static_cast<std::size_t>(hz);
    for (std::size_t f = 0; f < 3 * second; ++f) {
      Film(take, face);
      take.times[f] = take.rate.Seconds(static_cast<std::int64_t>(f));
      if (f >= second && f < 2 * second) Hide(take, f, kMouth);
    }
    return LargestStep(Solve(take).animation);
  };
  const double coarse = step(50), fine = step(400);
  EXPECT_GT(coarse, 0.01) << "there is something to fade";
  EXPECT_LT(fine, coarse / 6) << "an eighth, but for where it is largest";
}

TEST(SolveTake, BeforeItIsFirstSeenAndAfterItIsLastSeenAPartRests) {
  Take take = Talk(400);
  HideFor(take, 0, 100, kMouth), HideFor(take, 300, 400, kMouth);
  const SolvedTake solved = Solve(take);
  for (const std::size_t f : {0u, 30u, 75u, 324u, 360u, 399u})
    EXPECT_NEAR(WeightOf(solved.animation, f, "Mouth.Open"), 0, kRounding) << f;
  EXPECT_GT(WeightOf(solved.animation, 100, "Mouth.Open"), 0.1);
  EXPECT_LT(LargestStep(solved.animation), LargestStepWithFades(Solve(Talk(400)).animation, 25));
  EXPECT_EQ(solved.report.parts[0].rest_frames, 200u);
}

TEST(SolveTake, AFrameThatWasLostIsFilled) {
  const Take whole = Talk(60);
  Take take = whole;
  HideFor(take, 30, 31, whole.markers);
  const SolvedTake solved = Solve(take);
  EXPECT_LT(Distance(solved.animation, Solve(whole).animation), 0.02);
  EXPECT_LT(tests::Difference(solved.animation.heads[30], Solve(whole).animation.heads[30]), 1);
  EXPECT_EQ(solved.report.frames_without_head, 1u);
  EXPECT_THAT(solved.report.face_fills, SizeIs(PlainPerformer().FaceMarkers().size()));
  for (const auto& fill : solved.report.face_fills) {
    EXPECT_EQ(fill.gap_frames, 1u) << fill.marker;
    EXPECT_EQ(fill.FilledFrames(), 1u) << fill.marker;
  }
}

TEST(SolveTake, ATakeThatNeverShowsTheFaceIsNeutral) {
  Take take = EmptyTake();
  for (int f = 0; f < 3; ++f) take.AddFrame(f, f / 30.0);
  const SolvedTake solved = Solve(take);
  EXPECT_THAT(solved.animation.weights, SizeIs(3u * 23));
  EXPECT_THAT(solved.animation.weights, Each(testing::DoubleNear(0, kRounding)));
  EXPECT_THAT(solved.animation.heads, Each(solved.animation.layout.neutral_head));
  EXPECT_EQ(solved.report.frames_without_head, 3u);
  for (const auto& part : solved.report.parts) EXPECT_EQ(part.rest_frames, 3u) << part.name;
  EXPECT_THAT(solved.report.worst_frames, IsEmpty()) << "at rest there is nothing to tell";
}

TEST(SolveTake, WithoutAHeadInSightTheFaceRests) {
  Take take = Talk(300);
  HideFor(take, 100, 200, kHead);
  const SolvedTake solved = Solve(take);
  EXPECT_EQ(solved.report.frames_without_head, 100u);
  EXPECT_NEAR(WeightOf(solved.animation, 150, "Mouth.Open"), 0, kRounding);
  for (const auto& part : solved.report.parts) EXPECT_EQ(part.rest_frames, 100u) << part.name;
  EXPECT_LT(LargestStep(solved.animation), LargestStepWithFades(Solve(Talk(300)).animation, 25));
}

TEST(SolveTake, ASlippedHeadMarkerDoesNotShowInTheFace) {
  const Take whole = Talk(60);
  Take take = whole;
  const std::size_t h2 = take.FindMarker("H2").value();
  for (std::size_t f = 20; f < 40; ++f) {
    const Point p = *take.At(f, h2);
    take.Set(f, h2, {p.x, p.y + 25, p.z});
  }
  const SolvedTake solved = Solve(take);
  EXPECT_LT(Distance(solved.animation, Solve(whole).animation), kRounding);
  ASSERT_THAT(solved.report.slipped.markers, SizeIs(1));
  EXPECT_EQ(solved.report.slipped.markers[0].marker, "H2");
  EXPECT_EQ(solved.report.slipped.markers[0].frames, 20u);
  SolveOptions trusting;
  trusting.head_tolerance_mm.reset();
  EXPECT_GT(Distance(Solve(take, trusting).animation, Solve(whole).animation), 0.05);
}

// --- Smoothing.

TEST(SolveTake, SmoothedWeightsAreTheWeightsThroughTheFilter) {
  Take take = Talk(120);
  for (std::size_t f = 70; f < 120; ++f) take.frames[f] += 1, take.times[f] += 0.01; // one was dropped
  SolveOptions options;
  const Animation raw = Solve(take, options).animation;
  options.smooth_weights_hz = 4;
  const Animation smooth = Solve(take, options).animation;
  EXPECT_EQ(smooth.heads, raw.heads);
  mien::LowPass filter(4, take.rate);
  const std::size_t columns = raw.layout.templates.size();
  for (std::size_t c = 0; c < columns; ++c)
    for (const auto& [first, end] : {std::pair<std::size_t, std::size_t>(0, 70), {70, 120}}) {
      std::vector<double> values;
      for (std::size_t f = first; f < end; ++f) values.push_back(raw.Weight(f, c));
      filter.Filter(values);
      for (std::size_t f = first; f < end; ++f)
        ASSERT_EQ(smooth.Weight(f, c), values[f - first]) << raw.layout.templates[c].name << ' ' << f;
    }
}

TEST(SolveTake, SmoothedPositionsMakeQuieterWeightsOfTheSameFace) {
  tests::Random random(91);
  const Take clean = Talk(200);
  Take noisy = clean;
  for (std::size_t f = 0; f < 200; ++f)
    for (std::size_t m = 0; m < clean.MarkerCount(); ++m) {
      const Point& p = *clean.At(f, m);
      noisy.Set(f, m,
                {p.x + random.Between(-0.3, 0.3), p.y + random.Between(-0.3, 0.3),
                 p.z + random.Between(-0.3, 0.3)});
    }
  SolveOptions smooth;
  smooth.smooth_positions_hz = 6;
  const Animation wanted = Solve(clean).animation;
  const auto error = [&](const Animation& of) {
    double sum = 0;
    for (std::size_t i = 0; i < of.weights.size(); ++i) sum += std::pow(of.weights[i] - wanted.weights[i], 2);
    return std::sqrt(sum / static_cast<double>(of.weights.size()));
  };
  // White noise up to 50 Hz, of which 6 are left: an eighth of its power, a third of its size.
  EXPECT_LT(error(Solve(noisy, smooth).animation), 0.5 * error(Solve(noisy).animation));
}

TEST(SolveTake, SmoothingAFaceThatStandsStillChangesNothing) {
  NeutralPose face = PlainFace();
  face["Chin"].y -= 12, face["LipLow"].y -= 11;
  Take take = EmptyTake();
  for (int f = 0; f < 40; ++f) Film(take, face, tests::Motion({}, {0, 0, 300}));
  SolveOptions smooth;
  smooth.smooth_positions_hz = 6, smooth.smooth_weights_hz = 6;
  EXPECT_LT(Distance(Solve(take, smooth).animation, Solve(take).animation), kRounding);
}

// --- The report.

TEST(SolveReport, CountsWhatWasDone) {
  Take take = Talk(200);
  HideFor(take, 20, 30, {"Chin"});       // filled by Cubic
  HideFor(take, 50, 90, {"BrowL"});      // by Pattern
  HideFor(take, 100, 180, kMouth);       // not filled
  HideFor(take, 110, 180, {"CheekUpL"}); // one of two
  HideFor(take, 90, 95, {"H3"});
  const SolveReport report = Solve(take).report;
  EXPECT_EQ(report.frames, 200u);
  EXPECT_TRUE(report.head_motion_removed);
  EXPECT_EQ(report.frames_without_head, 0u);
  EXPECT_THAT(report.left_out, IsEmpty());
  EXPECT_THAT(report.RestingParts(), IsEmpty());

  const auto fill_of = [](const std::vector<mien::FilledMarker>& fills, const std::string& marker) {
    for (const auto& fill : fills)
      if (fill.marker == marker) return fill;
    throw std::logic_error("no " + marker);
  };
  EXPECT_THAT(report.head_fills, SizeIs(5));
  EXPECT_EQ(fill_of(report.head_fills, "H3").filled_by[static_cast<std::size_t>(FillMethod::Pattern)], 5u);
  EXPECT_EQ(fill_of(report.head_fills, "H1").gaps, 0u);
  std::vector<std::string> markers;
  for (const auto& fill : report.face_fills) markers.push_back(fill.marker);
  EXPECT_EQ(markers, PlainPerformer().FaceMarkers());
  const mien::FilledMarker chin = fill_of(report.face_fills, "Chin"),
                           brow = fill_of(report.face_fills, "BrowL");
  EXPECT_EQ(chin.gaps, 2u);
  EXPECT_EQ(chin.gap_frames, 90u);
  EXPECT_EQ(chin.longest_gap, 80u);
  EXPECT_THAT(chin.filled_by, ElementsAre(0, 0, 0, 10, 0));
  EXPECT_THAT(brow.filled_by, ElementsAre(0, 0, 0, 0, 40));

  const std::vector<std::string> names = {"Mouth",     "LeftBrow",   "RightBrow",   "LeftEye",     "RightEye",
                                          "LeftCheek", "RightCheek", "LeftNostril", "RightNostril"};
  const std::size_t counts[] = {5, 3, 3, 2, 2, 2, 2, 1, 1};
  for (std::size_t p = 0; p < 9; ++p) {
    EXPECT_EQ(report.parts[p].name, names[p]);
    EXPECT_EQ(report.parts[p].markers, counts[p]) << names[p];
    EXPECT_EQ(report.parts[p].rest_frames, p == 0 ? 80u : 0u) << names[p];
    EXPECT_EQ(report.parts[p].partial_frames, p == 5 ? 70u : 0u) << names[p];
  }
}

TEST(SolveReport, NamesWhatThePerformerAndTheNeutralPoseLack) {
  Performer performer = PlainPerformer();
  performer.holders[5] = performer.holders[6] = {};
  NeutralPose neutral = PlainFace();
  neutral.erase("NoseL"), neutral.erase("H2"), neutral.erase("BrowOutL");
  const SolveReport report = SolveTake(Talk(20), performer, neutral).report;
  EXPECT_THAT(report.RestingParts(), ElementsAre("LeftCheek", "RightCheek", "LeftNostril"));
  EXPECT_THAT(report.left_out, testing::UnorderedElementsAre("NoseL", "H2", "BrowOutL"));
  EXPECT_TRUE(report.head_motion_removed);
  for (const std::size_t p : {5u, 6u, 7u}) {
    EXPECT_EQ(report.parts[p].markers, 0u);
    EXPECT_EQ(report.parts[p].rest_frames, 0u) << "it has no markers to be gaps";
    EXPECT_EQ(report.parts[p].worst_mm, 0);
  }
}

TEST(SolveReport, SaysWhereTheHeadsMotionWasNotRemoved) {
  Performer performer = PlainPerformer();
  performer.head = {"H1", "H2"};
  const SolvedTake solved = SolveTake(Talk(10), performer, PlainFace());
  EXPECT_FALSE(solved.report.head_motion_removed);
  EXPECT_EQ(solved.report.frames_without_head, 0u);
  EXPECT_THAT(solved.animation.heads, Each(solved.animation.layout.neutral_head));
}

TEST(SolveReport, ANeutralTakeLeavesNoResidual) {
  tests::Random random(92);
  Take take = EmptyTake();
  for (int f = 0; f < 15; ++f) Film(take, PlainFace(), tests::AnyMotion(random));
  const SolveReport report = Solve(take).report;
  for (const auto& part : report.parts) {
    EXPECT_NEAR(part.rms_mm, 0, kRounding) << part.name;
    EXPECT_NEAR(part.worst_mm, 0, kRounding) << part.name;
  }
  for (const auto& frame : report.worst_frames) EXPECT_NEAR(frame.residual_mm, 0, kRounding);
}

// The left wing of the nose goes sideways, which no template makes: all of it is left over.
TEST(SolveReport, ResidualsAreMeasuredOverAllFramesAndTheWorstAreNamed) {
  std::vector<double> off(25);
  for (std::size_t f = 0; f < 25; ++f)
    off[f] = static_cast<double>((7 * f) % 25) / 10; // 0 to 2.4 mm, in no order
  Take take = EmptyTake();
  for (const double x : off) {
    NeutralPose face = PlainFace();
    face["NoseL"].x += x;
    take.times[Film(take, face)] = static_cast<double>(take.FrameCount()); // moments of their own
  }
  const SolveReport report = Solve(take).report;
  const SolveReport::Part& nostril = report.parts[7];
  double squares = 0;
  for (const double x : off) squares += x * x;
  EXPECT_NEAR(nostril.rms_mm, std::sqrt(squares / 25), kRounding);
  EXPECT_NEAR(nostril.worst_mm, 2.4, kRounding);
  EXPECT_EQ(off[nostril.worst_frame], 2.4);
  EXPECT_NEAR(report.parts[8].worst_mm, 0, kRounding);
  ASSERT_THAT(report.worst_frames, SizeIs(10)) << "at most ten";
  for (std::size_t i = 0; i < 10; ++i) {
    EXPECT_NEAR(report.worst_frames[i].residual_mm, 2.4 - 0.1 * static_cast<double>(i), kRounding);
    EXPECT_EQ(report.worst_frames[i].part, 7u);
    EXPECT_NEAR(off[report.worst_frames[i].frame], report.worst_frames[i].residual_mm, kRounding);
  }
}

TEST(SolveReport, OfOneMomentOnlyTheWorstFrameIsNamed) {
  Take take = EmptyTake();
  take.rate = {100, 1};
  for (int f = 0; f < 300; ++f) { // worst in the middle of each second
    NeutralPose face = PlainFace();
    face["NoseL"].x += 5 - std::abs(f % 100 - 50) / 10.0 + f / 1000.0;
    take.times[Film(take, face)] = f / 100.0;
  }
  const SolveReport report = Solve(take).report;
  ASSERT_GE(report.worst_frames.size(), 3u);
  for (const std::size_t i : {0u, 1u, 2u}) EXPECT_EQ(report.worst_frames[i].frame, 250 - 100 * i);
  for (std::size_t i = 0; i < report.worst_frames.size(); ++i)
    for (std::size_t j = 0; j < i; ++j)
      EXPECT_GE(std::abs(take.times[report.worst_frames[i].frame] - take.times[report.worst_frames[j].frame]),
                0.5);
}

// Six frames a quarter of a second apart, each worse than the one before: of two that are half a second apart
// both are named, of two that are nearer only the worse.
TEST(SolveReport, FramesHalfASecondApartAreMomentsOfTheirOwn) {
  Take take = EmptyTake();
  take.rate = {4, 1};
  for (int f = 0; f < 6; ++f) {
    NeutralPose face = PlainFace();
    face["NoseL"].x += 1 + f;
    take.times[Film(take, face)] = f / 4.0;
  }
  const auto named = [&] {
    std::vector<std::size_t> frames;
    for (const SolveReport::Frame& worst : Solve(take).report.worst_frames) frames.push_back(worst.frame);
    return frames;
  };
  EXPECT_THAT(named(), ElementsAre(5, 3, 1));
  take.times[5] -= 1 / 1024.0;
  EXPECT_THAT(named(), ElementsAre(5, 2, 0));
}

// The same frame again and again, to the bit.
TEST(SolveReport, OfEquallyBadFramesTheFirstAreNamed) {
  NeutralPose face = PlainFace();
  face["NoseL"].x += 3;
  Take take = EmptyTake();
  for (int f = 0; f < 40; ++f) take.times[Film(take, face)] = f;
  const SolveReport report = Solve(take).report;
  ASSERT_THAT(report.worst_frames, SizeIs(10));
  for (std::size_t i = 0; i < 10; ++i) EXPECT_EQ(report.worst_frames[i].frame, i);
  EXPECT_EQ(report.parts[7].worst_frame, 0u);
}

TEST(SolveReport, FramesAtRestDoNotMakeTheResidualSmaller) {
  Take take = EmptyTake();
  for (int f = 0; f < 100; ++f) {
    NeutralPose face = PlainFace();
    face["NoseL"].x += 2;
    Film(take, face);
    if (f >= 20) Hide(take, static_cast<std::size_t>(f), {"NoseL"});
  }
  const SolveReport report = Solve(take).report;
  EXPECT_EQ(report.parts[7].rest_frames, 80u);
  EXPECT_NEAR(report.parts[7].rms_mm, 2, kRounding);
}

TEST(SolveReport, EachFramesQualityIsKeptWhereAskedFor) {
  Take take = EmptyTake();
  for (int f = 0; f < 100; ++f) {
    NeutralPose face = PlainFace();
    face["NoseL"].x += f / 100.0;
    Film(take, face);
    if (f >= 20 && f < 40) Hide(take, static_cast<std::size_t>(f), {"NoseL"}); // too long to be filled
    if (f == 50) Hide(take, static_cast<std::size_t>(f), {"NoseR"});
  }
  EXPECT_THAT(Solve(take).report.per_frame, IsEmpty());
  mien::SolveOptions options;
  options.keep_frames = true;
  const mien::SolvedTake solved = Solve(take, options);
  const SolveReport& report = solved.report;
  ASSERT_THAT(report.per_frame, SizeIs(100));
  double squares = 0;
  for (std::size_t f = 0; f < 100; ++f) {
    const SolveReport::FrameQuality& frame = report.per_frame[f];
    EXPECT_EQ(std::isnan(frame.residual_mm[7]), f >= 20 && f < 40) << f;
    if (!std::isnan(frame.residual_mm[7])) squares += frame.residual_mm[7] * frame.residual_mm[7];
    EXPECT_EQ(frame.filled_markers, f == 50 ? 1u : 0u) << f;
    EXPECT_EQ(frame.head_known, solved.head_known[f]);
  }
  EXPECT_EQ(std::sqrt(squares / 80), report.parts[7].rms_mm);
  EXPECT_EQ(solved.animation.weights, Solve(take).animation.weights);
}

TEST(SolveReport, AFrameIsAsBadAsItsWorstPart) {
  Take take = EmptyTake();
  for (int f = 0; f < 3; ++f) {
    NeutralPose face = PlainFace();
    face["NoseL"].x += f, face["NoseR"].x -= 3 - 2 * f;
    take.times[Film(take, face)] = f;
  }
  const SolveReport report = Solve(take).report;
  ASSERT_THAT(report.worst_frames, SizeIs(3));
  const std::pair<std::size_t, std::size_t> expected[] = {{0, 8}, {2, 7}, {1, 0}}; // frames and parts
  const double residuals[] = {3, 2, 1};
  for (std::size_t i = 0; i < 3; ++i) {
    EXPECT_EQ(report.worst_frames[i].frame, expected[i].first) << i;
    EXPECT_NEAR(report.worst_frames[i].residual_mm, residuals[i], kRounding) << i;
    if (i < 2) { EXPECT_EQ(report.worst_frames[i].part, expected[i].second) << i; }
  }
}

// --- With a rigid head.

namespace {

/// Talk on a face with rigid markers beside the eyes, all of which tremble by up to so much. A tracker that
/// loses the left eye's depth shifts all that is there by up to 2 mm, as the head turns.
Take RigidTalk(std::size_t frames, double noise, double shift) {
  tests::Random random(93);
  const Take talk = Talk(frames);
  Take take = tests::EmptyRigidTake();
  take.rate = talk.rate;
  for (std::size_t f = 0; f < frames; ++f) {
    const double t = static_cast<double>(f) / 100;
    NeutralPose face = tests::RigidFace();
    face["Chin"].y -= 8 * std::fabs(std::sin(4 * t));
    face["LidUpL"].y -= f % 200 < 15 ? 5 : 0, face["LidUpR"].y -= f % 200 < 15 ? 5 : 0;
    for (const char* name : {"EyeInL", "EyeOutL", "LidUpL", "LidLowL"})
      face[name].y += shift * std::sin(2.2 * t);
    for (auto& [name, p] : face)
      for (double* axis : {&p.x, &p.y, &p.z}) *axis += random.Between(-noise, noise);
    Film(take, face, tests::Motion({5 * std::sin(t), 15 * std::sin(0.8 * t), 0}, {20 * t, 1500, 200}));
    take.times[f] = t;
  }
  return take;
}

mien::RigidHead LearnedFrom(const Take& take) {
  return LearnRigidHead(take, tests::RigidPerformer()).value();
}

SolvedTake SolveRigid(const Take& take, const Performer& performer = tests::RigidPerformer()) {
  const mien::RigidHead rigid = LearnedFrom(take);
  return SolveTake(take, performer, tests::RigidFace(), {}, &rigid);
}

} // namespace

TEST(SolveTake, ByARigidHeadHeadMotionDoesNotChangeWeights) {
  tests::Random random(94);
  Take still = tests::EmptyRigidTake(), tumbling = tests::EmptyRigidTake();
  for (int f = 0; f < 40; ++f) {
    NeutralPose face = tests::RigidFace();
    face["Chin"].y -= f % 7, face["LidUpL"].y -= f % 5, face["BrowR"].y += f % 3;
    Film(still, face), Film(tumbling, face, tests::AnyMotion(random));
  }
  EXPECT_LT(Distance(SolveRigid(tumbling).animation, SolveRigid(still).animation), 1e-6);
  // Of an exact head the head markers tell as much.
  EXPECT_LT(Distance(SolveRigid(tumbling).animation,
                     SolveTake(tumbling, tests::RigidPerformer(), tests::RigidFace()).animation),
            1e-6);
}

TEST(SolveTake, AnEyeThatIsShiftedWithItsCornersDoesNotSeemToCloseOrOpen) {
  const Take take = RigidTalk(600, 0.05, 2);
  Performer performer = tests::RigidPerformer();
  performer.anchors[3] = {"EyeInL", "EyeOutL"};
  const Animation truth = SolveRigid(RigidTalk(600, 0.05, 0), performer).animation,
                  anchored = SolveRigid(take, performer).animation,
                  by_markers = SolveTake(take, performer, tests::RigidFace()).animation;
  const auto worst = [&](const Animation& animation, const std::string& name) {
    double most = 0;
    for (std::size_t f = 0; f < 600; ++f)
      most = std::max(most, std::fabs(WeightOf(animation, f, name) - WeightOf(truth, f, name)));
    return most;
  };
  EXPECT_GT(worst(by_markers, "LeftEye.Close"), 0.2);
  EXPECT_LT(worst(anchored, "LeftEye.Close"), 0.05);
  EXPECT_LT(worst(anchored, "RightEye.Close"), 0.05);
}

// What the header says is done, done here step by step.
TEST(SolveTake, ByARigidHeadIsTheStepsThatItIsMadeOf) {
  Take take = RigidTalk(200, 0.3, 1);
  HideFor(take, 30, 40, {"Chin", "EyeInL"}), HideFor(take, 50, 55, LearnedFrom(take).markers),
      HideFor(take, 90, 160, {"LipUp", "LidUpL", "EyeOutR"});
  const Performer performer = tests::RigidPerformer();
  const NeutralPose neutral = tests::RigidFace();
  const mien::RigidHead rigid = LearnedFrom(take);
  const SolveOptions options;
  FaceSolver solver(performer, neutral);
  const mien::HeadSolver head(performer, neutral, solver.NeutralHead(), &rigid);
  const mien::HeadTrack track = TrackHead(take, head, options);
  Take face = Stabilise(take, track, solver.Markers());
  const VgeAMatrix to_head = mien::InverseOfOrthogonalAxes(solver.NeutralHead());
  std::vector<std::vector<std::string>> anchored;
  for (const std::size_t part : {1u, 2u, 3u, 4u}) {
    anchored.push_back(AnchorsOf(part, performer, neutral, rigid));
    std::vector<Point> rest;
    for (const std::string& name : anchored.back()) rest.push_back(tests::Carried(to_head, neutral.at(name)));
    const mien::LocalAnchors local(Stabilise(take, track, anchored.back()), rest);
    for (std::size_t f = 0; f < 200; ++f)
      for (const std::size_t m : solver.MarkersOf(part))
        if (const Point* const p = face.At(f, m)) face.Set(f, m, local.Measure(*p, f));
  }
  std::vector<std::size_t> all(face.MarkerCount());
  std::iota(all.begin(), all.end(), std::size_t{0});
  FillGaps(face, all, options.face_fill);
  const mien::RestInGaps markers(face, solver.RestPlaces(), options.fade_s);

  const SolvedTake solved = SolveTake(take, performer, neutral, options, &rigid);
  EXPECT_EQ(solved.animation.heads, track.heads);
  ASSERT_EQ(solved.report.anchored.size(), 4u);
  for (std::size_t i = 0; i < 4; ++i) {
    EXPECT_EQ(solved.report.anchored[i].part, i + 1);
    EXPECT_EQ(solved.report.anchored[i].anchors, anchored[i]);
  }
  std::vector<Point> places(all.size());
  for (std::size_t f = 0; f < take.FrameCount(); ++f) {
    for (const std::size_t m : all) places[m] = markers.At(f, m);
    const FaceSolver::Frame& frame = solver.Solve(places);
    for (std::size_t c = 0; c < solved.animation.layout.templates.size(); ++c) {
      const auto& [part, slot, name] = solved.animation.layout.templates[c];
      ASSERT_EQ(solved.animation.Weight(f, c), frame.weights.mParts[part].mWeights[slot]) << f << ' ' << name;
    }
  }
}

TEST(SolveTake, ByARigidHeadTheSameTakeGivesTheSameBits) {
  Take take = RigidTalk(100, 0.3, 1);
  HideFor(take, 20, 60, {"Chin", "H2", "EyeInL"}), HideFor(take, 70, 80, LearnedFrom(take).markers);
  const SolvedTake one = SolveRigid(take), other = SolveRigid(take);
  EXPECT_EQ(one.animation.weights, other.animation.weights);
  EXPECT_EQ(one.animation.heads, other.animation.heads);
}

TEST(SolveReport, TellsWhatTheHeadWasFoundFromAndWhatWasAnchored) {
  const Take take = RigidTalk(300, 0.3, 1);
  const mien::RigidHead rigid = LearnedFrom(take);
  const SolveReport report = SolveTake(take, tests::RigidPerformer(), tests::RigidFace(), {}, &rigid).report;
  ASSERT_EQ(report.rigid.size(), rigid.markers.size());
  for (std::size_t m = 0; m < rigid.markers.size(); ++m) {
    EXPECT_EQ(report.rigid[m].marker, rigid.markers[m]);
    EXPECT_EQ(report.rigid[m].spread_mm, rigid.body.spread_mm[m]);
  }
  EXPECT_GT(report.head_calmed, 0.5);
  EXPECT_LE(report.head_calmed, 1);
  ASSERT_EQ(report.anchored.size(), 4u);
  const auto& left_eye = report.anchored[2];
  EXPECT_THAT(left_eye.anchors, ElementsAre("EyeInL", "EyeOutL", "Root"));
  EXPECT_GT(left_eye.gain[1], 0.5) << "the height that is shifted";
  for (const auto& part : report.anchored)
    for (const double gain : part.gain) {
      EXPECT_GE(gain, 0);
      EXPECT_LE(gain, 1);
    }
  const SolveReport by_markers = SolveTake(take, tests::RigidPerformer(), tests::RigidFace()).report;
  EXPECT_THAT(by_markers.rigid, IsEmpty());
  EXPECT_THAT(by_markers.anchored, IsEmpty());
  EXPECT_EQ(by_markers.head_calmed, 0);
}

// A pose that was kept without the rigid markers, so that the fit has no place for them: as without.
TEST(SolveTake, ARigidHeadThatTheNeutralPoseLacksIsNoHead) {
  const Take take = RigidTalk(100, 0.3, 1);
  Performer performer = tests::RigidPerformer();
  performer.rigid = tests::RigidNames();
  const mien::RigidHead rigid = LearnRigidHead(take, performer).value();
  const SolvedTake solved = SolveTake(take, performer, PlainFace(), {}, &rigid);
  const SolvedTake by_markers = SolveTake(take, performer, PlainFace());
  EXPECT_EQ(solved.animation.weights, by_markers.animation.weights);
  EXPECT_EQ(solved.animation.heads, by_markers.animation.heads);
  EXPECT_THAT(solved.report.rigid, IsEmpty());
  EXPECT_THAT(solved.report.anchored, IsEmpty());
}

// --- What is judged; tests/host/solve/quality.cpp has each flag and grade.

TEST(SolveReport, NeitherTalkNorGapsAreFlagged) {
  Take take = Talk(500);
  EXPECT_THAT(Solve(take).report.quality.flags, IsEmpty());
  HideFor(take, 100, 300, kMouth), HideFor(take, 350, 380, kHead);
  SolveOptions options;
  for (const double fade_s : {0.25, 0.0}) {
    options.fade_s = fade_s;
    EXPECT_THAT(Solve(take, options).report.quality.flags, IsEmpty()) << fade_s;
  }
}

// A head that is taken as still carries one side's markers to the other side's places as it turns.
TEST(SolveReport, MarkersAreNotMislabelledWhereTheHeadIsNotFound) {
  Performer performer = PlainPerformer();
  performer.head = {"H1", "H2"};
  Take take = EmptyTake();
  for (int f = 0; f < 30; ++f) Film(take, PlainFace(), tests::Motion({}, {-32, 0, 0}));
  EXPECT_THAT(SolveTake(take, performer, PlainFace()).report.quality.flags,
              Each(testing::Field(&mien::QualityFlag::kind, mien::FlagKind::Limit)));
}

TEST(SolveReport, SwappedLidsAreFlaggedHoweverTheWeightsAreSmoothed) {
  Take take = Talk(300);
  const std::size_t left = take.FindMarker("LidUpL").value(), right = take.FindMarker("LidUpR").value();
  for (std::size_t f = 100; f < 168; ++f) {
    const Point l = *take.At(f, left), r = *take.At(f, right);
    take.Set(f, left, r), take.Set(f, right, l);
  }
  SolveOptions smooth;
  smooth.smooth_weights_hz = 6;
  for (const SolveOptions& options : {SolveOptions(), smooth}) {
    const mien::QualityFlags flags = Solve(take, options).report.quality.flags;
    ASSERT_THAT(flags, SizeIs(1));
    EXPECT_EQ(flags[0].kind, mien::FlagKind::Swap);
    EXPECT_THAT(flags[0].markers, ElementsAre("LidUpL", "LidUpR"));
    EXPECT_EQ(flags[0].first, 100u);
    EXPECT_EQ(flags[0].last, 167u);
  }
}

// Smoothed, a jump takes some frames and a limit is over- and undershot.
TEST(SolveReport, WeightsAreJudgedAsTheyWereSolved) {
  NeutralPose shut = PlainFace(), sneer = PlainFace();
  shut["LidUpL"].y -= 8, sneer["NoseL"].y += 20;
  Take take = EmptyTake();
  for (int f = 0; f < 60; ++f) Film(take, f < 30 ? PlainFace() : shut);
  for (int f = 60; f < 80; ++f) Film(take, sneer);
  for (std::size_t f = 0; f < 80; ++f) take.times[f] = static_cast<double>(f) / 30;
  SolveOptions smooth;
  smooth.smooth_weights_hz = 6;
  const SolvedTake plain = Solve(take), smoothed = Solve(take, smooth);
  EXPECT_NE(smoothed.animation.weights, plain.animation.weights);
  EXPECT_EQ(smoothed.report.quality.flags, plain.report.quality.flags);
  std::vector<std::pair<std::string, std::size_t>> flags;
  for (const mien::QualityFlag& flag : plain.report.quality.flags)
    flags.emplace_back(flag.weight, flag.first);
  EXPECT_THAT(flags, testing::IsSupersetOf({Pair("LeftEye.Close", 29), Pair("LeftNostril.Up", 60)}));
}

TEST(SolveReport, GradesAreOfTheResiduals) {
  Take take = EmptyTake();
  NeutralPose face = PlainFace();
  face["NoseL"].x += 3; // all of it left over
  for (int f = 0; f < 3; ++f) Film(take, face);
  const SolveReport report = Solve(take).report;
  const double corners_mm = report.quality.eye_corners_mm.value();
  EXPECT_NEAR(corners_mm, 1.35 * 32, kRounding);
  EXPECT_NEAR(report.quality.share[7].value(), 3 / corners_mm, kRounding);
  EXPECT_EQ(report.quality.grades[7], mien::Grade::Fair);
  EXPECT_EQ(report.quality.grades[8], mien::Grade::Good);
  EXPECT_EQ(report.quality.grade, mien::Grade::Fair);
}

// Readers leave such positions out; whoever makes takes otherwise gets an error, and never a report of inf
// mm.
TEST(SolveReport, LengthsThatAreNoneAreErrors) {
  for (const auto& [marker, what] : {std::pair("NoseR", "RightNostril"), std::pair("H4", "H4")})
    for (const double far : {1e155, -1e155, 1e10}) {
      Take take = Talk(20);
      take.file = "far.csv";
      take.Set(7, take.FindMarker(marker).value(), {0, 0, far});
      EXPECT_EQ(InputErrorOf([&] { Solve(take); }), std::string("far.csv:frame 8: ") + what +
                                                        " is off by a thousand kilometres or more; check the "
                                                        "unit of the take's positions, and the neutral pose");
    }
  Take take = Talk(20);
  take.Set(7, take.FindMarker("NoseR").value(), {0, 0, 1e6});
  EXPECT_LT(Solve(take).report.parts[8].worst_mm, 1e7) << "a kilometre is a length";
}

// --- Progress and little takes.

TEST(SolveTake, TellsProgressBeforeEachFrame) {
  std::vector<std::pair<std::size_t, std::size_t>> told;
  SolveTake(OddTake(), PlainPerformer(), PlainFace(), {}, nullptr,
            [&](std::size_t done, std::size_t total) { told.emplace_back(done, total); });
  EXPECT_THAT(told, ElementsAre(Pair(0, 5), Pair(1, 5), Pair(2, 5), Pair(3, 5), Pair(4, 5)));
}

// Leaks would show under AddressSanitizer.
TEST(SolveTake, ProgressMayThrowToBreakOff) {
  int calls = 0;
  EXPECT_THROW(SolveTake(OddTake(), PlainPerformer(), PlainFace(), {}, nullptr,
                         [&](std::size_t done, std::size_t) {
                           ++calls;
                           if (done == 2) throw std::runtime_error("enough");
                         }),
               std::runtime_error);
  EXPECT_EQ(calls, 3);
}

TEST(SolveTake, ATakeWithoutFramesIsAnAnimationWithoutFrames) {
  SolveOptions smooth;
  smooth.smooth_positions_hz = 6, smooth.smooth_weights_hz = 6;
  for (const SolveOptions& options : {SolveOptions(), smooth}) {
    const SolvedTake solved = Solve(EmptyTake(), options);
    EXPECT_TRUE(solved.animation.frames.empty());
    EXPECT_TRUE(solved.animation.weights.empty());
    EXPECT_EQ(solved.report.frames, 0u);
    EXPECT_EQ(solved.report.parts[0].rms_mm, 0);
    EXPECT_THAT(solved.report.worst_frames, IsEmpty());
  }
}

TEST(SolveTake, OneFrameIsATake) {
  const Take talk = Talk(1);
  SolveOptions smooth;
  smooth.smooth_positions_hz = 6, smooth.smooth_weights_hz = 6;
  const Animation one = Solve(talk, smooth).animation;
  EXPECT_EQ(one.weights, Solve(talk).animation.weights);
  EXPECT_GT(WeightOf(one, 0, "Mouth.Open"), 0.05);
  Take hidden = talk;
  Hide(hidden, 0, kMouth);
  EXPECT_NEAR(WeightOf(Solve(hidden).animation, 0, "Mouth.Open"), 0, kRounding);
}

TEST(SolveTake, NeedsAFaceThatTellsWhereItLooks) {
  Performer performer = PlainPerformer();
  for (std::size_t p = 1; p < 9; ++p) performer.holders[p] = {};
  EXPECT_THAT(InputErrorOf([&] { SolveTake(EmptyTake(), performer, PlainFace()); }),
              HasSubstr("plain.json:/parts"));
}
