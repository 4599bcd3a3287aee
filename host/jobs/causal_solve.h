#pragma once

#include "host/base/json_text.h"
#include "host/jobs/job_progress.h"
#include "host/jobs/retarget_job.h"
#include "host/jobs/solve_job.h"
#include "host/live/live_face.h"
#include "host/live/solve_causally.h"

#include <cstddef>
#include <optional>
#include <vector>

namespace mien {

// The causal solve of a job: the same result as for a stream of the same frames.

/// Throws a UsageError for settings that need later frames; without `causal`, for settings that only a causal
/// solve has.
void CheckCausal(const SolveJob& job);
void CheckCausal(const RetargetJob& job);

/// For programs. `frames` were read, `written` frames written.
JsonValue AsJson(const CausalResult& causal, std::size_t frames, std::size_t written);

/// What a job's settings mean for a face of markers: all of its setup but the performer, the character and
/// the basis. Reads the job's neutral take. Throws InputError.
LiveSetup SetupOf(const SolveJob& job);

/// The same for a face of weights: all of its setup but the ranges and the character. The map is read if
/// there is going to be a character.
LiveSetup SetupOf(const RetargetJob& job, bool has_character);

/// Solves a take. `character` may be null: then there are no shapes and clusters. `performer` has only the
/// ranges to apply. `basis` is the job's; null for the built-in ones. Throws InputError as LiveFace does.
CausallySolved SolveCausally(const SolveJob& job, const Take& take, const Performer& performer,
                             const Character* character, const ShapeBasis* basis,
                             const JobProgress& progress);

/// The same for weights. `ranges` is empty if the job names none.
CausallySolved SolveCausally(const RetargetJob& job, const WeightTake& take, const std::vector<Range>& ranges,
                             const Character* character, const JobProgress& progress);

} // namespace mien
