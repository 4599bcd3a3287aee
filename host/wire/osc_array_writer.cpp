#include "host/wire/osc_array_writer.h"

#include "host/wire/weight_order.h"

#include <algorithm>
#include <cstddef>

namespace mien {

OscArrayWriter::OscArrayWriter(const AnimationLayout& layout, std::string_view address)
    : columns_(layout.shapes), head_address_(std::string(address) + "/headRotation"),
      left_address_(std::string(address) + "/leftEyeRotation"),
      right_address_(std::string(address) + "/rightEyeRotation"),
      weights_address_(std::string(address) + "/blendshapes") {}

void OscArrayWriter::Write(const LiveOutput& output, const Send& send) {
  bundles_.Clear();
  head_.Follow(output.head_motion);
  AddRotation(head_address_, head_.rotation);
  if (output.eyes) {
    AddRotation(left_address_, RotationOfEye((*output.eyes)[0]));
    AddRotation(right_address_, RotationOfEye((*output.eyes)[1]));
  }
  weights_.clear();
  for (const std::string& name : NamesInOrder(WeightOrder::JawLast)) {
    const auto known = std::find(kArkitNames.begin(), kArkitNames.end(), name);
    weights_.push_back(
        SentNumber(columns_.Weight(static_cast<std::size_t>(known - kArkitNames.begin()), output.shapes)));
  }
  bundles_.AddFloats(weights_address_, weights_);
  for (std::size_t i = 0; i < bundles_.Size(); ++i) send(bundles_[i]);
}

void OscArrayWriter::AddRotation(const std::string& address, const VgeQuaternion& rotation) {
  const float numbers[] = {SentNumber(rotation.x), SentNumber(rotation.y), SentNumber(rotation.z),
                           SentNumber(rotation.w)};
  bundles_.AddFloats(address, numbers);
}

} // namespace mien
