#pragma once

#include "host/jobs/job_progress.h"

#include <chrono>
#include <condition_variable>
#include <cstddef>
#include <mutex>
#include <optional>
#include <string>
#include <thread>

namespace mien {

/// A line on the terminal that shows how far a job is and how long it will take: "solving smile [####----]
/// 50 %  12 s left". It appears when the job has taken half a second, changes ten times a second whatever the
/// job is doing, and is wiped in the end. Silent where standard error is not a terminal that can do that, and
/// in the background.
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

  void Show(); // runs in a thread of its own

  const std::string subject_;
  bool silent_;
  std::mutex mutex_; // for all below
  std::condition_variable wake_;
  bool ended_ = false;
  std::optional<JobStage> stage_;
  Clock::time_point stage_start_;
  std::size_t done_ = 0, total_ = 0;
  std::thread thread_; // the last member: it uses the others
};

/// One such line, at most `columns` wide. `seconds` is what the stage has taken so far; from 1 on the rest is
/// estimated, or, of a stage whose end is not known, the seconds are shown.
std::string ProgressLine(JobStage stage, const std::string& subject, std::size_t done, std::size_t total,
                         double seconds, std::size_t columns);

} // namespace mien
