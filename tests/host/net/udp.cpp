#include "host/base/error.h"
#include "host/net/udp_receiver.h"
#include "host/net/udp_sender.h"

#include <gtest/gtest.h>

#include <chrono>
#include <string>
#include <utility>
#include <vector>

namespace mien {

namespace {

using namespace std::chrono_literals;

TEST(Udp, WhatIsSentArrivesWithItsTime) {
  EventLoop loop;
  std::vector<std::string> packets;
  const auto before = EventLoop::Clock::now();
  EventLoop::Clock::time_point arrived_at;
  UdpReceiver receiver(loop, "127.0.0.1", 0,
                       [&](std::string_view packet, EventLoop::Clock::time_point arrived) {
                         packets.emplace_back(packet);
                         arrived_at = arrived;
                         if (packets.size() == 3) loop.Stop();
                       });
  ASSERT_NE(receiver.Port(), 0);
  UdpSender sender(loop, "127.0.0.1", receiver.Port());
  const std::string large(60000, 'x');
  for (const std::string& packet : {std::string("one"), std::string(), large}) sender.Send(packet);
  loop.At(EventLoop::Clock::now() + 60s, [&] { loop.Stop(); });
  loop.Run();
  EXPECT_EQ(packets, (std::vector<std::string>{"one", "", large}));
  EXPECT_GE(arrived_at, before - 50ms); // two clocks
  EXPECT_LE(arrived_at, EventLoop::Clock::now());
  EXPECT_EQ(sender.Dropped(), 0U);
}

TEST(Udp, AFloodIsDroppedInTheSystemAndCounted) {
  EventLoop loop;
  std::size_t received = 0;
  const std::string flood(10000, 'x'), last = "one after the flood";
  UdpReceiver receiver(loop, "127.0.0.1", 0, [&](std::string_view packet, EventLoop::Clock::time_point) {
    ++received;
    if (packet == last) loop.Stop();
  });
  UdpSender sender(loop, "127.0.0.1", receiver.Port());
  constexpr std::size_t kSent = 5000; // 50 MB, which nobody reads meanwhile
  for (std::size_t i = 0; i < kSent; ++i) sender.Send(flood);
  // The system reports drops with the next packet. It has room once the queue is empty.
  bool is_sent = false;
  loop.Every(10ms, [&, before = std::size_t{0}]() mutable {
    if (std::exchange(before, received) == received && !std::exchange(is_sent, true)) sender.Send(last);
  });
  loop.At(EventLoop::Clock::now() + 60s, [&] { loop.Stop(); });
  loop.Run();
  EXPECT_GT(receiver.Dropped(), 0U);
  EXPECT_EQ(received + receiver.Dropped() + sender.Dropped(), kSent + 1);
}

TEST(Udp, APortThatIsInUseIsRefused) {
  EventLoop loop;
  UdpReceiver first(loop, "127.0.0.1", 0, [](std::string_view, EventLoop::Clock::time_point) {});
  EXPECT_THROW(
      UdpReceiver(loop, "127.0.0.1", first.Port(), [](std::string_view, EventLoop::Clock::time_point) {}),
      InputError);
}

TEST(Udp, WhatIsNotAnAddressIsRefused) {
  EventLoop loop;
  for (const char* address : {"", "localhost:1", "1.2.3", "\x1B[2J"})
    EXPECT_THROW(UdpReceiver(loop, address, 0, [](std::string_view, EventLoop::Clock::time_point) {}),
                 InputError);
}

TEST(Udp, SendingWhereNobodyListensIsNotAFault) {
  EventLoop loop;
  std::uint16_t port = 0;
  {
    UdpReceiver receiver(loop, "127.0.0.1", 0, [](std::string_view, EventLoop::Clock::time_point) {});
    port = receiver.Port();
  }
  UdpSender sender(loop, "127.0.0.1", port);
  for (int i = 0; i < 10; ++i) sender.Send("nobody");
  EXPECT_EQ(sender.Dropped(), 0U);
}

} // namespace

} // namespace mien
