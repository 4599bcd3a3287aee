#pragma once

// Products of rotation matrices, inline. Only the upper 3 x 3 takes part. Not installed.

#include "mien/base/geometry.h"

namespace mien::detail {

/// to = a * b; the fourth row and column of `to` stay. `to` may be `a` or `b`.
inline void SetProduct(VgeRMatrix& to, const VgeRMatrix& a, const VgeRMatrix& b) {
  double product[3][3];
  for (int column = 0; column < 3; ++column)
    for (int row = 0; row < 3; ++row)
      product[column][row] =
          a.m[0][row] * b.m[column][0] + a.m[1][row] * b.m[column][1] + a.m[2][row] * b.m[column][2];
  for (int column = 0; column < 3; ++column)
    for (int row = 0; row < 3; ++row) to.m[column][row] = product[column][row];
}

inline VgeRMatrix Transposed(const VgeRMatrix& a) {
  VgeRMatrix transposed;
  for (int column = 0; column < 3; ++column)
    for (int row = 0; row < 3; ++row) transposed.m[column][row] = a.m[row][column];
  return transposed;
}

} // namespace mien::detail
