#include "host/wire/vmc_reader.h"

#include "host/base/text.h"
#include "host/wire/sent_rotation.h"

#include <cstddef>
#include <limits>
#include <utility>

namespace mien {

namespace {

/// The rotation of a bone, which follows its name and position, in the face's axes, where x is reversed.
std::optional<VgeRMatrix> RotationOfBone(const OscMessage& message) {
  const auto number = [&](std::size_t i) { return message.arguments[i].number; };
  return SentRotation(number(4), -number(5), -number(6), number(7));
}

} // namespace

VmcReader::VmcReader(OnFrame on_frame)
    : PacketReader(std::move(on_frame)),
      weights_(NamedWeights::Names().size(), std::numeric_limits<double>::quiet_NaN()) {}

void VmcReader::ReadPacket(std::string_view packet) {
  if (const auto fault = osc_.Read(packet, [this](const OscMessage& message) { ReadMessage(message); }))
    Fault(*fault);
}

void VmcReader::ReadMessage(const OscMessage& message) {
  if (message.address == "/VMC/Ext/Blend/Val")
    ReadWeight(message);
  else if (message.address == "/VMC/Ext/Blend/Apply")
    Apply();
  else if (message.address == "/VMC/Ext/Bone/Pos")
    ReadBone(message);
  else if (message.address == "/VMC/Ext/Set/Eye")
    ReadGaze(message);
  else if (message.address == "/VMC/Ext/T" && message.Begins("f"))
    time_ = message.arguments[0].number;
}

void VmcReader::ReadWeight(const OscMessage& message) {
  if (!message.Begins("sf")) return Fault("a weight without a name or a value");
  if (const auto known = names_.Find(message.arguments[0].text))
    weights_[*known] = message.arguments[1].number;
  else
    Fault("weights with names other than the 52");
}

void VmcReader::ReadBone(const OscMessage& message) {
  if (!message.Begins("sfffffff")) return Fault("a bone without a name or a pose");
  const std::string_view bone = message.arguments[0].text;
  const bool is_left = EqualIgnoringCase(bone, "LeftEye"), is_right = EqualIgnoringCase(bone, "RightEye");
  const bool is_head = EqualIgnoringCase(bone, "Head"), is_neck = EqualIgnoringCase(bone, "Neck");
  if (!is_left && !is_right && !is_head && !is_neck) return; // the rest of a body
  const auto rotation = RotationOfBone(message);
  if (!rotation) return Fault("a bone without a rotation");
  if (is_head) head_ = rotation;
  if (is_neck) neck_ = rotation;
  if (is_left || is_right) {
    const auto& gaze = rotation->m[2];
    eyes_[is_left ? 0 : 1] = AnglesOf(VgeTVector{gaze[0], gaze[1], gaze[2], 0});
  }
}

void VmcReader::ReadGaze(const OscMessage& message) {
  if (!message.Begins("ifff")) return Fault("a gaze without a position");
  const auto number = [&](std::size_t i) { return message.arguments[i].number; };
  gaze_.reset();
  if (number(0) == 0 || (number(1) == 0 && number(2) == 0 && number(3) == 0)) return;
  gaze_ = AnglesOf(VgeTVector{-number(1), number(2), number(3), 0});
}

void VmcReader::Apply() {
  const auto face = FaceOf("", LiveKind::Weights, NamedWeights::Names());
  if (!face) return;
  LiveInput& input = Start(*face);
  input.source_s = time_;
  input.weights = weights_;
  if (head_ || neck_) {
    VgeRMatrix rotation = head_ ? *head_ : *neck_;
    if (head_ && neck_)
      for (int column = 0; column < 3; ++column)
        for (int row = 0; row < 3; ++row)
          rotation.m[column][row] = neck_->m[0][row] * head_->m[column][0] +
                                    neck_->m[1][row] * head_->m[column][1] +
                                    neck_->m[2][row] * head_->m[column][2];
    input.head = AnglesOf(rotation);
  }
  if (eyes_[0] && eyes_[1])
    input.eyes = Eyes{*eyes_[0], *eyes_[1]};
  else if (gaze_)
    input.eyes = Eyes{*gaze_, *gaze_};
  Emit();
}

} // namespace mien
