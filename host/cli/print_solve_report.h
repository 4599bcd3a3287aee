#pragma once

#include "host/cli/output.h"
#include "host/jobs/solve_job.h"

namespace mien {

/// Prints what was done to a take while it was solved, and how good the result is.
void PrintSolveReport(const SolveJob& job, const SolveResult& result, Output& output);

} // namespace mien
