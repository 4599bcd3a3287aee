#pragma once

#include "host/cli/status_line.h"
#include "host/jobs/job_progress.h"

#include <chrono>
#include <cstddef>
#include <mutex>
#include <optional>
#include <string>

namespace mien {

/// A status line that shows how far a job is and how long it will take: "solving smile [####----] 50 %
/// 12 s left".
class Progress {
public:
  /// `subject` is what the job works on, such as the take's name.
  explicit Progress(std::string subject, bool quiet = false);
  Progress(const Progress&) = delete;
  Progress& operator=(const Progress&) = delete;

  void operator()(JobStage stage, std::size_t done, std::size_t total);

private:
  using Clock = std::chrono::steady_clock;

  std::string Text(std::size_t columns);

  const std::string subject_;
  std::mutex mutex_; // for all below
  std::optional<JobStage> stage_;
  Clock::time_point stage_start_;
  std::size_t done_ = 0, total_ = 0;
  StatusLine line_; // the last member: it uses the others
};

/// One such line, at most `columns` wide. `seconds` is what the stage has taken so far; from 1 on the rest is
/// estimated, or, of a stage whose end is not known, the seconds are shown.
std::string ProgressLine(JobStage stage, const std::string& subject, std::size_t done, std::size_t total,
                         double seconds, std::size_t columns);

} // namespace mien
