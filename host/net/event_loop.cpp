#include "host/net/event_loop.h"

#include "host/net/asio_context.h"

#include <asio/steady_timer.hpp>
#include <memory>
#include <system_error>
#include <utility>

namespace mien {

namespace {

/// A timer that is set again after each tick. The wait that the loop keeps owns it.
class Ticks : public std::enable_shared_from_this<Ticks> {
public:
  Ticks(asio::io_context& io, EventLoop::Clock::duration period, std::function<void()> tick)
      : timer_(io), start_(EventLoop::Clock::now()), period_(period), tick_(std::move(tick)) {}

  void Wait() {
    const auto periods = (EventLoop::Clock::now() - start_) / period_ + 1;
    timer_.expires_at(start_ + periods * period_);
    timer_.async_wait([self = shared_from_this()](const std::error_code& error) {
      if (error) return;
      self->tick_();
      self->Wait();
    });
  }

private:
  asio::steady_timer timer_;
  const EventLoop::Clock::time_point start_;
  const EventLoop::Clock::duration period_;
  const std::function<void()> tick_;
};

} // namespace

EventLoop::EventLoop() : context_(std::make_unique<Context>()) {}
EventLoop::~EventLoop() = default;

void EventLoop::Run() {
  const auto work = asio::make_work_guard(context_->io);
  context_->io.run();
}

void EventLoop::Stop() { context_->io.stop(); }

void EventLoop::Every(Clock::duration period, std::function<void()> tick) {
  std::make_shared<Ticks>(context_->io, period, std::move(tick))->Wait();
}

void EventLoop::At(Clock::time_point time, std::function<void()> work) {
  auto timer = std::make_shared<asio::steady_timer>(context_->io, time);
  timer->async_wait([timer, work = std::move(work)](const std::error_code& error) {
    if (!error) work();
  });
}

} // namespace mien
