#include "host/cli/progress.h"

#include "host/base/text.h"
#include "host/cli/terminals.h"
#include "host/inspect/text_table.h"

#include <fmt/format.h>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <string_view>
#include <system_error>

namespace mien {

namespace {

constexpr auto kDelay = std::chrono::milliseconds(500), kInterval = std::chrono::milliseconds(100);

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

/// "12 s", "3 min 5 s", "1 h 2 min"
std::string Duration(double seconds) {
  constexpr double kMost = 99 * 3600;
  const auto whole = static_cast<int>(std::ceil(std::min(seconds, kMost)));
  if (whole < 60) return fmt::format("{} s", whole);
  if (whole < 3600) return fmt::format("{} min {} s", whole / 60, whole % 60);
  return fmt::format("{} h {} min", whole / 3600, whole % 3600 / 60);
}

} // namespace

std::string ProgressLine(JobStage stage, const std::string& subject, std::size_t done, std::size_t total,
                         double seconds, std::size_t columns) {
  constexpr std::size_t kLongestBar = 30, kShortestBar = 5, kShortestSubject = 8;
  std::string title = fmt::format("{} {}", Verb(stage), Printable(subject));
  if (total == 0) {
    if (done > 0)
      title += fmt::format(", {:.0f} MB", static_cast<double>(done) / 1e6);
    else if (seconds >= 1)
      title += ", " + Duration(std::floor(seconds));
    return Shortened(title, columns);
  }
  const double part = std::min(1.0, static_cast<double>(done) / static_cast<double>(total));
  std::string numbers = fmt::format(" {:3.0f} %", std::floor(100 * part));
  if (seconds >= 1 && done > 0 && done < total) {
    const double left_s = seconds * static_cast<double>(total - done) / static_cast<double>(done);
    const std::string left = fmt::format("  {} left", Duration(left_s));
    if (kShortestSubject + Columns(numbers + left) <= columns) numbers += left;
  }
  const std::size_t room = columns - std::min(columns, Columns(numbers));
  title = Shortened(title, std::max(room, kShortestSubject));
  const std::size_t beside = Columns(title) + std::string_view(" []").size();
  if (room >= beside + kShortestBar) {
    const std::size_t bar = std::min(kLongestBar, room - beside);
    const auto filled = static_cast<std::size_t>(part * static_cast<double>(bar));
    title += fmt::format(" [{}{}]", std::string(filled, '#'), std::string(bar - filled, '-'));
  }
  return Shortened(title + numbers, columns);
}

Progress::Progress(std::string subject, bool quiet)
    : subject_(std::move(subject)), silent_(quiet || !StandardErrorIsTerminal()) {
  if (silent_) return;
  try {
    thread_ = std::thread([this] { Show(); });
  } catch (const std::system_error&) { silent_ = true; } // the system gives no more threads
}

Progress::~Progress() {
  if (silent_) return;
  {
    const std::lock_guard lock(mutex_);
    ended_ = true;
  }
  wake_.notify_one();
  thread_.join();
}

void Progress::operator()(JobStage stage, std::size_t done, std::size_t total) {
  if (silent_) return;
  const std::lock_guard lock(mutex_);
  if (stage != stage_ || (total_ == 0) != (total == 0)) stage_start_ = Clock::now();
  stage_ = stage, done_ = done, total_ = total;
}

void Progress::Show() {
  std::string shown;
  std::unique_lock lock(mutex_);
  for (Clock::time_point next = Clock::now() + kDelay; !wake_.wait_until(lock, next, [&] { return ended_; });
       next += kInterval) {
    if (!stage_ || IsInBackground()) continue;
    const double seconds = std::chrono::duration<double>(Clock::now() - stage_start_).count();
    // The last column stays free: some terminals begin a new line after it, which could not be wiped.
    const std::size_t columns = std::max<std::size_t>(StandardErrorTerminal().columns, 4) - 1;
    const std::string line = ProgressLine(*stage_, subject_, done_, total_, seconds, columns);
    if (line != shown) std::fputs(("\r\033[K" + line).c_str(), stderr);
    shown = line;
  }
  if (!shown.empty()) std::fputs("\r\033[K", stderr);
}

} // namespace mien
