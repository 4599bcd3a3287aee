#pragma once

#include "host/jobs/retarget_job.h"
#include "host/jobs/solve_job.h"

#include <cstddef>
#include <cstdint>
#include <functional>
#include <string>
#include <variant>
#include <vector>

namespace mien {

using BatchJob = std::variant<SolveJob, RetargetJob>;

/// A take of a batch and what becomes of it. There may be hundreds of thousands: the job itself is made when
/// the line's turn comes.
struct BatchLine {
  std::size_t number = 0; ///< in the manifest
  std::string take = {};  ///< the file that is read: points of `solve`, weights of `retarget`
  std::string output = {};
  /// The arguments of the mien command that does the same, with paths as the manifest gives them and options in
  /// the order of their help. They are in the line's report, and equal exactly where the settings are.
  std::vector<std::string> command = {};
  std::uint64_t cost = 0; ///< see cost.h
};

/// Makes a line's job. Paths are those that the process can use. Throws InputError. May be called on any
/// thread.
using JobOfLine = std::function<BatchJob(const BatchLine&)>;

/// The file about how a line's output was made, which is written last, when the line is done.
inline std::string ReportOf(const BatchLine& line) { return line.output + ".report.json"; }

/// The file about why a line failed; gone when it is done.
inline std::string ErrorFileOf(const BatchLine& line) { return line.output + ".error.json"; }

} // namespace mien
