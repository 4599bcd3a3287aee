#pragma once

#include "host/batch/batch_line.h"
#include "host/batch/run_line.h"
#include "host/cli/status_line.h"

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <mutex>
#include <string>
#include <vector>

namespace mien {

/// How far a batch is.
struct BatchPace {
  std::size_t ended = 0, lines = 0;
  double frames = 0; ///< solved, those of takes that are running among them
  std::uint64_t cost_solved = 0,
                cost_left = 0; ///< of takes that were solved, and of those that have not ended
  double seconds = 0;          ///< since the first take was begun
};

/// "solving [####----] 12 of 40 takes  5200 frames/s  3 min 5 s left", at most `columns` wide. Takes that were
/// skipped say nothing of the time.
std::string BatchProgressLine(const BatchPace& pace, std::size_t columns);

/// A status line that shows how far a batch is.
class BatchProgress {
public:
  BatchProgress(const std::vector<BatchLine>& lines, std::size_t threads, bool quiet);
  BatchProgress(const BatchProgress&) = delete;
  BatchProgress& operator=(const BatchProgress&) = delete;

  /// See BatchEvents.
  void Report(std::size_t thread, const BatchLine& line, JobStage stage, std::size_t done, std::size_t total);
  void End(const BatchLine& line, const LineEnd& end);

  /// Prints on standard error, above the line.
  void Above(const std::function<void()>& print) { line_.Above(print); }

private:
  using Clock = std::chrono::steady_clock;

  /// The take that a thread works on.
  struct Running {
    const BatchLine* line = nullptr;
    std::size_t done = 0, total = 0; // frames solved
  };

  std::string Text(std::size_t columns);

  std::mutex mutex_; // for all below
  BatchPace ended_;  // without what runs
  std::vector<Running> running_;
  Clock::time_point start_ = Clock::now();
  StatusLine line_; // the last member: it uses the others
};

} // namespace mien
