#pragma once

#include "mien/base/geometry.h"

namespace mien {

/// How a head is turned from looking straight ahead, in radians. The roll, towards its own right shoulder, is
/// applied first, then the pitch downward, then the yaw to its own left.
struct HeadAngles {
  double yaw = 0, pitch = 0, roll = 0;
};

/// Yaw and roll from -pi to pi, pitch from -pi/2 to pi/2. The axes are x to the head's left, y up, z out of the
/// face.
HeadAngles AnglesOf(const VgeRMatrix& rotation);

VgeAMatrix RotationBy(const HeadAngles& head);

} // namespace mien
