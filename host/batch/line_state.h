#pragma once

#include "host/base/error.h"
#include "host/batch/batch_line.h"
#include "host/solve/quality.h"

#include <filesystem>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace mien {

/// What the files beside a line's output say of it.
struct LineState {
  enum class Kind {
    Done,    ///< there is a report, and everything in it is still true
    Failed,  ///< the last attempt left an error
    Stale,   ///< there is a report, but something has changed since
    Missing, ///< there is no report that can be read
  };
  Kind kind = Kind::Missing;
  std::string why = {};               ///< it is stale or missing: "takes/a.c3d has changed"
  Grade grade = Grade::None;          ///< of Done
  std::vector<Problem> problems = {}; ///< of Failed
};

std::string_view ToText(LineState::Kind kind); ///< "done", "failed", "stale", "missing"

enum class LineCheck {
  Hashes, ///< inputs and outputs must have the hashes that the report says
  Report, ///< only settings and version; outputs must be there
};

/// Compares a line with its report. `folder` is the manifest's. An error of the last attempt counts only where
/// the check is of the report: work goes by the report alone.
LineState CheckLine(const BatchLine& line, const std::filesystem::path& folder, LineCheck check);

/// The path of a file that a manifest in this folder names.
std::string PathIn(const std::filesystem::path& folder, const std::string& name);

/// The reverse: the manifest's name for a file of a line. Reports and errors have these names, so that they are
/// the same wherever the batch is started.
std::string NameIn(const std::filesystem::path& folder, const BatchLine& line, const std::string& path);

/// Replaces a line's error file by the problems of an attempt. A file that cannot be written is not an error.
void WriteErrorFile(const BatchLine& line, const std::filesystem::path& folder,
                    std::vector<Problem> problems);

} // namespace mien
