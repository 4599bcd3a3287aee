#pragma once

#include "host/animation/animation.h"
#include "host/live/live_output.h"

#include <functional>
#include <string_view>

namespace mien {

/// Writes the output of one face as packets. It is made for one layout of the face; a new layout needs a new
/// writer.
class PacketWriter {
public:
  /// Gets each packet; it is valid during the call.
  using Send = std::function<void(std::string_view packet)>;

  PacketWriter() = default;
  virtual ~PacketWriter() = default;
  PacketWriter(const PacketWriter&) = delete;
  PacketWriter& operator=(const PacketWriter&) = delete;

  /// Sends the packets of a frame, in their order. Numbers that single precision does not hold become 0 where
  /// packets have single precision.
  virtual void Write(const LiveOutput& output, const Send& send) = 0;
};

/// Of a number that is to be sent in single precision: 0 where that would not be finite.
float SentNumber(double number);

/// The head's rotation from the neutral pose in the neutral face's axes, as a unit quaternion.
struct SentHead {
  VgeQuaternion rotation = {0, 0, 0, 1};

  /// Of the two quaternions of a rotation the one that is nearer to the one before.
  void Follow(const VgeAMatrix& head_motion);
};

/// The same of an eye.
VgeQuaternion RotationOfEye(const EyeAngles& eye);

} // namespace mien
