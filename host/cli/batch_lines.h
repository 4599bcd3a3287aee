#pragma once

#include "host/batch/batch_line.h"
#include "host/batch/manifest.h"
#include "host/cli/option_parser.h"
#include "host/jobs/retarget_job.h"
#include "host/jobs/solve_job.h"

#include <filesystem>
#include <mutex>
#include <string>
#include <vector>

namespace mien {

/// What the command line says for all lines of a batch; a line's own values come before it.
struct BatchDefaults {
  std::vector<ManifestValue> values;
  std::string output; ///< a pattern for lines without one, "out/{name}.glb": see BatchLines; may be empty
};

/// Makes the lines of a manifest jobs, by the options of mien solve and mien retarget themselves: a name in the
/// manifest is an option without its dashes. "take" is what the command reads, and "command" is
/// "solve", the default, or "retarget".
///
/// In a pattern for outputs {name} is the take's file name without its ending and {folder} that of its folder.
/// What the command line names relative to the current folder is kept relative to the manifest's.
class BatchLines {
public:
  explicit BatchLines(const Manifest& manifest);
  BatchLines(const BatchLines&) = delete;
  BatchLines& operator=(const BatchLines&) = delete;

  /// The lines, each of which makes a job, with different outputs. Throws InputError with all mistakes that
  /// are found, up to twenty.
  std::vector<BatchLine> Read(const BatchDefaults& defaults);

  /// See JobOfLine.
  BatchJob JobOf(const BatchLine& line);

private:
  class Reader;

  BatchJob Parse(const std::vector<std::string>& command);

  const Manifest& manifest_;
  std::mutex mutex_; // for the parsers and their jobs
  SolveJob solve_job_;
  RetargetJob retarget_job_;
  OptionParser solve_, retarget_;
};

} // namespace mien
