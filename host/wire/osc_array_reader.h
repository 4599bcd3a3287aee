#pragma once

#include "host/wire/osc_reader.h"
#include "host/wire/packet_reader.h"
#include "host/wire/weight_order.h"

namespace mien {

/// Weights as plain arrays over OSC, at addresses whose order is known:
///
///   /visage                    52 weights (WeightOrder::JawFirst), and more that is ignored
///   /NAME/blendshapes          52 weights (WeightOrder::JawLast)
///   /NAME/headRotation         x, y, z, w of a quaternion in the face's axes: y up, z out of the face
///   /NAME/leftEyeRotation      likewise
///   /NAME/rightEyeRotation
///
/// An array of weights is a frame; rotations hold until the next ones. Arrays with less than 52 values are
/// missing the last ones.
class OscArrayReader : public PacketReader {
public:
  explicit OscArrayReader(OnFrame on_frame) : PacketReader(std::move(on_frame)) {}

protected:
  void ReadPacket(std::string_view packet) override;

private:
  void ReadMessage(const OscMessage& message);
  void ReadWeights(const OscMessage& message, std::string_view source, WeightOrder order);

  OscReader osc_;
  std::optional<HeadAngles> head_;
  std::optional<EyeAngles> left_, right_;
};

} // namespace mien
