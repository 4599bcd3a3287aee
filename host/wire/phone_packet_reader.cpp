#include "host/wire/phone_packet_reader.h"

#include "host/wire/byte_reader.h"
#include "host/wire/weight_order.h"

#include <algorithm>
#include <bit>

namespace mien {

namespace {

constexpr std::uint32_t kVersion = 6;
constexpr std::size_t kDevice = 37; // '$' and a UUID
constexpr std::size_t kWeights = 52, kAngles = 9;

} // namespace

void PhonePacketReader::ReadPacket(std::string_view packet) {
  ByteReader reader(packet);
  const std::uint32_t version = reader.Little32();
  const std::string_view device = reader.Text(kDevice);
  const std::uint32_t name_size = reader.Big32();
  const std::string_view name = reader.Text(name_size);
  if (!device.starts_with('$')) return Fault("not a phone app's packet");
  if (reader.HasFailed()) return Fault("cut short");
  if (version != kVersion) Fault("a version other than 6");

  const auto face =
      FaceOf(name.empty() ? device.substr(1) : name, LiveKind::Weights, NamesInOrder(WeightOrder::Phone));
  if (!face) return;
  LiveInput& input = Start(*face);
  if (reader.Left() == 0) {
    input.lost = true;
    return Emit();
  }
  LiveTimecode timecode;
  timecode.count = std::bit_cast<std::int32_t>(reader.Big32());
  timecode.fraction = static_cast<double>(reader.BigFloat());
  timecode.rate.numerator = std::bit_cast<std::int32_t>(reader.Big32());
  timecode.rate.denominator = std::bit_cast<std::int32_t>(reader.Big32());
  const std::size_t stated = reader.Byte();
  if (reader.HasFailed()) return Fault("cut short");
  input.timecode = timecode;

  const std::size_t count = std::min(stated, reader.Left() / sizeof(float));
  if (count < stated) Fault("fewer values than stated");
  for (std::size_t i = 0; i < std::min(count, kWeights); ++i)
    input.weights.push_back(static_cast<double>(reader.BigFloat()));
  if (count >= kWeights + kAngles) {
    double angles[kAngles];
    for (double& angle : angles) angle = static_cast<double>(reader.BigFloat());
    input.head = HeadAngles{.yaw = angles[0], .pitch = angles[1], .roll = angles[2]};
    // The eyes' yaw is to the right; their roll does not change where they look.
    input.eyes = Eyes{EyeAngles{.yaw = -angles[3], .pitch = angles[4]},
                      EyeAngles{.yaw = -angles[6], .pitch = angles[7]}};
  }
  Emit();
}

} // namespace mien
