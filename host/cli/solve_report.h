#pragma once

#include "host/performer/neutral.h"
#include "host/performer/performer.h"
#include "host/solve/solve_options.h"
#include "host/solve/solve_take.h"
#include "host/takes/take.h"

namespace mien {

/// Prints, in lines, what was done to a take while it was solved, and how well that went.
void ReportOnSolve(const Take& take, const Performer& performer, const Neutral& neutral,
                   const SolveOptions& options, const SolveReport& report);

} // namespace mien
