#pragma once

#include "host/weights/weight_take.h"

#include <array>
#include <cstddef>
#include <optional>
#include <span>
#include <string>
#include <vector>

namespace mien {

/// The angles of the eyes that the eight eyeLook shapes mean: a weight of 1 is 35 degrees in, out or down, or
/// 25 up, as in host/character/gaze_shapes.h.
class EyesOfShapes {
public:
  /// Nothing where one of the eight is not among these names.
  static std::optional<EyesOfShapes> Among(const std::vector<std::string>& names);

  /// `weights` of a frame (size: names).
  Eyes At(std::span<const double> weights) const;

private:
  std::array<std::array<std::size_t, 4>, 2> columns_{};
};

/// Gives a take without angles of the eyes those that its eyeLook shapes mean. Nothing without all eight of
/// these shapes, and where the take has angles. Returns whether it did.
bool SetEyesOfShapes(WeightTake& take);

} // namespace mien
