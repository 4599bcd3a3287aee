#pragma once

// The geometry types of every state: vectors, matrices, a quaternion, Euler conversions, and the frame of
// three points.
//
// Plain values with public members, double precision. No operation here checks its arguments.
// There is no arithmetic in this header: all of it is compiled inside the library, so that the bits of a
// result never depend on a caller's compiler flags.

#include "mien/base/export.h"

#include <cstddef>

/// A position, translation or displacement. Operations of the face states read and write x, y and z only; w
/// stays.
struct VgeTVector {
  double x = 0, y = 0, z = 0, w = 1;

  /// Takes x, y, z and w from four consecutive doubles.
  VgeTVector& operator=(const double* xyzw) {
    x = xyzw[0], y = xyzw[1], z = xyzw[2], w = xyzw[3];
    return *this;
  }
  VgeTVector& operator=(std::nullptr_t) = delete; // or `v = {}` would read through a null pointer

  friend bool operator==(const VgeTVector&, const VgeTVector&) = default;
};

/// A factor per axis.
struct VgeSVector {
  double x = 1, y = 1, z = 1;

  VgeSVector() = default;
  VgeSVector(double ax, double ay, double az) : x(ax), y(ay), z(az) {}

  friend bool operator==(const VgeSVector&, const VgeSVector&) = default;
};

/// Euler angles in degrees: x, y and z are the angles about the x, y and z axes, whatever the rotation order.
/// Laid out like a `VgeTVector`; w is not used.
struct VgeRVector {
  double x = 0, y = 0, z = 0, w = 0;

  VgeRVector() = default;
  VgeRVector(double ax, double ay, double az) : x(ax), y(ay), z(az) {}
  VgeRVector(const VgeTVector& v) : x(v.x), y(v.y), z(v.z), w(v.w) {}

  friend bool operator==(const VgeRVector&, const VgeRVector&) = default;
};

/// A rotation. `m[column][row]`, column vectors: m[0], m[1], m[2] are the images of the x, y and z axes.
/// Only the upper 3 x 3 takes part in any operation. Default: identity.
struct MIEN_API VgeRMatrix {
  double m[4][4] = {{1, 0, 0, 0}, {0, 1, 0, 0}, {0, 0, 1, 0}, {0, 0, 0, 1}};

  /// Back to the identity, all sixteen elements.
  VgeRMatrix& Init();

  /// By value: -0.0 equals 0.0, a NaN equals nothing.
  friend bool operator==(const VgeRMatrix&, const VgeRMatrix&) = default;
};

/// An affine transform. `m[column][row]`, column vectors: m[0], m[1], m[2] are the images of the x, y and z
/// axes, m[3] the translation. The fourth row is (0, 0, 0, 1) and never read. Default: identity.
struct VgeAMatrix {
  double m[4][4] = {{1, 0, 0, 0}, {0, 1, 0, 0}, {0, 0, 1, 0}, {0, 0, 0, 1}};

  /// By value: -0.0 equals 0.0, a NaN equals nothing.
  friend bool operator==(const VgeAMatrix&, const VgeAMatrix&) = default;
};

/// x, y, z are the vector part, w the scalar part.
struct MIEN_API VgeQuaternion {
  double x, y, z, w;

  VgeQuaternion(double ax, double ay, double az, double aw) : x(ax), y(ay), z(az), w(aw) {}

  /// The unit quaternion of a proper rotation. Of the two, the one whose largest component is positive.
  VgeQuaternion(const VgeRMatrix& rotation);

  friend bool operator==(const VgeQuaternion&, const VgeQuaternion&) = default;
};

/// Converts between Euler angles and rotation matrices in one of six orders.
///
/// | code | order | R =          |
/// |------|-------|--------------|
/// | 0    | XYZ   | Rz * Ry * Rx |
/// | 1    | XZY   | Ry * Rz * Rx |
/// | 2    | YZX   | Rx * Rz * Ry |
/// | 3    | YXZ   | Rz * Rx * Ry |
/// | 4    | ZXY   | Ry * Rx * Rz |
/// | 5    | ZYX   | Rx * Ry * Rz |
///
/// The first letter is applied first. Any other code is the caller's fault and is not checked.
struct MIEN_API VTxRotationOrder {
  int mOrder = 0;

  /// The rotation of the angles `in` (degrees). Writes all sixteen elements of `out`.
  void V2M(VgeRMatrix& out, const VgeRVector& in) const;

  /// The angles (degrees) of a proper rotation: first and last in (-180, 180], middle in [-90, 90]. Where the
  /// middle one is at a pole, first and last turn about the same axis and the last becomes 0. V2M brings `in`
  /// back to 1e-12. `out.w` becomes 0.
  void M2V(VgeRVector& out, const VgeRMatrix& in) const;
};

/// The frame of the triangle p0, p1, p2, right-handed and orthonormal: x along p0 -> p1, z along the
/// triangle's normal (p1 - p0) x (p2 - p0), y = z x x, translation at the centroid.
///
/// `area` is the triangle's area; `quality` the sine of its smallest interior angle: 0.87 for an equilateral
/// triangle, towards 0 for a needle or a sliver. A triangle without area (or with a NaN in it) answers
/// identity axes, the centroid, and 0 for both.
MIEN_API void ThreePointsTransform(VgeAMatrix& out, double& area, double& quality, const VgeTVector& p0,
                                   const VgeTVector& p1, const VgeTVector& p2);
