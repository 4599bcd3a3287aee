#include "host/wire/phone_packet_writer.h"

#include "host/base/rotation.h"
#include "host/weights/head_angles.h"
#include "host/wire/byte_writer.h"
#include "host/wire/weight_order.h"

#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>
#include <cstdint>

namespace mien {

namespace {

constexpr std::uint32_t kVersion = 6, kCountsPerSecond = 60;
constexpr std::size_t kAngles = 9;

/// A number in the form of a UUID that is the same for the same name (FNV-1a).
std::string DeviceOf(std::string_view name) {
  std::uint64_t hash = 14695981039346656037U;
  for (const char c : name) hash = (hash ^ static_cast<unsigned char>(c)) * 1099511628211U;
  return fmt::format("{:08X}-{:04X}-4{:03X}-8{:03X}-{:012X}", hash >> 32, hash & 0xFFFFU, hash >> 16 & 0xFFFU,
                     hash >> 28 & 0xFFFU, hash & 0xFFFFFFFFFFFFU);
}

/// For each place in a packet the name of kArkitNames.
const std::array<std::size_t, kArkitNames.size()>& PacketOrder() {
  static const auto order = [] {
    std::array<std::size_t, kArkitNames.size()> all{};
    for (std::size_t i = 0; i < all.size(); ++i)
      all[i] = static_cast<std::size_t>(
          std::find(kArkitNames.begin(), kArkitNames.end(), NamesInOrder(WeightOrder::Phone)[i]) -
          kArkitNames.begin());
    return all;
  }();
  return order;
}

} // namespace

PhonePacketWriter::PhonePacketWriter(const AnimationLayout& layout, const std::string& face)
    : columns_(layout.shapes) {
  AppendLittle(start_, kVersion);
  start_ += '$' + DeviceOf(face);
  AppendBig(start_, static_cast<std::uint32_t>(face.size()));
  start_ += face;
}

void PhonePacketWriter::Write(const LiveOutput& output, const Send& send) {
  packet_ = start_;
  if (!output.face_seen && output.presence == 0) return send(packet_);
  constexpr double kDay = 86400;
  double seconds = output.time_s;
  if (output.timecode) seconds += output.timecode->SecondsOfDay() + output.timecode_offset_s;
  seconds -= kDay * std::floor(seconds / kDay);
  const double counts = seconds * kCountsPerSecond, whole = std::floor(counts);
  AppendBig(packet_, static_cast<std::uint32_t>(whole));
  AppendBig(packet_, static_cast<float>(counts - whole));
  AppendBig(packet_, kCountsPerSecond);
  AppendBig(packet_, std::uint32_t{1});
  packet_ += static_cast<char>(kArkitNames.size() + kAngles);
  for (const std::size_t name : PacketOrder())
    AppendBig(packet_, SentNumber(columns_.Weight(name, output.shapes)));
  const HeadAngles head = AnglesOf(RotationOf(output.head_motion));
  for (const double angle : {head.yaw, head.pitch, head.roll}) AppendBig(packet_, SentNumber(angle));
  for (const EyeAngles& eye : output.eyes.value_or(Eyes()))
    for (const double angle : {-eye.yaw, eye.pitch, 0.0})
      AppendBig(packet_, SentNumber(angle)); // yaw to the right
  send(packet_);
}

} // namespace mien
