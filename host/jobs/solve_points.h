#pragma once

#include "host/character/character.h"
#include "host/fit/shape_basis.h"
#include "host/jobs/causal_job.h"
#include "host/jobs/job_progress.h"
#include "host/jobs/solve_job.h"
#include "host/performer/performer.h"
#include "host/takes/take.h"

#include <optional>
#include <vector>

namespace mien {

/// What a take in memory is solved with. Of `settings`, the members count that are not files.
struct SolveInputs {
  const SolveJob& settings;
  const Take& take; ///< with the timecode that the settings ask for
  Performer performer;
  const Character* character = nullptr;
  const ShapeBasis* basis = nullptr; ///< of the settings
  bool keep_frames = false;          ///< SolveReport::per_frame, also where the settings do not ask for it
  bool keep_own_frames = false;      ///< where the animation is resampled
};

struct SolvedPoints {
  Performer performer; ///< as it was solved with: without the irises that the take lacks
  Neutral neutral;
  std::vector<Range> ranges; ///< of the performer, also those that were not applied
  SolveReport report;
  Animation animation;
  std::optional<Animation> own_frames; ///< the animation before it was resampled
  Take face;                           ///< see SolvedTake
  /// Where the settings ask for a causal solve; then there are no neutral face, report, own frames and face.
  std::optional<CausalResult> causal;
};

/// Throws a UsageError where settings do not fit each other, or what they are for.
void CheckSolve(const SolveJob& settings, AnimationFormat format);

/// Throws a UsageError where the performer's ranges were measured with other settings.
void CheckSolve(const SolveJob& settings, const Performer& performer);

/// All that is done to a take between reading and writing: its neutral face, the head, the weights, the
/// shapes, the output's rate. Throws InputError.
SolvedPoints SolvePoints(SolveInputs inputs, const JobProgress& progress = nullptr);

} // namespace mien
