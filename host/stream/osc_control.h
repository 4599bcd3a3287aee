#pragma once

#include "host/net/event_loop.h"
#include "host/net/udp_receiver.h"
#include "host/wire/osc_reader.h"

#include <cstdint>
#include <string>

namespace mien {

class LiveStream;

/// Controls a running stream by OSC: /mien/neutral, /mien/record, /mien/pause, /mien/mark, /mien/performer and
/// /mien/quit, as docs/live.md describes them. Sources and performers count from 1. Other messages are ignored:
/// there is nobody to report them to.
class OscControl {
public:
  /// Listens on an address of this machine; port 0 is any that is free. Throws InputError if it cannot. `loop`
  /// and `stream` must outlive this.
  OscControl(EventLoop& loop, const std::string& address, std::uint16_t port, LiveStream& stream);

  std::uint16_t Port() const { return receiver_.Port(); }

private:
  void Act(const OscMessage& message);

  EventLoop& loop_;
  LiveStream& stream_;
  OscReader reader_;
  UdpReceiver receiver_; // the last member: it uses the others
};

} // namespace mien
