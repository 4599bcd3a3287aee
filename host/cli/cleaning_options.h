#pragma once

#include "host/cli/command.h"
#include "host/solve/solve_options.h"

namespace mien {

/// --solver. `solver` must outlive the parsing.
void AddSolver(Command& command, ShapeSolver& solver);

/// --head-fit. `fit` must outlive the parsing.
void AddHeadFit(Command& command, HeadFit& fit);

/// --brows, --fill, --fill-head, --head-tolerance, --keep-slipped, --fade, --smooth and --smooth-weights.
/// `options` must outlive the parsing.
void AddCleaningOptions(Command& command, SolveOptions& options);

} // namespace mien
