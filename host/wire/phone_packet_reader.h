#pragma once

#include "host/wire/packet_reader.h"

namespace mien {

/// The packets of phone face-capture apps, by default to port 11111: a version, the device, the name of the
/// face, its timecode, and the 52 weights with the angles of head and eyes in radians. A packet that ends
/// after the name means that the face is lost.
///
/// A packet may have fewer values than it states; the others are missing.
/// Packets of a version other than 6 are read if they have this layout, and counted.
class PhonePacketReader : public PacketReader {
public:
  explicit PhonePacketReader(OnFrame on_frame) : PacketReader(std::move(on_frame)) {}

protected:
  void ReadPacket(std::string_view packet) override;
};

} // namespace mien
