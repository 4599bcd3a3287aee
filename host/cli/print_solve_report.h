#pragma once

#include "host/cli/output.h"
#include "host/jobs/solve_job.h"

namespace mien {

/// Prints, in lines, what was done to a take while it was solved, and how well that went.
void PrintSolveReport(const SolveJob& job, const SolveResult& result, Output& output);

} // namespace mien
