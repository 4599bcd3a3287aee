#pragma once

#include "host/animation/eye_angles.h"

#include <cstddef>
#include <optional>
#include <string_view>

namespace mien {

/// What the gaze of a take was found from.
enum class GazeSource {
  None,      ///< the take does not show it, or it was not wanted
  Columns,   ///< directions in the camera's axes
  EyeAngles, ///< angles of the eyes against the head
  Irises     ///< markers of the irises
};

/// "none", "gaze columns", "eye angles", "irises".
std::string_view ToText(GazeSource source);

/// How the gaze of a take was found. Angles in radians.
struct GazeReport {
  GazeSource source = GazeSource::None;
  std::size_t measured_frames = 0; ///< in which at least one eye showed it
  std::size_t closed_frames = 0;   ///< in which it was not used, since the eyes were closed
  std::size_t filled_frames = 0;   ///< of those without, in gaps that were filled
  std::size_t rest_frames = 0;     ///< the others: the eyes go back to looking straight ahead
  std::size_t clipped_frames = 0;  ///< in which an eye looked further than an eye can turn

  EyeAngles straight;  ///< where the neutral face looks, mean of both eyes: what is subtracted. 0 for irises
  EyeAngles low, high; ///< nine tenths of the frames, of both eyes, are within

  /// The share of a lowered lid that goes with looking down: the mean weight of Close over the frames without
  /// a blink in which the eyes look down, and over those in which they look straight ahead. Nothing where
  /// fewer than ten frames show either.
  struct LoweredLids {
    double close_down = 0, close_straight = 0;
    std::size_t down_frames = 0;
  };
  std::optional<LoweredLids> lids;
};

} // namespace mien
