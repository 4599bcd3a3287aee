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
  loop.Every(10ms, [&] {
    if (++ticks == 1) std::this_thread::sleep_for(100ms);
  });
  loop.At(EventLoop::Clock::now() + 200ms, [&] { loop.Stop(); });
  loop.Run();
  EXPECT_GE(ticks, 2);
  EXPECT_LE(ticks, 12); // the ten that fell into the sleep are gone
}

TEST(EventLoop, WhatACallThrowsEndsTheLoop) {
  EventLoop loop;
  loop.At(EventLoop::Clock::now(), [] { throw std::runtime_error("full"); });
  EXPECT_THROW(loop.Run(), std::runtime_error);
}

} // namespace

} // namespace mien
