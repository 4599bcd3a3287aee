#pragma once

// The exponential, the logarithm and the functions of angles, with the same bits on every machine.
//
// The C library's differ: IEEE 754 only recommends how they round, and one C library picks another implementation where
// the processor has fused multiply-adds. These consist of what IEEE 754 fixes to the bit alone: + - * /, comparisons, the
// remainder of std::fmod, and the bits themselves.
//
// Each answers within 0.75 units in the last place of the true value (1 unit where that is a denormal number), and what the
// C standard asks for zeros, infinities and NaNs. They assume rounding to the nearest and set no errno.

#include "mien/base/export.h"

namespace mien {

/// e to the power of x: exactly 1 for 0, infinity for more than 709.78, 0 for less than -745.14.
MIEN_API double Exp(double x);

/// The natural logarithm: exactly 0 for 1, minus infinity for either zero, NaN below.
MIEN_API double Log(double x);

struct SineAndCosine {
  double sine, cosine;
};

/// Of an angle in degrees of any size. Multiples of 90 degrees are exact; their zeros are positive, but that of the
/// sine has the sign of the angle. NaN for an infinite angle.
MIEN_API SineAndCosine SineAndCosineOfDegrees(double degrees);

/// The angle of the point (x, y) as seen from the origin, counterclockwise from the x axis, in radians: [-pi, pi].
MIEN_API double ArcTangent2(double y, double x);

} // namespace mien
