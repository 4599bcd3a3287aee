#include "host/net/line_input.h"

#include "host/net/asio_context.h"

#include <array>
#include <asio/posix/stream_descriptor.hpp>
#include <asio/post.hpp>
#include <cerrno>
#include <string>
#include <sys/epoll.h>
#include <system_error>
#include <unistd.h>
#include <utility>

namespace mien {

namespace {

/// A descriptor that is readable while `input` is; -1 for files and devices that are always ready, which the
/// system refuses to wait for. asio makes what it waits for non-blocking, and `input` may be shared: with
/// standard output on a terminal, and with the programs that read it next.
int WatchOf(int input) {
  const int watch = epoll_create1(EPOLL_CLOEXEC);
  epoll_event event{};
  event.events = EPOLLIN;
  if (watch < 0 || epoll_ctl(watch, EPOLL_CTL_ADD, input, &event) == 0) return watch;
  close(watch);
  return -1;
}

} // namespace

struct LineInput::Reader : std::enable_shared_from_this<Reader> {
  Reader(EventLoop& loop, int input, Events callbacks)
      : io(loop.Asio().io), watch(io), descriptor(input), events(std::move(callbacks)) {
    const int own = WatchOf(input);
    std::error_code error;
    if (own >= 0) watch.assign(own, error);
    if (own >= 0 && error) close(own);
  }

  void Wait() {
    const auto ready = [self = shared_from_this()](const std::error_code& error) {
      if (!error && !self->ended && self->ReadSome()) self->Wait();
    };
    if (watch.is_open())
      watch.async_wait(asio::posix::stream_descriptor::wait_read, ready);
    else
      asio::post(io, [ready] { ready({}); });
  }

  /// False at the end.
  bool ReadSome() {
    std::array<char, 65536> bytes;
    const ssize_t size = read(descriptor, bytes.data(), bytes.size());
    if (size < 0 && (errno == EINTR || errno == EAGAIN)) return true;
    const auto arrived = EventLoop::Clock::now();
    if (size <= 0) {
      if (!line.empty()) EndLine(arrived);
      if (!ended) events.end();
      return false;
    }
    std::string_view rest(bytes.data(), static_cast<std::size_t>(size));
    while (!rest.empty() && !ended) {
      const std::size_t end = rest.find('\n');
      const std::string_view part = rest.substr(0, end);
      const std::size_t room = kLongestLine - line.size();
      is_cut |= part.size() > room;
      line += part.substr(0, room);
      if (end == std::string_view::npos) break;
      EndLine(arrived);
      rest.remove_prefix(end + 1);
    }
    return !ended;
  }

  void EndLine(EventLoop::Clock::time_point arrived) {
    if (line.ends_with('\r')) line.pop_back();
    events.line(line, is_cut, arrived);
    line.clear();
    is_cut = false;
  }

  asio::io_context& io;
  asio::posix::stream_descriptor watch;
  const int descriptor;
  const Events events;
  std::string line;
  bool is_cut = false;
  bool ended = false; ///< the LineInput is gone
};

LineInput::LineInput(EventLoop& loop, int descriptor, Events events)
    : reader_(std::make_shared<Reader>(loop, descriptor, std::move(events))) {
  reader_->Wait();
}

LineInput::~LineInput() {
  reader_->ended = true;
  std::error_code ignored;
  reader_->watch.close(ignored);
}

} // namespace mien
