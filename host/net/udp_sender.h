#pragma once

#include "host/net/event_loop.h"

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>

namespace mien {

/// Sends datagrams to one address and port, and never waits: datagrams that the system does not accept
/// immediately are dropped and counted. It cannot know whether anyone listens there.
class UdpSender {
public:
  /// `host` is a name or a numeric address. Throws InputError if it does not exist. `loop` must outlive the
  /// sender.
  UdpSender(EventLoop& loop, const std::string& host, std::uint16_t port);
  ~UdpSender();
  UdpSender(const UdpSender&) = delete;
  UdpSender& operator=(const UdpSender&) = delete;

  void Send(std::string_view packet);

  std::uint64_t Dropped() const { return dropped_; }

private:
  struct Socket;
  std::unique_ptr<Socket> socket_;
  std::uint64_t dropped_ = 0;
};

} // namespace mien
