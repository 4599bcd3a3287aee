#pragma once

#include "mien/base/geometry.h"

#include <array>

namespace mien {

/// How far an eye is turned from looking straight ahead, in radians, about the head's axes (x to the
/// performer's left, y up, z out of the face): first by the yaw about y, positive to the performer's left,
/// then by the pitch about its own x, positive down.
struct EyeAngles {
  double yaw = 0;
  double pitch = 0;

  friend bool operator==(const EyeAngles&, const EyeAngles&) = default;
};

/// The performer's left eye and right eye.
using Eyes = std::array<EyeAngles, 2>;

/// The angles of an eye that looks along a direction in the head's axes, of any length above 0.
EyeAngles AnglesOf(const VgeTVector& direction);

/// The rotation of the eye; without translation.
VgeAMatrix RotationBy(const EyeAngles& angles);

} // namespace mien
