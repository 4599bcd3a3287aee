#pragma once

#include "host/cli/command.h"
#include "host/jobs/causal_job.h"
#include "host/solve/solve_options.h"

#include <optional>

namespace mien {

/// --solver. `solver` must outlive the parsing.
void AddSolver(Command& command, ShapeSolver& solver);

/// --head-fit. `fit` must outlive the parsing.
void AddHeadFit(Command& command, HeadFit& fit);

/// --fade, --smooth-weights and --smooth-gaze of recorded weights. What they are read into must outlive the
/// parsing.
void AddWeightCleaning(Command& command, double& fade_s, std::optional<double>& smooth_weights_hz,
                       std::optional<double>& smooth_gaze_hz);

/// --brows, --fill, --fill-head, --head-tolerance, --keep-slipped, --fade, --smooth and --smooth-weights.
/// `options` must outlive the parsing.
void AddCleaningOptions(Command& command, SolveOptions& options);

/// --causal and the options that only it uses: --hold, --face-hold, --face-fade and --one-euro; for markers
/// also
/// --neutral-take and --learn. `job` must outlive the parsing.
void AddCausalOptions(Command& command, CausalJob& job, bool markers);

/// The same without --causal, for a stream, which is causal anyway.
void AddStreamOptions(Command& command, CausalJob& job, bool markers);

} // namespace mien
