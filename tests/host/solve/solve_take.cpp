#include "host/solve/solve_take.h"

#include "tests/host/plain_face.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <stdexcept>
#include <utility>
#include <vector>

using mien::Animation;
using mien::FaceSolver;
using mien::NeutralPose;
using mien::SolvedTake;
using mien::SolveTake;
using mien::Take;
using testing::ElementsAre;
using testing::Pair;
using tests::EmptyTake;
using tests::Film;
using tests::PlainFace;
using tests::PlainPerformer;

namespace {

/// Five frames with odd numbers and times, a mouth that opens, a head that moves, and gaps.
Take OddTake() {
  tests::Random random(13);
  Take take = EmptyTake();
  for (int f = 0; f < 5; ++f) {
    NeutralPose face = PlainFace();
    face["Chin"].y -= 4 * f, face["LipLow"].y -= 4 * f;
    Film(take, face, tests::AnyMotion(random));
  }
  tests::Hide(take, 2, {"Chin", "H1"});
  tests::Hide(take, 3, {"H1", "H2", "H3"});
  take.frames = {-2, 0, 7, 8, 1000000007};
  take.times = {-0.1, 0, 0.25, 0.3, 4000};
  take.rate_hz = 30000.0 / 1001;
  return take;
}

} // namespace

TEST(SolveTake, CarriesFramesTimesAndRateOver) {
  const Take take = OddTake();
  const Animation animation = SolveTake(take, PlainPerformer(), PlainFace()).animation;
  EXPECT_EQ(animation.frames, take.frames);
  EXPECT_EQ(animation.times, take.times);
  EXPECT_EQ(animation.rate_hz, take.rate_hz);
  EXPECT_EQ(animation.weights.size(), 5u * 23);
  EXPECT_EQ(animation.heads.size(), 5u);
}

TEST(SolveTake, NamesTakeAndPerformerAndNoCharacter) {
  const Animation animation = SolveTake(OddTake(), PlainPerformer(), PlainFace()).animation;
  EXPECT_EQ(animation.take, "plain take");
  EXPECT_EQ(animation.performer, "plain");
  EXPECT_EQ(animation.character, "");
  EXPECT_TRUE(animation.shapes.empty());
  EXPECT_TRUE(animation.shape_weights.empty());
  EXPECT_TRUE(animation.clusters.empty());
}

TEST(SolveTake, TheHeadMovesFromWhereTheNeutralPoseHasIt) {
  using mien::detail::InverseOfOrthogonalAxes, mien::detail::Product;
  tests::Random random(29);
  const VgeAMatrix place = tests::AnyMotion(random); // of the neutral pose in the take
  const NeutralPose neutral = tests::Carried(place, PlainFace());
  const VgeAMatrix turn =
      tests::Motion(VgeRVector(0, 20, 0), {0, 0, 0}); // of the plain face, to its own left
  Take take = EmptyTake();
  Film(take, neutral);
  Film(take, PlainFace(), Product(place, turn));
  const Animation animation = SolveTake(take, PlainPerformer(), neutral).animation;
  EXPECT_EQ(animation.neutral_head, FaceSolver(PlainPerformer(), neutral, take).NeutralHead());
  // Metres away, in millimetres: 1e-9 is a picometre.
  EXPECT_LT(tests::Difference(animation.HeadMotion(0), {}), 1e-9);
  const VgeAMatrix upright =
      Product(InverseOfOrthogonalAxes(place), animation.neutral_head); // of the plain face
  const VgeAMatrix expected = Product(InverseOfOrthogonalAxes(upright), Product(turn, upright));
  EXPECT_LT(tests::Difference(animation.HeadMotion(1), expected), 1e-9);
  EXPECT_GT(animation.HeadMotion(1).m[2][0], 0.33) << "its front goes to its left by the sine of 20 degrees";
}

TEST(SolveTake, IsFrameForFrameWhatTheSolverGives) {
  const Take take = OddTake();
  const SolvedTake solved = SolveTake(take, PlainPerformer(), PlainFace());
  FaceSolver solver(PlainPerformer(), PlainFace(), take);
  for (std::size_t f = 0; f < take.FrameCount(); ++f) {
    const FaceSolver::Frame& frame = solver.Solve(take, f);
    EXPECT_EQ(solved.animation.heads[f], frame.head) << f;
    for (std::size_t c = 0; c < solved.animation.templates.size(); ++c) {
      const auto& [part, slot, name] = solved.animation.templates[c];
      EXPECT_EQ(solved.animation.Weight(f, c), frame.weights.mParts[part].mWeights[slot]) << f << ' ' << name;
    }
  }
  EXPECT_LT(solved.animation.Weight(0, 0), solved.animation.Weight(1, 0)) << "the mouth opens";
  ASSERT_EQ(solved.report.held.size(), 1u);
  EXPECT_EQ(solved.report.held[0].marker, "Chin");
  EXPECT_EQ(solved.report.held[0].frames, 1u);
  EXPECT_EQ(solved.report.frames, 5u);
  EXPECT_EQ(solved.report.frames_without_head, 1u);
}

TEST(SolveTake, SameTakeSameBits) {
  const Take take = OddTake();
  const SolvedTake one = SolveTake(take, PlainPerformer(), PlainFace()),
                   other = SolveTake(take, PlainPerformer(), PlainFace());
  EXPECT_EQ(one.animation.weights, other.animation.weights);
  EXPECT_EQ(one.animation.heads, other.animation.heads);
}

TEST(SolveTake, TellsProgressBeforeEachFrame) {
  std::vector<std::pair<std::size_t, std::size_t>> told;
  SolveTake(OddTake(), PlainPerformer(), PlainFace(),
            [&](std::size_t done, std::size_t total) { told.emplace_back(done, total); });
  EXPECT_THAT(told, ElementsAre(Pair(0, 5), Pair(1, 5), Pair(2, 5), Pair(3, 5), Pair(4, 5)));
}

// Leaks would show under AddressSanitizer.
TEST(SolveTake, ProgressMayThrowToBreakOff) {
  int calls = 0;
  EXPECT_THROW(SolveTake(OddTake(), PlainPerformer(), PlainFace(),
                         [&](std::size_t done, std::size_t) {
                           ++calls;
                           if (done == 2) throw std::runtime_error("enough");
                         }),
               std::runtime_error);
  EXPECT_EQ(calls, 3);
}

TEST(SolveTake, ATakeWithoutFramesIsAnAnimationWithoutFrames) {
  const SolvedTake solved = SolveTake(EmptyTake(), PlainPerformer(), PlainFace());
  EXPECT_TRUE(solved.animation.frames.empty());
  EXPECT_TRUE(solved.animation.weights.empty());
  EXPECT_EQ(solved.report.frames, 0u);
}
