#pragma once

#include "host/c_interface/performer.h"
#include "host/c_interface/take.h"
#include "host/jobs/retarget_job.h"
#include "host/jobs/solve_job.h"
#include "host/live/live_face.h"

#include <memory>

namespace mien {

// What a face is solved with frame by frame, from a caller's handles and settings; the same as for a causal
// solve of a take. The handles may be freed. Both throw InputError; of Code::Usage for settings that do not
// fit each other or need later frames.

/// A face of markers. It is learned from `take`, if there is one; `character` may be null too.
LiveSetup SetupOfMarkers(SolveJob job, const mien_performer& performer, const mien_take* take,
                         std::shared_ptr<const Character> character);

/// A face of weights. `character` may be null.
LiveSetup SetupOfWeights(RetargetJob job, std::shared_ptr<const Character> character);

} // namespace mien
