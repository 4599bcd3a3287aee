#pragma once

#include "host/base/json_text.h"
#include "host/performer/neutral.h"
#include "host/solve/solve_options.h"
#include "host/solve/solve_report.h"
#include "host/takes/take.h"

#include <optional>
#include <ostream>
#include <string>
#include <utility>
#include <vector>

namespace mien {

/// A file, or something built in, that a result came from or went to.
struct ReportedFile {
  std::string role;   ///< "take", "performer", "character", "head", "basis", "basis_landmarks", "output";
                      ///< of recorded weights "weights", "ranges", "map", "landmarks"
  std::string name;   ///< its path as given, or the built-in's name
  std::string sha256; ///< or in words why there is none; empty where it is built in
};

/// {"take": {"name", "sha256"}, ...}
JsonValue FilesAsJson(const std::vector<ReportedFile>& files);

/// Everything needed to explain how a solved take came about, and to repeat it.
struct SolveRecord {
  std::vector<std::string> command; ///< the arguments
  std::vector<ReportedFile> files;
  const Take* take = nullptr; ///< not owned, nor are the others
  const Neutral* neutral = nullptr;
  const SolveOptions* options = nullptr;
  const SolveReport* report = nullptr;
  std::optional<FrameRate> output_rate = std::nullopt; ///< that the solved take was resampled to
};

/// The record as JSON: {"format": "mien report 1", "tool", "command", "files", "take", "settings", "neutral",
/// "head", "markers", "left_out", "quality", "flags", "parts", "worst_frames"}. Frames are numbered as in the
/// take.
JsonValue SolveReportAsJson(const SolveRecord& record);
void WriteSolveReport(const SolveRecord& record, std::ostream& out);

} // namespace mien
