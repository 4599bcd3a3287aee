#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace mien {

/// An argument of an OSC message: a number, a text, or neither.
struct OscArgument {
  char type = 'N';   ///< of OSC: i, h, f, d, T, F, s, S; those that are neither numbers nor texts keep theirs
  double number = 0; ///< of i, h, f, d; 1 of T
  std::string_view text; ///< of s and S; not always UTF-8

  bool IsNumber() const { return type == 'i' || type == 'h' || type == 'f' || type == 'd'; }
  bool IsText() const { return type == 's' || type == 'S'; }
};

struct OscMessage {
  std::string_view address; ///< not always UTF-8
  std::span<const OscArgument> arguments;

  /// Whether the first arguments have these types: 's' a text, 'f' a finite number. There may be more.
  bool Begins(std::string_view types) const;
};

/// The most arguments of a message and the deepest bundle that are read.
inline constexpr std::size_t kMostOscArguments = 4096;
inline constexpr std::size_t kDeepestOscBundle = 8;

/// Reads OSC 1.0 packets: a message, or bundles of messages. Time tags are ignored: messages count when they
/// arrive. Reuses its memory from packet to packet.
class OscReader {
public:
  /// Calls `message` with each message, which is valid during the call. Returns the fault of the
  /// packet, whose earlier messages have been read; nothing if it is valid.
  std::optional<std::string_view> Read(std::string_view packet,
                                       const std::function<void(const OscMessage&)>& message) {
    return ReadElement(packet, message, 0);
  }

private:
  std::optional<std::string_view> ReadElement(std::string_view element,
                                              const std::function<void(const OscMessage&)>& message,
                                              std::size_t depth);
  std::optional<std::string_view> ReadMessage(std::string_view bytes,
                                              const std::function<void(const OscMessage&)>& message);

  std::vector<OscArgument> arguments_;
};

} // namespace mien
