#include "host/cli/status_line.h"

#include "host/cli/terminals.h"
#include "host/inspect/text_table.h"

#include <fmt/format.h>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <string_view>
#include <system_error>
#include <utility>

namespace mien {

namespace {

constexpr auto kDelay = std::chrono::milliseconds(500), kInterval = std::chrono::milliseconds(100);

void Wipe() { std::fputs("\r\033[K", stderr); }

} // namespace

StatusLine::StatusLine(std::function<std::string(std::size_t columns)> text, bool quiet)
    : text_(std::move(text)), silent_(quiet || !StandardErrorIsTerminal()) {
  if (silent_) return;
  try {
    thread_ = std::thread([this] { Show(); });
  } catch (const std::system_error&) { silent_ = true; } // the system gives no more threads
}

StatusLine::~StatusLine() {
  if (silent_) return;
  {
    const std::lock_guard lock(mutex_);
    ended_ = true;
  }
  wake_.notify_one();
  thread_.join();
}

void StatusLine::Above(const std::function<void()>& print) {
  const std::lock_guard lock(mutex_);
  if (!shown_.empty()) Wipe();
  shown_.clear();
  print();
}

void StatusLine::Show() {
  using Clock = std::chrono::steady_clock;
  std::unique_lock lock(mutex_);
  for (Clock::time_point next = Clock::now() + kDelay; !wake_.wait_until(lock, next, [&] { return ended_; });
       next += kInterval) {
    if (IsInBackground()) continue;
    // The last column stays free: some terminals begin a new line after it, which could not be wiped.
    const std::size_t columns = std::max<std::size_t>(StandardErrorTerminal().columns, 4) - 1;
    const std::string line = text_(columns);
    if (line.empty()) continue;
    if (line != shown_) std::fputs(("\r\033[K" + line).c_str(), stderr);
    shown_ = line;
  }
  if (!shown_.empty()) Wipe();
}

std::string DurationText(double seconds) {
  constexpr double kMost = 99 * 3600;
  const auto whole = static_cast<int>(std::ceil(std::min(seconds, kMost)));
  if (whole < 60) return fmt::format("{} s", whole);
  if (whole < 3600) return fmt::format("{} min {} s", whole / 60, whole % 60);
  return fmt::format("{} h {} min", whole / 3600, whole % 3600 / 60);
}

std::string BarLine(std::string title, double part, const std::string& numbers, std::size_t columns) {
  constexpr std::size_t kLongestBar = 30, kShortestBar = 5;
  const std::size_t room = columns - std::min(columns, Columns(numbers));
  title = Shortened(title, std::max(room, kShortestTitle));
  const std::size_t beside = Columns(title) + std::string_view(" []").size();
  if (room >= beside + kShortestBar) {
    const std::size_t bar = std::min(kLongestBar, room - beside);
    const auto filled = static_cast<std::size_t>(part * static_cast<double>(bar));
    title += fmt::format(" [{}{}]", std::string(filled, '#'), std::string(bar - filled, '-'));
  }
  return Shortened(title + numbers, columns);
}

} // namespace mien
