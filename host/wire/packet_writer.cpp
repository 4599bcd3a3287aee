#include "host/wire/packet_writer.h"

#include "host/base/rotation.h"

#include <cmath>

namespace mien {

float SentNumber(double number) {
  const auto single = static_cast<float>(number);
  return std::isfinite(single) ? single : 0.0F;
}

void SentHead::Follow(const VgeAMatrix& head_motion) {
  rotation = QuaternionNear(rotation, RotationOf(head_motion));
}

VgeQuaternion RotationOfEye(const EyeAngles& eye) {
  return QuaternionNear({0, 0, 0, 1}, RotationOf(RotationBy(eye)));
}

} // namespace mien
