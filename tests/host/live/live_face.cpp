#include "host/live/live_face.h"

#include "host/character/character_file.h"
#include "host/live/solve_causally.h"
#include "host/solve/solve_character.h"
#include "host/solve/solve_take.h"
#include "tests/failing_heap.h"
#include "tests/host/input_error.h"
#include "tests/host/rigid_face.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <memory>
#include <string>
#include <vector>

using mien::Animation;
using mien::CausallySolved;
using mien::LiveFace;
using mien::LiveInput;
using mien::LiveKind;
using mien::LiveOutput;
using mien::LiveSetup;
using mien::NeutralPose;
using mien::Performer;
using mien::Take;
using testing::HasSubstr;
using tests::EmptyTake;
using tests::Film;
using tests::Hide;
using tests::PlainFace;
using tests::PlainPerformer;

namespace {

/// A face that talks under a head that turns and moves, every marker seen in every frame.
Take Talk(int frames) {
  tests::Random random(31);
  Take take = EmptyTake();
  for (int f = 0; f < frames; ++f) {
    NeutralPose face = PlainFace();
    face["Chin"].y -= f % 7, face["LipLow"].y -= f % 7, face["LidUpL"].y -= f % 5;
    Film(take, face, tests::AnyMotion(random));
  }
  return take;
}

/// A face at rest under a head that stays.
Take Still(int frames) {
  Take take = EmptyTake();
  for (int f = 0; f < frames; ++f) Film(take, PlainFace());
  return take;
}

LiveSetup SetupOf(const Performer& performer) {
  LiveSetup setup;
  setup.performer = std::make_shared<const Performer>(performer);
  return setup;
}

/// With the neutral pose in the performer.
Performer PerformerAtRest() {
  Performer performer = PlainPerformer();
  performer.neutral = PlainFace();
  return performer;
}

mien::LiveSource SourceOf(const Take& take) {
  return {.name = "plain", .kind = LiveKind::Markers, .names = take.markers};
}

void Fill(LiveInput& input, const Take& take, std::size_t frame) {
  input.markers.resize(take.MarkerCount());
  for (std::size_t m = 0; m < take.MarkerCount(); ++m) {
    const mien::Point* const p = take.At(frame, m);
    input.markers[m] = p ? std::optional(*p) : std::nullopt;
  }
}

double Largest(std::span<const double> weights) {
  double most = 0;
  for (const double weight : weights) most = std::max(most, std::fabs(weight));
  return most;
}

void ExpectSameWeights(const Animation& a, const Animation& b) {
  ASSERT_EQ(a.frames.size(), b.frames.size());
  for (std::size_t f = 0; f < a.frames.size(); ++f) {
    EXPECT_EQ(a.frames[f], b.frames[f]);
    EXPECT_EQ(a.times[f], b.times[f]);
    EXPECT_EQ(a.heads[f], b.heads[f]) << f;
    for (std::size_t t = 0; t < a.layout.templates.size(); ++t)
      EXPECT_EQ(a.Weight(f, t), b.Weight(f, t)) << f;
    ASSERT_EQ(a.layout.shapes, b.layout.shapes);
    for (std::size_t s = 0; s < a.layout.shapes.size(); ++s)
      EXPECT_EQ(a.ShapeWeight(f, s), b.ShapeWeight(f, s)) << f << a.layout.shapes[s];
  }
}

} // namespace

// If nothing is missing and no setting needs later frames, a stream gives the same results as the take, to
// the bit.
TEST(LiveFace, GivesWhatATakeGivesWhereNothingIsCleaned) {
  const Take take = Talk(40);
  mien::SolveOptions uncleaned;
  uncleaned.head_tolerance_mm.reset();
  uncleaned.head_fit = mien::HeadFit::Markers;
  const mien::Character character = mien::LoadCharacter("arkit52");
  Animation whole = SolveTake(take, PlainPerformer(), PlainFace(), uncleaned).animation;
  SolveCharacter(whole, character);

  LiveSetup setup = SetupOf(PerformerAtRest());
  setup.causal.head_fit = mien::HeadFit::Markers;
  setup.character = std::make_shared<const mien::Character>(character);
  const CausallySolved causal = SolveCausally(take, setup);
  EXPECT_EQ(causal.learning_frames, 0u);
  ExpectSameWeights(causal.animation, whole);
  EXPECT_GT(Largest(whole.weights), 0.1);
}

TEST(LiveFace, AppliesThePerformersRangesAsATakeDoes) {
  const Take take = Talk(40);
  Performer calibrated = PerformerAtRest();
  calibrated.ranges = {{.name = "Mouth.Open", .low = 0.1, .high = 0.6, .seen = 1, .trusted = true}};
  mien::SolveOptions uncleaned;
  uncleaned.head_tolerance_mm.reset();
  LiveSetup setup = SetupOf(calibrated);
  setup.causal.head_fit = uncleaned.head_fit = mien::HeadFit::Markers;
  const Animation whole = SolveTake(take, calibrated, PlainFace(), uncleaned).animation,
                  raw = SolveTake(take, PlainPerformer(), PlainFace(), uncleaned).animation;
  ExpectSameWeights(SolveCausally(take, setup).animation, whole);
  EXPECT_FALSE(std::equal(raw.weights.begin(), raw.weights.end(), whole.weights.begin()));
}

// With a fit of the head that is learned from the same take, its calm and the anchors apart. No two frames
// follow each other, so nothing is calmed; brows and eyes have no rigid neighbours.
TEST(LiveFace, FitsTheHeadAsATakeDoesWithWhatItLearnedFromIt) {
  tests::Random random(32);
  Take take = EmptyTake({"TempleL", "TempleR"});
  Performer performer = PlainPerformer();
  performer.rigid = performer.head;
  for (const char* name : {"TempleL", "TempleR"}) performer.rigid.push_back(name);
  const NeutralPose neutral = tests::RigidFace();
  for (int f = 0; f < 40; ++f) {
    NeutralPose face = neutral;
    face["Chin"].y -= f % 7, face["LidUpL"].y -= f % 5, face["BrowR"].y += f % 3;
    for (const std::string& name : performer.rigid)
      face[name].x += random.Between(-0.5, 0.5), face[name].y += random.Between(-0.5, 0.5);
    take.frames[Film(take, face, tests::AnyMotion(random))] = 3 * f;
  }
  mien::SolveOptions uncleaned;
  uncleaned.head_tolerance_mm.reset();
  const mien::RigidHead rigid = LearnRigidHead(take, performer).value();
  const NeutralPose pose = FindNeutral(take, performer, std::nullopt, &rigid).pose;
  const Animation whole = SolveTake(take, performer, pose, uncleaned, &rigid).animation;
  LiveSetup setup = SetupOf(performer);
  setup.neutral_take = std::make_shared<const Take>(take);
  ExpectSameWeights(SolveCausally(take, setup).animation, whole);
}

// One eye of this take shifts as a whole, which the anchors beside it show.
TEST(LiveFace, MeasuresEyesAgainstTheirAnchorsAsATakeDoes) {
  tests::Random random(33);
  Take take = tests::EmptyRigidTake();
  const Performer performer = tests::RigidPerformer();
  for (int f = 0; f < 60; ++f) {
    NeutralPose face = tests::RigidFace();
    for (const char* name : {"EyeInL", "EyeOutL", "LidUpL", "LidLowL"}) face[name].y += 2 * std::sin(f * 0.9);
    for (auto& [name, p] : face) p.x += random.Between(-0.02, 0.02), p.y += random.Between(-0.02, 0.02);
    take.frames[Film(take, face)] = 3 * f; // so that the head is not calmed
  }
  mien::SolveOptions uncleaned;
  uncleaned.head_tolerance_mm.reset();
  const mien::RigidHead rigid = LearnRigidHead(take, performer).value();
  const NeutralPose pose = FindNeutral(take, performer, std::nullopt, &rigid).pose;
  const mien::SolvedTake whole = SolveTake(take, performer, pose, uncleaned, &rigid);
  ASSERT_FALSE(whole.report.anchored.empty());
  EXPECT_GT(
      std::ranges::max(whole.report.anchored, {}, [](const auto& part) { return part.gain[1]; }).gain[1],
      0.9);
  LiveSetup setup = SetupOf(performer);
  setup.neutral_take = std::make_shared<const Take>(take);
  ExpectSameWeights(SolveCausally(take, setup).animation, whole.animation);
}

TEST(LiveFace, LearnsTheNeutralFaceFromTheFirstSeconds) {
  Take take = Still(61);
  NeutralPose open = PlainFace();
  open["Chin"].y -= 6, open["LipLow"].y -= 6;
  for (int f = 0; f < 10; ++f) Film(take, open);
  const CausallySolved solved = SolveCausally(take, SetupOf(PlainPerformer()));
  EXPECT_EQ(solved.learning_frames, 61u) << "two seconds, and the frame that ends them";
  const Animation& animation = solved.animation;
  for (std::size_t f = 0; f < 61; ++f) {
    EXPECT_EQ(Largest(animation.Frame(f).weights), 0);
    EXPECT_LT(tests::Difference(animation.HeadMotion(f), {}), 1e-12) << "rounding of one product";
  }
  EXPECT_GT(Largest(animation.Frame(65).weights), 0.1);
  EXPECT_THAT(InputErrorOf([&] { SolveCausally(Still(60), SetupOf(PlainPerformer())); }),
              HasSubstr("the first 2 s do not show the neutral face"));
}

// A frame depends on nothing that comes later: whatever follows in a take, the output stays.
TEST(LiveFace, NeverLooksAhead) {
  Take take = Talk(60);
  for (std::size_t f = 20; f < 40; ++f) Hide(take, f, {"Chin", "LidUpL", f % 3 ? "H1" : "H2"});
  LiveSetup setup = SetupOf(PerformerAtRest());
  setup.causal.smooth = mien::OneEuroSettings{.cutoff_hz = 2, .beta = 0.5};
  const Animation whole = SolveCausally(take, setup).animation;
  for (const std::size_t end : {1U, 21U, 33U, 59U}) {
    Take part = take;
    while (part.FrameCount() > end) part.RemoveLastFrame();
    const Animation first = SolveCausally(part, setup).animation;
    for (std::size_t f = 0; f < end; ++f)
      EXPECT_TRUE(std::ranges::equal(first.Frame(f).weights, whole.Frame(f).weights)) << end << " " << f;
  }
}

TEST(LiveFace, AMissingMarkerIsHeldAndThenComesToRest) {
  Take take = EmptyTake();
  NeutralPose open = PlainFace();
  open["Chin"].y -= 6, open["LipLow"].y -= 6;
  for (int f = 0; f < 36; ++f) Film(take, open);
  for (std::size_t f = 1; f < 30; ++f) Hide(take, f, {"Chin", "LipLow"});
  LiveSetup setup = SetupOf(PerformerAtRest());
  const Animation animation = SolveCausally(take, setup).animation;
  const auto weights = [&](std::size_t f) { return animation.Frame(f).weights; };
  EXPECT_TRUE(std::ranges::equal(weights(0), weights(2))) << "held for a tenth of a second";
  EXPECT_LT(Largest(weights(6)), Largest(weights(0)));
  EXPECT_LT(Largest(weights(20)), 0.01) << "at rest after 0.35 s";
  EXPECT_GT(Largest(weights(33)), Largest(weights(30))) << "and fades in again";
}

TEST(LiveFace, ALostFaceIsHeldFadesAndComesBack) {
  Take take = EmptyTake();
  NeutralPose open = PlainFace();
  open["Chin"].y -= 6, open["LipLow"].y -= 6;
  const VgeAMatrix turned = tests::Motion({0, 20, 0}, {30, 0, 0});
  for (int f = 0; f < 120; ++f) Film(take, open, turned);
  for (std::size_t f = 10; f < 80; ++f)
    for (std::size_t m = 0; m < take.MarkerCount(); ++m) take.Clear(f, m);
  LiveSetup setup = SetupOf(PerformerAtRest());
  const CausallySolved solved = SolveCausally(take, setup);
  EXPECT_EQ(solved.lost_frames, 70u);
  const Animation& animation = solved.animation;
  EXPECT_TRUE(std::ranges::equal(animation.Frame(9).weights, animation.Frame(24).weights))
      << "held for 0.5 s";
  EXPECT_EQ(animation.heads[24], animation.heads[9]);
  EXPECT_LT(Largest(animation.Frame(32).weights), Largest(animation.Frame(9).weights));
  EXPECT_EQ(Largest(animation.Frame(45).weights), 0) << "gone after 0.5 s more";
  EXPECT_LT(tests::Difference(animation.HeadMotion(45), {}), 1e-9);
  for (std::size_t f = 24; f < 45; ++f)
    EXPECT_LE(Largest(animation.Frame(f + 1).weights), Largest(animation.Frame(f).weights));
  EXPECT_LT(Largest(animation.Frame(80).weights), 0.1);
  EXPECT_GT(Largest(animation.Frame(110).weights), 0.9 * Largest(animation.Frame(9).weights));
}

TEST(LiveFace, AHeadThatIsNotFoundKeepsItsLastPose) {
  Take take = Talk(3);
  Hide(take, 1, {"H1", "H2", "H3"});
  const CausallySolved solved = SolveCausally(take, SetupOf(PerformerAtRest()));
  EXPECT_EQ(solved.unknown_heads, 1u);
  EXPECT_EQ(solved.animation.heads[1], solved.animation.heads[0]);
  EXPECT_TRUE(std::ranges::equal(solved.animation.Frame(0).weights, solved.animation.Frame(1).weights));
}

TEST(LiveFace, FramesAtARateLieBetweenThoseOfTheSource) {
  Take take = EmptyTake();
  for (int f = 0; f < 20; ++f) {
    NeutralPose face = PlainFace();
    face["Chin"].y -= f % 5, face["LipLow"].y -= f % 5;
    Film(take, face, tests::Motion({0, 2.0 * f, 0}, {1.0 * f, 0, 0}));
  }
  LiveSetup setup = SetupOf(PerformerAtRest());
  const Animation own = SolveCausally(take, setup).animation;
  setup.causal.output_rate = mien::FrameRate{60, 1};
  const Animation twice = SolveCausally(take, setup).animation;
  ASSERT_EQ(twice.frames.size(), 39u);
  EXPECT_EQ(twice.frames[0], 1);
  for (std::size_t f = 0; f < 39; ++f) EXPECT_EQ(twice.times[f], static_cast<double>(f) / 60);
  for (std::size_t t = 0; t < own.layout.templates.size(); ++t)
    EXPECT_NEAR(twice.Weight(7, t), (own.Weight(3, t) + own.Weight(4, t)) / 2, 1e-12);
  setup.causal.output_rate = mien::FrameRate{30000, 1001};
  const Animation ntsc = SolveCausally(take, setup).animation;
  EXPECT_EQ(ntsc.times[18], 18 * 1001.0 / 30000);
}

TEST(LiveFace, NothingComesOutInALongGapOfTheSource) {
  Take take = Still(3);
  take.times[2] = 1e6;
  LiveSetup setup = SetupOf(PerformerAtRest());
  setup.causal.output_rate = mien::FrameRate{60, 1};
  const Animation animation = SolveCausally(take, setup).animation;
  ASSERT_EQ(animation.frames.size(), 4u) << "0, 1/60, 2/60 and the one after the gap";
  EXPECT_EQ(animation.times[3], 1e6);
  EXPECT_EQ(animation.frames[3], 60000001);
}

TEST(LiveFace, LeavesOutWhatIsNotAPosition) {
  const Take take = Talk(2);
  LiveFace face(SourceOf(take), SetupOf(PerformerAtRest()));
  LiveInput input;
  Fill(input, take, 0);
  const double bad[] = {std::nan(""), std::numeric_limits<double>::infinity(), 1e300, -2e6};
  for (std::size_t i = 0; i < std::size(bad); ++i) input.markers[i] = mien::Point{0, bad[i], 0};
  EXPECT_FALSE(face.Receive(input).lost);
  EXPECT_EQ(face.UnusableNumbers(), 4u);
  std::size_t outputs = 0;
  face.Solve(1, 0, [&](const LiveOutput& output) {
    ++outputs;
    for (const double weight : output.weights) EXPECT_TRUE(std::isfinite(weight));
  });
  EXPECT_EQ(outputs, 1u);
  input.markers.clear();
  EXPECT_TRUE(face.Receive(input).lost) << "fewer entries than names: not seen";
  input.markers.resize(take.MarkerCount() + 1000, mien::Point{1, 2, 3});
  EXPECT_FALSE(face.Receive(input).lost) << "more are not read";
}

TEST(LiveFace, RefusesNamesBeyondItsLimitsAndSetupsThatDoNotFit) {
  const LiveSetup setup = SetupOf(PerformerAtRest());
  mien::LiveSource source = SourceOf(EmptyTake());
  source.names.push_back(std::string(10000000, 'x'));
  EXPECT_THAT(InputErrorOf([&] { LiveFace(source, setup); }), HasSubstr("a name of 10000000 bytes"));
  source.names.assign(LiveFace::kMostNames + 1, "m");
  EXPECT_THAT(InputErrorOf([&] { LiveFace(source, setup); }), HasSubstr("4097 names"));
  source.names = {"H1", "Chin"};
  EXPECT_THAT(InputErrorOf([&] { LiveFace(source, setup); }), HasSubstr("has no marker \"H2\""));
  EXPECT_THAT(InputErrorOf([&] { LiveFace(SourceOf(EmptyTake()), LiveSetup()); }),
              HasSubstr("need a performer"));
  LiveSetup fit = setup;
  fit.causal.solver = mien::ShapeSolver::Fit;
  EXPECT_THAT(InputErrorOf([&] { LiveFace(SourceOf(EmptyTake()), fit); }),
              HasSubstr("fit computes the shapes"));
  LiveSetup fast = setup;
  fast.causal.output_rate = mien::FrameRate{1001, 1};
  EXPECT_THAT(InputErrorOf([&] { LiveFace(SourceOf(EmptyTake()), fast); }), HasSubstr("rate"));
}

TEST(LiveFace, AFrameAllocatesNothing) {
  const Take take = Talk(30);
  LiveSetup setup = SetupOf(PerformerAtRest());
  setup.character = std::make_shared<const mien::Character>(mien::LoadCharacter("arkit52"));
  setup.causal.smooth = mien::OneEuroSettings{};
  for (const bool resampled : {false, true}) {
    if (resampled) setup.causal.output_rate = mien::FrameRate{100, 1};
    LiveFace face(SourceOf(take), setup);
    LiveInput input;
    std::size_t outputs = 0;
    const std::function<void(const LiveOutput&)> count = [&](const LiveOutput&) { ++outputs; };
    for (std::size_t f = 0; f < 4; ++f) {
      Fill(input, take, f);
      face.Receive(input);
      face.Solve(take.frames[f], take.times[f], count);
    }
    const auto feed = [&](std::size_t f) {
      face.Receive(input);
      face.Solve(take.frames[f], take.times[f], count);
    };
    Fill(input, take, 4);
    input.markers[3].reset();
    EXPECT_FALSE(tests::RunsOutOfMemory(0, [&] { feed(4); }));
    EXPECT_FALSE(tests::has_failed) << "an allocation was asked for";
    input.lost = true;
    EXPECT_FALSE(tests::RunsOutOfMemory(0, [&] { feed(5); }));
    EXPECT_FALSE(tests::has_failed) << "an allocation was asked for";
    EXPECT_GT(outputs, 5u);
    EXPECT_TRUE(tests::RunsOutOfMemory(0, [&] { const LiveInput copy = input; }))
        << "the heap would notice one";
  }
}
