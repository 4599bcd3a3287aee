#pragma once

#include "host/base/point.h"

#include <optional>
#include <vector>

namespace mien {

/// Points that are nearly rigid relative to each other.
struct RigidBody {
  using Points = std::vector<std::optional<Point>>; ///< nothing for a hidden point

  /// The points' positions in the body's own frame; nothing for a point that was never visible with the
  /// others.
  Points places;

  /// The standard deviation of each point from its place, per axis (size: places). Above 0.
  std::vector<double> spread_mm;

  /// The typical deviation of a point, per axis. Above 0.
  double noise_mm = 0;
};

} // namespace mien
