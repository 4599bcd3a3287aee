#pragma once

#include "host/base/point.h"

#include <optional>

namespace mien {

/// In which axes the directions of a take's gaze are.
enum class GazeAxes {
  Take, ///< those of the take's positions
  Head  ///< those of the head: x to the performer's left, y up, z out of the face
};

/// Where the eyes look in one frame, as unit vectors out of the eyes; nothing where it is not known.
struct Gaze {
  std::optional<Point> left, right; ///< the performer's
};

} // namespace mien
