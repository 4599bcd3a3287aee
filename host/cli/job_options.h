#pragma once

#include "host/cli/command.h"
#include "host/jobs/calibrate_job.h"
#include "host/jobs/convert_job.h"
#include "host/jobs/retarget_job.h"
#include "host/jobs/solve_job.h"

namespace mien {

// What a command line, or a line of a batch, says of a job. What the options are read into must outlive the
// parsing.

/// All arguments and options of `mien solve` that describe the job.
void AddSolveOptions(Command& command, SolveJob& job);

/// The same of `mien retarget`.
void AddRetargetOptions(Command& command, RetargetJob& job);

/// The options of `mien calibrate` that say how takes are measured: not those that name files and read takes,
/// but --poses.
void AddMeasuringOptions(Command& command, CalibrateJob& job);

/// The options of `mien convert` that say which part of a take is written.
void AddPartOptions(Command& command, ConvertJob& job);

} // namespace mien
