#include "host/view/solve_side.h"

#include "host/performer/neutral.h"
#include "host/performer/performer_file.h"
#include "host/performer/rigid_head.h"
#include "samples/synthetic_performance.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <string>

using mien::MarkerState;
using mien::SolveRecord;
using mien::Take;
using mien::ViewCurves;
using mien::ViewFlag;
using mien::ViewSide;
using testing::Field;
using testing::Not;

namespace {

/// The sample landmarks, solved.
struct Solved {
  Take take = mien::samples::FilmLandmarks();
  mien::Performer performer = mien::LoadPerformer("landmarks68");
  mien::SolveOptions options = [] {
    mien::SolveOptions keep;
    keep.keep_frames = true;
    return keep;
  }();
  mien::Neutral neutral;
  mien::SolvedTake solved;

  Solved() {
    const auto rigid = LearnRigidHead(take, performer);
    neutral = FindNeutral(take, performer, std::nullopt, rigid ? &*rigid : nullptr);
    solved = SolveTake(take, performer, neutral.pose, options, rigid ? &*rigid : nullptr);
  }

  ViewSide Side() const {
    const SolveRecord record = {.command = {},
                                .files = {},
                                .take = &take,
                                .neutral = &neutral,
                                .options = &options,
                                .report = &solved.report};
    return mien::SideOfSolve(
        {.performer = performer, .face = solved.face, .animation = solved.animation, .record = record});
  }
};

std::size_t IndexOf(const std::vector<std::string>& names, const std::string& name) {
  return static_cast<std::size_t>(std::find(names.begin(), names.end(), name) - names.begin());
}

} // namespace

TEST(SolveSide, LostFramesAreFilledWithWhatTheSolverUsed) {
  const Solved solve;
  const ViewSide side = solve.Side();
  ASSERT_TRUE(side.markers);
  const std::size_t markers = solve.take.MarkerCount(), corner = IndexOf(side.markers->names, "lm54");
  EXPECT_EQ(side.markers->parts[corner], "Mouth");
  std::size_t filled = 0;
  for (std::size_t f = 0; f < solve.take.FrameCount(); ++f) {
    const MarkerState state = side.markers->states[f * markers + corner];
    filled += state == MarkerState::Filled;
    EXPECT_EQ(state == MarkerState::Measured, solve.take.At(f, corner) != nullptr) << f;
    if (f == 0) continue; // filled positions continue the measured ones
    const auto &a = side.markers->positions[(f - 1) * markers + corner],
               &b = side.markers->positions[f * markers + corner];
    EXPECT_LT(std::hypot(a[0] - b[0], a[1] - b[1], a[2] - b[2]), 12) << f;
  }
  EXPECT_EQ(filled, 4u);
  EXPECT_TRUE(std::any_of(side.spans.begin(), side.spans.end(), [](const mien::ViewSpan& span) {
    return span.kind == "filled" && span.name == "lm54";
  }));
}

TEST(SolveSide, ResidualsAreThoseOfEachFrame) {
  const Solved solve;
  const ViewSide side = solve.Side();
  const auto curves = std::find_if(side.curves.begin(), side.curves.end(),
                                   [](const ViewCurves& c) { return c.name == "Residuals"; });
  ASSERT_NE(curves, side.curves.end());
  EXPECT_THAT(curves->curves, Not(testing::Contains("LeftCheek"))) << "no landmarks are there";
  const std::size_t mouth = IndexOf(curves->curves, "Mouth");
  for (std::size_t f = 0; f < solve.take.FrameCount(); ++f)
    EXPECT_EQ(curves->values[f * curves->curves.size() + mouth],
              solve.solved.report.per_frame[f].residual_mm[0]);
}

TEST(SolveSide, PoorResidualsAreFlagged) {
  Solved solve;
  EXPECT_THAT(solve.Side().flags, Not(testing::Contains(Field(&ViewFlag::kind, "residual"))));
  ASSERT_TRUE(solve.solved.report.quality.eye_corners_mm);
  const double poor = 0.1 * *solve.solved.report.quality.eye_corners_mm;
  for (const std::size_t f : {20u, 21u, 22u, 40u}) solve.solved.report.per_frame[f].residual_mm[0] = poor + 1;
  solve.solved.report.per_frame[21].residual_mm[0] = 25;
  const ViewSide side = solve.Side();
  std::vector<std::string> seen;
  for (const ViewFlag& flag : side.flags)
    if (flag.kind == "residual")
      seen.push_back(flag.text.substr(0, 21) + " " + std::to_string(flag.first) + "-" +
                     std::to_string(flag.last));
  ASSERT_EQ(seen.size(), 2u);
  EXPECT_EQ(seen[0], "Mouth has a residual  20-22");
  EXPECT_EQ(seen[1], "Mouth has a residual  40-40");
}

TEST(SolveSide, TheBuiltInHeadStandsAmongTheMarkers) {
  const Solved solve;
  const auto place =
      PlaceOfFace(solve.performer, solve.neutral.pose, solve.solved.animation.layout.neutral_head);
  ASSERT_TRUE(place);
  EXPECT_NEAR(place->scale, 1000, 200) << "the performer is a little larger or smaller than the head";
  EXPECT_FALSE(PlaceOfFace(solve.performer, {}, {})) << "without markers";
}
