#pragma once

#include "host/wire/packet_writer.h"

#include <string>
#include <string_view>
#include <vector>

namespace mien {

/// A line of JSON per frame, which LineReader reads: the face, the frame's number and time, the weights of
/// the character's shapes or else of the templates, the head's angles in degrees and its place in
/// millimetres, and the eyes' angles. Weights read back to the same double.
class LineWriter : public PacketWriter {
public:
  LineWriter(const AnimationLayout& layout, std::string_view face);

  void Write(const LiveOutput& output, const Send& send) override;

private:
  const bool has_shapes_;
  std::string start_;              // {"face": "ada"
  std::vector<std::string> names_; // as JSON, with the colon
  std::string line_;
};

} // namespace mien
