#pragma once

#include "host/face/surface.h"

namespace mien {

/// The colour of skin without blush.
inline constexpr Colour kSkinTone = {0.66, 0.37, 0.25};

/// The corner of the mouth, and the height of the line on which the lips meet, level beyond the corners.
inline constexpr double kMouthCorner = 2.45;
double MouthHeight(double x);

/// Half the height of the open eye above and below its corners' line, at `x`; 0 beyond the corners.
struct EyeOpening {
  double up, down;
};
inline constexpr double kInnerEyeCorner = 1.78, kOuterEyeCorner = 4.5;
EyeOpening OpeningAt(double x);

/// A place of the skin at rest beside eyes and mouth, for what lies on it.
Vec SkinAt(double down, double x);

/// The edges of the lids from the inner corner of the eye to the outer one: the vertices on the skin.
struct LidEdges {
  Surface::Row upper, lower;
};

/// The skin in one piece: a grid of rows from the crown to the throat and columns from the middle of the
/// face to the middle of the back, slit at the eye and between the lips. Behind the lids' edges it ends on
/// the eyeball, behind the lips it continues as the inside of the mouth.
LidEdges BuildSkin(Surface& head);

} // namespace mien
