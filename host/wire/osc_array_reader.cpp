#include "host/wire/osc_array_reader.h"

#include "host/wire/sent_rotation.h"

#include <algorithm>
#include <cstddef>

namespace mien {

namespace {

/// Empty if the numbers are not a quaternion.
std::optional<VgeRMatrix> ReadRotation(const OscMessage& message) {
  if (!message.Begins("ffff")) return std::nullopt;
  const auto number = [&](std::size_t i) { return message.arguments[i].number; };
  return SentRotation(number(0), number(1), number(2), number(3));
}

EyeAngles GazeOf(const VgeRMatrix& rotation) {
  return AnglesOf(VgeTVector{rotation.m[2][0], rotation.m[2][1], rotation.m[2][2], 0});
}

} // namespace

void OscArrayReader::ReadPacket(std::string_view packet) {
  if (const auto fault = osc_.Read(packet, [this](const OscMessage& message) { ReadMessage(message); }))
    Fault(*fault);
}

void OscArrayReader::ReadMessage(const OscMessage& message) {
  if (message.address == "/visage") return ReadWeights(message, "/visage", WeightOrder::JawFirst);
  const std::size_t slash = message.address.rfind('/');
  const std::string_view source = message.address.substr(0, slash), what = message.address.substr(slash + 1);
  if (what == "blendshapes") return ReadWeights(message, source, WeightOrder::JawLast);
  if (what != "headRotation" && what != "leftEyeRotation" && what != "rightEyeRotation")
    return Fault("messages with unknown addresses");
  const auto rotation = ReadRotation(message);
  if (!rotation) return Fault("a rotation that is not a unit quaternion");
  if (what == "headRotation")
    head_ = AnglesOf(*rotation);
  else
    (what == "leftEyeRotation" ? left_ : right_) = GazeOf(*rotation);
}

void OscArrayReader::ReadWeights(const OscMessage& message, std::string_view source, WeightOrder order) {
  const auto& names = NamesInOrder(order);
  if (message.arguments.empty() || !message.arguments[0].IsNumber()) return Fault("an array without numbers");
  if (message.arguments.size() < names.size()) Fault("fewer than 52 weights");
  const auto face = FaceOf(source, LiveKind::Weights, names);
  if (!face) return;
  LiveInput& input = Start(*face);
  for (std::size_t i = 0; i < std::min(message.arguments.size(), names.size()); ++i) {
    if (!message.arguments[i].IsNumber()) break;
    input.weights.push_back(message.arguments[i].number);
  }
  input.head = head_;
  if (left_ && right_) input.eyes = Eyes{*left_, *right_};
  Emit();
}

} // namespace mien
