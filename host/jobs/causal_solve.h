#pragma once

#include "host/base/json_text.h"
#include "host/jobs/job_progress.h"
#include "host/jobs/retarget_job.h"
#include "host/jobs/solve_job.h"
#include "host/live/solve_causally.h"

#include <cstddef>
#include <optional>
#include <vector>

namespace mien {

// The causal solve of a job: what a stream of the same frames would give.

/// Throws a UsageError for settings that need the frames to come, and without `causal` for those that are
/// only for it.
void CheckCausal(const SolveJob& job);
void CheckCausal(const RetargetJob& job);

/// For programs. `frames` were read, `written` frames written.
JsonValue AsJson(const CausalResult& causal, std::size_t frames, std::size_t written);

/// The shapes and clusters are those of the character, if there is one. `performer` has the ranges that are
/// to be applied. The take's positions are as it has them. Throws InputError as LiveFace does.
CausallySolved SolveCausally(const SolveJob& job, const Take& take, const Performer& performer,
                             const std::optional<Character>& character,
                             const std::optional<ShapeBasis>& basis, const JobProgress& progress);

/// The same of weights, without ranges where the job names none.
CausallySolved SolveCausally(const RetargetJob& job, const WeightTake& take, const std::vector<Range>& ranges,
                             const std::optional<Character>& character, const JobProgress& progress);

} // namespace mien
