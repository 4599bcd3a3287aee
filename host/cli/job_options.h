#pragma once

#include "host/cli/command.h"
#include "host/jobs/retarget_job.h"
#include "host/jobs/solve_job.h"

namespace mien {

// What a command line, or a line of a batch, says of a job. What the options are read into must outlive the
// parsing.

/// All arguments and options of `mien solve` that describe the job.
void AddSolveOptions(Command& command, SolveJob& job);

/// The same of `mien retarget`.
void AddRetargetOptions(Command& command, RetargetJob& job);

} // namespace mien
