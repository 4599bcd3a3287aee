#pragma once

#include "host/wire/packet_reader.h"

namespace mien {

/// The packets of phone face-capture apps, by default to port 11111: a version, the device, the name of the
/// face, its timecode, and the 52 weights with the angles of head and eyes in radians. A packet that ends
/// behind the name says that the face is lost.
///
/// The number of values is what the packet has, at most as many as it says; those of others are missing.
/// Packets of another version than 6 are read where they have this layout, and counted.
class PhonePacketReader : public PacketReader {
public:
  explicit PhonePacketReader(OnFrame on_frame) : PacketReader(std::move(on_frame)) {}

protected:
  void ReadPacket(std::string_view packet) override;
};

} // namespace mien
