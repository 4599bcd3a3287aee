#pragma once

#include "host/face/vector.h"

namespace mien {

// The form of the built-in head's left half at rest, eyes and lips apart: outlines one below the other,
// from the crown over the face to the throat, and on them brow, sockets, nose, cheeks and chin. A place on
// it is given by `down`, the way from the crown along the middle of the face, and by the way across.

/// The left eye: its ball, and the sphere on which the lids slide. Within a chord of the lids' sphere as
/// long as the eye is open, the ball is not touched.
inline constexpr Vec kEye = {3.15, 9.6, 15.42};
inline constexpr double kEyeRadius = 1.5, kLidRadius = 1.64;

/// Where the crown, the corners of the eye, the line between the lips and the throat are.
inline constexpr double kEyeDown = 17.0, kMouthDown = 24.0, kLastDown = 36.0;

/// Half the head's width at an outline.
double HalfWidth(double down);

struct FormPoint {
  Vec at;
  double under; ///< z, were there no eye below the lids
};

/// On the front: `across` from 0 in the middle of the face to 1 where the head is widest, as a share of the
/// width.
FormPoint OnFront(double down, double across);

/// On the back: `across` from 1 where the head is widest to 0 in the middle of its back.
Vec OnBack(double down, double across);

/// z of the lids' sphere; of its rim beyond it.
double OnLids(double x, double y);

/// z of skin that lies on the eye, or else `under`.
double OverEye(double x, double y, double under);

} // namespace mien
