#pragma once

#include "host/jobs/job_progress.h"

#include <chrono>
#include <cstddef>
#include <optional>
#include <string>

namespace mien {

/// A line on the terminal that shows how far a job is and how long it will take: "solving smile [####----]  50 %  12 s left".
/// It appears when the job has taken half a second, and is wiped in the end. Silent where standard error is not a terminal
/// that can do that.
class Progress {
public:
  /// `subject` is what the job works on, such as the take's name.
  explicit Progress(std::string subject, bool quiet = false);
  ~Progress();
  Progress(const Progress&) = delete;
  Progress& operator=(const Progress&) = delete;

  void operator()(JobStage stage, std::size_t done, std::size_t total);

private:
  using Clock = std::chrono::steady_clock;

  std::string subject_;
  bool silent_;
  bool shown_ = false;
  std::optional<JobStage> stage_;
  Clock::time_point stage_start_;
  Clock::time_point next_; // when the line changes again
};

/// One such line, at most `columns` wide. `seconds` is what the stage has taken so far; the rest is estimated from the second
/// second on.
std::string ProgressLine(JobStage stage, const std::string& subject, std::size_t done, std::size_t total,
                         double seconds, std::size_t columns);

} // namespace mien
