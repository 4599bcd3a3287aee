#pragma once

/// @file
/// The arithmetic of vectors, rotations and affine transforms, inline. It reads x, y and z of vectors and the
/// upper 3 x 3 of rotations. A returned direction has the fourth component 0, a returned point 1. Every sum
/// is added in the order x, y, z, translation. Columns are 0 to 3, unchecked.
///
/// The library's own copies have different names. The linker treats inline functions of the same name as one
/// function: in a statically linked program it may keep the caller's copy for everybody, and the caller's
/// compiler flags would then change the library's bits.

#include "mien/base/geometry.h"

#include <cmath>

namespace mien {
#if defined(MIEN_BUILDING)
inline namespace in_library {
#else
inline namespace in_caller {
#endif

/// The direction from `b` to `a`.
inline VgeTVector Difference(const VgeTVector& a, const VgeTVector& b) {
  return {a.x - b.x, a.y - b.y, a.z - b.z, 0};
}

/// The dot product.
inline double Dot(const VgeTVector& a, const VgeTVector& b) { return a.x * b.x + a.y * b.y + a.z * b.z; }

/// The Euclidean length.
inline double Length(const VgeTVector& v) { return std::sqrt(Dot(v, v)); }

/// The length of `a` - `b`.
inline double Distance(const VgeTVector& a, const VgeTVector& b) { return Length(Difference(a, b)); }

/// The sum of the distances between `a[i]` and `b[i]` over the first `n` points.
inline double SummedDistance(const VgeTVector* a, const VgeTVector* b, int n) {
  double sum = 0;
  for (int i = 0; i < n; ++i) sum += Distance(a[i], b[i]);
  return sum;
}

/// v / |v|, by one division and three products; the zero vector where |v| is exactly 0.
inline VgeTVector Unit(const VgeTVector& v) {
  const double length = Length(v);
  if (length == 0) return {0, 0, 0, 0};
  const double reciprocal = 1.0 / length;
  return {v.x * reciprocal, v.y * reciprocal, v.z * reciprocal, 0};
}

/// The cross product a x b.
inline VgeTVector Cross(const VgeTVector& a, const VgeTVector& b) {
  return {a.y * b.z - a.z * b.y, a.z * b.x - a.x * b.z, a.x * b.y - a.y * b.x, 0};
}

/// Copies x, y and z. Leaves `to.w` unchanged, as every operation on points does.
inline void SetPoint(VgeTVector& to, const VgeTVector& from) { to.x = from.x, to.y = from.y, to.z = from.z; }

/// Sets the upper three rows of a column. The fourth row is unchanged.
inline void SetColumn(VgeAMatrix& matrix, int column, const VgeTVector& v) {
  matrix.m[column][0] = v.x, matrix.m[column][1] = v.y, matrix.m[column][2] = v.z;
}

/// The upper three rows of a column.
inline VgeTVector Column(const VgeAMatrix& matrix, int column) {
  return {matrix.m[column][0], matrix.m[column][1], matrix.m[column][2], 0};
}

/// The linear part of `a` applied to `v`.
inline VgeTVector TransformDirection(const VgeAMatrix& a, const VgeTVector& v) {
  return {a.m[0][0] * v.x + a.m[1][0] * v.y + a.m[2][0] * v.z,
          a.m[0][1] * v.x + a.m[1][1] * v.y + a.m[2][1] * v.z,
          a.m[0][2] * v.x + a.m[1][2] * v.y + a.m[2][2] * v.z, 0};
}

/// `a` applied to `p`, the translation included.
inline VgeTVector TransformPoint(const VgeAMatrix& a, const VgeTVector& p) {
  return {a.m[0][0] * p.x + a.m[1][0] * p.y + a.m[2][0] * p.z + a.m[3][0],
          a.m[0][1] * p.x + a.m[1][1] * p.y + a.m[2][1] * p.z + a.m[3][1],
          a.m[0][2] * p.x + a.m[1][2] * p.y + a.m[2][2] * p.z + a.m[3][2], 1};
}

/// The transform that applies `b` first, then `a`.
inline VgeAMatrix Product(const VgeAMatrix& a, const VgeAMatrix& b) {
  VgeAMatrix product;
  for (int column = 0; column < 3; ++column)
    SetColumn(product, column, TransformDirection(a, Column(b, column)));
  SetColumn(product, 3, TransformPoint(a, Column(b, 3)));
  return product;
}

/// The inverse of a transform whose axis columns are mutually orthogonal (rotation times a scale per axis):
/// row i is axis i divided by its squared length. An axis of length 0 is not checked: it gives infinities.
inline VgeAMatrix InverseOfOrthogonalAxes(const VgeAMatrix& a) {
  VgeAMatrix inverse;
  for (int axis = 0; axis < 3; ++axis) {
    const VgeTVector column = Column(a, axis);
    const double squared_length = Dot(column, column);
    inverse.m[0][axis] = column.x / squared_length;
    inverse.m[1][axis] = column.y / squared_length;
    inverse.m[2][axis] = column.z / squared_length;
  }
  const VgeTVector moved = TransformDirection(inverse, Column(a, 3));
  SetColumn(inverse, 3, {-moved.x, -moved.y, -moved.z, 1});
  return inverse;
}

/// to = a * b. The fourth row and column of `to` are unchanged. `to` may be `a` or `b`.
inline void SetProduct(VgeRMatrix& to, const VgeRMatrix& a, const VgeRMatrix& b) {
  double product[3][3];
  for (int column = 0; column < 3; ++column)
    for (int row = 0; row < 3; ++row)
      product[column][row] =
          a.m[0][row] * b.m[column][0] + a.m[1][row] * b.m[column][1] + a.m[2][row] * b.m[column][2];
  for (int column = 0; column < 3; ++column)
    for (int row = 0; row < 3; ++row) to.m[column][row] = product[column][row];
}

/// The inverse of a rotation.
inline VgeRMatrix Transposed(const VgeRMatrix& a) {
  VgeRMatrix transposed;
  for (int column = 0; column < 3; ++column)
    for (int row = 0; row < 3; ++row) transposed.m[column][row] = a.m[row][column];
  return transposed;
}

} // namespace
} // namespace mien
