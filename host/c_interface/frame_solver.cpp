#include "host/c_interface/frame_solver.h"

#include "host/c_interface/array.h"
#include "host/c_interface/call.h"
#include "host/c_interface/character.h"
#include "host/c_interface/cluster_arrays.h"
#include "host/c_interface/performer.h"
#include "host/c_interface/settings.h"
#include "host/c_interface/take.h"
#include "host/jobs/solve_points.h"
#include "host/performer/match_markers.h"
#include "host/performer/neutral.h"
#include "host/performer/rigid_head.h"

#include <algorithm>
#include <cmath>
#include <utility>
#include <variant>

using namespace mien;

namespace {

AnimationLayout LayoutOf(const Performer& performer, const Character* character,
                         const VgeAMatrix& neutral_head) {
  AnimationLayout layout;
  layout.performer = performer.name;
  layout.neutral_head = neutral_head;
  if (!character) return layout;
  layout.character = character->name;
  layout.shapes = character->Shapes();
  for (const Character::Part& part : character->parts)
    for (const Character::Cluster& cluster : part.clusters)
      layout.clusters.push_back({part.name, cluster.name});
  return layout;
}

/// Of each name its place in `all`, where it is added if it is missing.
std::vector<std::size_t> PlacesIn(std::vector<std::string>& all, const std::vector<std::string>& names) {
  std::vector<std::size_t> places;
  for (const std::string& name : names) {
    const auto found = std::find(all.begin(), all.end(), name);
    places.push_back(static_cast<std::size_t>(found - all.begin()));
    if (found == all.end()) all.push_back(name);
  }
  return places;
}

std::optional<Point> PlaceAt(const double* places, std::size_t marker) {
  const double* const at = places + 3 * marker;
  if (std::isnan(at[0]) || std::isnan(at[1]) || std::isnan(at[2])) return std::nullopt;
  return Point{at[0], at[1], at[2]};
}

} // namespace

mien_frame_solver::mien_frame_solver(std::unique_ptr<FrameSolver> made, const Performer& performer,
                                     const Character* character)
    : layout(LayoutOf(performer, character, made->Face().NeutralHead())), names(layout),
      weights(layout.templates.size()), shape_weights(layout.shapes.size()),
      local_clusters(layout.clusters.size()), global_clusters(layout.clusters.size()),
      solver_(std::move(made)) {
  if (character)
    for (const Character::Part& part : character->parts) shapes_of_parts_.push_back(part.shapes.size());
  head_markers_ = PlacesIn(markers, solver_->Head().Markers());
  face_markers_ = PlacesIn(markers, solver_->Face().Markers());
  seen_.head.resize(head_markers_.size());
  seen_.face.resize(face_markers_.size());
  TakeOver(solver_->Solve(seen_)); // nothing is seen: the neutral face
}

void mien_frame_solver::Solve(const double* places) {
  for (std::size_t i = 0; i < head_markers_.size(); ++i) seen_.head[i] = PlaceAt(places, head_markers_[i]);
  for (std::size_t i = 0; i < face_markers_.size(); ++i) seen_.face[i] = PlaceAt(places, face_markers_[i]);
  TakeOver(solver_->Solve(seen_));
}

void mien_frame_solver::TakeOver(const SolvedFrame& frame) {
  for (std::size_t t = 0; t < weights.size(); ++t) {
    const TemplateColumn& column = layout.templates[t];
    weights[t] = frame.face.weights.mParts[column.part].mWeights[column.slot];
  }
  head = frame.head;
  head_motion = layout.HeadMotion(head);
  residuals_mm = frame.face.residual_mm;
  known[0] = frame.head_known ? 1 : 0;
  if (!frame.character) return;
  std::size_t shape = 0, cluster = 0;
  for (std::size_t p = 0; p < shapes_of_parts_.size(); ++p) {
    for (std::size_t s = 0; s < shapes_of_parts_[p]; ++s)
      shape_weights[shape++] = frame.character->mWeights[p][s];
    const auto& clusters = frame.character->mClusters[p].mClusters;
    for (int c = 0; c < clusters.GetCount(); ++c, ++cluster) {
      const VCharacterFaceClusterState& state = *clusters[c];
      local_clusters[cluster] = {state.mLocalT, state.mLocalR, state.mLocalS};
      global_clusters[cluster] = {state.mGlobalT, state.mGlobalR, state.mGlobalS};
    }
  }
}

namespace {

/// What a solver is made from: how the performer's neutral and skull are known.
struct LearnedPerformer {
  Performer performer;
  NeutralPose neutral;
  std::optional<RigidHead> rigid;
};

LearnedPerformer Learn(const Performer& performer, const Take* take, const SolveJob& settings) {
  LearnedPerformer known = {.performer = performer, .neutral = {}, .rigid = std::nullopt};
  if (!settings.ranges) known.performer.ranges.clear();
  if (take) {
    CheckMarkers(known.performer, *take);
    LeaveOutMissingIrises(known.performer, *take);
    if (settings.solve.head_fit == HeadFit::Take) known.rigid = LearnRigidHead(*take, known.performer);
    known.neutral =
        FindNeutral(*take, known.performer, settings.neutral, known.rigid ? &*known.rigid : nullptr).pose;
  } else if (const NeutralPose* const pose = std::get_if<NeutralPose>(&performer.neutral)) {
    known.neutral = *pose;
  } else {
    throw InputError(Code::Unsolvable, performer.file, "", "the performer has no neutral face",
                     "calibrate the performer, or give a take to find it in");
  }
  return known;
}

/// Throws a UsageError for settings that frames one by one cannot have.
void CheckFrames(const SolveJob& settings, const Performer& performer) {
  CheckSolve(settings, performer);
  if (settings.solve.solver == ShapeSolver::Fit)
    throw UsageError("solver", "a frame solver computes shapes from the templates of the parts");
}

mien_array ArrayOf(const mien_frame_solver& own, mien_frame_array which) {
  const auto matrix = [](const VgeAMatrix& m) { // from m[column][row] to [row][column]
    return ViewOf(&m.m[0][0], {{4, sizeof(double)}, {4, 4 * sizeof(double)}});
  };
  const std::size_t clusters = own.local_clusters.size();
  switch (which) {
  case MIEN_FRAME_WEIGHTS:
    return ViewOf(own.weights.data(), {{own.weights.size(), sizeof(double)}});
  case MIEN_FRAME_SHAPE_WEIGHTS:
    return ViewOf(own.shape_weights.data(), {{own.shape_weights.size(), sizeof(double)}});
  case MIEN_FRAME_HEAD:
    return matrix(own.head);
  case MIEN_FRAME_HEAD_MOTION:
    return matrix(own.head_motion);
  case MIEN_FRAME_EYES:
    return ViewOf(&own.eyes[0].yaw, {{2, sizeof(EyeAngles)}, {2, sizeof(double)}});
  case MIEN_FRAME_RESIDUALS:
    return ViewOf(own.residuals_mm.data(), {{own.residuals_mm.size(), sizeof(double)}});
  case MIEN_FRAME_KNOWN:
    return ViewOf(own.known.data(), {{own.known.size(), 1}});
  case MIEN_FRAME_LOCAL_TRANSLATIONS:
  case MIEN_FRAME_LOCAL_ROTATIONS:
  case MIEN_FRAME_LOCAL_SCALES:
    return ViewOfClusters(own.local_clusters.data(), clusters,
                          static_cast<ClusterValues>(which - MIEN_FRAME_LOCAL_TRANSLATIONS));
  case MIEN_FRAME_GLOBAL_TRANSLATIONS:
  case MIEN_FRAME_GLOBAL_ROTATIONS:
  case MIEN_FRAME_GLOBAL_SCALES:
    return ViewOfClusters(own.global_clusters.data(), clusters,
                          static_cast<ClusterValues>(which - MIEN_FRAME_GLOBAL_TRANSLATIONS));
  }
  throw UsageError("which", "there is no such array");
}

} // namespace

mien_frame_solver* mien_frame_solver_new(const mien_performer* performer, const mien_take* take,
                                         const mien_character* character, const mien_settings* settings,
                                         mien_messages** errors) {
  return CallNew(errors, [&] {
    const Performer& of = Require(performer, "performer").performer;
    const mien_take* const from = RequireOrNull(take, "take");
    const mien_character* const with = RequireOrNull(character, "character");
    const SolveJob& job = SettingsOf(settings, MIEN_STEP_SOLVE).solve;
    CheckFrames(job, of);
    const Character* const onto = with ? &with->character : nullptr;
    if (!onto && !job.expressions.empty()) throw UsageError("expression", "this is for a character");
    const LearnedPerformer known = Learn(of, from ? &from->take : nullptr, job);
    return std::make_unique<mien_frame_solver>(
        std::make_unique<FrameSolver>(known.performer, known.neutral, known.rigid ? &*known.rigid : nullptr,
                                      job.solve.brows, onto, job.expressions),
        known.performer, onto);
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
  return CallStatus(errors, [&] { GiveArray(array, ArrayOf(Require(solver, "solver"), which)); });
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
    if (!std::isfinite(time)) throw UsageError("time", "this is no time in seconds");
    if (time <= own.time) throw UsageError("time", "times must rise from frame to frame");
    constexpr double kFarthestMm = 1e6; // no face is a kilometre away
    if (const double* const end = markers + 3 * marker_count;
        std::any_of(markers, end, [](double x) { return std::abs(x) > kFarthestMm; }))
      throw UsageError("markers", "a position is beyond a kilometre");
    own.Solve(markers);
    own.time = time;
  });
}

mien_status mien_frame_solver_free(mien_frame_solver* solver) { return Free(solver); }
