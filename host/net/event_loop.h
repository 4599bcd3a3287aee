#pragma once

#include <chrono>
#include <functional>
#include <memory>

namespace mien {

/// Waits for sockets, descriptors and the clock on one thread, and makes the calls that were registered for
/// them, one at a time. Nothing here may be called from another thread.
class EventLoop {
public:
  using Clock = std::chrono::steady_clock;

  EventLoop();
  ~EventLoop();
  EventLoop(const EventLoop&) = delete;
  EventLoop& operator=(const EventLoop&) = delete;

  /// Calls what is due until Stop. An exception of one of the calls ends it and is passed on.
  void Run();
  void Stop();

  /// Calls `tick` after each period until the loop ends. A missed tick is skipped: the next one comes at the
  /// next multiple of the period.
  void Every(Clock::duration period, std::function<void()> tick);

  /// Calls `work` once, at this time or as soon after it as possible.
  void At(Clock::time_point time, std::function<void()> work);

  /// What asio's objects are made with; for the sources of this folder.
  struct Context;
  Context& Asio() { return *context_; }

private:
  std::unique_ptr<Context> context_;
};

} // namespace mien
