#pragma once

#include "host/wire/named_weights.h"
#include "host/wire/osc_reader.h"
#include "host/wire/packet_reader.h"
#include "mien/base/geometry.h"

#include <array>
#include <optional>
#include <string_view>
#include <vector>

namespace mien {

/// The VMC protocol over OSC: weights by name, which hold from bundle to bundle, and the head and the eyes as
/// bones. A frame is complete with /VMC/Ext/Blend/Apply; its time is that of the last /VMC/Ext/T.
///
/// The protocol's axes are left-handed: x to the character's right, y up, z out of the face. The head is the
/// neck's rotation and its own. Where eyes have no bones, /VMC/Ext/Set/Eye says where they look. Weights of
/// other names than the 52 are counted and ignored.
class VmcReader : public PacketReader {
public:
  explicit VmcReader(OnFrame on_frame);

protected:
  void ReadPacket(std::string_view packet) override;

private:
  void ReadMessage(const OscMessage& message);
  void ReadWeight(const OscMessage& message);
  void ReadBone(const OscMessage& message);
  void ReadGaze(const OscMessage& message);
  void Apply();

  OscReader osc_;
  NamedWeights names_;
  std::vector<double> weights_; // NaN for those that were never sent
  std::optional<double> time_;
  std::optional<VgeRMatrix> head_, neck_;
  std::array<std::optional<EyeAngles>, 2> eyes_;
  std::optional<EyeAngles> gaze_;
};

} // namespace mien
