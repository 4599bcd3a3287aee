#include "host/net/unblocked_output.h"

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <climits>
#include <poll.h>
#include <unistd.h>

namespace mien {

namespace {

/// Whether a pipe takes at least PIPE_BUF bytes, or a file any number, without waiting.
bool IsReady(int descriptor, int wait_ms) {
  pollfd poll_for = {descriptor, POLLOUT, 0};
  int ready = 0;
  do ready = poll(&poll_for, 1, wait_ms);
  while (ready < 0 && errno == EINTR);
  return ready > 0;
}

} // namespace

UnblockedOutput::UnblockedOutput(EventLoop& loop, int descriptor) : descriptor_(descriptor) {
  using namespace std::chrono_literals;
  loop.Every(5ms, [this] { WriteSome(); });
}

void UnblockedOutput::Write(std::string_view line) {
  if (error_ != 0) return;
  if (kept_.size() - written_ + line.size() > kMostKept) {
    ++dropped_;
    return;
  }
  kept_ += line;
  WriteSome();
}

void UnblockedOutput::WriteSome() {
  while (written_ < kept_.size() && error_ == 0 && IsReady(descriptor_, 0)) {
    const ssize_t size =
        write(descriptor_, kept_.data() + written_, std::min<std::size_t>(kept_.size() - written_, PIPE_BUF));
    if (size < 0 && errno != EINTR && errno != EAGAIN) error_ = errno;
    if (size < 0) break;
    written_ += static_cast<std::size_t>(size);
  }
  if (written_ == kept_.size() || error_ != 0) {
    kept_.clear();
    written_ = 0;
  } else if (written_ > kMostKept / 4) {
    kept_.erase(0, written_);
    written_ = 0;
  }
}

void UnblockedOutput::Finish() {
  constexpr int kWait_ms = 1000;
  while (!kept_.empty() && IsReady(descriptor_, kWait_ms)) WriteSome();
  dropped_ += static_cast<std::uint64_t>(
      std::count(kept_.begin() + static_cast<std::ptrdiff_t>(written_), kept_.end(), '\n'));
  kept_.clear();
  written_ = 0;
}

} // namespace mien
