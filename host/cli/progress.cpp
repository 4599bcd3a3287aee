#include "host/cli/progress.h"

#include "host/base/text.h"

#include <fmt/format.h>

#include <cstdio>
#include <unistd.h>

namespace mien {

namespace {

constexpr auto kInterval = std::chrono::milliseconds(100);

} // namespace

Progress::Progress(std::string work)
    : work_(std::move(work)), on_terminal_(isatty(STDERR_FILENO) != 0),
      next_(std::chrono::steady_clock::now() + kInterval) {}

Progress::~Progress() {
  if (shown_) std::fputs("\r\033[K", stderr);
}

void Progress::operator()(std::size_t done, std::size_t total) {
  if (!on_terminal_) return;
  const auto now = std::chrono::steady_clock::now();
  if (now < next_) return;
  next_ = now + kInterval;
  shown_ = true;
  fmt::print(stderr, "\r\033[K{}: frame {} of {}", Printable(work_), done, total);
  std::fflush(stderr);
}

} // namespace mien
