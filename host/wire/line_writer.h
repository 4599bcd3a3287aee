#pragma once

#include "host/wire/packet_writer.h"

#include <array>
#include <string>
#include <string_view>
#include <vector>

namespace mien {

/// A line of JSON per frame, which LineReader reads: the face, the frame's number and time, the weights of
/// the character's shapes or else of the templates, the head's angles in degrees and its place in
/// millimetres, and the eyes' angles. With `clusters`, also the transforms of the character's clusters, with the
/// members and numbers of animation JSON. Weights and transforms read back to the same double.
class LineWriter : public PacketWriter {
public:
  LineWriter(const AnimationLayout& layout, std::string_view face, bool clusters = false);

  void Write(const LiveOutput& output, const Send& send) override;

private:
  struct Cluster {
    std::string start;                                                // {"part":"jaw","cluster":"jawBone"
    std::array<VgeQuaternion, 2> before = {VgeQuaternion(0, 0, 0, 1), // the last rotations: local, global
                                           VgeQuaternion(0, 0, 0, 1)};
  };

  void AppendTransform(const ClusterTransform& transform, VgeQuaternion& before);
  void AppendClusters(const LiveOutput& output);

  const bool has_shapes_;
  std::string start_;              // {"face": "ada"
  std::vector<std::string> names_; // as JSON, with the colon
  std::vector<Cluster> clusters_;  // empty: they are not written
  std::string line_;
};

} // namespace mien
