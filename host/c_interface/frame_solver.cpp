#include "host/c_interface/frame_solver.h"

#include "host/c_interface/array.h"
#include "host/c_interface/call.h"
#include "host/c_interface/character.h"
#include "host/c_interface/live_setup.h"
#include "host/c_interface/settings.h"

#include <algorithm>
#include <cmath>
#include <utility>
#include <variant>

using namespace mien;

mien_frame_solver::mien_frame_solver(const std::vector<std::string>& candidates, const LiveSetup& setup)
    : face({.name = "", .kind = LiveKind::Markers, .names = candidates}, setup), names(face.Layout()),
      columns_(*face.UsedMarkers()), keep_([this](const LiveOutput& output) { result.TakeOver(output); }) {
  for (const std::size_t column : columns_) markers.push_back(candidates[column]);
  input_.markers.resize(candidates.size());
  face.Receive(input_); // nothing is seen: the neutral face
  face.Solve(0, 0, keep_);
  face.Restart();
}

void mien_frame_solver::Solve(const double* places, double time_s) {
  for (std::size_t m = 0; m < columns_.size(); ++m) {
    const double* const at = places + 3 * m;
    const bool seen = !std::isnan(at[0]) && !std::isnan(at[1]) && !std::isnan(at[2]);
    input_.markers[columns_[m]] = seen ? std::optional(Point{at[0], at[1], at[2]}) : std::nullopt;
  }
  face.Receive(input_);
  face.Solve(++frame_, time_s, keep_);
  time = time_s;
}

namespace {

/// Without the settings that need later frames, which have no effect on single ones.
SolveJob FrameByFrame(const SolveJob& job, bool has_take) {
  SolveJob single = job;
  single.solve = SolveOptions();
  single.solve.brows = job.solve.brows;
  single.solve.solver = job.solve.solver;
  single.solve.head_fit = job.solve.head_fit;
  single.solve.gaze = job.solve.gaze;
  single.solve.fade_s = job.solve.fade_s;
  single.output_rate.reset();
  if (!has_take && job.causal.neutral_take.empty()) single.neutral.reset();
  return single;
}

std::unique_ptr<mien_frame_solver> FrameSolverOf(const SolveJob& job, const mien_performer& performer,
                                                 const mien_take* take,
                                                 std::shared_ptr<const Character> character) {
  const LiveSetup setup =
      SetupOfMarkers(FrameByFrame(job, take != nullptr), performer, take, std::move(character));
  if (!setup.neutral_take && !std::holds_alternative<NeutralPose>(setup.performer->neutral))
    throw InputError(Code::Unsolvable, setup.performer->file, "", "the performer has no neutral face",
                     "calibrate the performer, or give a take to find it in");
  return std::make_unique<mien_frame_solver>(
      setup.neutral_take ? setup.neutral_take->markers : setup.performer->Markers(), setup);
}

} // namespace

mien_frame_solver* mien_frame_solver_new(const mien_performer* performer, const mien_take* take,
                                         const mien_character* character, const mien_settings* settings,
                                         mien_messages** errors) {
  return CallNew(errors, [&] {
    const mien_performer& of = Require(performer, "performer");
    const mien_take* const from = RequireOrNull(take, "take");
    const mien_character* const with = RequireOrNull(character, "character");
    return FrameSolverOf(SettingsOf(settings, MIEN_STEP_SOLVE).solve, of, from,
                         with ? with->shared : nullptr);
  });
}

size_t mien_frame_solver_marker_count(const mien_frame_solver* solver) {
  return Known(solver) ? solver->markers.size() : 0;
}

const char* mien_frame_solver_marker(const mien_frame_solver* solver, size_t index) {
  return Known(solver) && index < solver->markers.size() ? solver->markers[index].c_str() : nullptr;
}

mien_status mien_frame_solver_get_array(const mien_frame_solver* solver, mien_frame_array which,
                                        mien_array* array, mien_messages** errors) {
  return CallStatus(errors, [&] { GiveArray(array, Require(solver, "solver").result.Array(which)); });
}

size_t mien_frame_solver_name_count(const mien_frame_solver* solver, mien_names which) {
  return Known(solver) ? solver->names.Count(which) : 0;
}

const char* mien_frame_solver_name(const mien_frame_solver* solver, mien_names which, size_t index) {
  return Known(solver) ? solver->names.At(which, index) : nullptr;
}

mien_status mien_frame_solver_solve(mien_frame_solver* solver, const double* markers, size_t marker_count,
                                    double time, mien_messages** errors) {
  return CallStatus(errors, [&] {
    mien_frame_solver& own = Require(solver, "solver");
    if (!markers) throw UsageError("markers", "this is NULL");
    if (marker_count != own.markers.size())
      throw UsageError("marker_count", fmt::format("the solver takes {} markers, and not {}",
                                                   own.markers.size(), marker_count));
    if (!std::isfinite(time)) throw UsageError("time", "this is not a time in seconds");
    if (time <= own.time) throw UsageError("time", "times must rise from frame to frame");
    constexpr double kFarthestMm = 1e6; // no face is a kilometre away
    if (const double* const end = markers + 3 * marker_count;
        std::any_of(markers, end, [](double x) { return std::abs(x) > kFarthestMm; }))
      throw UsageError("markers", "a position is beyond a kilometre");
    own.Solve(markers, time);
  });
}

mien_status mien_frame_solver_free(mien_frame_solver* solver) { return Free(solver); }
