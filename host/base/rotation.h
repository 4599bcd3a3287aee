#pragma once

#include "mien/base/geometry.h"

namespace mien {

/// The upper 3 x 3 of a rigid transform.
VgeRMatrix RotationOf(const VgeAMatrix& rigid);

/// The rotation of a quaternion of any length but 0.
VgeRMatrix RotationOf(const VgeQuaternion& quaternion);

/// Of the two unit quaternions of a rotation the one that is nearer to `before`, so that curves do not jump.
VgeQuaternion QuaternionNear(const VgeQuaternion& before, const VgeRMatrix& rotation);

/// The axis of a rotation, as long as its angle in radians: 0 to pi.
VgeTVector RotationVector(const VgeRMatrix& rotation);

/// The rotation about the direction of a vector, by its length in radians.
VgeRMatrix RotationBy(const VgeTVector& vector);

} // namespace mien
