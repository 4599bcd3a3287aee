#include "host/wire/face_scale.h"

#include <cmath>

namespace mien {

std::optional<double> FaceScale::Of(const Point& right, const Point& left) {
  if (!scale_) {
    const double distance = std::hypot(left.x - right.x, left.y - right.y, left.z - right.z);
    const double scale = distance_mm_ / distance;
    if (std::isfinite(scale) && scale > 1e-6)
      scale_ = scale; // not of both in one place, or further off than a camera sees
  }
  return scale_;
}

} // namespace mien
