#pragma once

#include "host/files/read_file.h"

#include <cstddef>
#include <functional>
#include <ostream>

namespace mien {

/// What a job that takes long is doing.
enum class JobStage {
  Reading,   ///< a take: fetching its bytes from a disk or a pipe, then reading them
  Preparing, ///< it: finding the neutral face
  Solving,   ///< its frames
  Writing,   ///< the output
};

/// How far a job's stage is: bytes, frames or values done, and of how many; 0 where that is not known. May
/// throw to stop the job, which then leaves nothing behind.
using JobProgress = std::function<void(JobStage stage, std::size_t done, std::size_t total)>;

/// `progress` for the reader of a file's bytes: after the last of them, the stage's end is unknown. It must
/// outlive the result.
ReadProgress ReadingProgress(const JobProgress& progress);

/// Writes text to `out` through a stream that counts its values by the commas and tabs behind them, and
/// reports how many of `total` are written: an estimate, which the text may exceed a little.
void WriteWithProgress(std::ostream& out, std::size_t total, const JobProgress& progress,
                       const std::function<void(std::ostream&)>& write);

} // namespace mien
