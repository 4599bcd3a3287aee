#pragma once

#include "host/base/point.h"
#include "host/takes/frame_range.h"

#include <array>
#include <cstddef>
#include <map>
#include <string>
#include <variant>
#include <vector>

namespace mien {

/// Where each marker stands on the neutral face, in millimetres and in the axes of the take it comes from.
using NeutralPose = std::map<std::string, Point>;

/// What is known of one performer: which markers drive which holders of the face, which tell the head's
/// motion, and the neutral face.
struct Performer {
  static constexpr std::size_t kMostMarkers = 225; ///< what a marker set of the library holds
  static constexpr std::size_t kMostHeadMarkers = 5;

  std::string name;
  std::string file; ///< where it was read from, for messages

  /// Markers that move with the skull alone; at most 5. With fewer than 3 the head's motion cannot be
  /// removed.
  std::vector<std::string> head;

  /// Marker names by part and holder, in the order of the default face. A holder may be empty, and a part
  /// without any marker stays at rest. A marker may drive several parts, but within one part only one holder.
  std::array<std::array<std::vector<std::string>, 5>, 9> holders;

  /// Nothing: found in each take. Frames: the average of those. A pose: this one.
  std::variant<std::monostate, FrameRange, NeutralPose> neutral;

  /// All markers that drive holders, each once, in the order in which they are named first.
  std::vector<std::string> FaceMarkers() const;

  /// The head's and the face's markers, each once.
  std::vector<std::string> Markers() const;
};

} // namespace mien
