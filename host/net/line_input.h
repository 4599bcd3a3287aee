#pragma once

#include "host/net/event_loop.h"

#include <cstddef>
#include <functional>
#include <memory>
#include <string_view>

namespace mien {

/// Lines from a descriptor, such as standard input: a pipe, a terminal, a file or a device.
class LineInput {
public:
  /// The longest line; the rest of a longer one is skipped.
  static constexpr std::size_t kLongestLine = std::size_t{1} << 20;

  struct Events {
    /// A line without its end; valid during the call. `is_cut`: it was longer than kLongestLine.
    std::function<void(std::string_view line, bool is_cut, EventLoop::Clock::time_point arrived)> line;
    std::function<void()> end; ///< nothing more will come
  };

  /// Reads while the loop runs and the reader lives. The descriptor stays open, and both it and the loop must
  /// outlive the reader.
  LineInput(EventLoop& loop, int descriptor, Events events);
  ~LineInput();
  LineInput(const LineInput&) = delete;
  LineInput& operator=(const LineInput&) = delete;

private:
  struct Reader;
  std::shared_ptr<Reader> reader_; // shared with the wait that is under way
};

} // namespace mien
