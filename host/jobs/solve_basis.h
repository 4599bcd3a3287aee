#pragma once

#include "host/fit/shape_basis.h"
#include "host/jobs/solve_job.h"

#include <optional>
#include <string>

namespace mien {

/// Where the landmarks of a job's basis are, if it is a head: a table has them itself. Empty otherwise.
std::string BasisLandmarks(const SolveJob& job);

/// Reads the basis that a job names; nothing where it names none. Throws InputError; of Code::Usage for
/// landmarks that do not fit it.
std::optional<ShapeBasis> BasisOf(const SolveJob& job);

} // namespace mien
