#include "host/net/line_input.h"

#include "host/net/asio_context.h"

#include <array>
#include <asio/posix/stream_descriptor.hpp>
#include <asio/post.hpp>
#include <cerrno>
#include <string>
#include <sys/stat.h>
#include <system_error>
#include <unistd.h>
#include <utility>

namespace mien {

struct LineInput::Reader : std::enable_shared_from_this<Reader> {
  Reader(EventLoop& loop, int input, Events callbacks)
      : io(loop.Asio().io), stream(io), descriptor(input), events(std::move(callbacks)) {
    struct stat status {};
    if (fstat(input, &status) == 0 && S_ISREG(status.st_mode))
      return; // always ready; the system refuses to wait for it
    const int own = dup(input);
    std::error_code error;
    if (own >= 0) stream.assign(own, error);
    if (own >= 0 && error) close(own);
  }

  void Wait() {
    const auto ready = [self = shared_from_this()](const std::error_code& error) {
      if (self->ended) return;
      std::error_code ignored;
      if (error) self->stream.close(ignored); // the system refuses to wait for this, too: /dev/null
      if (self->ReadSome()) self->Wait();
    };
    if (stream.is_open())
      stream.async_wait(asio::posix::stream_descriptor::wait_read, ready);
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
  asio::posix::stream_descriptor stream;
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
  reader_->stream.close(ignored);
}

} // namespace mien
