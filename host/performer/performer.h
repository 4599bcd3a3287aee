#pragma once

#include "host/base/point.h"
#include "host/performer/calibration.h"
#include "host/takes/frame_range.h"

#include <array>
#include <cstddef>
#include <map>
#include <string>
#include <variant>
#include <vector>

namespace mien {

/// The position of each marker on the neutral face, in millimetres and in the axes of the take that it comes
/// from.
using NeutralPose = std::map<std::string, Point>;

/// A performer: the markers that drive each holder of the face, the head markers, and the neutral face.
struct Performer {
  static constexpr std::size_t kMostMarkers = 225; ///< the capacity of a marker set of the library
  static constexpr std::size_t kMostHeadMarkers = 5;

  std::string name;
  std::string file; ///< the file that it was read from, for messages

  /// Markers that move only with the skull; at most 5. With fewer than 3 the head's motion cannot be removed.
  std::vector<std::string> head;

  /// All markers that move with the skull, for the fit of the head to a whole take; any number. Empty: those
  /// of the head and those that the take shows to be rigid (LearnRigidHead).
  std::vector<std::string> rigid;

  /// By part: rigid markers beside it, against which its own are measured. Where a brow or an eye has none,
  /// those rigid ones that are near (AnchorsOf). Other parts have none: they are measured against the head
  /// alone.
  std::array<std::vector<std::string>, 9> anchors;

  /// Markers of the left and the right iris, which show where the eyes look. A take may lack them.
  std::array<std::vector<std::string>, 2> irises;

  /// Marker names by part and holder, in the order of the default face. A holder may be empty, and a part
  /// without any marker stays at rest. A marker may drive several parts, but within one part only one holder.
  std::array<std::array<std::vector<std::string>, 5>, 9> holders;

  /// Nothing: it is found in each take. Frames: their average. A pose: that pose.
  std::variant<std::monostate, FrameRange, NeutralPose> neutral;

  /// What templates read on this performer's face, at most one per template, in the order of
  /// TemplateColumns. They hold for weights that are measured from this neutral face.
  std::vector<Range> ranges;
  CalibrationRecord calibration; ///< where they come from

  /// All markers that drive holders, each once, in the order of their first use.
  std::vector<std::string> FaceMarkers() const;

  /// The head's, the rigid ones, the anchors, the irises and the face's markers, each once.
  std::vector<std::string> Markers() const;
};

} // namespace mien
