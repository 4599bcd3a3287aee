#pragma once

#include "host/base/point.h"

#include <cstddef>
#include <optional>

namespace mien {

/// The size of a face whose positions come in a tracker's own unit: millimetres per unit, from the first
/// frame that shows both outer corners of the eyes, which are 88.918 mm apart on the canonical face. A stream
/// cannot wait for the median of a whole take, as a file can.
class FaceScale {
public:
  /// The outer corners; NaN if not seen. Returns nothing until a frame has shown both.
  std::optional<double> Of(const Point& right, const Point& left);

  /// For faces with a known width instead of the distance between the eyes.
  void SetDistance(double mm) { distance_mm_ = mm; }

private:
  double distance_mm_ = 88.918;
  std::optional<double> scale_;
};

} // namespace mien
