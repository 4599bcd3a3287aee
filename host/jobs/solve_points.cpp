#include "host/jobs/solve_points.h"

#include "host/animation/resample.h"
#include "host/base/text.h"
#include "host/jobs/causal_solve.h"
#include "host/jobs/output_place.h"
#include "host/performer/match_markers.h"
#include "host/performer/rigid_head.h"
#include "host/solve/neutral_doubts.h"
#include "host/solve/solve_character.h"
#include "host/solve/solve_gaze.h"
#include "host/solve/solve_shapes.h"
#include "host/solve/solve_take.h"

#include <fmt/format.h>

#include <utility>

namespace mien {

namespace {

void CheckExpressions(const SolveJob& job, AnimationFormat format) {
  if (job.expressions.empty()) return;
  if (job.character.empty()) throw UsageError("expression", "this is for --character");
  if (format == AnimationFormat::TemplateCsv)
    throw UsageError("expression", "--templates leaves out what expressions act on: the shapes");
}

void CheckSolver(const SolveJob& job, AnimationFormat format) {
  const bool fits = job.solve.solver == ShapeSolver::Fit;
  if (fits && (format == AnimationFormat::TemplateCsv ||
               (job.character.empty() && format != AnimationFormat::LiveLinkCsv)))
    throw UsageError("solver", "fit computes the shapes of a --character");
  if (!fits && !job.basis.empty()) throw UsageError("basis", "this is for --solver fit");
  if (job.basis.empty() && !job.basis_landmarks.empty())
    throw UsageError("basis-landmarks", "this is for --basis");
}

/// A cleaning that cannot be done at the take's rate is refused before any of it is done.
void CheckFilters(const SolveOptions& options, const Take& take) {
  for (const auto& [setting, cutoff] : {std::pair("smooth", options.smooth_positions_hz),
                                        std::pair("smooth-weights", options.smooth_weights_hz),
                                        std::pair("smooth-gaze", options.smooth_gaze_hz)})
    if (cutoff && *cutoff >= take.rate.Hz() / 2)
      throw UsageError(setting, fmt::format("{} Hz is not below half the take's rate of {} Hz", *cutoff,
                                            ToText(take.rate)));
}

/// A take solved into templates, where the eyes look and, if asked for, shapes.
struct Solution {
  SolvedTake take;
  std::optional<FittedShapes> fitted;
};

/// Finds the neutral face and solves. Fills the neutral face and the report of `solved`.
Solution SolveParts(const SolveInputs& inputs, const JobProgress& progress, SolvedPoints& solved) {
  const SolveJob& settings = inputs.settings;
  const Take& take = inputs.take;
  const Performer& performer = solved.performer;
  const std::optional<RigidHead> rigid = settings.solve.head_fit == HeadFit::Take
                                             ? LearnRigidHead(take, performer, settings.solve.threads)
                                             : std::nullopt;
  solved.neutral =
      FindNeutral(take, performer, settings.neutral, rigid ? &*rigid : nullptr, settings.solve.threads);
  if (settings.neutral && !performer.ranges.empty())
    solved.neutral.notes.push_back(
        {Code::Doubtful, "",
         "the performer's ranges were measured from another neutral face; leave out "
         "--neutral, or the ranges with --no-ranges"});
  const auto solving = [&](std::size_t frame, std::size_t frames) {
    if (progress) progress(JobStage::Solving, frame, frames);
  };
  SolveOptions options = settings.solve;
  options.keep_frames = options.keep_frames || inputs.keep_frames;
  Solution solution = {
      .take = SolveTake(take, performer, solved.neutral.pose, options, rigid ? &*rigid : nullptr, solving),
      .fitted = {}};
  SolveGaze(solution.take, take, performer, solved.neutral, settings.solve);
  solved.report = std::move(solution.take.report);
  solved.report.neutral_doubts = NeutralDoubts(performer, solved.neutral, settings.solve.brows);
  if (inputs.character && settings.solve.solver == ShapeSolver::Fit) {
    solution.fitted =
        SolveShapes(solution.take, take, performer, solved.neutral, settings.solve, inputs.basis, solving);
    solved.report.fit = solution.fitted->report;
  }
  return solution;
}

} // namespace

void CheckSolve(const SolveJob& settings, AnimationFormat format) {
  CheckExpressions(settings, format);
  CheckSolver(settings, format);
  CheckCausal(settings);
}

void CheckSolve(const SolveJob& settings, const Performer& performer) {
  if (!settings.ranges) return;
  const std::string_view brows = performer.calibration.Setting("brows");
  // The two measures of a brow differ, and so would its range.
  if (!brows.empty() && brows != ToText(settings.solve.brows))
    throw UsageError("brows", fmt::format("the ranges of {} were measured with --brows {}; solve with it, or "
                                          "with --no-ranges",
                                          Quoted(performer.name), brows));
}

SolvedPoints SolvePoints(SolveInputs inputs, const JobProgress& progress) {
  const SolveJob& settings = inputs.settings;
  const Take& take = inputs.take;
  CheckFilters(settings.solve, take);
  CheckMarkers(inputs.performer, take);
  SolvedPoints solved;
  solved.performer = std::move(inputs.performer);
  LeaveOutMissingIrises(solved.performer, take);
  solved.ranges = solved.performer.ranges;
  if (!settings.ranges) solved.performer.ranges.clear();

  if (settings.causal.on) {
    CausallySolved causal =
        SolveCausally(settings, take, solved.performer, inputs.character, inputs.basis, progress);
    solved.causal = {causal.learning_frames, causal.lost_frames, causal.unknown_heads};
    solved.animation = std::move(causal.animation);
    solved.animation.CheckFinite(take.file, settings.solve.threads);
    return solved;
  }
  Solution solution = SolveParts(inputs, progress, solved);
  std::optional<FittedShapes>& fitted = solution.fitted;
  const auto add_shapes = [&](Animation& animation) {
    if (inputs.character)
      SolveCharacter(animation, *inputs.character, settings.expressions, fitted ? &*fitted : nullptr,
                     settings.solve.threads);
  };
  solved.animation = std::move(solution.take.animation);
  if (settings.output_rate && inputs.keep_own_frames) add_shapes(solved.own_frames.emplace(solved.animation));
  if (settings.output_rate)
    Resample(solved.animation, *settings.output_rate, take.file, fitted ? &fitted->weights : nullptr);
  add_shapes(solved.animation);
  solved.animation.CheckFinite(take.file, settings.solve.threads);
  solved.face = std::move(solution.take.face);
  return solved;
}

} // namespace mien
