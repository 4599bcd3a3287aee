#pragma once

#include "mien/base/geometry.h"

#include <algorithm>

namespace mien {

/// The upper 3 x 3 of a rigid transform.
inline VgeRMatrix RotationOf(const VgeAMatrix& rigid) {
  VgeRMatrix rotation;
  for (int column = 0; column < 3; ++column)
    std::copy(rigid.m[column], rigid.m[column] + 3, rotation.m[column]);
  return rotation;
}

/// Of the two unit quaternions of a rotation the one that is nearer to `before`, so that curves do not jump.
inline VgeQuaternion QuaternionNear(const VgeQuaternion& before, const VgeRMatrix& rotation) {
  const VgeQuaternion q(rotation);
  const bool far = q.x * before.x + q.y * before.y + q.z * before.z + q.w * before.w < 0;
  return far ? VgeQuaternion(-q.x, -q.y, -q.z, -q.w) : q;
}

} // namespace mien
