#include "host/cli/batch_progress.h"

#include <fmt/format.h>

#include <algorithm>

namespace mien {

std::string BatchProgressLine(const BatchPace& pace, std::size_t columns) {
  std::string numbers = fmt::format(" {} of {} takes", pace.ended, pace.lines);
  if (pace.frames > 0 && pace.seconds >= 1)
    numbers += fmt::format("  {:.0f} frames/s", pace.frames / pace.seconds);
  if (pace.cost_solved > 0 && pace.seconds >= 1)
    numbers += fmt::format("  {} left", DurationText(pace.seconds * static_cast<double>(pace.cost_left) /
                                                     static_cast<double>(pace.cost_solved)));
  const double part =
      static_cast<double>(pace.ended) / static_cast<double>(std::max<std::size_t>(pace.lines, 1));
  return BarLine("solving", part, numbers, columns);
}

BatchProgress::BatchProgress(const std::vector<BatchLine>& lines, std::size_t threads, bool quiet)
    : running_(threads), line_([this](std::size_t columns) { return Text(columns); }, quiet) {
  const std::lock_guard lock(mutex_);
  ended_.lines = lines.size();
  for (const BatchLine& line : lines) ended_.cost_left += line.cost;
}

void BatchProgress::Report(std::size_t thread, const BatchLine& line, JobStage stage, std::size_t done,
                           std::size_t total) {
  if (line_.IsSilent()) return;
  const std::lock_guard lock(mutex_);
  Running& running = running_[thread];
  if (running.line != &line) running = {.line = &line};
  if (stage == JobStage::Solving) running.done = done, running.total = total;
}

void BatchProgress::End(const BatchLine& line, const LineEnd& end) {
  const std::lock_guard lock(mutex_);
  for (Running& running : running_)
    if (running.line == &line) running = {};
  ++ended_.ended;
  ended_.cost_left -= line.cost;
  if (end.kind != LineEnd::Kind::Done) return;
  ended_.frames += static_cast<double>(end.frames);
  ended_.cost_solved += line.cost;
}

std::string BatchProgress::Text(std::size_t columns) {
  const std::lock_guard lock(mutex_);
  BatchPace pace = ended_;
  pace.seconds = std::chrono::duration<double>(Clock::now() - start_).count();
  for (const Running& running : running_) {
    if (!running.line || running.total == 0) continue;
    const double part = static_cast<double>(running.done) / static_cast<double>(running.total);
    const auto cost = static_cast<std::uint64_t>(part * static_cast<double>(running.line->cost));
    pace.frames += static_cast<double>(running.done);
    pace.cost_solved += cost;
    pace.cost_left -= cost;
  }
  return BatchProgressLine(pace, columns);
}

} // namespace mien
