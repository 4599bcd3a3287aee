#pragma once

#include "host/animation/arkit_columns.h"
#include "host/wire/osc_writer.h"
#include "host/wire/packet_writer.h"

#include <cstddef>
#include <string>
#include <utility>
#include <vector>

namespace mien {

/// The VMC protocol: in each frame that the sender is ready, its time, the root, the head and the eyes as
/// bones, all weights by name, and Apply last in the last bundle.
///
/// Shapes that are among the 52 have the names of kArkitNames. Those of VRM 1.0's presets have that name and
/// the one that VRM 0.x has for it; all others keep theirs. Without shapes, the weights are the templates'.
/// Bones have rotations only and are at (0, 0, 0): the length of the neck is unknown.
class VmcWriter : public PacketWriter {
public:
  explicit VmcWriter(const AnimationLayout& layout);

  void Write(const LiveOutput& output, const Send& send) override;

private:
  void AddBone(std::string_view bone, const VgeQuaternion& rotation);

  const ArkitColumns columns_;
  const bool has_shapes_;
  std::vector<std::pair<std::string, std::size_t>>
      others_; // names, and the shapes or templates that they have
  SentHead head_;
  OscBundles bundles_;
};

} // namespace mien
