#pragma once

#include "host/animation/arkit_columns.h"
#include "host/wire/osc_writer.h"
#include "host/wire/packet_writer.h"

#include <string>
#include <vector>

namespace mien {

/// What OscArrayReader reads, in a bundle for each frame: ADDRESS/headRotation, ADDRESS/leftEyeRotation and
/// ADDRESS/rightEyeRotation where the eyes are known, and ADDRESS/blendshapes with the 52 weights
/// (WeightOrder::JawLast).
class OscArrayWriter : public PacketWriter {
public:
  /// `address` begins with a slash and does not end with one.
  OscArrayWriter(const AnimationLayout& layout, std::string_view address);

  void Write(const LiveOutput& output, const Send& send) override;

private:
  void AddRotation(const std::string& address, const VgeQuaternion& rotation);

  const ArkitColumns columns_;
  const std::string head_address_, left_address_, right_address_, weights_address_;
  std::vector<float> weights_;
  SentHead head_;
  OscBundles bundles_;
};

} // namespace mien
