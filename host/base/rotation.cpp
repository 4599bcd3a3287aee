#include "host/base/rotation.h"

#include "host/base/quaternion_rotation.h"
#include "mien/base/affine.h"
#include "mien/base/elementary.h"

#include <algorithm>
#include <cmath>
#include <numbers>

namespace mien {

VgeRMatrix RotationOf(const VgeAMatrix& rigid) {
  VgeRMatrix rotation;
  for (int column = 0; column < 3; ++column)
    std::copy(rigid.m[column], rigid.m[column] + 3, rotation.m[column]);
  return rotation;
}

VgeRMatrix RotationOf(const VgeQuaternion& quaternion) {
  double columns[3][3];
  SetRotation(columns, quaternion.x, quaternion.y, quaternion.z, quaternion.w);
  VgeRMatrix rotation;
  for (int column = 0; column < 3; ++column)
    std::copy(columns[column], columns[column] + 3, rotation.m[column]);
  return rotation;
}

VgeQuaternion QuaternionNear(const VgeQuaternion& before, const VgeRMatrix& rotation) {
  const VgeQuaternion q(rotation);
  const bool far = q.x * before.x + q.y * before.y + q.z * before.z + q.w * before.w < 0;
  return far ? VgeQuaternion(-q.x, -q.y, -q.z, -q.w) : q;
}

VgeTVector RotationVector(const VgeRMatrix& rotation) {
  const VgeQuaternion q(rotation);
  const double side = q.w < 0 ? -1 : 1; // the turn by less than pi
  const double sine = Length({q.x, q.y, q.z});
  if (sine == 0) return {0, 0, 0, 0};
  const double scale = side * 2 * ArcTangent2(sine, side * q.w) / sine;
  return {q.x * scale, q.y * scale, q.z * scale, 0};
}

VgeRMatrix RotationBy(const VgeTVector& vector) {
  constexpr double kDegrees = 180 / std::numbers::pi;
  const double angle = Length(vector);
  if (angle == 0) return {};
  const auto [sine, cosine] = SineAndCosineOfDegrees(angle / 2 * kDegrees);
  const double scale = sine / angle;
  return RotationOf(VgeQuaternion(vector.x * scale, vector.y * scale, vector.z * scale, cosine));
}

} // namespace mien
