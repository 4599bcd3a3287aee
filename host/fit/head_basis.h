#pragma once

#include "host/fit/head_landmarks.h"
#include "host/fit/shape_basis.h"
#include "host/gltf/glb.h"

namespace mien {

/// A basis from a head whose morph targets are some of the 52 shapes (ReadHeadSurface).
///
/// The landmarks give its axes and its size, so that the head may look anywhere and be of any unit: x from the
/// right eye's outer corner to the left one's, y from the chin to the bridge of the nose, and the corners 89 mm
/// apart, which is usual.
///
/// Each landmark is the vertex nearest to its place. The other points are vertices of the face's front that a
/// shape moves by a tenth of a millimetre: those farthest from each other, 600 with the landmarks. A vertex is
/// on the front if no other one stands out before it, as lips do before teeth.
///
/// Throws InputError if a landmark is more than 10 mm away from every vertex, if the landmarks are not those of
/// a face, and as ReadHeadSurface and CheckBasis do.
ShapeBasis BasisOfHead(const Glb& head, const HeadLandmarks& landmarks);

} // namespace mien
