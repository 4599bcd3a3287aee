#pragma once

#include <cstddef>
#include <initializer_list>
#include <span>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

namespace mien {

/// Writes OSC 1.0 messages.
class OscWriter {
public:
  using Argument = std::variant<int, float, std::string_view>;

  /// Appends a message to a packet. Texts end at their first zero byte, if they have one.
  static void Append(std::string& packet, std::string_view address,
                     std::initializer_list<Argument> arguments);

  /// Appends a message of floats alone.
  static void AppendFloats(std::string& packet, std::string_view address, std::span<const float> values);
};

/// What a datagram carries over Ethernet in one piece: 1500 bytes without the headers of IP and UDP.
inline constexpr std::size_t kMostDatagram = 1472;

/// Messages in their order, in as few bundles of at most kMostDatagram bytes as that takes. A longer message
/// has a bundle of its own. Bundles take effect at once.
class OscBundles {
public:
  void Clear() { used_ = 0; }
  void Add(std::string_view address, std::initializer_list<OscWriter::Argument> arguments);
  void AddFloats(std::string_view address, std::span<const float> values);

  std::size_t Size() const { return used_; }
  const std::string& operator[](std::size_t i) const { return bundles_[i]; }

private:
  void AddMessage(); // message_

  std::vector<std::string> bundles_; // the first used_ of them hold something; all keep their memory
  std::size_t used_ = 0;
  std::string message_;
};

} // namespace mien
