#include "host/cli/progress.h"

#include "host/base/text.h"
#include "host/inspect/text_table.h"

#include <fmt/format.h>

#include <algorithm>
#include <cmath>
#include <string_view>
#include <utility>

namespace mien {

namespace {

std::string_view Verb(JobStage stage) {
  switch (stage) {
  case JobStage::Reading:
    return "reading";
  case JobStage::Preparing:
    return "preparing";
  case JobStage::Solving:
    return "solving";
  case JobStage::Writing:
    break;
  }
  return "writing";
}

} // namespace

std::string ProgressLine(JobStage stage, const std::string& subject, std::size_t done, std::size_t total,
                         double seconds, std::size_t columns) {
  std::string title = fmt::format("{} {}", Verb(stage), Printable(subject));
  if (total == 0) {
    if (done > 0)
      title += fmt::format(", {:.0f} MB", static_cast<double>(done) / 1e6);
    else if (seconds >= 1)
      title += ", " + DurationText(std::floor(seconds));
    return Shortened(title, columns);
  }
  const double part = std::min(1.0, static_cast<double>(done) / static_cast<double>(total));
  std::string numbers = fmt::format(" {:3.0f} %", std::floor(100 * part));
  if (seconds >= 1 && done > 0 && done < total) {
    const double left_s = seconds * static_cast<double>(total - done) / static_cast<double>(done);
    const std::string left = fmt::format("  {} left", DurationText(left_s));
    if (kShortestTitle + Columns(numbers + left) <= columns) numbers += left;
  }
  return BarLine(std::move(title), part, numbers, columns);
}

Progress::Progress(std::string subject, bool quiet)
    : subject_(std::move(subject)), line_([this](std::size_t columns) { return Text(columns); }, quiet) {}

void Progress::operator()(JobStage stage, std::size_t done, std::size_t total) {
  if (line_.IsSilent()) return;
  const std::lock_guard lock(mutex_);
  if (stage != stage_ || (total_ == 0) != (total == 0)) stage_start_ = Clock::now();
  stage_ = stage, done_ = done, total_ = total;
}

std::string Progress::Text(std::size_t columns) {
  const std::lock_guard lock(mutex_);
  if (!stage_) return "";
  const double seconds = std::chrono::duration<double>(Clock::now() - stage_start_).count();
  return ProgressLine(*stage_, subject_, done_, total_, seconds, columns);
}

} // namespace mien
