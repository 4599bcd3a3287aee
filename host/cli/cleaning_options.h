#pragma once

#include "host/cli/command.h"
#include "host/solve/solve_options.h"

namespace mien {

/// --fill, --fill-head, --head-tolerance, --keep-slipped, --fade, --smooth and --smooth-weights. `options` must outlive the
/// parsing.
void AddCleaningOptions(Command& command, SolveOptions& options);

} // namespace mien
