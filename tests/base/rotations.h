#pragma once

// Rotation matrices written by hand, to compare the library's conversions with.

#include "mien/base/geometry.h"

#include <algorithm>
#include <cmath>
#include <numbers>

namespace tests {

inline double Radians(double degrees) { return degrees * (std::numbers::pi / 180); }

/// The rotation about one axis (0 x, 1 y, 2 z), by the sine and cosine of its angle. Counterclockwise seen
/// from the tip of the axis.
inline VgeRMatrix AxisRotation(int axis, double sine, double cosine) {
  const int next = (axis + 1) % 3, after = (axis + 2) % 3;
  VgeRMatrix r;
  r.m[next][next] = cosine;
  r.m[next][after] = sine;
  r.m[after][next] = -sine;
  r.m[after][after] = cosine;
  return r;
}

inline VgeRMatrix AxisRotation(int axis, double degrees) {
  return AxisRotation(axis, std::sin(Radians(degrees)), std::cos(Radians(degrees)));
}

/// The rotation that applies `first`, then `second`.
inline VgeRMatrix Product(const VgeRMatrix& second, const VgeRMatrix& first) {
  VgeRMatrix product;
  for (int column = 0; column < 3; ++column)
    for (int row = 0; row < 3; ++row) {
      double sum = 0;
      for (int k = 0; k < 3; ++k) sum += second.m[k][row] * first.m[column][k];
      product.m[column][row] = sum;
    }
  return product;
}

/// The largest difference of two elements of the upper 3 x 3. A NaN makes it infinite.
inline double Distance(const VgeRMatrix& a, const VgeRMatrix& b) {
  double distance = 0;
  for (int column = 0; column < 3; ++column)
    for (int row = 0; row < 3; ++row) {
      const double difference = std::abs(a.m[column][row] - b.m[column][row]);
      distance = std::isnan(difference) ? HUGE_VAL : std::max(distance, difference);
    }
  return distance;
}

} // namespace tests
