#pragma once

/// @file
/// The exponential, the logarithm and the functions of angles, with the same bits on every machine.
///
/// The functions of C libraries differ: IEEE 754 only recommends how they round, and the same C library may
/// choose another implementation on a processor with fused multiply-adds. The functions here use only
/// operations whose bits IEEE 754 defines: + - * /, comparisons, the remainder of std::fmod, and access to
/// the bits.
///
/// Each result is within 0.75 units in the last place of the true value (1 unit if that is a denormal
/// number). Zeros, infinities and NaNs give what the C standard requires. The functions assume rounding to
/// nearest and do not set errno.

#include "mien/base/export.h"

namespace mien {

/// e to the power of x: exactly 1 for 0, infinity above 709.78, 0 below -745.14.
MIEN_API double Exp(double x);

/// The natural logarithm: exactly 0 for 1, minus infinity for either zero, NaN for negative numbers.
MIEN_API double Log(double x);

/// The sine and the cosine of the same angle.
struct SineAndCosine {
  double sine;   ///< In [-1, 1].
  double cosine; ///< In [-1, 1].
};

/// The sine and cosine of an angle in degrees, of any size. Multiples of 90 degrees are exact. A zero cosine
/// is positive; a zero sine has the sign of the angle. An infinite angle gives NaN.
MIEN_API SineAndCosine SineAndCosineOfDegrees(double degrees);

/// The angle of the point (x, y) seen from the origin, counterclockwise from the x axis, in radians: [-pi,
/// pi].
MIEN_API double ArcTangent2(double y, double x);

} // namespace mien
