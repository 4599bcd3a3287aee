#pragma once

#include "host/animation/arkit_columns.h"
#include "host/wire/packet_writer.h"

#include <string>

namespace mien {

/// The packets that PhonePacketReader reads: version 6, with 61 values. A frame without a face says so. The
/// clock counts 60 a second from the timecode's time of day, otherwise from 0; the device's number follows
/// from the face's name.
class PhonePacketWriter : public PacketWriter {
public:
  PhonePacketWriter(const AnimationLayout& layout, const std::string& face);

  void Write(const LiveOutput& output, const Send& send) override;

private:
  const ArkitColumns columns_;
  std::string start_; // of each packet, up to the face's name
  std::string packet_;
};

} // namespace mien
