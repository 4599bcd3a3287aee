#include "host/animation/eye_angles.h"

#include <cmath>

namespace mien {

EyeAngles AnglesOf(const VgeTVector& direction) {
  return {.yaw = std::atan2(direction.x, direction.z),
          .pitch = std::atan2(-direction.y, std::hypot(direction.x, direction.z))};
}

VgeAMatrix RotationBy(const EyeAngles& angles) {
  const double cos_yaw = std::cos(angles.yaw), sin_yaw = std::sin(angles.yaw);
  const double cos_pitch = std::cos(angles.pitch), sin_pitch = std::sin(angles.pitch);
  const double columns[3][3] = {{cos_yaw, 0, -sin_yaw},
                                {sin_yaw * sin_pitch, cos_pitch, cos_yaw * sin_pitch},
                                {sin_yaw * cos_pitch, -sin_pitch, cos_yaw * cos_pitch}};
  VgeAMatrix rotation;
  for (int column = 0; column < 3; ++column)
    for (int row = 0; row < 3; ++row) rotation.m[column][row] = columns[column][row];
  return rotation;
}

} // namespace mien
