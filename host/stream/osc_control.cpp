#include "host/stream/osc_control.h"

#include "host/stream/live_stream.h"

#include <cstddef>
#include <optional>
#include <string_view>

namespace mien {

namespace {

/// The index that an argument counts from 1; empty if it is missing or not such a number.
std::optional<std::size_t> IndexAt(const OscMessage& message, std::size_t argument) {
  constexpr double kMost = 1000;
  if (message.arguments.size() <= argument || !message.arguments[argument].IsNumber()) return std::nullopt;
  const double number = message.arguments[argument].number;
  if (!(number >= 1 && number <= kMost)) return std::nullopt;
  return static_cast<std::size_t>(number) - 1;
}

} // namespace

OscControl::OscControl(EventLoop& loop, const std::string& address, std::uint16_t port, LiveStream& stream)
    : loop_(loop), stream_(stream),
      receiver_(loop, address, port, [this](std::string_view packet, EventLoop::Clock::time_point) {
        static_cast<void>(reader_.Read(packet, [this](const OscMessage& message) { Act(message); }));
      }) {}

void OscControl::Act(const OscMessage& message) {
  const std::optional<std::size_t> first = IndexAt(message, 0), second = IndexAt(message, 1);
  if (message.address == "/mien/neutral" && (message.arguments.empty() || first))
    stream_.NeutralNow(first);
  else if (message.address == "/mien/record")
    stream_.ToggleRecording();
  else if (message.address == "/mien/pause")
    stream_.TogglePause();
  else if (message.address == "/mien/mark")
    stream_.Mark(message.Begins("s") ? std::string(message.arguments[0].text) : "");
  else if (message.address == "/mien/performer" && first && (message.arguments.size() == 1 || second))
    stream_.SwitchPerformer(*first, second);
  else if (message.address == "/mien/quit")
    loop_.Stop();
}

} // namespace mien
