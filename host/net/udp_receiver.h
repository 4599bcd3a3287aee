#pragma once

#include "host/net/event_loop.h"

#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <string_view>

namespace mien {

/// Listens for datagrams on one address and port. The only queue is the socket's own in the system, which is
/// bounded: a flood is dropped there, and counted.
class UdpReceiver {
public:
  /// `arrived` is when the system got the packet, on the loop's clock. The packet is valid during the call.
  using OnPacket = std::function<void(std::string_view packet, EventLoop::Clock::time_point arrived)>;

  /// `address` is one of this machine's, as a number ("127.0.0.1", "::1", "0.0.0.0" for all); port 0 is any
  /// that is free. Throws InputError where it cannot listen there. `loop` must outlive the receiver.
  UdpReceiver(EventLoop& loop, const std::string& address, std::uint16_t port, OnPacket on_packet);
  ~UdpReceiver();
  UdpReceiver(const UdpReceiver&) = delete;
  UdpReceiver& operator=(const UdpReceiver&) = delete;

  std::uint16_t Port() const; ///< the one that it listens on

  /// Packets that the system dropped, because they came faster than they were read.
  std::uint64_t Dropped() const;

private:
  struct Socket;
  std::shared_ptr<Socket> socket_; // shared with the wait that is under way
};

} // namespace mien
