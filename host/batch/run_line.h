#pragma once

#include "host/base/error.h"
#include "host/batch/batch_line.h"
#include "host/jobs/job_progress.h"
#include "host/solve/quality.h"

#include <cstddef>
#include <exception>
#include <filesystem>
#include <string>
#include <string_view>
#include <vector>

namespace mien {

/// How a line ended.
struct LineEnd {
  enum class Kind {
    Done,    ///< its output and its report are written
    Failed,  ///< something is wrong; nothing of it is left but its error file
    Skipped, ///< it was done before
    Stopped, ///< the batch was stopped; nothing of it is left
  };
  Kind kind = Kind::Stopped;
  std::string why = {};               ///< it was not skipped: "there is no report"
  std::size_t frames = 0;             ///< of the take; 0 unless done
  Grade grade = Grade::None;          ///< by its report
  std::vector<Problem> problems = {}; ///< of Failed
};

std::string_view ToText(LineEnd::Kind kind); ///< "done", "failed", "skipped", "stopped"

/// What `progress` throws to stop a line.
struct BatchStopped : std::exception {};

/// Does a line, unless it is done already. Its report is written after everything else, and is the same
/// whatever happened before. Whatever is wrong with the line becomes its end; nothing is thrown. `folder` is
/// the manifest's.
LineEnd RunLine(const BatchLine& line, const std::filesystem::path& folder, const JobOfLine& job_of,
                const JobProgress& progress) noexcept;

} // namespace mien
