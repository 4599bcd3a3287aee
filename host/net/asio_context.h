#pragma once

#include "host/net/event_loop.h"

#include <asio/io_context.hpp>

namespace mien {

/// In a separate header, because asio takes seconds to compile.
struct EventLoop::Context {
  asio::io_context io{1}; // one thread
};

} // namespace mien
