#pragma once

#include "host/files/read_file.h"

#include <cstddef>
#include <functional>
#include <ostream>

namespace mien {

/// What a job that takes long is doing: fetching a take from its disk or a pipe, solving its frames, writing.
enum class JobStage { Reading, Solving, Writing };

/// How far a job's stage is: bytes, frames or lines done, and of how many; 0 where that is not known. May throw to stop the
/// job, which then leaves nothing behind.
using JobProgress = std::function<void(JobStage stage, std::size_t done, std::size_t total)>;

/// `progress` for what reads a file. It must outlive the answer.
ReadProgress ReadingProgress(const JobProgress& progress);

/// Writes to `out` through a stream that counts lines, and reports how many of `total` are written.
void WriteWithProgress(std::ostream& out, std::size_t total, const JobProgress& progress,
                       const std::function<void(std::ostream&)>& write);

} // namespace mien
