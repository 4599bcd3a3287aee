#pragma once

#include "host/batch/batch_line.h"
#include "host/batch/run_line.h"
#include "host/jobs/job_progress.h"

#include <cstddef>
#include <filesystem>
#include <functional>
#include <vector>

namespace mien {

/// A batch to run.
struct Batch {
  std::vector<BatchLine> lines = {}; ///< in the order in which they are begun
  std::filesystem::path folder = {}; ///< the manifest's
  JobOfLine job_of = {};
  std::size_t threads = 1; ///< takes that are solved at once, at least 1; each needs memory for its take
};

/// What a batch reports while it runs. Each may be missing.
struct BatchEvents {
  /// A line has ended. Called on any thread, one call at a time. Lines end in any order.
  std::function<void(const BatchLine&, const LineEnd&)> ended = {};
  /// How far the line of this thread (from 0) is; called on that thread.
  std::function<void(std::size_t thread, const BatchLine&, JobStage, std::size_t done, std::size_t total)>
      progress = {};
  /// Once true, lines that run are given up within their current stage, and no further ones are begun. Called
  /// on any thread, often.
  std::function<bool()> stopped = {};
};

/// Runs all lines; returns when the last one has ended. A line that fails does not stop the others. Lines
/// that were stopped or never begun have no event.
void RunBatch(const Batch& batch, const BatchEvents& events);

/// Makes the folders that outputs go into and that are missing. Where that fails the line will say so.
void MakeOutputFolders(const std::vector<BatchLine>& lines);

} // namespace mien
