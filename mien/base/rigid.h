#pragma once

/// @file
/// The frame of a triangle and the quaternion of a rotation, inline for the head's solve. Not installed.

#include "mien/base/affine.h"
#include "mien/base/geometry.h"

#include <algorithm>
#include <cmath>

namespace mien::detail {

/// A triangle of head markers counts only if its smallest angle is above 10 degrees: noise turns the frame of a thinner one.
inline constexpr double kSineOf10Degrees = 0.17364817766693033;

/// The unit quaternion of the upper 3 x 3, a proper rotation. Computed from the largest of the four
/// components, whose square is at least 1/4, so that the divisor is never near zero.
inline VgeQuaternion QuaternionOf(const double (&m)[4][4]) {
  double x, y, z, w;
  const double xx = m[0][0], yy = m[1][1], zz = m[2][2];
  const double trace = xx + yy + zz;
  if (trace >= xx && trace >= yy && trace >= zz) {
    w = 0.5 * std::sqrt(1.0 + trace);
    const double f = 0.25 / w;
    x = (m[1][2] - m[2][1]) * f;
    y = (m[2][0] - m[0][2]) * f;
    z = (m[0][1] - m[1][0]) * f;
  } else if (xx >= yy && xx >= zz) {
    x = 0.5 * std::sqrt(1.0 + xx - yy - zz);
    const double f = 0.25 / x;
    y = (m[1][0] + m[0][1]) * f;
    z = (m[2][0] + m[0][2]) * f;
    w = (m[1][2] - m[2][1]) * f;
  } else if (yy >= zz) {
    y = 0.5 * std::sqrt(1.0 + yy - xx - zz);
    const double f = 0.25 / y;
    x = (m[1][0] + m[0][1]) * f;
    z = (m[2][1] + m[1][2]) * f;
    w = (m[2][0] - m[0][2]) * f;
  } else {
    z = 0.5 * std::sqrt(1.0 + zz - xx - yy);
    const double f = 0.25 / z;
    x = (m[2][0] + m[0][2]) * f;
    y = (m[2][1] + m[1][2]) * f;
    w = (m[0][1] - m[1][0]) * f;
  }
  return VgeQuaternion(x, y, z, w);
}

/// Computes what ThreePointsTransform returns.
inline void TriangleFrame(VgeAMatrix& out, double& area, double& quality, const VgeTVector& p0,
                          const VgeTVector& p1, const VgeTVector& p2) {
  out = VgeAMatrix();
  SetColumn(out, 3, {(p0.x + p1.x + p2.x) / 3.0, (p0.y + p1.y + p2.y) / 3.0, (p0.z + p1.z + p2.z) / 3.0, 1});
  area = quality = 0;

  const VgeTVector e1 = Difference(p1, p0), e2 = Difference(p2, p0), e3 = Difference(p2, p1);
  const VgeTVector normal = Cross(e1, e2);
  const double twice_area = Length(normal);
  if (!(twice_area > 0)) return;

  const VgeTVector x_axis = Unit(e1), z_axis = Unit(normal);
  SetColumn(out, 0, x_axis);
  SetColumn(out, 1, Cross(z_axis, x_axis));
  SetColumn(out, 2, z_axis);

  // The smallest angle is between the two longest sides, and twice the area is their product times its sine.
  // The sides are sorted by their squares, so that only two roots are needed.
  const double s1 = Dot(e1, e1), s2 = Dot(e2, e2), s3 = Dot(e3, e3);
  const double high = std::max(s1, s2), low = std::min(s1, s2);
  const double longest = std::sqrt(std::max(high, s3)), middle = std::sqrt(std::max(low, std::min(high, s3)));
  area = twice_area / 2;
  quality = twice_area / (longest * middle);
}

} // namespace mien::detail
