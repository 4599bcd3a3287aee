#include "host/weights/head_angles.h"

#include <algorithm>
#include <numbers>

namespace mien {
namespace {

constexpr double kDegrees = 180 / std::numbers::pi;
constexpr VTxRotationOrder kRollFirst = {.mOrder = 4}; // z, x, y

} // namespace

HeadAngles AnglesOf(const VgeRMatrix& rotation) {
  VgeRVector degrees;
  kRollFirst.M2V(degrees, rotation);
  return {degrees.y / kDegrees, degrees.x / kDegrees, degrees.z / kDegrees};
}

VgeAMatrix RotationBy(const HeadAngles& head) {
  VgeRMatrix rotation;
  kRollFirst.V2M(rotation, {head.pitch * kDegrees, head.yaw * kDegrees, head.roll * kDegrees});
  VgeAMatrix matrix;
  for (int column = 0; column < 3; ++column) std::copy_n(rotation.m[column], 3, matrix.m[column]);
  return matrix;
}

} // namespace mien
