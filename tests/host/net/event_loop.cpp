#include "host/net/event_loop.h"

#include <gtest/gtest.h>

#include <chrono>
#include <stdexcept>
#include <thread>

namespace mien {

namespace {

using namespace std::chrono_literals;

TEST(EventLoop, TicksComeAtMultiplesOfThePeriodAndLateOnesAreNotMadeUpFor) {
  EventLoop loop;
  int ticks = 0;
  const auto start = EventLoop::Clock::now();
  loop.Every(10ms, [&] {
    if (++ticks == 1) {
      std::this_thread::sleep_for(100ms);
    } else { // nine that fell into the sleep are gone
      EXPECT_LE(ticks, (EventLoop::Clock::now() - start) / 10ms - 9);
    }
    if (ticks == 6) loop.Stop();
  });
  loop.Run();
  EXPECT_EQ(ticks, 6);
}

TEST(EventLoop, WhatACallThrowsEndsTheLoop) {
  EventLoop loop;
  loop.At(EventLoop::Clock::now(), [] { throw std::runtime_error("full"); });
  EXPECT_THROW(loop.Run(), std::runtime_error);
}

} // namespace

} // namespace mien
