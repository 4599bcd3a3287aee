#pragma once

#include "host/live/live_input.h"

#include <cstddef>
#include <cstdint>
#include <functional>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace mien {

/// Reads the packets of one source: what arrived, in its order. A packet may hold a frame of a face, frames
/// of several faces, or a part of one. Nothing in a packet is trusted: what cannot be read is counted with
/// its reason.
class PacketReader {
public:
  static constexpr std::size_t kMostFaces = 16;
  static constexpr std::size_t kLongestFaceName = 64; ///< bytes; of longer ones the beginning

  /// `input.face` is an index of Faces(). The input is valid during the call, and may be changed in it.
  using OnFrame = std::function<void(LiveInput& input)>;

  /// The reasons for which something was not read, or not as sent, and how often. The texts are the program's
  /// own, never from packets.
  using Faults = std::vector<std::pair<std::string_view, std::uint64_t>>;

  virtual ~PacketReader() = default;
  PacketReader(const PacketReader&) = delete;
  PacketReader& operator=(const PacketReader&) = delete;

  /// `arrival_s` is on a monotonic clock; LiveInput::arrival_s gets it.
  void Read(std::string_view packet, double arrival_s);

  /// The faces that have occurred, in the order of their first packets. Their names are those of the packets:
  /// any bytes. They stay.
  const std::vector<LiveSource>& Faces() const { return faces_; }

  std::uint64_t Packets() const { return packets_; }
  const Faults& FaultCounts() const { return faults_; }

protected:
  explicit PacketReader(OnFrame on_frame) : on_frame_(std::move(on_frame)) {}

  virtual void ReadPacket(std::string_view packet) = 0;

  /// `reason` must be a literal.
  void Fault(std::string_view reason);

  /// The face that the source calls `id`, with these names; added if it is new. Returns nothing, and counts a
  /// fault, for more than kMostFaces.
  std::optional<std::size_t> FaceOf(std::string_view id, LiveKind kind, std::span<const std::string> names);

  /// An input of a face with nothing in it. It keeps its memory from packet to packet.
  LiveInput& Start(std::size_t face);

  /// Passes the input that Start began to OnFrame.
  void Emit() { on_frame_(input_); }

private:
  const OnFrame on_frame_;
  std::vector<LiveSource> faces_;
  LiveInput input_;
  double arrival_s_ = 0;
  std::uint64_t packets_ = 0;
  Faults faults_;
};

} // namespace mien
