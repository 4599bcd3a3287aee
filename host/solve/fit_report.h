#pragma once

#include "host/base/error.h"

#include <cstddef>
#include <string>
#include <utility>
#include <vector>

namespace mien {

/// How the shapes of a take were fitted; see SolveShapes.
struct FitReport {
  std::string basis;       ///< where the shapes' displacements come from; empty where nothing was fitted
  std::size_t markers = 0; ///< that the shapes were fitted to
  double distance_mm = 0;  ///< of these from the laid basis, on average
  double noise_mm = 0;     ///< of a marker's coordinate from frame to frame
  double residual_mm = 0;  ///< root of the mean square over all frames

  std::vector<std::string> own_poses;  ///< shapes for which the performer's poses replace the basis
  std::vector<std::string> fitted;     ///< shapes
  std::vector<std::string> from_parts; ///< shapes for which the parts' templates are better
  std::vector<std::string> unmeasured; ///< of the fitted ones those for which no known answers exist
  /// Shapes that the markers do not show, or not apart from others, each with its uncertainty.
  std::vector<std::pair<std::string, double>> left_out;
  std::vector<Note> notes; ///< on a basis that does not come with the command
};

} // namespace mien
