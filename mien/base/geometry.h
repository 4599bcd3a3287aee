#pragma once

/// @file
/// The geometry types that all states consist of: vectors, matrices, a quaternion, Euler conversions, and the
/// frame of three points.
///
/// All are plain values with public members in double precision. No operation checks its arguments. This
/// header contains no arithmetic: all of it is compiled inside the library, so that the bits of a result
/// never depend on the caller's compiler flags.

#include "mien/base/export.h"

#include <cstddef>

/// A position, translation or displacement, in the unit of the take or of the character. The operations of
/// the face states read and write x, y and z only; w is unchanged.
struct VgeTVector {
  double x = 0; ///< Along the x axis.
  double y = 0; ///< Along the y axis.
  double z = 0; ///< Along the z axis.
  double w = 1; ///< 1 for a point, 0 for a direction.

  /// Copies x, y, z and w from four consecutive doubles.
  VgeTVector& operator=(const double* xyzw) {
    x = xyzw[0], y = xyzw[1], z = xyzw[2], w = xyzw[3];
    return *this;
  }
  /// Deleted: otherwise `v = {}` would read through a null pointer.
  VgeTVector& operator=(std::nullptr_t) = delete;

  /// By value: -0.0 equals 0.0, a NaN equals nothing.
  friend bool operator==(const VgeTVector&, const VgeTVector&) = default;
};

/// A scale factor per axis.
struct VgeSVector {
  double x = 1; ///< Along the x axis.
  double y = 1; ///< Along the y axis.
  double z = 1; ///< Along the z axis.

  /// No scaling: all factors 1.
  VgeSVector() = default;
  /// The factors along x, y and z.
  VgeSVector(double ax, double ay, double az) : x(ax), y(ay), z(az) {}

  /// By value: -0.0 equals 0.0, a NaN equals nothing.
  friend bool operator==(const VgeSVector&, const VgeSVector&) = default;
};

/// Euler angles in degrees: x, y and z are the angles about the x, y and z axes, whatever the rotation order.
/// Has the layout of a `VgeTVector`; w is not used.
struct VgeRVector {
  double x = 0; ///< About the x axis.
  double y = 0; ///< About the y axis.
  double z = 0; ///< About the z axis.
  double w = 0; ///< Not used.

  /// All angles 0.
  VgeRVector() = default;
  /// The angles about x, y and z, in degrees.
  VgeRVector(double ax, double ay, double az) : x(ax), y(ay), z(az) {}
  /// Copies all four components.
  VgeRVector(const VgeTVector& v) : x(v.x), y(v.y), z(v.z), w(v.w) {}

  /// By value: -0.0 equals 0.0, a NaN equals nothing.
  friend bool operator==(const VgeRVector&, const VgeRVector&) = default;
};

/// A rotation. Operations use the upper 3 x 3 only. Default: identity.
struct MIEN_API VgeRMatrix {
  /// `m[column][row]`, for column vectors: m[0], m[1] and m[2] are the images of the x, y and z axes.
  double m[4][4] = {{1, 0, 0, 0}, {0, 1, 0, 0}, {0, 0, 1, 0}, {0, 0, 0, 1}};

  /// Sets all sixteen elements to those of the identity.
  VgeRMatrix& Init();

  /// By value: -0.0 equals 0.0, a NaN equals nothing.
  friend bool operator==(const VgeRMatrix&, const VgeRMatrix&) = default;
};

/// An affine transform. Default: identity.
struct VgeAMatrix {
  /// `m[column][row]`, for column vectors: m[0], m[1] and m[2] are the images of the x, y and z axes, m[3]
  /// the translation. The fourth row is (0, 0, 0, 1) and is never read.
  double m[4][4] = {{1, 0, 0, 0}, {0, 1, 0, 0}, {0, 0, 1, 0}, {0, 0, 0, 1}};

  /// By value: -0.0 equals 0.0, a NaN equals nothing.
  friend bool operator==(const VgeAMatrix&, const VgeAMatrix&) = default;
};

/// A quaternion: x, y and z are the vector part, w is the scalar part.
struct MIEN_API VgeQuaternion {
  double x; ///< Of the vector part.
  double y; ///< Of the vector part.
  double z; ///< Of the vector part.
  double w; ///< The scalar part.

  /// From its components. They are not normalised.
  VgeQuaternion(double ax, double ay, double az, double aw) : x(ax), y(ay), z(az), w(aw) {}

  /// The unit quaternion of a proper rotation. Of the two possible, the one whose largest component is
  /// positive.
  VgeQuaternion(const VgeRMatrix& rotation);

  /// By value: -0.0 equals 0.0, a NaN equals nothing. q and -q are different.
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
/// The first letter is applied first.
struct MIEN_API VTxRotationOrder {
  /// The code, 0 to 5. Unchecked.
  int mOrder = 0;

  /// The rotation of the angles `in` (degrees). Writes all sixteen elements of `out`.
  void V2M(VgeRMatrix& out, const VgeRVector& in) const;

  /// The angles (degrees) of a proper rotation: first and last in (-180, 180], middle in [-90, 90]. If the
  /// middle angle is at a pole, the first and the last turn about the same axis and the last becomes 0. V2M
  /// of the angles gives `in` back to within 1e-12. `out.w` becomes 0.
  void M2V(VgeRVector& out, const VgeRMatrix& in) const;
};

/// The frame of the triangle p0, p1, p2, right-handed and orthonormal: x along p0 -> p1, z along the
/// triangle's normal (p1 - p0) x (p2 - p0), y = z x x, translation at the centroid.
///
/// `area` is the triangle's area. `quality` is the sine of its smallest interior angle: 0.87 for an
/// equilateral triangle, near 0 for a thin one. A triangle without area, or with a NaN in it, gives identity
/// axes, the centroid, and 0 for both.
MIEN_API void ThreePointsTransform(VgeAMatrix& out, double& area, double& quality, const VgeTVector& p0,
                                   const VgeTVector& p1, const VgeTVector& p2);
