#pragma once

#include "host/animation/animation.h"
#include "host/character/character.h"
#include "host/jobs/job_progress.h"
#include "host/jobs/retarget_job.h"

namespace mien {

/// Throws a UsageError where the settings of a job do not fit each other.
void CheckRetarget(const RetargetJob& settings);

/// All that is done to recorded weights in memory between reading and writing: `result.take` is cleaned, made
/// an animation, joined with the landmarks' head, put onto `character` (null for none) and resampled. Of
/// `settings`, the members count that name neither the weights nor what is written. Fills everything of
/// `result` but the files. Throws InputError.
Animation RetargetWeights(const RetargetJob& settings, const Character* character, RetargetResult& result,
                          const JobProgress& progress = nullptr);

} // namespace mien
